#include "client/BootAnalysis.h"
#include "client/BootForecast.h"
#include "client/NearMiss.h"
#include "client/TextWidth.h"
#include "client/Units.h"
#include "jovctl/BootChart.h"
#include "support/DataTable.h"

#include <QXmlStreamReader>

namespace {

/// "EVENT NAME TIME" parts, separated by commas.
TimelineList timelineOf(const QString &text)
{
    TimelineList timeline;
    const QStringList parts = text.split(u',');
    for (const QString &part : parts) {
        const QStringList words = part.split(u' ', Qt::SkipEmptyParts);
        timeline << TimelineEntry{words.last().toULongLong(), words.first(),
                                  words.size() > 2 ? words.at(1) : QString()};
    }
    return timeline;
}

ModuleInfo moduleOf(const QString &name, const QStringList &dependencies = {}, const QString &step = "one"_s)
{
    ModuleInfo module;
    module.name = name;
    module.step = step;
    module.dependencies = dependencies;
    return module;
}

/// `count` modules in three steps, each ready, or not, `apart` microseconds after the one before.
BootRecord bootOf(int count, const QString &name, quint64 apart)
{
    TimelineList timeline{{0, "start"_s, {}}};
    ModuleList modules;
    StepList steps;
    for (int i = 0; i < 3; ++i) {
        StepInfo step;
        step.name = name + QString::number(i);
        step.value = i * 1000000000;
        steps << step;
    }
    for (int n = 0; n < count; ++n) {
        const quint64 begin = 1 + apart * quint64(n);
        const ModuleInfo module = moduleOf(name + QString::number(n), {}, steps.at(n * 3 / count).name);
        modules << module;
        timeline << TimelineEntry{begin, "step_started"_s, module.step}
                 << TimelineEntry{begin, "launched"_s, module.name}
                 << TimelineEntry{begin + apart, n % 7 == 0 ? "STOPPED"_s : "RUNNING"_s, module.name};
    }
    timeline << TimelineEntry{1 + apart * quint64(count), "end_of_init"_s, {}};
    return analyseBoot(timeline, modules, steps);
}

/// "NAME LAUNCHED-UNTIL" of each module, "*" where it is critical, "?" where it is not ready.
QString described(const BootRecord &record)
{
    QStringList parts;
    const QList<BootModule> modules = record.allModules();
    for (const BootModule &module : modules) {
        parts << "%1 %2-%3%4%5"_s.arg(module.name)
                     .arg(module.launched)
                     .arg(module.until)
                     .arg(module.isReady ? QString() : "?"_s, module.isCritical ? "*"_s : QString());
    }
    return parts.join(", "_s);
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
        row("too long", "abcdef", 6, "abcd…"_s);
        row("combining mark", "cafe\u0301s"_s, 5, "cafe\u0301s"_s);
        row("East Asian", "端末管理"_s, 8, "端末…"_s);
        row("beyond 16 bits", "\U0001F680ab"_s, 4, "\U0001F680ab"_s);
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

    void suggestions_data()
    {
        columns<QString, QString>("typed", "meant");
        row("a letter left out", "JovGat", "Did you mean JovGate, JovGate22?");
        row("lower case", "platform", "Did you mean Platform?");
        row("a part", "audio", "Did you mean jovaudio?");
        row("the nearest alone", "jovgate1", "Did you mean JovGate?");
        row("letters swapped", "JvoGtae", "Did you mean JovGate?");
        row("nothing like it", "xyz", "none");
        row("nothing at all", "", "none");
    }

    void suggestions()
    {
        QFETCH(QString, typed);
        QTEST(didYouMean(typed, {"A"_s, "JovGate"_s, "JovGate22"_s, "Platform"_s, "jovaudio"_s}, "none"_s), "meant");
    }

    void boot_data()
    {
        columns<QString, QString, int, int, bool>("timeline", "modules", "total", "critical", "complete");
        // D depends on B and C, both on A; E on nobody.
        const QString diamond =
            "start 100,step_started one 110,launched A 120,RUNNING A 130,launched B 130,RUNNING B 180,"
            "launched C 180,RUNNING C 190,launched D 200,RUNNING D 210,launched E 210,RUNNING E 270,"_s;
        row("diamond", diamond + "end_of_init 275,step_done one 280"_s,
            "A 20-30*, B 30-80*, C 80-90, D 100-110*, E 110-170", 180, 70, true);
        row("what comes after the start does not count",
            diamond + "step_done one 280,launched A 900,RUNNING A 950,stop_all 990"_s,
            "A 20-30*, B 30-80*, C 80-90, D 100-110*, E 110-170", 180, 70, true);
        row("the last of two starts",
            diamond + "stop_all 300,restart 400,launched E 410,RUNNING E 440,step_done one 450"_s, "E 10-40*", 50, 30,
            true);
        row("ended before it was ready",
            "start 0,launched A 10,exited A 30,STOPPED A 30,launched E 40,step_done one 60"_s, "A 10-30?*, E 40-60?",
            60, 20, true);
        row("stopped in the middle", "start 0,step_started one 1,launched A 10,stop_all 30,STOPPED A 35"_s, "A 10-10?*",
            10, 0, false);
        row("still starting", "start 0,step_started one 1,launched A 10", "A 10-1000?*", 1000, 990, false);
        row("overlaps",
            "start 0,launched A 10,launched E 10,RUNNING A 30,launched B 30,launched C 30,RUNNING E 45,RUNNING C 50,"
            "RUNNING B 60,launched D 60,RUNNING D 80,step_done one 80"_s,
            "A 10-30*, E 10-45, B 30-60*, C 30-50, D 60-80*", 80, 70, true);
        row("overlaps, and waits for one that is no dependency",
            "start 0,launched A 10,launched E 10,RUNNING A 30,RUNNING E 70,launched B 70,RUNNING B 90,"
            "step_done one 95"_s,
            "A 10-30, E 10-70*, B 70-90*", 95, 80, true);
        row("a module that is gone meanwhile", "start 0,launched Z 10,RUNNING Z 20,step_done one 30"_s, "", 30, 0,
            true);
    }

    void boot()
    {
        QFETCH(QString, timeline);
        const QString a = "A"_s;
        const ModuleList modules{moduleOf("A"_s), moduleOf("B"_s, {a}), moduleOf("C"_s, {a}),
                                 moduleOf("D"_s, {"B"_s, "C"_s}), moduleOf("E"_s)};
        StepInfo step;
        step.name = "one"_s;
        const BootRecord record = analyseBoot(timelineOf(timeline), modules, {step}, 1000);
        QVERIFY(record.isKnown);
        QTEST(described(record), "modules");
        QTEST(int(record.total), "total");
        QTEST(int(record.critical), "critical");
        QTEST(record.isComplete, "complete");
        QVERIFY(!analyseBoot(timelineOf("RUNNING A 1"_s), modules, {step}).isKnown);
    }

    void forecast_data()
    {
        columns<QString, QStringList, QStringList, int, int, QString>("begin", "parallel", "early", "atOnce", "counted",
                                                                      "forecast");
        const QString boot = "start"_s;
        const QString restart = "restart"_s;
        const QStringList none;
        const QStringList two{"two"_s};
        row("as it was", boot, none, none, 9, 999, "610 PQFRST");
        row("parallel", boot, two, none, 9, 999, "510 PQFRS");
        row("a failure that nobody waits for", boot, QStringList{"one"_s}, none, 9, 999, "600 PQRST");
        row("one at once", restart, none, QStringList{"R"_s, "S"_s, "T"_s}, 1, 999, "410 RST");
        row("no longer counted", restart, none, QStringList{"R"_s, "S"_s, "T"_s}, 1, 40, "310 RS");
        row("early, but not before the check of the settings", boot, none, QStringList{"R"_s}, 9, 999, "610 PQFRST");
        row("early in a restart", restart, none, QStringList{"R"_s}, 9, 999, "510 PQFST");
        row("early after a module", restart, none, QStringList{"RQ"_s}, 9, 999, "570 PQRST");
        row("early after a failure", restart, none, QStringList{"RF"_s}, 9, 999, "610 PQFRST");
        row("circle", restart, none, QStringList{"RT"_s, "TR"_s}, 9, 999, "510 PQFRS");
        row("launched once", restart, two, QStringList{"T"_s}, 9, 999, "510 PQFRS");
    }

    /// `early` has the module and what it waits for. Q depends on P, S on R; F fails; the step "two" is above 4.
    void forecast()
    {
        const auto [begin, parallel, early, atOnce, counted] = cells<QString, QStringList, QStringList, int, int>();
        LaunchingAhead ahead{{parallel.begin(), parallel.end()}, {}, atOnce, quint64(counted)};
        for (const QString &words : qAsConst(early)) {
            ahead.early.insert(words.left(1), words.mid(1).split(QString(), Qt::SkipEmptyParts));
        }
        ModuleList modules{moduleOf("P"_s), moduleOf("Q"_s, {"P"_s}), moduleOf("F"_s)};
        modules << moduleOf("R"_s, {}, "two"_s) << moduleOf("S"_s, {"R"_s}, "two"_s) << moduleOf("T"_s, {}, "two"_s);
        StepInfo one;
        one.name = "one"_s;
        one.value = 1;
        StepInfo two;
        two.name = "two"_s;
        two.value = 5;
        const BootRecord record = analyseBoot(
            timelineOf(begin
                       + " 1000,step_started one 1010,launched P 1010,RUNNING P 1060,launched Q 1060,RUNNING Q 1160,"
                         "launched F 1160,STOPPED F 1170,step_done one 1170,step_started two 1200,launched R 1200,"
                         "RUNNING R 1300,launched S 1300,RUNNING S 1500,launched T 1500,RUNNING T 1600,"
                         "step_done two 1610"_s),
            modules, {one, two});
        const BootForecast forecast = forecastBoot(record, modules, ahead);
        QString text = QString::number(forecast.total) + u' ';
        for (const BootModule &module : forecast.chain) {
            text += module.name;
        }
        QTEST(text, "forecast");
    }

    void chart_data()
    {
        columns<int, QString, qulonglong>("count", "name", "apart");
        row("nothing started", 0, "m", qulonglong(1000));
        row("one that takes no time", 1, "m", qulonglong(0));
        row("one that takes a day", 1, "m", qulonglong(86400000000));
        row("long names", 100, QString(252, u'W'), qulonglong(999));
        row("names that mean something in XML", 3, "<&\"'>\x01]]>", qulonglong(5000000));
    }

    void chart()
    {
        const auto [count, name, apart] = cells<int, QString, qulonglong>();
        const QString svg = bootChart(bootOf(count, name, apart), name);
        QXmlStreamReader reader(svg);
        int bars = 0;
        while (!reader.atEnd()) {
            if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == "rect"_s) {
                const QStringRef kind = reader.attributes().value("class"_s);
                bars += kind == "bar"_s || kind == "critical"_s || kind == "failed"_s ? 1 : 0;
                QVERIFY(reader.attributes().value("width"_s).toDouble() >= 2);
            }
        }
        QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
        QCOMPARE(bars, count + 3); // three in the legend
    }
};

QTEST_GUILESS_MAIN(PartsTest)

#include "PartsTest.moc"
