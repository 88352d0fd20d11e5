#ifndef BUS_WATCHES_H
#define BUS_WATCHES_H

#include <QHash>
#include <QObject>

class QSocketNotifier;
struct DBusConnection;
struct DBusWatch;
struct pollfd;

/// The sockets of a connection of libdbus, watched by Qt's event loop.
class BusWatches : public QObject
{
    Q_OBJECT

public:
    ~BusWatches() override;

    void attach(DBusConnection *connection);
    /// To be called before the connection is closed.
    void detach();
    /// Sleeps until a socket is ready, `limit` milliseconds at most, and handles it. False when a signal handler
    /// ran instead.
    bool waitFor(int limit, bool reading);

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
