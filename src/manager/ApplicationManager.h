#ifndef APPLICATION_MANAGER_H
#define APPLICATION_MANAGER_H

#include "catalogue/Catalogue.h"
#include "initstep/InitStepChain.h"
#include "manager/Journal.h"
#include "manager/ManagerTiming.h"
#include "manager/MandatorySettings.h"
#include "manager/ParentReport.h"
#include "manager/RestartControl.h"
#include "manager/SettingsAccess.h"
#include "manager/StartupProgression.h"
#include "manager/SupervisingComponent.h"
#include "monitoring/MemoryWatchdog.h"
#include "monitoring/ProcReader.h"
#include "supervision/WaitLoop.h"

#include <jov/Setting.h>

#include <QElapsedTimer>

#include <memory>

class ApplicationManagerAdaptor;

/**
 * The one component of the daemon, and the facade of its parts: it owns them, holds the flags that they share, and
 * answers to the operation names of the bus, handing each to the part that does the work.
 *
 * The stop flag (startFailed()) is set by everything that ends or interrupts a start: stopAll(), stopManager(), stop(),
 * a reboot request, failed mandatory settings, and a `SIGTERM` from the moment its handler ran. Only a restart clears
 * it, and nothing does any more once the daemon is ending.
 */
class ApplicationManager : public SupervisingComponent
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.JovInterface")

public:
    using Timing = ManagerTiming;

    explicit ApplicationManager(const Timing &timing);
    ~ApplicationManager() override;

    /// The manager of the process, made at the first call. For the entry, the signal hand-over and the outermost
    /// callers.
    static ApplicationManager &instance();
    /// Makes it with durations of the caller's; before the first instance().
    static void create(const Timing &timing);
    static void destroy();

    /// A `SIGTERM` was taken. Async-signal-safe: it sets the stop flag and no more.
    static void noteTermination() noexcept;

    void setDebugMode(bool debugMode) { m_debugMode = debugMode; }
    /// `parent` is the process that waits for the report of the start-up; 0 outside daemon mode.
    void setParent(pid_t parent) { m_parentReport.setParent(parent); }

    // What the parts reach through the manager.
    [[nodiscard]] Catalogue &catalogue() { return m_catalogue; }
    [[nodiscard]] InitStepChain &steps() { return m_steps; }
    [[nodiscard]] Journal &journal() { return m_journal; }
    [[nodiscard]] MandatorySettings &mandatorySettings() { return m_mandatorySettings; }
    [[nodiscard]] bool restartPending() const { return m_restarts.isPending(); }
    [[nodiscard]] int currentStep() const { return m_progression.currentStep(); }
    void init_message(const QString &message);
    void failStart() { m_startFailed = true; }
    void beginStart();
    void resumeProgression();
    void killFather() { m_parentReport.send(startFailed()); }
    [[nodiscard]] bool buildAll();
    void clearAllLists();
    [[nodiscard]] InitStep *getInitStepOfModule(const QString &name);

    // The platform's operations.
    bool check() override;
    bool deploy() override;
    bool init() override;
    bool init_step() override;
    bool stop() override;

    // Supervisor.
    [[nodiscard]] bool startFailed() const override;
    [[nodiscard]] bool initInProgress() const override { return m_initInProgress; }
    void rebootRequested() override;
    [[nodiscard]] bool debugMode() const override { return m_debugMode; }
    [[nodiscard]] const ModuleLimits &moduleLimits() const override { return m_timing.module; }
    [[nodiscard]] bool startsRefused() const override;
    [[nodiscard]] quint64 stopGeneration() const override { return m_stopGeneration; }
    [[nodiscard]] WaitLoop &waits() override { return m_waits; }
    bool stopModuleAlone(const QString &moduleName) override;
    void homepageStarting() override;
    void endOfInit() override;
    [[nodiscard]] SupervisionObserver &observer() override { return m_journal; }

public Q_SLOTS:
    void slot_init_step(int stepNum);
    int getStepInfra();
    void checkMandatorySettingsSuccess(const JovEvent &event);
    ListApplicationConfig getApplicationsForSettingsDeployment();
    void pltfLockReboot(const JovEvent &event);
    void pltfUnlockReboot(const JovEvent &event);
    void restart();
    void stopManager() override;
    int startAll() override;
    int stopAll();
    void restartApp();
    void _restartAll();
    void restartPresentation();
    bool startModule(const QString &moduleName);
    bool stopModule(const QString &moduleName) override;
    void restartModule(const QString &moduleName);
    void restartModule(const QStringList &moduleList);
    void remoteDisplayPresentationready(const JovEvent &event);
    void setAdminPasswd(const QString &cmdLine);
    ListApplicationConfig getModulesList();
    QString getModulesListInString();
    ListApplicationConfig getApplicationsList();
    QString getApplicationsListInString();
    int getMemoryUsage(const QString &moduleName, const QString &file = QStringLiteral("smaps"),
                       const QString &memmory = QStringLiteral("Rss"));
    int getFreeMemory();
    int getTotalMemory();
    double getCpuUsage(const QString &moduleName);
    bool enoughMemory();
    ListSetting monitoringSettingsChanged(const Setting &setting);
    void startMonitoring();
    void stopMonitoring();
    void checkMemory();
    void restartOutOfMemoryModules();
    void getMonitoringSettings();

private:
    [[nodiscard]] bool isEnding() const;

    const Timing m_timing;
    WaitLoop m_waits;
    Journal m_journal;
    Catalogue m_catalogue;
    InitStepChain m_steps;
    ProcReader m_procReader;
    MemoryWatchdog m_watchdog;
    SettingsAccess m_settings;
    RestartControl m_restarts;
    MandatorySettings m_mandatorySettings;
    StartupProgression m_progression;
    ParentReport m_parentReport;
    ApplicationRecord m_ownRecord;
    ApplicationManagerAdaptor *m_adaptor = nullptr; ///< a Qt child
    QElapsedTimer m_timer;
    QString m_ddrSize = QStringLiteral("256MB"); ///< the terminal's memory size, compared as text
    quint64 m_stopGeneration = 0;
    int m_stopWalks = 0; ///< stops of everything that are on the stack
    bool m_debugMode = false;
    bool m_startFailed = false;
    bool m_initInProgress = false;
    bool m_initialised = false; ///< init() has succeeded
    bool m_remoteDisplayArmed = false; ///< nothing sets it: a remote display's readiness only ends its subscription
};

#endif
