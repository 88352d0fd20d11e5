#include "components/PlatformComponent.h"

#include "components/Announcement.h"

#include <jov/Log.h>

PlatformComponent::PlatformComponent()
    : StandIn(QStringLiteral("Platform"))
{ }

void PlatformComponent::reboot(int kind, bool force, const QString &owner, const QString &reason)
{
    const QStringList words = {QStringLiteral("Platform"), QString::number(kind),
                               force ? QStringLiteral("true") : QStringLiteral("false"), owner, reason};
    if (!Announcement::announce(words)) {
        Log::error("Platform: the reboot that %1 asks for (%2) cannot be told to the simulator", owner, reason);
    }
}
