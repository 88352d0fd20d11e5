#ifndef PROC_PARSER_H
#define PROC_PARSER_H

#include <QByteArray>

#include <cstddef>

/// What the texts under `/proc` say. Figures are 64 bits wide and saturate; a text that does not fit gives 0.
namespace ProcParser {

/// Far above every real size in kB, and low enough to be multiplied by 100.
constexpr qint64 maxFigure = Q_INT64_C(1) << 53;

/**
 * Adds up the first run of digits of every line that starts with a field's name and a colon.
 *
 * The text comes in pieces of any size, cut anywhere: nothing of it is kept, however long a line is.
 */
class FieldSum
{
public:
    explicit FieldSum(const QByteArray &field);

    void add(const char *data, std::size_t size);

    /// The sum over the text so far, whose last line needs no line feed.
    [[nodiscard]] qint64 total() const;

private:
    enum class Place { Name, Digits, InDigits, Rest };

    void matchName(const char *&position, const char *end);
    void readDigits(const char *&position, const char *end);
    void skipLine(const char *&position, const char *end);

    QByteArray m_name;
    qint64 m_numberInName; ///< which is then the line's first; -1 for none
    int m_matched = 0;
    Place m_place = Place::Name;
    qint64 m_number = 0;
    qint64 m_total = 0;
};

/// The number behind the first "FIELD:" of `meminfo`, in kB.
[[nodiscard]] qint64 meminfoField(const QByteArray &text, const QByteArray &field);

} // namespace ProcParser

#endif
