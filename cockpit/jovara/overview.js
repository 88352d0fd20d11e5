// The terminal in a word, why modules do not run, and why it was rebooted last.
import { h } from "./dom.js";
import { jovctl } from "./jovctl.js";
import { control, levels } from "./control.js";

const _ = cockpit.gettext;
const rootsShown = 10;

/// The modules that do not run, in the order of the start-up, each with the reason that jovctl gives.
function notRunning(supervisor, lines) {
    const reasons = [];
    for (const name of supervisor.steps.flatMap(step => step.Modules)) {
        const line = lines.find(text => text.startsWith(name + ": "));
        if (line) {
            const dependencies = supervisor.modules.get(name)?.Dependencies ?? [];
            const isRoot = dependencies.every(other => supervisor.modules.get(other)?.State === "RUNNING");
            reasons.push({ name, why: line.slice(name.length + 2), isRoot });
        }
    }
    return reasons;
}

const listOf = reasons => h("ul", { class: "reasons" }, reasons.map(
    ({ name, why }) => h("li", {}, h("strong", {}, name), ": ", why)));

function causes(supervisor, status) {
    const reasons = notRunning(supervisor, status.notRunning);
    const roots = reasons.filter(reason => reason.isRoot);
    const others = [...roots.slice(rootsShown), ...reasons.filter(reason => !reason.isRoot)];
    if (reasons.length === 0)
        return [h("p", {}, cockpit.format(_("All $0 modules are running."), status.modules))];
    return [
        h("p", {}, cockpit.format(_("$0 of $1 modules are not running:"), reasons.length, status.modules)),
        listOf(roots.slice(0, rootsShown)),
        others.length === 0 ? null : h("details", {},
            h("summary", {}, cockpit.format(_("And $0 more"), others.length)), listOf(others))];
}

const bytes = kilobytes => cockpit.format_bytes(kilobytes * 1024);

function levelChoice(supervisor) {
    const choice = h("select", {
        id: "log-level", disabled: !supervisor.mayLog,
        change: event => control(["log-level", event.target.value])
    }, levels.map(({ value, name }) => h("option", { value, selected: value === supervisor.logLevel }, name())));
    return h("p", {}, h("label", { for: "log-level" }, _("Log level"), " "), choice);
}

export class OverviewView {
    static title = () => _("Overview");

    constructor(supervisor) {
        this.supervisor = supervisor;
        this.why = h("div", {}, h("pre", { id: "why" }));
        this.now = h("div", { id: "now" });
        this.element = h("section", {}, this.now, h("h2", {}, _("Last reboot")), this.why);
    }

    async open() {
        const { text, error } = await jovctl("why");
        this.why.firstChild.textContent = text || error;
    }

    close() { }

    update(status) {
        if (!status)
            return this.now.replaceChildren();
        if (document.activeElement?.id === "log-level")
            return; // an open choice must not close under the hand
        this.now.replaceChildren(
            ...[status.detail ? h("p", {}, status.detail) : null, ...causes(this.supervisor, status),
                h("p", {}, cockpit.format(_("Memory: $0 available"), bytes(status.availableMemory)), " · ",
                  cockpit.format(_("Version $0"), status.version)),
                levelChoice(this.supervisor)].filter(Boolean));
    }
}
