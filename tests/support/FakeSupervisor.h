#ifndef FAKE_SUPERVISOR_H
#define FAKE_SUPERVISOR_H

#include "verify/NoSupervisor.h"

#include <QStringList>

#include <functional>

/// Writes down what the watchdog asks for, and answers a request to reboot, a stop and a start as the test says.
class FakeSupervisor : public NoSupervisor
{
public:
    QStringList calls;
    std::function<QDBusMessage()> answer = [] { return QDBusMessage(); };
    std::function<void()> onStop = [] {};
    std::function<void()> onStart = [] {};

    QDBusMessage syncRemoteCall(const QString &component, const QString &method, const QVariantList &arguments) override
    {
        QString call = component + u'.' + method;
        for (const QVariant &argument : arguments) {
            call += u',' + argument.toString();
        }
        calls.append(call);
        return answer();
    }
    int startAll() override
    {
        calls.append("startAll"_s);
        onStart();
        return 0;
    }
    bool stopModuleAlone(const QString &moduleName) override
    {
        calls.append("stop "_s + moduleName);
        onStop();
        return true;
    }
    // What else is asked is told that all is well.
    [[nodiscard]] bool startFailed() const override { return false; }
    [[nodiscard]] bool startsRefused() const override { return false; }
    bool subscribeEvent(const QString &, QObject *, const char *) override { return true; }
    bool notifyEvent(const QString &, const QVariantMap &) override { return true; }
};

#endif
