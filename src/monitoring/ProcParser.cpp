#include "monitoring/ProcParser.h"

#include <cstring>

namespace {

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool isBlank(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

qint64 withDigit(qint64 number, char digit)
{
    return qMin(ProcParser::maxFigure, number * 10 + (digit - '0'));
}

// -1 when there is none.
qint64 firstNumber(const QByteArray &text)
{
    qint64 number = -1;
    for (const char character : text) {
        if (isDigit(character)) {
            number = withDigit(qMax(number, Q_INT64_C(0)), character);
        } else if (number >= 0) {
            break;
        }
    }
    return number;
}

} // namespace

namespace ProcParser {

FieldSum::FieldSum(const QByteArray &field)
    : m_name(field + ':')
    , m_numberInName(firstNumber(field))
{
    // No line holds a line feed, but the pieces of two lines could match such a name.
    if (field.contains('\n')) {
        m_name.clear();
        m_place = Place::Rest;
    }
}

void FieldSum::add(const char *data, std::size_t size)
{
    const char *position = data;
    const char *const end = data + size;
    while (position != end) {
        switch (m_place) {
        case Place::Name:
            matchName(position, end);
            break;
        case Place::Digits:
        case Place::InDigits:
            readDigits(position, end);
            break;
        case Place::Rest:
            skipLine(position, end);
            break;
        }
    }
}

qint64 FieldSum::total() const
{
    return qMin(maxFigure, m_total + (m_place == Place::InDigits ? m_number : 0));
}

void FieldSum::matchName(const char *&position, const char *end)
{
    const char *const name = m_name.constData();
    while (position != end && m_matched < m_name.size() && *position == name[m_matched]) {
        ++position;
        ++m_matched;
    }
    if (m_matched == m_name.size() && m_numberInName >= 0) {
        m_total = qMin(maxFigure, m_total + m_numberInName);
        m_place = Place::Rest;
    } else if (m_matched == m_name.size()) {
        m_place = Place::Digits;
    } else if (position != end) {
        m_place = Place::Rest;
    }
}

void FieldSum::readDigits(const char *&position, const char *end)
{
    while (position != end && m_place == Place::Digits) {
        if (isDigit(*position)) {
            m_place = Place::InDigits;
            m_number = 0;
        } else if (*position == '\n') {
            m_place = Place::Rest;
        } else {
            ++position;
        }
    }
    while (position != end && m_place == Place::InDigits) {
        if (isDigit(*position)) {
            m_number = withDigit(m_number, *position);
            ++position;
        } else {
            m_total = qMin(maxFigure, m_total + m_number);
            m_place = Place::Rest;
        }
    }
}

void FieldSum::skipLine(const char *&position, const char *end)
{
    const auto *const lineFeed = static_cast<const char *>(std::memchr(position, '\n', std::size_t(end - position)));
    if (!lineFeed) {
        position = end;
        return;
    }
    position = lineFeed + 1;
    if (!m_name.isEmpty()) {
        m_place = Place::Name;
        m_matched = 0;
    }
}

qint64 meminfoField(const QByteArray &text, const QByteArray &field)
{
    const QByteArray name = field + ':';
    for (int found = text.indexOf(name); found >= 0; found = text.indexOf(name, found + 1)) {
        int position = found + name.size();
        while (position < text.size() && isBlank(text.at(position))) {
            ++position;
        }
        qint64 number = 0;
        const int firstDigit = position;
        for (; position < text.size() && isDigit(text.at(position)); ++position) {
            number = withDigit(number, text.at(position));
        }
        if (position > firstDigit) {
            return number;
        }
    }
    return 0;
}

} // namespace ProcParser
