// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DisplayAccess.h"

#include <QByteArrayList>
#include <QString>

/// What the program is asked to do on its command line.
struct CommandLine
{
    enum class Request { Run, ShowHelp, ShowVersion, Refuse };

    Request request = Request::Run;
    QString refusal; ///< The reason for a refusal, as one sentence for the user.
    platform::DisplayChoice display;
};

/// Reads the arguments, without the program's name. The options are "--help", "--version" and the
/// toolkit's own, which its application object takes out of the arguments later; nothing else is
/// accepted. The first argument that decides the request wins.
CommandLine readCommandLine(const QByteArrayList &arguments);

/// What "--help" prints.
QString helpText();
