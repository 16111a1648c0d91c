// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { fromBase64, fromHex } from "./bytes.js";
import { codeFromText, secretOfCode } from "./code.js";
import { idSize, secretSize } from "./handshake.js";

/**
 * The secret that a phone was given, and the code that gets it one. If there are both, the phone is
 * known already and its own secret is tried first: reading a code again makes no second phone.
 */
export class PhoneCredentials {
    role = "phone";
    #world;
    #phone;
    #code;
    #isPhoneUnknown = false;

    /** @param {import("./world.js").World} world */
    constructor(world) {
        this.#world = world;
        this.#code = codeFromText(world.takeFragment());
        this.#phone = readPhone(world.forever.read());
    }

    /**
     * What to try next, or null.
     * @returns {{kind: string, id?: Uint8Array, secret: Uint8Array} | null}
     */
    current() {
        if (this.#phone && !this.#isPhoneUnknown) {
            return { kind: "phone", ...this.#phone };
        }
        return this.#code && { kind: "code", secret: secretOfCode(this.#code) };
    }

    /**
     * The computer does not know the current one. A phone's secret stays stored: another computer
     * may have the address of the right one for a while.
     */
    reject() {
        if (this.current()?.kind === "phone") {
            this.#isPhoneUnknown = true;
        } else {
            this.#code = null;
        }
    }

    /**
     * Takes a code that was typed. Nobody types one while the phone's own secret opens the door.
     * @param {string} text
     * @returns {boolean} false if it is no code
     */
    takeCode(text) {
        const isCode = this.#takeCode(text);
        this.#isPhoneUnknown ||= isCode;
        return isCode;
    }

    /**
     * Takes a code that the address has been given since.
     * @returns {boolean} false if there is none
     */
    takeFragment() {
        return this.#takeCode(this.#world.takeFragment());
    }

    /**
     * Stores what the computer gives over the connection that a code made. The code is over then.
     * @param {{id: string, secret: string} | undefined} given
     */
    keep(given) {
        const text = JSON.stringify(given ?? null);
        const phone = readPhone(text);
        if (phone) {
            this.#phone = phone;
            this.#isPhoneUnknown = false;
            this.#code = null;
            this.#world.forever.write(text);
        }
    }

    /** Removes what is stored. */
    forget() {
        this.#phone = null;
        this.#code = null;
        this.#world.forever.clear();
    }

    #takeCode(text) {
        const code = codeFromText(text);
        this.#code = code ?? this.#code;
        return code !== null;
    }
}

/** The secret of the desktop's own page; a tab that is loaded again still has it. */
export class DeskCredentials {
    role = "desk";
    #secret;

    /** @param {import("./world.js").World} world */
    constructor(world) {
        const fragment = world.takeFragment();
        if (fragment) {
            world.forThisTab.write(fragment);
        }
        this.#secret = secretFromText(fragment || (world.forThisTab.read() ?? ""));
    }

    current() {
        return this.#secret && { kind: "desk", secret: this.#secret };
    }

    /** The program has been started again since, with another secret. */
    reject() {
        this.#secret = null;
    }
}

function secretFromText(text) {
    const secret = fromBase64(text);
    return secret?.length === secretSize ? secret : null;
}

function readPhone(text) {
    try {
        const { id, secret } = JSON.parse(text) ?? {};
        const phone = { id: fromHex(id), secret: fromBase64(secret) };
        const isWhole = phone.id?.length === idSize && phone.secret?.length === secretSize;
        return isWhole ? phone : null;
    } catch {
        return null;
    }
}
