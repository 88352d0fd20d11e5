#include "BusNames.h"
#include "Terminal.h"

#include <QDBusReply>
#include <QFile>
#include <QStandardPaths>
#include <QTest>

#include <csignal>

namespace {

void install(const Terminal &terminal, const QString &name, const QString &program)
{
    const QString file = QStringLiteral("/usr/lib/JovApplication/") + name;
    QFile::remove(terminal.root.path(file));
    terminal.root.link(file, program);
}

} // namespace

/// The two modules of examples/, the one after the other has announced itself.
class ExamplesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void life()
    {
        for (const char *tool : {"busctl", "setpriv"}) {
            if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty()) {
                QSKIP("the script's tools are not installed");
            }
        }
        Terminal terminal("step one 1 home\nhello one\nticker one <hello");
        install(terminal, QStringLiteral("hello"), QStringLiteral(HELLO_PROGRAM));
        install(terminal, QStringLiteral("ticker"), QStringLiteral(TICKER_PROGRAM));
        QVERIFY(terminal.boot());
        QVERIFY(Terminal::wait([&] { return !terminal.events().filter(QStringLiteral("tick seconds=")).isEmpty(); }));

        QDBusMessage call = QDBusMessage::createMethodCall(BusNames::service(QStringLiteral("hello")),
                                                           BusNames::object(QStringLiteral("hello")),
                                                           BusNames::methodInterface(), QStringLiteral("greet"));
        call.setArguments({QStringLiteral("Ada")});
        QCOMPARE(QDBusReply<QString>(terminal.connection().call(call)).value(), QStringLiteral("Hello, Ada!"));

        // Both end by themselves when asked: a kill would be told in the log.
        QCOMPARE(terminal.call(QStringLiteral("restartModule"), {QStringLiteral("ticker")}), QString());
        QVERIFY(terminal.waitForAll(QStringLiteral("RUNNING")));
        QCOMPARE(terminal.end(SIGTERM), 0);
        QCOMPARE(terminal.logCount(QStringLiteral("ret false")), 0);
    }
};

QTEST_GUILESS_MAIN(ExamplesTest)

#include "ExamplesTest.moc"
