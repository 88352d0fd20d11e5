#ifndef FIGURE_TABLE_H
#define FIGURE_TABLE_H

#include <QString>
#include <QStringList>
#include <QVector>

/// A table for standard output, readable there and as Markdown. The first column is text, the others are figures.
class FigureTable
{
public:
    FigureTable(const QString &title, const QStringList &headers);

    void add(const QStringList &row) { m_rows.append(row); }
    void print() const;

private:
    QString m_title;
    QVector<QStringList> m_rows;
};

/// A figure with so many decimals.
[[nodiscard]] inline QString figure(double value, int decimals = 2)
{
    return QString::number(value, 'f', decimals);
}

/// "yes" or "NO": whether the figure stays at or below what it may be.
[[nodiscard]] inline QString within(double value, double most)
{
    return value <= most ? QStringLiteral("yes") : QStringLiteral("NO");
}

#endif
