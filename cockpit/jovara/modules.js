// All modules by step, with their states as they change.
import { h, setText } from "./dom.js";
import { askAndStop, control } from "./control.js";

const _ = cockpit.gettext;

const states = {
    RUNNING: { text: () => _("running"), kind: "good" },
    STARTING: { text: () => _("starting"), kind: "busy" },
    WEB_CLIENT_STARTED: { text: () => _("waiting for its presentation"), kind: "busy" },
    STOPPING: { text: () => _("stopping"), kind: "busy" },
    STOPPED: { text: () => _("stopped"), kind: "bad" },
};
const stateOf = module => states[module.State] ?? { text: () => module.State || _("without a step"), kind: "bad" };

/// One module: a summary, and what belongs to it. The elements stay the same, so that the focus stays where it is.
class Row {
    constructor(supervisor, module, showOutput) {
        const name = module.Name;
        const button = (action, text, click) => h("button", { "data-action": action, click }, text);
        this.supervisor = supervisor;
        this.state = h("span", { class: "badge" });
        this.buttons = [button("start", _("Start"), () => control(["start", "--", name])),
                        button("stop", _("Stop"), () => askAndStop(supervisor, "stop", name)),
                        button("restart", _("Restart"), () => askAndStop(supervisor, "restart", name))];
        this.facts = [_("Process"), _("Starts"), _("Status"), _("Depends on"), _("Needed by")].map(
            term => ({ term, value: h("dd") }));
        this.element = h("details", { class: "module", toggle: () => this.#showFacts() },
            h("summary", {}, h("span", { class: "name" }, name), this.state),
            h("div", { class: "body" },
              h("dl", {}, this.facts.map(({ term, value }) => h("div", {}, h("dt", {}, term), value))),
              h("p", { class: "actions" }, this.buttons, button("output", _("Output"), () => showOutput(name)))));
        this.update(module);
    }

    update(module) {
        const state = stateOf(module);
        this.module = module;
        setText(this.state, state.text());
        this.state.dataset.kind = state.kind;
        this.#showFacts();
    }

    #showFacts() {
        if (!this.element.open)
            return;
        const { State, Pid, Starts, Status, Dependencies, Dependents } = this.module;
        const values = [Pid || _("none"), Starts, Status, Dependencies.join(", ") || _("none"),
                        Dependents.join(", ") || _("none")];
        this.facts.forEach(({ value }, i) => setText(value, String(values[i])));
        for (const button of this.buttons)
            button.disabled = !this.supervisor.mayControl || (button.dataset.action === "start") !== (State === "STOPPED");
    }
}

export class ModulesView {
    static title = () => _("Modules");
    rows = new Map();

    constructor(supervisor, showOutput) {
        this.supervisor = supervisor;
        this.showOutput = showOutput;
        this.filter = h("input", { type: "search", id: "filter", input: () => this.#applyFilter() });
        this.down = h("input", { type: "checkbox", id: "down", change: () => this.#applyFilter() });
        this.denied = h("p", { id: "denied", class: "note", hidden: true },
                        _("Your account may look, but not start or stop modules. Turn on administrative access in Cockpit."));
        this.list = h("div", { id: "modules" });
        this.element = h("section", {}, this.denied,
            h("p", { class: "filter" }, h("label", { for: "filter" }, _("Find"), " "), this.filter, " ",
              h("label", {}, this.down, " ", _("Only those that are not running"))), this.list);
        supervisor.addEventListener("lists", () => this.#rebuild());
        supervisor.addEventListener("module", ({ detail }) => {
            this.rows.get(detail.Name)?.update(detail);
            this.#applyFilter();
        });
        supervisor.addEventListener("gone", () => this.list.setAttribute("aria-busy", "true"));
    }

    open() { }
    close() { }
    update() { }

    /// Keeps the rows that are there, so that open ones stay open and the page does not jump.
    #rebuild() {
        const { modules, steps } = this.supervisor;
        this.list.removeAttribute("aria-busy");
        this.denied.hidden = this.supervisor.mayControl !== false;
        const placed = new Set(steps.flatMap(step => step.Modules));
        const homeless = [...modules.keys()].filter(name => !placed.has(name));
        const groups = [...steps, ...homeless.length ? [{ Name: _("in no step"), Value: "–", Modules: homeless }] : []];
        const order = JSON.stringify(groups.map(group => [group.Value, group.Name, group.Modules]));
        for (const [name, module] of modules) {
            if (this.rows.has(name))
                this.rows.get(name).update(module);
            else
                this.rows.set(name, new Row(this.supervisor, module, this.showOutput));
        }
        if (order !== this.order) {
            this.order = order;
            this.list.replaceChildren(...groups.map(group => h("section", { class: "step" },
                h("h2", {}, `${group.Value} ${group.Name}`, " ", h("small", { "data-step": group.Name })),
                group.Modules.map(name => this.rows.get(name)?.element))));
        }
        for (const note of this.list.querySelectorAll("small"))
            setText(note, this.#took(steps.find(step => step.Name === note.dataset.step)));
        this.#applyFilter();
    }

    #took(step) {
        if (!step?.StartedAt)
            return step ? _("not started") : "";
        return step.DoneAt >= step.StartedAt
            ? cockpit.format(_("started in $0 ms"), Math.round((step.DoneAt - step.StartedAt) / 1000))
            : _("starting");
    }

    #applyFilter() {
        const wanted = this.filter.value.toLowerCase();
        for (const [name, row] of this.rows) {
            row.element.hidden = !name.toLowerCase().includes(wanted)
                || (this.down.checked && row.module.State === "RUNNING");
        }
    }
}
