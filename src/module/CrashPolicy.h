#ifndef CRASH_POLICY_H
#define CRASH_POLICY_H

#include "module/ModuleContext.h"

#include <QString>

/**
 * What the terminal does when a module crashes outside a stop: it reboots. The two modules that own the screen leave a
 * picture on it; for the others the logs are archived first. "Platform" cannot be asked for the reboot when it is the
 * one that crashed, so the reboot command is run.
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

    explicit CrashPolicy(const ModuleContext &context)
        : m_context(context)
    { }

    /// Carries the reaction out. Its shell commands block the event loop; their results do not matter any more.
    void apply(const QString &moduleName);

private:
    void requestPlatformReboot(const QString &reason);
    void rebootPlatformLocally();

    const ModuleContext m_context;
};

#endif
