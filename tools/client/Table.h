#ifndef TABLE_H
#define TABLE_H

#include "client/Console.h"

#include <QJsonArray>
#include <QJsonValue>
#include <QList>
#include <QString>
#include <QVector>

/**
 * Rows of values, printed as aligned columns or as a JSON array of objects. A column without a title is only in the
 * JSON.
 */
class Table
{
public:
    enum class Align { Left, Right };

    struct Column
    {
        QString title;
        QString key; ///< in the JSON objects
        Align align = Align::Left;
        bool isWhole = false; ///< never cut, and never left out
    };

    struct Cell
    {
        QString text;
        QJsonValue value;
        Console::Colour colour = Console::Colour::None;

        Cell(const QString &both, Console::Colour textColour = Console::Colour::None)
            : text(both)
            , value(both)
            , colour(textColour)
        { }
        Cell(qint64 number)
            : text(QString::number(number))
            , value(number)
        { }
        Cell(const QString &shown, const QJsonValue &json)
            : text(shown)
            , value(json)
        { }
    };

    explicit Table(const QList<Column> &columns)
        : m_columns(columns)
    { }

    void add(const QVector<Cell> &row) { m_rows.append(row); }
    [[nodiscard]] bool isEmpty() const { return m_rows.isEmpty(); }

    /// The title line and the rows. Unless `width` is 0, the widest columns are cut, and the last ones left out, until
    /// a line fits into so many cells.
    [[nodiscard]] QStringList lines(int width = 0) const;
    [[nodiscard]] QJsonArray json() const;
    void print(bool asJson) const;

private:
    [[nodiscard]] QVector<int> widths() const;
    void fit(QVector<int> &widths, int room) const;

    QList<Column> m_columns;
    QVector<QVector<Cell>> m_rows;
};

#endif
