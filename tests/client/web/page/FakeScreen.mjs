// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

/** Shows a frame whenever it is told to, sixty of them a second. */
export class FakeScreen {
    time = 0;
    wanted = [];

    now() {
        return this.time;
    }

    requestFrame(callback) {
        this.wanted.push(callback);
    }

    showFrame() {
        this.time += 1000 / 60;
        this.wanted.splice(0).forEach((callback) => callback());
    }
}
