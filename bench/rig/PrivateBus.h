#ifndef PRIVATE_BUS_H
#define PRIVATE_BUS_H

#include <QProcess>
#include <QTemporaryDir>

/**
 * A dbus-daemon of one's own, with the system bus's rules but for the number of connections, and in the environment as
 * the system bus of whatever is started. Ends with the object; every module on it ends then too.
 */
class PrivateBus
{
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;

    [[nodiscard]] QString address() const { return m_address; }

private:
    QTemporaryDir m_directory;
    QString m_address;
    QProcess m_daemon;
};

#endif
