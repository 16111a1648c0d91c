// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SharedWatch.h"

#include <utility>

SharedWatch::Listener::Listener(SharedWatch &shared, std::function<void()> changed) : watch(&shared)
{
    connect(&shared, &SharedWatch::changed, &receiver, std::move(changed));
    shared.add();
}

SharedWatch::Listener::~Listener()
{
    if (watch != nullptr) {
        watch->remove();
    }
}

SharedWatch::SharedWatch(Host watched) : host(std::move(watched)) {}

void SharedWatch::add()
{
    if (++listeners == 1) {
        host([this] { emit changed(); });
    }
}

void SharedWatch::remove()
{
    if (--listeners == 0) {
        host({});
    }
}
