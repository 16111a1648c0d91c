// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Drives Chromium for a test: reads commands from the standard input, one JSON object a line, and
// answers each with a line, in their order. {"id":1,"command":"open","width":390} is answered with
// {"id":1,"result":…} or {"id":1,"error":"…"}. It ends, and the browser with it, at the end of its
// input. The browser is the program of CHROMIUM; it can reach addresses only, no names.

import { createInterface } from "node:readline";
import { chromium } from "playwright-core";

const limit = Number(process.env.LIMIT_MILLISECONDS ?? 20000);

/** What Chromium says of itself on a phone. */
const phone = "Mozilla/5.0 (Linux; Android 10; K) AppleWebKit/537.36 (KHTML, like Gecko) " +
    "Chrome/150.0.0.0 Mobile Safari/537.36";

const browser = await chromium.launch({
    executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
    headless: true,
    args: [
        "--no-sandbox", // which Chromium asks of root
        "--disable-gpu",
        "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1, EXCLUDE 10.77.0.1, EXCLUDE 10.77.0.2",
    ],
});

/** @type {Map<number, {page: import("playwright-core").Page, protocol: import("playwright-core").CDPSession}>} */
const pages = new Map();
let lastPage = 0;

function find(page, { role, name, css, exact = true }) {
    return css ? page.locator(css).first() : page.getByRole(role, { name, exact }).first();
}

function sleepUntil(time) {
    const rest = time - performance.now();
    return rest > 0 ? new Promise((done) => setTimeout(done, rest)) : undefined;
}

/** The browser makes a click of a tap a little later, and none if the page has used the touch itself. */
const awaitClick = `tapped = new Promise((done) => {
    addEventListener("click", done, { capture: true, once: true });
    addEventListener("touchend", () => setTimeout(done, 400), { capture: true, once: true });
}).then(() => true); undefined`;

async function touch(protocol, type, points) {
    const touchPoints = points.map(({ id, x, y }) => ({ id, x, y, radiusX: 8, radiusY: 8, force: 0.5 }));
    await protocol.send("Input.dispatchTouchEvent", { type, touchPoints });
}

/** Past the page's policy, which lets nobody else evaluate a text. */
async function evaluate(protocol, expression) {
    const { result, exceptionDetails } = await protocol.send("Runtime.evaluate", {
        expression, awaitPromise: true, returnByValue: true,
    });
    if (exceptionDetails) {
        throw new Error(exceptionDetails.exception?.description ?? exceptionDetails.text);
    }
    return result.value ?? null;
}

/** Bytes of all answers as they came over the wire, their heads included. */
function countBytes(open) {
    open.bytes = 0;
    open.protocol.on("Network.loadingFinished", ({ encodedDataLength }) => {
        open.bytes += encodedDataLength;
    });
}

const commands = {
    /** A window of its own, with storage of its own. */
    async open({ width = 390, height = 844, scale = 2, dark = false, locale = "en-US", mobile = true }) {
        const context = await browser.newContext({
            viewport: { width, height },
            deviceScaleFactor: scale,
            colorScheme: dark ? "dark" : "light",
            locale,
            isMobile: mobile,
            ...(mobile ? { userAgent: phone } : {}),
            hasTouch: mobile,
            acceptDownloads: true,
        });
        context.setDefaultTimeout(limit);
        const page = await context.newPage();
        const protocol = await context.newCDPSession(page);
        await protocol.send("Network.enable");
        await protocol.send("Page.enable");
        const open = { page, protocol, messages: [] };
        countBytes(open);
        page.on("console", (message) => {
            if (message.type() === "error" || message.type() === "warning") {
                open.messages.push(message.text());
            }
        });
        page.on("pageerror", (error) => open.messages.push(String(error)));
        page.on("dialog", (dialog) => dialog.accept());
        pages.set(++lastPage, open);
        return lastPage;
    },

    async close({ page }) {
        const { page: closing } = pages.get(page);
        pages.delete(page);
        await closing.context().close();
    },

    async goTo({ url }, { page }) {
        // Another fragment alone would not load the page anew.
        await page.goto("about:blank");
        await page.goto(url, { waitUntil: "load" });
    },

    async reload(_, { page }) {
        await page.reload({ waitUntil: "load" });
    },

    async evaluate({ expression }, { protocol }) {
        return evaluate(protocol, expression);
    },

    /** Waits until the expression is true. */
    async await({ expression, milliseconds = limit }, { protocol }) {
        const end = performance.now() + milliseconds;
        while (!(await evaluate(protocol, `Boolean(${expression})`))) {
            if (performance.now() > end) {
                throw new Error(`never true: ${expression}`);
            }
            await sleepUntil(performance.now() + 10);
        }
    },

    /** Waits until the element is seen, or no longer. */
    async awaitElement({ gone = false, milliseconds = limit, ...which }, { page }) {
        await find(page, which).waitFor({ state: gone ? "hidden" : "visible", timeout: milliseconds });
    },

    async count(which, { page }) {
        return which.css ? page.locator(which.css).filter({ visible: true }).count()
            : page.getByRole(which.role, { name: which.name, exact: true }).count();
    },

    async text(which, { page }) {
        return find(page, which).innerText();
    },

    async attribute({ attribute, ...which }, { page }) {
        return find(page, which).getAttribute(attribute);
    },

    async place(which, { page }) {
        return find(page, which).boundingBox();
    },

    /** A finger's tap in the middle of it, or a click with the mouse where there are no fingers. */
    async tap(which, { page, protocol }) {
        const element = find(page, which);
        if ((await evaluate(protocol, "navigator.maxTouchPoints")) === 0) {
            await element.click();
            return;
        }
        await evaluate(protocol, awaitClick);
        await element.tap();
        await evaluate(protocol, "tapped");
    },

    async focus(which, { page }) {
        await find(page, which).focus();
    },

    async fill({ text, ...which }, { page }) {
        await find(page, which).fill(text);
    },

    async select({ value, ...which }, { page }) {
        await find(page, which).selectOption(value);
    },

    /** Each step waits until so many milliseconds after the beginning, then sends its touches. */
    async gesture({ steps }, { protocol }) {
        const start = performance.now();
        for (const { at, type, points } of steps) {
            await sleepUntil(start + at);
            await touch(protocol, type, points);
        }
    },

    /** Moves by turns between the two points; answers with when each touch was sent (Unix time). */
    async timedMoves({ from, to, count, pause }, { protocol }) {
        const sent = [];
        await touch(protocol, "touchStart", [{ id: 0, ...from }]);
        let next = performance.now();
        for (let number = 0; number < count; ++number) {
            next += pause;
            await sleepUntil(next);
            sent.push(performance.timeOrigin + performance.now());
            await touch(protocol, "touchMove", [{ id: 0, ...(number % 2 === 0 ? to : from) }]);
        }
        await touch(protocol, "touchEnd", []);
        return sent;
    },

    /** A word that grows while it is composed, as a keyboard with suggestions writes it. */
    async compose({ pieces, committed }, { protocol }) {
        for (const text of pieces) {
            await key229(protocol, "rawKeyDown");
            await protocol.send("Input.imeSetComposition", {
                text, selectionStart: text.length, selectionEnd: text.length,
            });
            await key229(protocol, "keyUp");
        }
        await protocol.send("Input.insertText", { text: committed });
    },

    /** A text at once, as swiping, dictation and lists of emoji write it. */
    async insert({ text }, { protocol }) {
        await key229(protocol, "rawKeyDown");
        await protocol.send("Input.insertText", { text });
        await key229(protocol, "keyUp");
    },

    /** What autocorrection does: another text in place of the last characters. */
    async replace({ characters, text }, { protocol }) {
        const end = await evaluate(protocol, "document.activeElement.selectionEnd");
        await protocol.send("Input.imeSetComposition", {
            text, selectionStart: text.length, selectionEnd: text.length,
            replacementStart: end - characters, replacementEnd: end,
        });
        await protocol.send("Input.insertText", { text });
    },

    /** A key that phones do name, such as Backspace and Enter; by its editing command. */
    async key({ key }, { page }) {
        await page.keyboard.press(key);
    },

    /** Gives files to the chooser that the element opens. */
    async choose({ files, ...which }, { page }) {
        const [chooser] = await Promise.all([page.waitForEvent("filechooser"), find(page, which).click()]);
        await chooser.setFiles(files);
    },

    /** Saves what the element downloads, and answers with its name. */
    async download({ path, ...which }, { page }) {
        const [download] = await Promise.all([page.waitForEvent("download"), find(page, which).click()]);
        await download.saveAs(path);
        return download.suggestedFilename();
    },

    async offline({ isOffline }, { page }) {
        await page.context().setOffline(isOffline);
    },

    async slow({ factor }, { protocol }) {
        await protocol.send("Emulation.setCPUThrottlingRate", { rate: factor });
    },

    /** Bytes a second and milliseconds. */
    async throttle({ download, upload, latency = 0 }, { protocol }) {
        await protocol.send("Network.emulateNetworkConditions", {
            offline: false, latency, downloadThroughput: download, uploadThroughput: upload,
        });
    },

    /**
     * Loads the page anew and answers with the milliseconds from its first byte until the expression
     * is true, asked in each frame, and with the bytes that came over the wire.
     */
    async timeToUsable({ expression }, open) {
        const { page, protocol } = open;
        const source = `addEventListener("DOMContentLoaded", () => {
            const look = () => { ${expression} ? usableAt = performance.now() : requestAnimationFrame(look); };
            look();
        }); usableAt = 0;`;
        const { identifier } = await protocol.send("Page.addScriptToEvaluateOnNewDocument", { source });
        await protocol.send("Network.clearBrowserCache");
        open.bytes = 0;
        await page.reload({ waitUntil: "load" });
        await commands.await({ expression: "usableAt > 0" }, open);
        const time = await evaluate(protocol,
            "usableAt - performance.getEntriesByType('navigation')[0].responseStart");
        await protocol.send("Page.removeScriptToEvaluateOnNewDocument", { identifier });
        return { time, bytes: open.bytes };
    },

    async resize({ width, height }, { page }) {
        await page.setViewportSize({ width, height });
    },

    async dark({ isDark }, { page }) {
        await page.emulateMedia({ colorScheme: isDark ? "dark" : "light" });
    },

    async screenshot({ path }, { page }) {
        await page.screenshot({ path });
    },

    async bytes(_, open) {
        return open.bytes;
    },

    /** Errors and warnings that the page has caused so far. */
    async messages(_, open) {
        return open.messages;
    },
};

async function key229(protocol, type) {
    await protocol.send("Input.dispatchKeyEvent", {
        type, windowsVirtualKeyCode: 229, nativeVirtualKeyCode: 229, key: "Unidentified", code: "",
    });
}

async function carryOut({ id, command, ...fields }) {
    try {
        return { id, result: (await commands[command](fields, pages.get(fields.page))) ?? null };
    } catch (error) {
        return { id, error: `${command}: ${error.message}` };
    }
}

process.stdout.write(`{"id":0,"result":${JSON.stringify(browser.version())}}\n`);
for await (const line of createInterface({ input: process.stdin })) {
    process.stdout.write(`${JSON.stringify(await carryOut(JSON.parse(line)))}\n`);
}
await browser.close();
