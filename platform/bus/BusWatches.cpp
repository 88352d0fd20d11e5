#include "bus/BusWatches.h"

#include <QSocketNotifier>
#include <QVector>

#include <cerrno>

#include <dbus/dbus.h>
#include <poll.h>

namespace {

bool isForReading(DBusWatch *watch)
{
    return (dbus_watch_get_flags(watch) & DBUS_WATCH_READABLE) != 0;
}

} // namespace

BusWatches::~BusWatches()
{
    detach();
}

void BusWatches::attach(DBusConnection *connection)
{
    m_connection = connection;
    dbus_connection_set_watch_functions(
        connection,
        [](DBusWatch *watch, void *self) -> dbus_bool_t {
            static_cast<BusWatches *>(self)->add(watch);
            return true;
        },
        [](DBusWatch *watch, void *self) { static_cast<BusWatches *>(self)->remove(watch); },
        [](DBusWatch *watch, void *self) { static_cast<BusWatches *>(self)->toggle(watch); }, this, nullptr);
}

void BusWatches::detach()
{
    if (m_connection) {
        dbus_connection_set_watch_functions(m_connection, nullptr, nullptr, nullptr, nullptr, nullptr);
        m_connection = nullptr;
    }
}

void BusWatches::add(DBusWatch *watch)
{
    const bool reading = isForReading(watch);
    auto *notifier = new QSocketNotifier(dbus_watch_get_unix_fd(watch),
                                         reading ? QSocketNotifier::Read : QSocketNotifier::Write, this);
    m_notifiers.insert(watch, notifier);
    notifier->setEnabled(dbus_watch_get_enabled(watch));
    if (reading) {
        connect(notifier, &QSocketNotifier::activated, this, [this, watch] { Q_EMIT readable(quintptr(watch)); });
    } else {
        connect(notifier, &QSocketNotifier::activated, this,
                [watch] { dbus_watch_handle(watch, DBUS_WATCH_WRITABLE); });
    }
}

void BusWatches::remove(DBusWatch *watch)
{
    // It may be the one whose signal is being handled.
    if (QSocketNotifier *notifier = m_notifiers.take(watch)) {
        notifier->setEnabled(false);
        notifier->disconnect(this);
        notifier->deleteLater();
    }
}

void BusWatches::toggle(DBusWatch *watch)
{
    if (QSocketNotifier *notifier = m_notifiers.value(watch)) {
        notifier->setEnabled(dbus_watch_get_enabled(watch));
    }
}

void BusWatches::read(quintptr watch)
{
    dbus_watch_handle(reinterpret_cast<DBusWatch *>(watch), DBUS_WATCH_READABLE);
}

bool BusWatches::waitFor(int limit, bool reading)
{
    QVector<pollfd> sockets;
    QVector<DBusWatch *> watches;
    for (auto entry = m_notifiers.cbegin(); entry != m_notifiers.cend(); ++entry) {
        DBusWatch *watch = entry.key();
        const bool forReading = isForReading(watch);
        if (dbus_watch_get_enabled(watch) && (reading || !forReading)) {
            sockets.append({dbus_watch_get_unix_fd(watch), short(forReading ? POLLIN : POLLOUT), 0});
            watches.append(watch);
        }
    }
    const int ready = poll(sockets.data(), nfds_t(sockets.size()), limit);
    for (int i = 0; i < sockets.size() && ready > 0; ++i) {
        // Handling one can end the connection, and the other with it.
        if (sockets.at(i).revents != 0 && m_notifiers.contains(watches.at(i))) {
            dbus_watch_handle(watches.at(i), isForReading(watches.at(i)) ? DBUS_WATCH_READABLE : DBUS_WATCH_WRITABLE);
        }
    }
    return ready >= 0 || errno != EINTR;
}
