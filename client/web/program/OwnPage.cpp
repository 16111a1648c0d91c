// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/OwnPage.h"

#include "lib/PrivateFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

constexpr auto ownerOnly = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;

QByteArray redirection(const QString &address)
{
    return u"<!DOCTYPE html>\n<meta charset=\"utf-8\">\n<title>Remote control from a "
           u"phone</title>\n"
           "<meta http-equiv=\"refresh\" content=\"0; url=%1\">\n<a href=\"%1\">%1</a>\n"_s
               .arg(address)
               .toUtf8();
}

} // namespace

OwnPage::OwnPage(const QString &runtimeFolder)
    : folder(runtimeFolder + u"/quillmote-web"_s)
    , file(folder + u"/page.html"_s)
    , lock(folder + u"/lock"_s)
{
    // Only its owner's end makes a lock a stale one.
    lock.setStaleLockTime(0);
}

OwnPage::~OwnPage()
{
    if (isPublished) {
        QFile::remove(file);
    }
}

OwnPage::Claim OwnPage::claim()
{
    if (!QFileInfo(folder).isDir() && !QDir().mkdir(folder, ownerOnly)) {
        return Claim::Impossible;
    }
    if (lock.tryLock()) {
        return Claim::Ours;
    }
    return lock.error() == QLockFile::LockFailedError ? Claim::OfAnother : Claim::Impossible;
}

QString OwnPage::publish(quint16 port, const QByteArray &secret)
{
    const QByteArray::Base64Options form =
        QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;
    const QString address = u"http://127.0.0.1:%1/desk#%2"_s.arg(
        QString::number(port), QString::fromLatin1(secret.toBase64(form)));
    const QString problem = PrivateFile::replace(file, redirection(address));
    isPublished = problem.isEmpty();
    return problem;
}

bool OwnPage::show() const
{
    return QFileInfo(file).isFile() && openOnDesktop(file);
}

void OwnPage::showProblem(const QString &problem) const
{
    const QString path = folder + u"/problem.html"_s;
    const QString content =
        u"<!DOCTYPE html>\n<meta charset=\"utf-8\">\n<title>quillmote-web</title>\n"
        "<h1>The remote control cannot start</h1>\n<p>%1</p>\n"_s.arg(problem.toHtmlEscaped());
    if (PrivateFile::replace(path, content.toUtf8()).isEmpty()) {
        openOnDesktop(path);
    }
}

} // namespace quillmote
