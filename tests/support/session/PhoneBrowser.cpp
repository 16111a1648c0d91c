// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/PhoneBrowser.h"

#include <QDir>
#include <QJsonDocument>

namespace {

constexpr auto StartLimit = 3 * GenerousLimit;
/// A gesture takes its time, and the driver's own limits come first.
constexpr auto AnswerLimit = 2 * GenerousLimit;

} // namespace

PhoneBrowser::PhoneBrowser(const UserSession &session, std::function<void()> lastPreparation)
{
    auto environment = session.environment();
    // Beside the sanitized programs it has to be quick, and it has no display.
    environment.remove(u"DISPLAY"_s);
    environment.remove(u"WAYLAND_DISPLAY"_s);
    environment.insert(u"LIMIT_MILLISECONDS"_s, QString::number(GenerousLimit.count()));
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.setLastPreparation(std::move(lastPreparation));
    process.start(u"node"_s, {QStringLiteral(BROWSER_DRIVER)});
    if (!waitUntil(
            [this] { return process.canReadLine() || process.state() == QProcess::NotRunning; },
            StartLimit) ||
        !awaitAnswer(0).isOk) {
        failure = "did not start: Chromium";
    }
}

PhoneBrowser::~PhoneBrowser()
{
    process.closeWriteChannel();
    waitUntil([this] { return process.state() == QProcess::NotRunning; });
}

PhoneBrowser::Answer PhoneBrowser::ask(const QString &command, QJsonObject fields)
{
    fields.insert(u"id"_s, ++lastId);
    fields.insert(u"command"_s, command);
    process.write(QJsonDocument(fields).toJson(QJsonDocument::Compact) + '\n');
    return awaitAnswer(lastId);
}

PhoneBrowser::Answer PhoneBrowser::awaitAnswer(int id)
{
    constexpr std::chrono::milliseconds OftenEnough{2};
    const auto isAnswered = [this] {
        return process.canReadLine() || process.state() == QProcess::NotRunning;
    };
    waitUntil(isAnswered, AnswerLimit, OftenEnough);
    const QJsonObject answer = QJsonDocument::fromJson(process.readLine()).object();
    if (answer.value(u"id"_s) != id || answer.contains(u"error"_s)) {
        qWarning("The browser: %s",
                 qUtf8Printable(answer.value(u"error"_s).toString(u"no answer"_s)));
        return {};
    }
    return {true, answer.value(u"result"_s)};
}

QJsonObject PageElement::fields() const
{
    return css.isEmpty() ? QJsonObject{{u"role"_s, role}, {u"name"_s, name}}
                         : QJsonObject{{u"css"_s, css}};
}

PhonePage::PhonePage(PhoneBrowser &shownBy, const PhoneLook &look) : browser(shownBy)
{
    number = browser
                 .ask(u"open"_s, {{u"width"_s, look.size.width()},
                                  {u"height"_s, look.size.height()},
                                  {u"scale"_s, look.scale},
                                  {u"dark"_s, look.isDark},
                                  {u"locale"_s, look.locale},
                                  {u"mobile"_s, look.isPhone}})
                 .result.toInt();
}

PhonePage::~PhonePage()
{
    ask(u"close"_s);
}

PhoneBrowser::Answer PhonePage::ask(const QString &command, QJsonObject fields)
{
    fields.insert(u"page"_s, number);
    return browser.ask(command, std::move(fields));
}

QString PhonePage::url()
{
    return evaluate(u"location.href"_s).toString();
}

QJsonValue PhonePage::evaluate(const QString &expression)
{
    return ask(u"evaluate"_s, {{u"expression"_s, expression}}).result;
}

bool PhonePage::await(const QString &expression, std::chrono::milliseconds limit)
{
    return does(u"await"_s, {{u"expression"_s, expression},
                             {u"milliseconds"_s, static_cast<qint64>(limit.count())}});
}

bool PhonePage::awaits(const PageElement &element, std::chrono::milliseconds limit)
{
    QJsonObject fields = element.fields();
    fields.insert(u"milliseconds"_s, static_cast<qint64>(limit.count()));
    return does(u"awaitElement"_s, fields);
}

bool PhonePage::awaitReady(std::chrono::milliseconds limit)
{
    return await(u"document.body.dataset.state === 'ready'"_s, limit);
}

bool PhonePage::setSetting(const QString &name, const QJsonValue &value)
{
    // Read when the page is loaded.
    const QByteArray settings =
        QJsonDocument(QJsonObject{{name, value}}).toJson(QJsonDocument::Compact);
    evaluate(u"localStorage.setItem('vorna.settings', '%1')"_s.arg(QString::fromUtf8(settings)));
    return reload() && awaitReady();
}

bool PhonePage::awaitsEndOf(const PageElement &element, std::chrono::milliseconds limit)
{
    QJsonObject fields = element.fields();
    fields.insert(u"milliseconds"_s, static_cast<qint64>(limit.count()));
    fields.insert(u"gone"_s, true);
    return does(u"awaitElement"_s, fields);
}

bool PhonePage::has(const PageElement &element)
{
    return ask(u"count"_s, element.fields()).result.toInt() > 0;
}

QString PhonePage::text(const PageElement &element)
{
    return ask(u"text"_s, element.fields()).result.toString();
}

QString PhonePage::attribute(const PageElement &element, const QString &name)
{
    QJsonObject fields = element.fields();
    fields.insert(u"attribute"_s, name);
    return ask(u"attribute"_s, fields).result.toString();
}

QRectF PhonePage::place(const PageElement &element)
{
    const QJsonObject box = ask(u"place"_s, element.fields()).result.toObject();
    return {box.value(u"x"_s).toDouble(), box.value(u"y"_s).toDouble(),
            box.value(u"width"_s).toDouble(), box.value(u"height"_s).toDouble()};
}

bool PhonePage::tap(const PageElement &element)
{
    return does(u"tap"_s, element.fields());
}

bool PhonePage::gesture(const TouchGesture &gesture)
{
    return does(u"gesture"_s, {{u"steps"_s, gesture.steps()}});
}

bool PhonePage::fill(const PageElement &field, const QString &text)
{
    QJsonObject fields = field.fields();
    fields.insert(u"text"_s, text);
    return does(u"fill"_s, fields);
}

bool PhonePage::select(const PageElement &list, const QString &value)
{
    QJsonObject fields = list.fields();
    fields.insert(u"value"_s, value);
    return does(u"select"_s, fields);
}

bool PhonePage::choose(const PageElement &element, const QStringList &files)
{
    QJsonObject fields = element.fields();
    fields.insert(u"files"_s, QJsonArray::fromStringList(files));
    return does(u"choose"_s, fields);
}

QString PhonePage::download(const PageElement &element, const QString &path)
{
    QJsonObject fields = element.fields();
    fields.insert(u"path"_s, path);
    return ask(u"download"_s, fields).result.toString();
}

bool PhonePage::compose(const QStringList &pieces, const QString &committed)
{
    return does(u"compose"_s,
                {{u"pieces"_s, QJsonArray::fromStringList(pieces)}, {u"committed"_s, committed}});
}

bool PhonePage::replace(int characters, const QString &text)
{
    return does(u"replace"_s, {{u"characters"_s, characters}, {u"text"_s, text}});
}

bool PhonePage::setOffline(bool isOffline)
{
    return does(u"offline"_s, {{u"isOffline"_s, isOffline}});
}

bool PhonePage::resize(const QSize &size)
{
    return does(u"resize"_s, {{u"width"_s, size.width()}, {u"height"_s, size.height()}});
}

bool PhonePage::saveScreenshot(const QString &name)
{
    const QDir folder(qEnvironmentVariable("VORNA_SCREENSHOTS"));
    folder.mkpath(u"."_s);
    return saveScreenshotAs(folder.filePath(name + u".png"_s));
}

QStringList PhonePage::messages()
{
    return ask(u"messages"_s).result.toVariant().toStringList();
}
