#ifndef MODULE_STATE_H
#define MODULE_STATE_H

#include <QString>

/// The state texts of a module, as its record holds them and the bus hands them out. Module.h has the table of
/// transitions.
namespace ModuleState {

inline const QString Stopped = QStringLiteral("STOPPED");
inline const QString Starting = QStringLiteral("STARTING");
inline const QString WebClientStarted = QStringLiteral("WEB_CLIENT_STARTED");
inline const QString Running = QStringLiteral("RUNNING");
inline const QString Stopping = QStringLiteral("STOPPING");

} // namespace ModuleState

#endif
