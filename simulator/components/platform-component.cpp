#include "components/Announcement.h"
#include "components/PlainCrash.h"
#include "contract/Components.h"

#include <jov/JovApplication.h>
#include <jov/SupervisedModule.h>

/**
 * The component "Platform", which is asked to reboot the terminal. This one asks the simulator, which stops the
 * simulated terminal and boots it again.
 */
class PlatformComponent : public SupervisedModule
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.JovInterface")

public:
    PlatformComponent()
        : SupervisedModule(Components::platform)
    { }

public Q_SLOTS:
    Q_SCRIPTABLE void reboot(int, bool, const QString &owner, const QString &reason)
    {
        sendSignal(Announcement::path, Announcement::interface, Announcement::rebootRequested,
                   {getModuleName(), QStringLiteral("reboot requested by %1: %2").arg(owner, reason)});
    }
};

int main(int argc, char **argv)
{
    crashPlainly();
    JovApplication application(argc, argv);
    PlatformComponent component;
    return application.exec();
}

#include "platform-component.moc"
