#ifndef TERMINAL_BUS_H
#define TERMINAL_BUS_H

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QVariant>

#include <functional>

/// The simulator's place on the terminal's private bus.
class TerminalBus : public QObject
{
    Q_OBJECT

public:
    using Answer = std::function<void(const QDBusMessage &reply)>;

    TerminalBus();

    /// False while the bus does not listen yet.
    bool connectTo(const QString &address);
    [[nodiscard]] QDBusConnection connection() const { return m_bus; }

    /// Asks the daemon by a method of its inspection interface. A failure is an answer as well, also before there is a
    /// bus.
    void inspect(const QString &method, const Answer &answer);
    /// Has the daemon stop everything in order and end.
    void stopDaemon();
    void sendEvent(const QString &name, const QVariantMap &arguments);

private:
    QDBusConnection m_bus;
};

#endif
