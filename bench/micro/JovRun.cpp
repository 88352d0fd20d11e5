#include "micro/Sections.h"
#include "rig/FigureTable.h"
#include "rig/MeasuredBoot.h"
#include "rig/ProcessTime.h"
#include "rig/Statistics.h"

#include <QFileInfo>

void Sections::jovRun(const Programs &programs, FigureTable &table, int repetitions)
{
    if (!QFileInfo::exists(programs.jovRun)) {
        return;
    }
    const PrivateBus bus;
    QVector<double> bare;
    QVector<double> helped;
    for (int i = 0; i < 20 * repetitions; ++i) {
        bare.append(processTime(QStringLiteral("true"), {}));
        helped.append(processTime(programs.jovRun,
                                  {QStringLiteral("--moduleName=true"), QStringLiteral("--"), QStringLiteral("true")}));
    }
    const double difference = median(helped) - median(bare);
    table.add({QStringLiteral("`true`, whole process, ms"), figure(median(bare), 2), {}, {}});
    table.add({QStringLiteral("jov-run: what it adds to that, ms"), figure(difference, 2), QStringLiteral("1"),
               within(difference, 1)});
}
