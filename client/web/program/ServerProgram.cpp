// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/ServerProgram.h"

#include <QCoreApplication>
#include <QProcess>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace quillmote {

QString ServerProgram::find()
{
    const QString beside =
        QStandardPaths::findExecutable(u"VornaServer"_s, {QCoreApplication::applicationDirPath()});
    return beside.isEmpty() ? QStandardPaths::findExecutable(u"VornaServer"_s) : beside;
}

QString ServerProgram::start()
{
    const QString program = find();
    if (program.isEmpty()) {
        return u"VornaServer is not installed."_s;
    }
    return QProcess::startDetached(program, {}) ? QString()
                                                : u"%1 cannot be started."_s.arg(program);
}

} // namespace quillmote
