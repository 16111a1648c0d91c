// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { utf8 } from "./bytes.js";
import { Initiator } from "./handshake.js";
import { longestPlain } from "./channel.js";
import { readText, writeText } from "./text.js";

/** The codes with which a WebSocket is closed. */
export const closeCodes = {
    done: 1000,
    broken: 4000,
    unknownSecret: 4001,
    shutOut: 4002,
    tooMany: 4003,
    removed: 4004,
    refused: 4005,
    elsewhere: 4006,
};

/** A WebSocket with the handshake of docs/handshake.md. Whoever closes it hears no more of it. */
export class SecureSocket {
    #socket;
    #listener;
    #initiator;
    #channel = null;

    /**
     * @param {WebSocket} socket one that is being opened
     * @param {object} credential see Initiator
     * @param {{reached: () => void, opened: () => void,
     *     received: (object: object, body: Uint8Array) => void,
     *     ended: (code: number, reason: string) => void}} listener
     */
    constructor(socket, credential, listener) {
        this.#socket = socket;
        this.#listener = listener;
        this.#initiator = new Initiator(credential);
        socket.binaryType = "arraybuffer";
        socket.onopen = () => {
            socket.send(this.#initiator.first(utf8("{}")));
            listener.reached();
        };
        socket.onmessage = ({ data }) => this.#receive(data);
        socket.onclose = ({ code, reason }) => this.#end(code, reason);
    }

    /**
     * Seals and sends a message. False if it cannot be sent.
     * @param {object} object
     * @param {Uint8Array} [body]
     * @returns {boolean}
     */
    send(object, body) {
        const text = writeText(object, body);
        if (!this.#channel || text.length > longestPlain) {
            return false;
        }
        const sealed = this.#channel.seal(text);
        if (sealed) {
            this.#socket.send(sealed);
        }
        return sealed !== null;
    }

    /** @param {number} code */
    close(code = closeCodes.done) {
        this.#listener = null;
        this.#channel?.close();
        this.#socket.onopen = null;
        this.#socket.onmessage = null;
        this.#socket.onclose = null;
        this.#socket.close(code);
    }

    #receive(data) {
        const bytes = data instanceof ArrayBuffer ? new Uint8Array(data) : null;
        const isUnderstood = bytes && (this.#channel ? this.#take(bytes) : this.#finish(bytes));
        if (!isUnderstood) {
            this.#breakOff();
        }
    }

    #finish(answer) {
        const opened = this.#initiator.finish(answer);
        this.#channel = opened?.channel ?? null;
        if (opened) {
            this.#listener.opened();
        }
        return opened !== null;
    }

    #take(sealed) {
        const plain = this.#channel.open(sealed);
        const text = plain && readText(plain);
        if (text) {
            this.#listener.received(text.object, text.body);
        }
        return text !== null;
    }

    #breakOff() {
        const listener = this.#listener;
        this.close(closeCodes.broken);
        listener?.ended(closeCodes.broken, "");
    }

    #end(code, reason) {
        const listener = this.#listener;
        this.#listener = null;
        this.#channel?.close();
        listener?.ended(code, reason);
    }
}
