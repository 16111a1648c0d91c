// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/OptionTable.h"

#include "program/Arguments.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

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

/// The value in seconds as milliseconds; none if it is out of range.
std::optional<std::chrono::milliseconds> secondsIn(const QString &value)
{
    bool isNumber = false;
    const double seconds = value.toDouble(&isNumber);
    if (!isNumber || !(seconds > 0 && seconds <= 86'400)) {
        return std::nullopt;
    }
    return std::chrono::milliseconds(std::lround(std::ceil(seconds * 1000)));
}

QString readTimeout(const QString &value, Arguments &arguments)
{
    const auto time = secondsIn(value);
    if (!time) {
        return u"--timeout takes seconds, more than 0 and up to 86400."_s;
    }
    arguments.isTimeoutGiven = true;
    arguments.timeout = *time;
    return {};
}

QString readHoldTime(const QString &value, Arguments &arguments)
{
    arguments.holdTime = secondsIn(value);
    return arguments.holdTime ? QString() : u"--for takes seconds, more than 0 and up to 86400."_s;
}

QString readRepeat(const QString &value, Arguments &arguments)
{
    bool isNumber = false;
    arguments.repeat = value.toInt(&isNumber);
    return isNumber && arguments.repeat >= 1 ? QString() : u"--repeat takes a number from 1."_s;
}

/// The value in milliseconds; none if it is out of range.
std::optional<std::chrono::milliseconds> millisecondsIn(const QString &value)
{
    bool isNumber = false;
    const int time = value.toInt(&isNumber);
    return isNumber && time >= 0 && time <= 60'000 ? std::optional(std::chrono::milliseconds(time))
                                                   : std::nullopt;
}

QString readPasteWait(const QString &value, Arguments &arguments)
{
    const auto wait = millisecondsIn(value);
    arguments.pasteWait = wait.value_or(arguments.pasteWait);
    return wait ? QString() : u"--paste-wait takes milliseconds, from 0 to 60000."_s;
}

QString readDelay(const QString &value, Arguments &arguments)
{
    const auto delay = millisecondsIn(value);
    arguments.delay = delay.value_or(arguments.delay);
    return delay ? QString() : u"--delay takes milliseconds, from 0 to 60000."_s;
}

QString readNothing(const QString &, Arguments &)
{
    return {};
}

constexpr QLatin1StringView noValue;
constexpr QLatin1StringView everyCommand;

/// In the order in which the help shows them.
constexpr std::array optionTable = {
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
    Option{"force"_L1, noValue, "send what arrives damaged, or replace files that exist here"_L1,
           "send get"_L1, setFlag<&Arguments::isForced>},
    Option{"open"_L1, noValue, "open each file there when it has arrived (the default)"_L1,
           "send"_L1, readNothing},
    Option{"no-open"_L1, noValue, "only store the files there"_L1, "send"_L1,
           setFlag<&Arguments::staysClosed>},
    Option{"output"_L1, "PATH"_L1, "the folder or file to write to; - is standard output"_L1,
           "get"_L1, setText<&Arguments::output>, QLatin1Char('o')},
    Option{"keep-newline"_L1, noValue, "keep the line break at the end of standard input"_L1,
           "copy type"_L1, setFlag<&Arguments::keepsLineBreak>},
    Option{"application"_L1, noValue, "start the application of that name"_L1, "open"_L1,
           setFlag<&Arguments::isApplication>},
    Option{"list"_L1, noValue, "list the applications that can be opened"_L1, "open"_L1,
           setFlag<&Arguments::wantsList>},
    Option{"button"_L1, "BUTTON"_L1, "left (default), middle, right, back or forward"_L1, "drag"_L1,
           setText<&Arguments::button>},
    Option{"for"_L1, "SECONDS"_L1, "how long to hold (default: until Ctrl+C)"_L1, "hold"_L1,
           readHoldTime},
    Option{"delay"_L1, "MILLISECONDS"_L1, "wait between the characters (default: 0)"_L1, "type"_L1,
           readDelay},
    Option{"paste"_L1, noValue, "paste all of the text instead of typing it"_L1, "type remote"_L1,
           setFlag<&Arguments::pastesAll>},
    Option{"restore"_L1, noValue, "put the clipboard's previous text back at the end"_L1, "type"_L1,
           setFlag<&Arguments::restoresClipboard>},
    Option{"us-keyboard"_L1, noValue, "type characters where a US keyboard has them"_L1,
           "type remote"_L1, setFlag<&Arguments::isUsKeyboard>},
    Option{"paste-wait"_L1, "MILLISECONDS"_L1,
           "how long to wait after each paste (default: 500)"_L1, "type remote"_L1, readPasteWait},
    Option{"local"_L1, noValue, "use the server of this desktop"_L1, everyCommand,
           setFlag<&Arguments::isLocal>},
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
    for (const Option &option : optionTable) {
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
