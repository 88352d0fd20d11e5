#include "bus/PrivateBus.h"
#include "qtdbus/BusExchange.h"
#include "support/DataTable.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusPendingCall>
#include <QDBusSignature>
#include <QDBusVariant>
#include <QProcess>

#include <sys/resource.h>
#include <unistd.h>

// The faults of plain QtDBus that platform/qtdbus works around. Each is shown in a process of its own: some end it.
namespace {

enum Outcome { Right, Faulty, NotShown };

const QString service = "org.example.Plain"_s;
const QString path = "/plain"_s;
const QString interface = "org.example.Plain"_s;

QDBusConnection busOf(const QString &client)
{
    QDBusConnection found = QDBusConnection::connectToBus(QDBusConnection::SystemBus, client);
    exchangeWithBus(found);
    return found;
}

class Served : public QObject, public QDBusContext
{
    Q_OBJECT
    Q_PROPERTY(int level READ level WRITE setLevel)

public:
    Served()
    {
        QDBusConnection bus = busOf("served"_s);
        if (!bus.registerObject(path, this, QDBusConnection::ExportAllContents) || !bus.registerService(service)) {
            _exit(NotShown);
        }
    }
    [[nodiscard]] int level() const { return 1; }
    void setLevel(int /*refused*/) { }

    int newNames = 0;
    QStringList got;

    bool event(QEvent *event) override
    {
        newNames += event->type() == QEvent::DynamicPropertyChange ? 1 : 0;
        return QObject::event(event);
    }

public Q_SLOTS:
    void raise() { throw 1; }
    void take(const QString &text) { got << text; }
};

template <typename Condition>
void waitFor(Condition condition)
{
    if (!QTest::qWaitFor(condition, 30000)) {
        _exit(NotShown);
    }
}

QDBusMessage methodCall(const QString &of, const QString &method)
{
    return QDBusMessage::createMethodCall(service, path, of, method);
}

/// The reply to it; all messages before it have arrived, too.
QDBusMessage replyTo(const QDBusMessage &message)
{
    const QDBusPendingCall pending = busOf("peer"_s).asyncCall(message);
    waitFor([&] { return pending.isFinished(); });
    return pending.reply();
}

bool keepsEveryName()
{
    Served served;
    const QDBusConnection peer = busOf("peer"_s);
    for (int i = 0; i < 1000; ++i) {
        peer.send(methodCall(QString(), "unknown%1"_s.arg(i)));
    }
    replyTo(methodCall(QString(), "unknown0"_s));
    return served.newNames == 1000;
}

/// Whether a connection that asks for signals of two texts gets only the second.
bool losesText(const QString &text)
{
    Served served;
    QDBusConnection bus = busOf("served"_s);
    for (const QString &wanted : {text, "second"_s}) {
        bus.connect(QString(), path, interface, "signal"_s, {wanted}, "s"_s, &served, SLOT(take(QString)));
    }
    exchangeWithBus(bus);
    for (const QString &sent : {text, "second"_s}) {
        busOf("peer"_s).send(QDBusMessage::createSignal(path, interface, "signal"_s) << sent);
    }
    waitFor([&] { return served.got.contains("second"_s); });
    return !served.got.contains(text);
}

bool keepsCallContext()
{
    Served served;
    busOf("peer"_s).send(methodCall(QString(), "raise"_s));
    for (;;) {
        try {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        } catch (int) {
            return served.calledFromDBus();
        }
    }
}

bool reportsRefusedValueAsWritten()
{
    Served served;
    const QDBusMessage write = methodCall("org.freedesktop.DBus.Properties"_s, "Set"_s)
        << QString() << "level"_s << QVariant::fromValue(QDBusVariant(7));
    return replyTo(write).type() == QDBusMessage::ReplyMessage;
}

/// Whether the connection is lost, if the process has not ended before.
bool breaksConnection(const QVariant &value)
{
    const QDBusConnection bus = busOf("peer"_s);
    bus.send(QDBusMessage::createSignal(path, interface, "signal"_s) << QVariantMap{{"key"_s, value}});
    exchangeWithBus(bus);
    return !bus.isConnected();
}

bool sendsDeepList()
{
    QVariant value = 1;
    for (int i = 0; i < 40; ++i) {
        value = QVariantList{value};
    }
    return breaksConnection(value);
}

bool sendsHalf()
{
    QDBusArgument half;
    half.beginArray(QMetaType::Int);
    return breaksConnection(QVariant::fromValue(half));
}

struct Fault
{
    const char *name;
    const char *workaround;
    bool endsProcess;
    bool (*show)();
};

const Fault faults[] = {
    {"every name is kept", "platform/qtdbus/AskedNames.h", false, keepsEveryName},
    {"an apostrophe in a match", "platform/qtdbus/MatchText.h", false, [] { return losesText("it's"_s); }},
    {"UTF-8 in a match", "platform/qtdbus/MatchText.h", true, [] { return losesText("caf\u00e9"_s); }},
    {"an exception in a slot", "platform/qtdbus/CallContext.h", false, keepsCallContext},
    {"a refused value", "src/manager/Inspection.cpp", false, reportsRefusedValueAsWritten},
    {"a deep list", "platform/qtdbus/EventValue.h", false, sendsDeepList},
    {"a deep signature", "platform/qtdbus/EventValue.h", true,
     [] { return breaksConnection(QVariant::fromValue(QDBusSignature(QString(33, u'a') + u'i'))); }},
    {"a half-written argument", "platform/qtdbus/EventValue.h", true, sendsHalf},
};

} // namespace

class QtDBusTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void workarounds_data()
    {
        columns<int>("index");
        for (int i = 0; i < int(std::size(faults)); ++i) {
            row(faults[i].name, i);
        }
    }

    void workarounds()
    {
        QFETCH(int, index);
        const Fault &fault = faults[index];
#ifdef __ARM_EABI__
        if (fault.show == keepsCallContext) {
            QSKIP("an exception does not get through QtDBus, which has no unwind tables here");
        }
#endif
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QCoreApplication::arguments().constFirst(), {"--show"_s, QString::number(index)});
        QVERIFY(process.waitForFinished(60000));
        const bool crashed = process.exitStatus() == QProcess::CrashExit;
        QVERIFY2(crashed ? fault.endsProcess : process.exitCode() <= Faulty, process.readAll());
        QVERIFY2(crashed || process.exitCode() == Faulty,
                 qPrintable("%1: the workaround is no longer needed"_s.arg(QLatin1String(fault.workaround))));
    }

private:
    PrivateBus m_bus;
};

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--show") == 0) {
        const rlimit none{0, 0};
        setrlimit(RLIMIT_CORE, &none);
        _exit(faults[atoi(argv[2])].show() ? Faulty : Right);
    }
    // A crash is to be seen as one under the sanitizers, too.
    qputenv("ASAN_OPTIONS", "handle_segv=0");
    QtDBusTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "QtDBusTest.moc"
