#include "support/Terminal.h"

#include "qtdbus/BusExchange.h"
#include "qtdbus/BusRecords.h"

#include <jov/BusNames.h>

#include <QDBusReply>
#include <QFile>

#include <cstdio>

#include <sys/wait.h>
#include <unistd.h>

namespace {

const QString manager = "ApplicationManager"_s;
const QString moduleDirectory = "/usr/lib/JovApplication/"_s;
const QString configDirectory = "/etc/JovApplication/module/"_s;

QString elements(const QString &element, const QStringList &texts)
{
    QString xml;
    for (const QString &text : texts) {
        xml += "<%1>%2</%1>"_s.arg(element, text.toHtmlEscaped());
    }
    return xml;
}

} // namespace

Terminal::Terminal(const QString &description)
    : m_program(QStringLiteral(DAEMON_PROGRAM))
{
    registerQtDBusRecords();
    layOut(description);
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
    if (QTest::currentTestFailed() && qEnvironmentVariableIsSet("SHOW_LOG")) {
        fputs(qPrintable(log().join(u'\n')), stderr);
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
    const QStringList lines = description.split(u'\n', Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        QStringList words = line.simplified().split(u' ', Qt::SkipEmptyParts);
        const QString first = words.takeFirst();
        const QString second = words.takeFirst();
        if (first == "step"_s) {
            steps += "<step name=\"%1\" value=\"%2\" show_homepage=\"%3\" parallel=\"%4\"/>"_s.arg(
                second, words.value(0), QVariant(words.contains("home"_s)).toString(),
                QVariant(words.contains("parallel"_s)).toString());
        } else {
            const bool depends = words.value(0).startsWith(u'<');
            const QStringList dependencies = depends ? words.takeFirst().mid(1).split(u',') : QStringList();
            const QString early = words.value(0).startsWith(u'@')
                ? "<early after=\"%1\"/>"_s.arg(words.takeFirst().mid(1).replace(u',', u' '))
                : QString();
            addModule(first, second, dependencies, words, early);
        }
    }
    root.write(configDirectory + manager + "/initStep.xml"_s, "<initStep>%1</initStep>"_s.arg(steps).toUtf8());
    root.keepLog();
    for (const char *folder : {"/usr/lib/JovApplication/", "/tmp/", "/log/", "/data/"}) {
        root.write(QString::fromLatin1(folder) + ".keep"_s, QByteArray());
    }
}

void Terminal::addModule(const QString &name, const QString &step, const QStringList &dependencies,
                         const QStringList &arguments, const QString &early)
{
    m_configs.insert(name,
                     "<config><initStep>%1</initStep><dependencies>%2</dependencies>%5"
                     "<extra_args>%3%4</extra_args></config>"_s.arg(step.toHtmlEscaped(),
                                                                    elements("dependency"_s, dependencies),
                                                                    elements("arg"_s, arguments), "%1"_s, early));
    addArguments(name, {});
    root.link(moduleDirectory + name, QStringLiteral(SAMPLE_MODULE));
}

void Terminal::addArguments(const QString &name, const QStringList &arguments)
{
    const QString config = m_configs.value(name).arg(elements("arg"_s, arguments));
    // In one go: the daemon may be reading it.
    const QString path = configDirectory + name + "/config.xml"_s;
    root.write(path + ".new"_s, config.toUtf8());
    std::rename(QFile::encodeName(root.path(path + ".new"_s)).constData(),
                QFile::encodeName(root.path(path)).constData());
}

void Terminal::launch(const QStringList &arguments)
{
    m_process.setProcessEnvironment(m_environment);
    m_process.start(m_program, arguments);
    m_process.waitForStarted();
}

bool Terminal::boot()
{
    start();
    return waitForAll("RUNNING"_s);
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
            break; // The next one would be a child that it has forked.
        }
    }
    return ended ? m_process.exitCode() : -1;
}

QByteArray Terminal::output()
{
    m_process.waitForReadyRead(0);
    return m_process.readAll();
}

int Terminal::end(int signal)
{
    // Process 0 would be the test's whole group.
    if (signal != 0 && pid() != 0) {
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
    m_connectionName = "test-%1"_s.arg(++count);
    QDBusConnection connection = QDBusConnection::connectToBus(bus.address(), m_connectionName);
    exchangeWithBus(connection);
    connection.connect(QString(), QString(), BusNames::eventInterface(), BusNames::eventMember(), this,
                       SLOT(eventReceived(QString, QVariantMap)));
}

void Terminal::eventReceived(const QString &name, const QVariantMap &arguments)
{
    QString text = name;
    for (auto argument = arguments.cbegin(); argument != arguments.cend(); ++argument) {
        text += " %1=%2"_s.arg(argument.key(), argument.value().toString());
    }
    m_events << text;
    Q_EMIT event(name);
}

QDBusMessage Terminal::message(const QString &method, const QVariantList &arguments, const QString &interface)
{
    QDBusMessage message =
        QDBusMessage::createMethodCall(BusNames::service(manager), BusNames::object(manager),
                                       interface.isEmpty() ? BusNames::methodInterface() : interface, method);
    message.setArguments(arguments);
    return message;
}

QString Terminal::call(const QString &method, const QVariantList &arguments)
{
    const QDBusMessage reply = connection().call(message(method, arguments));
    return reply.type() == QDBusMessage::ErrorMessage ? reply.errorName() : reply.arguments().value(0).toString();
}

void Terminal::notify(const QString &name, const QVariantMap &arguments)
{
    QDBusMessage message = QDBusMessage::createSignal("/Test"_s, BusNames::eventInterface(), BusNames::eventMember());
    message.setArguments({name, arguments});
    connection().send(message);
}

QString Terminal::states()
{
    const QDBusReply<ListApplicationConfig> reply = connection().call(message("getModulesList"_s), QDBus::Block, 3000);
    QStringList states;
    const ListApplicationConfig modules = reply.value();
    for (const ApplicationConfig &module : modules) {
        states << module.getName() + u':' + module.getState();
    }
    return states.join(u' ');
}

bool Terminal::waitForAll(const QString &state)
{
    return waitForStates([&](const QString &states) {
        return !states.isEmpty() && states.count(u':') == states.split(u' ').filter(u':' + state).size();
    });
}

bool Terminal::waitForStates(const std::function<bool(const QString &)> &reached)
{
    const bool isReached = wait([&] { return reached(states()); });
    if (!isReached) {
        qWarning("states are: %s", qPrintable(states()));
    }
    return isReached;
}
