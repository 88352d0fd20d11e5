/*
 * The smallest module there can be, so that a boot of many measures the supervisor and not its modules: it speaks to
 * the bus through a bare socket, announces the end of its initialisation with its first write, and then sleeps until
 * its stop event, SIGTERM or the end of the bus.
 *
 *     tiny-module --moduleName=NAME [--mute] [--wait=MS] [--compute=MS] [--stop-wait=MS]
 *
 *     --mute: never ready; --wait, --compute: ready after that time, asleep or busy; --stop-wait: ends later than asked
 */
#define _GNU_SOURCE
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

enum { methodCall = 1, signalMessage = 4, noReply = 1 };
enum { path = 1, interface = 2, member = 3, destination = 6, signature = 8 };

struct buffer
{
    unsigned char bytes[4096];
    size_t size;
};

static const char eventInterface[] = "com.velmora.Jovara.JovEvent";
static const char busName[] = "org.freedesktop.DBus";

static void put(struct buffer *out, const void *bytes, size_t size)
{
    if (out->size + size > sizeof out->bytes) {
        _exit(2);
    }
    memcpy(out->bytes + out->size, bytes, size);
    out->size += size;
}

/* A message begins at a multiple of 8 within its buffer, so the buffer's size tells the alignment. */
static void align(struct buffer *out, size_t to)
{
    static const char zeros[8];
    put(out, zeros, (to - out->size % to) % to);
}

static void putNumber(struct buffer *out, uint32_t number)
{
    align(out, 4);
    put(out, &number, sizeof number);
}

static void putText(struct buffer *out, const char *text)
{
    putNumber(out, (uint32_t)strlen(text));
    put(out, text, strlen(text) + 1);
}

static void putSignature(struct buffer *out, const char *text)
{
    const unsigned char length = (unsigned char)strlen(text);
    put(out, &length, 1);
    put(out, text, length + 1U);
}

static void putField(struct buffer *out, unsigned char code, const char *type, const char *value)
{
    align(out, 8);
    put(out, &code, 1);
    putSignature(out, type);
    if (*type == 'g') {
        putSignature(out, value);
    } else {
        putText(out, value);
    }
}

/* One message with a text as its first argument; empty types: without arguments. */
static void putMessage(struct buffer *to, unsigned char type, unsigned char flags, const char *object,
                       const char *onInterface, const char *name, const char *types, const char *text)
{
    static uint32_t serial;
    struct buffer body = {.size = 0};
    struct buffer out = {.size = 0};
    if (*types) {
        putText(&body, text);
    }
    if (type == signalMessage) { /* and a map without entries */
        putNumber(&body, 0);
        align(&body, 8);
    }
    const int one = 1;
    const unsigned char start[] = {*(const char *)&one ? 'l' : 'B', type, flags, 1};
    put(&out, start, sizeof start);
    putNumber(&out, (uint32_t)body.size);
    putNumber(&out, ++serial);
    putNumber(&out, 0);
    putField(&out, path, "o", object);
    putField(&out, interface, "s", onInterface);
    putField(&out, member, "s", name);
    if (type == methodCall) {
        putField(&out, destination, "s", busName);
    }
    if (*types) {
        putField(&out, signature, "g", types);
    }
    const uint32_t fields = (uint32_t)out.size - 16;
    memcpy(out.bytes + 12, &fields, sizeof fields);
    align(&out, 8);
    put(to, out.bytes, out.size);
    put(to, body.bytes, body.size);
}

static int openBus(void)
{
    static const char prefix[] = "unix:path=";
    const char *address = getenv("DBUS_SYSTEM_BUS_ADDRESS");
    struct sockaddr_un place = {.sun_family = AF_UNIX};
    if (!address || strncmp(address, prefix, sizeof prefix - 1) != 0) {
        return -1;
    }
    address += sizeof prefix - 1;
    const size_t length = strcspn(address, ",;");
    if (length >= sizeof place.sun_path) {
        return -1;
    }
    memcpy(place.sun_path, address, length);
    const int bus = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    return connect(bus, (const struct sockaddr *)&place, sizeof place) == 0 ? bus : -1;
}

/* The authentication and everything this module ever says, in one go. */
static void announce(int bus, const char *name, int mute)
{
    char text[512];
    char user[16];
    struct buffer out = {.size = 0};
    snprintf(user, sizeof user, "%u", (unsigned)getuid());
    put(&out, "\0AUTH EXTERNAL ", 15);
    for (const char *digit = user; *digit; ++digit) {
        snprintf(text, sizeof text, "%02x", (unsigned)*digit);
        put(&out, text, 2);
    }
    put(&out, "\r\nBEGIN\r\n", 9);
    putMessage(&out, methodCall, 0, "/org/freedesktop/DBus", busName, "Hello", "", "");
    snprintf(text, sizeof text, "type='signal',interface='%s',member='event',arg0='stop_module_%.200s'", eventInterface,
             name);
    putMessage(&out, methodCall, noReply, "/org/freedesktop/DBus", busName, "AddMatch", "s", text);
    if (!mute) {
        snprintf(text, sizeof text, "end_of_init_%.200s", name);
        putMessage(&out, signalMessage, noReply, "/tiny", eventInterface, "event", "sa{sv}", text);
    }
    if (send(bus, out.bytes, out.size, MSG_NOSIGNAL) != (ssize_t)out.size) {
        _exit(1);
    }
}

static void end(int number)
{
    (void)number;
    _exit(0);
}

/* Nothing reaches this connection but replies, the announcement of its own name and its stop event. */
static void sleepUntilStopped(int bus, const char *name)
{
    char stop[256];
    char received[4096];
    size_t size = 0;
    snprintf(stop, sizeof stop, "stop_module_%.200s", name);
    for (;;) {
        const ssize_t count = recv(bus, received + size, sizeof received - size, 0);
        if (count <= 0) {
            return;
        }
        size += (size_t)count;
        if (memmem(received, size, stop, strlen(stop) + 1)) {
            return;
        }
        if (size > sizeof received / 2) { /* the name may have come by halves */
            memmove(received, received + size - sizeof stop, sizeof stop);
            size = sizeof stop;
        }
    }
}

static void sleepFor(long milliseconds)
{
    const struct timespec time = {milliseconds / 1000, milliseconds % 1000 * 1000000};
    if (milliseconds > 0) { /* a sleep of no time is one of 50 us */
        nanosleep(&time, NULL);
    }
}

static void computeFor(long milliseconds)
{
    const clock_t end = clock() + milliseconds * (CLOCKS_PER_SEC / 1000);
    while (clock() < end) { }
}

static long numberOf(const char *argument, const char *option)
{
    const size_t length = strlen(option);
    return strncmp(argument, option, length) == 0 ? atol(argument + length) : 0;
}

int main(int argc, char **argv)
{
    static const char option[] = "--moduleName=";
    const char *name = "tiny";
    int mute = 0;
    long stopWait = 0;
    for (int i = 1; i < argc; ++i) {
        if (strncmp(argv[i], option, sizeof option - 1) == 0) {
            name = argv[i] + sizeof option - 1;
        } else if (strcmp(argv[i], "--mute") == 0) {
            mute = 1;
        }
        sleepFor(numberOf(argv[i], "--wait="));
        computeFor(numberOf(argv[i], "--compute="));
        stopWait += numberOf(argv[i], "--stop-wait=");
    }
    signal(SIGTERM, end);
    const int bus = openBus();
    if (bus < 0) {
        return 1;
    }
    announce(bus, name, mute);
    sleepUntilStopped(bus, name);
    sleepFor(stopWait);
    return 0;
}
