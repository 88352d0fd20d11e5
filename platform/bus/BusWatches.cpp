#include "bus/BusWatches.h"

#include <QSocketNotifier>

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

void BusWatches::waitFor(int limit, Readiness readiness)
{
    int descriptor = -1;
    DBusWatch *reader = nullptr;
    for (auto entry = m_notifiers.cbegin(); entry != m_notifiers.cend(); ++entry) {
        descriptor = dbus_watch_get_unix_fd(entry.key());
        // It is disabled while as much as is allowed is read and not handled.
        if ((readiness & Data) != 0 && isForReading(entry.key()) && dbus_watch_get_enabled(entry.key())) {
            reader = entry.key();
        }
    }
    const auto events = short((reader ? POLLIN : 0) | ((readiness & Room) != 0 ? POLLOUT : 0));
    pollfd socket{events != 0 ? descriptor : -1, events, 0};
    if (poll(&socket, 1, limit) > 0 && reader && (socket.revents & ~POLLOUT) != 0) {
        dbus_watch_handle(reader, DBUS_WATCH_READABLE);
    }
}
