#ifndef ANNOUNCEMENT_H
#define ANNOUNCEMENT_H

#include <QString>
#include <QStringList>

/**
 * What the stand-ins were asked for, told to the simulator: a line per request in one file of the simulated terminal,
 * its words separated by tabs: the time in ms since 1970, the name of who was asked, what was asked. The scripts that
 * stand in for `reboot` and `jpg2fb` write into the same file, so that requests are seen in their order.
 */
namespace Announcement {

/// The file inside a terminal's root.
inline const QString file = QStringLiteral("/run/simulator/requests");

/// Appends a line with the time and these words; false when the file cannot be written.
bool announce(const QStringList &words);

} // namespace Announcement

#endif
