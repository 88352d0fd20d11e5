#include "initstep/InitStepChain.h"

#include <jov/Log.h>

#include <algorithm>

InitStep *InitStepChain::addStep(const QString &name, int value, bool showHomepage)
{
    Log::debug("Adding step %1 [%2]", name, value);
    if (getStepByName(name)) {
        Log::warning("INIT Step : Two steps with same name [%1]", name);
        return nullptr;
    }
    if (getStepByValue(value)) {
        Log::warning("INIT Step : Two steps with same value [%1]", value);
        return nullptr;
    }
    auto step = std::make_unique<InitStep>(name, value, showHomepage);
    if (!integrate(*step)) {
        step.reset();
        Log::warning("step %1 has not been integrated in chainned list", name);
        return nullptr;
    }
    m_steps.push_back(std::move(step));
    return m_steps.back().get();
}

bool InitStepChain::integrate(InitStep &step)
{
    if (!firstStep) {
        Log::debug("Adding step (first step empty) %1 [%2]", step.getName(), step.getValue());
        firstStep = &step;
    } else if (step.getValue() < firstStep->getValue()) {
        firstStep->setPrev(&step);
        step.setNext(firstStep);
        firstStep = &step;
        lastStep = &step;
    } else if (!lastStep) {
        lastStep = &step;
        step.setPrev(firstStep);
        firstStep->setNext(&step);
    } else if (step.getValue() > lastStep->getValue()) {
        if (lastStep->getNext()) {
            // The last step was added below the head: this cuts off the steps that were there before it.
            m_byName.clear();
            m_byValue.clear();
            index(*lastStep);
        }
        lastStep->setNext(&step);
        step.setPrev(lastStep);
        lastStep = &step;
    } else {
        return insertBetween(step);
    }
    index(step);
    return true;
}

// The new step gets no link backwards here; a step without a predecessor is treated as if one with a lower value
// preceded it.
bool InitStepChain::insertBetween(InitStep &step)
{
    const int value = step.getValue();
    const InitStep *reachedFrom = nullptr;
    for (InitStep *next = firstStep; next && next->getValue() <= lastStep->getValue(); next = next->getNext()) {
        InitStep *previous = next->getPrev();
        if (value < next->getValue() && (!previous || value > previous->getValue())) {
            if (previous) {
                previous->setNext(&step);
            }
            if (previous && previous == reachedFrom) {
                index(step);
            }
            step.setNext(next);
            next->setPrev(&step);
            return true;
        }
        reachedFrom = next;
    }
    return false;
}

void InitStepChain::index(InitStep &step)
{
    m_byName.insert(step.getName(), &step);
    m_byValue.emplace(step.getValue(), &step);
}

InitStep *InitStepChain::getStepByName(const QString &name) const
{
    return m_byName.value(name);
}

InitStep *InitStepChain::getStepByValue(int value) const
{
    const auto found = m_byValue.find(value);
    return found == m_byValue.end() ? nullptr : found->second;
}

InitStep *InitStepChain::getStepAbove(int value) const
{
    const auto found = m_byValue.upper_bound(value);
    return found == m_byValue.end() ? nullptr : found->second;
}

QStringList InitStepChain::moduleNames() const
{
    QStringList names;
    for (const auto &[value, step] : m_byValue) {
        names += step->applications.keys();
    }
    return names;
}

void InitStepChain::clearInitSteps()
{
    Log::debug("clearInitSteps");
    release();
}

void InitStepChain::release()
{
    firstStep = nullptr;
    lastStep = nullptr;
    m_byName.clear();
    m_byValue.clear();
    // In the order of the chain, which can differ from that of the file.
    std::sort(m_steps.begin(), m_steps.end(),
              [](const auto &one, const auto &other) { return one->getValue() < other->getValue(); });
    m_steps.clear();
}
