#ifndef WIRE_H
#define WIRE_H

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServer>
#include <QObject>

/**
 * Both ends of a D-Bus connection in this process: what goes in comes out as QtDBus makes it of a message. There is no
 * bus daemon between them, and one wire for the whole run. Its socket is under the root of FuzzRoot, to be written to
 * before.
 */
class Wire : public QObject
{
    Q_OBJECT

public:
    Wire();

    /// Sends a signal of the events' interface, and waits for it. The process ends when it does not come.
    [[nodiscard]] QDBusMessage carry(const QDBusMessage &event);

private Q_SLOTS:
    void slot_event(const QDBusMessage &event);

private:
    QDBusServer m_server;
    QDBusConnection m_near;
    QDBusConnection m_far;
    QDBusMessage m_event;
    bool m_hasCome = false;
};

#endif
