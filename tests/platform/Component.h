#ifndef COMPONENT_H
#define COMPONENT_H

#include "bus/PrivateBus.h"
#include "qtdbus/BusExchange.h"
#include "support/RootDir.h"

#include <jov/JovApplication.h>
#include <jov/JovException.h>
#include <jov/JovModule.h>

#include <QDBusConnection>
#include <QDBusPendingReply>
#include <QHash>
#include <QTest>

#include <functional>

/// A component whose operations are the test's, and which notes what happens to it.
class Component : public JovModule
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.JovInterface")

public:
    explicit Component(const QString &name = "Probe"_s)
        : JovModule(name)
    { }

    QHash<QString, std::function<bool()>> operations;
    QStringList calls;

    bool check() override { return play("check"_s); }
    bool deploy() override { return play("deploy"_s); }
    bool init() override { return play("init"_s); }
    bool init_step() override { return play("init_step"_s); }
    bool stop() override { return play("stop"_s); }

    /// Runs the whole life, with `body` in the place of init_step. The exit status.
    int live(const std::function<void()> &body)
    {
        operations.insert("init_step"_s, [this, body] {
            body();
            exit();
            return true;
        });
        return JovApplication::instance()->exec();
    }

public Q_SLOTS:
    Q_SCRIPTABLE bool play(const QString &operation)
    {
        calls << operation;
        const auto action = operations.constFind(operation);
        return action == operations.cend() || (*action)();
    }
    Q_SCRIPTABLE void fail(const QString &text)
    {
        failBusCall(text);
        throw new JovException(this, JovException::InvocationFailed, text);
    }
};

/// What another process sees: a connection of its own.
class Peer
{
    const QString m_name = "peer-%1"_s.arg(reinterpret_cast<quintptr>(this));

public:
    explicit Peer(const PrivateBus &bus)
        : connection(QDBusConnection::connectToBus(bus.address(), m_name))
    {
        exchangeWithBus(connection);
    }
    ~Peer() { QDBusConnection::disconnectFromBus(m_name); }

    QDBusConnection connection;

    QDBusPendingCall send(const QString &method, const QVariantList &arguments = {})
    {
        QDBusMessage message = QDBusMessage::createMethodCall("com.velmora.Jovara.Probe"_s, "/Probe"_s,
                                                              "com.velmora.Jovara.JovInterface"_s, method);
        message.setArguments(arguments);
        return connection.asyncCall(message, 5000);
    }
    /// The reply's value, or the error's name.
    QString call(const QString &method, const QVariantList &arguments = {})
    {
        QDBusPendingReply<> reply = send(method, arguments);
        if (!QTest::qWaitFor([&] { return reply.isFinished(); }, 6000)) {
            return "no reply"_s;
        }
        return reply.isError() ? reply.error().name() : reply.reply().arguments().value(0).toString();
    }
};

#endif
