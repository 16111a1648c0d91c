// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { Computer } from "./computer.js";
import { conditionOf, isAtDoor } from "./condition.js";
import { Door } from "./door.js";
import { Exchange } from "./exchange.js";
import { fillMedia } from "./media.js";
import { Keys } from "./keys.js";
import { Link, stored } from "./link.js";
import { MouseButtons } from "./mousebuttons.js";
import { notify, reasonOf } from "./notice.js";
import { Pad } from "./pad.js";
import { phoneName } from "./phonename.js";
import { followKeyboard } from "./screen.js";
import { Settings } from "./settings.js";
import { connectSettings } from "./settingsview.js";
import { StatusLine } from "./statusline.js";
import { StickyKeys } from "./stickykeys.js";
import { connectTabs } from "./tabs.js";
import { TextField } from "./textfield.js";
import { TextQueue } from "./textqueue.js";
import { translate, useLanguage } from "./texts.js";
import { fullPace, gentlePace, Transfers } from "./transfers.js";

/** For so long after the last touch files leave room for the next ones, in milliseconds. */
const gentleTime = 1500;

const element = (id) => document.getElementById(id);

const settings = new Settings(storage());
const link = new Link({ credentials: stored(), name: settings.get("name") || phoneName() });
const computer = new Computer(link, {
    now: () => performance.now(),
    requestFrame: (callback) => requestAnimationFrame(callback),
});
const sticky = new StickyKeys();
const queue = new TextQueue(computer);
const field = new TextField(element("text-field"), queue, sticky, () => computer.isReady);
const keys = new Keys(pressKey, sticky);
const hooks = { vibrate: () => vibrate(20), clicks: beforeClick };
const pad = new Pad({ pad: element("pad"), strip: element("strip") }, computer, sticky, hooks);
const mouse = new MouseButtons(element("mouse-buttons"), computer, sticky, beforeClick);
const transfers = new Transfers(link, () => (isPadInUse() ? gentlePace : fullPace));
const needComputer = ["pad", "mouse-buttons", "key-row", "keyboard-button", "view-keys", "media", "show", "slides"].map(element);
needComputer.push(...document.querySelectorAll(".sends"));
const status = new StatusLine(element("status-text"), link, needComputer);
const door = new Door(element("door"), link);

/** How each view is built when it is shown for the first time; a slow phone begins sooner that way. */
const builders = {
    "view-keys": () => keys.fillView(element("view-keys")),
    "view-media": () => fillMedia(element("view-media"), pressKey),
    "view-exchange": () => { exchange = new Exchange(element("view-exchange"), link, transfers, settings); },
    "view-settings": () => connectSettings(element("view-settings"), settings, link),
};
let exchange = null;

keys.fillRow(element("key-row"));
connectKeyboardButton();
connectTabs(element("tabs"), showView);
followKeyboard((isOpen) => element("keyboard-button").setAttribute("aria-pressed", String(isOpen)));
watchPage();
settings.addEventListener("change", applySettings);
for (const type of ["state", "server"]) {
    link.addEventListener(type, refresh);
}
link.addEventListener("doubt", () => status.refresh());
computer.addEventListener("refusal", (event) => notify(reasonOf(event.detail)));
link.start();
applySettings();

function storage() {
    try {
        return window.localStorage;
    } catch {
        return null;
    }
}

function showView(view) {
    releaseEverything();
    builders[view]?.();
    delete builders[view];
    exchange?.refresh(computer.isReady);
}

function isPadInUse() {
    return performance.now() - pad.usedAt < gentleTime;
}

/** Taps a key; the caret may be elsewhere afterwards. */
function pressKey(key, held) {
    vibrate(8);
    pad.stopGlide();
    const answered = queue.key(key, held);
    field.forget();
    return answered;
}

/** What was typed comes before the click, and belongs to another place after it. */
function beforeClick() {
    pad.stopGlide();
    queue.flush();
    field.forget();
}

function vibrate(duration) {
    if (settings.get("vibrates")) {
        navigator.vibrate?.(duration);
    }
}

function connectKeyboardButton() {
    const button = element("keyboard-button");
    const textField = element("text-field");
    button.addEventListener("mousedown", (event) => event.preventDefault());
    button.addEventListener("click", () => {
        if (button.getAttribute("aria-pressed") === "true") {
            textField.blur();
        } else {
            // A field that has the focus already does not open the keyboard again.
            textField.blur();
            textField.focus();
        }
    });
}

/** Nothing stays down when nobody looks. */
function releaseEverything() {
    pad.cancel();
    mouse.cancel();
    computer.releaseEverything();
}

function watchPage() {
    addEventListener("blur", releaseEverything);
    addEventListener("pagehide", releaseEverything);
    document.addEventListener("visibilitychange", () => {
        if (document.hidden) {
            releaseEverything();
        }
    });
}

function refresh() {
    if (computer.isReady) {
        globalThis.requestIdleCallback?.(() => pad.takeMovesAtOnce());
    } else {
        pad.cancel();
        mouse.cancel();
        queue.clear();
        sticky.clear();
        field.forget();
    }
    status.refresh();
    exchange?.refresh(computer.isReady);
    const isOutside = isAtDoor(conditionOf(link));
    if (isOutside) {
        door.refresh();
    }
    element("door").hidden = !isOutside;
    element("views").hidden = isOutside;
    element("tabs").hidden = isOutside;
    applyAbilities();
}

function applySettings() {
    document.documentElement.lang = useLanguage(settings.get("language"));
    translate(document);
    document.body.classList.toggle("left-handed", settings.get("leftHanded"));
    field.suggests = settings.get("suggests");
    refresh();
}

function applyAbilities() {
    const chosen = ["pointerSpeed", "scrollSpeed", "isNatural", "tapToClick", "tapToDrag"];
    pad.options = {
        ...Object.fromEntries(chosen.map((name) => [name, settings.get(name)])),
        canDrag: computer.can("drag"),
    };
}
