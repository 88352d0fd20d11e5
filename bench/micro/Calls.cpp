#include "micro/Sections.h"
#include "qtdbus/BusExchange.h"
#include "rig/FigureTable.h"
#include "rig/MeasuredBoot.h"
#include "rig/ProcessTime.h"
#include "rig/Statistics.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>

namespace {

struct Callee
{
    QString service;
    QString object;
    QString interface;
    QString method;
};

const Callee daemonList{QStringLiteral("com.velmora.Jovara.ApplicationManager"), QStringLiteral("/ApplicationManager"),
                        QStringLiteral("com.velmora.Jovara.JovInterface"), QStringLiteral("getModulesList")};
const Callee bareList{QStringLiteral("com.velmora.Jovara.BareList"), QStringLiteral("/BareList"),
                      QStringLiteral("com.velmora.Jovara.BareList"), QStringLiteral("getModulesList")};
const Callee busPing{QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                     QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping")};

QDBusMessage call(const QDBusConnection &bus, const Callee &callee)
{
    return bus.call(QDBusMessage::createMethodCall(callee.service, callee.object, callee.interface, callee.method));
}

double milliseconds(const QDBusConnection &bus, const Callee &callee)
{
    QElapsedTimer timer;
    timer.start();
    const QDBusMessage reply = call(bus, callee);
    const double time = double(timer.nsecsElapsed()) / 1e6;
    if (reply.type() != QDBusMessage::ReplyMessage) {
        qFatal("%s: %s", qPrintable(callee.service), qPrintable(reply.errorMessage()));
    }
    return time;
}

void measureList(const Programs &programs, const MeasuredBoot &boot, FigureTable &table, int repetitions)
{
    QProcess server;
    server.start(programs.listServer, QStringList());
    const QString name = QStringLiteral("calls");
    {
        const QDBusConnection bus = QDBusConnection::connectToBus(boot.bus().address(), name);
        exchangeWithBus(bus);
        while (call(bus, bareList).type() != QDBusMessage::ReplyMessage && server.state() != QProcess::NotRunning) {
            QThread::msleep(5);
        }
        Pairs pairs;
        QVector<double> pings;
        for (int i = 0; i < repetitions; ++i) {
            pairs.add(milliseconds(bus, daemonList), milliseconds(bus, bareList));
            pings.append(milliseconds(bus, busPing));
        }
        table.add(
            {QStringLiteral("getModulesList of 100 modules, ms"), figure(median(pairs.ours), 3), QString(), QString()});
        table.add({QStringLiteral("the same list from a bare QtDBus object, ms"), figure(median(pairs.floor), 3),
                   QString(), QString()});
        table.add({QStringLiteral("ratio of the two"), figure(pairs.ratio()), figure(1.5), within(pairs.ratio(), 1.5)});
        table.add({QStringLiteral("a ping of the bus, ms"), figure(median(pings), 3), QString(), QString()});
    }
    QDBusConnection::disconnectFromBus(name);
    server.kill();
    server.waitForFinished();
}

void measureCommand(const Programs &programs, const MeasuredBoot &boot, FigureTable &table, int repetitions)
{
    const QStringList busctl{QStringLiteral("--address=") + boot.bus().address(),
                             QStringLiteral("call"),
                             daemonList.service,
                             daemonList.object,
                             daemonList.interface,
                             daemonList.method};
    Pairs pairs;
    for (int i = 0; i < repetitions; ++i) {
        pairs.add(processTime(programs.command, {QStringLiteral("list")}),
                  processTime(QStringLiteral("busctl"), busctl));
    }
    const double list = median(pairs.ours);
    table.add({QStringLiteral("jovctl list of 100 modules, whole process, ms"), figure(list), QStringLiteral("30"),
               within(list, 30)});
    table.add({QStringLiteral("busctl call of the same list, ms"), figure(median(pairs.floor)), QString(), QString()});
    table.add({QStringLiteral("ratio of the two"), figure(pairs.ratio()), figure(2), within(pairs.ratio(), 2)});
}

} // namespace

void Sections::calls(const Programs &programs, FigureTable &table, int repetitions)
{
    const BenchTerminal terminal(programs.tinyModule);
    const QStringList names = terminal.addChain(100);
    const MeasuredBoot boot(MeasuredBoot::By::Daemon, programs, terminal, names);
    measureList(programs, boot, table, repetitions * 20);
    if (QFileInfo::exists(programs.command)) {
        measureCommand(programs, boot, table, repetitions);
    }
}
