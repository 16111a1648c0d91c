// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { onHold } from "./hold.js";
import { icon } from "./icon.js";
import { show } from "./texts.js";
import { Stopwatch } from "./stopwatch.js";

const mediaKeys = [
    { key: "MediaTrackPrevious", icon: "previous" },
    { key: "MediaPlayPause", icon: "play" },
    { key: "MediaTrackNext", icon: "next" },
    { key: "AudioVolumeDown", icon: "quieter", repeats: true },
    { key: "AudioVolumeMute", icon: "mute" },
    { key: "AudioVolumeUp", icon: "louder", repeats: true },
];

const showKeys = [
    { name: "start", key: "F5", held: [] },
    { name: "startHere", key: "F5", held: ["Shift"] },
    { name: "black", key: "b", held: [] },
    { name: "end", key: "Escape", held: [] },
];

const slideKeys = [
    { name: "previous", key: "PageUp", icon: "left" },
    { name: "next", key: "PageDown", icon: "right" },
];

/**
 * Fills the view of media and slides.
 * @param {HTMLElement} view
 * @param {(key: string, held: string[]) => Promise} press taps a key
 */
export function fillMedia(view, press) {
    view.querySelector("#media").append(...mediaKeys.map((entry) => {
        const button = newButton(entry.key);
        button.append(icon(entry.icon));
        show(button, `media.${entry.key}`, { attribute: "aria-label" });
        onHold(button, () => press(entry.key, []), { isImmediate: true, repeats: entry.repeats });
        return button;
    }));
    view.querySelector("#show").append(...showKeys.map((entry) => {
        const button = newButton(entry.key);
        button.dataset.slides = entry.name;
        show(button, `slides.${entry.name}`);
        onHold(button, () => press(entry.key, entry.held));
        return button;
    }));
    view.querySelector("#slides").append(...slideKeys.map((entry) => {
        const button = newButton(entry.key);
        const caption = document.createElement("span");
        show(caption, `slides.${entry.name}`);
        button.append(icon(entry.icon), caption);
        onHold(button, () => press(entry.key, []), { isImmediate: true });
        return button;
    }));
    connectTimer(view);
}

function newButton(key) {
    const button = document.createElement("button");
    button.type = "button";
    button.dataset.key = key;
    return button;
}

function connectTimer(view) {
    const [timer, start, clear] = ["timer", "timer-start", "timer-clear"].map(
        (id) => view.querySelector(`#${id}`));
    const stopwatch = new Stopwatch();
    let ticking = null;
    const refresh = () => {
        timer.value = stopwatch.textAt(performance.now());
        show(start, stopwatch.isRunning ? "slides.timerStop" : "slides.timerStart");
    };
    start.addEventListener("click", () => {
        stopwatch.toggle(performance.now());
        clearInterval(ticking);
        ticking = stopwatch.isRunning ? setInterval(refresh, 250) : null;
        refresh();
    });
    clear.addEventListener("click", () => {
        stopwatch.clear(performance.now());
        refresh();
    });
}
