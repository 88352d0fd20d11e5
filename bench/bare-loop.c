/*
 * The least that any supervisor on this bus can do: posix_spawn, wait for the announcement on one connection, next.
 *
 *     bench-bare DIRECTORY/ NAME...
 */
#include <dbus/dbus.h>
#include <poll.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
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

static void start(const char *directory, const char *name, const posix_spawn_file_actions_t *actions)
{
    char program[512];
    char option[512];
    char *words[] = {program, option, NULL};
    pid_t pid;
    snprintf(program, sizeof program, "%s%s", directory, name);
    snprintf(option, sizeof option, "--moduleName=%s", name);
    if (posix_spawn(&pid, program, actions, NULL, words, environ) != 0) {
        exit(1);
    }
}

int main(int argc, char **argv)
{
    DBusConnection *bus = dbus_bus_get(DBUS_BUS_SYSTEM, NULL);
    posix_spawn_file_actions_t actions;
    if (!bus || argc < 3) {
        return 1;
    }
    dbus_bus_add_match(bus, "type='signal',interface='com.velmora.Jovara.JovEvent',member='event'", NULL);
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", 0, 0);
    for (int i = 2; i < argc; ++i) {
        char event[512];
        snprintf(event, sizeof event, "end_of_init_%s", argv[i]);
        start(argv[1], argv[i], &actions);
        waitFor(bus, event);
    }
    for (;;) {
        pause();
    }
}
