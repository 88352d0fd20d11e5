#include "history/HistoryText.h"

#include "contract/HistoryNames.h"

#include <jov/JovRoot.h>

#include <QJsonArray>
#include <QJsonDocument>

namespace Key = History::Key;

namespace {

QByteArray serialised(const QJsonObject &record)
{
    return QJsonDocument(record).toJson(QJsonDocument::Compact) + '\n';
}

QJsonArray cutLines(const QJsonArray &lines)
{
    QJsonArray cut;
    for (const QJsonValue &line : lines) {
        QByteArray bytes = line.toString().toUtf8();
        if (bytes.size() > HistoryText::longestLogLine) {
            bytes.truncate(HistoryText::longestLogLine);
            // Not in the middle of a character.
            while (!bytes.isEmpty() && (uchar(bytes.back()) & 0xC0) == 0x80) {
                bytes.chop(1);
            }
            bytes.chop(1);
        }
        cut << QString::fromUtf8(bytes);
    }
    return cut;
}

/// Leaves out entries until `excess` bytes are saved, the first or the last ones.
int shorten(QJsonArray &list, int excess, bool firstOnes)
{
    int count = 0;
    for (; excess > 0 && !list.isEmpty(); ++count) {
        const QJsonValue entry = firstOnes ? list.takeAt(0) : list.takeAt(list.size() - 1);
        excess -= QJsonDocument(QJsonArray{entry}).toJson(QJsonDocument::Compact).size() - 1;
    }
    return count;
}

/// Empty for what is none.
QJsonObject recordBetween(const QByteArray &text, int first, int last)
{
    // The kernel leaves blocks of NUL where it had no time to write the text.
    for (; first < last && text.at(first) == '\0'; ++first) { }
    for (; first < last && text.at(last - 1) == '\0'; --last) { }
    const QJsonObject record =
        QJsonDocument::fromJson(QByteArray::fromRawData(text.constData() + first, last - first)).object();
    return record[Key::version].isDouble() && record[Key::kind].isString() ? record : QJsonObject();
}

} // namespace

QByteArray HistoryText::lineOf(QJsonObject record)
{
    for (const QLatin1String key : {Key::log, Key::output}) {
        if (record.contains(key)) {
            record[key] = cutLines(record[key].toArray());
        }
    }
    const int most = record.contains(Key::boot) ? longestWithBoot : longest;
    QByteArray line = serialised(record);
    if (line.size() > most && record.contains(Key::log)) {
        QJsonArray lines = record[Key::log].toArray();
        shorten(lines, line.size() - most, true);
        record[Key::log] = lines;
        line = serialised(record);
    }
    QJsonObject boot = record[Key::boot].toObject();
    if (line.size() > most && boot.contains(Key::dependencies)) {
        boot.remove(Key::dependencies);
        record[Key::boot] = boot;
        line = serialised(record);
    }
    if (line.size() > most && record.contains(Key::boot)) {
        QJsonArray modules = boot[Key::modules].toArray();
        boot[Key::omitted] = modules.size();
        boot[Key::omitted] = shorten(modules, line.size() + 32 - most, false);
        boot[Key::modules] = modules;
        record[Key::boot] = boot;
        line = serialised(record);
    }
    return line;
}

HistoryRecords HistoryText::parse(const QByteArray &text)
{
    HistoryRecords records;
    for (int begin = 0; begin < text.size();) {
        const int found = text.indexOf('\n', begin);
        const int end = found < 0 ? text.size() : found;
        const QJsonObject record = recordBetween(text, begin, end);
        if (!record.isEmpty()) {
            records << record;
        }
        begin = end + 1;
    }
    return records;
}

HistoryRecords HistoryText::parseLastEnd(const QByteArray &text)
{
    HistoryRecords records;
    for (int end = text.size(); end > 0;) {
        const int begin = text.lastIndexOf('\n', end - text.size() - 1) + 1;
        const QJsonObject record = recordBetween(text, begin, end);
        if (!record.isEmpty()) {
            records.prepend(record);
        }
        if (record.contains(Key::cause) || record[Key::kind].toString() == History::Kind::start) {
            break;
        }
        end = begin - 1;
    }
    return records;
}

QString HistoryText::causeOfLastEnd(const HistoryRecords &records, const QString &bootId)
{
    for (auto record = records.crbegin(); record != records.crend(); ++record) {
        if (record->contains(Key::cause)) {
            return (*record)[Key::cause].toString();
        }
        if ((*record)[Key::kind].toString() == History::Kind::start) {
            break;
        }
    }
    if (records.isEmpty()) {
        return {};
    }
    return records.last()[Key::bootId].toString() == bootId ? History::Cause::killed : History::Cause::power;
}

QString HistoryText::pathOf(const QMap<QString, QString> &section)
{
    const QString path = section.value(QStringLiteral("history_file"), History::defaultFile).trimmed();
    return path.isEmpty() ? path : JovRoot::rooted(path.startsWith(QLatin1Char('/')) ? path : QLatin1Char('/') + path);
}
