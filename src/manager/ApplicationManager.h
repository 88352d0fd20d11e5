#ifndef APPLICATION_MANAGER_H
#define APPLICATION_MANAGER_H

#include "history/BlackBox.h"
#include "initstep/LaunchAhead.h"
#include "manager/ComponentBus.h"
#include "manager/ControlOperations.h"
#include "manager/EndOfInit.h"
#include "manager/Inventory.h"
#include "manager/Journal.h"
#include "manager/MandatorySettings.h"
#include "manager/ParentReport.h"
#include "manager/RestartControl.h"
#include "manager/SettingsAccess.h"
#include "manager/StartupProgression.h"
#include "module/CrashPolicy.h"
#include "module/OutputFiles.h"
#include "monitoring/MemoryWatchdog.h"
#include "monitoring/ProcReader.h"
#include "supervision/RebootRequest.h"
#include "supervision/SupervisionState.h"

#include <jov/JovModule.h>
#include <jov/Setting.h>

#include <QElapsedTimer>

/**
 * The one component of the daemon, and the facade of its parts: it owns them, drives them through the life of the
 * component, and answers to the operation names of the bus by handing each to the part that does the work. No part
 * knows it: what two of them order of it is in their own interfaces.
 */
class ApplicationManager : public JovModule, private ModuleOrders, private RestartSteps
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.JovInterface")

public:
    explicit ApplicationManager(const ManagerTiming &timing);
    ~ApplicationManager() override;

    void setOwnStreams(OwnStreams ownStreams) { m_state.setOwnStreams(ownStreams); }
    /// `parent` is the process that waits for the report of the start-up; 0 outside daemon mode.
    void setParent(pid_t parent) { m_parentReport.setParent(parent); }

    /// The terminal is about to reboot.
    [[nodiscard]] bool isRebootRequested() const { return m_state.isRebootRequested(); }

    // The platform's operations.
    bool check() override;
    bool deploy() override;
    bool init() override;
    bool init_step() override;
    bool stop() override;

public Q_SLOTS:
    int getStepInfra();
    ListApplicationConfig getApplicationsForSettingsDeployment();
    void pltfLockReboot(const JovEvent &event);
    void pltfUnlockReboot(const JovEvent &event);
    void restart();
    void stopManager() override;
    int startAll();
    int stopAll();
    void restartApp();
    void restartPresentation();
    bool startModule(const QString &moduleName);
    bool stopModule(const QString &moduleName) override;
    void restartModule(const QString &moduleName);
    void restartModule(const QStringList &moduleList);
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

Q_SIGNALS:
    /// At a restart, which reads platform.ini.
    void parametersRead();

private:
    // RestartSteps.
    void stopEverything() override { stopAll(); }
    void clearAllLists() override;
    void beginStart() override;
    [[nodiscard]] bool buildAll() override;
    void startEverything() override { startAll(); }
    void resumeProgression() override { m_progression.resumeAfterRestart(); }
    void endDaemon() override;
    void noteEnds();
    void noteFailedInit();

    // A part is built from those above it, and destroyed before them.
    SupervisionState m_state;
    ComponentBus m_bus;
    RebootRequest m_reboot;
    Journal m_journal;
    CrashPolicy m_crashes;
    BlackBox m_blackBox;
    OutputFiles m_outputFiles;
    ParentReport m_parentReport;
    ProcReader m_procReader;
    Inventory m_inventory;
    LaunchAhead m_launchAhead;
    ControlOperations m_control;
    MemoryWatchdog m_watchdog;
    SettingsAccess m_settings;
    EndOfInit m_endOfInit;
    const StartContext m_startContext;
    MandatorySettings m_mandatorySettings;
    StartupProgression m_progression;
    RestartControl m_restarts;
    ApplicationRecord m_ownRecord;
    QElapsedTimer m_timer;
    bool m_initialised = false; ///< init() has succeeded
};

#endif
