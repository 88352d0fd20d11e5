#include "verify/StepTable.h"

#include "catalogue/ModulePaths.h"
#include "catalogue/XmlFile.h"
#include "contract/Components.h"
#include "contract/Steps.h"
#include "initstep/InitStepFile.h"
#include "verify/XmlElements.h"

#include <jov/JovRoot.h>

#include <algorithm>

namespace {

const QString listSeparator = QStringLiteral(", ");

QString text(const QString &name, int value)
{
    return QStringLiteral("%1 (%2)").arg(name).arg(value);
}

QString text(const InitStep &step)
{
    return text(step.getName(), step.getValue());
}

} // namespace

bool StepTable::read(Findings &findings)
{
    m_place.file = JovRoot::rooted(ModulePaths::configDirectory() + Components::applicationManager
                                   + QStringLiteral("/initStep.xml"));
    const XmlFile file = readXmlFile(m_place.file);
    const XmlElement root = XmlElements::rootOf(file, QStringLiteral("initStep"), m_place,
                                                QStringLiteral("the daemon does not start"), findings);
    if (root.isNull() || !parseInitStep(m_chain, Components::applicationManager)) {
        return false;
    }
    const QString step = QStringLiteral("step");
    InitStepChain replay;
    XmlElements::checkSpelling(root, {step}, m_place, findings);
    for (XmlElement element = root.firstChildElement(step); !element.isNull();
         element = element.nextSiblingElement(step)) {
        readEntry(element, replay, findings);
    }
    checkOrder(findings);
    checkDefault(findings);
    checkHomepage(findings);
    return true;
}

void StepTable::readEntry(const XmlElement &element, InitStepChain &replay, Findings &findings)
{
    const QString name = QStringLiteral("name");
    const QString value = QStringLiteral("value");
    const QString homepage = QStringLiteral("show_homepage");
    const Place place = m_place.at(element.lineNumber());
    XmlElements::checkAttributes(element, {name, value, homepage}, m_place, findings);
    if (!element.hasAttribute(name) || !element.hasAttribute(value)) {
        findings.error(
            place,
            QStringLiteral("a step without the attribute '%1', ignored").arg(element.hasAttribute(name) ? value : name),
            QStringLiteral("give every step the attributes name and value"));
        return;
    }
    bool isNumber = false;
    Listed entry{element.attribute(name), element.attribute(value).toInt(&isNumber), element.lineNumber()};
    checkValue(entry, element.attribute(value), isNumber, findings);
    const QString shown = element.attribute(homepage, QStringLiteral("false"));
    if (shown != QLatin1String("true") && shown != QLatin1String("false")) {
        findings.warning(place,
                         QStringLiteral("step '%1': show_homepage=\"%2\" is treated as false").arg(entry.name, shown),
                         QStringLiteral("write \"true\" or \"false\", in lower case"));
    }
    // The daemon compares a step with the chain as it is then: a step that was dropped from it has no duplicate.
    entry.duplicate = isDuplicate(entry, replay, findings);
    replay.addStep(entry.name, entry.value, false);
    m_listed.append(entry);
}

void StepTable::checkValue(const Listed &entry, const QString &value, bool isNumber, Findings &findings) const
{
    const QString advice = QStringLiteral("use a whole number, 1 or more");
    if (!isNumber) {
        findings.error(m_place.at(entry.line),
                       QStringLiteral("step '%1': the value '%2' is not a number, treated as 0").arg(entry.name, value),
                       advice);
    } else if (entry.value < 1) {
        findings.error(
            m_place.at(entry.line),
            QStringLiteral("step %1 is never reached: the start-up begins at 1").arg(text(entry.name, entry.value)),
            advice);
    }
}

bool StepTable::isDuplicate(const Listed &entry, const InitStepChain &replay, Findings &findings) const
{
    const InitStep *sameName = replay.getStepByName(entry.name);
    const InitStep *step = sameName ? sameName : replay.getStepByValue(entry.value);
    if (!step) {
        return false;
    }
    const auto other = std::find_if(m_listed.begin(), m_listed.end(), [&](const Listed &one) {
        return one.name == step->getName() && one.value == step->getValue();
    });
    findings.error(m_place.at(entry.line),
                   QStringLiteral("step %1 is dropped: it has the same %2 as step %3 in line %4")
                       .arg(text(entry.name, entry.value), sameName ? QStringLiteral("name") : QStringLiteral("value"),
                            text(*step))
                       .arg(other->line),
                   QStringLiteral("give each step its own name and value"));
    return true;
}

void StepTable::checkOrder(Findings &findings) const
{
    const Listed *highest = nullptr;
    for (const Listed &entry : m_listed) {
        if (entry.duplicate) {
            continue;
        }
        if (highest && entry.value < highest->value) {
            const QString message =
                QStringLiteral("step %1 is listed after %2. %3")
                    .arg(text(entry.name, entry.value), text(highest->name, highest->value), resultingOrder());
            const QString advice = QStringLiteral("list the steps in ascending order of their values");
            const bool complete = lost().isEmpty() && chain().size() == stopOrder().size();
            complete ? findings.warning(m_place.at(entry.line), message, advice)
                     : findings.error(m_place.at(entry.line), message, advice);
            return;
        }
        highest = &entry;
    }
    checkStop(findings);
}

// The daemon adds the step "default" without regard to the order, too.
void StepTable::checkStop(Findings &findings) const
{
    if (chain().size() != stopOrder().size()) {
        findings.error(
            m_place,
            QStringLiteral("the step 'default', which is added, is not the last one. %1").arg(resultingOrder()),
            QStringLiteral("list the step \"default\" last, with the highest value"));
    }
}

QStringList StepTable::lost() const
{
    QStringList lost;
    for (const Listed &entry : m_listed) {
        const InitStep *step = find(entry.name);
        if (!entry.duplicate && (!step || step->getValue() != entry.value)) {
            lost << text(entry.name, entry.value);
        }
    }
    return lost;
}

QString StepTable::resultingOrder() const
{
    QStringList started;
    const QList<const InitStep *> steps = chain();
    for (const InitStep *step : steps) {
        started << text(*step);
    }
    QString result = QStringLiteral("The start order is %1").arg(started.join(listSeparator));
    if (!lost().isEmpty()) {
        result += QStringLiteral(". Dropped, never started: %1").arg(lost().join(listSeparator));
    }
    const QStringList stopped = stopOrder();
    if (stopped.size() != steps.size()) {
        result += QStringLiteral(". A stop of all modules reaches only %1").arg(stopped.join(listSeparator));
    }
    return result;
}

QList<const InitStep *> StepTable::chain() const
{
    QList<const InitStep *> steps;
    for (const InitStep *step = m_chain.firstStep; step; step = step->getNext()) {
        steps << step;
    }
    return steps;
}

QStringList StepTable::stopOrder() const
{
    QStringList order;
    for (const InitStep *step = m_chain.last(); step; step = step->getPrev()) {
        order << text(*step);
    }
    return order;
}

void StepTable::checkDefault(Findings &findings) const
{
    const InitStep *step = find(Steps::defaultName);
    if (!step && !listed(Steps::defaultName)) {
        findings.warning(
            m_place,
            QStringLiteral("the step 'default' cannot be added, because its value is already used: modules that name "
                           "no step are never started"),
            QStringLiteral("list the step \"default\" with its own value"));
    }
}

void StepTable::checkHomepage(Findings &findings) const
{
    const InitStep *first = nullptr;
    const QList<const InitStep *> steps = chain();
    for (const InitStep *step : steps) {
        if (!step->getShowHomepage() || !isReached(*step)) {
            continue;
        }
        if (first) {
            findings.warning(
                m_place.at(listed(step->getName())->line),
                QStringLiteral("step '%1' has show_homepage, as well as '%2': the end of the start-up is announced "
                               "more than once")
                    .arg(step->getName(), first->getName()),
                QStringLiteral("keep show_homepage only on the step that shows the home page"));
        }
        first = step;
    }
    if (!first) {
        findings.error(
            m_place,
            QStringLiteral("no step that is reached has show_homepage=\"true\": the end of the start-up is never "
                           "announced, and the memory of modules is not monitored"),
            QStringLiteral("set it on the step after which the terminal can be used"));
    }
}

const StepTable::Listed *StepTable::listed(const QString &name) const
{
    const auto entry =
        std::find_if(m_listed.begin(), m_listed.end(), [&](const Listed &one) { return one.name == name; });
    return entry == m_listed.end() ? nullptr : &*entry;
}

bool StepTable::isReached(const InitStep &step) const
{
    return step.getValue() >= 1 && step.getValue() <= qMax(Steps::all, m_chain.last()->getValue());
}

QStringList StepTable::names() const
{
    QStringList names;
    for (const Listed &entry : m_listed) {
        names << entry.name;
    }
    return names << Steps::defaultName;
}
