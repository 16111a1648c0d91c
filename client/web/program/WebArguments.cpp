// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/WebArguments.h"

#include "web/program/WebStore.h"

#include <QCommandLineParser>
#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

struct Options
{
    QCommandLineOption port{u"port"_s, u"Listen at this TCP port, from now on."_s, u"PORT"_s};
    QCommandLineOption address{u"address"_s,
                               u"Listen only at this address of this computer. May be repeated."_s,
                               u"ADDRESS"_s};
    QCommandLineOption host{u"host"_s,
                            u"Also answer browsers that call this computer by this name. May be "
                            "repeated."_s,
                            u"NAME"_s};
    QCommandLineOption https{
        u"https"_s, u"Use https with this certificate and this key, files in PEM format."_s,
        u"CERT KEY"_s};
    QCommandLineOption noOpen{u"no-open"_s, u"Do not open the page in a browser."_s};
    QCommandLineOption help{QStringList{u"h"_s, u"help"_s}, u"Show this text."_s};
    QCommandLineOption version{u"version"_s, u"Show the version."_s};
};

QString helpText(QCommandLineParser &parser)
{
    return parser.helpText() +
           u"\nThe port is %1 unless another one was chosen before.\n"_s.arg(WebStore::usualPort);
}

QString takePort(const QCommandLineParser &parser, const Options &options, WebArguments &arguments)
{
    if (!parser.isSet(options.port)) {
        return {};
    }
    bool isNumber = false;
    const QString text = parser.value(options.port);
    const ushort port = text.toUShort(&isNumber);
    if (!isNumber || port == 0) {
        return u"--port needs a number from 1 to 65535, not \"%1\"."_s.arg(text);
    }
    arguments.port = port;
    return {};
}

QString takeAddresses(const QCommandLineParser &parser, const Options &options,
                      WebArguments &arguments)
{
    for (const QString &text : parser.values(options.address)) {
        const QHostAddress address(text);
        if (address.isNull()) {
            return u"--address needs an IP address, not \"%1\"."_s.arg(text);
        }
        arguments.addresses += address;
    }
    return {};
}

/// The key's file is the only word without an option.
QString takeCertificate(const QCommandLineParser &parser, const Options &options,
                        WebArguments &arguments)
{
    const QStringList words = parser.positionalArguments();
    const bool isWanted = parser.isSet(options.https);
    if (words.size() != (isWanted ? 1 : 0)) {
        return isWanted ? u"--https needs two files, the certificate and its key."_s
                        : u"What does \"%1\" mean? See quillmote-web --help."_s.arg(words.first());
    }
    if (isWanted) {
        arguments.certificateFile = parser.value(options.https);
        arguments.keyFile = words.first();
    }
    return {};
}

} // namespace

WebArguments WebArguments::parse(const QStringList &words)
{
    const Options options;
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Makes a phone's browser a remote control of this desktop: "
                                     u"shows a QR code, and serves the "
                                     "page that it leads to."_s);
    parser.addOptions({options.port, options.address, options.host, options.https, options.noOpen,
                       options.help, options.version});
    WebArguments arguments;
    if (!parser.parse(words)) {
        arguments.problem = parser.errorText();
    } else if (parser.isSet(options.help)) {
        arguments.output = helpText(parser);
    } else if (parser.isSet(options.version)) {
        arguments.output = u"quillmote-web %1\n"_s.arg(QCoreApplication::applicationVersion());
    } else {
        for (const auto take : {takePort, takeAddresses, takeCertificate}) {
            if (arguments.problem.isEmpty()) {
                arguments.problem = take(parser, options, arguments);
            }
        }
        arguments.hosts = parser.values(options.host);
        arguments.opensPage = !parser.isSet(options.noOpen);
    }
    return arguments;
}

} // namespace quillmote
