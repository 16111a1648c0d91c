// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/clipboard/DataControlClipboard.h"
#include "support/Waiting.h"
#include "support/wayland/StandInCompositor.h"

#include <QDir>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The clipboard under the common name of data control, on a compositor whose other programs do
/// what the test says.
struct DataControlScene
{
    std::unique_ptr<StandInCompositor> compositor;
    std::unique_ptr<platform::DataControlClipboard> clipboard;

    /// Whether it is there.
    bool start()
    {
        // As a program has it that nobody has prepared.
        std::signal(SIGPIPE, SIG_DFL);
        compositor = std::make_unique<StandInCompositor>();
        makeClipboard();
        return compositor->isRunning() && waitUntil([this] { return compositor->devices() == 1; });
    }
    void end()
    {
        clipboard.reset();
        compositor.reset();
    }

    void makeClipboard()
    {
        clipboard = std::make_unique<platform::DataControlClipboard>(
            std::make_unique<platform::WaylandConnection>());
    }

    /// The next answer to a request; a failure of the test if there is none.
    std::optional<QString> text() const
    {
        // Far more than the second that an owner has.
        constexpr auto patience = 10s;
        const auto answer = std::make_shared<std::optional<std::optional<QString>>>();
        clipboard->requestText([answer](const std::optional<QString> &given) { *answer = given; });
        QTest::qVerify(waitUntil([&] { return answer->has_value(); }, patience, 1ms), "is answered",
                       "", __FILE__, __LINE__);
        return answer->value_or(std::nullopt);
    }
    bool becomes(const QString &expected) const
    {
        return waitUntil([&] { return text() == expected; });
    }
    /// Waits until the compositor knows our text.
    bool set(const QString &ours) const
    {
        clipboard->setText(ours);
        return waitUntil([this] { return !compositor->clientTypes().isEmpty(); });
    }

    /// The program that owns the clipboard writes this much at once and closes the pipe.
    static StandInCompositor::Owner ownerOf(const QByteArray &text)
    {
        return [text](const QByteArray & /*type*/, const Descriptor &target) {
            QCOMPARE(write(target.get(), text.constData(), static_cast<std::size_t>(text.size())),
                     text.size());
        };
    }

    /// Of this process.
    static qsizetype openDescriptors() { return QDir(u"/proc/self/fd"_s).entryList().size(); }
};
