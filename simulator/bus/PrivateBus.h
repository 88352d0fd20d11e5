#ifndef PRIVATE_BUS_H
#define PRIVATE_BUS_H

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

/**
 * The configuration of a dbus-daemon that listens at `address`: a system bus with its limits, on which everybody may do
 * and hear everything. Only the number of connections is higher, since a terminal's modules all connect as one user.
 */
[[nodiscard]] QByteArray privateBusConfiguration(const QString &address);

/**
 * A dbus-daemon of one's own, for tests and benchmarks. DBUS_SYSTEM_BUS_ADDRESS names it while the object lives. stop()
 * and start() let a test lose the bus and get it back at the same address.
 */
class PrivateBus
{
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;

    void start();
    void stop();
    [[nodiscard]] QString address() const;
    [[nodiscard]] qint64 processId() const { return m_daemon.processId(); }

private:
    [[nodiscard]] QString configurationFile() const;

    QTemporaryDir m_directory;
    QProcess m_daemon;
};

#endif
