#ifndef COMPONENT_H
#define COMPONENT_H

#include "JovApplication.h"
#include "JovException.h"
#include "JovModule.h"
#include "PrivateBus.h"
#include "RootDir.h"

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
    explicit Component(const QString &name = QStringLiteral("Probe"))
        : JovModule(name)
    { }

    QHash<QString, std::function<bool()>> operations;
    QStringList calls;

    bool check() override { return play(QStringLiteral("check")); }
    bool deploy() override { return play(QStringLiteral("deploy")); }
    bool init() override { return play(QStringLiteral("init")); }
    bool init_step() override { return play(QStringLiteral("init_step")); }
    bool stop() override { return play(QStringLiteral("stop")); }

    /// Runs the whole life, with `body` in the place of init_step. The exit status.
    int live(const std::function<void()> &body)
    {
        operations.insert(QStringLiteral("init_step"), [this, body] {
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
public:
    explicit Peer(const PrivateBus &bus)
        : m_name(QStringLiteral("peer-%1").arg(reinterpret_cast<quintptr>(this)))
        , connection(QDBusConnection::connectToBus(bus.address(), m_name))
    { }
    ~Peer() { QDBusConnection::disconnectFromBus(m_name); }

    /// The reply's value, or the error's name.
    QString call(const QString &method, const QVariantList &arguments = {},
                 const QString &interface = QStringLiteral("com.velmora.Jovara.JovInterface"))
    {
        QDBusMessage message = QDBusMessage::createMethodCall(QStringLiteral("com.velmora.Jovara.Probe"),
                                                              QStringLiteral("/Probe"), interface, method);
        message.setArguments(arguments);
        QDBusPendingReply<> reply = connection.asyncCall(message, 5000);
        if (!QTest::qWaitFor([&] { return reply.isFinished(); }, 6000)) {
            return QStringLiteral("no reply");
        }
        return reply.isError() ? reply.error().name() : reply.reply().arguments().value(0).toString();
    }

private:
    QString m_name;

public:
    QDBusConnection connection;
};

#endif
