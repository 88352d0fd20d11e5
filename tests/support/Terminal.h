#ifndef TERMINAL_H
#define TERMINAL_H

#include "bus/PrivateBus.h"
#include "support/Processes.h"
#include "support/RootDir.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QObject>
#include <QProcess>
#include <QStringList>
#include <QTest>
#include <QVariantMap>

#include <csignal>
#include <functional>

/**
 * A terminal for a test: files under a root of its own, a bus of its own, and the real daemon with real modules.
 *
 * It is described by lines, a step or a module each; every module is a sample module that plays what its arguments say:
 *
 *     step NAME VALUE [home] [parallel]
 *     MODULE STEP [<DEPENDENCY,DEPENDENCY...] [@MODULE,MODULE...] [ARGUMENT...]
 *
 * The files can be changed before start(). The destructor ends the daemon when it still runs; the program fails when
 * that has left a process behind. Waits poll with the event loop turning, 15 s at most.
 */
class Terminal : public QObject
{
    Q_OBJECT

public:
    explicit Terminal(const QString &description);
    explicit Terminal(const char *description)
        : Terminal(QString::fromUtf8(description))
    { }
    ~Terminal() override;

    RootDir root;
    PrivateBus bus;

    /// Another program in the place of the daemon; before start().
    void setDaemon(const QString &program)
    {
        m_program = program;
        setVariable("JOV_DURATIONS"_s,
                    "stop=600 stop-with-everything=300 presentation=500 archive=2000"_s); // of a quick daemon
    }
    /// A variable for the daemon; before start().
    void setVariable(const QString &name, const QString &value) { m_environment.insert(name, value); }
    /// `early` is further XML of its description.
    void addModule(const QString &name, const QString &step, const QStringList &dependencies = {},
                   const QStringList &arguments = {}, const QString &early = {});

    /// The module's arguments: those of the description, and these instead of any given here before.
    void addArguments(const QString &name, const QStringList &arguments);
    /// A program at `path` that notes how it was called: a line in records(), its name and its arguments.
    void standIn(const QString &path) { root.writeScript(path, "echo \"${0##*/} $*\" >>\"$JOV_ROOT/records\""); }
    [[nodiscard]] QStringList records() const
    {
        return QString::fromUtf8(root.read("/records"_s)).split(u'\n', Qt::SkipEmptyParts);
    }

    /// In the foreground.
    void start() { launch({"--nodaemon"_s}); }
    /// That, and waits until all modules run.
    [[nodiscard]] bool boot();
    /// Starts it in daemon mode and waits for the exit status of the process that was started.
    int startDaemon(const QStringList &arguments = {});
    /// The daemon's process id; 0 when there is none.
    [[nodiscard]] pid_t pid() const { return m_daemonPid != 0 ? m_daemonPid : pid_t(m_process.processId()); }
    /// The process that start() started still runs.
    [[nodiscard]] bool isUp() const { return m_process.state() != QProcess::NotRunning; }
    /// The command lines of the processes of this terminal.
    [[nodiscard]] QStringList leftBehind() const;
    /// What the started process has written to its standard streams.
    [[nodiscard]] QByteArray output();
    /// Sends the signal, when it is not 0, and waits for the end: the exit status, 128 + the signal that ended it, or
    /// -1 when the daemon still runs after 15 s.
    int end(int signal);

    /// The reply of a bus method as text: its value, "" when it has none, or the error's name.
    QString call(const QString &method, const QVariantList &arguments = {});
    QDBusPendingCall sendAsync(const QString &method, const QVariantList &arguments = {})
    {
        return connection().asyncCall(message(method, arguments));
    }
    /// A call of the daemon, of its control interface when none is named.
    static QDBusMessage message(const QString &method, const QVariantList &arguments = {},
                                const QString &interface = {});
    /// Sends an event as any component could.
    void notify(const QString &name, const QVariantMap &arguments = {});
    [[nodiscard]] QDBusConnection connection() const { return QDBusConnection(m_connectionName); }
    /// The events of others so far: "NAME" or "NAME ARGUMENT=VALUE...".
    [[nodiscard]] QStringList events() const { return m_events; }
    void forgetEvents() { m_events.clear(); }
    /// A new connection after the bus was away.
    void reconnect();

    /// "NAME:STATE NAME:STATE ...", by name; empty when nobody answers.
    QString states();
    /// The living processes of the daemon's modules.
    [[nodiscard]] QMap<QString, QList<pid_t>> modules() const { return Processes::modulesBelow(pid()); }

    [[nodiscard]] QStringList log(int from = 0) const { return root.log(from); }
    [[nodiscard]] int logCount(const QString &text, int from = 0) const { return log(from).filter(text).size(); }

    /// The limit, in ms, is for a machine with much else to do and for an emulator.
    static bool wait(const std::function<bool()> &reached, int limit = 60000)
    {
        return QTest::qWaitFor(reached, limit);
    }
    bool waitForStates(const QString &expected)
    {
        return waitForStates([&](const QString &states) { return states == expected; });
    }
    bool waitForLog(const QString &text, int from = 0)
    {
        return wait([&] { return logCount(text, from) > 0; });
    }
    bool waitForEvent(const QString &name)
    {
        return wait([&] { return m_events.contains(name); });
    }
    /// Until the state is the same for every module.
    bool waitForAll(const QString &state);

public Q_SLOTS:
    void eventReceived(const QString &name, const QVariantMap &arguments);

Q_SIGNALS:
    /// For every event as it arrives, so that a test can answer.
    void event(const QString &name);

private:
    bool waitForStates(const std::function<bool(const QString &)> &reached);
    void layOut(const QString &description);
    void launch(const QStringList &arguments);

    QMap<QString, QString> m_configs; ///< "%1" in the place of more arguments
    QString m_program;
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    QProcess m_process;
    pid_t m_daemonPid = 0; ///< in daemon mode
    QString m_connectionName;
    QStringList m_events;
};

#endif
