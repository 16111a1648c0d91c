// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { notify, reasonOf } from "./notice.js";
import { text } from "./texts.js";

/**
 * Connects the view of settings: its fields, the phone's name, and leaving.
 * @param {HTMLElement} view
 * @param {object} settings see settings.js
 * @param {object} link see link.js
 */
export function connectSettings(view, settings, link) {
    connectFields(view, settings);
    connectName(view.querySelector("#phone-name"), settings, link);
    view.querySelector("#leave").addEventListener("click", () => {
        if (confirm(text("settings.leaveQuestion"))) {
            link.request("leave").catch((refusal) => notify(reasonOf(refusal)));
        }
    });
}

/** Connects each field of a view that has data-setting, the setting's name. */
export function connectFields(view, settings) {
    for (const field of view.querySelectorAll("[data-setting]")) {
        connectField(field, settings);
    }
}

function connectField(field, settings) {
    const name = field.dataset.setting;
    const property = field.type === "checkbox" ? "checked" : "value";
    const convert = field.type === "range" ? Number : (value) => value;
    field[property] = settings.get(name);
    field.addEventListener("change", () => settings.set(name, convert(field[property])));
}

function connectName(field, settings, link) {
    field.value = link.name;
    field.addEventListener("change", async () => {
        const name = field.value.trim();
        if (name === "" || name === link.name) {
            field.value = link.name;
            return;
        }
        try {
            await link.request("rename", { name });
            settings.set("name", name);
            notify(text("settings.renamed"));
        } catch (refusal) {
            field.value = link.name;
            notify(reasonOf(refusal));
        }
    });
}
