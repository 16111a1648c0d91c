// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "preferences/ConfigurationPage.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

QGroupBox *group(const QString &title, std::initializer_list<QWidget *> row)
{
    auto *box = new QGroupBox(title);
    auto *horizontal = new QHBoxLayout;
    for (QWidget *widget : row) {
        horizontal->addWidget(widget);
    }
    auto *vertical = new QVBoxLayout;
    vertical->addLayout(horizontal);
    box->setLayout(vertical);
    return box;
}

} // namespace

ConfigurationPage::ConfigurationPage(QWidget *parent) : QWidget(parent)
{
    auto *page = new QVBoxLayout;
    // The dialog's own margins are enough; with a large font there is no room for a second pair.
    page->setContentsMargins(0, 0, 0, 0);
    page->addWidget(pairingGroup());
    page->addWidget(downloadGroup());
    page->addWidget(logonGroup());
    page->addStretch(1);
    setLayout(page);
}

QGroupBox *ConfigurationPage::pairingGroup()
{
    return group(tr("Server configuration"),
                 {checkBox(tr("P&air needs approval"), u"PairApproval"_s)});
}

QGroupBox *ConfigurationPage::downloadGroup()
{
    auto *directory = new QLineEdit(this);
    directory->setReadOnly(true);
    directory->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    directory->setObjectName(u"Download"_s);
    directory->setText(parameter(directory->objectName()).toString());
    // Connected after the text is set: the initial text is not a change.
    connect(directory, SIGNAL(textChanged(QString)), parentWidget(), SLOT(setParameter(QString)));

    auto *choose = new QPushButton(tr("Choose"));
    auto *browser = new QFileDialog(this);
    browser->setFileMode(QFileDialog::Directory);
    browser->setWindowModality(Qt::NonModal);
    // By design: every directory that is entered while browsing is taken; the browser's result is
    // not used.
    connect(browser, SIGNAL(directoryEntered(QString)), directory, SLOT(setText(QString)));
    connect(choose, SIGNAL(clicked()), browser, SLOT(exec()));
    return group(QString(), {directory, choose});
}

QGroupBox *ConfigurationPage::logonGroup()
{
    return group(QString(), {checkBox(tr("Start at Logon"), u"Logon"_s)});
}

QWidget *ConfigurationPage::checkBox(const QString &text, const QString &key)
{
    auto *box = new QCheckBox(text, this);
    box->setObjectName(key);
    box->setChecked(parameter(key).toBool());
    connect(box, SIGNAL(clicked(bool)), parentWidget(), SLOT(setParameter(bool)));
    return box;
}

QVariant ConfigurationPage::parameter(const QString &key) const
{
    return parentWidget()->property("parameters").toMap().value(key);
}
