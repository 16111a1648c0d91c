// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/DataSelections.h"

#include <utility>

namespace platform {

DataSelections::DataSelections(std::unique_ptr<WaylandConnection> openConnection)
    : connection(std::move(openConnection))
{
    connect(connection.get(), &WaylandConnection::globalAdded, this, &DataSelections::makeDevice);
    connect(connection.get(), &WaylandConnection::lost, this, &DataSelections::loseDevice);
    makeDevice();
}

DataSelections::~DataSelections()
{
    connection->disconnect(this);
}

void DataSelections::afterEverything(std::function<void()> handler)
{
    connection->afterEverything(std::move(handler));
}

QByteArrayList DataSelections::types(Selection selection) const
{
    return device ? device->types(selection) : QByteArrayList();
}

void DataSelections::receive(Selection selection, const QByteArray &type,
                             const PipeReceiver &receiver)
{
    PipeEnds pipe;
    if (types(selection).contains(type)) {
        pipe = openPipe();
    }
    if (pipe.writing.isOpen()) {
        device->receive(selection, type, pipe.writing);
    }
    receiver(std::move(pipe.reading));
}

const std::optional<Contents> &DataSelections::own(Selection selection) const
{
    return ours.at(static_cast<std::size_t>(selection));
}

std::optional<Contents> &DataSelections::ownOf(Selection selection)
{
    return ours.at(static_cast<std::size_t>(selection));
}

void DataSelections::put(Selection selection, std::optional<Contents> contents)
{
    ownOf(selection) = std::move(contents);
    if (!has(selection)) {
        return;
    }
    if (const auto &given = own(selection)) {
        device->offer(selection, typesOf(*given));
    } else {
        device->clear(selection);
    }
}

void DataSelections::makeDevice()
{
    if (device) {
        return;
    }
    device = makeDataDevice(*connection, *this);
    for (const Selection selection : bothSelections) {
        if (const auto &contents = own(selection); contents && has(selection)) {
            device->offer(selection, typesOf(*contents));
        }
    }
}

void DataSelections::loseDevice()
{
    device.reset();
    ours.fill(std::nullopt);
    emit lost();
}

void DataSelections::contentsChanged(Selection selection)
{
    emit changed(selection);
}

void DataSelections::contentsWanted(Selection selection, const QByteArray &type, Descriptor target)
{
    if (const auto &contents = own(selection)) {
        writers.write(target, contents->value(type), [this, type](bool isWhole) {
            if (isWhole) {
                emit wasRead(type);
            }
        });
    }
}

void DataSelections::contentsReplaced(Selection selection)
{
    ownOf(selection).reset();
    emit replaced(selection);
}

/// Later, for the device is still at work.
void DataSelections::deviceFinished()
{
    QMetaObject::invokeMethod(
        this,
        [this] {
            device.reset();
            makeDevice();
        },
        Qt::QueuedConnection);
}

} // namespace platform
