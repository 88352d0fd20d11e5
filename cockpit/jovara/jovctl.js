// The operator's command, on the terminal. It reads the history and the files of the modules, and words every answer.

/// Resolves with { status, text, error } and never rejects: an exit status above 0 often comes with a text to show.
export function jovctl(...words) {
    return new Promise(resolve => {
        cockpit.spawn(["jovctl", ...words], { superuser: "try", err: "message" })
                .then(text => resolve({ status: 0, text, error: "" }),
                      (error, text) => resolve({ status: error.exit_status ?? -1, text: text ?? "", error: wordsOf(error) }));
    });
}

export async function jovctlJson(...words) {
    const { text, error } = await jovctl(...words);
    try {
        return { value: JSON.parse(text), error: "" };
    } catch {
        return { value: null, error: error || cockpit.gettext("jovctl printed nothing.") };
    }
}

/// Runs until close() is called. Calls read(text) for each part of the output, and ended(error) if it ends before.
export function follow(words, read, ended) {
    const process = cockpit.spawn(["jovctl", ...words], { superuser: "try", err: "message" });
    let isClosed = false;
    process.stream(text => { if (!isClosed) read(text) });
    process.then(() => { if (!isClosed) ended("") }, error => { if (!isClosed) ended(wordsOf(error)) });
    return { close() { isClosed = true; process.close("terminated") } };
}

export function wordsOf(error) {
    if (error.problem === "not-found")
        return cockpit.gettext("jovctl is not installed on this terminal.");
    return (error.message ?? String(error)).replace(/^jovctl: /, "").trim();
}
