// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/SessionMessage.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace quillmote {

/// A key with modifiers, as a person names it on the command line.
struct KeyStroke
{
    QString key;           ///< a name of the W3C's UI Events key values, or one character
    QStringList modifiers; ///< of Control, Shift, Alt, Meta and AltGraph

    bool operator==(const KeyStroke &) const = default;

    /// Reads "Control+Shift+t", "Enter", "a" or "+". A key has its W3C name, in any letters, or the
    /// name by which the X Window System knows it, such as Return, Prior or XF86AudioMute. Cmd
    /// means Control, as it does on the network. None if there is no such key.
    static std::optional<KeyStroke> of(const QString &words);

    /// Advice about a word that is no key, with a blank in front; empty if there is none.
    static QString suggestionFor(const QString &words);

    /// All names that the W3C has for keys that a desktop may have.
    static QStringList names();

    /// The shortcut by which a handheld on the network types it; none if it cannot.
    std::optional<QString> onNetwork() const;

    SessionMessage message(const QString &action = QStringLiteral("tap")) const
    {
        return SessionMessage::key(key, modifiers, action);
    }
};

} // namespace quillmote
