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
#include <QTest>

#include <ctime>

namespace {

const QString sources = QStringLiteral(VERIFY_TEST_SOURCES);

bool run(const QString &program, const QStringList &arguments, const QString &directory)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.setWorkingDirectory(directory);
    process.start(program, arguments);
    return process.waitForFinished() && process.exitCode() == 0;
}

/// By name: the commands, and the report.
QMap<QString, QStringList> readCases()
{
    QMap<QString, QStringList> cases;
    QFile file(sources + QStringLiteral("/cases.txt"));
    if (file.open(QIODevice::ReadOnly)) {
        const QStringList texts = QString::fromUtf8(file.readAll())
                                      .split(QRegularExpression(QStringLiteral("(?m)\\n?^== ")), Qt::SkipEmptyParts);
        for (const QString &text : texts) {
            cases.insert(text.section(QLatin1Char('\n'), 0, 0),
                         text.section(QLatin1Char('\n'), 1).split(QStringLiteral("--\n")));
        }
    }
    return cases;
}

bool layOut(const QString &name, const RootDir &root)
{
    const QString commands = QStringLiteral(". %1/terminal.sh\n%2").arg(sources, readCases().value(name).value(0));
    return run(QStringLiteral("sh"), {QStringLiteral("-c"), commands}, root.path());
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
        const QStringList names = readCases().keys();
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
        const QString expected = readCases().value(name).value(1);
        if (report != expected) {
            root.write(QStringLiteral("/expected"), expected.toUtf8());
            root.write(QStringLiteral("/report"), report.toUtf8());
            run(QStringLiteral("diff"), {QStringLiteral("-u"), QStringLiteral("expected"), QStringLiteral("report")},
                root.path());
            QFAIL("the report differs, see above");
        }
        QVERIFY(!QFileInfo::exists(root.path(QStringLiteral("/var/log"))));
    }

    void exitStatus_data()
    {
        columns<QString, QStringList, int>("name", "arguments", "status");
        const QString root = QStringLiteral("ROOT");
        row("nothing wrong", "nothing wrong", QStringList{root}, 0);
        row("warnings alone", "bus names", QStringList{}, 0);
        row("errors", "cycles", QStringList{root, QStringLiteral("--json")}, 1);
        row("no such folder", "cycles", QStringList{root + QStringLiteral("/nowhere")}, 2);
        row("two roots", "cycles", QStringList{root, root}, 2);
        row("unknown option", "cycles", QStringList{QStringLiteral("--jason")}, 2);
        row("help", "cycles", QStringList{QStringLiteral("--help")}, 0);
    }

    void exitStatus()
    {
        QFETCH(QString, name);
        QFETCH(QStringList, arguments);
        const RootDir root;
        QVERIFY(layOut(name, root));
        QTEST(runVerify(arguments.replaceInStrings(QStringLiteral("ROOT"), root.path())), "status");
    }

    void json()
    {
        const RootDir root;
        QVERIFY(layOut(QStringLiteral("cycles"), root));
        const TerminalReport report = checkTerminal();
        const QJsonObject object = QJsonDocument::fromJson(jsonOf(report)).object();
        const QJsonArray findings = object.value(QStringLiteral("findings")).toArray();
        QCOMPARE(findings.size(), report.findings.size());
        QCOMPARE(object.value(QStringLiteral("errors")).toInt(), report.errors());
        QCOMPARE(findings.first().toObject().value(QStringLiteral("module")).toString(), QStringLiteral("x"));
    }

    void thousandModules()
    {
        const RootDir root;
        QVERIFY(layOut(QStringLiteral("bus names"), root));
        for (int i = 0; i < 1000; ++i) {
            const QString name = QStringLiteral("module%1").arg(i);
            root.link(QStringLiteral("/usr/lib/JovApplication/") + name, QStringLiteral("/bin/sh"));
            root.write(QStringLiteral("/etc/JovApplication/module/%1/config.xml").arg(name),
                       QStringLiteral("<config><initStep>late</initStep><dependencies><dependency>module%1</dependency>"
                                      "<dependency>modul%2</dependency></dependencies></config>")
                           .arg(i + 1)
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
        QVERIFY(layOut(QStringLiteral("nothing wrong"), root));
        root.write(QStringLiteral("/etc/JovApplication/module/a/config.xml"),
                   "<config><dependencies>" + QByteArray("<dependency>x</dependency>\n").repeated(20000)
                       + "</dependencies></config>");
        const TerminalReport report = checkTerminal();
        QCOMPARE(report.errors(), 51);
        QCOMPARE(report.findings.last().message, QStringLiteral("950 more faults in this file are not listed"));
    }
};

QTEST_GUILESS_MAIN(VerifyTest)

#include "VerifyTest.moc"
