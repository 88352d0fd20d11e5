#include "verify/Findings.h"

#include <algorithm>

namespace {

constexpr int keptPerRule = 50;

} // namespace

void Findings::silence(Rule rule, const QStringList &modules)
{
    // No modules, now or in an earlier line: all of them.
    const auto known = m_silent.constFind(rule);
    const bool isWhole = modules.isEmpty() || (known != m_silent.constEnd() && known->isEmpty());
    m_silent[rule] = isWhole ? QStringList() : m_silent.value(rule) + modules;
}

void Findings::add(Rule rule, const Place &place, const QString &message, const QString &advice)
{
    const auto silent = m_silent.constFind(rule);
    if (silent != m_silent.constEnd() && (silent->isEmpty() || silent->contains(place.module))) {
        ++m_silenced;
        return;
    }
    if (!isFull(rule)) {
        m_findings.append({rule, place, message, advice});
    }
    ++m_counts[rule];
}

bool Findings::isFull(Rule rule) const
{
    return m_counts.value(rule) >= keptPerRule;
}

QList<Finding> Findings::sorted() const
{
    QList<Finding> all = m_findings;
    std::stable_sort(all.begin(), all.end(),
                     [](const Finding &one, const Finding &other) { return one.severity() < other.severity(); });
    return all;
}

int Findings::count(Severity severity) const
{
    int sum = 0;
    for (auto count = m_counts.begin(); count != m_counts.end(); ++count) {
        sum += infoOf(count.key()).severity == severity ? *count : 0;
    }
    return sum;
}

QMap<Rule, int> Findings::omitted() const
{
    QMap<Rule, int> omitted;
    for (auto count = m_counts.begin(); count != m_counts.end(); ++count) {
        if (*count > keptPerRule) {
            omitted.insert(count.key(), *count - keptPerRule);
        }
    }
    return omitted;
}
