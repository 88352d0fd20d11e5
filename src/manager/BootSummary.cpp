#include "manager/BootSummary.h"

#include "contract/HistoryNames.h"
#include "initstep/InitStepChain.h"
#include "manager/Journal.h"

#include <QJsonArray>

#include <algorithm>

namespace Key = History::Key;

QJsonObject bootSummary(const Journal &journal, const InitStepChain &steps)
{
    const quint64 begin = journal.startedAt();
    // 0 for what has not happened in this start-up.
    const auto since = [begin](quint64 time) { return time > begin ? qint64(time - begin) : 0; };
    QJsonArray stepList;
    QJsonArray moduleList;
    qint64 total = 0;
    for (const InitStep *step = steps.firstStep; step; step = step->getNext()) {
        const Journal::StepHistory times = journal.step(step->getName());
        for (const QString &name : step->applications.keys()) {
            const Journal::ModuleHistory module = journal.module(name);
            if (since(module.launchedAt) > 0) {
                moduleList << QJsonArray{name, stepList.size(), since(module.launchedAt),
                                         module.readyAt > module.launchedAt ? since(module.readyAt) : 0};
            }
        }
        stepList << QJsonArray{step->getName(), step->getValue(), since(times.startedAt), since(times.doneAt)};
        total = std::max(total, since(times.doneAt));
    }
    return {{Key::total, total},
            {Key::homepage, since(journal.endOfInitAt())},
            {Key::steps, stepList},
            {Key::modules, moduleList}};
}
