#include "BootRecord.h"

#include <algorithm>

BootRecord::BootRecord()
    : m_begin(QDateTime::currentDateTime())
    , m_files(TerminalFiles::read())
    , m_expected(m_files.expectedModules())
{
    m_clock.start();
}

void BootRecord::started(const QString &module)
{
    m_modules[module] = {now(), -1, -1};
}

void BootRecord::up(const QString &module)
{
    Module &record = m_modules[module];
    record.upAt = now();
    record.took = record.startedAt < 0 ? -1 : record.upAt - record.startedAt;
}

void BootRecord::down(const QString &module, qint64 time)
{
    Module &record = m_modules[module];
    if (record.startedAt <= time) {
        record.upAt = -1;
        record.startedAt = -1;
    }
}

void BootRecord::stepDone(const QString &step, qint64 took)
{
    m_stepTook.insert(step, took);
}

QList<BootRecord::Step> BootRecord::steps() const
{
    QList<Step> list;
    for (const TerminalFiles::Step &step : m_files.steps) {
        list.append(
            {step.name, step.value, m_files.stepOfModule.keys(step.name).size(), m_stepTook.value(step.name, -1)});
    }
    return list;
}

int BootRecord::upCount() const
{
    return m_expected.size() - missing().size();
}

QStringList BootRecord::missing() const
{
    QStringList names = m_expected;
    names.erase(std::remove_if(names.begin(), names.end(),
                               [this](const QString &name) { return m_modules.value(name).upAt >= 0; }),
                names.end());
    return names;
}

QString BootRecord::waitingFor() const
{
    QString name;
    qint64 latest = -1;
    for (auto module = m_modules.cbegin(); module != m_modules.cend(); ++module) {
        if (module->upAt < 0 && module->startedAt > latest) {
            latest = module->startedAt;
            name = module.key();
        }
    }
    return name;
}
