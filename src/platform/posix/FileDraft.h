// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Folder.h"
#include "platform/posix/Descriptor.h"

#include <QByteArray>
#include <QString>

#include <memory>

#include <sys/stat.h>

namespace platform {

/// A directory's descriptor, which drafts keep open, and its path for people.
struct OpenDirectory
{
    Descriptor descriptor;
    QString path;
};

/// A draft as a file ".vornaserver-...part" that only its owner may read. It is locked, so it can
/// be told from the drafts that killed processes have left.
class FileDraft final : public Folder::Draft
{
public:
    /// Null with the reason if the system refuses.
    static std::unique_ptr<FileDraft> create(const std::shared_ptr<const OpenDirectory> &directory,
                                             QString &reason);
    static bool isDraftName(QByteArrayView name);
    /// Removes the draft if no process holds it.
    static void removeAbandoned(int directory, const QByteArray &name);

    FileDraft(std::shared_ptr<const OpenDirectory> directory, QByteArray temporaryName,
              Descriptor opened);
    ~FileDraft() override;

    bool append(const QByteArray &bytes, QString &reason) override;
    std::optional<QByteArray> publish(const QByteArray &name, QString &reason) override;

private:
    bool hold();
    bool isInPlace() const;
    int moveTo(const QByteArray &newName) const;
    int linkTo(const QByteArray &newName) const;
    int replaceOwnFile(const QByteArray &newName) const;

    std::shared_ptr<const OpenDirectory> directory;
    QByteArray name;
    Descriptor file;
    mode_t finalMode = 0; // What the user's files get.
    bool isPublished = false;
};

} // namespace platform
