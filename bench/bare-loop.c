/*
 * The least that any supervisor on this bus can do: posix_spawn, wait for the announcement on one connection, next.
 * After SIGTERM: send the stop event, wait for the end, next, the last one first.
 *
 *     bench-bare DIRECTORY/ NAME...
 *     bench-talking DIRECTORY/ NAME...
 *
 * bench-talking (TALKS is 1) has the match rules of the daemon and sends the same messages, also in one write a turn.
 */
#include <dbus/dbus.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

static const char eventInterface[] = "com.velmora.Jovara.JovEvent";
static char collected[4096]; /* what is sent in this turn */
static size_t collectedSize;

static void collect(DBusMessage *message)
{
    static dbus_uint32_t serial = 1U << 24; /* above those of libdbus */
    char *bytes;
    int size;
    dbus_message_set_serial(message, ++serial);
    dbus_message_marshal(message, &bytes, &size);
    memcpy(collected + collectedSize, bytes, (size_t)size);
    collectedSize += (size_t)size;
    dbus_free(bytes);
    dbus_message_unref(message);
}

static void flush(DBusConnection *bus)
{
    int socket;
    if (collectedSize > 0 && dbus_connection_get_socket(bus, &socket)
        && send(socket, collected, collectedSize, MSG_NOSIGNAL) != (ssize_t)collectedSize) {
        exit(1);
    }
    collectedSize = 0;
}

static void collectState(const char *name, const char *before, const char *now)
{
    if (TALKS) {
        DBusMessage *message = dbus_message_new_signal("/bare", "com.velmora.Jovara.Inspection", "ModuleStateChanged");
        dbus_message_append_args(message, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING, &before, DBUS_TYPE_STRING, &now,
                                 DBUS_TYPE_INVALID);
        collect(message);
    }
}

/* With one named argument, or none. */
static void collectEvent(const char *event, const char *name, const char *argument)
{
    DBusMessage *message = dbus_message_new_signal("/bare", eventInterface, "event");
    DBusMessageIter arguments;
    DBusMessageIter map;
    DBusMessageIter entry;
    DBusMessageIter value;
    dbus_message_iter_init_append(message, &arguments);
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &event);
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "{sv}", &map);
    if (name) {
        dbus_message_iter_open_container(&map, DBUS_TYPE_DICT_ENTRY, NULL, &entry);
        dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &name);
        dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, "s", &value);
        dbus_message_iter_append_basic(&value, DBUS_TYPE_STRING, &argument);
        dbus_message_iter_close_container(&entry, &value);
        dbus_message_iter_close_container(&map, &entry);
    }
    dbus_message_iter_close_container(&arguments, &map);
    collect(message);
}

static int isAnnouncement(DBusMessage *message, const char *event)
{
    DBusMessageIter arguments;
    const char *text = "";
    if (!dbus_message_is_signal(message, eventInterface, "event") || !dbus_message_iter_init(message, &arguments)
        || dbus_message_iter_get_arg_type(&arguments) != DBUS_TYPE_STRING) {
        return 0;
    }
    dbus_message_iter_get_basic(&arguments, &text);
    return strcmp(text, event) == 0;
}

static void waitFor(DBusConnection *bus, const char *event)
{
    for (int found = 0; !found;) {
        DBusMessage *message;
        dbus_connection_read_write(bus, -1);
        while ((message = dbus_connection_pop_message(bus))) {
            found |= isAnnouncement(message, event);
            dbus_message_unref(message);
        }
    }
}

static pid_t start(const char *directory, const char *name, const posix_spawn_file_actions_t *actions,
                   const posix_spawnattr_t *attributes)
{
    char program[512];
    char option[512];
    char *words[] = {program, option, NULL};
    pid_t pid;
    snprintf(program, sizeof program, "%s%s", directory, name);
    snprintf(option, sizeof option, "--moduleName=%s", name);
    if (posix_spawn(&pid, program, actions, attributes, words, environ) != 0) {
        exit(1);
    }
    return pid;
}

static void stop(DBusConnection *bus, const char *name, pid_t pid)
{
    char event[512];
    snprintf(event, sizeof event, "stop_module_%s", name);
    collectState(name, "RUNNING", "STOPPING");
    collectEvent(event, NULL, NULL);
    flush(bus);
    waitpid(pid, NULL, 0);
    collectState(name, "STOPPING", "STOPPED");
}

static void subscribe(DBusConnection *bus, char *const *names, int count)
{
    enum { mostOwnRules = 128 }; /* of the daemon */
    const int own = TALKS && count <= mostOwnRules;
    char rule[1024];
    for (int i = 0; i < (own ? count : 1); ++i) {
        snprintf(rule, sizeof rule, "type='signal',interface='%s',member='event'", eventInterface);
        if (own) {
            snprintf(rule + strlen(rule), sizeof rule - strlen(rule), ",arg0='end_of_init_%s'", names[i]);
        }
        dbus_bus_add_match(bus, rule, NULL);
    }
}

int main(int argc, char **argv)
{
    DBusConnection *bus = dbus_bus_get(DBUS_BUS_SYSTEM, NULL);
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    sigset_t none;
    if (!bus || argc < 3) {
        return 1;
    }
    subscribe(bus, argv + 2, argc - 2);
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", 0, 0);
    posix_spawnattr_init(&attributes);
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    sigset_t end;
    int number;
    sigemptyset(&end);
    sigaddset(&end, SIGTERM);
    sigprocmask(SIG_BLOCK, &end, NULL);
    pid_t *pids = calloc((size_t)argc, sizeof *pids);
    for (int i = 2; i < argc; ++i) {
        char event[512];
        snprintf(event, sizeof event, "end_of_init_%s", argv[i]);
        if (TALKS) {
            char text[512];
            snprintf(text, sizeof text, "Starting application %s", argv[i]);
            collectEvent("init_message", "message", text);
        }
        collectState(argv[i], "STOPPED", "STARTING");
        flush(bus);
        pids[i] = start(argv[1], argv[i], &actions, &attributes);
        waitFor(bus, event);
        collectState(argv[i], "STARTING", "RUNNING");
    }
    sigwait(&end, &number);
    for (int i = argc - 1; i >= 2; --i) {
        stop(bus, argv[i], pids[i]);
    }
    flush(bus);
    return 0;
}
