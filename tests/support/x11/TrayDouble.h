// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QElapsedTimer>
#include <QString>

#include <memory>

/// A tray of the X11 protocol that behaves as real ones seldom do.
class TrayDouble
{
public:
    enum class Manner {
        Ignores,       ///< Owns the selection, but takes no icon in.
        TakesToOrigin, ///< Shows the icon at the screen's top left corner, its place before.
    };

    TrayDouble(const QString &display, Manner manner);
    ~TrayDouble();
    TrayDouble(const TrayDouble &) = delete;
    TrayDouble &operator=(const TrayDouble &) = delete;

    /// Whether it owns the selection.
    bool isReady() const;

    /// The time since an icon asked to be taken in; invalid before.
    const QElapsedTimer &sinceRequest() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
