#ifndef BUS_LIBRARY_H
#define BUS_LIBRARY_H

#include <dbus/dbus.h>
#include <stdbool.h>

/* libdbus, loaded when it is needed: bus.message_unref() is dbus_message_unref(). */

#define BUS_FUNCTIONS(X)                                                                                               \
    X(bus_set_unique_name)                                                                                             \
    X(connection_close)                                                                                                \
    X(connection_dispatch)                                                                                             \
    X(connection_add_filter)                                                                                           \
    X(connection_get_is_connected)                                                                                     \
    X(connection_has_messages_to_send)                                                                                 \
    X(connection_open_private)                                                                                         \
    X(connection_send)                                                                                                 \
    X(connection_set_change_sigpipe)                                                                                   \
    X(connection_set_exit_on_disconnect)                                                                               \
    X(connection_set_watch_functions)                                                                                  \
    X(connection_unref)                                                                                                \
    X(error_free)                                                                                                      \
    X(error_init)                                                                                                      \
    X(message_append_args)                                                                                             \
    X(message_get_args)                                                                                                \
    X(message_get_reply_serial)                                                                                        \
    X(message_get_type)                                                                                                \
    X(message_has_signature)                                                                                           \
    X(message_is_signal)                                                                                               \
    X(message_iter_append_basic)                                                                                       \
    X(message_iter_close_container)                                                                                    \
    X(message_iter_get_arg_type)                                                                                       \
    X(message_iter_get_basic)                                                                                          \
    X(message_iter_init)                                                                                               \
    X(message_iter_init_append)                                                                                        \
    X(message_iter_next)                                                                                               \
    X(message_iter_open_container)                                                                                     \
    X(message_iter_recurse)                                                                                            \
    X(message_new_method_call)                                                                                         \
    X(message_new_signal)                                                                                              \
    X(message_set_no_reply)                                                                                            \
    X(message_unref)                                                                                                   \
    X(validate_utf8)                                                                                                   \
    X(watch_get_enabled)                                                                                               \
    X(watch_get_flags)                                                                                                 \
    X(watch_get_unix_fd)                                                                                               \
    X(watch_handle)

struct BusLibrary
{
#define X(name) __typeof__(dbus_##name) *name;
    BUS_FUNCTIONS(X)
#undef X
};

extern struct BusLibrary bus;

/* False if it is not installed, which is printed. */
bool loadBusLibrary(void);

#endif
