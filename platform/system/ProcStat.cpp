#include "system/ProcStat.h"

#include "system/RegularFile.h"

#include <QList>

#include <cctype>

namespace {

constexpr qint64 longestText = 4096;
constexpr qint64 mostTicks = Q_INT64_C(1) << 53; // the sum of several does not overflow
constexpr int fewestFields = 18;

// A process names itself, with blanks and parentheses if it likes: only the last parenthesis ends the name.
QByteArray withoutName(QByteArray text)
{
    const int open = text.indexOf('(');
    const int close = text.lastIndexOf(')');
    return open < 0 || close < open ? text : text.replace(open, close - open + 1, "name");
}

// Blanks at the beginning or the end separate an empty field from the others.
QList<QByteArray> splitAtBlanks(const QByteArray &text)
{
    QList<QByteArray> fields = {QByteArray()};
    bool inBlanks = false;
    for (const char character : text) {
        const bool blank = std::isspace(static_cast<unsigned char>(character)) != 0;
        if (!blank) {
            fields.last().append(character);
        } else if (!inBlanks) {
            fields.append(QByteArray());
        }
        inBlanks = blank;
    }
    return fields;
}

qint64 ticks(const QByteArray &field)
{
    return qBound(-mostTicks, field.toLongLong(), mostTicks);
}

} // namespace

std::optional<ProcStat> ProcStat::parse(const QByteArray &text)
{
    const QList<QByteArray> fields = splitAtBlanks(withoutName(text));
    if (fields.size() < fewestFields) {
        return std::nullopt;
    }
    // Counted from 0; proc(5) counts from 1.
    ProcStat stat;
    stat.pid = fields.at(0).toInt();
    stat.state = fields.at(2).isEmpty() ? '?' : fields.at(2).front();
    stat.parent = fields.at(3).toInt();
    stat.processGroup = fields.at(4).toInt();
    stat.ownTicks = ticks(fields.at(13)) + ticks(fields.at(14));
    stat.childTicks = ticks(fields.at(15)) + ticks(fields.at(16));
    stat.threads = fields.value(19).toInt();
    stat.startTime = fields.value(21).toULongLong();
    stat.virtualBytes = fields.value(22).toLongLong();
    stat.residentPages = fields.value(23).toLongLong();
    return stat;
}

std::optional<ProcStat> ProcStat::read(pid_t pid)
{
    const std::optional<QByteArray> text = RegularFile(QStringLiteral("/proc/%1/stat").arg(pid)).read(longestText);
    return text ? parse(*text) : std::nullopt;
}
