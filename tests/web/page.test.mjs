import assert from "node:assert/strict";
import { appendFileSync, readdirSync, readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";
import test, { after, afterEach, before } from "node:test";
import { Browser, project, Terminal } from "./terminal.mjs";

const markup = "<img src=x onerror=window.broken=1>";
const views = ["overview", "modules", "startup", "memory", "output"];

let terminal, browser;

before(async () => {
    browser = await Browser.start();
    terminal = await Terminal.boot(markup);
    await terminal.serve();
    await browser.open(terminal); // the bridge starts with its first page
    await browser.see("#state", /^up$/);
});

after(async () => {
    await browser?.chromium.close();
    await terminal?.stop();
});

const pidOf = async name => Number(await (await browser.row(name)).$eval("dd", element => element.textContent));
const press = async (name, action) => (await (await browser.row(name)).$(`[data-action=${action}]`)).click();

afterEach(() => assert.deepEqual(browser.errors, [])); // of the console

test("the first state is on the screen within a second", async t => {
    const page = await browser.open(terminal);
    await browser.see("#state", /^up$/);
    const time = await page.evaluate(() => performance.now());
    t.diagnostic(`first state after ${time.toFixed(0)} ms`);
    assert.ok(time < 1000, `${time} ms`);
});

const seen = [
    ["overview", "#now", /All 17 modules are running/],
    ["overview", "#why", /first boot in the history/],
    ["modules", "#modules .step h2", /5 services started in \d+ ms/],
    ["modules", "#modules .module summary", /^JovGaterunning$/],
    ["memory", "#memory li .figures", /of .* \(\d+ %\)/],
    ["startup", "#boot", /The start-up took/],
    ["startup", "#history tbody", /this boot/],
];
for (const [view, selector, pattern] of seen) {
    test(`${view} shows ${pattern}`, async () => {
        await browser.view(view);
        await browser.see(selector, pattern);
    });
}

test("the chart of the start-up is a picture with a text", async () => {
    await browser.view("startup");
    const picture = await browser.page.waitForSelector("#chart img[alt*='The start-up took']");
    assert.ok(await picture.evaluate(element => element.decode().then(() => element.naturalWidth)) > 500);
});

test("nothing runs on the terminal while the page is hidden", async () => {
    const hide = hidden => browser.page.evaluate(value => {
        Object.defineProperty(document, "hidden", { value, configurable: true });
        document.dispatchEvent(new Event("visibilitychange"));
    }, hidden);
    await terminal.processes("jovctl top", 1);
    await hide(true);
    await terminal.processes("jovctl top", 0);
    await hide(false);
    await terminal.processes("jovctl top", 1);
});

test("the last lines of a module, and those that follow", async () => {
    const file = join(terminal.root, "var/log/modules/rules");
    writeFileSync(file, "<b>first</b>\n");
    await press("rules", "output");
    await browser.see("#output", /^<b>first<\/b>\n$/);
    appendFileSync(file, "second\n");
    await browser.see("#output", /second/);
});

test("a name that tries to be markup is a text", async () => {
    await browser.row(markup);
    for (const view of views) {
        await browser.view(view);
        await browser.see("h1", /Terminal/);
    }
    assert.equal(await browser.page.evaluate(() => window.broken), undefined);
    assert.equal(await browser.page.$("img[src=x]"), null);
});

test("a restart asks first, without a mouse as well", async () => {
    const { keyboard } = browser.page;
    const before = await pidOf("rules");
    await (await browser.row("rules")).evaluate(element => element.querySelector("[data-action=restart]").focus());
    await keyboard.press("Enter");
    await browser.see("#question", /Restart rules\?.*reboots/);
    await keyboard.press("Escape");
    await browser.page.waitForSelector("#question:not([open])");
    await keyboard.press("Enter"); // the focus is back on the button
    await browser.page.waitForSelector("#question[open]");
    await keyboard.press("Tab");
    await keyboard.press("Enter");
    await browser.see("#message", /rules restarted, pid/);
    assert.notEqual(await pidOf("rules"), before);
});

test("a stop lists what stops with it, and the reason is the root cause", async () => {
    await press("store", "stop");
    await browser.see("#question", /This also stops: .*badges.*JovGate/);
    await (await browser.page.$("#question [data-answer=no]")).click();
    await press("rules", "stop");
    await browser.page.click("#question [data-answer=yes]");
    await browser.see(".module summary", /^rulesstopped$/);
    await browser.view("overview");
    await browser.see("#now .reasons", /rules: its process ended/);
    await browser.see("#message", /rules stopped/);
});

test("the log level is changed", async () => {
    await browser.page.select("#log-level", "7");
    await browser.see("#message", /7 \(debug\)/);
});

test("the power fails, and the page follows", async () => {
    await browser.row("store");
    terminal.command("power-cut");
    await browser.see("#state", /not running/);
    await browser.see("#state", /^up$/);
    await browser.see(".module[open] .badge", /running/); // the row is still open
    await browser.view("startup");
    await browser.page.waitForSelector("#history button").then(button => button.click());
    await browser.see("#comparison", /\d/);
});

test("a crash is on the screen within a second, its reason after the reboot, and a restart is asked twice", async t => {
    const pid = await pidOf("store");
    const start = Date.now();
    process.kill(pid, "SIGSEGV");
    await browser.see(".module summary", /^storestopped$/);
    const time = Date.now() - start;
    t.diagnostic(`the crash is on the screen after ${time} ms`);
    assert.ok(time < 1000, `${time} ms`);
    await browser.see("#state", /^The supervisor is not running/);
    await browser.see("#state", /^up$/);
    await browser.view("overview");
    await browser.see("#why", /store crashed, killed by SIGSEGV/);
    await press("store", "restart");
    const before = await pidOf("store");
    await browser.page.click("#question [data-answer=yes]");
    await browser.see("#question", /Has rebooted this terminal before: store/);
    await browser.page.click("#question [data-answer=no]");
    assert.equal(await pidOf("store"), before);
});

for (const scheme of ["light", "dark"]) {
    test(`accessible, and as wide as a telephone, in ${scheme}`, async () => {
        const page = await browser.open(terminal, { width: 360 });
        await page.emulateMediaFeatures([{ name: "prefers-color-scheme", value: scheme }]);
        await browser.see("#state", /^up$/);
        await browser.row("store");
        for (const view of views) {
            await browser.view(view);
            await page.waitForFunction(() => document.getElementById("view").textContent.length > 20);
            assert.deepEqual(await browser.violations(), [], view);
            assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth), `${view} is too wide`);
        }
    });
}

test("German, and no text without a translation", async () => {
    const folder = join(project, "cockpit/jovara");
    const known = {};
    new Function("cockpit", readFileSync(join(folder, "po.de.js"), "utf8"))({ locale: texts => Object.assign(known, texts) });
    for (const file of readdirSync(folder).filter(name => name.endsWith(".js") && !name.startsWith("po."))) {
        for (const [, text] of readFileSync(join(folder, file), "utf8").matchAll(/(?:\b_|gettext)\("([^"]+)"\)/g))
            assert.ok(known[text]?.[1], `${file}: "${text}"`);
    }
    const cookie = { name: "CockpitLang", value: "de", domain: "127.0.0.1", path: "/" };
    await browser.chromium.setCookie(cookie);
    try {
        await browser.open(terminal);
        await browser.see("#state", /^in Betrieb$/);
        await browser.see("#views", /Übersicht/);
    } finally {
        await browser.chromium.deleteCookie(cookie);
    }
});

test("whom the bus policy refuses sees, but cannot control", { skip: process.getuid() !== 0 && "needs root" }, async () => {
    const policy = join(terminal.folder, "policy.conf");
    writeFileSync(policy, readFileSync(join(project, "packaging/com.velmora.Jovara.conf"), "utf8")
        .replace('<policy group="jovtech">', '<policy user="nobody">').replace(/<policy group="jovmodules">.*?<\/policy>/s, ""));
    const configuration = join(terminal.root, "run/bus.conf");
    writeFileSync(configuration, readFileSync(configuration, "utf8").replace("</busconfig>", `<policy context="default"><allow user="*"/></policy><include>${policy}</include></busconfig>`));
    process.kill(terminal.childrenOf(terminal.process.pid).find(([, words]) => words.includes("dbus-daemon --config-file"))[0], "SIGHUP");
    await terminal.serve("nobody");
    const page = await browser.open(terminal, { view: "modules" });
    await browser.see("#state", /^up$/);
    await browser.see("#denied", /may look/);
    const row = await browser.row("store");
    assert.deepEqual(await row.$$eval("button:enabled", list => list.map(button => button.dataset.action)), ["output"]);
    await browser.view("overview");
    await page.waitForSelector("#log-level:disabled");
});

test("400 modules scroll without a stall", async t => {
    const large = await Terminal.boot(...Array.from({ length: 400 - 16 }, (_, i) => `module${String(i).padStart(3, "0")}`));
    try {
        await large.serve();
        const page = await browser.open(large, { view: "modules", width: 360 });
        await browser.see("#state", /^up$/);
        await browser.see(".module .name", /module383/);
        const gaps = await page.evaluate(() => new Promise(resolve => {
            const times = [performance.now()];
            requestAnimationFrame(function frame(now) {
                times.push(now);
                scrollBy(0, 300);
                if (scrollY + innerHeight < document.documentElement.scrollHeight - 1)
                    return requestAnimationFrame(frame);
                resolve(times.slice(1).map((time, i) => time - times[i]));
            });
        }));
        const longest = Math.max(...gaps);
        t.diagnostic(`${gaps.length} frames, the longest ${longest.toFixed(0)} ms`);
        assert.ok(gaps.length > 30 && longest < 250, `${gaps.length} frames, the longest ${longest} ms`);
    } finally {
        await large.stop();
    }
});
