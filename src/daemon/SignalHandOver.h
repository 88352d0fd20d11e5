#ifndef SIGNAL_HAND_OVER_H
#define SIGNAL_HAND_OVER_H

#include <QObject>

/**
 * Brings `SIGHUP` (restart everything) and `SIGTERM` (stop and end) into the event loop. In the foreground Ctrl-C
 * counts as `SIGTERM`.
 *
 * One signal is taken in the life of the process; every later one only gets its line on standard output. That is
 * decided in the handler, which also sets the stop flag for a `SIGTERM`, so that a start that is under way ends at its
 * next boundary even when the loop is busy. The work itself is done by the loop, which watches the descriptor that the
 * handler writes.
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
    void taken();

    int m_readEnd = -1;
};

#endif
