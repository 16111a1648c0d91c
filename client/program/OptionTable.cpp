// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/OptionTable.h"

#include "program/Arguments.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

template <auto Field> QString setFlag(const QString &, Arguments &arguments)
{
    arguments.*Field = true;
    return {};
}

template <auto Field> QString setText(const QString &value, Arguments &arguments)
{
    arguments.*Field = value;
    return {};
}

QString readPort(const QString &value, Arguments &arguments)
{
    bool isNumber = false;
    arguments.port = value.toUShort(&isNumber);
    return isNumber && arguments.port != 0 ? QString()
                                           : u"--port takes a number from 1 to 65535."_s;
}

QString readTimeout(const QString &value, Arguments &arguments)
{
    bool isNumber = false;
    const double seconds = value.toDouble(&isNumber);
    if (!isNumber || !(seconds > 0 && seconds <= 86'400)) {
        return u"--timeout takes seconds, more than 0 and up to 86400."_s;
    }
    arguments.isTimeoutGiven = true;
    arguments.timeout = std::chrono::milliseconds(std::lround(std::ceil(seconds * 1000)));
    return {};
}

QString readRepeat(const QString &value, Arguments &arguments)
{
    bool isNumber = false;
    arguments.repeat = value.toInt(&isNumber);
    return isNumber && arguments.repeat >= 1 ? QString() : u"--repeat takes a number from 1."_s;
}

QString readPasteWait(const QString &value, Arguments &arguments)
{
    bool isNumber = false;
    const int wait = value.toInt(&isNumber);
    if (!isNumber || wait < 0 || wait > 60'000) {
        return u"--paste-wait takes milliseconds, from 0 to 60000."_s;
    }
    arguments.pasteWait = std::chrono::milliseconds(wait);
    return {};
}

constexpr QLatin1StringView noValue;
constexpr QLatin1StringView everyCommand;

/// In the order in which the help shows them.
constexpr std::array table = {
    Option{"watch"_L1, noValue, "keep running and report servers as they appear and disappear"_L1,
           "discover"_L1, setFlag<&Arguments::isWatch>},
    Option{"name"_L1, "NAME"_L1, "the name of this device (default: its host name)"_L1, "pair"_L1,
           setText<&Arguments::deviceName>},
    Option{"repeat"_L1, "COUNT"_L1, "repeat the whole sequence COUNT times"_L1, "key click"_L1,
           readRepeat},
    Option{"lossy"_L1, noValue, "replace characters that cannot be sent"_L1, "copy"_L1,
           setFlag<&Arguments::isLossy>},
    Option{"as"_L1, "NAME"_L1, "save the file under this name"_L1, "send"_L1,
           setText<&Arguments::saveAs>},
    Option{"force"_L1, noValue, "send files even if they arrive damaged"_L1, "send"_L1,
           setFlag<&Arguments::isForced>},
    Option{"paste"_L1, noValue, "paste all of the text instead of typing it"_L1, "type remote"_L1,
           setFlag<&Arguments::pastesAll>},
    Option{"restore"_L1, noValue, "put the clipboard's previous text back at the end"_L1, "type"_L1,
           setFlag<&Arguments::restoresClipboard>},
    Option{"us-keyboard"_L1, noValue, "type characters where a US keyboard has them"_L1,
           "type remote"_L1, setFlag<&Arguments::isUsKeyboard>},
    Option{"paste-wait"_L1, "MILLISECONDS"_L1,
           "how long to wait after each paste (default: 500)"_L1, "type remote"_L1, readPasteWait},
    Option{"server"_L1, "NAME"_L1, "use the server with this name"_L1, everyCommand,
           setText<&Arguments::server>},
    Option{"host"_L1, "HOST"_L1, "use the server at this address, with --port"_L1, everyCommand,
           setText<&Arguments::host>},
    Option{"port"_L1, "PORT"_L1, "the server's port, with --host"_L1, everyCommand, readPort},
    Option{"timeout"_L1, "SECONDS"_L1, "how long to wait (default: 10)"_L1, everyCommand,
           readTimeout},
    Option{"json"_L1, noValue, "print results and errors as JSON"_L1, everyCommand,
           setFlag<&Arguments::wantsJson>},
    Option{"help"_L1, noValue, "show this help, or the help of a command"_L1, everyCommand, nullptr,
           QLatin1Char('h')},
    Option{"version"_L1, noValue, "show the version"_L1, everyCommand, nullptr},
};

template <typename Predicate> Options optionsThat(Predicate isWanted)
{
    Options options;
    for (const Option &option : table) {
        if (isWanted(option)) {
            options.push_back(&option);
        }
    }
    return options;
}

} // namespace

Options allOptions()
{
    return optionsThat([](const Option &) { return true; });
}

Options commonOptions()
{
    return optionsThat([](const Option &option) { return option.commands.isEmpty(); });
}

Options ownOptions(const QString &command)
{
    return optionsThat([&](const Option &option) {
        return QString(option.commands).split(u' ', Qt::SkipEmptyParts).contains(command);
    });
}

Options optionsOf(const QString &command)
{
    Options options = ownOptions(command);
    const Options common = commonOptions();
    options.insert(options.end(), common.begin(), common.end());
    return options;
}

} // namespace quillmote
