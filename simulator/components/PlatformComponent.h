#ifndef PLATFORM_COMPONENT_H
#define PLATFORM_COMPONENT_H

#include "components/StandIn.h"

/**
 * Stands in for the component "Platform", which everybody asks when the terminal is to be rebooted. Off the terminal
 * there is nothing to reboot: it tells the simulator, which takes the simulated terminal down and boots it again.
 */
class PlatformComponent : public StandIn
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.JovInterface")

public:
    PlatformComponent();

public Q_SLOTS:
    Q_SCRIPTABLE void reboot(int kind, bool force, const QString &owner, const QString &reason);
};

#endif
