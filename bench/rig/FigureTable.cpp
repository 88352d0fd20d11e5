#include "rig/FigureTable.h"

#include <cstdio>

FigureTable::FigureTable(const QString &title, const QStringList &headers)
    : m_title(title)
    , m_rows{headers}
{ }

void FigureTable::print() const
{
    const int columns = m_rows.first().size();
    QVector<int> widths(columns, 3);
    for (const QStringList &row : m_rows) {
        for (int i = 0; i < columns; ++i) {
            widths[i] = qMax(widths.at(i), row.value(i).size());
        }
    }
    QString text = QStringLiteral("\n%1\n\n").arg(m_title);
    for (int number = 0; number < m_rows.size(); ++number) {
        QString rule;
        for (int i = 0; i < columns; ++i) {
            const QString cell = m_rows.at(number).value(i);
            text += QStringLiteral("| ")
                + (i == 0 ? cell.leftJustified(widths.at(i)) : cell.rightJustified(widths.at(i))) + QLatin1Char(' ');
            rule += QStringLiteral("| ")
                + (i == 0 ? QString(widths.at(i), QLatin1Char('-'))
                          : QString(widths.at(i) - 1, QLatin1Char('-')) + QLatin1Char(':'))
                + QLatin1Char(' ');
        }
        text += QStringLiteral("|\n");
        if (number == 0) {
            text += rule + QStringLiteral("|\n");
        }
    }
    std::fputs(qPrintable(text), stdout);
    std::fflush(stdout);
}
