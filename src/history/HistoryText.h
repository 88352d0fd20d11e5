#ifndef HISTORY_TEXT_H
#define HISTORY_TEXT_H

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>

using HistoryRecords = QList<QJsonObject>;

/// The records and settings of the history as texts.
namespace HistoryText {

inline constexpr int longest = 16 * 1024; ///< bytes of a record
inline constexpr int longestWithBoot = 24 * 1024;
inline constexpr int longestLogLine = 500; ///< bytes

/// A line, with its line feed. Log lines are cut; the oldest of them, and the dependencies and then the last modules of
/// a start-up, are left out until the rest fits.
[[nodiscard]] QByteArray lineOf(QJsonObject record);

/// Of all lines that are records.
[[nodiscard]] HistoryRecords parse(const QByteArray &text);

/// Of the last lines, as many as causeOfLastEnd() needs.
[[nodiscard]] HistoryRecords parseLastEnd(const QByteArray &text);

/// Why the boot ended whose records are the last ones, and which `bootId` follows. Empty without a record.
[[nodiscard]] QString causeOfLastEnd(const HistoryRecords &records, const QString &bootId);

/// The path of the file with the root prefix, by the section [ApplicationManager] of platform.ini. Empty: no history.
[[nodiscard]] QString pathOf(const QMap<QString, QString> &section);

} // namespace HistoryText

#endif
