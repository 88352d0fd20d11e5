#ifndef RECENT_LINES_H
#define RECENT_LINES_H

#include <QByteArrayList>

/// The last 50 lines that were logged at the level that is set, oldest first, as in a log file but without their line
/// feeds. Long ones are cut.
[[nodiscard]] QByteArrayList recentLogLines();

/// Remembers one. May be called from any thread.
void rememberLogLine(int level, const QString &text);

#endif
