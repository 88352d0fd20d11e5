#include "verify/StepTable.h"

#include "catalogue/ConfigReader.h"
#include "catalogue/ModulePaths.h"
#include "catalogue/XmlFile.h"
#include "contract/Steps.h"
#include "initstep/InitStepFile.h"
#include "verify/XmlElements.h"

#include <jov/JovRoot.h>

#include <algorithm>

namespace {

const QString managerName = QStringLiteral("ApplicationManager");
const QString listSeparator = QStringLiteral(", ");

/// How far the start-up counts when the chain ends earlier.
constexpr int countsTo = 999;

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
    m_place.file = JovRoot::rooted(ModulePaths::configDirectory() + managerName + QStringLiteral("/initStep.xml"));
    const XmlFile file = readXmlFile(m_place.file);
    const XmlElement root = XmlElements::rootOf(file, QStringLiteral("initStep"), m_place,
                                                QStringLiteral("the daemon does not start"), findings);
    if (root.isNull() || !parseInitStep(m_chain, managerName)) {
        return false;
    }
    const QString step = QStringLiteral("step");
    XmlElements::checkSpelling(root, {step}, m_place, findings);
    for (XmlElement element = root.firstChildElement(step); !element.isNull();
         element = element.nextSiblingElement(step)) {
        readEntry(element, findings);
    }
    checkOrder(findings);
    checkDefault(findings);
    checkHomepage(findings);
    return true;
}

void StepTable::readEntry(const XmlElement &element, Findings &findings)
{
    const QString name = QStringLiteral("name");
    const QString value = QStringLiteral("value");
    const QString homepage = QStringLiteral("show_homepage");
    const Place place = m_place.at(element.lineNumber());
    XmlElements::checkAttributes(element, {name, value, homepage}, m_place, findings);
    if (!element.hasAttribute(name) || !element.hasAttribute(value)) {
        findings.error(
            place, QStringLiteral("a step without %1 is passed over").arg(element.hasAttribute(name) ? value : name),
            QStringLiteral("every step needs both attributes, name and value"));
        return;
    }
    bool isNumber = false;
    Listed entry{element.attribute(name), element.attribute(value).toInt(&isNumber), element.lineNumber()};
    if (!isNumber) {
        findings.error(place,
                       QStringLiteral("step '%1': the value '%2' is not a number and counts as 0")
                           .arg(entry.name, element.attribute(value)),
                       QStringLiteral("give it a whole number from 1 on"));
    } else if (entry.value < 1) {
        findings.error(
            place,
            QStringLiteral("step %1 is never reached: the start-up counts from 1").arg(text(entry.name, entry.value)),
            QStringLiteral("give it a value from 1 on"));
    }
    const QString shown = element.attribute(homepage, QStringLiteral("false"));
    if (shown != QLatin1String("true") && shown != QLatin1String("false")) {
        findings.warning(place,
                         QStringLiteral("step '%1': show_homepage=\"%2\" counts as false").arg(entry.name, shown),
                         QStringLiteral("write \"true\" or \"false\", in small letters"));
    }
    entry.duplicate = isDuplicate(entry, findings);
    m_listed.append(entry);
}

bool StepTable::isDuplicate(const Listed &entry, Findings &findings) const
{
    for (const Listed &other : m_listed) {
        const bool sameName = other.name == entry.name;
        if (sameName || other.value == entry.value) {
            findings.error(m_place.at(entry.line),
                           QStringLiteral("two steps have the %1, the other is in line %2: one of them is dropped")
                               .arg(sameName ? QStringLiteral("name '%1'").arg(entry.name)
                                             : QStringLiteral("value %1").arg(entry.value))
                               .arg(other.line),
                           QStringLiteral("give each step a name and a value of its own"));
            return true;
        }
    }
    return false;
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
                QStringLiteral("step %1 stands behind %2: %3")
                    .arg(text(entry.name, entry.value), text(highest->name, highest->value), whatBecomesOfTheOrder());
            const QString advice = QStringLiteral("list the steps in ascending order of their value");
            const bool complete = lost().isEmpty() && chain().size() == stopOrder().size();
            complete ? findings.warning(m_place.at(entry.line), message, advice)
                     : findings.error(m_place.at(entry.line), message, advice);
            return;
        }
        highest = &entry;
    }
    checkStop(findings);
}

// The step "default" is put in without regard to the order, too.
void StepTable::checkStop(Findings &findings) const
{
    if (chain().size() != stopOrder().size()) {
        findings.error(
            m_place,
            QStringLiteral("the step 'default' that is added is not the last: %1").arg(whatBecomesOfTheOrder()),
            QStringLiteral("list the step \"default\" behind the others, with a higher value"));
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

QString StepTable::whatBecomesOfTheOrder() const
{
    QStringList started;
    const QList<const InitStep *> steps = chain();
    for (const InitStep *step : steps) {
        started << text(*step);
    }
    QString result = QStringLiteral("the start order becomes %1").arg(started.join(listSeparator));
    if (!lost().isEmpty()) {
        result += QStringLiteral("; lost and never started: %1").arg(lost().join(listSeparator));
    }
    const QStringList stopped = stopOrder();
    if (stopped.size() != steps.size()) {
        result += QStringLiteral("; a stop only reaches %1").arg(stopped.join(listSeparator));
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
            QStringLiteral("no step 'default' can be added behind the last, its value is taken: modules that "
                           "name no step are never started"),
            QStringLiteral("list the step \"default\" with a value of its own"));
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
                QStringLiteral("step '%1' has show_homepage too, as '%2' has: the start-up is announced as "
                               "finished more than once")
                    .arg(step->getName(), first->getName()),
                QStringLiteral("keep it at one step, the one that shows the home page"));
        }
        first = step;
    }
    if (!first) {
        findings.error(
            m_place,
            QStringLiteral("no step that is reached has show_homepage=\"true\": the start-up is never announced "
                           "as finished, and no module's memory is watched"),
            QStringLiteral("give it to the step whose end means that the terminal can be used"));
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
    return step.getValue() >= 1 && step.getValue() <= qMax(countsTo, m_chain.last()->getValue());
}

QStringList StepTable::names() const
{
    QStringList names;
    for (const Listed &entry : m_listed) {
        names << entry.name;
    }
    return names << Steps::defaultName;
}
