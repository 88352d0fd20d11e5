/*
 * The least that any supervisor on this bus can do: posix_spawn, wait for the announcement on one connection, next.
 * After SIGTERM: send the stop event, wait for the end, next, the last one first.
 *
 *     bench-bare DIRECTORY/ NAME...
 */
#include <dbus/dbus.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

static int isAnnouncement(DBusMessage *message, const char *event)
{
    DBusMessageIter arguments;
    const char *text = "";
    if (!dbus_message_is_signal(message, "com.velmora.Jovara.JovEvent", "event")
        || !dbus_message_iter_init(message, &arguments)
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
    const char *text = event;
    DBusMessage *message = dbus_message_new_signal("/bare", "com.velmora.Jovara.JovEvent", "event");
    DBusMessageIter arguments;
    DBusMessageIter map;
    snprintf(event, sizeof event, "stop_module_%s", name);
    dbus_message_iter_init_append(message, &arguments);
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &text);
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "{sv}", &map);
    dbus_message_iter_close_container(&arguments, &map);
    dbus_connection_send(bus, message, NULL);
    dbus_message_unref(message);
    waitpid(pid, NULL, 0);
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
    dbus_bus_add_match(bus, "type='signal',interface='com.velmora.Jovara.JovEvent',member='event'", NULL);
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
        pids[i] = start(argv[1], argv[i], &actions, &attributes);
        waitFor(bus, event);
    }
    sigwait(&end, &number);
    for (int i = argc - 1; i >= 2; --i) {
        stop(bus, argv[i], pids[i]);
    }
    return 0;
}
