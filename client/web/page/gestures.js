// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import { Speed, pointerGain, scrollGain } from "./motion.js";

/** Milliseconds. */
const tapTime = 220;
const tapTimeOfSeveral = 320;
/** How long the button of a tap stays down, since the finger may come back to drag. */
const dragTime = 220;
const holdTime = 400;
/** How long a finger may lag behind the other when both are lifted. */
const liftTime = 80;
/** A finger that has not moved for so long rests. */
const restTime = 60;

/** CSS pixels. */
const tapSlop = 8;
const slowSlop = 4;
const strayingSlop = 20;
const aloneSlop = 16;
const pinchSlop = 3;
const palmRadius = 42;

/** Units of the wheel for one step of the zoom, and how much larger a step makes things. */
const notch = 120;
const zoomOfNotch = 1.1;

/** Units of the wheel per millisecond; how fast scrolling on its own becomes slower. */
const glideFrom = 1.2;
const glideAtMost = 8;
const glideUntil = 0.4;
const glideTime = 220;

const buttonOfFingers = [null, "left", "right", "middle"];

/** What a user can choose. `canDrag` is false where the desktop cannot hold a button. */
export const gestureDefaults = {
    pointerSpeed: 1,
    scrollSpeed: 1,
    isNatural: true,
    tapToClick: true,
    tapToDrag: true,
    canDrag: true,
    glides: true,
};

/**
 * Makes actions of the desktop from the fingers on the touchpad. It knows no page, no clock and no
 * connection: touches, their times and the time that passes are fed to it.
 *
 * Actions: `{type: "move", dx, dy}` in pixels, `{type: "scroll", dx, dy}` and `{type: "zoom", dy}`
 * in units of the wheel, `{type: "zoomEnd"}`, `{type: "click" | "press" | "release", button}`,
 * `{type: "vibrate"}`.
 */
export class Gestures {
    /** @type {Map<number, object>} the fingers that count, in the order of their arrival */
    #fingers = new Map();
    /** Fingers that hold the phone or are palms: id to the place where they began. */
    #strays = new Map();
    #state = "idle";
    #began = 0;
    #mostFingers = 0;
    #hasStopped = false;
    /** The left button is down since a tap, until then unless the finger comes back. */
    #tapReleaseAt = null;
    #isTapHeld = false;
    #holdAt = null;
    #speed = new Speed();
    #scrolled = new Speed();
    #axis = "both";
    #lastDistance = 0;
    #fling = null;
    #glide = null;

    /**
     * @param {(action: object) => void} act is called for each action
     * @param {object} options see gestureDefaults; may be changed at any time
     */
    constructor(act, options = {}) {
        this.act = act;
        this.options = { ...gestureDefaults, ...options };
    }

    /** "idle", "pending", "held", "moving", "dragging", "two", "scrolling", "zooming", "many" or "alone". */
    get state() {
        return this.#state;
    }

    /** When tick() wants to be called, in milliseconds; null if nothing waits. */
    get nextTime() {
        if (this.#glide) {
            return this.#glide.time;
        }
        const times = [this.#tapReleaseAt, this.#holdAt].filter((time) => time !== null);
        return times.length > 0 ? Math.min(...times) : null;
    }

    /** Scrolling goes on by itself; tick() wants to be called in each frame. */
    get isGliding() {
        return this.#glide !== null;
    }

    /**
     * Fingers did something.
     * @param {"start" | "move" | "end" | "cancel"} type
     * @param {{id: number, x: number, y: number, radius?: number, isAtEdge?: boolean,
     *     isOnStrip?: boolean}[]} touches the fingers that did it; places in CSS pixels
     * @param {number} time milliseconds
     * @param {number[]} [present] all fingers on the pad; others were lifted unseen
     */
    touch(type, touches, time, present = null) {
        this.tick(time);
        switch (type) {
        case "start":
            this.#dropUnseen(present, time);
            touches.forEach((touch) => this.#start(touch, time));
            break;
        case "move":
            this.#move(touches, time);
            break;
        case "end":
            touches.forEach((touch) => this.#end(touch.id, time));
            break;
        default:
            this.cancel();
        }
    }

    /** Time has passed. */
    tick(time) {
        if (this.#tapReleaseAt !== null && time >= this.#tapReleaseAt) {
            this.#releaseTap();
        }
        if (this.#holdAt !== null && time >= this.#holdAt) {
            this.#hold();
        }
        if (this.#glide) {
            this.#glideOn(time);
        }
    }

    /** Forgets all fingers and releases what they hold: the page is hidden, or the system took the touches. */
    cancel() {
        this.#endState();
        if (this.#isTapHeld) {
            this.#releaseTap();
        }
        this.#fingers.clear();
        this.#strays.clear();
        this.#glide = null;
        this.#fling = null;
        this.#enter("idle");
    }

    /** Something else is used: scrolling does not go on by itself. */
    stopGlide() {
        this.#glide = null;
    }

    #dropUnseen(present, time) {
        if (!present) {
            return;
        }
        [...this.#fingers.keys()].filter((id) => !present.includes(id)).forEach((id) => {
            this.#mostFingers = Infinity; // whatever this was, it is no tap
            this.#end(id, time);
        });
    }

    #start(touch, time) {
        if ((touch.radius ?? 0) > palmRadius || touch.isAtEdge) {
            this.#strays.set(touch.id, { ...touch, isPalm: (touch.radius ?? 0) > palmRadius });
            return;
        }
        this.#addFinger(touch, time);
    }

    #addFinger(touch, time) {
        const { id, x, y } = touch;
        this.#fingers.set(id, {
            x, y, startX: x, startY: y, isOnStrip: touch.isOnStrip ?? false, movedAt: -Infinity,
        });
        if (this.#fingers.size === 1) {
            this.#beginGesture(time);
        } else {
            this.#joinGesture();
        }
        this.#mostFingers = Math.max(this.#mostFingers, this.#fingers.size);
    }

    #beginGesture(time) {
        this.#hasStopped = this.#glide !== null;
        this.#glide = null;
        this.#fling = null;
        this.#began = time;
        this.#mostFingers = 0;
        this.#speed.clear();
        this.#tapReleaseAt = null;
        this.#enter("pending");
        const canHold = this.options.canDrag && !this.#hasStopped && !this.#onlyFinger().isOnStrip;
        this.#holdAt = canHold ? time + holdTime : null;
    }

    #joinGesture() {
        this.#holdAt = null;
        if (this.#state === "dragging") {
            return;
        }
        if (["moving", "held", "alone", "scrolling"].includes(this.#state)) {
            this.#mostFingers = Infinity;
        }
        this.#endState();
        if (this.#isTapHeld) {
            this.#releaseTap();
        }
        this.#fingers.forEach((finger) => {
            finger.startX = finger.x;
            finger.startY = finger.y;
        });
        this.#enter(this.#fingers.size === 2 ? "two" : "many");
    }

    #move(touches, time) {
        const steps = touches.map((touch) => this.#stepOf(touch, time)).filter((step) => step);
        if (steps.length === 0) {
            return;
        }
        if (["pending", "held", "alone"].includes(this.#state)) {
            this.#leaveRest(steps, time);
        } else if (this.#state === "moving" || this.#state === "dragging") {
            steps.forEach((step) => this.#point(step, time));
        } else if (this.#state === "two") {
            this.#decide(time);
        } else if (this.#state === "scrolling") {
            this.#scroll(this.#meanOf(steps, time), time);
        } else if (this.#state === "zooming") {
            this.#zoom();
        } else if (this.#state === "many" && this.#farthest() > tapSlop * 2) {
            this.#mostFingers = Infinity;
        }
    }

    /** What a finger moved by since the last time; null for one that does not count. */
    #stepOf(touch, time) {
        const finger = this.#fingers.get(touch.id);
        if (!finger) {
            this.#moveStray(touch, time);
            return null;
        }
        const step = { finger, dx: touch.x - finger.x, dy: touch.y - finger.y };
        if (step.dx === 0 && step.dy === 0) {
            return null;
        }
        finger.x = touch.x;
        finger.y = touch.y;
        finger.movedAt = time;
        return step;
    }

    /** A finger that only held the phone begins to count when it moves. */
    #moveStray(touch, time) {
        const stray = this.#strays.get(touch.id);
        if (!stray || stray.isPalm) {
            return;
        }
        if (Math.hypot(touch.x - stray.x, touch.y - stray.y) > strayingSlop) {
            this.#strays.delete(touch.id);
            this.#addFinger({ ...touch, isOnStrip: stray.isOnStrip }, time);
            this.#mostFingers = Infinity;
        }
    }

    #leaveRest(steps, time) {
        const finger = this.#onlyFinger();
        const dx = finger.x - finger.startX;
        const dy = finger.y - finger.startY;
        const slop = this.#slop(time);
        const way = Math.hypot(dx, dy);
        if (way <= slop) {
            return;
        }
        this.#holdAt = null;
        const beyond = { finger, dx: dx * (1 - slop / way), dy: dy * (1 - slop / way) };
        if (finger.isOnStrip) {
            this.#beginScroll("vertical");
            this.#scroll(beyond, time);
        } else {
            this.#beginMoving();
            this.#point(beyond, time);
        }
    }

    #beginMoving() {
        if (this.#state === "held") {
            this.act({ type: "press", button: "left" });
        }
        this.#enter(this.#isTapHeld || this.#state === "held" ? "dragging" : "moving");
    }

    #slop(time) {
        if (this.#state === "alone") {
            return aloneSlop;
        }
        return time - this.#began < tapTime ? tapSlop : slowSlop;
    }

    #point(step, time) {
        this.#speed.add(step.dx, step.dy, time);
        const gain = pointerGain(this.#speed.at(time).size) * this.options.pointerSpeed;
        this.act({ type: "move", dx: step.dx * gain, dy: step.dy * gain });
    }

    /** Two fingers have moved: is it scrolling or zooming? One of them may rest. */
    #decide(time) {
        const ways = [...this.#fingers.values()].map(wayOf);
        const [far, near] = ways.sort((one, other) => other.size - one.size);
        if (this.#fingers.size < 2) {
            this.#decideAlone(far);
            return;
        }
        if (far.size <= tapSlop) {
            return;
        }
        this.#mostFingers = Infinity;
        if (near.size > pinchSlop && far.x * near.x + far.y * near.y < 0) {
            this.#beginZoom();
        } else if (near.size > pinchSlop || far.size > tapSlop * 2) {
            this.#beginScroll(axisOf(far));
            this.#scroll(beyondSlop(far), time);
        }
    }

    /** One of two fingers was lifted, and the other moves on. */
    #decideAlone(way) {
        if (way.size > tapSlop) {
            this.#mostFingers = Infinity;
            this.#enterAlone();
        }
    }

    #beginScroll(axis) {
        this.#enter("scrolling");
        this.#axis = axis;
        this.#speed.clear();
        this.#scrolled.clear();
    }

    /** The mean of the fingers that move, so that a resting one does not make scrolling slower. */
    #meanOf(steps, time) {
        const moving = [...this.#fingers.values()].filter((one) => one.movedAt > time - restTime);
        const count = Math.max(moving.length, 1);
        return {
            dx: steps.reduce((sum, step) => sum + step.dx, 0) / count,
            dy: steps.reduce((sum, step) => sum + step.dy, 0) / count,
        };
    }

    #scroll(step, time) {
        const dx = this.#axis === "vertical" ? 0 : step.dx;
        const dy = this.#axis === "horizontal" ? 0 : step.dy;
        this.#speed.add(dx, dy, time);
        const direction = this.options.isNatural ? -1 : 1;
        const gain = scrollGain(this.#speed.at(time).size) * this.options.scrollSpeed * direction;
        this.#scrolled.add(dx * gain, dy * gain, time);
        this.act({ type: "scroll", dx: dx * gain, dy: dy * gain });
    }

    #beginZoom() {
        this.#enter("zooming");
        this.#lastDistance = this.#distance();
    }

    #zoom() {
        const distance = this.#distance();
        const steps = Math.log(distance / this.#lastDistance) / Math.log(zoomOfNotch);
        this.#lastDistance = distance;
        this.act({ type: "zoom", dy: -steps * notch });
    }

    #distance() {
        const [one, other] = [...this.#fingers.values()];
        return Math.max(Math.hypot(one.x - other.x, one.y - other.y), 20);
    }

    #end(id, time) {
        this.#strays.delete(id);
        if (!this.#fingers.delete(id)) {
            return;
        }
        this.#holdAt = null;
        if (this.#fingers.size > 0) {
            this.#endOneOfSeveral(time);
        } else {
            this.#endLast(time);
        }
    }

    #endOneOfSeveral(time) {
        if (this.#state === "scrolling") {
            this.#fling = { speed: this.#scrolled.at(time), time };
            this.#enterAlone();
        } else if (this.#state === "zooming") {
            this.#endState();
            this.#enterAlone();
        }
    }

    #endLast(time) {
        const fling = this.#state === "scrolling" ? { speed: this.#scrolled.at(time), time } : this.#fling;
        const limit = this.#mostFingers > 1 ? tapTimeOfSeveral : tapTime;
        const isTap = ["pending", "two", "many"].includes(this.#state) && !this.#hasStopped &&
            time - this.#began <= limit;
        this.#endState();
        this.#enter("idle");
        if (isTap && buttonOfFingers[this.#mostFingers]) {
            this.#tap(buttonOfFingers[this.#mostFingers], time);
        } else if (this.#isTapHeld) {
            this.#releaseTap();
        } else if (fling && time - fling.time <= liftTime) {
            this.#beginGlide(fling.speed, time);
        }
    }

    /** After scrolling or zooming the last finger may only be slow to lift: it has to move far to count. */
    #enterAlone() {
        this.#mostFingers = Infinity;
        this.#fingers.forEach((finger) => {
            finger.startX = finger.x;
            finger.startY = finger.y;
            finger.isOnStrip = false;
        });
        this.#speed.clear();
        this.#enter("alone");
    }

    #tap(button, time) {
        if (this.#isTapHeld) {
            this.#releaseTap();
        }
        if (!this.options.tapToClick) {
            return;
        }
        if (button === "left" && this.options.canDrag && this.options.tapToDrag) {
            this.act({ type: "press", button });
            this.#isTapHeld = true;
            this.#tapReleaseAt = time + dragTime;
        } else {
            this.act({ type: "click", button });
        }
    }

    #releaseTap() {
        this.#isTapHeld = false;
        this.#tapReleaseAt = null;
        this.act({ type: "release", button: "left" });
    }

    /** The button is pressed when the finger moves: it may also rest while another one scrolls. */
    #hold() {
        this.#holdAt = null;
        this.#enter(this.#isTapHeld ? "dragging" : "held");
        this.act({ type: "vibrate" });
    }

    #beginGlide(speed, time) {
        const isFast = speed.size >= glideFrom;
        if (this.options.glides && isFast) {
            const part = Math.min(glideAtMost / speed.size, 1);
            this.#glide = { x: speed.x * part, y: speed.y * part, time };
        }
    }

    #glideOn(time) {
        const glide = this.#glide;
        const span = Math.min(Math.max(time - glide.time, 0), 100);
        const kept = Math.exp(-span / glideTime);
        const way = glideTime * (1 - kept);
        if (span > 0) {
            this.act({ type: "scroll", dx: glide.x * way, dy: glide.y * way });
        }
        this.#glide = { x: glide.x * kept, y: glide.y * kept, time };
        if (Math.hypot(this.#glide.x, this.#glide.y) < glideUntil) {
            this.#glide = null;
        }
    }

    #enter(state) {
        this.#state = state;
        if (state === "dragging") {
            this.#isTapHeld = false;
        }
    }

    /** Releases what the state holds. */
    #endState() {
        this.#holdAt = null;
        if (this.#state === "dragging") {
            this.act({ type: "release", button: "left" });
        } else if (this.#state === "zooming") {
            this.act({ type: "zoomEnd" });
        }
    }

    #onlyFinger() {
        return this.#fingers.values().next().value;
    }

    #farthest() {
        return Math.max(...[...this.#fingers.values()].map((finger) => wayOf(finger).size));
    }
}

function wayOf(finger) {
    const x = finger.x - finger.startX;
    const y = finger.y - finger.startY;
    return { x, y, size: Math.hypot(x, y) };
}

function beyondSlop(way) {
    const part = 1 - tapSlop / way.size;
    return { dx: way.x * part, dy: way.y * part };
}

function axisOf(way) {
    if (Math.abs(way.y) >= 1.5 * Math.abs(way.x)) {
        return "vertical";
    }
    return Math.abs(way.x) >= 1.5 * Math.abs(way.y) ? "horizontal" : "both";
}
