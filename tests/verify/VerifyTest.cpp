#include "jovctl/CommandLine.h"
#include "support/DataTable.h"
#include "support/RootDir.h"
#include "verify/Report.h"
#include "verify/TerminalCheck.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>

#include <ctime>

namespace {

const QString sources = QStringLiteral(TEST_FOLDER);

bool layOut(const QString &name, const RootDir &root)
{
    const QStringList commands = readCases(sources + "/cases.txt"_s).value(name);
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.setWorkingDirectory(root.path());
    process.start("sh"_s, {"-c"_s, ". %1/terminal.sh\n%2"_s.arg(sources, commands.value(0))});
    return process.waitForFinished() && process.exitCode() == 0;
}

} // namespace

/**
 * cases.txt: "== NAME", the commands of terminal.sh that change a correct terminal, "--", and the report without the
 * root's own path. A line with an advice may be left out.
 */
class VerifyTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cases_data()
    {
        columns<QString, QString>("name", "expected");
        const QMap<QString, QStringList> cases = readCases(sources + "/cases.txt"_s);
        for (auto one = cases.cbegin(); one != cases.cend(); ++one) {
            row(qPrintable(one.key()), one.key(), one->value(1));
        }
    }

    void cases()
    {
        QFETCH(QString, name);
        QFETCH(QString, expected);
        const RootDir root;
        QVERIFY(layOut(name, root));
        const QStringList wanted = expected.split(u'\n');
        QStringList lines;
        for (const QString &line : textOf(checkTerminal()).replace(root.path(), QString()).split(u'\n')) {
            const auto isAdvice = [](const QString &text) { return text.startsWith("    "_s); };
            lines << (isAdvice(line) && !isAdvice(wanted.value(lines.size())) ? QStringList() : QStringList(line));
        }
        QCOMPARE(lines, wanted);
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
        QTEST(int(runCommandLine(QStringList("verify"_s) + arguments.replaceInStrings("ROOT"_s, root.path()))),
              "status");
    }

    void json()
    {
        const RootDir root;
        QVERIFY(layOut("cycles"_s, root));
        const TerminalReport report = checkTerminal();
        const QJsonObject object = jsonOf(report);
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
        QCOMPARE(report.findings.last().message, "950 more errors and warnings in this file are not listed"_s);
    }
};

QTEST_GUILESS_MAIN(VerifyTest)

#include "VerifyTest.moc"
