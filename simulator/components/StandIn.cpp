#include "components/StandIn.h"

bool StandIn::init()
{
    return subscribeEvent(QStringLiteral("stop_module_") + getModuleName(), this, SLOT(stopRequested()));
}

bool StandIn::init_step()
{
    return notifyEvent(QStringLiteral("end_of_init_") + getModuleName());
}
