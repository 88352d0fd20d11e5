#include "support/DataTable.h"
#include "support/Terminal.h"

#include <jov/BusNames.h>

#include <QDBusReply>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#include <unistd.h>

/// The modules of examples/.
class ExamplesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // NOLINTNEXTLINE(readability-convert-member-functions-to-static)
    void initTestCase()
    {
        qputenv("PATH", QFile::encodeName(QFileInfo(QStringLiteral(JOV_RUN)).path()) + ':' + qgetenv("PATH"));
    }

    void anyProgram_data()
    {
        columns<QString, QString, QByteArray>("program", "question", "answer");
        const char *get = "GET / HTTP/1.0\\r\\n\\r\\n";
        row("broker", "mosquitto", "\\x10\\x0d\\x00\\x04MQTT\\x04\\x02\\x00\\x0a\\x00\\x01a",
            QByteArray("\x20\x02\x00\x00", 4));
        row("web", "nginx", get, QByteArray("HTTP"));
        row("files", "python3", get, QByteArray("HTTP"));
        row("cache", "redis-server", "PING\\r\\n", QByteArray("+PON"));
    }

    // It is up when the supervisor says so: nobody tries again.
    void anyProgram()
    {
        const auto [program, question] = cells<QString, QString>();
        if (QStandardPaths::findExecutable(program).isEmpty()) {
            QSKIP("the program is not installed: scripts/install-dependencies examples");
        }
        const QString name = QString::fromLatin1(QTest::currentDataTag());
        const QString port = QString::number(20000 + getpid() % 10000); // below those that the kernel hands out
        Terminal terminal("step one 1\n"_s + name + " one"_s);
        terminal.root.link("/usr/lib/JovApplication/"_s + name, QStringLiteral(EXAMPLES "any-program/") + name);
        terminal.setVariable("PORT"_s, port);
        QVERIFY(terminal.boot());
        QProcess client;
        client.start("bash"_s,
                     {"-c"_s, "exec 3<>/dev/tcp/127.0.0.1/%1; printf '%2' >&3; head -c 4 <&3"_s.arg(port, question)});
        QVERIFY(client.waitForFinished());
        QTEST(client.readAll(), "answer");
        QCOMPARE(terminal.end(SIGTERM), 0);
        QCOMPARE(terminal.logCount("ret false"_s), 0);
    }

    // The one after the other has announced itself.
    void life()
    {
        Terminal terminal("step one 1 home\nhello one\nticker one <hello");
        terminal.root.link("/usr/lib/JovApplication/hello"_s, QStringLiteral(HELLO_PROGRAM));
        terminal.root.link("/usr/lib/JovApplication/ticker"_s, QStringLiteral(EXAMPLES "shell/ticker"));
        QVERIFY(terminal.boot());
        QVERIFY(Terminal::wait([&] { return !terminal.events().filter("tick time="_s).isEmpty(); }));

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
