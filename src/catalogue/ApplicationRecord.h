#ifndef APPLICATION_RECORD_H
#define APPLICATION_RECORD_H

#include "contract/MemoryCeiling.h"
#include "contract/ModuleState.h"

#include <jov/ApplicationConfig.h>

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

/**
 * One installed application: what travels on the bus (ApplicationConfig), and what the supervisor alone needs to start
 * and watch it. The copy that is handed out is the ApplicationConfig part; nothing added here leaves the process.
 *
 * The Catalogue owns every record. Nodes, modules and the watchdog hold plain pointers, which end with the next
 * Catalogue::clearApplications().
 */
class ApplicationRecord : public ApplicationConfig
{
public:
    /// Printed, never assigned by the supervisor.
    [[nodiscard]] QString getOv() const { return m_ov; }
    [[nodiscard]] QString getOr() const { return m_or; }

    /// Handed to the process, in this order.
    [[nodiscard]] QStringList getExtraArgs() const { return m_extraArgs; }
    void setExtraArgs(const QStringList &extraArgs) { m_extraArgs = extraArgs; }

    /// The applications that start before this one.
    [[nodiscard]] QStringList getDependencies() const { return m_dependencies; }
    void setDependencies(const QStringList &dependencies) { m_dependencies = dependencies; }

    /// Present when it may be launched before its step begins.
    struct Early
    {
        QStringList after; ///< the modules that must run first
    };
    [[nodiscard]] std::optional<Early> getEarly() const { return m_early; }
    void setEarly(const std::optional<Early> &early) { m_early = early; }

    /// The name of the step in which it starts.
    [[nodiscard]] QString getInitStep() const { return m_initStep; }
    void setInitStep(const QString &initStep) { m_initStep = initStep; }

    [[nodiscard]] bool getNeedUpgrade() const { return m_needUpgrade; }
    void setNeedUpgrade(bool needUpgrade) { m_needUpgrade = needUpgrade; }

    [[nodiscard]] MemoryCeiling getMaxMemory() const { return m_maxMemory; }
    void setMaxMemory(MemoryCeiling maxMemory) { m_maxMemory = maxMemory; }

    /// The state, whose text is what travels.
    [[nodiscard]] ModuleState getModuleState() const { return m_moduleState; }
    void setModuleState(ModuleState state);

    /// In decimal; empty when it does not run.
    [[nodiscard]] QString processId() const;

    /// When the watchdog restarted it, oldest first.
    [[nodiscard]] QList<QDateTime> getRestartTimes() const { return m_restartTimes; }
    void setRestartTimes(const QList<QDateTime> &restartTimes) { m_restartTimes = restartTimes; }

    /// The text of the ApplicationConfig part, then " ov: or: need_upgrade: initStep: maxMemory: depend: extraArgs:".
    [[nodiscard]] QString toString() const;

private:
    QString m_ov;
    QString m_or;
    QStringList m_extraArgs;
    QStringList m_dependencies;
    std::optional<Early> m_early;
    QString m_initStep;
    bool m_needUpgrade = false;
    MemoryCeiling m_maxMemory;
    ModuleState m_moduleState = ModuleState::None;
    QList<QDateTime> m_restartTimes;
};

#endif
