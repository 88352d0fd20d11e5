#ifndef WAIT_NOTICE_H
#define WAIT_NOTICE_H

#include <QElapsedTimer>
#include <QString>

class BusClient;

/// Tells on standard error what a long operation of the daemon waits for: from its first second on, each time it
/// changes.
class WaitNotice
{
public:
    static constexpr int interval = 1000; ///< milliseconds

    explicit WaitNotice(const BusClient &client);

    /// Looks, when it is time to. A daemon that does not answer is passed over: the operation's own failure will tell.
    void tick();

private:
    const BusClient &m_client;
    QElapsedTimer m_sinceLook;
    QString m_lastText;
};

#endif
