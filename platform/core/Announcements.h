#ifndef ANNOUNCEMENTS_H
#define ANNOUNCEMENTS_H

#include <QObject>
#include <QStringList>

class BusLink;
class BusMessage;

/**
 * Repeats what a component has announced, after the bus was lost: the supervisor may have missed it.
 *
 * With each new connection it is found out who owns the supervisor's bus name, now or when somebody takes it. If that
 * is the component's parent, `end_of_init_NAME` and `presentationReady` are sent again, as far as they were sent
 * before, with the argument `repeated` = true. Nobody waits for any of it.
 */
class Announcements : public QObject
{
    Q_OBJECT

public:
    Announcements(const QString &component, BusLink &link);

    /// The component sends this event.
    void note(const QString &event);
    /// A signal has come, perhaps that the supervisor is there.
    void receive(const BusMessage &signal);

private:
    void findSupervisor();
    void examine(const QString &owner);
    void repeat();

    const QString m_component;
    BusLink &m_link;
    QStringList m_sent; ///< in the order of the first time
    bool m_wasConnected = false;
    bool m_isWatching = false; ///< for the owner of the supervisor's name
};

#endif
