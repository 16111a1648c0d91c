// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What the files of the page are as files: small, complete, in two languages.

import assert from "node:assert/strict";
import { readdirSync, readFileSync } from "node:fs";
import { dirname, join, normalize } from "node:path";
import { test } from "node:test";
import { fileURLToPath } from "node:url";
import { deflateSync } from "node:zlib";

import { languages, text, useLanguage } from "../../../../client/web/page/texts.js";

const folder = join(dirname(fileURLToPath(import.meta.url)), "../../../../client/web/page");
const library = join(process.env.NODE_TWEETNACL ?? "/usr/share/nodejs/tweetnacl", "nacl-fast.min.js");
const read = (name) => readFileSync(join(folder, name), "utf8");
const names = readdirSync(folder, { recursive: true }).map(String);
/** The page of the desktop has texts of its own. */
const ofPhone = names.filter((name) => !/^desk/.test(name) && /\.(js|html|css|svg|webmanifest)$/.test(name));
const modules = ofPhone.filter((name) => name.endsWith(".js"));
const html = read("index.html");

/** Modules that a module imports, directly or not, with itself. */
function allImports(start, found = new Set()) {
    if (!found.has(start)) {
        found.add(start);
        for (const [, path] of read(start).matchAll(/from "(\.[^"]+)"/g)) {
            allImports(normalize(join(dirname(start), path)), found);
        }
    }
    return found;
}

test("the whole page is less than 100 KiB over the wire", () => {
    const together = ["index.html", "style.css", "icon.svg", "manifest.webmanifest"].map(read);
    const joined = [...allImports("app.js")].map(read).join("\n");
    const sizes = [...together, joined, readFileSync(library)].map((content) => deflateSync(content).length);
    const heads = sizes.length * 1000;
    const sum = sizes.reduce((total, size) => total + size, heads);
    assert.ok(sum < 100 * 1024, `${sum} bytes: ${sizes}`);
});

test("every module of the page is used", () => {
    const used = allImports("app.js");
    const ofDesk = names.includes("desk.js") ? allImports("desk.js") : new Set();
    assert.deepEqual(modules.filter((name) => !used.has(name) && !ofDesk.has(name)), []);
});

test("no script and no style stands in the page itself", () => {
    assert.doesNotMatch(html, /\son\w+\s*=/i);
    assert.doesNotMatch(html, /\sstyle\s*=/i);
    assert.doesNotMatch(html, /<style/i);
    assert.doesNotMatch(html, /javascript:/i);
    for (const [, attributes, content] of html.matchAll(/<script([^>]*)>([^]*?)<\/script>/g)) {
        assert.match(attributes, /src="\/[a-z.]+"/);
        assert.equal(content.trim(), "");
    }
});

test("no module makes code or markup of texts", () => {
    for (const name of modules) {
        assert.doesNotMatch(read(name), /innerHTML|outerHTML|insertAdjacentHTML|document\.write|\beval\(|new Function/, name);
        assert.doesNotMatch(read(name), /setAttribute\("style"|cssText/, name);
    }
});

test("nothing is fetched from elsewhere", () => {
    for (const name of ofPhone) {
        const addresses = [...read(name).matchAll(/\b(?:https?|wss?):\/\/[\w.]+/g)].map(([address]) => address);
        assert.deepEqual(addresses.filter((address) => address !== "http://www.w3.org"), [], name);
    }
});

test("the icon and the manifest are whole", () => {
    const manifest = JSON.parse(read("manifest.webmanifest"));
    manifest.icons.forEach(({ src }) => assert.ok(names.includes(src.slice(1)), src));
    assert.match(read("icon.svg"), /<\/svg>\s*$/);
});

test("both languages have the same texts with the same values", () => {
    const [en, de] = [languages.en, languages.de];
    assert.deepEqual(Object.keys(en).sort(), Object.keys(de).sort());
    const valuesOf = (sentence) => [...sentence.matchAll(/\{\w+\}/g)].map(([value]) => value).sort();
    for (const key of Object.keys(en)) {
        assert.ok(en[key].trim() && de[key].trim(), key);
        assert.deepEqual(valuesOf(en[key]), valuesOf(de[key]), key);
    }
});

test("every text that the page names exists", () => {
    const named = [
        ...[...html.matchAll(/data-(?:text|label|hint)="([^"]+)"/g)].map(([, key]) => key),
        ...modules.flatMap((name) => [
            ...[...read(name).matchAll(/\btext\("([a-z][\w.-]*)"/gi)].map(([, key]) => key),
            ...[...read(name).matchAll(/\bshow\([^,"`]+,\s*"([a-z][\w.-]*)"/gi)].map(([, key]) => key),
        ]),
    ];
    assert.ok(named.length > 60);
    assert.deepEqual(named.filter((key) => !(key in languages.en)), []);
});

test("every text is used", () => {
    const sources = html + modules.filter((name) => !/^texts\.(en|de)/.test(name)).map(read).join("\n");
    // Texts of keys, states and the like are named by a common beginning and a value.
    const isUsed = (key) => sources.includes(`"${key}"`) ||
        [...key.matchAll(/\./g)].some(({ index }) => sources.includes(`\`${key.slice(0, index + 1)}\${`));
    assert.deepEqual(Object.keys(languages.en).filter((key) => !isUsed(key)), []);
});

test("the language is that of the browser, or the chosen one", () => {
    assert.equal(useLanguage("auto", ["fr-FR", "de-AT", "en"]), "de");
    assert.equal(text("key.locked", { key: "Strg" }), "Strg, festgestellt");
    assert.equal(useLanguage("en", ["de"]), "en");
    assert.equal(useLanguage("auto", ["fr"]), "en");
    assert.equal(text("key.locked", { key: "Ctrl" }), "Ctrl, locked");
});

test("every field and every button has a name for screen readers", () => {
    for (const [tag] of html.matchAll(/<(?:button|input|textarea|select)\b[^>]*>/g)) {
        const id = tag.match(/\bid="([^"]+)"/)?.[1];
        const isNamed = /data-text|data-label|aria-label/.test(tag) || html.includes(`for="${id}"`) ||
            /role="(switch|tab)"|data-setting|file-input|phone-name/.test(tag);
        assert.ok(isNamed, tag);
    }
});
