#ifndef BUS_EXCHANGE_H
#define BUS_EXCHANGE_H

class QDBusConnection;

/**
 * Asks the bus daemon itself for an answer, and waits for it, 1 s at most. It answers in order: with its answer it has
 * all that was sent to it before, and we have all that it sent before.
 *
 * Every new connection needs one before its first call. When the connection's own name comes, QtDBus's thread adds it
 * to a list that every call but those to the bus daemon reads, and neither locks out the other: a call that meets it
 * ends the process.
 */
void exchangeWithBus(const QDBusConnection &connection);

#endif
