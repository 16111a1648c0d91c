// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/Pairing.h"

#include <QApplication>
#include <QScopedValueRollback>
#include <QTimer>

#include <utility>

using namespace std::chrono_literals;

namespace {

/// How long a box waits before it checks again whether a menu is open.
constexpr std::chrono::milliseconds menuTime(250);

bool isMenuOpen()
{
    return QApplication::activePopupWidget() != nullptr;
}

} // namespace

Pairing::Pairing(QStringList &pairedDevices, Rules pairingRules, Question question)
    : rules(std::move(pairingRules))
    , ask(std::move(question))
    , devices(pairedDevices, rules.store)
{
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
            &Pairing::refuseWaiting);
}

bool Pairing::isPresent(const QString &device)
{
    if (devices.contains(device)) {
        return true;
    }
    if (rules.needsApproval()) {
        return false;
    }
    if (rules.remembersUnasked) {
        devices.addUnasked(device);
    }
    return true;
}

void Pairing::decide(const Request &request)
{
    if (isPresent(request.device)) {
        request.decided(true);
        return;
    }
    if (isTooMany() || !ask) {
        request.decided(false);
        return;
    }
    const QScopedValueRollback counted(openQuestions, openQuestions + 1);
    ask(request.name, [this, &request](bool isAccepted) {
        if (isAccepted) {
            remember(request.device);
            pauses.accepted(request.device);
        } else {
            pauses.refused(request.device, RefusalPauses::Clock::now());
        }
        request.decided(isAccepted);
    });
}

/// By the user's word.
void Pairing::remember(const QString &device)
{
    devices.add(device);
    if (rules.storesAtOnce) {
        devices.store();
    }
}

void Pairing::decideInTime(Request request)
{
    const std::chrono::milliseconds time = pause(request.device);
    if (time == 0ms || isPresent(request.device) || isTooMany()) {
        decide(request);
    } else {
        wait(std::move(request), time);
    }
}

void Pairing::refuseWaiting()
{
    for (const auto &[number, request] : std::exchange(waiting, {})) {
        request.decided(false);
    }
}

std::chrono::milliseconds Pairing::pause(const QString &device) const
{
    return std::max(pauses.pause(device, RefusalPauses::Clock::now()),
                    isMenuOpen() ? menuTime : 0ms);
}

bool Pairing::isTooMany() const
{
    return openQuestions + static_cast<int>(waiting.size()) >= maximumQuestions;
}

void Pairing::wait(Request request, std::chrono::milliseconds time)
{
    const int number = ++lastNumber;
    waiting.emplace(number, std::move(request));
    QTimer::singleShot(time, Qt::PreciseTimer, this, [this, number] { stopWaiting(number); });
}

/// The pause is not computed again: refusals of other devices in the meantime do not extend it.
void Pairing::stopWaiting(int number)
{
    auto node = waiting.extract(number);
    if (node.empty()) {
        return;
    }
    if (isMenuOpen() && !isPresent(node.mapped().device)) {
        wait(std::move(node.mapped()), menuTime);
    } else {
        decide(node.mapped());
    }
}
