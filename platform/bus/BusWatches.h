#ifndef BUS_WATCHES_H
#define BUS_WATCHES_H

#include <QHash>
#include <QObject>

class QSocketNotifier;
struct DBusConnection;
struct DBusWatch;

/// The sockets of a connection of libdbus, watched by Qt's event loop.
class BusWatches : public QObject
{
    Q_OBJECT

public:
    ~BusWatches() override;

    void attach(DBusConnection *connection);
    /// To be called before the connection is closed.
    void detach();
    enum Readiness { Data = 1, Room = 2, RoomOrData = Data | Room };
    /// Sleeps until the socket has room or data, `limit` milliseconds at most, or until a signal handler has run, and
    /// reads the data.
    void waitFor(int limit, Readiness readiness);

Q_SIGNALS:
    /// There is something to read. Whoever takes it calls read().
    void readable(quintptr watch);

public:
    static void read(quintptr watch);

private:
    void add(DBusWatch *watch);
    void remove(DBusWatch *watch);
    void toggle(DBusWatch *watch);

    DBusConnection *m_connection = nullptr;
    QHash<DBusWatch *, QSocketNotifier *> m_notifiers;
};

#endif
