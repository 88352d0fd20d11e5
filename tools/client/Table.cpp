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

/// Narrows the widest columns until the line fits, or all are at their minimum.
void fit(QVector<int> &widths, int room)
{
    int total = -gap;
    for (const int width : qAsConst(widths)) {
        total += width > 0 ? width + gap : 0;
    }
    while (total > room) {
        int &widest = *std::max_element(widths.begin(), widths.end());
        if (widest <= narrowestColumn) {
            return;
        }
        --widest;
        --total;
    }
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

QStringList Table::lines(int width) const
{
    QVector<int> columnWidths = widths();
    if (width > 0) {
        fit(columnWidths, width);
    }
    const auto lineOf = [&](const auto &textAt, const auto &colourAt) {
        QString line;
        for (int i = 0; i < m_columns.size(); ++i) {
            if (!m_columns.at(i).title.isEmpty()) {
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
