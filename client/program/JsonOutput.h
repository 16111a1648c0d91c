// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "program/Arguments.h"
#include "program/Terminal.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

/// Results as JSON, one value a line.
namespace quillmote::JsonOutput {

/// One line, in which all control characters are escaped, also those beyond ASCII.
QString text(const QJsonDocument &document);

void print(const QJsonObject &object);
void print(const QJsonArray &array);

/// The result of a command that has no other one: {"ok":true} with these details. Nothing is
/// printed unless JSON is wanted and the command has succeeded.
void printDone(const Arguments &arguments, Terminal::ExitCode code, QJsonObject details = {});

} // namespace quillmote::JsonOutput
