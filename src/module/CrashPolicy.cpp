#include "module/CrashPolicy.h"

#include "contract/Components.h"
#include "module/LogArchive.h"
#include "supervision/RebootRequest.h"
#include "supervision/SupervisionState.h"

#include <jov/JovProcess.h>
#include <jov/JovRoot.h>
#include <jov/Log.h>

namespace {

void showImage(const QString &image)
{
    qor_system(QStringLiteral("jpg2fb -a -C %1").arg(JovRoot::shellRooted(image)).toLocal8Bit());
}

} // namespace

CrashPolicy::Reaction CrashPolicy::reactionTo(const QString &moduleName)
{
    if (moduleName == Components::gate) {
        return {false, true, true, QStringLiteral("/usr/bin/JovApplication/jovgate_module_crash.jpg")};
    }
    if (moduleName == Components::webClient) {
        return {false, true, false, QStringLiteral("/usr/bin/JovApplication/jovwebclient_module_crash.jpg")};
    }
    if (moduleName == Components::platform) {
        return {true, false, false, QString()};
    }
    return {};
}

void CrashPolicy::apply(const QString &moduleName)
{
    const Reaction reaction = reactionTo(moduleName);
    if (reaction.archiveLogs) {
        archiveLogs(m_context.state);
    }
    if (reaction.rebootByPlatform) {
        requestPlatformReboot(QStringLiteral("%1 crashed").arg(moduleName));
    } else {
        rebootPlatformLocally();
    }
    if (reaction.stopWebClient) {
        m_context.orders.stopModule(Components::webClient);
    }
    if (!reaction.image.isEmpty()) {
        showImage(reaction.image);
    }
}

void CrashPolicy::requestPlatformReboot(const QString &reason)
{
    m_context.reboot.send(reason);
    m_context.state.rebootRequested();
}

void CrashPolicy::rebootPlatformLocally()
{
    Log::debug("Platform module crashed - Using System reboot");
    const QString command = JovRoot::shellRooted(QStringLiteral("/sbin/reboot"))
        + QStringLiteral(" --soft --owner ApplicationManager --reason 'Platform crashed'");
    qor_system(command.toLocal8Bit());
    m_context.state.rebootRequested();
}
