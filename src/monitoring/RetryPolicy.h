#ifndef RETRY_POLICY_H
#define RETRY_POLICY_H

#include <QDateTime>

class ApplicationRecord;

/// Decides when an application has been restarted so often that a reboot is due. The history is the record's
/// restartTimes.
namespace RetryPolicy {

/**
 * Notes a restart at `now` and says whether a reboot is due: with the `maxRetries`th restart within `time2remove`
 * seconds.
 *
 * `maxRetries` 1 means at the first restart, 0 or less never; neither keeps a history. With a `time2remove` below 1 no
 * restart is ever forgotten.
 */
[[nodiscard]] bool addRetry(ApplicationRecord &record, int maxRetries, int time2remove,
                            const QDateTime &now = QDateTime::currentDateTime());

void clearRetries(ApplicationRecord &record);

} // namespace RetryPolicy

#endif
