#ifndef TABLE_H
#define TABLE_H

#include "client/Console.h"

#include <QJsonValue>
#include <QList>
#include <QString>
#include <QVector>

/**
 * Rows of values, printed as aligned columns for people or as a JSON array of objects for programs.
 *
 * A column without a title is for programs alone.
 */
class Table
{
public:
    enum class Align { Left, Right };

    struct Column
    {
        QString title;
        QString key; ///< of the value in JSON
        Align align = Align::Left;
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

    /// The lines for people, titles first. Where `width` is not 0 the widest columns are cut until that many cells do.
    [[nodiscard]] QStringList lines(int width = 0) const;
    [[nodiscard]] QByteArray json() const;
    void print(bool asJson) const;

private:
    [[nodiscard]] QVector<int> widths() const;

    QList<Column> m_columns;
    QVector<QVector<Cell>> m_rows;
};

#endif
