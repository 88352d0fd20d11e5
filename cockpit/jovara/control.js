// Changing something: jovctl does it, asks the bus for the right, and words the result.
import { h } from "./dom.js";
import { jovctl, jovctlJson } from "./jovctl.js";

const _ = cockpit.gettext;

export const levels = [
    { value: 0, name: () => _("emergency") }, { value: 3, name: () => _("error") },
    { value: 4, name: () => _("warning") }, { value: 6, name: () => _("info") },
    { value: 7, name: () => _("debug") }];

export function showMessage(text, isBad = false) {
    const message = document.getElementById("message");
    message.dataset.kind = isBad ? "bad" : "good";
    message.hidden = !text;
    message.replaceChildren(text, " ", h("button", { click: () => { message.hidden = true } }, _("Close")));
}

export async function control(words) {
    showMessage(cockpit.format(_("$0 …"), words.filter(word => word !== "--").join(" ")));
    const { status, text, error } = await jovctl(...words);
    showMessage([text, error].filter(Boolean).join("\n").trim(), status !== 0);
}

/// Resolves with whether the answer is yes. Escape and the first button mean no.
function ask(title, lines, yes) {
    const dialog = document.getElementById("question");
    return new Promise(resolve => {
        const answer = value => { dialog.close(value) };
        dialog.replaceChildren(
            h("h2", { id: "question-title" }, title), lines.filter(Boolean).reduce(
                (box, line) => (box.append(h("p", {}, line)), box), h("div")),
            h("p", { class: "actions" },
              h("button", { "data-answer": "no", click: () => answer("no") }, _("Cancel")),
              h("button", { "data-answer": "yes", class: "danger", click: () => answer("yes") }, yes)));
        dialog.returnValue = "no";
        dialog.addEventListener("close", () => resolve(dialog.returnValue === "yes"), { once: true });
        dialog.showModal();
    });
}

/// Which of the modules have rebooted this terminal before, by the history.
async function rebooters(names) {
    const { value } = await jovctlJson("history", "--json");
    const ends = (value ?? []).map(boot => boot.reason?.module).filter(Boolean);
    return names.filter(name => ends.includes(name));
}

/// A module that does not stop in time is killed, and the supervisor then reboots the terminal: the first question says
/// so. A module that has rebooted the terminal before is asked about a second time.
export async function askAndStop(supervisor, action, name) {
    const others = action === "stop" ? supervisor.stoppedWith(name) : [];
    const yes = action === "stop" ? _("Stop") : _("Restart");
    const isSure = await ask(
        cockpit.format(action === "stop" ? _("Stop $0?") : _("Restart $0?"), name),
        [others.length ? cockpit.format(_("This also stops: $0."), others.join(", ")) : null,
         _("If a module does not stop in time, the terminal reboots.")], yes);
    if (!isSure)
        return;
    const known = await rebooters([name, ...others]);
    if (known.length && !await ask(_("The terminal may reboot"),
                                   [cockpit.format(_("Has rebooted this terminal before: $0."), known.join(", "))],
                                   _("Reboot if necessary")))
        return;
    await control([action, "--", name]);
}
