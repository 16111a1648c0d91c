// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/** Times a talk. All times are milliseconds of one clock. */
export class Stopwatch {
    #before = 0;
    #startedAt = null;

    get isRunning() {
        return this.#startedAt !== null;
    }

    /** Starts, or pauses. */
    toggle(now) {
        if (this.isRunning) {
            this.#before += now - this.#startedAt;
            this.#startedAt = null;
        } else {
            this.#startedAt = now;
        }
    }

    /** Begins at zero; goes on if it runs. */
    clear(now) {
        this.#before = 0;
        this.#startedAt = this.isRunning ? now : null;
    }

    /** The time as "1:02:03", or "2:03" within the first hour. */
    textAt(now) {
        const span = this.#before + (this.isRunning ? now - this.#startedAt : 0);
        const seconds = Math.floor(span / 1000);
        const parts = [Math.floor(seconds / 3600), Math.floor(seconds / 60) % 60, seconds % 60];
        const shown = parts[0] > 0 ? parts : parts.slice(1);
        return shown.map((part, at) => (at === 0 ? String(part) : String(part).padStart(2, "0"))).join(":");
    }
}
