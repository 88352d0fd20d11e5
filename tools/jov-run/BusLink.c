#include "BusLink.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/time.h>

static const char defaultAddress[] = "unix:path=/var/run/dbus/system_bus_socket";
static const char eventInterface[] = "com.velmora.Jovara.JovEvent";
static const char eventMember[] = "event";
static const char eventSignature[] = "sa{sv}";

enum { microsecondsToConnect = 200000 };

static void interrupt(int number)
{
    (void)number;
}

/* connect(2) waits while the bus has too many others to accept: an alarm ends it. */
static void limitConnect(bool isLimited)
{
    const struct sigaction action = {.sa_handler = interrupt};
    const struct timeval limit = {0, isLimited ? microsecondsToConnect : 0};
    const struct itimerval interval = {limit, limit};
    sigaction(SIGALRM, &action, NULL);
    setitimer(ITIMER_REAL, &interval, NULL);
}

static dbus_bool_t addWatch(DBusWatch *watch, void *owner)
{
    struct BusLink *link = owner;
    for (int i = 0; i < mostWatches; ++i) {
        if (!link->watches[i]) {
            link->watches[i] = watch;
            return TRUE;
        }
    }
    return FALSE;
}

static void removeWatch(DBusWatch *watch, void *owner)
{
    struct BusLink *link = owner;
    for (int i = 0; i < mostWatches; ++i) {
        if (link->watches[i] == watch) {
            link->watches[i] = NULL;
        }
    }
}

static DBusHandlerResult filter(DBusConnection *connection, DBusMessage *message, void *owner)
{
    (void)connection;
    struct BusLink *link = owner;
    const int type = dbus_message_get_type(message);
    if (type == DBUS_MESSAGE_TYPE_METHOD_CALL) {
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED; /* libdbus answers that there is no such method */
    }
    if (type == DBUS_MESSAGE_TYPE_METHOD_RETURN && dbus_message_get_reply_serial(message) == link->hello) {
        const char *name = NULL;
        dbus_message_get_args(message, NULL, DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID);
        dbus_bus_set_unique_name(link->connection, name ? name : "");
        link->isOpen = true;
    }
    link->handler(message, link->owner);
    return DBUS_HANDLER_RESULT_HANDLED;
}

static dbus_uint32_t sendMessage(struct BusLink *link, DBusMessage *message)
{
    dbus_uint32_t serial = 0;
    dbus_connection_send(link->connection, message, &serial);
    dbus_message_unref(message);
    return serial;
}

static DBusMessage *newCall(const char *method)
{
    return dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, method);
}

bool busConnect(struct BusLink *link, char *error, size_t size)
{
    const char *address = getenv("DBUS_SYSTEM_BUS_ADDRESS");
    DBusError problem;
    dbus_error_init(&problem);
    dbus_connection_set_change_sigpipe(FALSE);
    limitConnect(true);
    link->connection = dbus_connection_open_private(address && *address ? address : defaultAddress, &problem);
    limitConnect(false);
    if (!link->connection) {
        snprintf(error, size, "%s", problem.message);
        dbus_error_free(&problem);
        return false;
    }
    link->isOpen = false;
    dbus_connection_set_exit_on_disconnect(link->connection, FALSE);
    dbus_connection_set_watch_functions(link->connection, addWatch, removeWatch, NULL, link, NULL);
    dbus_connection_add_filter(link->connection, filter, link, NULL);
    link->hello = sendMessage(link, newCall("Hello"));
    return true;
}

void busDisconnect(struct BusLink *link)
{
    if (link->connection) {
        dbus_connection_set_watch_functions(link->connection, NULL, NULL, NULL, NULL, NULL);
        dbus_connection_close(link->connection);
        dbus_connection_unref(link->connection);
    }
    link->connection = NULL;
    link->isOpen = false;
    memset(link->watches, 0, sizeof link->watches);
}

int busPoll(const struct BusLink *link, struct pollfd *entries, int *timeout)
{
    int count = 0;
    if (link->connection && !dbus_connection_get_is_connected(link->connection)) {
        *timeout = 0;
    }
    for (int i = 0; link->connection && i < mostWatches; ++i) {
        DBusWatch *watch = link->watches[i];
        if (watch && dbus_watch_get_enabled(watch)) {
            const bool isForReading = (dbus_watch_get_flags(watch) & DBUS_WATCH_READABLE) != 0;
            entries[count++] =
                (struct pollfd){dbus_watch_get_unix_fd(watch), (short)(isForReading ? POLLIN : POLLOUT), 0};
        }
    }
    return count;
}

static unsigned flagsOf(short events)
{
    return ((events & POLLIN) != 0 ? DBUS_WATCH_READABLE : 0U) | ((events & POLLOUT) != 0 ? DBUS_WATCH_WRITABLE : 0U)
        | ((events & POLLERR) != 0 ? DBUS_WATCH_ERROR : 0U) | ((events & POLLHUP) != 0 ? DBUS_WATCH_HANGUP : 0U);
}

bool busServe(struct BusLink *link, const struct pollfd *entries, int count)
{
    for (int i = 0; link->connection && i < mostWatches; ++i) {
        for (int e = 0; e < count && link->watches[i]; ++e) {
            const bool isForReading = (dbus_watch_get_flags(link->watches[i]) & DBUS_WATCH_READABLE) != 0;
            /* Handling a watch can remove others. */
            if (entries[e].revents != 0 && isForReading == (entries[e].events == POLLIN)) {
                dbus_watch_handle(link->watches[i], flagsOf(entries[e].revents));
            }
        }
    }
    while (link->connection && dbus_connection_dispatch(link->connection) == DBUS_DISPATCH_DATA_REMAINS) { }
    return !link->connection || dbus_connection_get_is_connected(link->connection);
}

dbus_uint32_t busCall(struct BusLink *link, const char *method, const char *text)
{
    DBusMessage *call = newCall(method);
    dbus_message_append_args(call, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    return sendMessage(link, call);
}

dbus_uint32_t busRequestName(struct BusLink *link, const char *name)
{
    DBusMessage *call = newCall("RequestName");
    const dbus_uint32_t flags = 0;
    dbus_message_append_args(call, DBUS_TYPE_STRING, &name, DBUS_TYPE_UINT32, &flags, DBUS_TYPE_INVALID);
    return sendMessage(link, call);
}

dbus_uint32_t busSubscribe(struct BusLink *link, const char *event)
{
    char rule[2048];
    size_t size = (size_t)snprintf(rule, sizeof rule, "type='signal',interface='%s',member='%s',arg0='", eventInterface,
                                   eventMember);
    /* Within the marks an apostrophe is the only character that has a meaning. */
    for (; *event && size < sizeof rule - 8; ++event) {
        size += (size_t)snprintf(rule + size, sizeof rule - size, *event == '\'' ? "'\\''" : "%c", *event);
    }
    snprintf(rule + size, sizeof rule - size, "'");
    return busCall(link, "AddMatch", rule);
}

static void appendArgument(DBusMessageIter *list, const char *key, int type, const void *value)
{
    const char signature[] = {(char)type, '\0'};
    DBusMessageIter entry;
    DBusMessageIter variant;
    dbus_message_iter_open_container(list, DBUS_TYPE_DICT_ENTRY, NULL, &entry);
    dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key);
    dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, signature, &variant);
    dbus_message_iter_append_basic(&variant, type, value);
    dbus_message_iter_close_container(&entry, &variant);
    dbus_message_iter_close_container(list, &entry);
}

/* Every character outside [A-Za-z0-9_] becomes _, and a leading digit gets a _ before it. A character of the names is a
   unit of UTF-16: one of four bytes in UTF-8 is two. */
static void element(char *text, size_t size, const char *component)
{
    size_t length = 0;
    if (component[0] == '\0' || (component[0] >= '0' && component[0] <= '9')) {
        text[length++] = '_';
    }
    for (const char *c = component; *c && length + 2 < size; ++c) {
        const unsigned char byte = (unsigned char)*c;
        if (byte < 0x80) {
            const char lower = (char)(byte | 0x20);
            const bool isOwn = (lower >= 'a' && lower <= 'z') || (byte >= '0' && byte <= '9');
            text[length++] = isOwn ? *c : '_';
        } else if (byte >= 0xc0) {
            text[length++] = '_';
            if (byte >= 0xf0) {
                text[length++] = '_';
            }
        }
    }
    text[length] = '\0';
}

void busName(char *name, size_t size, const char *component)
{
    const size_t length = (size_t)snprintf(name, size, "com.velmora.Jovara.");
    element(name + length, size - length, component);
}

bool busSendEvent(struct BusLink *link, const char *module, const char *event, char *const *pairs, bool isRepeated)
{
    char path[512] = "/";
    element(path + 1, sizeof path - 1, module);
    DBusMessage *message = dbus_message_new_signal(path, eventInterface, eventMember);
    DBusMessageIter content;
    DBusMessageIter list;
    bool isText = dbus_validate_utf8(event, NULL);
    dbus_message_iter_init_append(message, &content);
    if (isText) {
        dbus_message_iter_append_basic(&content, DBUS_TYPE_STRING, &event);
    }
    dbus_message_iter_open_container(&content, DBUS_TYPE_ARRAY, "{sv}", &list);
    if (isRepeated) {
        const dbus_bool_t yes = TRUE;
        appendArgument(&list, "repeated", DBUS_TYPE_BOOLEAN, &yes);
    }
    for (; isText && *pairs; ++pairs) {
        isText = dbus_validate_utf8(*pairs, NULL);
        if (isText) {
            const char *value = strchr(*pairs, '=') + 1;
            char *key = strndup(*pairs, (size_t)(value - *pairs) - 1);
            appendArgument(&list, key, DBUS_TYPE_STRING, &value);
            free(key);
        }
    }
    dbus_message_iter_close_container(&content, &list);
    if (isText) {
        sendMessage(link, message);
    } else {
        dbus_message_unref(message);
    }
    return isText;
}

bool isEvent(DBusMessage *message, const char *event, DBusMessageIter *arguments)
{
    DBusMessageIter content;
    const char *name = NULL;
    if (!dbus_message_is_signal(message, eventInterface, eventMember)
        || !dbus_message_has_signature(message, eventSignature) || !dbus_message_iter_init(message, &content)) {
        return false;
    }
    dbus_message_iter_get_basic(&content, &name);
    dbus_message_iter_next(&content);
    dbus_message_iter_recurse(&content, arguments);
    return strcmp(name, event) == 0;
}
