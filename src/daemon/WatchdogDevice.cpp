#include "daemon/WatchdogDevice.h"

#include <jov/Log.h>

#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <linux/watchdog.h>
#include <sys/ioctl.h>
#include <unistd.h>

int WatchdogDevice::realControl(int device, unsigned long request, int *seconds)
{
    return ioctl(device, request, seconds);
}

WatchdogDevice::WatchdogDevice(const QString &path, Control control)
    : m_device(open(QFile::encodeName(path).constData(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC))
{
    if (!m_device.isOpen()) {
        Log::error("watchdog device %1 cannot be opened: %2", path, qt_error_string(errno));
        return;
    }
    int seconds = timeOut;
    const bool isSet = control(m_device.number(), WDIOC_SETTIMEOUT, &seconds) == 0
        && control(m_device.number(), WDIOC_GETTIMEOUT, &seconds) == 0 && seconds >= timeOut;
    if (!isSet) {
        Log::error("watchdog device %1 refuses a time-out of %2 s: not armed", path, timeOut);
        disarm();
    }
}

void WatchdogDevice::disarm()
{
    if (isArmed()) {
        write('V');
        m_device.reset();
    }
}

void WatchdogDevice::write(char character)
{
    // A device that cannot be fed acts: there is nothing else to do.
    const ssize_t written = ::write(m_device.number(), &character, 1);
    static_cast<void>(written);
}
