// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/SessionPath.h"
#include "lib/SignalWatch.h"
#include "web/program/OwnPage.h"
#include "web/program/TerminalDisplay.h"
#include "web/program/WebArguments.h"
#include "web/program/WebService.h"

#include <QCoreApplication>

#include <cstdio>
#include <optional>
#include <sodium.h>
#include <sys/resource.h>

using namespace Qt::StringLiterals;
using namespace quillmote;

namespace {

constexpr int failure = 1;
constexpr int wrongUse = 2;

void complain(const QString &problem)
{
    std::fputs((u"quillmote-web: "_s + problem + u'\n').toLocal8Bit().constData(), stderr);
}

/// Whoever has started the program from a menu sees no terminal.
int fail(const OwnPage &own, const WebArguments &arguments, const QString &problem)
{
    complain(problem);
    if (arguments.opensPage && !TerminalDisplay::isTerminal()) {
        own.showProblem(problem);
    }
    return failure;
}

int showOfAnother(const OwnPage &own, const WebArguments &arguments)
{
    const bool isShown = arguments.opensPage && own.show();
    TerminalDisplay::say(isShown
                             ? u"quillmote-web runs already. Its page is opened in the browser."_s
                             : u"quillmote-web runs already."_s);
    return 0;
}

int run(const WebArguments &arguments)
{
    const QString folder = ownRuntimeFolder();
    if (folder.isEmpty()) {
        complain(u"There is no folder for sockets of this session (XDG_RUNTIME_DIR)."_s);
        return failure;
    }
    OwnPage own(folder);
    const OwnPage::Claim claim = own.claim();
    if (claim == OwnPage::Claim::OfAnother) {
        return showOfAnother(own, arguments);
    }
    if (claim == OwnPage::Claim::Impossible) {
        return fail(own, arguments, u"%1 cannot be written."_s.arg(folder));
    }
    WebService service(arguments);
    QString problem = service.open();
    if (problem.isEmpty()) {
        problem = own.publish(service.deskPort(), service.deskSecret());
    }
    if (!problem.isEmpty()) {
        return fail(own, arguments, problem);
    }
    if (!service.storeProblem().isEmpty()) {
        complain(u"The port and the phones cannot be kept: %1"_s.arg(service.storeProblem()));
    }
    std::optional<TerminalDisplay> terminal;
    if (TerminalDisplay::isTerminal()) {
        terminal.emplace(service.pairingCodes(), service.pageAddress());
        terminal->showCode();
    }
    if (arguments.opensPage) {
        own.show();
    }
    const SignalWatch signalWatch([](int) { QCoreApplication::quit(); });
    QObject::connect(&service, &WebService::quitWanted, qApp, &QCoreApplication::quit,
                     Qt::QueuedConnection);
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    // A crash would write the secrets to the disk.
    const rlimit noCore{0, RLIM_INFINITY};
    setrlimit(RLIMIT_CORE, &noCore);
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"quillmote-web"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(VORNA_VERSION));
    const WebArguments arguments = WebArguments::parse(QCoreApplication::arguments());
    if (!arguments.problem.isEmpty()) {
        complain(arguments.problem);
        return wrongUse;
    }
    if (!arguments.output.isEmpty()) {
        std::fputs(arguments.output.toLocal8Bit().constData(), stdout);
        return 0;
    }
    if (sodium_init() < 0) {
        complain(u"libsodium cannot be used."_s);
        return failure;
    }
    return run(arguments);
}
