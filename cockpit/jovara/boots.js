// This start-up as a chart, and the earlier boots of the terminal.
import { h } from "./dom.js";
import { jovctl, jovctlJson } from "./jovctl.js";

const _ = cockpit.gettext;

const shortTime = text => text ? new Date(text).toLocaleString(cockpit.language.replace("_", "-")) : "–";

export class BootsView {
    static title = () => _("Start-up");

    constructor() {
        this.chart = h("div", { id: "chart" });
        this.words = h("pre", { id: "boot" });
        this.table = h("tbody");
        this.comparison = h("pre", { id: "comparison", tabindex: 0, hidden: true, "aria-label": _("Comparison") });
        this.element = h("section", {}, h("h2", {}, _("This start-up")), this.chart,
            h("details", {}, h("summary", {}, _("The same as text")), this.words),
            h("h2", {}, _("Boots")),
            h("div", { class: "wide", tabindex: 0, role: "region", "aria-label": _("Boots") }, h("table", { id: "history" },
                h("thead", {}, h("tr", {}, [_("Started"), _("Version"), _("End"), _("Comparison")].map(
                    title => h("th", { scope: "col" }, title)))), this.table)), this.comparison);
    }

    close() { }
    update() { }

    async open() {
        const [chart, words, history] = await Promise.all(
            [jovctl("boot", "--svg=-"), jovctl("boot"), jovctlJson("history", "--json")]);
        this.words.textContent = words.text || words.error;
        this.#showChart(chart, words.text.split("\n")[0]);
        this.table.replaceChildren(...history.value ? history.value.map(boot => this.#row(boot))
            : [h("tr", {}, h("td", { colspan: 4 }, history.error))]);
    }

    /// An image does not run scripts and cannot load anything, whatever is in it.
    #showChart({ status, text, error }, summary) {
        this.chart.replaceChildren(status === 0
            ? h("img", { src: `data:image/svg+xml;charset=utf-8,${encodeURIComponent(text)}`, alt: summary })
            : error);
    }

    #row(boot) {
        const compare = h("button", { click: () => this.#compare(boot.boot) },
                          cockpit.format(_("Compare with boot $0"), boot.boot));
        return h("tr", {}, h("td", {}, shortTime(boot.started)), h("td", {}, boot.version ?? ""),
                 h("td", {}, boot.text), h("td", {}, boot.boot > 0 ? compare : _("this boot")));
    }

    async #compare(number) {
        const { text, error } = await jovctl("boot", "--compare", String(number));
        this.comparison.textContent = text || error;
        this.comparison.hidden = false;
        this.comparison.focus();
    }
}
