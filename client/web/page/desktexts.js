// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

const en = {
    title: "Remote control from a phone",
    "trouble.lost": "quillmote-web has ended. Start “Remote Control from a Phone” again from the menu.",
    "trouble.expired": "quillmote-web was started again since. Open this page from the menu.",
    "trouble.unpaired": "Open this page from the menu of applications: “Remote Control from a Phone”.",
    "trouble.shutOut": "There were too many wrong attempts. This page tries again soon.",
    "trouble.missing": "VornaServer does not run, so phones can control nothing.",
    "trouble.server": "VornaServer cannot be used: {problem}",
    "trouble.offline": "This computer is not connected to a network. Phones need the same network.",
    "trouble.other": "{problem}",
    startServer: "Start VornaServer",
    failed: "That did not work: {problem}",

    "code.title": "Connect a phone",
    "code.step1": "Connect the phone to the same network as this computer.",
    "code.step2": "Point its camera at this code and open the address.",
    "code.alternative": "Or type the address and the code into its browser:",
    "code.address": "Address",
    "code.code": "Code",
    "code.picture": "QR code of {address}",
    "code.timeLeft": "Works once, for another {time}",
    "code.over": "The code is over. Nobody has used it.",
    "code.none": "A code works once, for two minutes.",
    "code.offline": "Without a network there is no code.",
    "code.paired": "{name} is connected",
    "code.new": "New code",
    "code.another": "Connect another phone",
    "code.network": "Network address",
    "code.isDefault": "{address} (recommended)",

    "phones.title": "Known phones",
    "phones.none": "No phone has been connected yet.",
    "phones.connected": "Connected, {address}",
    "phones.seen": "Last seen {age}",
    "phones.never": "Not seen yet",
    "phones.remove": "Remove",
    "phones.removeLabel": "Remove {name}",
    "phones.question": "Remove {name}?",
    "phones.explanation": "It is disconnected at once and needs a new code to come back.",
    "phones.arrived": "{name} has connected",
    "phones.removed": "{name} was removed",
    cancel: "Cancel",
    justNow: "just now",

    "settings.title": "Options",
    "settings.start": "Start with the session",
    "settings.startMore": "Phones find this computer after each logon.",
    "settings.closed": "Only phones that use this page",
    "settings.closedMore":
        "Other remote controls in the network neither find nor reach VornaServer.",
    "settings.closedUnknown": "Can be changed while VornaServer runs.",
    quit: "End remote control",
    quitMore: "Disconnects all phones.",
};

const de = {
    title: "Fernsteuerung vom Telefon",
    "trouble.lost":
        "quillmote-web wurde beendet. Starten Sie „Fernsteuerung vom Telefon“ im Menü neu.",
    "trouble.expired":
        "quillmote-web wurde inzwischen neu gestartet. Öffnen Sie diese Seite aus dem Menü.",
    "trouble.unpaired":
        "Öffnen Sie diese Seite aus dem Anwendungsmenü: „Fernsteuerung vom Telefon“.",
    "trouble.shutOut": "Es gab zu viele falsche Versuche. Diese Seite versucht es bald wieder.",
    "trouble.missing": "VornaServer läuft nicht. Telefone können deshalb nichts steuern.",
    "trouble.server": "VornaServer ist nicht benutzbar: {problem}",
    "trouble.offline":
        "Dieser Computer ist mit keinem Netz verbunden. Telefone brauchen dasselbe Netz.",
    "trouble.other": "{problem}",
    startServer: "VornaServer starten",
    failed: "Das ging nicht: {problem}",

    "code.title": "Telefon verbinden",
    "code.step1": "Verbinden Sie das Telefon mit demselben Netz wie diesen Computer.",
    "code.step2": "Richten Sie seine Kamera auf diesen Code und öffnen Sie die Adresse.",
    "code.alternative": "Oder geben Sie Adresse und Code in seinem Browser ein:",
    "code.address": "Adresse",
    "code.code": "Code",
    "code.picture": "QR-Code von {address}",
    "code.timeLeft": "Gilt einmal, noch {time}",
    "code.over": "Der Code ist abgelaufen. Niemand hat ihn benutzt.",
    "code.none": "Ein Code gilt einmal, zwei Minuten lang.",
    "code.offline": "Ohne Netz gibt es keinen Code.",
    "code.paired": "{name} ist verbunden",
    "code.new": "Neuer Code",
    "code.another": "Weiteres Telefon verbinden",
    "code.network": "Netzadresse",
    "code.isDefault": "{address} (empfohlen)",

    "phones.title": "Bekannte Telefone",
    "phones.none": "Noch wurde kein Telefon verbunden.",
    "phones.connected": "Verbunden, {address}",
    "phones.seen": "Zuletzt gesehen {age}",
    "phones.never": "Noch nicht gesehen",
    "phones.remove": "Entfernen",
    "phones.removeLabel": "{name} entfernen",
    "phones.question": "{name} entfernen?",
    "phones.explanation": "Es wird sofort getrennt und braucht danach einen neuen Code.",
    "phones.arrived": "{name} hat sich verbunden",
    "phones.removed": "{name} wurde entfernt",
    cancel: "Abbrechen",
    justNow: "gerade eben",

    "settings.title": "Einstellungen",
    "settings.start": "Mit der Sitzung starten",
    "settings.startMore": "Telefone finden diesen Computer nach jeder Anmeldung.",
    "settings.closed": "Nur Telefone über diese Seite",
    "settings.closedMore":
        "Andere Fernsteuerungen im Netz finden und erreichen VornaServer nicht.",
    "settings.closedUnknown": "Lässt sich ändern, während VornaServer läuft.",
    quit: "Fernsteuerung beenden",
    quitMore: "Trennt alle Telefone.",
};

export const languages = { en, de };

/**
 * The first of the browser's languages that there are texts for.
 * @param {readonly string[]} preferred
 */
export function languageOf(preferred) {
    const known = preferred.map((tag) => tag.slice(0, 2).toLowerCase());
    return known.find((language) => languages[language]) ?? "en";
}

/**
 * Texts of a language: a function of a key and of the values for what is in braces.
 * @param {string} language
 */
export function textsOf(language) {
    const texts = languages[language];
    return (key, values = {}) =>
        texts[key].replace(/\{(\w+)\}/g, (_, name) => String(values[name] ?? ""));
}
