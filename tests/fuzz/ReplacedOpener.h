// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QStringList>

/// The addresses that a program linked with ReplacedOpener.cpp has opened so far: there the
/// toolkit's operation writes down instead of starting programs, whatever the scheme.
QStringList &openedAddresses();
