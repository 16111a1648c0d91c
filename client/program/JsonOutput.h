// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "program/Arguments.h"
#include "program/Terminal.h"

#include <QJsonDocument>

/// Results as JSON, one value a line.
namespace quillmote::JsonOutput {

/// On one line; control characters are escaped, those beyond ASCII too.
QString text(const QJsonDocument &document);

void print(const QJsonDocument &document);

/// The result of a command that has nothing else to show: {"ok":true}, when JSON is wanted and it
/// is done.
void printDone(const Arguments &arguments, Terminal::ExitCode code);

} // namespace quillmote::JsonOutput
