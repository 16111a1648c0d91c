// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

const storageKey = "vorna.settings";

/** Each setting and its default. */
export const defaults = {
    name: "",
    language: "auto",
    pointerSpeed: 1,
    scrollSpeed: 1,
    isNatural: true,
    tapToClick: true,
    tapToDrag: true,
    vibrates: true,
    leftHanded: false,
    suggests: true,
    opensFiles: false,
};

/** What the user chose on this phone. Dispatches "change". */
export class Settings extends EventTarget {
    #values;
    #storage;

    /** @param {Storage | null} storage may throw at each use */
    constructor(storage) {
        super();
        this.#storage = storage;
        this.#values = { ...defaults, ...this.#stored() };
    }

    /** The value of a setting. */
    get(name) {
        return this.#values[name];
    }

    /** Changes a setting and keeps it. */
    set(name, value) {
        this.#values[name] = value;
        try {
            this.#storage?.setItem(storageKey, JSON.stringify(this.#values));
        } catch {
            // A private window keeps it until it is closed.
        }
        this.dispatchEvent(new Event("change"));
    }

    /** What was kept, as far as it has the right types. */
    #stored() {
        try {
            const entries = Object.entries(JSON.parse(this.#storage?.getItem(storageKey) ?? "{}"));
            return Object.fromEntries(
                entries.filter(([name, value]) => typeof value === typeof defaults[name]));
        } catch {
            return {};
        }
    }
}
