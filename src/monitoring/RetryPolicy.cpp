#include "monitoring/RetryPolicy.h"

#include "catalogue/ApplicationRecord.h"

#include <jov/Log.h>

namespace {

QList<QDateTime> recentOnes(const QList<QDateTime> &retries, int time2remove, const QDateTime &now)
{
    const auto nowText = [&now] { return now.toString(); };
    QList<QDateTime> kept;
    for (const QDateTime &retry : retries) {
        const auto retryText = [&retry] { return retry.toString(); };
        const qint64 diff = retry.secsTo(now);
        Log::debug("Analyzing retry retry=%1 now=%2 diff=%3", retryText, nowText, diff);
        if (diff < time2remove) {
            Log::debug("Keep retry %1", retryText);
            kept.append(retry);
        } else {
            Log::debug("Remove retry %1", retryText);
        }
    }
    return kept;
}

} // namespace

bool RetryPolicy::addRetry(ApplicationRecord &record, int maxRetries, int time2remove, const QDateTime &now)
{
    Log::debug("Add retry to %1 with maxRetries=%2 and time2remove=%3", record.getName(), maxRetries, time2remove);
    if (maxRetries < 2) {
        clearRetries(record);
        const bool reboot = maxRetries == 1;
        Log::debug("maxRetries lt 2  %1", reboot ? "reboot activated" : "reboot not activated");
        return reboot;
    }
    QList<QDateTime> retries = record.getRestartTimes();
    if (time2remove < 1) {
        Log::debug("no time to remove");
    } else {
        retries = recentOnes(retries, time2remove, now);
    }
    Log::debug("Add now retry %1", [&now] { return now.toString(); });
    retries.append(now);
    record.setRestartTimes(retries);
    const bool reboot = retries.size() >= maxRetries;
    Log::debug("Retries size %1 %2", retries.size(), reboot ? "reboot" : "no reboot");
    return reboot;
}

void RetryPolicy::clearRetries(ApplicationRecord &record)
{
    Log::debug("Clear retries");
    record.setRestartTimes({});
}
