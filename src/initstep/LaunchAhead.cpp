#include "initstep/LaunchAhead.h"

#include "catalogue/Catalogue.h"
#include "initstep/InitStepChain.h"
#include "supervision/SupervisionState.h"

#include <QTimer>

#include <algorithm>
#include <limits>

namespace {

constexpr int nothingAllowed = std::numeric_limits<int>::min();

} // namespace

LaunchAhead::LaunchAhead(const SupervisionState &state, const Catalogue &catalogue, const InitStepChain &steps)
    : m_state(state)
    , m_catalogue(catalogue)
    , m_steps(steps)
    , m_links(std::make_unique<QObject>())
    , m_ceiling(nothingAllowed)
{ }

LaunchAhead::Walk::Walk(LaunchAhead &ahead, int first, int last)
    : m_ahead(ahead)
    , m_outerCeiling(ahead.m_ceiling)
{
    ++m_ahead.m_walks;
    m_ahead.addEarly(first, last);
}

LaunchAhead::Walk::~Walk()
{
    m_ahead.m_ceiling = m_outerCeiling;
    if (--m_ahead.m_walks == 0) {
        m_ahead.clear();
    }
}

void LaunchAhead::Walk::allowUpTo(int value)
{
    m_ahead.m_ceiling = value;
    for (auto candidate = m_ahead.m_candidates.cbegin(); candidate != m_ahead.m_candidates.cend(); ++candidate) {
        m_ahead.examine(candidate.key());
    }
}

void LaunchAhead::addEarly(int first, int last)
{
    const InitStep *step = m_steps.getStepByValue(first);
    for (step = step ? step : m_steps.getStepAbove(first); step && step->getValue() <= last;
         step = m_steps.getStepAbove(step->getValue())) {
        for (const auto &[name, module] : step->nodes) {
            const ApplicationRecord *record = m_catalogue.find(name);
            const auto early = record ? record->getEarly() : std::nullopt;
            if (!module || !early) {
                continue;
            }
            QStringList needs = module->getParents().keys();
            for (const QString &after : early->after) {
                // One that is not installed would hold it for ever.
                if (m_catalogue.find(after)) {
                    needs << after;
                }
            }
            add(name, {step->getValue(), needs, true});
        }
    }
}

void LaunchAhead::beginStep(const InitStep &step)
{
    for (const auto &[name, module] : step.nodes) {
        if (module) {
            add(name, {step.getValue(), module->getParents().keys(), false});
        }
    }
}

void LaunchAhead::endStep(const InitStep &step)
{
    for (auto node = step.nodes.cbegin(); node != step.nodes.cend() && !m_candidates.isEmpty(); ++node) {
        m_candidates.remove(node->first);
    }
    if (m_walks == 0) {
        clear();
    }
}

void LaunchAhead::clear()
{
    m_candidates.clear();
    m_waiting.clear();
    m_examine.clear();
    m_underWay.clear();
    m_watched.clear();
    m_links = std::make_unique<QObject>();
    if (m_walks == 0) {
        m_launched.clear();
    }
}

void LaunchAhead::add(const QString &name, const Candidate &candidate)
{
    if (m_launched.contains(name)) {
        return;
    }
    m_candidates.insert(name, candidate);
    watch(name);
    for (const QString &need : candidate.needs) {
        m_waiting.insert(need, name);
        watch(need);
    }
    examine(name);
}

void LaunchAhead::watch(const QString &name)
{
    const Module *module = m_watched.contains(name) ? nullptr : find(name);
    if (module) {
        m_watched.insert(name);
        connect(module, &Module::changed, m_links.get(), [this, name] { note(name); });
    }
}

void LaunchAhead::note(const QString &name)
{
    const Module *module = find(name);
    switch (module ? module->getState() : ModuleState::None) {
    case ModuleState::Starting:
    case ModuleState::Stopping:
        // Somebody has started it, or stops it: from here on only the walk starts it.
        m_candidates.remove(name);
        break;
    case ModuleState::Running:
        settled(name);
        for (auto waiting = m_waiting.constFind(name); waiting != m_waiting.cend() && waiting.key() == name;
             ++waiting) {
            examine(*waiting);
        }
        break;
    case ModuleState::Stopped:
        settled(name);
        examine(name); // Its previous process is reaped.
        break;
    default:
        break;
    }
}

void LaunchAhead::settled(const QString &name)
{
    if (m_underWay.remove(name)) {
        examineLater();
    }
}

void LaunchAhead::examine(const QString &name)
{
    const auto candidate = m_candidates.constFind(name);
    if (candidate != m_candidates.cend()) {
        m_examine.emplace(candidate->step, name);
        examineLater();
    }
}

void LaunchAhead::examineLater()
{
    if (!m_queued) {
        m_queued = true;
        QMetaObject::invokeMethod(this, &LaunchAhead::launchReady, Qt::QueuedConnection);
    }
}

void LaunchAhead::launchReady()
{
    m_queued = false;
    if (m_state.startFailed() || m_state.startsRefused()) {
        return;
    }
    while (!m_examine.empty() && m_underWay.size() < m_state.parameters().launchesAhead) {
        const QString name = m_examine.begin()->second;
        m_examine.erase(m_examine.begin());
        const auto candidate = m_candidates.constFind(name);
        Module *module = find(name);
        if (candidate != m_candidates.cend() && isReady(*candidate, module)) {
            launch(*module);
        }
    }
}

bool LaunchAhead::isReady(const Candidate &candidate, const Module *module) const
{
    return module && module->canBegin() && (!candidate.early || candidate.step <= m_ceiling)
        && std::all_of(candidate.needs.cbegin(), candidate.needs.cend(),
                       [this](const QString &need) { return isRunning(need); });
}

void LaunchAhead::launch(Module &module)
{
    const QString name = module.getName();
    m_launched.insert(name);
    if (!module.beginAhead()) {
        return;
    }
    // One that hangs must not keep the others from being launched.
    m_underWay.insert(name);
    QTimer::singleShot(m_state.limits().launchAhead, m_links.get(), [this, name] { settled(name); });
}

Module *LaunchAhead::find(const QString &name) const
{
    const ApplicationRecord *record = m_catalogue.find(name);
    const InitStep *step = record ? m_steps.getStepByName(record->getInitStep()) : nullptr;
    if (!step) {
        return nullptr;
    }
    const auto node = step->nodes.find(name);
    return node == step->nodes.cend() ? nullptr : node->second.get();
}

bool LaunchAhead::isRunning(const QString &name) const
{
    const ApplicationRecord *record = m_catalogue.find(name);
    return record && record->getModuleState() == ModuleState::Running;
}
