// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/JoinedModules.h"

#include <QDir>
#include <QRegularExpression>
#include <QSet>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// What the joined modules export, by their paths. No module has a name like this.
constexpr QLatin1StringView table = "$modules"_L1;

QRegularExpression inLines(const QString &pattern)
{
    return QRegularExpression(pattern, QRegularExpression::MultilineOption);
}

const QRegularExpression &importing()
{
    static const QRegularExpression expression =
        inLines(uR"re(^import \{([^}]*)\} from "(\.[^"\n]+)";$)re"_s);
    return expression;
}

const QRegularExpression &exportedNames()
{
    static const QRegularExpression expression = inLines(uR"(^export \{([\w\s,$]*)\};$)"_s);
    return expression;
}

const QRegularExpression &exportedDeclaration()
{
    static const QRegularExpression expression =
        inLines(uR"(^export (?=(?:async function|function|class|const) ([\w$]+)))"_s);
    return expression;
}

/// What is left of imports and exports that cannot be joined. Comments name types by import().
const QRegularExpression &leftOver()
{
    static const QRegularExpression expression = inLines(
        uR"re(^(?:import|export|await)\b|^(?!\s*(?:\*|/\*|//)).*\bimport\s*(?:\(|\.\s*meta))re"_s);
    return expression;
}

class Joining
{
public:
    explicit Joining(const ReadModule &readModule) : read(readModule) {}

    /// Appends a module behind those that it imports, unless it is there already.
    bool add(const QString &path)
    {
        if (done.contains(path)) {
            return true;
        }
        const std::optional<QByteArray> content = read(path);
        if (!content || underWay.contains(path)) {
            return false;
        }
        underWay.insert(path);
        const bool isGood = append(path, QString::fromUtf8(*content));
        underWay.remove(path);
        done.insert(path);
        return isGood;
    }

    [[nodiscard]] QByteArray result() const
    {
        return u"const %1 = {};\n"_s.arg(table).toUtf8() + joined.toUtf8();
    }

private:
    bool append(const QString &path, QString code)
    {
        const std::optional<QString> imports = takeImports(path, code);
        const QStringList exports = takeExports(code);
        if (!imports || leftOver().match(code).hasMatch()) {
            return false;
        }
        joined += u"%1[\"%2\"] = (() => {\n"_s.arg(table, path) + *imports + code +
                  u"\nreturn { "_s + exports.join(u", "_s) + u" };\n})();\n"_s;
        return true;
    }

    /// The imports as declarations; none if an imported module cannot be joined.
    std::optional<QString> takeImports(const QString &path, QString &code)
    {
        QString declarations;
        for (const QRegularExpressionMatch &match : importing().globalMatch(code)) {
            const QString folder =
                path.contains(u'/') ? path.section(u'/', 0, -2) + u'/' : QString();
            const QString imported = QDir::cleanPath(folder + match.captured(2));
            if (!add(imported)) {
                return std::nullopt;
            }
            static const QRegularExpression renaming(uR"(\s+as\s+)"_s);
            const QString names = match.captured(1).replace(renaming, u": "_s);
            declarations += u"const {%1} = %2[\"%3\"];\n"_s.arg(names, table, imported);
        }
        code.remove(importing());
        return declarations;
    }

    static QStringList takeExports(QString &code)
    {
        QStringList names;
        for (const QRegularExpressionMatch &match : exportedDeclaration().globalMatch(code)) {
            names << match.captured(1);
        }
        for (const QRegularExpressionMatch &match : exportedNames().globalMatch(code)) {
            for (const QString &name : match.captured(1).split(u',', Qt::SkipEmptyParts)) {
                names << name.trimmed();
            }
        }
        names.removeAll(QString());
        code.remove(exportedNames());
        code.remove(exportedDeclaration());
        return names;
    }

    ReadModule read;
    QSet<QString> underWay;
    QSet<QString> done;
    QString joined;
};

} // namespace

std::optional<QByteArray> joinedModules(const QString &script, const ReadModule &read)
{
    Joining joining(read);
    return joining.add(script) ? std::optional(joining.result()) : std::nullopt;
}

} // namespace quillmote
