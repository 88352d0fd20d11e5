#include "verify/EarlyCheck.h"

#include "client/NearMiss.h"
#include "contract/Components.h"
#include "verify/StepTable.h"

#include <QHash>
#include <QSet>

#include <algorithm>

namespace {

/// What a module, or the begin of a step, waits for.
class Waiting
{
public:
    Waiting(const InstalledModules &modules, const StepTable &steps)
    {
        QHash<const InitStep *, QStringList> members;
        for (auto module = modules.cbegin(); module != modules.cend(); ++module) {
            if (module->step) {
                members[module->step] << module.key();
                m_needs.insert(module.key(), needsOf(*module, modules));
            }
        }
        QStringList before;
        const QList<const InitStep *> chain = steps.chain();
        for (const InitStep *step : chain) {
            m_needs.insert(keyOf(*step), before);
            before = members.value(step) + QStringList(keyOf(*step));
        }
    }

    /// The shortest way from one module to another, with both; empty if there is none. Only the first of several steps
    /// in succession is in it.
    [[nodiscard]] QStringList way(const QString &from, const QString &to) const
    {
        QHash<QString, QString> reachedFrom{{from, {}}};
        QStringList reached{from};
        for (int i = 0; i < reached.size() && !reachedFrom.contains(to); ++i) {
            const QString name = reached.at(i);
            for (const QString &need : m_needs.value(name)) {
                if (!reachedFrom.contains(need)) {
                    reachedFrom.insert(need, name);
                    reached << need;
                }
            }
        }
        QStringList names;
        for (QString name = reachedFrom.contains(to) ? to : QString(); !name.isEmpty();
             name = reachedFrom.value(name)) {
            if (!names.isEmpty() && isStep(name) && isStep(names.constFirst())) {
                names.removeFirst();
            }
            names.prepend(name);
        }
        return names;
    }

private:
    /// Also the text for people. No module has a name with a slash.
    [[nodiscard]] static QString keyOf(const InitStep &step)
    {
        return QStringLiteral("/step '%1' (%2)").arg(step.getName()).arg(step.getValue());
    }
    [[nodiscard]] static bool isStep(const QString &key) { return key.startsWith(QLatin1Char('/')); }

    [[nodiscard]] static QStringList needsOf(const InstalledModule &module, const InstalledModules &modules)
    {
        QStringList needs;
        const QStringList dependencies = module.record.getDependencies();
        for (const QString &name : dependencies) {
            const auto other = modules.constFind(name);
            needs << (other != modules.cend() && other->step == module.step ? QStringList(name) : QStringList());
        }
        const auto early = module.record.getEarly();
        return needs + (early ? early->after : QStringList(keyOf(*module.step)));
    }

    QHash<QString, QStringList> m_needs;
};

class EarlyCheck
{
public:
    EarlyCheck(const InstalledModules &modules, const StepTable &steps, Findings &findings)
        : m_modules(modules)
        , m_waiting(modules, steps)
        , m_findings(findings)
    {
        for (const InstalledModule &module : modules) {
            if (!module.isLost) {
                ++m_sizes[module.step];
                m_first = !m_first || module.step->getValue() < m_first->getValue() ? module.step : m_first;
            }
        }
    }

    void check(const InstalledModule &module, const QStringList &after)
    {
        const Place place = module.config.at(module.lines.early);
        checkNames(after, place);
        if (module.record.getName() == Components::webClient) {
            m_findings.add(Rule::EarlyWebClient, place,
                           QStringLiteral("it is early: its 45 s for the presentation begin with its announcement, "
                                          "while the rest of the start-up uses the processor"),
                           QStringLiteral("remove <early>"));
        }
        if (!module.isLost && !isInCircle(module, after, place)) {
            const QString reason = uselessBecause(module, after);
            if (!reason.isEmpty()) {
                m_findings.add(Rule::EarlyUseless, place, QStringLiteral("early has no effect: %1").arg(reason),
                               QStringLiteral("remove <early>, or correct what it waits for"));
            }
        }
    }

private:
    void checkNames(const QStringList &after, const Place &place)
    {
        for (const QString &name : after) {
            if (!m_modules.contains(name)) {
                const QString hint =
                    m_findings.isFull(Rule::EarlyUnknown) ? QString() : spellingHint(name, m_modules.keys());
                m_findings.add(
                    Rule::EarlyUnknown, place,
                    QStringLiteral("early after '%1', which is not installed: the name is ignored").arg(name),
                    QStringLiteral("install it, or remove the name%1").arg(hint));
            }
        }
    }

    bool isInCircle(const InstalledModule &module, const QStringList &after, const Place &place)
    {
        for (const QString &name : after) {
            const QStringList way = m_waiting.way(name, module.record.getName());
            if (way.isEmpty()) {
                continue;
            }
            QStringList members = way;
            members.sort();
            if (!m_circles.contains(members)) {
                m_circles.insert(members);
                const QString circle = (QStringList(module.record.getName()) + way).join(QStringLiteral(" -> "));
                m_findings.add(Rule::EarlyCycle, place,
                               QStringLiteral("early in a circle: %1: it is never launched before its step")
                                   .arg(QString(circle).remove(QLatin1Char('/'))),
                               QStringLiteral("remove '%1' from after").arg(name));
            }
            return true;
        }
        return false;
    }

    [[nodiscard]] QString uselessBecause(const InstalledModule &module, const QStringList &after) const
    {
        const QStringList needs = module.record.getDependencies() + after;
        for (const QString &name : needs) {
            const auto other = m_modules.constFind(name);
            if (other == m_modules.cend()) {
                continue;
            }
            if (other->isLost) {
                return QStringLiteral("it waits for '%1', which is never started").arg(name);
            }
            if (module.step->isParallel() && other->step == module.step && !other->record.getEarly()) {
                return QStringLiteral("it waits for '%1', which starts in the same parallel step").arg(name);
            }
        }
        if (module.step != m_first) {
            return {};
        }
        return m_sizes.value(m_first) == 1 ? QStringLiteral("no other module starts before it")
            : m_first->isParallel()        ? QStringLiteral("its step is parallel, and the first one")
                                           : QString();
    }

    const InstalledModules &m_modules;
    const Waiting m_waiting;
    Findings &m_findings;
    QHash<const InitStep *, int> m_sizes;
    const InitStep *m_first = nullptr; ///< of those with modules
    QSet<QStringList> m_circles;
};

} // namespace

void checkEarly(const InstalledModules &modules, const StepTable &steps, Findings &findings)
{
    EarlyCheck check(modules, steps, findings);
    for (const InstalledModule &module : modules) {
        if (const auto early = module.record.getEarly()) {
            check.check(module, early->after);
        }
    }
}
