#ifndef PRIVATE_BUS_H
#define PRIVATE_BUS_H

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

/**
 * The configuration of a dbus-daemon that listens at `address`: a system bus on which everybody may send and receive
 * everything. The limit of connections is higher, because all modules of a terminal connect as one user.
 */
[[nodiscard]] QByteArray privateBusConfiguration(const QString &address);

/**
 * A private dbus-daemon, for tests and benchmarks. DBUS_SYSTEM_BUS_ADDRESS has its address while the object lives.
 * After stop(), start() starts it again at the same address.
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
