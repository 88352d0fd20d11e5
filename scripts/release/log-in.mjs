// usage: log-in.mjs ADDRESS
// Logs in to the page of the machine that in-a-chroot has booted, as each of its users. Exit status: 0 each sees what he may.
import assert from "node:assert/strict";
import { Browser } from "../../tests/web/terminal.mjs";

const address = process.argv[2];
const browser = await Browser.start();

async function logIn(user) {
    const context = await browser.chromium.createBrowserContext();
    const page = await context.newPage();
    page.setDefaultTimeout(30000);
    await page.goto(`${address}/jovara`);
    await page.type("#login-user-input", user);
    await page.type("#login-password-input", `secret of ${user}`);
    await page.click("#login-button");
    browser.page = await page.waitForFrame(frame => frame.url().includes("/jovara/index.html"));
    return context;
}

const enabled = async name => (await browser.row(name)).$$eval("button:enabled", list => list.map(one => one.dataset.action));

try {
    let context = await logIn("mona");
    await browser.see("#state", /^up$/);
    const restart = await (await browser.row("journal")).$("[data-action=restart]");
    await restart.click();
    await browser.page.waitForSelector("#question [data-answer=yes]").then(answer => answer.click());
    await browser.see("#message", /journal restarted, pid/);
    console.log("    ok: who is in jovmodules restarts a module");
    await context.close();

    context = await logIn("tess");
    await browser.see("#state", /^up$/);
    assert.deepEqual(await enabled("journal"), ["output"]);
    await browser.see("#denied", /may look/);
    console.log("    ok: a technician sees, and is refused");
    await context.close();

    context = await logIn("sam");
    await browser.see("#state", /no right to see/);
    console.log("    ok: anybody else is told the right that is missing");
    await context.close();
} catch (error) {
    console.error(await browser.page.evaluate(() => document.body.innerText).catch(() => "no page"));
    throw error;
} finally {
    await browser.chromium.close();
}
