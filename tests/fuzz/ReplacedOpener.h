// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QStringList>

/// The addresses that a program linked with ReplacedOpener.cpp has opened so far: there the
/// toolkit's operation records addresses of every scheme instead of starting programs.
QStringList &openedAddresses();
