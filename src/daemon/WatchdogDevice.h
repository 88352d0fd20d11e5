#ifndef WATCHDOG_DEVICE_H
#define WATCHDOG_DEVICE_H

#include "system/Descriptor.h"

#include <QString>

/**
 * A watchdog of the kernel, such as /dev/watchdog: it resets the terminal if it is not fed in time. To open it arms it.
 * It stays armed when the process ends without disarm(), however it ends.
 */
class WatchdogDevice
{
public:
    static constexpr int timeOut = 30; ///< in seconds; longer than a remote call can block

    /// ioctl(2) for WDIOC_SETTIMEOUT and WDIOC_GETTIMEOUT; a test has no such device.
    using Control = int (*)(int device, unsigned long request, int *seconds);
    static int realControl(int device, unsigned long request, int *seconds);

    /// A device that cannot be opened, or refuses the time-out, is logged and not armed.
    explicit WatchdogDevice(const QString &path, Control control = &WatchdogDevice::realControl);

    [[nodiscard]] bool isArmed() const { return m_device.isOpen(); }
    void feed() { write('\0'); }
    void disarm();

private:
    void write(char character);

    Descriptor m_device;
};

#endif
