// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

import {
    ageOf,
    arrivals,
    clockText,
    codeViewOf,
    codeViews,
    drawingOf,
    isClosed,
    plainAddress,
    troublesOf,
} from "./deskmodel.js";
import { languageOf, textsOf } from "./desktexts.js";
import { Link, stored } from "./link.js";

const codeTime = 120_000;
const noticeTime = 5000;
const ageTime = 20_000;
const marks = {
    [codeViews.paired]: "M4 12.5l5.5 5.5L20 6.5",
    [codeViews.offline]: "M3 9a13 13 0 0 1 18 0M6.5 12.5a8 8 0 0 1 11 0M10 16a3 3 0 0 1 4 0M4 4l16 16",
    [codeViews.over]: "M12 3a9 9 0 1 0 0 18a9 9 0 1 0 0-18M12 7v5l3.5 2",
    [codeViews.none]: "M4 4h6v6H4zM14 4h6v6h-6zM4 14h6v6H4zM14 14h2v2h-2zM18 18h2v2h-2z",
};

const language = languageOf(navigator.languages);
const text = textsOf(language);
const relativeTime = new Intl.RelativeTimeFormat(language, { numeric: "auto" });
const link = new Link({ credentials: stored("desk"), name: "" });

let state = null;
let codePart = { view: codeViews.none };
let codeEnds = 0;
let addressBefore = ""; // where the server listened before it was closed
let noticeTimer = null;

const part = (id) => document.getElementById(id);

/** Asks the program for something, and says why it is not done. Whether it was. */
async function ask(request, fields = {}) {
    try {
        await link.request(request, fields);
        return true;
    } catch (refusal) {
        if (refusal.error === "failed") {
            notify(text("failed", { problem: refusal.message }));
        }
        showSettings(); // a switch goes back
        return false;
    }
}

function notify(words) {
    clearTimeout(noticeTimer);
    part("notice").textContent = words;
    noticeTimer = setTimeout(() => notify(""), noticeTime);
}

function take(next) {
    const before = state;
    state = next;
    codePart = codeViewOf(codePart, before, next);
    codeEnds = performance.now() + (next.code?.expires ?? 0);
    const [arrived] = arrivals(before, next);
    if (arrived) {
        notify(text("phones.arrived", { name: arrived.name }));
    }
    showAll();
    askForFirstCode();
}

/** Who opens the page wants to connect a phone. */
function askForFirstCode() {
    if (codePart.view === codeViews.none && document.visibilityState === "visible") {
        ask("code");
    }
}

function showAll() {
    showTroubles();
    const isUsable = state !== null && link.state === "connected";
    part("main").hidden = !isUsable;
    if (isUsable) {
        part("computer").textContent = state.computer;
        showCode();
        showAddresses();
        showPhones();
        showSettings();
    }
}

function showTroubles() {
    const shown = troublesOf(link.state, state).map(({ key, values, deed }) => {
        const box = document.createElement("div");
        box.append(elementWith("p", text(key, values)));
        if (deed) {
            box.append(buttonWith(text(deed), () => ask(deed)));
        }
        return box;
    });
    const words = (boxes) => [...boxes].map((box) => box.textContent).join("\n");
    // A screen reader says what is written there anew, so only changes are.
    if (words(part("troubles").children) !== words(shown)) {
        part("troubles").replaceChildren(...shown);
    }
}

function elementWith(kind, words) {
    const element = document.createElement(kind);
    element.textContent = words;
    return element;
}

function buttonWith(words, act) {
    const button = elementWith("button", words);
    button.type = "button";
    button.addEventListener("click", act);
    return button;
}

function showCode() {
    const { view } = codePart;
    const isShown = view === codeViews.shown;
    part("qr").toggleAttribute("hidden", !isShown);
    part("instead").hidden = isShown;
    part("to-type").hidden = !isShown;
    if (isShown) {
        showPicture();
        part("address").textContent = state.code.url.split("#")[0];
        part("code").textContent = state.code.text;
        showTimeLeft();
    } else {
        showInstead(view);
    }
}

function showPicture() {
    const { side, path } = drawingOf(state.code.rows);
    const picture = part("qr");
    const address = state.code.url.split("#")[0];
    picture.setAttribute("viewBox", `0 0 ${side} ${side}`);
    picture.setAttribute("aria-label", text("code.picture", { address }));
    picture.querySelector("path").setAttribute("d", path);
}

function showInstead(view) {
    const isPaired = view === codeViews.paired;
    part("instead").classList.toggle("paired", isPaired);
    part("instead").querySelector("path").setAttribute("d", marks[view]);
    part("instead-text").textContent = text(`code.${view}`, { name: codePart.phone?.name });
    part("new-code").textContent = text(isPaired ? "code.another" : "code.new");
    part("new-code").hidden = view === codeViews.offline;
}

function showTimeLeft() {
    if (codePart.view !== codeViews.shown) {
        return;
    }
    const left = codeEnds - performance.now();
    part("time-left").textContent = text("code.timeLeft", { time: clockText(left) });
    part("time-bar").value = Math.max(0, left / codeTime);
}

function showAddresses() {
    // With a certificate there is one name for all addresses.
    part("choice").hidden = state.https || state.addresses.length < 2;
    const options = state.addresses.map(({ address, isDefault }) => {
        const words = isDefault ? text("code.isDefault", { address }) : address;
        return new Option(words, address, false, address === state.address);
    });
    const list = part("addresses");
    const keys = (all) => [...all].map(({ text: words, value }) => words + value).join();
    if (keys(list.options) !== keys(options)) {
        list.replaceChildren(...options);
    }
    list.value = state.address;
}

function showPhones() {
    part("no-phones").hidden = state.phones.length > 0;
    const rows = new Map([...part("phones").children].map((row) => [row.dataset.id, row]));
    // Rows stay the same elements, so that the focus stays where it is.
    const shown = sortedPhones().map((phone) => {
        const row = rows.get(phone.id) ?? newRow(phone.id);
        rows.delete(phone.id);
        showPhone(row, phone);
        return row;
    });
    rows.forEach((row) => row.remove());
    shown.forEach((row, place) => {
        if (part("phones").children[place] !== row) {
            part("phones").insertBefore(row, part("phones").children[place] ?? null);
        }
    });
}

function sortedPhones() {
    return [...state.phones].sort(
        (one, other) => other.connected - one.connected || other.lastSeen - one.lastSeen,
    );
}

function newRow(id) {
    const row = document.createElement("li");
    const lamp = document.createElement("span");
    lamp.className = "lamp";
    lamp.setAttribute("aria-hidden", "true");
    const words = document.createElement("div");
    words.append(document.createElement("b"), document.createElement("small"));
    row.dataset.id = id;
    row.append(lamp, words, buttonWith(text("phones.remove"), () => askWhetherToRemove(id)));
    return row;
}

function showPhone(row, { name, connected, address, lastSeen }) {
    row.querySelector(".lamp").classList.toggle("on", connected);
    row.querySelector("b").textContent = name;
    row.querySelector("small").textContent = connected
        ? text("phones.connected", { address: plainAddress(address) })
        : seenText(lastSeen);
    row.querySelector("button").setAttribute("aria-label", text("phones.removeLabel", { name }));
}

function seenText(lastSeen) {
    if (!(lastSeen > 0)) {
        return text("phones.never");
    }
    const age = ageOf(Date.now() - lastSeen);
    const words = age ? relativeTime.format(-age.count, age.unit) : text("justNow");
    return text("phones.seen", { age: words });
}

function askWhetherToRemove(id) {
    const phone = state.phones.find((known) => known.id === id);
    const question = part("question");
    part("question-title").textContent = text("phones.question", { name: phone.name });
    question.returnValue = "cancel";
    question.onclose = async () => {
        if (question.returnValue === "remove" && (await ask("remove", { phone: id }))) {
            notify(text("phones.removed", { name: phone.name }));
            part("phones-title").focus(); // its button is gone
        }
    };
    question.showModal();
}

function showSettings() {
    if (!state) {
        return;
    }
    part("start-row").hidden = state.startsWithSession === null;
    part("start").checked = state.startsWithSession === true;
    const closed = isClosed(state.server);
    part("closed").checked = closed === true;
    part("closed").disabled = closed === null;
    part("closed-more").textContent = text(
        closed === null ? "settings.closedUnknown" : "settings.closedMore",
    );
}

function setClosed(isWanted) {
    if (isWanted) {
        addressBefore = state.server.listenAddress;
    }
    ask("listen", { address: isWanted ? "127.0.0.1" : addressBefore });
}

function listenToUser() {
    part("new-code").addEventListener("click", () => ask("code"));
    part("addresses").addEventListener("change", ({ target }) =>
        ask("code", { address: target.value }),
    );
    part("start").addEventListener("change", ({ target }) =>
        ask("startWithSession", { on: target.checked }),
    );
    part("closed").addEventListener("change", ({ target }) => setClosed(target.checked));
    part("quit").addEventListener("click", () => ask("quit"));
}

function listenToProgram() {
    link.addEventListener("event", ({ detail }) => detail.event === "state" && take(detail));
    link.addEventListener("state", () => {
        if (link.state !== "connected") {
            state = null;
            codePart = { view: codeViews.none };
        }
        showAll();
    });
}

function start() {
    document.documentElement.lang = language;
    document.title = text("title");
    for (const element of document.querySelectorAll("[data-text]")) {
        element.textContent = text(element.dataset.text);
    }
    listenToUser();
    listenToProgram();
    document.addEventListener("visibilitychange", () => state && askForFirstCode());
    setInterval(showTimeLeft, 500);
    setInterval(() => state && showPhones(), ageTime);
    link.start();
    showAll();
}

start();
