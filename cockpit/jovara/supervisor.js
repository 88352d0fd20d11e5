// The supervisor on the bus of the terminal: its modules and steps, and their changes as they happen.

const service = "com.velmora.Jovara.ApplicationManager";
const object = "/ApplicationManager";
const inspection = "com.velmora.Jovara.Inspection";
const control = "com.velmora.Jovara.JovInterface";
const properties = "org.freedesktop.DBus.Properties";
const accessDenied = "org.freedesktop.DBus.Error.AccessDenied";
const retryDelay = 500; // ms
const readInterval = 200; // ms, at least

const plain = list => list.map(entry => Object.fromEntries(Object.entries(entry).map(([key, value]) => [key, value.v])));

/**
 * Events: "lists" when modules and steps were read, "module" (detail: the module) after a change of one state, "gone"
 * when it cannot be asked: `problem` is empty if no supervisor runs.
 */
export class Supervisor extends EventTarget {
    modules = new Map(); // by name
    steps = [];
    logLevel = null;
    isThere = false;
    mayControl = null; // null until it is known
    mayLog = null;
    problem = "";

    #client = null;
    #isReading = false;
    #isStale = false;

    open() {
        if (this.#client)
            return;
        const client = cockpit.dbus(service, { bus: "system", superuser: "try" });
        this.#client = client;
        client.addEventListener("close", (_event, options) => {
            if (this.#client === client) {
                this.#client = null;
                this.#lose(options.problem === "not-found" ? "" : options.problem);
                setTimeout(() => { if (!cockpit.hidden) this.open() }, retryDelay);
            }
        });
        client.addEventListener("owner", (_event, owner) => owner ? this.#read() : this.#lose(""));
        client.subscribe({ interface: inspection, path: object }, (_path, _interface, signal, values) => {
            const module = this.modules.get(values[0]);
            if (signal === "ModuleStateChanged" && module) {
                module.State = values[2];
                this.dispatchEvent(new CustomEvent("module", { detail: module }));
            }
            this.#read();
        });
    }

    close() {
        const client = this.#client;
        this.#client = null;
        client?.close();
    }

    /// The modules whose end a stop of this one includes: those of later steps, and those that depend on it.
    stoppedWith(name) {
        const valueOf = new Map(this.steps.map(step => [step.Name, step.Value]));
        const own = valueOf.get(this.modules.get(name)?.Step);
        const found = new Set([name]);
        for (const one of found)
            this.modules.get(one)?.Dependents.forEach(other => found.add(other));
        for (const module of this.modules.values()) {
            if (valueOf.get(module.Step) > own)
                found.add(module.Name);
        }
        found.delete(name);
        return [...found].filter(one => this.modules.get(one)?.State !== "STOPPED");
    }

    #call(path, method, values, type) {
        return this.#client.call(object, path, method, values, { type });
    }

    #lose(problem) {
        this.isThere = false;
        this.problem = problem;
        this.dispatchEvent(new Event("gone"));
    }

    /// Reads everything, and once more if something changed meanwhile. A start-up changes something every few milliseconds:
    /// the pause keeps the supervisor free for it.
    async #read() {
        this.#isStale = true;
        if (this.#isReading)
            return;
        this.#isReading = true;
        while (this.#isStale && this.#client) {
            const client = this.#client;
            this.#isStale = false;
            try {
                await this.#readLists();
                this.dispatchEvent(new Event("lists"));
            } catch (error) {
                if (this.#client === client)
                    this.#lose(error.name === accessDenied ? "access-denied" : "");
                else
                    this.#isStale = true;
            }
            await new Promise(resolve => setTimeout(resolve, readInterval));
        }
        this.#isReading = false;
    }

    async #readLists() {
        const [[modules], [steps], [level]] = await Promise.all([
            this.#call(inspection, "ListModules", [], ""), this.#call(inspection, "ListSteps", [], ""),
            this.#call(properties, "Get", [inspection, "LogLevel"], "ss")]);
        this.modules = new Map(plain(modules).map(module => [module.Name, module]));
        this.steps = plain(steps);
        this.logLevel = level.v;
        this.isThere = true;
        if (this.mayControl === null)
            await this.#probe();
    }

    /// The bus compares names and not arguments: a call with wrong ones shows, without an effect, whether it lets it pass.
    async #probe() {
        const passes = (path, method) => this.#call(path, method, [true], "b").then(
            () => true, error => error.name !== accessDenied);
        [this.mayControl, this.mayLog] = await Promise.all([
            passes(control, "startModule"), passes(properties, "Set")]);
    }
}
