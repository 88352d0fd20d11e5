#include "client/BusClient.h"
#include "client/Console.h"
#include "client/DaemonWatch.h"
#include "client/Interrupt.h"
#include "jovctl/Command.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

/// Writes each thing as a line of its own, at once.
class WatchPrinter : public QObject
{
    Q_OBJECT

public:
    WatchPrinter(const BusClient &client, bool asJson)
        : m_connection(client.connection())
        , m_asJson(asJson)
    { }

    void line(const QString &kind, const QString &text, const QJsonObject &values)
    {
        const QDateTime now = QDateTime::currentDateTime();
        if (m_asJson) {
            QJsonObject object = values;
            object.insert(QStringLiteral("time"), now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODateWithMs));
            object.insert(QStringLiteral("kind"), kind);
            Console::write(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) + QLatin1Char('\n'));
        } else {
            Console::writeLine(Console::coloured(now.toString(QStringLiteral("HH:mm:ss.zzz")), Console::Colour::Dim)
                               + QLatin1Char(' ') + text);
        }
        if (!Console::flush()) {
            QCoreApplication::exit(int(ExitStatus::Failed));
        }
    }

    void state(const QString &kind, const QString &name, const QString &oldState, const QString &newState)
    {
        const QString shown =
            Console::coloured(newState.isEmpty() ? QStringLiteral("-") : newState, Console::colourOfState(newState));
        QJsonObject values{{QStringLiteral("name"), name}, {QStringLiteral("state"), newState}};
        if (!oldState.isEmpty()) {
            values.insert(QStringLiteral("old"), oldState);
        }
        line(kind,
             QStringLiteral("%1 %2%3").arg(
                 Console::printable(name),
                 oldState.isEmpty() ? QStringLiteral("is ") : oldState + QStringLiteral(" -> "), shown),
             values);
    }

    void followEvents()
    {
        m_connection.connect(QString(), QString(), QStringLiteral("com.velmora.Jovara.JovEvent"),
                             QStringLiteral("event"), this, SLOT(event(QString, QVariantMap)));
    }

private Q_SLOTS:
    void event(const QString &name, const QVariantMap &arguments)
    {
        const QJsonObject values = QJsonObject::fromVariantMap(arguments);
        const QString text = arguments.isEmpty()
            ? name
            : name + QLatin1Char(' ') + QString::fromUtf8(QJsonDocument(values).toJson(QJsonDocument::Compact));
        line(QStringLiteral("event"), QStringLiteral("event %1").arg(Console::printable(text)),
             {{QStringLiteral("name"), name}, {QStringLiteral("arguments"), values}});
    }

private:
    QDBusConnection m_connection;
    const bool m_asJson;
};

void connectAll(const DaemonWatch &watch, WatchPrinter &printer)
{
    QObject::connect(&watch, &DaemonWatch::present, &printer, [&printer](const QString &name, const QString &state) {
        printer.state(QStringLiteral("present"), name, QString(), state);
    });
    QObject::connect(&watch, &DaemonWatch::changed, &printer,
                     [&printer](const QString &name, const QString &oldState, const QString &newState) {
                         printer.state(QStringLiteral("change"), name, oldState, newState);
                     });
    QObject::connect(&watch, &DaemonWatch::stepDone, &printer, [&printer](int value, const QString &name) {
        printer.line(QStringLiteral("step"), QStringLiteral("step %1 %2 done").arg(value).arg(Console::printable(name)),
                     {{QStringLiteral("value"), value}, {QStringLiteral("name"), name}});
    });
    QObject::connect(&watch, &DaemonWatch::appeared, &printer, [&printer] {
        printer.line(QStringLiteral("daemon"), QStringLiteral("ApplicationManager is there"),
                     {{QStringLiteral("there"), true}});
    });
    QObject::connect(&watch, &DaemonWatch::vanished, &printer, [&printer] {
        printer.line(QStringLiteral("daemon"), QStringLiteral("ApplicationManager is not running, waiting for it"),
                     {{QStringLiteral("there"), false}});
    });
    QObject::connect(&watch, &DaemonWatch::refused, &printer, [](const QString &text) {
        Console::complain(QStringLiteral("ApplicationManager refused: %1").arg(text));
        QCoreApplication::exit(int(ExitStatus::Failed));
    });
    QObject::connect(&watch, &DaemonWatch::busLost, &printer, [] {
        Console::complain(QStringLiteral("the bus is gone"));
        QCoreApplication::exit(int(ExitStatus::NoDaemon));
    });
}

ExitStatus watch(const Arguments &arguments)
{
    Interrupt interrupt;
    const BusClient client;
    WatchPrinter printer(client, arguments.wantsJson());
    DaemonWatch daemon(client.connection());
    connectAll(daemon, printer);
    QObject::connect(&interrupt, &Interrupt::raised, &printer, [] { QCoreApplication::quit(); });
    if (arguments.isSet(QStringLiteral("events"))) {
        printer.followEvents();
    }
    daemon.begin();
    return ExitStatus(QCoreApplication::exec());
}

} // namespace

#include "WatchCommand.moc"

CommandList watchCommands()
{
    Command command;
    command.name = QStringLiteral("watch");
    command.summary = QStringLiteral("Show what happens, as it happens");
    command.description =
        QStringLiteral("Begins with the present state of all modules; nothing is missed between that and\n"
                       "the first change. Waits when the daemon is not there. Ctrl-C ends it.");
    command.examples = QStringList{QStringLiteral("jovctl watch"), QStringLiteral("jovctl watch --events"),
                                   QStringLiteral("jovctl watch --json | jq 'select(.kind == \"change\")'")};
    command.options = QList<QCommandLineOption>{
        QCommandLineOption(QStringLiteral("json"), QStringLiteral("For programs: a JSON object a line")),
        QCommandLineOption(QStringLiteral("events"), QStringLiteral("The platform's events as well"))};
    command.run = watch;
    return {command};
}
