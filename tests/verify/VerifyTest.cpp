#include "jovctl/CommandLine.h"
#include "support/DataTable.h"
#include "support/RootDir.h"
#include "verify/Report.h"
#include "verify/TerminalCheck.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>

#include <algorithm>
#include <ctime>
#include <functional>

#include <link.h>

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
 * cases.txt: "== NAME", the commands of terminal.sh that change a correct terminal, "--", and the findings: severity,
 * rule and the places in the order of the report. These are in the two directories of the modules, or begin with "/".
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
        const auto [name, expected] = cells<QString, QString>();
        const RootDir root;
        QVERIFY(layOut(name, root));
        const QList<Finding> findings = checkTerminal().findings.sorted();
        QVERIFY(std::is_sorted(findings.begin(), findings.end(), [](const Finding &one, const Finding &other) {
            return one.severity() < other.severity();
        }));
        QMap<QString, QString> found;
        for (const Finding &finding : findings) {
            QString &places = found["%1 %2"_s.arg(textOf(finding.severity()), idOf(finding.rule))];
            QString file = finding.place.file.mid(root.path().size());
            file.remove(QRegularExpression("^/(etc/JovApplication/module|usr/lib/JovApplication)/(?=.)"_s));
            places += u' ' + file + (finding.place.line > 0 ? ":%1"_s.arg(finding.place.line) : QString());
        }
        QString text;
        for (auto kind = found.cbegin(); kind != found.cend(); ++kind) {
            text += kind.key() + kind.value() + u'\n';
        }
        QCOMPARE(text.trimmed(), expected.trimmed());
        QVERIFY(QDir(root.path("/var/log"_s)).isEmpty());
    }

    void exitStatus_data()
    {
        columns<QString, QStringList, int>("name", "arguments", "status");
        const QString root = "ROOT"_s;
        row("nothing wrong", "nothing wrong", QStringList{root}, 0);
        row("warnings alone", "step file holds", QStringList{}, 0);
        row("errors", "cycles", QStringList{root, "--json"_s}, 1);
        row("no such folder", "cycles", QStringList{root + "/nowhere"_s}, 2);
        row("two roots", "cycles", QStringList{root, root}, 2);
        row("unknown option", "cycles", QStringList{"--jason"_s}, 2);
        row("help", "cycles", QStringList{"--help"_s}, 0);
    }

    void exitStatus()
    {
        auto [name, arguments] = cells<QString, QStringList>();
        const RootDir root;
        QVERIFY(layOut(name, root));
        QTEST(int(runCommandLine(QStringList("verify"_s) + arguments.replaceInStrings("ROOT"_s, root.path()))),
              "status");
    }

    void forPrograms()
    {
        const RootDir root;
        QVERIFY(layOut("cycles"_s, root));
        const TerminalReport report = checkTerminal();
        const QJsonArray findings = jsonOf(report).value("findings"_s).toArray();
        QCOMPARE(findings.size(), report.errors());
        QCOMPARE(findings.first().toObject().value("module"_s).toString(), "x"_s);
        const QString before = QDir::currentPath();
        QDir::setCurrent(root.path("/etc"_s));
        const QJsonObject run = sarifOf(report).value("runs"_s).toArray().first().toObject();
        QDir::setCurrent(before);
        const QJsonObject first = run.value("results"_s).toArray().first().toObject();
        const QJsonArray rules = run.value("tool"_s).toObject().value("driver"_s).toObject().value("rules"_s).toArray();
        QCOMPARE(rules.at(first.value("ruleIndex"_s).toInt()).toObject().value("id"_s), first.value("ruleId"_s));
        const QByteArray locations = QJsonDocument(first.value("locations"_s).toArray()).toJson(QJsonDocument::Compact);
        QVERIFY2(locations.contains("\"uri\":\"JovApplication/module/x/config.xml\"}"), locations.constData());
        QVERIFY2(locations.contains("\"startLine\":1"), locations.constData());
    }

    /// The page of the manual lists the rules with their severities, and no others.
    void rulesAreListed()
    {
        QString rules;
        for (int i = 0; i < int(Rule::Count); ++i) {
            const RuleInfo &info = infoOf(Rule(i));
            rules += ".It Cm %1 Pq %2\n%3\n"_s.arg(idOf(Rule(i)), textOf(info.severity), QLatin1String(info.summary));
        }
        QFile page(sources + "/../../packaging/man/jovctl-verify.1"_s);
        QVERIFY(page.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(page.readAll()).remove(u'\\');
        const QString list = text.section(".Bl -tag -width Ds -compact\n"_s, 1, 1).section(".El"_s, 0, 0);
        QCOMPARE(list.simplified().replace(".It"_s, "\n.It"_s), rules.simplified().replace(".It"_s, "\n.It"_s));
    }

    /// A real program with its loader, and its libraries one after the other.
    void libraries()
    {
        SKIP_EMULATED("the libraries of this machine are not those of its programs");
        const RootDir root;
        QVERIFY(layOut("nothing wrong"_s, root));
        const QString module = root.path("/usr/lib/JovApplication/b"_s);
        QVERIFY(QFile::remove(module) && QFile::copy(QCoreApplication::applicationFilePath(), module));
        QVERIFY(QFile::remove(root.path("/bin/sh"_s)) && QFile::copy("/bin/sh"_s, root.path("/bin/sh"_s)));
        QProcess ldd;
        ldd.start("ldd"_s, {module, "/bin/sh"_s});
        QVERIFY(ldd.waitForFinished());
        const QString libraries = QString::fromUtf8(ldd.readAll());
        int copied = 0;
        for (TerminalReport report = checkTerminal(); report.errors() > 0; report = checkTerminal()) {
            const QString message = report.findings.sorted().first().message;
            const QString loader = QRegularExpression("loader '([^']*)'"_s).match(message).captured(1);
            const QString library = QRegularExpression("library ([^,]*),"_s).match(message).captured(1);
            const QString path =
                loader.isEmpty() ? libraries.section(library + " => "_s, 1, 1).section(u' ', 0, 0) : loader;
            QVERIFY2(QFile::exists(path) && ++copied < 100, qPrintable(message));
            QDir().mkpath(QFileInfo(root.path(path)).path());
            QVERIFY2(QFile::copy(path, root.path(path)), qPrintable(message));
        }
        QVERIFY(copied > 3);

        const QFileInfo library(libraries.section("libQt5Core.so.5 => "_s, 1, 1).section(u' ', 0, 0));
        const QString folder = root.path(library.path() + "/glibc-hwcaps/any/"_s);
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(QFile::rename(root.path(library.filePath()), folder + library.fileName()));
        QCOMPARE(checkTerminal().errors(), 0);

        // Damages that the kernel does not see.
        using Segment = ElfW(Phdr);
        const QByteArray whole = root.read("/usr/lib/JovApplication/b"_s);
        const std::function<void(Segment &)> damages[] = {[](Segment &dynamic) { dynamic.p_type = PT_NOTE; },
                                                          [](Segment &dynamic) { dynamic.p_flags |= PF_X; },
                                                          [](Segment &dynamic) { dynamic.p_vaddr += sizeof(void *); }};
        for (const auto &damage : damages) {
            QByteArray program = whole;
            auto *segments = reinterpret_cast<Segment *>(program.data() + sizeof(ElfW(Ehdr)));
            damage(*std::find_if(segments, segments + 20, [](const Segment &one) { return one.p_type == PT_DYNAMIC; }));
            root.write("/usr/lib/JovApplication/b"_s, program);
            QCOMPARE(checkTerminal().findings.sorted().first().rule, Rule::ProgramDamaged);
        }
        root.write("/usr/lib/JovApplication/b"_s, whole);
        QFile versioned(folder + library.fileName());
        QVERIFY(versioned.open(QIODevice::ReadWrite) && versioned.seek(EI_ABIVERSION) && versioned.write("\5", 1) == 1);
        versioned.close();
        QCOMPARE(checkTerminal().findings.sorted().first().rule, Rule::LibraryMissing);
    }

    void largeSet_data()
    {
        columns<QString>("content");
        row("dependencies",
            "<initStep>late</initStep><dependencies>%1</dependencies>"_s.arg(
                QString("<dependency>modul%1</dependency>\n"_s).repeated(10)));
        row("cycle", "<initStep>late</initStep><dependencies><dependency>module%2</dependency></dependencies>"_s);
    }

    void largeSet()
    {
        QFETCH(QString, content);
        const RootDir root;
        QVERIFY(layOut("nothing wrong"_s, root));
        for (int i = 0; i < 1000; ++i) {
            root.link("/usr/lib/JovApplication/module%1"_s.arg(i), "/bin/sh"_s);
            root.write("/etc/JovApplication/module/module%1/config.xml"_s.arg(i),
                       "<config>%1</config>"_s.arg(content)
                           .replace("%1"_s, QString::number(i))
                           .replace("%2"_s, QString::number((i + 1) % 1000))
                           .toUtf8());
        }
        const std::clock_t before = std::clock();
        const TerminalReport report = checkTerminal();
        QVERIFY(report.errors() == 10000 || report.errors() == 1);
        QVERIFY(textOf(report).size() < 100000);
        QVERIFY2(std::clock() - before < 2 * CLOCKS_PER_SEC, "too slow");
    }
};

QTEST_GUILESS_MAIN(VerifyTest)

#include "VerifyTest.moc"
