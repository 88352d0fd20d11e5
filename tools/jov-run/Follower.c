#include "Follower.h"

#include "BusLink.h"
#include "NotifySocket.h"
#include "OutputRelay.h"
#include "ProcessTree.h"
#include "Readiness.h"

#include <errno.h>
#include <limits.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

enum {
    firstPause = 10,
    longestPause = 1000,
    noticeAfter = 30000,
    shortestCheck = 2,
    longestCheck = 100,
    notificationsPerTurn = 16
};

enum { ofProgram, ofCommand, ofSource, ofFirstOutput, ofSecondOutput, ofBus, entryCount = ofBus + mostWatches };

struct Follower
{
    const struct Program *program;
    const struct Options *options;
    struct BusLink link;
    struct OutputRelay outputs[2];
    int source;
    int command; /* a descriptor of the stop command's process; -1 while none runs */
    long long began;
    long long nextCheck, nextConnect, nextNotice; /* LLONG_MAX: none */
    int pause;
    bool isReady;
    bool isStopping; /* by itself */
    bool isAnnounced; /* perhaps on an earlier connection */
    bool isAnnouncedHere;
    bool wasConnected;
    dbus_uint32_t ownerQuestion, processQuestion, nameRequest;
    char name[512]; /* on the bus */
    char supervisor[64];
    char stopEvent[512];
    char status[256];
    char lastError[256];
};

static long long now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1000LL + time.tv_nsec / 1000000;
}

static void report(const struct Follower *self, const char *format, ...) __attribute__((format(printf, 2, 3)));

static void report(const struct Follower *self, const char *format, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    for (char *c = text; *c; ++c) {
        if ((unsigned char)*c < ' ') {
            *c = ' ';
        }
    }
    dprintf(STDERR_FILENO, "jov-run: %s: %s\n", self->options->module, text);
}

static void sendSignal(const struct Follower *self)
{
    syscall(SYS_pidfd_send_signal, self->program->handle, self->options->stopSignal, NULL, 0);
}

static void executeStopCommand(const struct Follower *self)
{
    char pid[16];
    snprintf(pid, sizeof pid, "%d", (int)self->program->pid);
    setenv("JOV_MODULE_PID", pid, 1);
    signal(SIGPIPE, SIG_DFL);
    execl("/bin/sh", "sh", "-c", self->options->stopCommand, (char *)NULL);
    _exit(exitNotExecuted);
}

static void stopProgram(struct Follower *self)
{
    /* It ends already, or the command does its work. */
    if (self->isStopping || self->command >= 0) {
        return;
    }
    if (self->options->stopCommand) {
        const pid_t pid = fork();
        if (pid == 0) {
            executeStopCommand(self);
        }
        self->command = pid < 0 ? -1 : (int)syscall(SYS_pidfd_open, pid, 0);
    }
    if (self->command < 0) {
        sendSignal(self);
    }
}

static void stopCommandEnded(struct Follower *self)
{
    siginfo_t result = {0};
    waitid(P_PIDFD, (id_t)self->command, &result, WEXITED);
    close(self->command);
    self->command = -1;
    if (result.si_code != CLD_EXITED || result.si_status != 0) {
        report(self, "the stop command failed: sending the signal instead");
        sendSignal(self);
    }
}

static void announce(struct Follower *self, bool isRepeated)
{
    static char *const none[] = {NULL};
    char event[512];
    snprintf(event, sizeof event, "end_of_init_%s", self->options->module);
    /* The bus handles the two in this order: whoever gets the event finds the name. */
    if (!isRepeated) {
        self->nameRequest = busRequestName(&self->link, self->name);
    }
    busSendEvent(&self->link, self->options->module, event, none, isRepeated);
    self->isAnnounced = true;
    self->isAnnouncedHere = true;
}

static void becomeReady(struct Follower *self)
{
    if (self->isReady || self->isStopping) {
        return;
    }
    self->isReady = true;
    self->nextCheck = LLONG_MAX;
    self->nextNotice = LLONG_MAX;
    for (int i = 0; i < 2; ++i) {
        self->outputs[i].wanted = NULL;
    }
    if (self->link.connection) {
        announce(self, false);
    }
}

static void ask(struct Follower *self, const char *owner)
{
    self->processQuestion = busCall(&self->link, "GetConnectionUnixProcessID", owner);
}

static void examineReply(struct Follower *self, DBusMessage *reply)
{
    const dbus_uint32_t serial = dbus_message_get_reply_serial(reply);
    const char *owner = NULL;
    dbus_uint32_t number = 0;
    dbus_message_get_args(reply, NULL, DBUS_TYPE_STRING, &owner, DBUS_TYPE_INVALID);
    dbus_message_get_args(reply, NULL, DBUS_TYPE_UINT32, &number, DBUS_TYPE_INVALID);
    if (serial == self->nameRequest && number != DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER) {
        report(self, "cannot get the bus name %s: %s", self->name, owner ? owner : "another process has it");
    } else if (serial == self->ownerQuestion && owner && self->isAnnounced && !self->isAnnouncedHere) {
        ask(self, owner);
    } else if (serial == self->processQuestion && self->isAnnounced && number != 0
               && (pid_t)number == parentOf(self->program->pid)) {
        announce(self, true);
    }
}

static void messageReceived(DBusMessage *message, void *owner)
{
    struct Follower *self = owner;
    DBusMessageIter arguments;
    const char *name = NULL;
    const char *before = NULL;
    const char *after = NULL;
    if (dbus_message_get_type(message) != DBUS_MESSAGE_TYPE_SIGNAL) {
        examineReply(self, message);
    } else if (isEvent(message, self->stopEvent, &arguments)) {
        stopProgram(self);
    } else if (dbus_message_is_signal(message, DBUS_INTERFACE_DBUS, "NameOwnerChanged")
               && dbus_message_get_args(message, NULL, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING, &before,
                                        DBUS_TYPE_STRING, &after, DBUS_TYPE_INVALID)
               && strcmp(name, self->supervisor) == 0 && *after && self->isAnnounced) {
        /* The supervisor has come, perhaps after the announcement. */
        ask(self, after);
    }
}

static void busLost(struct Follower *self, const char *reason)
{
    if (strcmp(self->lastError, reason) != 0) {
        snprintf(self->lastError, sizeof self->lastError, "%s", reason);
        report(self, "%s, trying again every second", reason);
    }
    if (self->link.isOpen) {
        self->pause = 0;
    }
    busDisconnect(&self->link);
    self->nextConnect = now() + self->pause;
    self->pause = self->pause == 0 ? firstPause : 2 * self->pause;
    self->pause = self->pause > longestPause ? longestPause : self->pause;
}

static void connectBus(struct Follower *self)
{
    char error[256] = "";
    char rule[256];
    self->nextConnect = LLONG_MAX;
    if (!busConnect(&self->link, error, sizeof error)) {
        busLost(self, error);
        return;
    }
    self->isAnnouncedHere = false;
    busSubscribe(&self->link, self->stopEvent);
    snprintf(rule, sizeof rule,
             "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',member='NameOwnerChanged',"
             "arg0='%s'",
             self->supervisor);
    busCall(&self->link, "AddMatch", rule);
    self->ownerQuestion = busCall(&self->link, "GetNameOwner", self->supervisor);
    if (self->isAnnounced) {
        self->nameRequest = busRequestName(&self->link, self->name);
    } else if (self->isReady) {
        announce(self, false);
    }
}

static void readSource(struct Follower *self)
{
    if (self->options->ready == readyNotify) {
        struct Notification notification;
        for (int i = 0;
             i < notificationsPerTurn && receiveNotification(self->source, self->program->pid, &notification); ++i) {
            self->isStopping = self->isStopping || notification.isStopping;
            if (notification.status[0] != '\0') {
                memcpy(self->status, notification.status, sizeof self->status);
                report(self, "%s", self->status);
            }
            if (notification.isReady) {
                becomeReady(self);
            }
        }
        return;
    }
    char text[256];
    const ssize_t size = read(self->source, text, sizeof text);
    if (size > 0 && memchr(text, '\n', (size_t)size)) {
        becomeReady(self);
    }
    if (size == 0 || self->isReady) {
        close(self->source);
        self->source = -1;
    }
}

static void doWhatIsDue(struct Follower *self)
{
    const long long time = now();
    if (time >= self->nextConnect) {
        connectBus(self);
    }
    if (time >= self->nextCheck) {
        const long long run = time - self->began;
        if (isReached(self->options, self->program, run)) {
            becomeReady(self);
        } else if (self->options->ready == readyDelay) {
            self->nextCheck = self->began + self->options->number;
        } else {
            /* A share of the time that it has taken so far. */
            const long long pause = run / 8;
            self->nextCheck =
                time + (pause < shortestCheck ? shortestCheck : (pause > longestCheck ? longestCheck : pause));
        }
    }
    if (time >= self->nextNotice) {
        char missing[512];
        describeReadiness(self->options, missing, sizeof missing);
        report(self, "still waiting for %s%s%s", missing, self->status[0] != '\0' ? "; its status: " : "",
               self->status);
        self->nextNotice = time + 2 * (time - self->began);
    }
}

static int timeUntilDue(const struct Follower *self)
{
    long long due = self->nextCheck < self->nextConnect ? self->nextCheck : self->nextConnect;
    due = due < self->nextNotice ? due : self->nextNotice;
    const long long left = due == LLONG_MAX ? -1 : due - now();
    return due == LLONG_MAX ? -1 : (int)(left < 0 ? 0 : (left > INT_MAX ? INT_MAX : left));
}

/* One turn; false when the program has ended. */
static bool turn(struct Follower *self)
{
    struct pollfd entries[entryCount];
    entries[ofProgram] = (struct pollfd){self->program->handle, POLLIN, 0};
    entries[ofCommand] = (struct pollfd){self->command, POLLIN, 0};
    entries[ofSource] = (struct pollfd){self->source, POLLIN, 0};
    entries[ofFirstOutput] = relayWaitsFor(&self->outputs[0]);
    entries[ofSecondOutput] = relayWaitsFor(&self->outputs[1]);
    int timeout = timeUntilDue(self);
    const int watches = busPoll(&self->link, entries + ofBus, &timeout);
    if (poll(entries, (nfds_t)(ofBus + watches), timeout) < 0) {
        return true;
    }
    if (entries[ofSource].revents != 0) {
        readSource(self);
    }
    for (int i = 0; i < 2; ++i) {
        if (relayOutput(&self->outputs[i], entries[ofFirstOutput + i].revents)) {
            becomeReady(self);
        }
    }
    if (entries[ofCommand].revents != 0) {
        stopCommandEnded(self);
    }
    if (!busServe(&self->link, entries + ofBus, watches)) {
        busLost(self, "the bus is lost");
    } else if (self->link.isOpen) {
        self->lastError[0] = '\0';
    }
    if (entries[ofProgram].revents != 0) {
        return false;
    }
    doWhatIsDue(self);
    return true;
}

void follow(const struct Program *program, const struct Options *options, const regex_t *wantedLine)
{
    static struct Follower self;
    self.program = program;
    self.options = options;
    signal(SIGPIPE, SIG_IGN);
    signal(SIGCHLD, SIG_DFL);
    if (!dbus_validate_utf8(self.options->module, NULL)) {
        report(&self, "the name is not UTF-8");
        return;
    }
    busName(self.name, sizeof self.name, self.options->module);
    busName(self.supervisor, sizeof self.supervisor, "ApplicationManager");
    snprintf(self.stopEvent, sizeof self.stopEvent, "stop_module_%s", self.options->module);
    self.link.handler = messageReceived;
    self.link.owner = &self;
    self.source = program->source;
    self.command = -1;
    for (int i = 0; i < 2; ++i) {
        self.outputs[i].from = program->output[i];
        self.outputs[i].to = STDOUT_FILENO + i;
        self.outputs[i].wanted = wantedLine;
    }
    self.began = now();
    self.nextCheck = isPolled(options) ? self.began : LLONG_MAX;
    self.nextConnect = self.began;
    self.nextNotice = self.began + noticeAfter;
    while (turn(&self)) { }
    for (int i = 0; i < 2; ++i) {
        finishOutput(&self.outputs[i]);
    }
}
