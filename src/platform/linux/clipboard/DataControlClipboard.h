// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/clipboard/DataSelections.h"
#include "platform/linux/clipboard/SelectionClipboard.h"
#include "platform/linux/wayland/WaylandConnection.h"

#include <memory>
#include <utility>

namespace platform {

/// The clipboard of a Wayland session whose compositor has a data control protocol: read, set,
/// watched and lent without the focus. While the compositor is away there is no text, and a text
/// that is set meanwhile becomes the contents when it is back.
class DataControlClipboard final : public SelectionClipboard
{
public:
    explicit DataControlClipboard(std::unique_ptr<WaylandConnection> openConnection)
        : SelectionClipboard(std::make_unique<DataSelections>(std::move(openConnection)))
    {
    }

    bool isReadable() const override { return true; }
    bool isWatchable() const override { return true; }
};

} // namespace platform
