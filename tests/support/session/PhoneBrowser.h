// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Waiting.h"
#include "support/process/ChildProcess.h"
#include "support/session/TouchGesture.h"
#include "support/session/UserSession.h"

#include <QJsonObject>
#include <QRectF>
#include <QSize>

#include <functional>

/// Chromium, as the browser of phones and of the desktop. Each question waits for its answer and
/// runs the event loop meanwhile.
class PhoneBrowser
{
public:
    /// Starts it in that session; for the preparation see ChildProcess::setLastPreparation().
    explicit PhoneBrowser(
        const UserSession &session, std::function<void()> lastPreparation = [] {});
    ~PhoneBrowser();
    PhoneBrowser(const PhoneBrowser &) = delete;
    PhoneBrowser &operator=(const PhoneBrowser &) = delete;

    /// Why it cannot be used; empty when it can.
    QByteArray problem() const { return failure; }

    struct Answer
    {
        bool isOk = false;
        QJsonValue result;
    };
    /// Sends a command of tests/browser/driver.mjs. A refusal is logged as a warning.
    Answer ask(const QString &command, QJsonObject fields = {});

private:
    Answer awaitAnswer(int id);

    ChildProcess process;
    QByteArray failure;
    int lastId = 0;
};

/// What a page is shown on.
struct PhoneLook
{
    QSize size{390, 844};
    double scale = 2;
    bool isDark = false;
    QString locale = QStringLiteral("en-US");
    bool isPhone = true; ///< Otherwise a desktop with a mouse.

    static PhoneLook desktop() { return {{1000, 800}, 1, false, QStringLiteral("en-US"), false}; }
};

/// What a page shows, as a reader of screens names it, or by a selector.
struct PageElement
{
    QString role;
    QString name;
    QString css;

    static PageElement button(const QString &name) { return {QStringLiteral("button"), name, {}}; }
    static PageElement tab(const QString &name) { return {QStringLiteral("tab"), name, {}}; }
    static PageElement of(const QString &selector) { return {{}, {}, selector}; }

    QJsonObject fields() const;
};

/// A window of the browser with storage of its own, which is closed with this object.
class PhonePage
{
public:
    explicit PhonePage(PhoneBrowser &shownBy, const PhoneLook &look = {});
    ~PhonePage();
    PhonePage(const PhonePage &) = delete;
    PhonePage &operator=(const PhonePage &) = delete;

    bool goTo(const QString &url) { return does(u"goTo"_s, {{u"url"_s, url}}); }
    bool reload() { return does(u"reload"_s); }
    QString url();

    QJsonValue evaluate(const QString &expression);
    /// Waits until the expression is true.
    bool await(const QString &expression, std::chrono::milliseconds limit = GenerousLimit);
    /// Waits until the element is seen.
    bool awaits(const PageElement &element, std::chrono::milliseconds limit = GenerousLimit);
    /// Waits until the page of quillmote-web is connected with a server that it may use.
    bool awaitReady(std::chrono::milliseconds limit = GenerousLimit);
    /// Chooses a setting of that page, as it is stored.
    bool setSetting(const QString &name, const QJsonValue &value);
    bool awaitsEndOf(const PageElement &element, std::chrono::milliseconds limit = GenerousLimit);
    bool has(const PageElement &element);
    QString text(const PageElement &element);
    QString attribute(const PageElement &element, const QString &name);
    /// An empty one if it is not seen.
    QRectF place(const PageElement &element);

    bool tap(const PageElement &element);
    bool gesture(const TouchGesture &gesture);
    bool fill(const PageElement &field, const QString &text);
    bool select(const PageElement &list, const QString &value);
    bool choose(const PageElement &element, const QStringList &files);
    /// Returns the name that the page gives the file; empty if nothing came.
    QString download(const PageElement &element, const QString &path);

    /// Writes into the field that has the focus, see tests/browser/driver.mjs.
    bool compose(const QStringList &pieces, const QString &committed);
    bool insert(const QString &text) { return does(u"insert"_s, {{u"text"_s, text}}); }
    bool replace(int characters, const QString &text);
    bool tapKey(const QString &key) { return does(u"key"_s, {{u"key"_s, key}}); }

    bool setOffline(bool isOffline);
    bool setDark(bool isDark) { return does(u"dark"_s, {{u"isDark"_s, isDark}}); }
    bool resize(const QSize &size);

    /// Writes a picture to the folder of screenshots.
    bool saveScreenshot(const QString &name);
    bool saveScreenshotAs(const QString &path)
    {
        return does(u"screenshot"_s, {{u"path"_s, path}});
    }

    /// Errors and warnings that the page has caused so far.
    QStringList messages();

    PhoneBrowser::Answer ask(const QString &command, QJsonObject fields = {});

private:
    bool does(const QString &command, const QJsonObject &fields = {})
    {
        return ask(command, fields).isOk;
    }

    PhoneBrowser &browser;
    int number = 0;
};
