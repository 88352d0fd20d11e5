#include "Verify.h"

#include "DataTable.h"
#include "Report.h"
#include "RootDir.h"
#include "TerminalCheck.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>

#include <ctime>

namespace {

const QString sources = QStringLiteral(TEST_FOLDER);

bool run(const QString &program, const QStringList &arguments, const QString &directory)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.setWorkingDirectory(directory);
    process.start(program, arguments);
    return process.waitForFinished() && process.exitCode() == 0;
}

bool layOut(const QString &name, const RootDir &root)
{
    const QString commands =
        ". %1/terminal.sh\n%2"_s.arg(sources, readCases(sources + "/cases.txt"_s).value(name).value(0));
    return run("sh"_s, {"-c"_s, commands}, root.path());
}

} // namespace

/**
 * cases.txt: "== NAME", what a sound terminal is made a faulty one by, in the words of terminal.sh, "--", and the whole
 * report, without the root's own path.
 */
class VerifyTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cases_data()
    {
        columns<QString>("name");
        const QStringList names = readCases(sources + "/cases.txt"_s).keys();
        QVERIFY(!names.isEmpty());
        for (const QString &name : names) {
            row(qPrintable(name), name);
        }
    }

    void cases()
    {
        QFETCH(QString, name);
        const RootDir root;
        QVERIFY(layOut(name, root));
        const QString report = textOf(checkTerminal(), false).replace(root.path(), QString());
        const QString expected = readCases(sources + "/cases.txt"_s).value(name).value(1);
        if (report != expected) {
            root.write("/expected"_s, expected.toUtf8());
            root.write("/report"_s, report.toUtf8());
            run("diff"_s, {"-u"_s, "expected"_s, "report"_s}, root.path());
            QFAIL("the report differs, see above");
        }
        QVERIFY(!QFileInfo::exists(root.path("/var/log"_s)));
    }

    void exitStatus_data()
    {
        columns<QString, QStringList, int>("name", "arguments", "status");
        const QString root = "ROOT"_s;
        row("nothing wrong", "nothing wrong", QStringList{root}, 0);
        row("warnings alone", "bus names", QStringList{}, 0);
        row("errors", "cycles", QStringList{root, "--json"_s}, 1);
        row("no such folder", "cycles", QStringList{root + "/nowhere"_s}, 2);
        row("two roots", "cycles", QStringList{root, root}, 2);
        row("unknown option", "cycles", QStringList{"--jason"_s}, 2);
        row("help", "cycles", QStringList{"--help"_s}, 0);
    }

    void exitStatus()
    {
        QFETCH(QString, name);
        QFETCH(QStringList, arguments);
        const RootDir root;
        QVERIFY(layOut(name, root));
        QTEST(runVerify(arguments.replaceInStrings("ROOT"_s, root.path())), "status");
    }

    void json()
    {
        const RootDir root;
        QVERIFY(layOut("cycles"_s, root));
        const TerminalReport report = checkTerminal();
        const QJsonObject object = QJsonDocument::fromJson(jsonOf(report)).object();
        const QJsonArray findings = object.value("findings"_s).toArray();
        QCOMPARE(findings.size(), report.findings.size());
        QCOMPARE(object.value("errors"_s).toInt(), report.errors());
        QCOMPARE(findings.first().toObject().value("module"_s).toString(), "x"_s);
    }

    void thousandModules()
    {
        const RootDir root;
        QVERIFY(layOut("bus names"_s, root));
        for (int i = 0; i < 1000; ++i) {
            const QString name = "module%1"_s.arg(i);
            root.link("/usr/lib/JovApplication/"_s + name, "/bin/sh"_s);
            root.write("/etc/JovApplication/module/%1/config.xml"_s.arg(name),
                       "<config><initStep>late</initStep><dependencies><dependency>module%1</dependency>"
                       "<dependency>modul%2</dependency></dependencies></config>"_s.arg(i + 1)
                           .arg(i)
                           .toUtf8());
        }
        const std::clock_t before = std::clock();
        QCOMPARE(checkTerminal().errors(), 1001);
        QVERIFY2(std::clock() - before < 5 * CLOCKS_PER_SEC, "far from the second that it may take");
    }

    void thousandsOfFaults()
    {
        const RootDir root;
        QVERIFY(layOut("nothing wrong"_s, root));
        root.write("/etc/JovApplication/module/a/config.xml"_s,
                   "<config><dependencies>" + QByteArray("<dependency>x</dependency>\n").repeated(20000)
                       + "</dependencies></config>");
        const TerminalReport report = checkTerminal();
        QCOMPARE(report.errors(), 51);
        QCOMPARE(report.findings.last().message, "950 more faults in this file are not listed"_s);
    }
};

QTEST_GUILESS_MAIN(VerifyTest)

#include "VerifyTest.moc"
