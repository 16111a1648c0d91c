// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "server/PairedDevices.h"
#include "server/RefusalPauses.h"

#include <QObject>

#include <chrono>
#include <functional>
#include <map>

/// Decides which devices are accepted, and asks the user where the user has to decide.
///
/// A question runs its own event loop, so any member may be called while another one runs.
class Pairing : public QObject
{
    Q_OBJECT

public:
    struct Request
    {
        QString device;
        QString name;
        /// Called once, with whether the device is accepted.
        std::function<void(bool)> decided;
    };

    /// Asks the user whether a device of that name may pair, and calls `answered` once. May run an
    /// event loop until then.
    using Question =
        std::function<void(const QString &name, const std::function<void(bool)> &answered)>;

    /// The limit of questions that are open or that wait until the user may be asked again.
    static constexpr int maximumQuestions = 16;

    /// Whose decisions they are.
    struct Rules
    {
        /// Whether the user decides about unknown devices; asked at each decision.
        std::function<bool()> needsApproval;
        PairedDevices::Store store;
        /// Whether devices that were accepted without a question are known from then on. Otherwise
        /// the user is asked about them as soon as approval is needed.
        bool remembersUnasked = true;
        /// Whether the list is stored at each acceptance, besides store().
        bool storesAtOnce = false;
    };

    /// Reads the paired devices from their store into the list.
    /// \param question if it is empty, devices that need it are refused
    Pairing(QStringList &pairedDevices, Rules rules, Question question);
    /// Stores the paired devices.
    void store() const { devices.store(); }

    /// The silent decision: known devices are accepted. If no approval is needed, unknown ones are
    /// accepted too and are, by the rules, known from then on.
    bool isPresent(const QString &device);
    /// The full decision, made before this returns: asks the user if isPresent() returns false.
    /// Beyond `maximumQuestions` the answer is no.
    void decide(const Request &request);
    /// The same, but a refused device may have to wait before the user is asked again, and no box
    /// is opened while a menu is open, which it would close. Returns without waiting.
    void decideInTime(Request request);
    /// Refuses all that wait. Called when the program ends.
    void refuseWaiting();

private:
    std::chrono::milliseconds pause(const QString &device) const;
    bool isTooMany() const;
    void wait(Request request, std::chrono::milliseconds time);
    void stopWaiting(int number);

    void remember(const QString &device);

    Rules rules;
    Question ask;
    PairedDevices devices;
    RefusalPauses pauses;
    int openQuestions = 0; // whose event loops run
    std::map<int, Request> waiting;
    int lastNumber = 0;
};
