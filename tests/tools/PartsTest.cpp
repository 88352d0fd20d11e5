#include "BootAnalysis.h"
#include "DataTable.h"
#include "NearMiss.h"
#include "ProcessUsage.h"
#include "TextWidth.h"
#include "Units.h"

#include <QTest>

#include <unistd.h>

namespace {

/// "EVENT NAME TIME" parts, separated by commas.
TimelineList timelineOf(const QString &text)
{
    TimelineList timeline;
    const QStringList parts = text.split(QLatin1Char(','));
    for (const QString &part : parts) {
        const QStringList words = part.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        timeline << TimelineEntry{words.last().toULongLong(), words.first(),
                                  words.size() > 2 ? words.at(1) : QString()};
    }
    return timeline;
}

ModuleInfo moduleOf(const char *name, const QStringList &dependencies = {})
{
    ModuleInfo module;
    module.name = QLatin1String(name);
    module.step = QStringLiteral("one");
    module.dependencies = dependencies;
    return module;
}

/// "NAME LAUNCHED-UNTIL" of each module, "*" where it is critical, "?" where it is not ready.
QString described(const BootRecord &record)
{
    QStringList parts;
    const QList<BootModule> modules = record.allModules();
    for (const BootModule &module : modules) {
        parts << QStringLiteral("%1 %2-%3%4%5")
                     .arg(module.name)
                     .arg(module.launched)
                     .arg(module.until)
                     .arg(module.isReady ? QString() : QStringLiteral("?"),
                          module.isCritical ? QStringLiteral("*") : QString());
    }
    return parts.join(QStringLiteral(", "));
}

} // namespace

class PartsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void width_data()
    {
        columns<QString, int, QString>("text", "cells", "inFive");
        row("plain", "abcde", 5, "abcde");
        row("too long", "abcdef", 6, QString::fromUtf8("abcd…"));
        row("combining mark", QString::fromUtf8("cafe\u0301s"), 5, QString::fromUtf8("cafe\u0301s"));
        row("East Asian", QString::fromUtf8("端末管理"), 8, QString::fromUtf8("端末…"));
        row("beyond 16 bits", QString::fromUtf8("\U0001F680ab"), 4, QString::fromUtf8("\U0001F680ab"));
        row("half a pair", QString(QChar(0xd83d)), 1, QString(QChar(0xd83d)));
    }

    void width()
    {
        QFETCH(QString, text);
        QTEST(textWidth(text), "cells");
        QTEST(shortened(text, 5), "inFive");
    }

    void duration_data()
    {
        columns<quint64, QString>("microseconds", "text");
        row("below a millisecond", quint64(40), "0.0 ms");
        row("rounded up into milliseconds", quint64(9960), "10 ms");
        row("rounded up into seconds", quint64(999600), "1.00 s");
        row("rounded up into minutes", quint64(59996000), "1 min 00 s");
        row("rounded up into hours", quint64(3599600000), "1 h 00 min");
        row("all there is", ~quint64(0) / 2, "106751991 days");
    }

    void duration()
    {
        QFETCH(quint64, microseconds);
        QTEST(Units::duration(microseconds), "text");
    }

    void misses_data()
    {
        columns<QString, QString>("typed", "meant");
        row("a letter left out", "JovGat", "JovGate,JovGate22");
        row("lower case", "platform", "Platform");
        row("a part", "audio", "jovaudio");
        row("the nearest first", "jovgate1", "JovGate,JovGate22");
        row("nothing like it", "xyz", "");
        row("nothing at all", "", "A");
    }

    void misses()
    {
        QFETCH(QString, typed);
        const QStringList names{QStringLiteral("A"), QStringLiteral("JovGate"), QStringLiteral("JovGate22"),
                                QStringLiteral("Platform"), QStringLiteral("jovaudio")};
        QTEST(nearMisses(typed, names).join(QLatin1Char(',')), "meant");
    }

    void usage()
    {
        const QByteArray fields = " S 1 2 3 4 5 6 7 8 9 10 300 200 0 0 20 0 7 0 99 10485760 25 rest 1 2\n";
        const std::optional<ProcessUsage> usage = ProcessUsage::parse("12 (a name) with) 1 2 3)" + fields);
        QVERIFY(usage);
        QCOMPARE(usage->virtualKb, qint64(10240));
        QCOMPARE(usage->residentKb, qint64(25) * sysconf(_SC_PAGESIZE) / 1024);
        QCOMPARE(usage->microseconds, quint64(500) * 1000000 / quint64(sysconf(_SC_CLK_TCK)));
        QCOMPARE(usage->threads, 7);
        for (const char *text : {"", "12", "12 (x", "12 (x)", "12 (x) S 1 2"}) {
            QVERIFY2(!ProcessUsage::parse(text), text);
        }
    }

    void boot_data()
    {
        columns<QString, QString, int, int, bool>("timeline", "modules", "total", "critical", "complete");
        // D depends on B and C, both on A; E on nobody.
        const QString diamond =
            QStringLiteral("start 100,step_started one 110,launched A 120,RUNNING A 130,launched B 130,RUNNING B 180,"
                           "launched C 180,RUNNING C 190,launched D 200,RUNNING D 210,launched E 210,RUNNING E 270,");
        row("diamond", diamond + QStringLiteral("end_of_init 275,step_done one 280"),
            "A 20-30*, B 30-80*, C 80-90, D 100-110*, E 110-170", 180, 70, true);
        row("what comes after the start does not count",
            diamond + QStringLiteral("step_done one 280,launched A 900,RUNNING A 950,stop_all 990"),
            "A 20-30*, B 30-80*, C 80-90, D 100-110*, E 110-170", 180, 70, true);
        row("the last of two starts",
            diamond + QStringLiteral("stop_all 300,restart 400,launched E 410,RUNNING E 440,step_done one 450"),
            "E 10-40*", 50, 30, true);
        row("ended before it was ready",
            QStringLiteral("start 0,launched A 10,exited A 30,STOPPED A 30,launched E 40,step_done one 60"),
            "A 10-30?*, E 40-60?", 60, 20, true);
        row("stopped in the middle",
            QStringLiteral("start 0,step_started one 1,launched A 10,stop_all 30,STOPPED A 35"), "A 10-10?*", 10, 0,
            false);
        row("a module that is gone meanwhile", QStringLiteral("start 0,launched Z 10,RUNNING Z 20,step_done one 30"),
            "", 30, 0, true);
    }

    void boot()
    {
        QFETCH(QString, timeline);
        const QString a = QStringLiteral("A");
        const ModuleList modules{moduleOf("A"), moduleOf("B", {a}), moduleOf("C", {a}),
                                 moduleOf("D", {QStringLiteral("B"), QStringLiteral("C")}), moduleOf("E")};
        StepInfo step;
        step.name = QStringLiteral("one");
        const BootRecord record = analyseBoot(timelineOf(timeline), modules, {step});
        QVERIFY(record.isKnown);
        QTEST(described(record), "modules");
        QTEST(int(record.total), "total");
        QTEST(int(record.critical), "critical");
        QTEST(record.isComplete, "complete");
        QVERIFY(!analyseBoot(timelineOf(QStringLiteral("RUNNING A 1")), modules, {step}).isKnown);
    }
};

QTEST_GUILESS_MAIN(PartsTest)

#include "PartsTest.moc"
