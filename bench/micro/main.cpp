// Measures the daemon's single operations against what they may take, or against the least that the same can take.

#include "micro/Sections.h"
#include "rig/FigureTable.h"
#include "rig/MeasuredBoot.h"

#include <QCommandLineParser>
#include <QCoreApplication>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Measures single operations of the daemon."));
    parser.addHelpOption();
    const QCommandLineOption repetitions(QStringLiteral("repetitions"), QStringLiteral("How often each is measured."),
                                         QStringLiteral("n"), QStringLiteral("15"));
    const QCommandLineOption daemon(QStringLiteral("daemon"), QStringLiteral("Another daemon than the one built."),
                                    QStringLiteral("path"));
    parser.addOptions({repetitions, daemon});
    parser.process(application);

    MeasuredBoot::becomeSubreaper();
    const Programs programs = Programs::beside(QCoreApplication::applicationFilePath(), parser.value(daemon));
    const int times = qMax(1, parser.value(repetitions).toInt());
    FigureTable table(
        QStringLiteral("Single operations (medians of %1)").arg(times),
        {QStringLiteral("what"), QStringLiteral("measured"), QStringLiteral("at most"), QStringLiteral("met")});
    Sections::initialisation(programs, table, times);
    Sections::monitoring(programs, table, times);
    Sections::calls(programs, table, times);
    Sections::crashes(programs, table, times);
    Sections::jovRun(programs, table, times);
    Sections::history(table, times);
    table.print();
    return 0;
}
