// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringDecoder>
#include <QTimer>

#include <array>
#include <optional>

namespace platform {

/// Reads the plain text of the X11 clipboard from whichever program owns it, step by step from the
/// event loop, by the rules of the Inter-Client Communication Conventions Manual, section 2.
class X11SelectionReader : public QObject
{
    Q_OBJECT

public:
    /// Connects to the display that the environment names.
    X11SelectionReader();

    /// Begins a transfer; finished() reports its end, always from the event loop. Must not be
    /// called while a transfer is under way.
    void start();

    /// The window that owns the clipboard at this moment; none without one.
    xcb_window_t owner();

signals:
    /// The text; none when the clipboard is empty or holds no plain text, when the text is longer
    /// than maximumClipboardText, or when its owner has not given all of it within a second.
    void finished(const std::optional<QString> &text);

private:
    /// What a transfer waits for.
    enum class Step { Idle, Targets, Text, NextPiece, Reading };

    void internAtoms();
    void createWindow();
    void readEvents();
    void readEventsLater();
    void handleNotification(const xcb_selection_notify_event_t &event);
    void handlePropertyChange(const xcb_property_notify_event_t &event);
    void convert(xcb_atom_t target, Step next);
    void handleTargets();
    void handleText();
    void readTextFrom(uint32_t offset);
    void finish(const std::optional<QString> &text);
    QByteArray takeProperty(uint32_t offset, uint32_t size);
    void dropProperty();

    X11Connection connection;
    xcb_window_t window = XCB_WINDOW_NONE;
    xcb_atom_t clipboard = XCB_ATOM_NONE;
    xcb_atom_t targets = XCB_ATOM_NONE;
    xcb_atom_t incremental = XCB_ATOM_NONE;
    // The properties that answers are put into. Each request uses another one than the request
    // before, so that a late answer to an abandoned request cannot be taken for the answer to the
    // next.
    std::array<xcb_atom_t, 8> properties{};
    size_t requests = 0;
    xcb_atom_t property = XCB_ATOM_NONE;     // That of the current request.
    std::array<xcb_atom_t, 4> textTargets{}; // The first one that is offered is used.
    QTimer ownerTime;
    Step step = Step::Idle;
    xcb_atom_t target = XCB_ATOM_NONE;
    // Set by takeProperty().
    xcb_atom_t propertyType = XCB_ATOM_NONE;
    uint32_t bytesLeft = 0;
    // The state of the transfer.
    bool isInPieces = false;
    qsizetype receivedBytes = 0;
    QStringDecoder decoder;
    QString received;
};

} // namespace platform
