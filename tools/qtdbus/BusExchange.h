#ifndef BUS_EXCHANGE_H
#define BUS_EXCHANGE_H

class QDBusConnection;

/**
 * Sends a ping to dbus-daemon and waits for the reply, 1 s at most. dbus-daemon replies in order: then it has received
 * everything that was sent before the ping, and we have received everything that it sent before the reply.
 *
 * Every new connection needs one before its first call. When the unique name of the connection arrives, the thread of
 * QtDBus 5.15.8 adds it to a list that every call reads, except calls to dbus-daemon, and no lock protects the list: a
 * call at that moment can end the process with SIGSEGV. No test shows this fault: it occurs too rarely.
 */
void exchangeWithBus(const QDBusConnection &connection);

#endif
