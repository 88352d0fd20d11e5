#ifndef WAIT_NOTICE_H
#define WAIT_NOTICE_H

#include <QElapsedTimer>
#include <QString>

class BusClient;

/// Prints on standard error which modules a long operation of the daemon is waiting for: after the first second, then
/// whenever they change.
class WaitNotice
{
public:
    static constexpr int interval = 1000; ///< milliseconds

    explicit WaitNotice(const BusClient &client);

    /// To be called often. Errors are ignored: the operation itself reports them.
    void tick();

private:
    const BusClient &m_client;
    QElapsedTimer m_sinceLook;
    QString m_lastText;
};

#endif
