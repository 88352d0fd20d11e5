#ifndef PRIVATE_BUS_H
#define PRIVATE_BUS_H

#include "Text.h"

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

/**
 * A dbus-daemon of the test's own, with the limits of a system bus. DBUS_SYSTEM_BUS_ADDRESS names it while the object
 * lives. stop() and start() let a test lose the bus and get it back at the same address.
 */
class PrivateBus
{
public:
    PrivateBus();
    ~PrivateBus();

    void start();
    void stop();
    [[nodiscard]] QString address() const;

private:
    QTemporaryDir m_directory;
    QProcess m_daemon;
};

#endif
