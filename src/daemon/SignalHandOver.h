#ifndef SIGNAL_HAND_OVER_H
#define SIGNAL_HAND_OVER_H

#include "system/SignalBridge.h"

#include <QObject>

/**
 * Brings `SIGHUP` (restart everything) and `SIGTERM` (stop and end) into the event loop. In the foreground Ctrl-C is
 * treated as `SIGTERM`.
 *
 * The process handles one signal in its life; for every later one it only prints a line on standard output. The handler
 * decides that, and sets the stop flag for a `SIGTERM`, so that a start in progress ends at its next boundary even when
 * the loop is busy.
 *
 * One object, made after the application object; it is never uninstalled.
 */
class SignalHandOver : public QObject
{
    Q_OBJECT

public:
    explicit SignalHandOver(bool foreground);

Q_SIGNALS:
    void hangup();
    void terminate();

private:
    SignalBridge m_bridge;
};

#endif
