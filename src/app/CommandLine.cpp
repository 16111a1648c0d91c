// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/CommandLine.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

/// How the toolkit writes an option.
enum class Form { Alone, BeforeValue, AnyRest };

struct ToolkitOption
{
    QByteArrayView name; ///< With one dash; the toolkit accepts two as well.
    Form form;
};

/// The options that QApplication and its platform plugins take from the command line, as
/// qapplication.cpp, qguiapplication.cpp, qcoreapplication.cpp and qxcbintegration.cpp of version
/// 6.4 read it.
constexpr std::array toolkitOptions = {
    ToolkitOption{"-display", Form::BeforeValue},
    ToolkitOption{"-dograb", Form::Alone},
    ToolkitOption{"-geometry", Form::BeforeValue},
    ToolkitOption{"-icon", Form::BeforeValue},
    ToolkitOption{"-name", Form::BeforeValue},
    ToolkitOption{"-nograb", Form::Alone},
    ToolkitOption{"-platform", Form::BeforeValue},
    ToolkitOption{"-platformpluginpath", Form::BeforeValue},
    ToolkitOption{"-platformtheme", Form::BeforeValue},
    ToolkitOption{"-plugin", Form::BeforeValue},
    ToolkitOption{"-psn_", Form::AnyRest}, // a Mac's Finder adds it
    ToolkitOption{"-qdebug", Form::Alone},
    ToolkitOption{"-qdevel", Form::Alone},
    ToolkitOption{"-qmljsdebugger", Form::BeforeValue},
    ToolkitOption{"-qmljsdebugger=", Form::AnyRest},
    ToolkitOption{"-qwindowgeometry", Form::BeforeValue},
    ToolkitOption{"-qwindowicon", Form::BeforeValue},
    ToolkitOption{"-qwindowtitle", Form::BeforeValue},
    ToolkitOption{"-reverse", Form::Alone},
    ToolkitOption{"-session", Form::BeforeValue},
    ToolkitOption{"-style", Form::BeforeValue},
    ToolkitOption{"-style=", Form::AnyRest},
    ToolkitOption{"-stylesheet", Form::BeforeValue},
    ToolkitOption{"-stylesheet=", Form::AnyRest},
    ToolkitOption{"-testability", Form::Alone},
    ToolkitOption{"-title", Form::BeforeValue},
    ToolkitOption{"-visual", Form::BeforeValue},
    ToolkitOption{"-widgetcount", Form::Alone},
};

/// The toolkit's option that this argument is; null if it is none.
const ToolkitOption *toolkitOption(const QByteArray &argument)
{
    const QByteArray name = argument.startsWith("--") ? argument.mid(1) : argument;
    const auto *found = std::ranges::find_if(toolkitOptions, [&](const ToolkitOption &option) {
        return option.form == Form::AnyRest ? name.startsWith(option.name) : name == option.name;
    });
    return found == toolkitOptions.end() ? nullptr : found;
}

CommandLine refused(const QString &reason)
{
    CommandLine line;
    line.request = CommandLine::Request::Refuse;
    line.refusal = reason + u"; \"VornaServer --help\" lists the options."_s;
    return line;
}

CommandLine refusedArgument(const QByteArray &argument)
{
    const QString text = QString::fromLocal8Bit(argument);
    return refused(argument.startsWith('-') ? u"Unknown option \"%1\""_s.arg(text)
                                            : u"Unexpected argument \"%1\""_s.arg(text));
}

void takeValue(const ToolkitOption &option, const QByteArray &value,
               platform::DisplayChoice &display)
{
    if (option.name == QByteArrayView("-platform")) {
        display.plugin = value;
    } else if (option.name == QByteArrayView("-display")) {
        display.name = value;
    }
}

} // namespace

CommandLine readCommandLine(const QByteArrayList &arguments)
{
    CommandLine line;
    for (qsizetype index = 0; index < arguments.size(); ++index) {
        const QByteArray &argument = arguments[index];
        if (argument == "--help" || argument == "--version") {
            line.request = argument == "--help" ? CommandLine::Request::ShowHelp
                                                : CommandLine::Request::ShowVersion;
            return line;
        }
        const ToolkitOption *option = toolkitOption(argument);
        if (option == nullptr) {
            return refusedArgument(argument);
        }
        if (option->form != Form::BeforeValue) {
            continue;
        }
        if (++index == arguments.size()) {
            return refused(u"Option \"%1\" needs a value"_s.arg(QString::fromLocal8Bit(argument)));
        }
        takeValue(*option, arguments[index], line.display);
    }
    return line;
}

QString helpText()
{
    return u"Usage: VornaServer [OPTION]...\n"
           "\n"
           "Lets a handheld on the local network control this computer. The server runs in the\n"
           "system tray; everything else is in the menu of its icon.\n"
           "\n"
           "  --help            Show this help and exit.\n"
           "  --version         Show the version and exit.\n"
           "  -platform PLUGIN  Use this display plugin of the toolkit, such as xcb or offscreen.\n"
           "  -display NAME     Use this X11 display, such as :0.\n"
           "  -style NAME       Draw the windows in this style of the toolkit.\n"
           "\n"
           "All other options of the toolkit (Qt) are accepted too.\n"_s;
}
