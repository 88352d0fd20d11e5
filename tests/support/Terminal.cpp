#include "Terminal.h"

#include "ApplicationConfig.h"
#include "BusNames.h"

#include <QDBusReply>
#include <QFile>
#include <QTest>

#include <csignal>
#include <cstdio>

#include <sys/wait.h>
#include <unistd.h>

namespace {

const QString manager = QStringLiteral("ApplicationManager");
const QString moduleDirectory = QStringLiteral("/usr/lib/JovApplication/");
const QString configDirectory = QStringLiteral("/etc/JovApplication/module/");

QDBusMessage methodCall(const QString &method, const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(BusNames::service(manager), BusNames::object(manager),
                                                          BusNames::methodInterface(), method);
    message.setArguments(arguments);
    return message;
}

QString elements(const QString &list, const QString &element, const QStringList &texts)
{
    QString xml = QLatin1Char('<') + list + QLatin1Char('>');
    for (const QString &text : texts) {
        xml += QStringLiteral("<%1>%2</%1>").arg(element, text.toHtmlEscaped());
    }
    return xml + QStringLiteral("</%1>").arg(list);
}

} // namespace

Terminal::Terminal(const char *description)
    : m_program(QStringLiteral(DAEMON_PROGRAM))
{
    registerDBusApplicationConfig();
    layOut(QString::fromUtf8(description));
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    reconnect();
}

Terminal::~Terminal()
{
    if (pid() != 0) {
        end(SIGTERM);
    }
    if (pid() != 0) {
        QTest::qFail("the daemon does not end on SIGTERM", __FILE__, __LINE__);
        end(SIGKILL);
    }
    const QStringList left = leftBehind();
    if (!left.isEmpty()) {
        QTest::qFail(qPrintable(QStringLiteral("left behind: ") + left.join(QStringLiteral(", "))), __FILE__, __LINE__);
    }
    const QList<Processes::Process> processes = Processes::below(getpid());
    for (const Processes::Process &process : processes) {
        if (left.contains(process.commandLine)) {
            kill(process.pid, SIGKILL);
            waitpid(process.pid, nullptr, 0);
        }
    }
    if (QTest::currentTestFailed() && qEnvironmentVariableIsSet("SHOW_LOG")) {
        fputs(qPrintable(log().join(QLatin1Char('\n'))), stderr);
    }
    QDBusConnection::disconnectFromBus(m_connectionName);
}

QStringList Terminal::leftBehind() const
{
    QStringList left;
    const QList<Processes::Process> processes = Processes::below(getpid());
    for (const Processes::Process &process : processes) {
        if (process.commandLine.contains(root.path())) {
            left << process.commandLine;
        }
    }
    return left;
}

void Terminal::layOut(const QString &description)
{
    QString steps;
    const QStringList lines = description.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        QStringList words = line.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
        const QString first = words.takeFirst();
        const QString second = words.takeFirst();
        if (first == QLatin1String("step")) {
            const bool home = words.value(1) == QLatin1String("home");
            steps += QStringLiteral("<step name=\"%1\" value=\"%2\"%3/>")
                         .arg(second, words.value(0), home ? QStringLiteral(" show_homepage=\"true\"") : QString());
        } else {
            const bool depends = words.value(0).startsWith(QLatin1Char('<'));
            addModule(first, second, depends ? words.takeFirst().mid(1).split(QLatin1Char(',')) : QStringList(), words);
        }
    }
    root.write(configDirectory + manager + QStringLiteral("/initStep.xml"),
               QStringLiteral("<initStep>%1</initStep>").arg(steps).toUtf8());
    root.keepLog();
    for (const char *folder : {"/usr/lib/JovApplication/", "/tmp/", "/log/"}) {
        root.write(QString::fromLatin1(folder) + QStringLiteral(".keep"), QByteArray());
    }
}

void Terminal::addModule(const QString &name, const QString &step, const QStringList &dependencies,
                         const QStringList &arguments)
{
    m_modules.insert(name, {step, dependencies, arguments});
    writeConfig(name, {});
    root.link(moduleDirectory + name, QStringLiteral(SAMPLE_MODULE));
}

void Terminal::addArguments(const QString &name, const QStringList &arguments)
{
    writeConfig(name, arguments);
}

void Terminal::writeConfig(const QString &name, const QStringList &moreArguments)
{
    const ModuleFile module = m_modules.value(name);
    const QString config =
        QStringLiteral("<config><initStep>%1</initStep>%2%3</config>")
            .arg(module.step.toHtmlEscaped(),
                 elements(QStringLiteral("dependencies"), QStringLiteral("dependency"), module.dependencies),
                 elements(QStringLiteral("extra_args"), QStringLiteral("arg"), module.arguments + moreArguments));
    // In one go: the daemon may be reading it.
    const QString path = configDirectory + name + QStringLiteral("/config.xml");
    root.write(path + QStringLiteral(".new"), config.toUtf8());
    std::rename(QFile::encodeName(root.path(path + QStringLiteral(".new"))).constData(),
                QFile::encodeName(root.path(path)).constData());
}

void Terminal::standIn(const QString &path)
{
    root.writeScript(path, "echo \"${0##*/} $*\" >>\"$JOV_ROOT/records\"");
}

QStringList Terminal::records() const
{
    return QString::fromUtf8(root.read(QStringLiteral("/records"))).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void Terminal::launch(const QStringList &arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (auto variable = m_variables.cbegin(); variable != m_variables.cend(); ++variable) {
        environment.insert(variable.key(), variable.value());
    }
    m_process.setProcessEnvironment(environment);
    m_process.start(m_program, arguments);
    m_process.waitForStarted();
}

void Terminal::start()
{
    launch({QStringLiteral("--nodaemon")});
}

bool Terminal::boot()
{
    start();
    return waitForAll(QStringLiteral("RUNNING"));
}

int Terminal::startDaemon(const QStringList &arguments)
{
    launch(arguments);
    const bool ended = wait([this] { return m_process.state() == QProcess::NotRunning; });
    // Its parent gone, the daemon is a child of ours.
    const QList<Processes::Process> processes = Processes::below(getpid());
    for (const Processes::Process &process : processes) {
        if (process.commandLine.startsWith(m_program) && process.pid != m_process.processId()) {
            m_daemonPid = process.pid;
        }
    }
    return ended ? m_process.exitCode() : -1;
}

pid_t Terminal::pid() const
{
    return m_daemonPid != 0 ? m_daemonPid : pid_t(m_process.processId());
}

QByteArray Terminal::output()
{
    m_process.waitForReadyRead(0);
    return m_process.readAll();
}

int Terminal::end(int signal)
{
    if (signal != 0) {
        kill(pid(), signal);
    }
    if (m_daemonPid == 0) {
        if (!wait([this] { return m_process.state() == QProcess::NotRunning; })) {
            return -1;
        }
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : 128 + m_process.exitCode();
    }
    int status = 0;
    if (!wait([&] { return waitpid(m_daemonPid, &status, WNOHANG) != 0; })) {
        return -1;
    }
    m_daemonPid = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void Terminal::reconnect()
{
    static int count = 0;
    if (!m_connectionName.isEmpty()) {
        QDBusConnection::disconnectFromBus(m_connectionName);
    }
    m_connectionName = QStringLiteral("test-%1").arg(++count);
    QDBusConnection::connectToBus(bus.address(), m_connectionName)
        .connect(QString(), QString(), BusNames::eventInterface(), BusNames::eventMember(), this,
                 SLOT(eventReceived(QString, QVariantMap)));
}

void Terminal::eventReceived(const QString &name, const QVariantMap &arguments)
{
    QString text = name;
    for (auto argument = arguments.cbegin(); argument != arguments.cend(); ++argument) {
        text += QStringLiteral(" %1=%2").arg(argument.key(), argument.value().toString());
    }
    m_events << text;
    Q_EMIT event(name);
}

QDBusMessage Terminal::send(const QString &method, const QVariantList &arguments, int limit)
{
    return connection().call(methodCall(method, arguments), QDBus::Block, limit);
}

QDBusPendingCall Terminal::sendAsync(const QString &method, const QVariantList &arguments)
{
    return connection().asyncCall(methodCall(method, arguments));
}

QString Terminal::call(const QString &method, const QVariantList &arguments)
{
    const QDBusMessage reply = send(method, arguments);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        return reply.errorName();
    }
    return reply.arguments().value(0).toString();
}

void Terminal::notify(const QString &name, const QVariantMap &arguments)
{
    QDBusMessage message =
        QDBusMessage::createSignal(QStringLiteral("/Test"), BusNames::eventInterface(), BusNames::eventMember());
    message.setArguments({name, arguments});
    connection().send(message);
}

QString Terminal::states()
{
    const QDBusReply<ListApplicationConfig> reply = send(QStringLiteral("getModulesList"), {}, 3000);
    QStringList states;
    const ListApplicationConfig modules = reply.value();
    for (const ApplicationConfig &module : modules) {
        states << module.getName() + QLatin1Char(':') + module.getState();
    }
    return states.join(QLatin1Char(' '));
}

int Terminal::logCount(const QString &text, int from) const
{
    return log(from).filter(text).size();
}

bool Terminal::wait(const std::function<bool()> &reached, int limit)
{
    return QTest::qWaitFor(reached, limit);
}

bool Terminal::waitForStates(const QString &expected)
{
    const bool reached = wait([&] { return states() == expected; });
    if (!reached) {
        qWarning("states are: %s", qPrintable(states()));
    }
    return reached;
}

bool Terminal::waitForLog(const QString &text, int from)
{
    return wait([&] { return logCount(text, from) > 0; });
}

bool Terminal::waitForEvent(const QString &event)
{
    return wait([&] { return m_events.contains(event); });
}

bool Terminal::waitForAll(const QString &state)
{
    const bool reached = wait([&] {
        const QStringList all = states().split(QLatin1Char(' '), Qt::SkipEmptyParts);
        return !all.isEmpty() && all.filter(QLatin1Char(':') + state).size() == all.size();
    });
    if (!reached) {
        qWarning("states are: %s", qPrintable(states()));
    }
    return reached;
}
