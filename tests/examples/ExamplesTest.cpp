#include "support/Terminal.h"

#include <jov/BusNames.h>

#include <QDBusReply>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

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
        terminal.root.link("/usr/lib/JovApplication/hello"_s, QStringLiteral(HELLO_PROGRAM));
        terminal.root.link("/usr/lib/JovApplication/ticker"_s, QStringLiteral(TICKER_PROGRAM));
        QVERIFY(terminal.boot());
        QVERIFY(Terminal::wait([&] { return !terminal.events().filter("tick seconds="_s).isEmpty(); }));

        QDBusMessage call = QDBusMessage::createMethodCall(BusNames::service("hello"_s), BusNames::object("hello"_s),
                                                           BusNames::methodInterface(), "greet"_s);
        call.setArguments({"Ada"_s});
        QCOMPARE(QDBusReply<QString>(terminal.connection().call(call)).value(), "Hello, Ada!"_s);

        // Both end by themselves when asked: a kill would be told in the log.
        QCOMPARE(terminal.call("restartModule"_s, {"ticker"_s}), QString());
        QVERIFY(terminal.waitForAll("RUNNING"_s));
        QCOMPARE(terminal.end(SIGTERM), 0);
        QCOMPARE(terminal.logCount("ret false"_s), 0);
    }

    void underAnotherName()
    {
        const Terminal terminal("step one 1");
        QCOMPARE(QProcess::execute(QStringLiteral(HELLO_PROGRAM), {"--moduleName=hallo"_s}), 1);
        QCOMPARE(terminal.logCount("hello: started as module hallo. Install the program as"_s), 1);
    }
};

QTEST_GUILESS_MAIN(ExamplesTest)

#include "ExamplesTest.moc"
