// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "doubles/RecordingLoginItems.h"
#include "platform/linux/XdgAutostart.h"
#include "unit/platform/LoginItemsContract.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace {

class RecordingLoginItemsKeepTheContract : public LoginItemsContract
{
    void seed(const QStringList &paths) override
    {
        m_record.entries.clear();
        for (const QString &path : paths) {
            m_record.entries.append({path, false});
        }
    }

    std::unique_ptr<platform::LoginItems> open() override
    {
        return std::make_unique<RecordingLoginItems>(m_record);
    }

    LoginItemRecord m_record;
};

class XdgAutostartKeepsTheContract : public LoginItemsContract
{
    void seed(const QStringList &paths) override
    {
        m_folder = std::make_unique<QTemporaryDir>();
        for (const QString &path : paths) {
            QFile file(m_folder->filePath(path.section(QLatin1Char('/'), -1) + ".desktop"));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("[Desktop Entry]\nType=Application\nName=Another\nExec=" + path.toUtf8());
        }
    }

    std::unique_ptr<platform::LoginItems> open() override
    {
        return std::make_unique<platform::XdgAutostart>(m_folder->path());
    }

    std::unique_ptr<QTemporaryDir> m_folder = std::make_unique<QTemporaryDir>();
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
