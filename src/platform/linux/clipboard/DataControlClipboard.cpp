// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/DataControlClipboard.h"

#include <chrono>
#include <utility>

#include <wayland-client.h>

using namespace std::chrono_literals;

namespace platform {

namespace {

/// How long the owner of the clipboard may take for everything, together with the compositor.
constexpr auto ownerPatience = 1s;

} // namespace

DataControlClipboard::DataControlClipboard(std::unique_ptr<WaylandConnection> openConnection)
    : connection(std::move(openConnection))
{
    ownerTime.setSingleShot(true);
    QObject::connect(&ownerTime, &QTimer::timeout, &reader, [this] { deliver(std::nullopt); });
    QObject::connect(&reader, &PipeReader::finished, &reader,
                     [this](const std::optional<QString> &text) { deliver(text); });
    QObject::connect(connection.get(), &WaylandConnection::globalAdded, &reader,
                     [this] { makeDevice(); });
    QObject::connect(connection.get(), &WaylandConnection::lost, &reader, [this] { loseDevice(); });
    makeDevice();
}

void DataControlClipboard::makeDevice()
{
    if (device) {
        return;
    }
    device = makeDataDevice(*connection, *this);
    if (device && ownText) {
        device->offerText();
    }
}

void DataControlClipboard::loseDevice()
{
    device.reset();
    ownText.reset();
    ownBytes.clear();
}

void DataControlClipboard::setText(const QString &text)
{
    ownText = text;
    ownBytes = text.toUtf8();
    if (device) {
        device->offerText();
    }
}

void DataControlClipboard::requestText(TextReceiver receiver)
{
    if (requests.add(std::move(receiver))) {
        startTransfer();
    }
}

/// What the compositor has reported so far may be read late, so it is asked first.
void DataControlClipboard::startTransfer()
{
    ++transfers;
    ownerTime.start(connection->isOpen() ? ownerPatience : 0s);
    connection->afterEverything([this, number = transfers] {
        if (number == transfers) {
            readContents();
        }
    });
}

void DataControlClipboard::readContents()
{
    if (ownText) {
        deliver(ownText);
        return;
    }
    const Descriptor target = device && device->hasText() ? reader.start() : Descriptor(-1);
    if (target.isOpen()) {
        device->receiveText(target);
    } else {
        deliver(std::nullopt);
    }
}

void DataControlClipboard::deliver(const std::optional<QString> &text)
{
    ++transfers;
    ownerTime.stop();
    reader.stop();
    requests.deliver(text, [this] { startTransfer(); });
}

void DataControlClipboard::watch(std::function<void()> report)
{
    changed = std::move(report);
}

void DataControlClipboard::contentsChanged()
{
    // It may end the watch.
    if (const auto listener = changed) {
        listener();
    }
}

void DataControlClipboard::textWanted(Descriptor target)
{
    writers.write(target, ownBytes);
}

void DataControlClipboard::textReplaced()
{
    ownText.reset();
    ownBytes.clear();
}

/// Later, for the device is still at work.
void DataControlClipboard::deviceFinished()
{
    QMetaObject::invokeMethod(
        &reader,
        [this] {
            device.reset();
            makeDevice();
        },
        Qt::QueuedConnection);
}

} // namespace platform
