#ifndef BUS_LINK_H
#define BUS_LINK_H

#include <dbus/dbus.h>
#include <poll.h>
#include <stdbool.h>
#include <stddef.h>

/*
 * A connection to the bus that never waits: what is sent before the bus has answered is sent in this order when it
 * does. Between busPoll() and busServe() its owner waits in poll(2).
 */

enum { mostWatches = 4 };

struct BusLink
{
    DBusConnection *connection; /* NULL: closed */
    DBusWatch *watches[mostWatches];
    dbus_uint32_t hello;
    bool isOpen; /* the bus has answered */
    void (*handler)(DBusMessage *message, void *owner); /* gets signals and replies */
    void *owner;
};

/* Begins a connection to the system bus; false, with the reason in `error`, if nobody listens there. */
bool busConnect(struct BusLink *link, char *error, size_t size);
void busDisconnect(struct BusLink *link);

/* Fills up to mostWatches entries, and returns their number. Makes the time-out 0 if the bus was lost while something
   was sent: no entry would show that. */
int busPoll(const struct BusLink *link, struct pollfd *entries, int *timeout);
/* Reads, writes and hands over; false when the bus is lost: busDisconnect() follows. */
bool busServe(struct BusLink *link, const struct pollfd *entries, int count);

/* Calls a method of the bus itself with one text, and returns the serial of the reply that the handler gets. */
dbus_uint32_t busCall(struct BusLink *link, const char *method, const char *text);
/* Requests the name, and waits in its queue if somebody else has it. */
dbus_uint32_t busRequestName(struct BusLink *link, const char *name);
/* Subscribes to the events of this name. */
dbus_uint32_t busSubscribe(struct BusLink *link, const char *event);
/* Sends an event with arguments KEY=VALUE, and with `repeated` = true if it was sent before. False: not UTF-8. */
bool busSendEvent(struct BusLink *link, const char *module, const char *event, char *const *pairs, bool isRepeated);

/* The event's arguments, to be read; false if the message is not the event of this name. */
bool isEvent(DBusMessage *message, const char *event, DBusMessageIter *arguments);

/* The bus name of a component. */
void busName(char *name, size_t size, const char *component);

#endif
