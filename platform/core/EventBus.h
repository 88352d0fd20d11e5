#ifndef EVENT_BUS_H
#define EVENT_BUS_H

#include "EventSubscriptions.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QSet>
#include <QTimer>

/**
 * A component's connection to the bus: its name and object, its events, and all of it again after the bus was lost.
 *
 * Which events the bus daemon passes on is a trade. While the component subscribes to few names each has a match rule
 * of its own, and nobody else's events wake it. The system bus allows 512 rules a connection, and QtDBus writes the
 * name into the rule neither escaped nor as UTF-8, so past thirty-two names, and for any name that is not plain ASCII,
 * one rule brings all events and the look-up is ours. A name keeps the rule that it has; an event that has one is taken
 * from it alone, so none is lost or doubled when the other rule comes.
 */
class EventBus : public QObject
{
    Q_OBJECT

public:
    /// `component` is the component's name, `object` what is served under it.
    EventBus(const QString &component, QObject *object);
    ~EventBus() override;

    /// Connects and takes the subscriptions up. False, with the reason in errorText(), without a bus.
    bool open();
    /// Serves the object and takes the name, from now on also after a loss. False when somebody else owns it.
    bool takeName();
    [[nodiscard]] QString errorText() const { return m_errorText; }
    [[nodiscard]] bool isConnected() const { return m_connection.isConnected(); }
    [[nodiscard]] QDBusConnection connection() const { return m_connection; }

    bool subscribe(const QString &name, QObject *receiver, const char *slot);
    bool unsubscribe(const QString &name, QObject *receiver, const char *slot);
    bool send(const QDBusMessage &message) const;

private Q_SLOTS:
    void ownRuleEvent(const QDBusMessage &message);
    void anyEvent(const QDBusMessage &message);
    void lost();
    void reopen();

private:
    void close();
    void matchName(const QString &name);
    void matchAll();
    bool switchRule(const QString &name, bool on);
    void deliver(const QDBusMessage &message);

    const QString m_component;
    QObject *const m_object;
    EventSubscriptions m_subscriptions;
    QSet<QString> m_ownRules; ///< names with a match rule of their own
    bool m_matchesAll = false;
    bool m_wantsName = false;
    QDBusConnection m_connection;
    QString m_connectionName;
    QString m_errorText;
    QTimer m_retry;
};

#endif
