#include "Verify.h"

#include "LeftBehind.h"
#include "Report.h"
#include "RootDir.h"
#include "TerminalCheck.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

/**
 * Each folder of cases/ is a case: `root` is laid over base/, `setup.sh` then makes in it what a folder under version
 * control cannot hold, and `expected.txt` is the whole report, without the root's own path. With UPDATE_EXPECTED set
 * the texts are written anew, to be read before they are committed.
 */
class VerifyTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cases_data();
    void cases();
    void exitStatus_data();
    void exitStatus();
    void json();
    void thousandModules();
};

namespace {

const QString sources = QStringLiteral(VERIFY_TEST_SOURCES);

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

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
    const QString folder = sources + QStringLiteral("/cases/") + name;
    bool done =
        run(QStringLiteral("cp"), {QStringLiteral("-rT"), sources + QStringLiteral("/base"), root.path()}, folder);
    if (done && QFileInfo::exists(folder + QStringLiteral("/root"))) {
        done =
            run(QStringLiteral("cp"), {QStringLiteral("-rT"), folder + QStringLiteral("/root"), root.path()}, folder);
    }
    const QString setup = folder + QStringLiteral("/setup.sh");
    return done && (!QFileInfo::exists(setup) || run(QStringLiteral("sh"), {QStringLiteral("-e"), setup}, root.path()));
}

} // namespace

void VerifyTest::cases_data()
{
    QTest::addColumn<QString>("name");
    const QStringList names = QDir(sources + QStringLiteral("/cases")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    QVERIFY(!names.isEmpty());
    for (const QString &name : names) {
        QTest::newRow(qPrintable(name)) << name;
    }
}

void VerifyTest::cases()
{
    QFETCH(QString, name);
    const RootDir root;
    QVERIFY(layOut(name, root));
    const QString report = textOf(checkTerminal(), false).replace(root.path(), QString());
    const QString expectedFile = sources + QStringLiteral("/cases/%1/expected.txt").arg(name);
    if (qEnvironmentVariableIsSet("UPDATE_EXPECTED")) {
        QFile file(expectedFile);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(report.toUtf8());
    }
    if (report != QString::fromUtf8(contentOf(expectedFile))) {
        root.write(QStringLiteral("/report.txt"), report.toUtf8());
        run(QStringLiteral("diff"), {QStringLiteral("-u"), expectedFile, root.path(QStringLiteral("/report.txt"))},
            sources);
        QFAIL("the report differs, see above");
    }
    QVERIFY(!QFileInfo::exists(root.path(QStringLiteral("/var/log"))));
}

void VerifyTest::exitStatus_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    const QString root = QStringLiteral("ROOT");
    QTest::newRow("nothing wrong") << "nothing-wrong" << QStringList{root} << 0;
    QTest::newRow("warnings alone") << "bus-names" << QStringList{} << 0;
    QTest::newRow("errors") << "cycles" << QStringList{root, QStringLiteral("--json")} << 1;
    QTest::newRow("no such folder") << "cycles" << QStringList{root + QStringLiteral("/nowhere")} << 2;
    QTest::newRow("two roots") << "cycles" << QStringList{root, root} << 2;
    QTest::newRow("unknown option") << "cycles" << QStringList{QStringLiteral("--jason")} << 2;
    QTest::newRow("help") << "cycles" << QStringList{QStringLiteral("--help")} << 0;
}

void VerifyTest::exitStatus()
{
    QFETCH(QString, name);
    QFETCH(QStringList, arguments);
    const RootDir root;
    QVERIFY(layOut(name, root));
    QTEST(runVerify(arguments.replaceInStrings(QStringLiteral("ROOT"), root.path())), "status");
}

void VerifyTest::json()
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

void VerifyTest::thousandModules()
{
    const RootDir root;
    QVERIFY(layOut(QStringLiteral("bus-names"), root));
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
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(checkTerminal().errors(), 1001);
    QVERIFY2(timer.elapsed() < 5000, "far from the second that it may take on an idle machine");
}

int main(int argc, char **argv)
{
    VerifyTest test;
    return runTest(test, argc, argv);
}

#include "VerifyTest.moc"
