// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

namespace quillmote {

/// The content of a module by its path from the page's folder, "wire/code.js"; none if there is no
/// such file.
using ReadModule = std::function<std::optional<QByteArray>(const QString &path)>;

/// A script of a page and all modules that it imports as one module, which does the same. A browser
/// makes a connection for each file; on a slow phone the page would be usable only after a second.
///
/// None if a module is missing, if modules import each other in a circle, or if one is written in
/// another way than these are: each import is `import { a, b as c } from "./d.js";`, and functions,
/// classes and constants are exported where they are declared, or by `export { a };`.
std::optional<QByteArray> joinedModules(const QString &script, const ReadModule &read);

} // namespace quillmote
