#include "verify/StepTable.h"

#include "catalogue/ModulePaths.h"
#include "catalogue/XmlFile.h"
#include "contract/Components.h"
#include "contract/FileNames.h"
#include "contract/Steps.h"
#include "initstep/InitStepFile.h"
#include "verify/XmlElements.h"

#include <jov/JovRoot.h>

namespace {

constexpr int mostNamed = 10;
const QString parallelAttribute = StepsXml::parallel;

QString text(const QString &name, int value)
{
    return QStringLiteral("%1 (%2)").arg(name).arg(value);
}

QString text(const InitStep &step)
{
    return text(step.getName(), step.getValue());
}

QString joined(const QStringList &names)
{
    const QString some = names.mid(0, mostNamed).join(QStringLiteral(", "));
    return names.size() <= mostNamed ? some : QStringLiteral("%1 and %2 more").arg(some).arg(names.size() - mostNamed);
}

} // namespace

bool StepTable::read(Findings &findings)
{
    const QString path =
        ModulePaths::configDirectory() + Components::applicationManager + QStringLiteral("/initStep.xml");
    m_place.file = JovRoot::rooted(path);
    const XmlFile file = XmlElements::read(path);
    const XmlElement root = XmlElements::rootOf(file, StepsXml::root, Rule::StepsUnusable, m_place,
                                                QStringLiteral("the daemon does not start"), findings);
    if (root.isNull()) {
        return false;
    }
    addSteps(m_chain, root);
    const QString step = StepsXml::step;
    InitStepChain replay;
    XmlElements::checkSpelling(root, {step}, m_place, findings);
    XmlElements::checkAttributes(root, {parallelAttribute}, m_place, findings);
    checkParallel(root, findings);
    for (XmlElement element = root.firstChildElement(step); !element.isNull();
         element = element.nextSiblingElement(step)) {
        readEntry(element, root.attribute(parallelAttribute), replay, findings);
    }
    for (XmlElement child = root.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        checkPlaces(child, findings);
    }
    checkOrder(findings);
    checkDefault(findings);
    checkHomepage(findings);
    return true;
}

// Only the children of the root element are steps.
void StepTable::checkPlaces(const XmlElement &parent, Findings &findings) const
{
    for (XmlElement child = parent.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        if (child.tagName() == QLatin1String("step")) {
            findings.add(Rule::ElementMisplaced, m_place.at(child.lineNumber()),
                         QStringLiteral("a <step> inside %1, ignored").arg(XmlElements::tag(parent.tagName())),
                         QStringLiteral("move it into <initStep>"));
        }
        checkPlaces(child, findings);
    }
}

void StepTable::readEntry(const XmlElement &element, const QString &parallel, InitStepChain &replay, Findings &findings)
{
    const QString name = StepsXml::name;
    const QString value = StepsXml::value;
    const Place place = m_place.at(element.lineNumber());
    XmlElements::checkAttributes(element, {name, value, StepsXml::showHomepage, parallelAttribute}, m_place, findings);
    checkParallel(element, findings);
    if (!element.hasAttribute(name) || !element.hasAttribute(value)) {
        findings.add(
            Rule::StepIncomplete, place,
            QStringLiteral("a step without the attribute '%1', ignored").arg(element.hasAttribute(name) ? value : name),
            QStringLiteral("give every step the attributes name and value"));
        return;
    }
    bool isNumber = false;
    Listed entry{element.attribute(name), element.attribute(value).toInt(&isNumber), element.lineNumber()};
    checkValue(entry, element.attribute(value), isNumber, findings);
    checkShown(element, findings);
    // The daemon compares a step with the chain as it is then: a step that was dropped from it has no duplicate.
    entry.isShown = element.attribute(StepsXml::showHomepage) == QLatin1String("true");
    entry.isParallel = element.attribute(parallelAttribute, parallel) == QLatin1String("true");
    entry.duplicate = isDuplicate(entry, replay, findings);
    if (InitStep *step = replay.addStep(entry.name, entry.value, entry.isShown)) {
        step->setParallel(entry.isParallel);
    }
    if (!m_places.contains(entry.name)) {
        m_places.insert(entry.name, m_listed.size());
    }
    m_listed.append(entry);
}

void StepTable::checkShown(const XmlElement &element, Findings &findings) const
{
    static const QStringList meantTrue{QStringLiteral("true"), QStringLiteral("yes"), QStringLiteral("on"),
                                       QStringLiteral("1")};
    const QString shown = element.attribute(StepsXml::showHomepage, QStringLiteral("false"));
    if (shown != QLatin1String("true") && shown != QLatin1String("false")) {
        const bool isLost = meantTrue.contains(shown.trimmed().toLower());
        findings.add(isLost ? Rule::HomepageLost : Rule::HomepageValue, m_place.at(element.lineNumber()),
                     QStringLiteral("step '%1': show_homepage=\"%2\" is treated as false")
                         .arg(element.attribute(StepsXml::name), shown),
                     QStringLiteral("write \"true\" or \"false\", in lower case"));
    }
}

void StepTable::checkParallel(const XmlElement &element, Findings &findings) const
{
    const QString parallel = element.attribute(parallelAttribute, QStringLiteral("false"));
    if (parallel != QLatin1String("true") && parallel != QLatin1String("false")) {
        findings.add(Rule::ParallelValue, m_place.at(element.lineNumber()),
                     QStringLiteral("parallel=\"%1\" is treated as false").arg(parallel),
                     QStringLiteral("write \"true\" or \"false\", in lower case"));
    }
}

void StepTable::checkValue(const Listed &entry, const QString &value, bool isNumber, Findings &findings) const
{
    const QString advice = QStringLiteral("use a whole number, 1 or more");
    if (!isNumber) {
        findings.add(Rule::StepValue, m_place.at(entry.line),
                     QStringLiteral("step '%1': the value '%2' is not a number, treated as 0").arg(entry.name, value),
                     advice);
    } else if (entry.value < 1) {
        findings.add(
            Rule::StepUnreached, m_place.at(entry.line),
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
    // The same step again: nothing is lost.
    if (sameName && step->getValue() == entry.value && step->getShowHomepage() == entry.isShown
        && step->isParallel() == entry.isParallel) {
        return true;
    }
    findings.add(Rule::StepDuplicate, m_place.at(entry.line),
                 QStringLiteral("step %1 is dropped: it has the same %2 as step %3")
                     .arg(text(entry.name, entry.value), sameName ? QStringLiteral("name") : QStringLiteral("value"),
                          text(*step)),
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
            findings.add(complete ? Rule::StepOrder : Rule::StepLost, m_place.at(entry.line), message, advice);
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
        findings.add(
            Rule::StepLost, m_place,
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
    QString result = QStringLiteral("The start order is %1").arg(joined(started));
    if (!lost().isEmpty()) {
        result += QStringLiteral(". Dropped, never started: %1").arg(joined(lost()));
    }
    const QStringList stopped = stopOrder();
    if (stopped.size() != steps.size()) {
        result += QStringLiteral(". A stop of all modules reaches only %1").arg(joined(stopped));
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
        findings.add(
            Rule::DefaultStep, m_place,
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
            findings.add(
                Rule::HomepageRepeated, m_place.at(listed(step->getName())->line),
                QStringLiteral("step '%1' has show_homepage, as well as '%2': the end of the start-up is announced "
                               "more than once")
                    .arg(step->getName(), first->getName()),
                QStringLiteral("keep show_homepage only on the step that shows the home page"));
        }
        first = step;
    }
    if (!first) {
        findings.add(
            Rule::HomepageMissing, m_place,
            QStringLiteral("no step that is reached has show_homepage=\"true\": the end of the start-up is never "
                           "announced, and the memory of modules is not monitored"),
            QStringLiteral("set it on the step after which the terminal can be used"));
    }
}

const StepTable::Listed *StepTable::listed(const QString &name) const
{
    const auto place = m_places.constFind(name);
    return place == m_places.constEnd() ? nullptr : &m_listed.at(*place);
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
