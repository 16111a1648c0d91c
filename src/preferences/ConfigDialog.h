// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QDialog>
#include <QVariantMap>

class QStackedWidget;

/// The preferences. Edits a copy of the parameters; the opener reads them back when the dialog is
/// closed.
class ConfigDialog : public QDialog
{
    Q_OBJECT
    Q_PROPERTY(QVariantMap parameters READ currentParameters)

public:
    /// Keys: "PairApproval" and "Logon" (bool), "Download" (string).
    explicit ConfigDialog(QVariantMap parameters);

    void setParameter(QString paramName, QVariant value);

signals:
    /// By design: only texts are announced; check boxes are read when the dialog is closed.
    void updateSignal(QString paramName, QVariant value);

public slots:
    // The sender's object name is the key.
    void setParameter(bool var);
    void setParameter(QString var);

private:
    QVariantMap currentParameters() const { return parameters; }
    void createLayout();

    QStackedWidget *pagesWidget = nullptr;
    QVariantMap parameters;
};
