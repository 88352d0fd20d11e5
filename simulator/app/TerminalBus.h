#ifndef TERMINAL_BUS_H
#define TERMINAL_BUS_H

#include "ApplicationConfig.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QVariant>

#include <functional>

/// The simulator's place on the terminal's private bus: it hears every event and calls the daemon.
class TerminalBus : public QObject
{
    Q_OBJECT

public:
    using Answer = std::function<void(const QDBusMessage &reply)>;
    using ListAnswer = std::function<void(const ListApplicationConfig &modules)>;

    TerminalBus();

    /// False while the bus does not listen yet.
    bool connectTo(const QString &address);
    [[nodiscard]] bool daemonIsThere() const { return m_daemonIsThere; }

    /// Calls a method of the daemon, which may take as long as it likes; a failure is an answer as well.
    void call(const QString &method, const QVariantList &arguments, const Answer &answer);
    /// An empty list when the daemon does not answer.
    void listModules(const ListAnswer &answer);
    void sendEvent(const QString &name, const QVariantMap &arguments);

Q_SIGNALS:
    void event(const QString &name, const QVariantMap &arguments);
    void daemonAppeared();
    /// A component has given its bus name back, as one does that ends.
    void componentGone(const QString &service);

private Q_SLOTS:
    void ownerChanged(const QString &service, const QString &oldOwner, const QString &newOwner);

private:
    QDBusConnection m_bus;
    bool m_daemonIsThere = false;
};

#endif
