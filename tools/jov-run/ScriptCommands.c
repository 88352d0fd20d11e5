#include "ScriptCommands.h"

#include "BusLink.h"
#include "NotifySocket.h"

#include <errno.h>
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { patience = 25000 };

/* What --wait waits for. */
struct Wait
{
    const char *event;
    dbus_uint32_t subscription;
    bool hasCome;
    bool hasFailed;
};

static int fail(const char *reason)
{
    fprintf(stderr, "jov-run: %s\n", reason);
    return exitFailed;
}

static const char *moduleOf(const struct Options *options)
{
    return options->module ? options->module : getenv("JOV_MODULE_NAME");
}

static bool connectBus(struct BusLink *link, void (*handler)(DBusMessage *, void *), void *owner)
{
    char error[256];
    link->handler = handler;
    link->owner = owner;
    if (!busConnect(link, error, sizeof error)) {
        fail(error);
        return false;
    }
    return true;
}

/* False when the bus is lost, or does not answer for long. */
static bool turn(struct BusLink *link)
{
    struct pollfd entries[mostWatches];
    int timeout = link->isOpen ? -1 : patience;
    const int count = busPoll(link, entries, &timeout);
    const int ready = poll(entries, (nfds_t)count, timeout);
    return (ready > 0 || (ready < 0 && errno == EINTR)) && busServe(link, entries, ready > 0 ? count : 0);
}

static void ignore(DBusMessage *message, void *owner)
{
    (void)message;
    (void)owner;
}

static int sendEvent(const char *module, const char *event, char *const *pairs)
{
    struct BusLink link = {0};
    if (!connectBus(&link, ignore, NULL)) {
        return exitFailed;
    }
    if (!busSendEvent(&link, module, event, pairs, false)) {
        return fail("the event is not UTF-8");
    }
    while (!link.isOpen || dbus_connection_has_messages_to_send(link.connection)) {
        if (!turn(&link)) {
            return fail("the bus is lost");
        }
    }
    busDisconnect(&link);
    return 0;
}

int notify(const struct Options *options)
{
    const char *name = getenv("NOTIFY_SOCKET");
    const char *module = moduleOf(options);
    if (name) {
        return sendNotification(name, options->words) ? 0 : fail(strerror(errno));
    }
    if (!module) {
        fail("--notify: neither NOTIFY_SOCKET nor --moduleName=NAME says whose readiness this is");
        return exitUsage;
    }
    char event[512];
    snprintf(event, sizeof event, "end_of_init_%s", module);
    char *none[] = {NULL};
    return sendEvent(module, event, none);
}

int emit(const struct Options *options)
{
    const char *module = moduleOf(options);
    return sendEvent(module ? module : "jov-run", options->words[0], options->words + 1);
}

static void printText(const char *text)
{
    for (; *text; ++text) {
        if (*text == '\n') {
            fputs("\\n", stdout);
        } else {
            putchar(*text);
        }
    }
}

/* Lists and records are nothing for a shell: their value is empty. */
static void printValue(DBusMessageIter *value)
{
    DBusBasicValue basic;
    const int type = dbus_message_iter_get_arg_type(value);
    memset(&basic, 0, sizeof basic);
    if (type == DBUS_TYPE_ARRAY || type == DBUS_TYPE_STRUCT || type == DBUS_TYPE_VARIANT || type == DBUS_TYPE_UNIX_FD) {
        return;
    }
    dbus_message_iter_get_basic(value, &basic);
    switch (type) {
    case DBUS_TYPE_STRING:
    case DBUS_TYPE_OBJECT_PATH:
    case DBUS_TYPE_SIGNATURE:
        printText(basic.str);
        break;
    case DBUS_TYPE_BOOLEAN:
        fputs(basic.bool_val ? "true" : "false", stdout);
        break;
    case DBUS_TYPE_DOUBLE:
        printf("%.17g", basic.dbl);
        break;
    case DBUS_TYPE_INT16:
        printf("%d", basic.i16);
        break;
    case DBUS_TYPE_INT32:
        printf("%" PRId32, basic.i32);
        break;
    case DBUS_TYPE_INT64:
        printf("%" PRId64, (int64_t)basic.i64);
        break;
    default: /* the unsigned ones: what is wider than they are is 0 */
        printf("%" PRIu64, type == DBUS_TYPE_BYTE ? basic.byt : (uint64_t)basic.u64);
    }
}

static void eventReceived(DBusMessage *message, void *owner)
{
    struct Wait *wait = owner;
    DBusMessageIter list;
    if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_ERROR
        && dbus_message_get_reply_serial(message) == wait->subscription) {
        wait->hasFailed = true;
    }
    if (wait->hasCome || !isEvent(message, wait->event, &list)) {
        return;
    }
    wait->hasCome = true;
    for (; dbus_message_iter_get_arg_type(&list) == DBUS_TYPE_DICT_ENTRY; dbus_message_iter_next(&list)) {
        DBusMessageIter entry;
        DBusMessageIter value;
        const char *key = NULL;
        dbus_message_iter_recurse(&list, &entry);
        dbus_message_iter_get_basic(&entry, &key);
        dbus_message_iter_next(&entry);
        dbus_message_iter_recurse(&entry, &value);
        printText(key);
        putchar('=');
        printValue(&value);
        putchar('\n');
    }
}

int waitForEvent(const struct Options *options)
{
    struct Wait wait = {.event = options->words[0]};
    struct BusLink link = {0};
    if (!connectBus(&link, eventReceived, &wait)) {
        return exitFailed;
    }
    if (!dbus_validate_utf8(wait.event, NULL)) {
        return fail("the event is not UTF-8");
    }
    wait.subscription = busSubscribe(&link, wait.event);
    while (!wait.hasCome) {
        if (wait.hasFailed) {
            return fail("the bus does not accept the name of the event");
        }
        if (!turn(&link)) {
            return fail("the bus is lost");
        }
    }
    return 0;
}
