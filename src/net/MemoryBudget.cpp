// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/MemoryBudget.h"

#include <QHash>

#include <algorithm>
#include <utility>

MemoryBudget::MemoryBudget(qint64 mostBytes) : limit(mostBytes) {}

void MemoryBudget::change(qint64 difference)
{
    held += difference;
    // Closing a connection makes its account smaller.
    if (difference <= 0 || std::exchange(isClosing, true)) {
        return;
    }
    while (held > limit) {
        MemoryAccount *account = largest();
        if (account == nullptr) {
            break;
        }
        account->closeConnection();
        // In case it did not.
        account->close();
    }
    isClosing = false;
}

MemoryAccount *MemoryBudget::largest() const
{
    QHash<QHostAddress, qint64> shares;
    for (const MemoryAccount *account : accounts) {
        shares[account->peer] += account->share();
    }
    const auto key = [&shares](const MemoryAccount *account) {
        return std::pair(shares.value(account->peer), account->share());
    };
    MemoryAccount *found = nullptr;
    std::pair<qint64, qint64> most(0, 0);
    for (MemoryAccount *account : accounts) {
        if (const auto present = key(account); present.second > 0 && present > most) {
            most = present;
            found = account;
        }
    }
    return found;
}

SharedText::SharedText(MemoryBudget &memory, QString text)
    : content(std::move(text))
    , budget(memory)
{
    budget.change(size());
}

SharedText::~SharedText()
{
    budget.change(-size());
}

MemoryAccount::MemoryAccount(MemoryBudget &memory, const QHostAddress &address,
                             std::function<void()> close)
    : budget(memory)
    , peer(address)
    , closeConnection(std::move(close))
{
    budget.accounts.insert(this);
}

MemoryAccount::~MemoryAccount()
{
    close();
}

void MemoryAccount::set(qint64 now)
{
    if (!isClosed) {
        budget.change(now - std::exchange(bytes, now));
    }
}

void MemoryAccount::setText(std::shared_ptr<const SharedText> shared)
{
    if (!isClosed) {
        text = std::move(shared);
    }
}

void MemoryAccount::close()
{
    if (!std::exchange(isClosed, true)) {
        budget.accounts.erase(this);
        text.reset();
        budget.change(-std::exchange(bytes, 0));
    }
}

qint64 MemoryAccount::share() const
{
    return bytes + (text ? text->size() / std::max<qint64>(text.use_count(), 1) : 0);
}
