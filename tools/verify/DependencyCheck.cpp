#include "verify/DependencyCheck.h"

#include "catalogue/ApplicationRecord.h"
#include "client/NearMiss.h"
#include "initstep/InitStep.h"

#include <QHash>
#include <QVector>

namespace {

const QString noStart = QStringLiteral("the daemon does not start");

int lineOf(const InstalledModule &module, int index)
{
    return module.lines.dependencies.value(index);
}

void checkOutside(const InstalledModule &module, const InstalledModule &other, const Place &place, Findings &findings)
{
    const QString name = other.record.getName();
    if (!other.step) {
        findings.add(Rule::DependencyStep, place,
                     QStringLiteral("depends on '%1', which is in no step: %2").arg(name, noStart),
                     QStringLiteral("correct the <initStep> of '%1' first").arg(name));
        return;
    }
    const QString message = QStringLiteral("depends on '%1', which is in the step '%2' (%3), not in '%4' (%5): %6")
                                .arg(name, other.step->getName(), QString::number(other.step->getValue()),
                                     module.step->getName(), QString::number(module.step->getValue()), noStart);
    const bool earlier = other.step->getValue() < module.step->getValue();
    findings.add(Rule::DependencyStep, place, message,
                 earlier ? QStringLiteral("remove the dependency: modules of earlier steps are started first anyway")
                         : QStringLiteral("move both into the same step"));
}

void checkDependency(const InstalledModule &module, int index, const InstalledModules &modules,
                     const QStringList &installed, Findings &findings)
{
    const QString name = module.record.getDependencies().at(index);
    const Place place = module.config.at(lineOf(module, index));
    const auto other = modules.constFind(name);
    if (other == modules.constEnd()) {
        const QString advice = modules.contains(name.trimmed())
            ? QStringLiteral("spaces are significant: write '%1' without them").arg(name.trimmed())
            : QStringLiteral("install it, or remove the dependency%1")
                  .arg(findings.isFull(Rule::DependencyMissing) ? QString() : spellingHint(name, installed));
        findings.add(Rule::DependencyMissing, place,
                     QStringLiteral("depends on '%1', which is not installed: %2").arg(name, noStart), advice);
    } else if (other->step != module.step) {
        checkOutside(module, *other, place, findings);
    }
}

/// Finds cycles depth first, in ascending order of name, without recursion.
class CycleSearch
{
public:
    CycleSearch(const InstalledModules &modules, Findings &findings)
        : m_modules(modules)
        , m_findings(findings)
    { }

    void searchFrom(const QString &head)
    {
        enter(head);
        while (!m_path.isEmpty()) {
            Level &top = m_path.last();
            if (top.next == top.dependencies.size()) {
                m_places[top.name] = done;
                m_path.removeLast();
                continue;
            }
            const int index = top.next++;
            const QString dependency = top.dependencies.at(index);
            const int place = m_places.value(dependency, unknown);
            if (place >= 0) {
                report(place, index);
            } else if (place == unknown) {
                enter(dependency);
            }
        }
    }

private:
    struct Level
    {
        QString name;
        QStringList dependencies;
        int next = 0;
    };
    static constexpr int unknown = -1;
    static constexpr int done = -2;

    void enter(const QString &name)
    {
        const auto module = m_modules.constFind(name);
        const bool sameStep = module != m_modules.constEnd() && module->step
            && (m_path.isEmpty() || module->step == m_modules[m_path.first().name].step);
        if (sameStep && m_places.value(name, unknown) == unknown) {
            m_places[name] = m_path.size();
            m_path.append({name, module->record.getDependencies()});
        }
    }

    void report(int from, int index)
    {
        const InstalledModule &module = m_modules[m_path.last().name];
        QStringList names;
        for (int i = from; i < m_path.size(); ++i) {
            names << m_path.at(i).name;
        }
        names << names.first();
        m_findings.add(Rule::DependencyCycle, module.config.at(lineOf(module, index)),
                       QStringLiteral("dependency cycle in the step '%1': %2: %3")
                           .arg(module.step->getName(), names.join(QStringLiteral(" -> ")), noStart),
                       QStringLiteral("remove one of these dependencies"));
    }

    const InstalledModules &m_modules;
    Findings &m_findings;
    QVector<Level> m_path;
    QHash<QString, int> m_places; ///< the place on the path, or done
};

/// Reports all modules that need a lost one, directly or not.
void checkLost(InstalledModules &modules, Findings &findings)
{
    QHash<QString, QStringList> dependents; // in the same step
    QStringList lost;
    for (auto module = modules.cbegin(); module != modules.cend(); ++module) {
        const QStringList names = module->step ? module->record.getDependencies() : QStringList();
        for (const QString &name : names) {
            const auto other = modules.constFind(name);
            if (other != modules.cend() && other->step == module->step
                && !dependents.value(name).endsWith(module.key())) {
                dependents[name] << module.key();
            }
        }
        lost += module->isLost ? QStringList(module.key()) : QStringList();
    }
    while (!lost.isEmpty()) {
        const QString cause = lost.takeFirst();
        for (const QString &name : dependents.value(cause)) {
            InstalledModule &module = modules[name];
            if (!module.isLost) {
                const int index = module.record.getDependencies().indexOf(cause);
                findings.add(Rule::DependencyLost, module.config.at(lineOf(module, index)),
                             QStringLiteral("is never started: it depends on '%1', which cannot be started").arg(cause),
                             QStringLiteral("correct '%1' first").arg(cause));
                module.isLost = true;
                lost << name;
            }
        }
    }
}

} // namespace

void checkDependencies(InstalledModules &modules, Findings &findings)
{
    const QStringList installed = modules.keys();
    CycleSearch cycles(modules, findings);
    for (auto module = modules.cbegin(); module != modules.cend(); ++module) {
        // The daemon ignores the dependencies of a module without a step.
        if (!module->step) {
            continue;
        }
        const int count = module->record.getDependencies().size();
        for (int index = 0; index < count; ++index) {
            checkDependency(*module, index, modules, installed, findings);
        }
        cycles.searchFrom(module.key());
    }
    checkLost(modules, findings);
}
