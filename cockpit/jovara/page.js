// The page: a header with the state of the terminal, and one view at a time.
import { BootsView } from "./boots.js";
import { h, setText } from "./dom.js";
import { jovctlJson } from "./jovctl.js";
import { MemoryView } from "./memory.js";
import { ModulesView } from "./modules.js";
import { OutputView } from "./output.js";
import { OverviewView } from "./overview.js";
import { Supervisor } from "./supervisor.js";

const _ = cockpit.gettext;
const settleTime = 200; // ms, in which several changes lead to one question
const refreshInterval = 10000; // ms: not every change of the state sends a signal

// The words of `jovctl status`.
const words = {
    up: () => _("up"), starting: () => _("starting"), failed: () => _("failed"),
    stopped: () => _("stopped"), stopping: () => _("stopping"),
    "waiting for the reboot": () => _("waiting for the reboot"),
};
const kinds = { up: "good", failed: "bad", "waiting for the reboot": "bad" };

const supervisor = new Supervisor();
const views = {
    overview: new OverviewView(supervisor),
    modules: new ModulesView(supervisor, name => { views.output.name = name; cockpit.location.go(["output"]) }),
    startup: new BootsView(),
    memory: new MemoryView(supervisor),
    output: new OutputView(supervisor),
};
let current = null;
let isGone = false;

function showState(text, kind) {
    const state = document.getElementById("state");
    setText(state, text);
    state.dataset.kind = kind;
}

let timer = null;
let isAsking = false;

/// Asks jovctl for the state, soon and once for several changes.
function askSoon(delay = settleTime) {
    timer ??= setTimeout(ask, delay);
}

async function ask() {
    timer = null;
    if (isAsking)
        return askSoon();
    isAsking = true;
    const { value, error } = await jovctlJson("status", "--json");
    isAsking = false;
    if (cockpit.hidden || !supervisor.isThere)
        return;
    if (!value) {
        showState(error, "bad");
    } else {
        const held = /^held at step (\d+)$/.exec(value.state);
        showState(held ? cockpit.format(_("held at step $0"), held[1]) : words[value.state]?.() ?? value.state,
                  value.state === "up" && value.notRunning.length ? "busy" : kinds[value.state] ?? "busy");
        views.overview.update(value);
    }
}

supervisor.addEventListener("lists", () => {
    if (isGone)
        current.open(); // a boot more in the history, another start-up
    isGone = false;
    askSoon();
});
supervisor.addEventListener("module", () => askSoon());
supervisor.addEventListener("gone", () => {
    isGone = true;
    views.overview.update(null);
    showState(supervisor.problem === "" ? _("The supervisor is not running.")
        : supervisor.problem === "access-denied" ? _("You have no right to see the supervisor.")
            : cockpit.format(_("No connection to the terminal: $0"), supervisor.problem), "bad");
});

function showView() {
    const name = views[cockpit.location.path[0]] ? cockpit.location.path[0] : "overview";
    for (const link of document.querySelectorAll("#views a"))
        link.toggleAttribute("aria-current", link.dataset.view === name);
    if (current === views[name])
        return;
    current?.close();
    current = views[name];
    document.getElementById("view").replaceChildren(current.element);
    current.open();
}

/// The shell of Cockpit sends its event before it stores the choice.
function showTheme(event) {
    const style = event?.detail?.style ?? localStorage.getItem("shell:style");
    document.documentElement.style.colorScheme = { dark: "dark", light: "light" }[style] ?? "light dark";
}

/// Nothing runs on the terminal while nobody looks at the page.
function followVisibility() {
    if (cockpit.hidden) {
        supervisor.close();
        views.memory.stop();
        current.close();
    } else {
        supervisor.open();
        current.open();
    }
}

cockpit.translate();
document.documentElement.lang = cockpit.language.replace("_", "-");
document.getElementById("views").append(...Object.entries(views).map(
    ([name, view]) => h("a", { href: `#/${name}`, "data-view": name }, view.constructor.title())));
showTheme();
window.addEventListener("storage", showTheme);
window.addEventListener("cockpit-style", showTheme);
cockpit.addEventListener("locationchanged", showView);
cockpit.addEventListener("visibilitychange", followVisibility);
const permission = cockpit.permission({ admin: true });
let wasAllowed = null;
permission.addEventListener("changed", () => {
    if (wasAllowed !== null && permission.allowed !== wasAllowed)
        location.reload();
    wasAllowed = permission.allowed;
});
setInterval(() => { if (!cockpit.hidden && supervisor.isThere) askSoon() }, refreshInterval);
showState(_("connecting …"), "busy");
showView();
supervisor.open();
