// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "preferences/ConfigDialog.h"

#include "preferences/ConfigurationPage.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

ConfigDialog::ConfigDialog(QVariantMap initialParameters) : parameters(std::move(initialParameters))
{
    setFixedSize(480, 320);
    pagesWidget = new QStackedWidget;
    pagesWidget->addWidget(new ConfigurationPage(this));
    createLayout();
    setWindowTitle(tr("Config Dialog"));
}

void ConfigDialog::createLayout()
{
    auto *closeButton = new QPushButton(tr("Close"));
    connect(closeButton, SIGNAL(clicked()), this, SLOT(close()));

    auto *pages = new QHBoxLayout;
    pages->addWidget(pagesWidget, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(closeButton);

    auto *main = new QVBoxLayout;
    main->addLayout(pages);
    main->addStretch(1);
    main->addSpacing(12);
    main->addLayout(buttons);
    setLayout(main);
}

void ConfigDialog::setParameter(QString paramName, QVariant value)
{
    parameters[paramName] = value;
}

void ConfigDialog::setParameter(bool var)
{
    setParameter(sender()->objectName(), QVariant(var));
}

void ConfigDialog::setParameter(QString var)
{
    const QString key = sender()->objectName();
    setParameter(key, QVariant(var));
    emit updateSignal(key, QVariant(var));
}
