// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/Contents.h"

#include "platform/linux/clipboard/Selection.h"

#include <algorithm>
#include <array>

namespace platform {

namespace {

/// The best first.
constexpr std::array textTypes = {"text/plain;charset=utf-8", "text/plain", "UTF8_STRING", "STRING",
                                  "TEXT"};

/// What password managers put beside their texts, and what it says then.
constexpr auto passingType = "x-kde-passwordManagerHint";
constexpr auto passingValue = "secret";

constexpr auto bestPicture = "image/png";

bool isText(const QByteArray &type)
{
    return std::ranges::find(textTypes, type) != textTypes.end();
}

/// The last one is a picture among programs of Qt.
bool isPicture(const QByteArray &type)
{
    return type.startsWith("image/") || type == "application/x-qt-image";
}

/// Names of the X Window System repeat what has another name too, or say how it is asked for.
bool isOfX11(const QByteArray &type)
{
    return !type.contains('/');
}

} // namespace

std::optional<QByteArray> textTypeOf(const QByteArrayList &types)
{
    const auto *const best =
        std::ranges::find_if(textTypes, [&](const char *type) { return types.contains(type); });
    return best == textTypes.end() ? std::nullopt : std::optional<QByteArray>(*best);
}

Contents contentsOf(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    Contents contents;
    for (const char *type : textTypes) {
        contents.insert(type, bytes);
    }
    return contents;
}

Contents passingContentsOf(const QString &text)
{
    Contents contents = contentsOf(text);
    contents.insert(passingType, passingValue);
    return contents;
}

QByteArrayList typesOf(const Contents &contents)
{
    QByteArrayList types;
    for (const char *type : textTypes) {
        if (contents.contains(type)) {
            types.append(type);
        }
    }
    for (auto each = contents.keyBegin(); each != contents.keyEnd(); ++each) {
        if (!isText(*each)) {
            types.append(*each);
        }
    }
    return types;
}

std::optional<QString> textOf(const Contents &contents)
{
    const auto type = textTypeOf(contents.keys());
    return type ? std::optional(QString::fromUtf8(contents.value(*type))) : std::nullopt;
}

std::optional<QByteArrayList> typesToKeep(const QByteArrayList &types)
{
    if (types.size() >= mostSelectionTypes || types.contains(passingType)) {
        return std::nullopt;
    }
    QByteArrayList kept;
    if (const auto text = textTypeOf(types)) {
        kept.append(*text);
    }
    const bool hasBestPicture = types.contains(bestPicture);
    for (const QByteArray &type : types) {
        const bool isRepeated = isText(type) || isOfX11(type) ||
                                (hasBestPicture && isPicture(type) && type != bestPicture) ||
                                kept.contains(type);
        if (!isRepeated) {
            kept.append(type);
        }
    }
    return kept.isEmpty() ? std::nullopt : std::optional(kept);
}

} // namespace platform
