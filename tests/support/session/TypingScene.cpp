// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/TypingScene.h"

#include "support/Waiting.h"

#include <QFile>
#include <QJsonArray>

#include <algorithm>

using namespace std::chrono_literals;

namespace {

/// For a text of 10,000 characters into a program that answers no question.
constexpr std::chrono::milliseconds TypingLimit = 20min;

QByteArray codes(const QString &text)
{
    QByteArray hex;
    for (const uint code : text.toUcs4()) {
        hex += " U+" + QByteArray::number(code, 16).toUpper();
    }
    return hex;
}

/// The user at the keyboard, who holds a key or has set a lock while this object lives.
class Hand
{
public:
    Hand(TypingDesk &typingDesk, TypingScene::Hindrance hindrance)
        : desk(typingDesk)
        , kind(hindrance)
    {
        if (kind != TypingScene::Hindrance::None) {
            desk.hinder(kind, true);
        }
    }
    ~Hand()
    {
        if (kind != TypingScene::Hindrance::None) {
            desk.hinder(kind, false);
        }
    }
    Hand(const Hand &) = delete;
    Hand &operator=(const Hand &) = delete;

private:
    TypingDesk &desk;
    TypingScene::Hindrance kind;
};

} // namespace

TypingScene::TypingScene() = default;

QList<std::pair<QByteArray, ControlsProgram::Kind>> TypingScene::programs()
{
    QByteArray names = qgetenv("VORNA_PROGRAMS");
    if (names.isEmpty()) {
        names = "GTK,Qt,terminal";
    }
    QList<std::pair<QByteArray, ControlsProgram::Kind>> chosen;
    for (const QByteArray &name : names.split(',')) {
        chosen.append({name, name == "GTK"        ? ControlsProgram::Kind::Gtk
                             : name == "Qt"       ? ControlsProgram::Kind::Qt
                             : name == "terminal" ? ControlsProgram::Kind::Terminal
                                                  : ControlsProgram::Kind::Browser});
    }
    return chosen;
}

bool TypingScene::start()
{
    if (!desktop->start() || !waitUntil([this] { return QFile::exists(socketPath()); })) {
        return false;
    }
    client = std::make_unique<SessionClient>(socketPath());
    return client->greeting().value(u"event"_s) == "hello"_L1;
}

bool TypingScene::open(ControlsProgram::Kind kind)
{
    const auto tryToOpen = [&] {
        controls.reset();
        controls = desktop->open(kind);
        return controls->isReady();
    };
    if (tryToOpen()) {
        return true;
    }
    // On a busy machine one xterm of hundreds did not come to the front. Why is not known, so what
    // was seen is said.
    qWarning("The program is opened again. %s", controls->problem().constData());
    return tryToOpen();
}

QString TypingScene::keyCaps(const QString &layout)
{
    const QString ascii = u"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                          " \t!\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~"_s;
    if (layout.startsWith("de"_L1)) {
        return ascii + u"äöüßÄÖÜ§°€µ²³"_s;
    }
    if (layout.startsWith("fr"_L1)) {
        return ascii + u"éèçàùµ£§°€²"_s;
    }
    if (layout.startsWith("ru"_L1)) {
        return u"абвгдеёжзийклмнопрстуфхцчшщъыьэюяАБВГДЕЁЖЗИЙКЛМНОПРСТУФХЦЧШЩЪЫЬЭЮЯ"
               "0123456789 \t!\"№;%:?*()-_=+/\\.,"_s;
    }
    return ascii;
}

bool TypingScene::isTaken(ControlsProgram::Kind kind, char32_t character)
{
    // Chromium takes the keysym 0x010007ae for the dead key 0x07ae, an accent, and drops the next
    // character too.
    return kind != ControlsProgram::Kind::Browser || character != 0x07ae;
}

QByteArray TypingScene::type(const QString &text, Hindrance hindrance,
                             std::function<void()> halfway)
{
    const Hand hand(*desktop, hindrance);
    const int request = client->send(u"text"_s, {{u"text"_s, text}});
    if (halfway) {
        reactAt(text.size() / 2, std::move(halfway));
    }
    const SessionMessage answer = client->answer(request, TypingLimit);
    if (!answer.isOk()) {
        return "the server refuses: " + answer.error().toUtf8();
    }
    awaitArrival(text);
    return difference(text);
}

bool TypingScene::ask(const QString &request, const QJsonObject &fields)
{
    return client->ask(request, fields).isOk();
}

bool TypingScene::moveTo(const QPoint &place)
{
    const QJsonArray screens = client->ask(u"screens"_s).fields.value(u"screens"_s).toArray();
    const QJsonObject screen = screens.at(0).toObject();
    return ask(u"moveTo"_s, {{u"x"_s, place.x() / (screen.value(u"width"_s).toDouble() - 1)},
                             {u"y"_s, place.y() / (screen.value(u"height"_s).toDouble() - 1)}}) &&
           waitUntil([&] { return desktop->isPointerAt(place); });
}

QByteArray TypingScene::scroll()
{
    const auto turn = [this](int distance) {
        return ask(u"scroll"_s, {{u"dx"_s, 0}, {u"dy"_s, distance}});
    };
    if (!moveTo(controls->middleOfList()) || (isFirstTurnDropped() && !turnFirst()) || !turn(600)) {
        return "the server refuses, or the pointer is not over the list";
    }
    if (!waitUntil([this] { return controls->listPosition() > 0; })) {
        return "the list does not scroll down";
    }
    if (!turn(-1200)) {
        return "the server refuses";
    }
    return waitUntil([this] { return controls->listPosition() == 0; })
               ? QByteArray()
               : "the list does not scroll up";
}

/// KWin does not say of its portal what kind of device turns. Then programs of GTK 4.8 drop the
/// first turn of all.
bool TypingScene::isFirstTurnDropped() const
{
    return TypingDesk::isPlasma() && controls->programKind() == ControlsProgram::Kind::Gtk;
}

/// Up, at the top of the list. What is typed comes after it, so it shows that it has been seen.
bool TypingScene::turnFirst()
{
    return ask(u"scroll"_s, {{u"dx"_s, 0}, {u"dy"_s, -120}}) &&
           ask(u"text"_s, {{u"text"_s, u"x"_s}}) &&
           waitUntil([this] { return controls->text() == "x"_L1; });
}

QByteArray TypingScene::drag()
{
    const QPoint knob = controls->middleOfSlider();
    const QPoint end = controls->nearEndOfSlider();
    const auto button = [this](const QString &action) {
        return ask(u"button"_s, {{u"action"_s, action}});
    };
    if (!moveTo(knob) || !button(u"press"_s) || !ask(u"move"_s, {{u"dx"_s, 50}, {u"dy"_s, 0}}) ||
        !moveTo(end) || !button(u"release"_s)) {
        return "the server refuses, or the pointer does not move";
    }
    constexpr double NearTheEnd = 80;
    if (!waitUntil([&] { return controls->sliderValue() > NearTheEnd; })) {
        return "the slider stays at " + QByteArray::number(controls->sliderValue());
    }
    const double value = controls->sliderValue();
    if (!moveTo(knob) || !moveTo(controls->middleOfText()) || !ask(u"button"_s, {})) {
        return "the server refuses, or the pointer does not move on";
    }
    // Window managers of X11 hold a click back until they have given its window the focus, but not
    // the keys.
    if (!waitUntil([this] { return controls->textHasFocus(); })) {
        return "the text does not get the focus";
    }
    // What is typed comes after the move, so it shows that the move has been seen.
    if (!ask(u"text"_s, {{u"text"_s, u"x"_s}})) {
        return "the server refuses";
    }
    if (!waitUntil([this] { return controls->text() == "x"_L1; })) {
        return "the text is \"" + controls->text().toUtf8() + '"';
    }
    return controls->sliderValue() == value ? QByteArray() : "the slider is still held";
}

/// While the server types.
void TypingScene::reactAt(qsizetype length, std::function<void()> action)
{
    waitUntil([&] { return controls->text().size() >= length || controls->hasEnded(); },
              TypingLimit, 1ms);
    action();
}

/// For as long as more of it arrives: on a busy machine a program may have much left to read.
void TypingScene::awaitArrival(const QString &text) const
{
    qsizetype length = -1;
    const auto hasProgress = [&] { return controls->text().size() != length; };
    while (controls->text() != text && !controls->hasEnded() &&
           waitUntil(hasProgress, GenerousLimit, 50ms)) {
        length = controls->text().size();
    }
}

QByteArray TypingScene::difference(const QString &text) const
{
    const QString arrived = controls->text();
    if (arrived == text) {
        return {};
    }
    const auto [wanted, got] =
        std::mismatch(text.begin(), text.end(), arrived.begin(), arrived.end());
    const auto place = std::distance(text.begin(), wanted);
    const QString wrong = arrived.mid(place, arrived.mid(place, 1).isValidUtf16() ? 1 : 2);
    const qsizetype home = wrong.isEmpty() ? -1 : text.indexOf(wrong);
    // An earlier place of what is there shows a program that looked a key up too early, a later one
    // a program that did so too late.
    return QByteArray::number(arrived.size()) + " of " + QByteArray::number(text.size()) +
           " units arrived; at " + QByteArray::number(place) + " there is" +
           codes(arrived.sliced(place, std::min<qsizetype>(4, arrived.size() - place))) +
           ", which belongs to " + QByteArray::number(home) + ", and not" +
           codes(text.sliced(place, std::min<qsizetype>(4, text.size() - place))) +
           (controls->hasEnded() ? ". " + controls->problem() : QByteArray());
}
