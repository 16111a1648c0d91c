// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "doubles/RecordingLoginItems.h"
#include "platform/linux/session/XdgAutostart.h"
#include "unit/platform/LoginItemsContract.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace {

class RecordingLoginItemsKeepTheContract : public LoginItemsContract
{
    void seed(const QStringList &paths) override
    {
        record.entries.clear();
        for (const QString &path : paths) {
            record.entries.append({path, false});
        }
    }

    std::unique_ptr<platform::LoginItems> open() override
    {
        return std::make_unique<RecordingLoginItems>(record);
    }

    LoginItemRecord record;
};

class XdgAutostartKeepsTheContract : public LoginItemsContract
{
    void seed(const QStringList &paths) override
    {
        folder = std::make_unique<QTemporaryDir>();
        for (const QString &path : paths) {
            QFile file(folder->filePath(path.section(QLatin1Char('/'), -1) + u".desktop"_s));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("[Desktop Entry]\nType=Application\nName=Another\nExec=" + path.toUtf8());
        }
    }

    std::unique_ptr<platform::LoginItems> open() override
    {
        return std::make_unique<platform::XdgAutostart>(folder->path());
    }

    std::unique_ptr<QTemporaryDir> folder = std::make_unique<QTemporaryDir>();
};

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    RecordingLoginItemsKeepTheContract recording;
    XdgAutostartKeepsTheContract autostart;
    const int failures = QTest::qExec(&recording, argc, argv);
    return failures + QTest::qExec(&autostart, argc, argv);
}
