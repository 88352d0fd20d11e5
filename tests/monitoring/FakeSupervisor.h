#ifndef FAKE_SUPERVISOR_H
#define FAKE_SUPERVISOR_H

#include "Supervisor.h"
#include "WaitLoop.h"

#include <QStringList>

#include <functional>

/// Writes down what the watchdog asks for, and answers a request to reboot, a stop and a start as the test says.
class FakeSupervisor : public Supervisor
{
public:
    QStringList calls;
    std::function<QDBusMessage()> answer = [] { return QDBusMessage(); };
    std::function<void()> onStop = [] {};
    std::function<void()> onStart = [] {};

    QDBusMessage syncRemoteCall(const QString &component, const QString &method, const QVariantList &arguments) override
    {
        QString call = component + QLatin1Char('.') + method;
        for (const QVariant &argument : arguments) {
            call += QLatin1Char(',') + argument.toString();
        }
        calls.append(call);
        return answer();
    }
    int startAll() override
    {
        calls.append(QStringLiteral("startAll"));
        onStart();
        return 0;
    }
    bool stopModuleAlone(const QString &moduleName) override
    {
        calls.append(QStringLiteral("stop ") + moduleName);
        onStop();
        return true;
    }

    // Not the watchdog's.
    bool startFailed() const override { return false; }
    bool initInProgress() const override { return false; }
    void rebootRequested() override { }
    bool debugMode() const override { return false; }
    const ModuleLimits &moduleLimits() const override { return m_limits; }
    bool startsRefused() const override { return false; }
    quint64 stopGeneration() const override { return 0; }
    WaitLoop &waits() override { return m_waits; }
    bool subscribeEvent(const QString &, QObject *, const char *) override { return true; }
    bool unsubscribeEvent(const QString &, QObject *, const char *) override { return true; }
    bool notifyEvent(const QString &, const QVariantMap &) override { return true; }
    bool asyncRemoteCall(const QString &, const QString &, const QVariantList &) override { return true; }
    QMap<QString, QString> getParameters() const override { return {}; }
    bool stopModule(const QString &) override { return true; }
    void stopManager() override { }
    void endOfInit() override { }
    void moduleStateChanged(const QString &, const QString &, const QString &) override { }
    void moduleLaunched(const QString &, qint64) override { }
    void moduleExited(const QString &, int) override { }
    void stepStarted(const QString &, int) override { }
    void stepDone(const QString &, int) override { }

private:
    ModuleLimits m_limits;
    WaitLoop m_waits;
};

#endif
