// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

const everything = ["key", "text", "text.any", "pointer", "scroll", "scroll.fine", "drag", "clipboard.get",
    "clipboard.watch"];

/** A link whose computer answers when the test says so, or at once. */
export class FakeLink extends EventTarget {
    state = "connected";
    server = { state: "ready", name: "den", can: everything, message: "" };
    /** What was asked: {request, fields, body}, the oldest first. */
    asked = [];
    /** Answers a request; a test may put another function here. */
    answer = () => ({ fields: {}, body: new Uint8Array() });
    isPatient = false;
    #unanswered = [];

    request(request, fields = {}, body = null) {
        if (this.state !== "connected") {
            return Promise.reject(refusal("not-connected"));
        }
        this.asked.push({ request, fields, body });
        return new Promise((resolve, reject) => {
            this.#unanswered.push({ resolve, reject, asked: { request, fields, body } });
            if (!this.isPatient) {
                this.answerOne();
            }
        });
    }

    get unanswered() {
        return this.#unanswered.length;
    }

    /** Answers the oldest request. */
    answerOne() {
        const { resolve, reject, asked } = this.#unanswered.shift();
        try {
            resolve(this.answer(asked));
        } catch (error) {
            reject(error);
        }
    }

    /** The connection ends. */
    lose() {
        this.state = "lost";
        this.#unanswered.splice(0).forEach(({ reject }) => reject(refusal("lost")));
        this.dispatchEvent(new Event("state"));
    }

    /** It is there again. */
    find() {
        this.state = "connected";
        this.dispatchEvent(new Event("state"));
    }

    /** The requests in short: "move 3 0", "key Control press". */
    get inShort() {
        return this.asked.map(({ request, fields }) => [
            request, ...Object.values(fields).map((value) => (Array.isArray(value) ? value.join("+") : value)),
        ].join(" "));
    }
}

/** What a computer answers that does not carry out a request. */
export function refusal(error) {
    return Object.assign(new Error(`No: ${error}.`), { error });
}

/** Lets everything run that waits for nothing but its turn, and for reading from memory. */
export async function settle() {
    for (let turn = 0; turn < 20; turn += 1) {
        await new Promise((resolve) => { setImmediate(resolve); });
        await new Blob(["x"]).arrayBuffer();
    }
}
