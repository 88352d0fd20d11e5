// The memory of the modules against their limits, from the moment on at which the page was opened.
import { h, svg, setText } from "./dom.js";
import { follow } from "./jovctl.js";

const _ = cockpit.gettext;
const interval = 5; // seconds between two samples
const samplesKept = 120;
const width = 240, height = 40;

const bytes = kilobytes => cockpit.format_bytes(kilobytes * 1024);

/// The lines of JSON documents that jovctl prints one after the other: each begins with "[" and ends with "]".
class Documents {
    #pending = "";

    read(text) {
        const parts = (this.#pending + text).split(/(?<=^\])\n/m);
        this.#pending = parts.pop();
        return parts.map(part => JSON.parse(part));
    }
}

class Row {
    #samples = []; // [time in ms, kB]

    constructor(name) {
        this.figures = h("span", { class: "figures" });
        this.line = svg("polyline", { class: "line" });
        this.limit = svg("line", { class: "limit", x1: 0, x2: width });
        this.chart = svg("svg", { viewBox: `0 0 ${width} ${height}`, preserveAspectRatio: "none", "aria-hidden": "true" },
                         this.limit, this.line);
        this.element = h("li", {}, h("span", { class: "name" }, name), this.figures, this.chart);
    }

    add(time, { virtualKb, residentKb, limitKb }) {
        this.#samples.push([time, virtualKb]);
        if (this.#samples.length > samplesKept)
            this.#samples.shift();
        this.share = limitKb > 0 ? virtualKb / limitKb : 0;
        this.element.dataset.kind = this.share > 1 ? "bad" : this.share > 0.9 ? "busy" : "good";
        setText(this.figures, limitKb > 0
            ? cockpit.format(_("$0 of $1 ($2 %), $3 resident"), bytes(virtualKb), bytes(limitKb),
                             Math.round(this.share * 100), bytes(residentKb))
            : cockpit.format(_("$0, no limit, $1 resident"), bytes(virtualKb), bytes(residentKb)));
        this.limitKb = limitKb;
        if (this.element.isConnected)
            this.draw();
    }

    draw() {
        const limitKb = this.limitKb;
        const top = Math.max(limitKb, ...this.#samples.map(([, size]) => size)) * 1.1;
        const [begin] = this.#samples[0];
        const span = Math.max(this.#samples.at(-1)[0] - begin, 60000);
        const y = size => (height - height * size / top).toFixed(1);
        this.line.setAttribute("points", this.#samples.map(
            ([time, size]) => `${(width * (time - begin) / span).toFixed(1)},${y(size)}`).join(" "));
        this.limit.setAttribute("visibility", limitKb > 0 ? "visible" : "hidden");
        this.limit.setAttribute("y1", y(limitKb));
        this.limit.setAttribute("y2", y(limitKb));
    }
}

export class MemoryView {
    static title = () => _("Memory");
    rows = new Map();
    #process = null;
    #retry = null;

    constructor(supervisor) {
        this.note = h("p", { class: "note" }, _("The supervisor compares the virtual size with the limit."));
        this.list = h("ul", { id: "memory" });
        this.element = h("section", {}, this.note, this.list);
        supervisor.addEventListener("lists", () => this.#start());
        supervisor.addEventListener("gone", () => this.stop());
        this.supervisor = supervisor;
    }

    open() { this.rows.forEach(row => row.draw()) }
    close() { }
    update() { }

    #start() {
        if (this.#process || this.#retry)
            return;
        const documents = new Documents();
        this.#process = follow(["top", "--json", "--interval", String(interval)], text => {
            documents.read(text).forEach(samples => this.#show(samples));
        }, () => {
            this.#process = null;
            this.#retry = setTimeout(() => { this.#retry = null; if (this.supervisor.isThere) this.#start() }, interval * 1000);
        });
    }

    stop() {
        this.#process?.close();
        this.#process = null;
        clearTimeout(this.#retry);
        this.#retry = null;
    }

    #show(samples) {
        const time = Date.now();
        const names = new Set(samples.map(sample => sample.name));
        for (const sample of samples) {
            if (!this.rows.has(sample.name))
                this.rows.set(sample.name, new Row(sample.name));
            this.rows.get(sample.name).add(time, sample);
        }
        for (const [name, row] of this.rows)
            row.element.hidden = !names.has(name);
        const sorted = [...this.rows].sort(([a, x], [b, y]) => y.share - x.share || a.localeCompare(b));
        const order = sorted.map(([name]) => name).join("\0");
        if (order !== this.order) {
            this.order = order;
            this.list.replaceChildren(...sorted.map(([, row]) => row.element));
        }
    }
}
