// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { codeFromText } from "./wire/code.js";
import { DeskCredentials, PhoneCredentials } from "./wire/credentials.js";
import { Refusal, Requests } from "./wire/requests.js";
import { Search } from "./wire/search.js";
import { closeCodes, SecureSocket } from "./wire/securesocket.js";
import { browserWorld } from "./wire/world.js";

export { Refusal };

/** How long a browser may take to reach the computer. */
const connectionPatience = 3000;
/** The computer answers wrong secrets late. */
const answerPatience = 10_000;
const tickPause = 250;
const pingPause = 1000;
/** However long a ping waits, the computer closes a connection from which nothing comes for 10 s. */
const longestPingPause = 4000;
/** A page that was asleep for so long has to read first what has come meanwhile. */
const longestTick = 1000;
const firstRetryPause = 300;
const longestRetryPause = 5000;
/** A connection that ends sooner counts as one that failed. */
const shortestConnection = 2000;
const longestShutOut = 15 * 60;
const noBytes = new Uint8Array();

/** An event with what it is about. */
export class LinkEvent extends Event {
    constructor(type, detail) {
        super(type);
        this.detail = detail;
    }
}

/**
 * What this browser may show to the computer; takes the secret out of the address.
 * @param {"phone" | "desk"} role
 * @param {import("./wire/world.js").World} world
 */
export function stored(role = "phone", world = browserWorld()) {
    return role === "desk" ? new DeskCredentials(world) : new PhoneCredentials(world);
}

/**
 * Whether a text is a whole code.
 * @param {string} text
 */
export function isCode(text) {
    return codeFromText(text) !== null;
}

/**
 * The connection to the computer. Once started it connects, and connects again, until it is
 * stopped. What was under way when a connection ended is never repeated.
 *
 * Events: "state" when `state` has changed; "server" when `server` has; "doubt" when `isDoubtful`
 * has; "event" with each other event of the computer in its `detail`; "refusal" with {request,
 * error, message} in its `detail` when a posted request was not carried out.
 */
export class Link extends EventTarget {
    /** The name of this phone, for the next connection. */
    name;
    #world;
    #credentials;
    #search;
    #state = "unpaired";
    #server = null;
    #waitSeconds = 0;
    #isRunning = false;
    #isWatching = false;
    #socket = null;
    #requests = new Requests();
    #deadline = null;
    #tickTimer = null;
    #lastTick = 0;
    #lastPing = 0;
    #connectedSince = 0;
    #isDoubtful = false;
    #retryPause = 0;

    /**
     * @param {{credentials: object, name: string, world?: import("./wire/world.js").World}} options
     *     credentials: from stored()
     */
    constructor({ credentials, name, world = browserWorld() }) {
        super();
        this.name = name;
        this.#world = world;
        this.#credentials = credentials;
        this.#search = new Search(world, () => this.#connect());
    }

    /**
     * - "unpaired": there is no secret and no code
     * - "connecting": for the first time
     * - "connected": requests are sent
     * - "lost": the computer cannot be reached; it is being looked for
     * - "removed": the computer does not know this phone any more
     * - "expired": the code is over; the secret of the desktop's page, too
     * - "shut-out": too many wrong secrets; goes on by itself after `waitSeconds`
     * - "refused": the user has refused this phone
     * - "elsewhere": another window of this browser has taken the connection over; this one leaves
     *   it alone until start()
     */
    get state() {
        return this.#state;
    }

    /** The last {state, name, can, message} of VornaServer, or null. */
    get server() {
        return this.#server;
    }

    /** For how long the computer does not listen to this phone when the state is "shut-out". */
    get waitSeconds() {
        return this.#waitSeconds;
    }

    /** Connected, but half a second has passed without an answer; what is sent now may come late. */
    get isDoubtful() {
        return this.#isDoubtful;
    }

    /** How many requests are under way. */
    get unanswered() {
        return this.#requests.count;
    }

    /** Connects. */
    start() {
        this.#watchOnce();
        this.#isRunning = true;
        this.#retryPause = 0;
        this.#connect();
    }

    /** Ends the connection and looks for no other one. */
    stop() {
        this.#isRunning = false;
        this.#search.stop();
        this.#drop();
        this.#setState(this.#state === "connected" ? "lost" : this.#state);
    }

    /**
     * Takes a code that the user has typed, and connects with it.
     * @param {string} text
     * @returns {boolean} false if it is no code
     */
    takeCode(text) {
        const isTaken = this.#credentials.takeCode(text);
        if (isTaken) {
            this.start();
        }
        return isTaken;
    }

    /**
     * Sends a request, with a body or without.
     * @param {string} name
     * @param {object} fields
     * @param {Uint8Array | null} body
     * @returns {Promise<{fields: object, body: Uint8Array}>} rejects with a Refusal
     */
    request(name, fields = {}, body = null) {
        return new Promise((resolve, reject) => {
            const done = (refusal, answer) => {
                if (!refusal) {
                    this.#follow(name, fields);
                }
                return refusal ? reject(refusal) : resolve(answer);
            };
            const refusal = this.#send(name, fields, body, done);
            if (refusal) {
                reject(refusal);
            }
        });
    }

    /**
     * Sends a request whose answer nobody waits for.
     * @param {string} name
     * @param {object} fields
     * @returns {boolean} false if it was not sent, and never will be
     */
    post(name, fields = {}) {
        const done = (refusal) => {
            if (refusal && refusal.error !== "lost") {
                const { error, message } = refusal;
                this.dispatchEvent(new LinkEvent("refusal", { request: name, error, message }));
            }
        };
        return this.#send(name, fields, null, done) === null;
    }

    #watchOnce() {
        if (this.#isWatching) {
            return;
        }
        this.#isWatching = true;
        this.#world.watch("offline", () => this.#lose());
        this.#world.watch("online", () => this.#lookNow());
        this.#world.watch("visibilitychange", () => this.#seeOrHide());
        // A code that is read into an open tab changes the address and loads nothing.
        this.#world.watch("hashchange", () => {
            const isNew = this.#isRunning && this.#credentials.takeFragment?.();
            if (isNew && this.#state !== "connected") {
                this.start();
            }
        });
    }

    #connect() {
        this.#search.stop();
        this.#drop();
        const credential = this.#credentials.current();
        if (!credential) {
            this.#setState("unpaired");
            return;
        }
        if (this.#state !== "lost" && this.#state !== "shut-out") {
            this.#setState("connecting");
        }
        this.#requests = new Requests();
        this.#giveTime(connectionPatience);
        const socket = this.#world.openSocket(this.#world.socketAddress);
        this.#socket = new SecureSocket(socket, credential, {
            reached: () => this.#giveTime(answerPatience),
            opened: () => this.#greet(),
            received: (object, body) => this.#receive(object, body),
            ended: (code, reason) => this.#end(code, reason),
        });
    }

    #giveTime(patience) {
        this.#world.clearTimeout(this.#deadline);
        this.#deadline = this.#world.setTimeout(() => this.#lose(), patience);
    }

    /** The desktop's page says nothing of itself. */
    #greet() {
        if (this.#credentials.role === "desk") {
            this.#beConnected();
            return;
        }
        this.#write("hello", { name: this.name }, null, (refusal, answer) => {
            if (!refusal) {
                this.#credentials.keep(answer.fields.phone);
                this.#setServer(answer.fields.server);
                this.#beConnected();
            } else if (refusal.error !== "lost") {
                this.#lose();
            }
        });
    }

    #beConnected() {
        this.#world.clearTimeout(this.#deadline);
        this.#waitSeconds = 0;
        this.#connectedSince = this.#world.now();
        this.#lastTick = this.#connectedSince;
        this.#lastPing = this.#connectedSince;
        this.#scheduleTick();
        this.#setState("connected");
    }

    #send(name, fields, body, done) {
        if (this.#state !== "connected") {
            return new Refusal("not-connected", "There is no connection to the computer.");
        }
        return this.#write(name, fields, body, done);
    }

    /** Null, or why it was not sent. */
    #write(name, fields, body, done) {
        const id = this.#requests.begin(name, body?.length ?? 0, this.#world.now(), done);
        // An empty body can be told from none only by its size.
        const size = body?.length === 0 ? { body: 0 } : {};
        if (this.#socket.send({ ...fields, ...size, id, request: name }, body ?? noBytes)) {
            return null;
        }
        this.#requests.drop(id);
        return new Refusal("too-long", "This is too much for one message.");
    }

    #receive(object, body) {
        const now = this.#world.now();
        this.#requests.hear(now);
        this.#setDoubtful(false);
        if (typeof object.event !== "string") {
            this.#requests.answer(object, body, now);
        } else if (object.event === "server") {
            this.#setServer(object);
        } else {
            this.dispatchEvent(new LinkEvent("event", object));
        }
    }

    /** What follows for this side from a request that was carried out. */
    #follow(name, fields) {
        if (name === "rename") {
            this.name = fields.name;
        } else if (name === "leave") {
            this.#credentials.forget();
            this.#giveUp("unpaired");
        }
    }

    #end(code, reason) {
        switch (code) {
            case closeCodes.unknownSecret:
                this.#tryNextSecret();
                break;
            case closeCodes.removed:
                this.#credentials.reject();
                this.#giveUp("removed");
                break;
            case closeCodes.refused:
                this.#giveUp("refused");
                break;
            case closeCodes.elsewhere:
                this.#giveUp("elsewhere");
                break;
            case closeCodes.shutOut:
                this.#waitOutside(Number.parseInt(reason, 10));
                break;
            case closeCodes.tooMany:
                this.#retryPause = longestRetryPause;
                this.#lose();
                break;
            default:
                this.#lose();
        }
    }

    #tryNextSecret() {
        const { kind } = this.#credentials.current() ?? {};
        this.#credentials.reject();
        if (this.#credentials.current()) {
            this.#connect();
        } else {
            this.#giveUp(kind === "phone" ? "removed" : "expired");
        }
    }

    #giveUp(state) {
        this.#drop();
        this.#setState(state);
    }

    #waitOutside(seconds) {
        this.#waitSeconds = Math.min(Math.max(seconds || 1, 1), longestShutOut);
        this.#drop();
        this.#setState("shut-out");
        this.#deadline = this.#world.setTimeout(() => this.#connect(), this.#waitSeconds * 1000);
    }

    /** Ends a connection, or the attempt to make one, and begins to look for the computer. */
    #lose() {
        if (!this.#isRunning || !this.#socket) {
            return;
        }
        const lasted = this.#state === "connected" ? this.#world.now() - this.#connectedSince : 0;
        if (lasted >= shortestConnection) {
            this.#retryPause = 0;
        }
        this.#drop();
        this.#setState("lost");
        if (this.#isAttended()) {
            this.#search.start(this.#retryPause);
        }
        if (lasted < shortestConnection) {
            this.#retryPause = Math.min(this.#retryPause * 2 || firstRetryPause, longestRetryPause);
        }
    }

    /** Without waiting: something has changed. */
    #lookNow() {
        if (this.#isRunning && this.#state === "lost" && !this.#socket) {
            this.#search.start();
        }
    }

    /** A code that is shown on the desktop stays valid only while its page is connected. */
    #isAttended() {
        return this.#world.isVisible() || this.#credentials.role === "desk";
    }

    #seeOrHide() {
        if (!this.#isAttended()) {
            this.#search.stop();
        } else if (this.#state === "connected") {
            this.#requests.hear(this.#world.now());
            this.#ping();
            this.#lastTick = this.#world.now();
            this.#scheduleTick();
        } else {
            this.#lookNow();
        }
    }

    #scheduleTick() {
        this.#world.clearTimeout(this.#tickTimer);
        if (this.#isAttended()) {
            this.#tickTimer = this.#world.setTimeout(() => this.#tick(), tickPause);
        }
    }

    #tick() {
        const now = this.#world.now();
        if (now - this.#lastTick > longestTick) {
            this.#requests.hear(now);
        }
        this.#lastTick = now;
        if (this.#requests.isOverdue(now)) {
            this.#lose();
            return;
        }
        this.#setDoubtful(this.#requests.isDoubtful(now));
        // Pings are answered at once, other requests when they are done.
        if (this.unanswered > 0 || now - this.#lastPing >= pingPause) {
            this.#ping();
        }
        this.#scheduleTick();
    }

    #ping() {
        const now = this.#world.now();
        if (!this.#requests.isPinging || now - this.#lastPing >= longestPingPause) {
            this.#lastPing = now;
            this.#write("ping", {}, null, () => {});
        }
    }

    #setDoubtful(isDoubtful) {
        if (this.#isDoubtful !== isDoubtful) {
            this.#isDoubtful = isDoubtful;
            this.dispatchEvent(new LinkEvent("doubt", isDoubtful));
        }
    }

    #drop() {
        this.#world.clearTimeout(this.#deadline);
        this.#world.clearTimeout(this.#tickTimer);
        this.#socket?.close();
        this.#socket = null;
        this.#requests.lose();
    }

    #setServer({ state, name, can, message } = {}) {
        this.#server = { state, name, can, message };
        this.dispatchEvent(new LinkEvent("server", this.#server));
    }

    #setState(state) {
        if (this.#state !== state) {
            this.#state = state;
            this.#setDoubtful(false);
            this.dispatchEvent(new LinkEvent("state", state));
        }
    }
}
