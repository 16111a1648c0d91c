// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>

#include <glib.h>

// What GLib hands out, each with its owner.

struct GLibFree
{
    void operator()(GError *error) const { g_error_free(error); }
    void operator()(gchar **words) const { g_strfreev(words); }
};
using GLibError = std::unique_ptr<GError, GLibFree>;
/// An array of strings that ends with a null pointer.
using GLibWords = std::unique_ptr<gchar *, GLibFree>;
