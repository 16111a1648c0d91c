// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { textDifference } from "./textdiff.js";

/** The longest text of one request; a pasted page is typed in pieces. */
const longestText = 4000;

/**
 * Types in order: changes of a text and keys between them. While one is on its way, the changes
 * that follow become one, so a phone that types faster than the desktop is never far ahead.
 */
export class TextQueue {
    #waiting = [];
    #isTyping = false;
    /** Goes up with clear(), so that what was under way does not go on. */
    #round = 0;

    /** @param {object} computer see computer.js: key() and type() */
    constructor(computer) {
        this.computer = computer;
    }

    /** The text before the caret changes. */
    change(before, after) {
        const last = this.#waiting.at(-1);
        if (last && last.before !== undefined && last.after === before) {
            last.after = after;
        } else {
            this.#waiting.push({ before, after });
        }
        this.#next();
    }

    /** A key is tapped behind everything that was typed before it; resolved when it was answered. */
    key(key, modifiers = []) {
        return new Promise((resolve) => {
            this.#waiting.push({ key, modifiers, resolve });
            this.#next();
        });
    }

    /** Sends what waits at once: a click follows. */
    flush() {
        while (this.#waiting.length > 0) {
            this.#send(this.#waiting.shift());
        }
    }

    /** Forgets what waits: it would come too late. */
    clear() {
        this.#waiting.forEach((step) => step.resolve?.());
        this.#waiting = [];
        this.#isTyping = false;
        this.#round += 1;
    }

    async #next() {
        if (this.#isTyping) {
            return;
        }
        this.#isTyping = true;
        const round = this.#round;
        while (round === this.#round && this.#waiting.length > 0) {
            await this.#send(this.#waiting.shift());
        }
        if (round === this.#round) {
            this.#isTyping = false;
        }
    }

    /** Resolved when all of it was answered. */
    #send(step) {
        if (step.key !== undefined) {
            return this.computer.key(step.key, step.modifiers).then(step.resolve);
        }
        const { deletions, text } = textDifference(step.before, step.after);
        const backspaces = Array.from({ length: deletions }, () => this.computer.key("Backspace"));
        return Promise.all([...backspaces, ...piecesOf(text).map((piece) => this.computer.type(piece))]);
    }
}

/** The text in pieces; no piece ends within a character. */
function piecesOf(text) {
    const characters = Array.from(text);
    const pieces = [];
    for (let at = 0; at < characters.length; at += longestText) {
        pieces.push(characters.slice(at, at + longestText).join(""));
    }
    return pieces;
}
