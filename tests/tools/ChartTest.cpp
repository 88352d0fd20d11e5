#include "BootChart.h"
#include "DataTable.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

namespace {

constexpr int noBrowser = 77;

/// `count` modules in three steps, each ready `apart` microseconds after the one before.
BootRecord record(int count, const QString &name, quint64 apart)
{
    BootRecord record;
    record.isKnown = true;
    record.homepage = apart * quint64(count);
    record.total = record.homepage;
    for (int i = 0; i < 3; ++i) {
        BootStep step;
        step.name = name + QString::number(i);
        step.value = i * 1000000000;
        for (int n = i; n < count; n += 3) {
            BootModule module;
            module.name = name + QString::number(n);
            module.launched = apart * quint64(n);
            module.until = module.launched + apart;
            module.isReady = n % 7 != 0;
            module.isCritical = n % 5 == 0;
            step.modules << module;
        }
        step.started = step.modules.isEmpty() ? 0 : step.modules.first().launched;
        step.until = step.modules.isEmpty() ? 0 : step.modules.last().until;
        record.steps << step;
    }
    return record;
}

} // namespace

class ChartTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void chart_data()
    {
        columns<int, QString, qulonglong>("count", "name", "apart");
        row("nothing started", 0, "m", qulonglong(1000));
        row("one", 1, "m", qulonglong(35000));
        row("one that takes no time", 1, "m", qulonglong(0));
        row("one that takes a day", 1, "m", qulonglong(86400000000));
        row("hundred", 100, "module-", qulonglong(12345));
        row("long names", 100, QString(252, QLatin1Char('W')), qulonglong(999));
        row("long wide names", 10, QString(84, QChar(0x7aef)), qulonglong(99999));
        row("names that mean something in XML", 3, "<&\"'>\x01]]>", qulonglong(5000000));
    }

    void chart()
    {
        QFETCH(int, count);
        QFETCH(QString, name);
        QFETCH(qulonglong, apart);
        const QString svg = bootChart(record(count, name, apart), name);
        QXmlStreamReader reader(svg);
        int bars = 0;
        while (!reader.atEnd()) {
            if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String("rect")) {
                const QStringRef kind = reader.attributes().value(QLatin1String("class"));
                bars +=
                    kind == QLatin1String("bar") || kind == QLatin1String("critical") || kind == QLatin1String("failed")
                    ? 1
                    : 0;
                QVERIFY(reader.attributes().value(QLatin1String("width")).toDouble() >= 2);
            }
        }
        QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
        QCOMPARE(bars, count + 3); // three in the legend

        const QTemporaryDir folder;
        QFile file(folder.filePath(QStringLiteral("chart.svg")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(svg.toUtf8());
        file.close();
        QProcess check;
        check.start(QStringLiteral(CHECK_SVG), {file.fileName()});
        QVERIFY(check.waitForFinished(60000));
        if (check.exitCode() == noBrowser) {
            QSKIP("no Chromium");
        }
        QVERIFY2(check.exitCode() == 0, check.readAllStandardOutput().constData());
    }
};

QTEST_GUILESS_MAIN(ChartTest)

#include "ChartTest.moc"
