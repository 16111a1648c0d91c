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
    /// The parent must be the ConfigDialog: its property `parameters` has the values, and its slots
    /// receive the changes.
    explicit ConfigurationPage(QWidget *parent);

private:
    QGroupBox *pairingGroup();
    QGroupBox *downloadGroup();
    QGroupBox *logonGroup();
    QWidget *checkBox(const QString &text, const QString &key);
    QVariant parameter(const QString &key) const;
};
