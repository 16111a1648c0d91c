// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHostAddress>
#include <QString>
#include <QtGlobal>

#include <functional>
#include <memory>
#include <unordered_set>

class MemoryAccount;

/// Limits the memory that all connections together occupy: what they have stored, what they send
/// and what they leave unread. When the limit is exceeded, one connection is closed: the largest of
/// the address whose connections hold most. So an honest handheld, which holds a few KiB, stays
/// connected whatever others do.
class MemoryBudget
{
public:
    /// In bytes.
    static constexpr qint64 defaultLimit = 256 * 1024 * 1024;

    explicit MemoryBudget(qint64 limit = defaultLimit);
    MemoryBudget(const MemoryBudget &) = delete;
    MemoryBudget &operator=(const MemoryBudget &) = delete;

    qint64 total() const { return held; }

private:
    friend class MemoryAccount;
    friend class SharedText;

    void change(qint64 difference);
    MemoryAccount *largest() const;

    qint64 limit;
    qint64 held = 0;
    bool isClosing = false;
    std::unordered_set<MemoryAccount *> accounts;
};

/// A text that several connections hold, counted once.
class SharedText
{
public:
    SharedText(MemoryBudget &budget, QString content);
    ~SharedText();
    SharedText(const SharedText &) = delete;
    SharedText &operator=(const SharedText &) = delete;

    qint64 size() const { return content.size() * qint64(sizeof(QChar)); }

    const QString content;

private:
    MemoryBudget &budget;
};

/// What one connection holds. Must not outlive the budget.
class MemoryAccount
{
public:
    /// `close` ends the connection and calls close() of the account. Any call that makes an account
    /// larger may call it, including calls on this account.
    MemoryAccount(MemoryBudget &budget, const QHostAddress &peer, std::function<void()> close);
    ~MemoryAccount();
    MemoryAccount(const MemoryAccount &) = delete;
    MemoryAccount &operator=(const MemoryAccount &) = delete;

    /// Sets what the connection itself holds now, in bytes.
    void set(qint64 bytes);
    /// Holds the text instead of an earlier one.
    void setText(std::shared_ptr<const SharedText> text);
    /// The account is empty from now on.
    void close();

private:
    friend class MemoryBudget;

    qint64 share() const;

    MemoryBudget &budget;
    QHostAddress peer;
    std::function<void()> closeConnection;
    qint64 bytes = 0;
    std::shared_ptr<const SharedText> text;
    bool isClosed = false;
};
