#ifndef NO_SUPERVISOR_H
#define NO_SUPERVISOR_H

#include "supervision/SupervisionObserver.h"
#include "supervision/Supervisor.h"
#include "supervision/WaitLoop.h"

/// Stands behind a chain of steps that is only looked at: nothing starts, nothing is sent, and every answer says no.
class NoSupervisor : public Supervisor
{
public:
    [[nodiscard]] bool startFailed() const override { return true; }
    [[nodiscard]] bool initInProgress() const override { return false; }
    void rebootRequested() override { }
    [[nodiscard]] bool debugMode() const override { return false; }
    [[nodiscard]] const ModuleLimits &moduleLimits() const override { return m_limits; }
    [[nodiscard]] bool startsRefused() const override { return true; }
    [[nodiscard]] quint64 stopGeneration() const override { return 0; }
    [[nodiscard]] WaitLoop &waits() override { return m_waits; }
    bool subscribeEvent(const QString &, QObject *, const char *) override { return false; }
    bool unsubscribeEvent(const QString &, QObject *, const char *) override { return false; }
    bool notifyEvent(const QString &, const QVariantMap &) override { return false; }
    [[nodiscard]] QDBusMessage syncRemoteCall(const QString &, const QString &, const QVariantList &) override
    {
        return QDBusMessage();
    }
    bool asyncRemoteCall(const QString &, const QString &, const QVariantList &) override { return false; }
    [[nodiscard]] QMap<QString, QString> getParameters() const override { return {}; }
    int startAll() override { return 0; }
    bool stopModule(const QString &) override { return false; }
    bool stopModuleAlone(const QString &) override { return false; }
    void stopManager() override { }
    void homepageStarting() override { }
    void endOfInit() override { }
    [[nodiscard]] SupervisionObserver &observer() override { return m_observer; }

private:
    const ModuleLimits m_limits{};
    WaitLoop m_waits;
    SupervisionObserver m_observer;
};

#endif
