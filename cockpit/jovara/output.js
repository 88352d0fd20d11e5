// What a module printed last, and what it prints from now on.
import { h } from "./dom.js";
import { follow } from "./jovctl.js";

const _ = cockpit.gettext;
const linesAtFirst = 50;
const linesKept = 1000;

export class OutputView {
    static title = () => _("Output");
    #process = null;

    constructor(supervisor) {
        this.choice = h("select", { id: "output-of", change: () => this.show(this.choice.value) });
        this.text = h("pre", { id: "output", tabindex: 0, role: "log", "aria-label": _("Output") });
        this.element = h("section", {},
            h("p", {}, h("label", { for: "output-of" }, _("Module"), " "), this.choice), this.text);
        supervisor.addEventListener("lists", () => this.#fillChoice([...supervisor.modules.keys()]));
    }

    open() { this.show(this.name) }

    close() {
        this.#process?.close();
        this.#process = null;
    }

    update() { }

    show(name) {
        this.close();
        this.name = name;
        this.choice.value = name ?? "";
        this.text.textContent = "";
        if (!name)
            return;
        this.#process = follow(["log", "-f", "-n", String(linesAtFirst), "--", name],
                               text => this.#add(text), error => this.#add(error));
    }

    #add(text) {
        const isAtEnd = this.text.scrollHeight - this.text.scrollTop - this.text.clientHeight < 40;
        this.text.textContent = (this.text.textContent + text).split("\n").slice(-linesKept).join("\n");
        if (isAtEnd)
            this.text.scrollTop = this.text.scrollHeight;
    }

    #fillChoice(names) {
        const order = names.join("\0");
        if (order === this.order)
            return;
        this.order = order;
        this.choice.replaceChildren(h("option", { value: "" }, _("Choose a module")),
                                    ...names.map(name => h("option", { value: name }, name)));
        this.choice.value = this.name ?? "";
    }
}
