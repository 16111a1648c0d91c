// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QWidget>

class QGroupBox;
class QVariant;

/// The controls of the preferences. Each control's object name is the key of its parameter.
class ConfigurationPage : public QWidget
{
    Q_OBJECT

public:
    /// The parent must be the ConfigDialog: its property `parameters` gives the values, its slots
    /// take the changes.
    explicit ConfigurationPage(QWidget *parent);

private:
    QGroupBox *pairingGroup();
    QGroupBox *downloadGroup();
    QGroupBox *logonGroup();
    QWidget *checkBox(const QString &text, const QString &key);
    QVariant parameter(const QString &key) const;
};
