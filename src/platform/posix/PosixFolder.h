// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Folder.h"
#include "platform/posix/FileDraft.h"

namespace platform {

/// A directory by its descriptor.
class PosixFolder final : public Folder
{
public:
    explicit PosixFolder(std::shared_ptr<const OpenDirectory> opened);

    std::unique_ptr<Draft> draft(QString &reason) override;
    std::unique_ptr<Listing> list(const QByteArray &after, int limit, QString &reason) override;
    std::optional<Piece> read(const QByteArray &name, qint64 offset, qint64 length) override;
    std::unique_ptr<Cleaning> cleaning() override;

private:
    std::shared_ptr<const OpenDirectory> directory;
};

} // namespace platform
