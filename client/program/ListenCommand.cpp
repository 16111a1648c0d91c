// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The command that says who reaches the server of this desktop over the network.

#include "lib/PrintableText.h"
#include "program/Commands.h"
#include "program/JsonOutput.h"
#include "program/Target.h"

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

QString described(const QJsonObject &answer)
{
    const QString address = printable(answer.value("address"_L1).toString());
    if (!answer.value("listening"_L1).toBool()) {
        return u"Does not listen: the setting is \"%1\""_s.arg(address);
    }
    return u"Listens at %1, port %2"_s.arg(address.isEmpty() ? u"all addresses"_s : address)
        .arg(answer.value("port"_L1).toInt());
}

/// Without what belongs to the connection.
QJsonObject result(const QJsonObject &answer)
{
    QJsonObject object;
    for (const char *name : {"address", "listening", "port"}) {
        object.insert(QLatin1StringView(name), answer.value(QLatin1StringView(name)));
    }
    return object;
}

} // namespace

ExitCode Commands::listen(const Arguments &arguments)
{
    const QString word = arguments.values.value(0);
    const Target target = Target::findLocal(arguments);
    if (!target.isFound()) {
        return target.code;
    }
    SessionOutcome outcome;
    const ExitCode code = target.local->run(
        word.isEmpty() ? SessionMessage::listen()
                       : SessionMessage::listen(word == "all"_L1 ? QString() : word),
        &outcome);
    if (code == ExitCode::Done && arguments.wantsJson) {
        JsonOutput::print(result(outcome.fields));
    } else if (code == ExitCode::Done) {
        Terminal::printLine(described(outcome.fields));
    }
    return code;
}

} // namespace quillmote
