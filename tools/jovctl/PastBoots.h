#ifndef PAST_BOOTS_H
#define PAST_BOOTS_H

#include "client/BootAnalysis.h"
#include "contract/HistoryNames.h"
#include "history/HistoryText.h"

#include <QJsonObject>

#include <optional>

/// One life of the daemon, of the history.
struct PastBoot
{
    QJsonObject start; ///< its first record; another kind if that is lost
    QJsonObject last; ///< the last one
    QJsonObject reason; ///< the last one with a cause; empty for an end without a record
    QJsonObject timing; ///< of the start-up; empty if it did not end
    QString cause; ///< one of History::Cause; empty while the boot lasts
    bool isUntaken = false; ///< nobody took the request for the reboot

    /// "2026-11-21 03:12:44", in local time, with a remark if the clock was not set.
    [[nodiscard]] static QString timeOf(const QJsonObject &record);
    /// Why it ended, for people, without a full stop.
    [[nodiscard]] QString text() const;
    /// How long the daemon ran, in seconds. Nothing if the end was not recorded.
    [[nodiscard]] std::optional<qint64> duration() const;
    [[nodiscard]] QString version() const { return start[History::Key::program].toString(); }
    /// Of the start-up; not known if it did not end. Without the critical chain if the dependencies are not recorded.
    [[nodiscard]] BootRecord record() const;
};

/// All boots, the newest first. Throws a Failure if there is no history.
[[nodiscard]] QList<PastBoot> readPastBoots();

/// The newest record, which has the totals of all boots; empty if there is none.
[[nodiscard]] QJsonObject readNewestRecord();

[[nodiscard]] QList<PastBoot> pastBootsOf(const HistoryRecords &records, const QString &bootId);

/// The number of the operand "[N]", or 1. Throws a Failure for anything else, and if there are fewer boots.
[[nodiscard]] const PastBoot &bootBefore(const QList<PastBoot> &boots, const QStringList &operands);

#endif
