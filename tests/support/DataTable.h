#ifndef DATA_TABLE_H
#define DATA_TABLE_H

#include <QTest>

/// The columns of a test's table, as QTest::addColumn() for each.
template <typename... Types, typename... Names>
void columns(Names... names)
{
    (QTest::addColumn<Types>(names), ...);
}

/// A row of it in one line; a text may be a literal.
template <typename... Values>
void row(const char *name, const Values &...values)
{
    (QTest::newRow(name) << ... << values);
}

#endif
