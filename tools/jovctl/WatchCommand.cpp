#include "client/BusClient.h"
#include "client/Console.h"
#include "client/DaemonWatch.h"
#include "client/Interrupt.h"
#include "jovctl/Command.h"

#include <jov/BusNames.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

/// Prints each report as a line, without buffering.
class WatchPrinter : public QObject
{
    Q_OBJECT

public:
    WatchPrinter(const BusClient &client, bool asJson)
        : m_client(client)
        , m_connection(client.connection())
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
        QJsonObject values{{QStringLiteral("name"), name}, {QStringLiteral("state"), newState}};
        if (!oldState.isEmpty()) {
            values.insert(QStringLiteral("old"), oldState);
        }
        const QString exit = kind == QLatin1String("change") ? exitOf(name, newState) : QString();
        if (!exit.isEmpty()) {
            values.insert(QStringLiteral("exit"), exit);
        }
        line(kind,
             QStringLiteral("%1 %2%3%4")
                 .arg(Console::printable(name),
                      oldState.isEmpty() ? QStringLiteral("is ") : oldState + QStringLiteral(" -> "),
                      Console::colouredState(newState), exit.isEmpty() ? exit : QStringLiteral(" (%1)").arg(exit)),
             values);
    }

    void followEvents()
    {
        m_connection.connect(QString(), QString(), BusNames::eventInterface(), BusNames::eventMember(), this,
                             SLOT(event(QString, QVariantMap)));
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
    /// How the process ended that has just stopped. Nothing if the daemon is gone meanwhile.
    [[nodiscard]] QString exitOf(const QString &name, const QString &state) const
    {
        if (stateOf(state) != ModuleState::Stopped) {
            return {};
        }
        try {
            const ModuleList modules = m_client.modules();
            const ModuleInfo *module = findModule(modules, name);
            return module && module->exitedAt > module->launchedAt ? module->lastExit() : QString();
        } catch (const Failure &) {
            return {};
        }
    }

    const BusClient &m_client;
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
        printer.line(QStringLiteral("daemon"), QStringLiteral("ApplicationManager is running"),
                     {{QStringLiteral("there"), true}});
    });
    QObject::connect(&watch, &DaemonWatch::vanished, &printer, [&printer] {
        printer.line(QStringLiteral("daemon"), QStringLiteral("ApplicationManager is not running; waiting for it"),
                     {{QStringLiteral("there"), false}});
    });
    QObject::connect(&watch, &DaemonWatch::refused, &printer, [](const QDBusMessage &reply) {
        try {
            checkLook(reply);
        } catch (const Failure &failure) {
            Console::complain(failure.text());
            QCoreApplication::exit(int(failure.status()));
        }
    });
    QObject::connect(&watch, &DaemonWatch::busLost, &printer, [] {
        Console::complain(QStringLiteral("the connection to the bus was lost"));
        QCoreApplication::exit(int(ExitStatus::NoDaemon));
    });
}

} // namespace

#include "WatchCommand.moc"

ExitStatus Commands::watch(const Arguments &arguments)
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
