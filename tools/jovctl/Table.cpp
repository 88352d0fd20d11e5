#include "Table.h"

#include "TextWidth.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace {

QString padded(const QString &shown, const QString &plain, int width, Table::Align align)
{
    const QString blanks(qMax(0, width - textWidth(plain)), QLatin1Char(' '));
    return align == Table::Align::Right ? blanks + shown : shown + blanks;
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
    const QVector<int> columnWidths = widths();
    const auto lineOf = [&](const auto &textAt, const auto &colourAt) {
        QString line;
        int left = width;
        for (int i = 0; i < m_columns.size(); ++i) {
            if (m_columns.at(i).title.isEmpty()) {
                continue;
            }
            const int cellWidth = width > 0 ? qMin(columnWidths.at(i), qMax(left, 0)) : columnWidths.at(i);
            const QString text = width > 0 ? shortened(textAt(i), cellWidth) : textAt(i);
            line += (line.isEmpty() ? QString() : QStringLiteral("  "))
                + padded(Console::coloured(text, colourAt(i)), text, cellWidth, m_columns.at(i).align);
            left -= cellWidth + 2;
            if (width > 0 && left <= 0) {
                break;
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

QByteArray Table::json() const
{
    QJsonArray rows;
    for (const QVector<Cell> &row : m_rows) {
        QJsonObject object;
        for (int i = 0; i < m_columns.size(); ++i) {
            object.insert(m_columns.at(i).key, row.at(i).value);
        }
        rows << object;
    }
    return QJsonDocument(rows).toJson();
}

void Table::print(bool asJson) const
{
    if (asJson) {
        Console::write(QString::fromUtf8(json()));
        return;
    }
    const QStringList all = lines();
    for (const QString &line : all) {
        Console::writeLine(line);
    }
}
