#include "client/Table.h"

#include "client/TextWidth.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <algorithm>

namespace {

constexpr int gap = 2; ///< spaces between columns
constexpr int narrowestColumn = 8;

QString padded(const QString &shown, const QString &plain, int width, Table::Align align)
{
    const QString blanks(qMax(0, width - textWidth(plain)), QLatin1Char(' '));
    return align == Table::Align::Right ? blanks + shown : shown + blanks;
}

int lineWidth(const QVector<int> &widths)
{
    int total = -gap;
    for (const int width : widths) {
        total += width > 0 ? width + gap : 0;
    }
    return total;
}

QString trimmedRight(QString line)
{
    while (line.endsWith(QLatin1Char(' '))) {
        line.chop(1);
    }
    return line;
}

} // namespace

QVector<int> Table::widths() const
{
    QVector<int> widths;
    for (int i = 0; i < m_columns.size(); ++i) {
        int width = textWidth(m_columns.at(i).title);
        if (width > 0) {
            for (const QVector<Cell> &row : m_rows) {
                width = qMax(width, textWidth(Console::printable(row.at(i).text)));
            }
        }
        widths << width;
    }
    return widths;
}

/// Narrows the widest columns until the line fits, or all are at their minimum; then leaves out the last ones.
void Table::fit(QVector<int> &widths, int room) const
{
    while (lineWidth(widths) > room) {
        int widest = -1;
        int last = -1;
        for (int i = 0; i < widths.size(); ++i) {
            const bool mayChange = widths.at(i) > 0 && !m_columns.at(i).isWhole;
            widest = mayChange && (widest < 0 || widths.at(i) > widths.at(widest)) ? i : widest;
            last = mayChange ? i : last;
        }
        if (last < 0) {
            return;
        }
        if (widths.at(widest) > narrowestColumn) {
            --widths[widest];
        } else {
            widths[last] = 0;
        }
    }
}

QStringList Table::lines(int width) const
{
    QVector<int> columnWidths = widths();
    if (width > 0) {
        fit(columnWidths, width);
    }
    const auto lineOf = [&](const auto &textAt, const auto &colourAt) {
        QString line;
        for (int i = 0; i < m_columns.size(); ++i) {
            if (columnWidths.at(i) > 0) {
                const QString text = shortened(textAt(i), columnWidths.at(i));
                line += padded(Console::coloured(text, colourAt(i)), text, columnWidths.at(i), m_columns.at(i).align)
                    + QString(gap, QLatin1Char(' '));
            }
        }
        return trimmedRight(line);
    };
    QStringList lines{lineOf([&](int i) { return m_columns.at(i).title; }, [](int) { return Console::Colour::Bold; })};
    for (const QVector<Cell> &row : m_rows) {
        lines << lineOf([&](int i) { return Console::printable(row.at(i).text); },
                        [&](int i) { return row.at(i).colour; });
    }
    return lines;
}

QJsonArray Table::json() const
{
    QJsonArray rows;
    for (const QVector<Cell> &row : m_rows) {
        QJsonObject object;
        for (int i = 0; i < m_columns.size(); ++i) {
            object.insert(m_columns.at(i).key, row.at(i).value);
        }
        rows << object;
    }
    return rows;
}

void Table::print(bool asJson) const
{
    if (asJson) {
        Console::writeJson(QJsonDocument(json()));
        return;
    }
    const QStringList all = lines(Console::isTerminal() ? Console::columns() : 0);
    for (const QString &line : all) {
        Console::writeLine(line);
    }
}
