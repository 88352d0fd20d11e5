#ifndef CRASH_POLICY_H
#define CRASH_POLICY_H

#include "module/LogArchive.h"
#include "system/ForkedTask.h"

#include <QString>

class ModuleOrders;
class RebootRequest;
class SupervisionObserver;
class SupervisionState;

/**
 * What the terminal does when a module crashes outside a stop: it reboots. The two modules that own the screen leave a
 * picture on it; for the others the logs are archived first. "Platform" cannot be asked for the reboot when it is the
 * one that crashed, so the reboot command is run.
 *
 * The reboot is decided at once: what crashes after it is only logged. The commands run in child processes, and the
 * event loop goes on.
 */
class CrashPolicy
{
public:
    /// The rows of the policy, apart from their execution.
    struct Reaction
    {
        bool archiveLogs = true;
        bool rebootByPlatform = true;
        bool stopWebClient = false;
        /// The picture's path on the terminal; empty: none.
        QString image;
    };
    [[nodiscard]] static Reaction reactionTo(const QString &moduleName);

    struct Crash
    {
        QString module;
        int signal = 0;
        bool stopTimedOut = false; ///< the signal was ours
    };

    CrashPolicy(SupervisionState &state, SupervisionObserver &observer, ModuleOrders &orders, RebootRequest &reboot);

    /// Logs the crash, and has it written down before the terminal reboots.
    void note(const Crash &crash);
    /// Carries the reaction out.
    void apply(const QString &moduleName);
    /// Before a new start: a reboot that still waits for the archive is requested now.
    void release() { m_archive.release(); }
    /// The daemon ends: so is the archive.
    void end() { m_archive.cutOff(); }

private:
    void requestReboot(const QString &moduleName, bool byPlatform);
    void rebootLocally();

    SupervisionState &m_state;
    SupervisionObserver &m_observer;
    ModuleOrders &m_orders;
    RebootRequest &m_reboot;
    LogArchive m_archive;
    ForkedTask m_picture{"am-picture", ForkedTask::Streams::Kept};
    ForkedTask m_localReboot{"am-reboot", ForkedTask::Streams::Kept};
};

#endif
