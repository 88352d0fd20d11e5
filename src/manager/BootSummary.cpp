#include "manager/BootSummary.h"

#include "catalogue/ApplicationRecord.h"
#include "contract/HistoryNames.h"
#include "initstep/InitStepChain.h"
#include "manager/Journal.h"

#include <QHash>
#include <QJsonArray>

#include <algorithm>

namespace Key = History::Key;

namespace {

class Summary
{
public:
    explicit Summary(const Journal &journal)
        : m_journal(journal)
        , m_begin(journal.startedAt())
    { }

    void add(const InitStep &step)
    {
        const Journal::StepHistory times = m_journal.step(step.getName());
        QHash<QString, int> indexes;
        for (const QString &name : step.applications.keys()) {
            const Journal::ModuleHistory module = m_journal.module(name);
            if (since(module.launchedAt) > 0) {
                indexes.insert(name, m_modules.size());
                m_modules << QJsonArray{name, m_steps.size(), since(module.launchedAt), settled(module)};
            }
        }
        for (const ApplicationRecord *record : step.applications) {
            QJsonArray row{indexes.value(record->getName(), -1)};
            const QStringList names = record->getDependencies();
            for (const QString &name : names) {
                if (indexes.contains(name)) {
                    row << indexes.value(name);
                }
            }
            if (row.size() > 1 && indexes.contains(record->getName())) {
                m_dependencies << row;
            }
        }
        m_steps << QJsonArray{step.getName(), step.getValue(), since(times.startedAt), since(times.doneAt)};
        m_total = std::max(m_total, since(times.doneAt));
    }

    [[nodiscard]] QJsonObject object() const
    {
        return {{Key::total, m_total},
                {Key::homepage, since(m_journal.endOfInitAt())},
                {Key::steps, m_steps},
                {Key::modules, m_modules},
                {Key::dependencies, m_dependencies}};
    }

private:
    /// 0 for what has not happened in this start-up.
    [[nodiscard]] qint64 since(quint64 time) const { return time > m_begin ? qint64(time - m_begin) : 0; }
    [[nodiscard]] qint64 settled(const Journal::ModuleHistory &module) const
    {
        if (module.readyAt > module.launchedAt) {
            return since(module.readyAt);
        }
        return module.exitedAt > module.launchedAt ? -since(module.exitedAt) : 0;
    }

    const Journal &m_journal;
    const quint64 m_begin;
    QJsonArray m_steps;
    QJsonArray m_modules;
    QJsonArray m_dependencies;
    qint64 m_total = 0;
};

} // namespace

QJsonObject bootSummary(const Journal &journal, const InitStepChain &steps)
{
    Summary summary(journal);
    for (const InitStep *step = steps.firstStep; step; step = step->getNext()) {
        summary.add(*step);
    }
    return summary.object();
}
