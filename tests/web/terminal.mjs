// A simulated terminal, its page, and a browser that shows it.
import assert from "node:assert/strict";
import { execFileSync, spawn } from "node:child_process";
import { chmodSync, cpSync, existsSync, mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { createServer } from "node:net";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { setTimeout as pause } from "node:timers/promises";

export const project = new URL("../..", import.meta.url).pathname;
const require = createRequire(join(project, "build/web/"));
const puppeteer = require("puppeteer-core");
const axe = require.resolve("axe-core/axe.min.js");
const bin = process.env.JOV_BIN ?? join(project, "build/release/bin");
const patience = 30000; // ms: a faulty page fails, a slow machine does not

const freePort = () => new Promise(resolve => {
    const server = createServer().listen(0, "127.0.0.1", () => {
        const { port } = server.address();
        server.close(() => resolve(port));
    });
});

const until = async (reached, what) => {
    for (const end = Date.now() + patience; !await reached(); await pause(50))
        assert.ok(Date.now() < end, what);
};

export class Terminal {
    /// With further modules.
    static async boot(...modules) {
        const terminal = new Terminal();
        terminal.folder = mkdtempSync(join(tmpdir(), "jov-page-"));
        chmodSync(terminal.folder, 0o755); // for other users
        const files = join(terminal.folder, "files");
        cpSync(join(project, "simulator/terminal"), files, { recursive: true });
        for (const module of modules) {
            const folder = join(files, "etc/JovApplication/module", module);
            mkdirSync(folder, { recursive: true });
            writeFileSync(join(folder, "config.xml"), "<config><initStep>background</initStep></config>");
        }
        terminal.root = join(terminal.folder, "root");
        terminal.process = spawn(join(bin, "jov-simulator"), ["--root", terminal.root, "--terminal", files],
                                 { stdio: ["pipe", "ignore", "inherit"] });
        await until(() => existsSync(join(terminal.root, "run/bus")), "the simulator has no bus");
        return terminal;
    }

    /// [pid, command line] of all processes below one.
    childrenOf(pid) {
        const list = execFileSync("ps", ["-e", "-o", "pid=,ppid=,args="], { encoding: "utf8" }).trim().split("\n")
            .map(line => line.trim().match(/^(\d+) +(\d+) (.*)$/).slice(1));
        const below = parent => list.filter(([, ppid]) => Number(ppid) === parent)
            .flatMap(([id, , words]) => [[Number(id), words], ...below(Number(id))]);
        return below(pid);
    }

    /// Waits until so many processes of the page have such a command line.
    processes(words, count) {
        const found = () => this.childrenOf(this.server.pid).filter(([, one]) => one.startsWith(words));
        return until(() => found().length === count, `not ${count} processes "${words}"`);
    }

    command(line) { this.process.stdin.write(line + "\n") }

    /// Serves the page as `user`, and answers its address.
    async serve(user) {
        const port = await freePort();
        const words = [join(project, "cockpit/serve"), this.root, String(port)];
        if (user)
            words.unshift("setpriv", `--reuid=${user}`, "--regid=nogroup", "--clear-groups", "env", "HOME=/nonexistent");
        this.server?.kill();
        this.server = spawn(words[0], words.slice(1), { env: { ...process.env, JOV_BIN: bin }, stdio: "ignore" });
        this.address = `http://127.0.0.1:${port}/cockpit/@localhost/jovara/index.html`;
        await until(() => fetch(this.address).then(answer => answer.ok, () => false), "the page is not served");
    }

    async stop() {
        const ended = Promise.all([this.process, this.server].filter(Boolean).map(
            one => one.exitCode ?? new Promise(resolve => one.once("exit", resolve))));
        this.server?.kill();
        this.process.kill();
        await ended;
        rmSync(this.folder, { recursive: true });
    }
}

export class Browser {
    static async start() {
        const browser = new Browser();
        browser.chromium = await puppeteer.launch({ executablePath: "/usr/bin/chromium", args: ["--no-sandbox"] });
        return browser;
    }

    async open(terminal, { view = "overview", width = 1000 } = {}) {
        await this.page?.close();
        const page = this.page = await this.chromium.newPage();
        page.setDefaultTimeout(patience);
        this.errors = [];
        page.on("console", message => { if (message.type() === "error") this.errors.push(message.text()) });
        page.on("pageerror", error => this.errors.push(error.message));
        await page.setViewport({ width, height: 800 });
        await page.goto(`${terminal.address}#/${view}`);
        return page;
    }

    /// Waits until an element of the selector has such a text.
    see(selector, pattern) {
        return this.page.waitForFunction((one, source) =>
            [...document.querySelectorAll(one)].some(element => new RegExp(source).test(element.textContent)),
                                         { polling: "mutation" }, selector, pattern.source)
            .catch(async () => {
                const text = await this.page.$$eval(selector, list => list.map(element => element.textContent).join("|"));
                throw new Error(`${selector} does not show ${pattern}, but: ${text.slice(0, 500)}`);
            });
    }

    async view(name) {
        await this.page.click(`#views [data-view=${name}]`);
    }

    /// Opens the module's row, if it is closed.
    async row(name) {
        await this.view("modules");
        const row = await this.page.waitForSelector(`::-p-xpath(//details[summary/span[text()="${name}"]])`);
        if (!await row.evaluate(element => element.open))
            await (await row.$("summary")).click();
        await row.waitForSelector("dd:not(:empty)");
        return row;
    }

    async violations() {
        await this.page.evaluate(readFileSync(axe, "utf8"));
        const { violations } = await this.page.evaluate(() => axe.run());
        return violations.map(({ id, nodes }) => `${id}: ${nodes.map(node => node.html).join(" ").slice(0, 300)}`);
    }
}
