#ifndef DATA_TABLE_H
#define DATA_TABLE_H

#include "support/Text.h"

#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QTest>

#include <tuple>
#include <vector>

/// The names of the columns of the table that runs.
inline std::vector<const char *> columnNames;

/// The columns of a test's table, as QTest::addColumn() for each.
template <typename... Types, typename... Names>
void columns(Names... names)
{
    (QTest::addColumn<Types>(names), ...);
    columnNames = {names...};
}

/// The row that runs, as QFETCH() for each of the first columns: `const auto [text, number] = cells<QString, int>();`
template <typename... Types>
std::tuple<Types...> cells()
{
    auto name = columnNames.cbegin();
    return {*static_cast<Types *>(QTest::qData(*name++, qMetaTypeId<Types>()))...}; // Braces: from left to right.
}

/// A row of it in one line; a text may be a literal.
template <typename... Values>
void row(const char *name, const Values &...values)
{
    (QTest::newRow(name) << ... << values);
}

/// From a text file, by name: "== NAME", then the parts, with a line "--" between them.
inline QMap<QString, QStringList> readCases(const QString &path)
{
    QMap<QString, QStringList> cases;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("cannot read %s", qPrintable(path));
    }
    const QStringList texts =
        QString::fromUtf8(file.readAll()).split(QRegularExpression("(?m)\\n?^== "_s), Qt::SkipEmptyParts);
    for (const QString &text : texts) {
        cases.insert(text.section(u'\n', 0, 0), text.section(u'\n', 1).split("--\n"_s));
    }
    return cases;
}

#endif
