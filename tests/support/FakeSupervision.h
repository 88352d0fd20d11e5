#ifndef FAKE_SUPERVISION_H
#define FAKE_SUPERVISION_H

#include "catalogue/Catalogue.h"
#include "initstep/InitStepChain.h"
#include "initstep/LaunchAhead.h"
#include "module/CrashPolicy.h"
#include "monitoring/MemoryWatchdog.h"
#include "supervision/BusAccess.h"
#include "supervision/RebootRequest.h"
#include "supervision/SupervisionObserver.h"
#include "supervision/SupervisionState.h"
#include "support/Text.h"

#include <QStringList>
#include <QTimer>

#include <functional>
#include <utility>

/// Writes down what is sent and subscribed to, and answers a remote call as the test says.
class FakeBus : public BusAccess
{
public:
    QStringList calls;
    QStringList events; ///< "NAME" or "NAME VALUE" of the first argument
    QStringList subscriptions;
    std::function<JovReply()> answer = [] { return JovReply("org.freedesktop.DBus.Error.NoReply"_s, QString()); };
    std::function<void(const QString &)> onEvent = [](const QString &) {};

    bool subscribeEvent(const QString &name, QObject * /*receiver*/, const char * /*slot*/) override
    {
        subscriptions << name;
        return true;
    }
    bool unsubscribeEvent(const QString &name, QObject * /*receiver*/, const char * /*slot*/) override
    {
        return subscriptions.removeOne(name);
    }
    bool notifyEvent(const QString &name, const QVariantMap &arguments) override
    {
        events << (name + u' ' + (arguments.isEmpty() ? QString() : arguments.first().toString())).trimmed();
        onEvent(name);
        return true;
    }
    JovReply syncRemoteCall(const QString &component, const QString &method, const QVariantList &arguments) override
    {
        note(component, method, arguments);
        return answer();
    }
    bool asyncRemoteCall(const QString &component, const QString &method, const QVariantList &arguments,
                         const std::function<void(const JovReply &)> &reply) override
    {
        note(component, method, arguments);
        const JovReply result = answer();
        const bool isSent = result.errorName() != "no bus"_s;
        if (isSent) {
            QTimer::singleShot(0, [reply, result] { reply(result); });
        }
        return isSent;
    }
    [[nodiscard]] QMap<QString, QString> getParameters() const override { return {}; }

private:
    void note(const QString &component, const QString &method, const QVariantList &arguments)
    {
        calls << (QStringList(component + u'.' + method) + QVariant(arguments).toStringList()).join(u',');
    }
};

/// Writes down what is noted, but not the states.
class FakeObserver : public SupervisionObserver
{
public:
    QStringList notes;
    std::function<void()> inStep; ///< for the next one that starts

    void noteLaunch(const QString &module) override { notes << "launch "_s + module; }
    void noteExit(const QString &module, int code, bool bySignal) override
    {
        notes << "exit %1 %2 %3"_s.arg(module).arg(code).arg(bySignal);
    }
    void noteStepStarted(const QString &step) override
    {
        notes << "step "_s + step;
        if (const auto act = std::exchange(inStep, nullptr)) {
            act();
        }
    }
    void noteStepDone(const QString &step, int value) override { notes << "done %1 %2"_s.arg(step).arg(value); }
    void noteFailedStart(const QVariantMap &reason) override { note("failed"_s, reason); }
    void noteReboot(const QVariantMap &reason) override { note("reboot"_s, reason); }
    void noteEnding(const QVariantMap &reason) override { note("ending"_s, reason); }

private:
    void note(QString text, const QVariantMap &reason)
    {
        for (auto entry = reason.cbegin(); entry != reason.cend(); ++entry) {
            const QVariant &value = entry.value();
            const bool isList = value.type() == QVariant::StringList;
            text += u' ' + entry.key() + u'=' + (isList ? value.toStringList().join(u'|') : value.toString());
        }
        notes << text;
    }
};

/// Everything that surrounds a part of the supervisor. Orders are written down among the calls of the bus.
class FakeSupervision : public ModuleOrders, public RestartOrders, public HomePage
{
public:
    explicit FakeSupervision(const ModuleLimits &limits = ModuleLimits())
        : state(limits)
    { }

    SupervisionState state;
    FakeBus bus;
    FakeObserver observer;
    std::function<void()> onStop = [] {};
    std::function<void()> onStart = [] {};
    RebootRequest reboot{
        bus, state, {std::chrono::milliseconds(10), std::chrono::milliseconds(50), std::chrono::milliseconds(100)}};

    CrashPolicy crashes{state, observer, *this, reboot};

    [[nodiscard]] ModuleContext moduleContext() { return {state, bus, observer, *this, crashes}; }
    Catalogue catalogue;
    InitStepChain steps;
    LaunchAhead launchAhead{state, catalogue, steps};
    const StartContext startContext{state, observer, *this, launchAhead};

    void stopManager() override { bus.calls << "stopManager"_s; }
    bool stopModule(const QString &name) override
    {
        bus.calls << "stopModule "_s + name;
        return true;
    }
    bool stopModuleAlone(const QString &name) override
    {
        bus.calls << "stop "_s + name;
        onStop();
        return true;
    }
    int startAll() override
    {
        bus.calls << "startAll"_s;
        onStart();
        return 0;
    }
    void rebootComes(const QVariantMap &reason) override { observer.noteReboot(reason); }
    void rebootRefused() override { observer.notes << "refused"_s; }
    void rebootAccepted() override { state.noteRebootRequest(); }
    void starting() override { observer.notes << "home page starts"_s; }
    void started() override { observer.notes << "home page started"_s; }
};

#endif
