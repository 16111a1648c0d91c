// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The least that a phone's browser needs to move the pointer and to send a file: a page with a bare
// WebSocket. With "#canvas" in its address the finger is on a canvas whose touches the browser does
// not hold back until the next frame. Four bytes are a move, which is made by XTEST; other messages
// are pieces of a file, written to the path of the first argument; a text asks how many bytes have
// come. Writes the port of the page to standard output.

#include <QCoreApplication>
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>
#include <QWebSocket>
#include <QWebSocketServer>
#include <QtEndian>

#include <cstdio>

#include <xcb/xcb.h>
#include <xcb/xtest.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int MoveSize = 4;

const char Page[] = R"(<!doctype html><meta charset="utf-8"><title>Floor</title>
<meta name="viewport" content="width=device-width">
<body style="margin:0;height:100vh;touch-action:none"><input type="file" aria-label="File"><script>
if (location.hash === "#canvas") {
    const canvas = document.body.appendChild(document.createElement("canvas"));
    canvas.style = "position:fixed;inset:0;width:100%;height:100%";
    canvas.getContext("2d", { desynchronized: true });
}
const socket = new WebSocket(`ws://${location.hostname}:PORT/`);
socket.binaryType = "arraybuffer";
let last;
addEventListener("pointerdown", (event) => { last = event; });
addEventListener("pointermove", (event) => {
    const move = new DataView(new ArrayBuffer(4));
    move.setInt16(0, event.clientX - last.clientX);
    move.setInt16(2, event.clientY - last.clientY);
    socket.send(move);
    last = event;
});
document.querySelector("input").addEventListener("change", async ({ target }) => {
    const file = target.files[0];
    for (let offset = 0; offset < file.size; offset += 131072) {
        const piece = await file.slice(offset, offset + 131072).arrayBuffer();
        while (socket.bufferedAmount > 1048576) {
            await new Promise((done) => setTimeout(done, 4));
        }
        socket.send(piece);
    }
    socket.send("end");
});
socket.addEventListener("message", ({ data }) => { received = Number(data); });
let received = 0;
</script>)";

void move(xcb_connection_t *display, const QByteArray &message)
{
    constexpr std::uint8_t Relative = 1;
    xcb_test_fake_input(display, XCB_MOTION_NOTIFY, Relative, XCB_CURRENT_TIME, XCB_NONE,
                        qFromBigEndian<qint16>(message.constData()),
                        qFromBigEndian<qint16>(message.constData() + 2), 0);
    xcb_flush(display);
}

void answer(QTcpSocket *visitor, quint16 port)
{
    if (!visitor->readAll().contains("\r\n\r\n")) {
        return;
    }
    const QByteArray page = QByteArray(Page).replace("PORT", QByteArray::number(port));
    visitor->write("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nConnection: close\r\n"
                   "Content-Length: " +
                   QByteArray::number(page.size()) + "\r\n\r\n" + page);
    visitor->disconnectFromHost();
}

/// Each phone begins the file anew.
void serve(QWebSocket *phone, xcb_connection_t *display, QFile &file)
{
    file.close();
    file.open(QIODevice::WriteOnly);
    QObject::connect(phone, &QWebSocket::binaryMessageReceived, phone,
                     [display, &file](const QByteArray &message) {
                         if (message.size() == MoveSize) {
                             move(display, message);
                         } else {
                             file.write(message);
                         }
                     });
    QObject::connect(phone, &QWebSocket::textMessageReceived, phone, [phone, &file] {
        file.flush();
        phone->sendTextMessage(QString::number(file.size()));
    });
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    xcb_connection_t *display = xcb_connect(nullptr, nullptr);
    QFile file(QCoreApplication::arguments().value(1));
    QTcpServer pages;
    QWebSocketServer sockets(u"floor"_s, QWebSocketServer::NonSecureMode);
    if (xcb_connection_has_error(display) != 0 || !pages.listen() || !sockets.listen()) {
        return 1;
    }
    QObject::connect(&pages, &QTcpServer::newConnection, &pages, [&] {
        QTcpSocket *visitor = pages.nextPendingConnection();
        QObject::connect(visitor, &QTcpSocket::readyRead, visitor,
                         [&, visitor] { answer(visitor, sockets.serverPort()); });
    });
    QObject::connect(&sockets, &QWebSocketServer::newConnection, &sockets,
                     [&] { serve(sockets.nextPendingConnection(), display, file); });
    std::printf("%d\n", pages.serverPort());
    std::fflush(stdout);
    return QCoreApplication::exec();
}
