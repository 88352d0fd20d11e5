#include "module/CrashPolicy.h"

#include "contract/Components.h"
#include "contract/ExitText.h"
#include "contract/HistoryNames.h"
#include "module/ModuleContext.h"
#include "supervision/RebootRequest.h"
#include "supervision/SupervisionObserver.h"
#include "supervision/SupervisionState.h"

#include <jov/JovProcess.h>
#include <jov/JovRoot.h>
#include <jov/Log.h>

#include <QFile>

#include <cerrno>

namespace {

constexpr int outputLines = 10; // of what a module has printed, in the record of its crash

/// Its result does not matter: nothing else could be done.
void runShell(ForkedTask &task, const QString &command)
{
    const QByteArray line = command.toLocal8Bit();
    const bool isStarted = task.start([&line](int /*output*/) {
        qor_system(line);
        return 0;
    });
    if (!isStarted) {
        Log::warning("%1 cannot be run: %2", command, qt_error_string(errno));
    }
}

} // namespace

CrashPolicy::CrashPolicy(SupervisionState &state, SupervisionObserver &observer, ModuleOrders &orders,
                         RebootRequest &reboot)
    : m_state(state)
    , m_observer(observer)
    , m_orders(orders)
    , m_reboot(reboot)
    , m_archive(state)
{ }

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

void CrashPolicy::note(const Crash &crash)
{
    QVariantMap reason{
        {History::Key::cause, QString(crash.stopTimedOut ? History::Cause::stopTimeout : History::Cause::crash)},
        {History::Key::module, crash.module},
        {History::Key::signal, crash.signal}};
    const QStringList lines = m_state.parameters().moduleOutput.lastLines(crash.module, outputLines);
    if (!lines.isEmpty()) {
        reason.insert(History::Key::output, lines);
    }
    const QString core = JovRoot::rooted(QStringLiteral("/data/core/core.%1").arg(crash.module));
    if (QFile::exists(core)) {
        Log::emergency("%1 was killed by %2, core file %3", crash.module, signalName(crash.signal), core);
        reason.insert(History::Key::core, core);
    } else {
        Log::emergency("%1 was killed by %2, without a core file", crash.module, signalName(crash.signal));
    }
    m_observer.noteReboot(reason);
}

void CrashPolicy::apply(const QString &moduleName)
{
    const Reaction reaction = reactionTo(moduleName);
    const auto reboot = [this, moduleName, byPlatform = reaction.rebootByPlatform] {
        requestReboot(moduleName, byPlatform);
    };
    if (reaction.archiveLogs) {
        m_archive.make(reboot);
    } else {
        reboot();
    }
    m_state.rebootRequested();
    if (reaction.stopWebClient) {
        m_orders.stopModule(Components::webClient);
    }
    if (!reaction.image.isEmpty()) {
        runShell(m_picture, QStringLiteral("jpg2fb -a -C %1").arg(JovRoot::shellRooted(reaction.image)));
    }
}

void CrashPolicy::requestReboot(const QString &moduleName, bool byPlatform)
{
    if (byPlatform) {
        m_reboot.send(QStringLiteral("%1 crashed").arg(moduleName));
    } else {
        rebootLocally();
    }
}

void CrashPolicy::rebootLocally()
{
    Log::debug("Platform module crashed - Using System reboot");
    runShell(m_localReboot,
             JovRoot::shellRooted(QStringLiteral("/sbin/reboot"))
                 + QStringLiteral(" --soft --owner ApplicationManager --reason 'Platform crashed'"));
}
