#include "module/CrashPolicy.h"

#include "contract/Components.h"
#include "supervision/RebootRequest.h"
#include "supervision/SupervisionState.h"
#include "system/Descriptor.h"

#include <jov/JovProcess.h>
#include <jov/JovRoot.h>
#include <jov/Log.h>

#include <QElapsedTimer>
#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

const QString archive = QStringLiteral("/log/log.var.tar.gz");

/// tar keeps the permissions of an archive that exists; its own would let everybody read it.
void createForOwner(const QString &path)
{
    constexpr mode_t permissions = S_IRUSR | S_IWUSR;
    const Descriptor file(
        open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, permissions));
    struct stat status = {};
    if (file.isOpen() && fstat(file.number(), &status) == 0 && S_ISREG(status.st_mode)) {
        fchmod(file.number(), permissions);
    }
}

/// The event loop does not run meanwhile: the end of the daemon and a limit end it.
void archiveLogs(const SupervisionState &state)
{
    createForOwner(JovRoot::rooted(archive));
    const QString command = QStringLiteral("tar -czvf %1 %2")
                                .arg(JovRoot::shellRooted(archive), JovRoot::shellRooted(QStringLiteral("/var/log/*")));
    bool inTime = true;
    QElapsedTimer elapsed;
    elapsed.start();
    qor_system(command.toLocal8Bit(), [&] {
        inTime = !state.isEnding() && elapsed.elapsed() < state.limits().archive;
        return inTime;
    });
    if (!inTime) {
        Log::warning("%1 is incomplete: tar was killed after %2 ms", JovRoot::rooted(archive), elapsed.elapsed());
    }
}

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
