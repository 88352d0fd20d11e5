#include "verify/ConfigCheck.h"

#include "verify/XmlElements.h"

#include <QStringList>

using XmlElements::tag;

namespace {

const QString dependencies = QStringLiteral("dependencies");
const QString dependency = QStringLiteral("dependency");
const QString extraArgs = QStringLiteral("extra_args");
const QString argument = QStringLiteral("arg");
const QString maxMemory = QStringLiteral("maxMemory");
const QString ceiling = QStringLiteral("DDRSz");
const QString criteria = QStringLiteral("criteria");
const QString initStep = QStringLiteral("initStep");
const QString description = QStringLiteral("description");

/// Below this a ceiling is per cent of the terminal's memory, from here on kB.
constexpr int firstAbsolute = 100;
/// A process that has only begun takes more than these kB.
constexpr int leastProcess = 1000;

/// What may stand in a list is also what is often put beside it.
QString listOf(const QString &item)
{
    return item == dependency ? dependencies : item == argument ? extraArgs : item == ceiling ? maxMemory : QString();
}

void checkRoot(const XmlElement &root, const Place &place, Findings &findings)
{
    const QStringList known{description, initStep, maxMemory, dependencies, extraArgs};
    QStringList seen;
    for (XmlElement child = root.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        const QString name = child.tagName();
        if (known.contains(name) && seen.contains(name)) {
            findings.warning(place.at(child.lineNumber()), QStringLiteral("a second %1 is passed over").arg(tag(name)),
                             QStringLiteral("put everything into the first"));
        } else if (!listOf(name).isEmpty()) {
            findings.warning(place.at(child.lineNumber()), QStringLiteral("%1 is passed over here").arg(tag(name)),
                             QStringLiteral("put it into %1").arg(tag(listOf(name))));
        }
        seen << name;
    }
    QStringList spelled = known;
    spelled << dependency << argument << ceiling;
    XmlElements::checkSpelling(root, spelled, place, findings);
}

/// The lines of what the daemon takes from a list: from the first `item` on every element counts, whatever its name.
QVector<int> checkList(const XmlElement &list, const QString &item, const Place &place, Findings &findings)
{
    QVector<int> lines;
    const XmlElement first = list.firstChildElement(item);
    if (first.isNull()) {
        XmlElements::checkSpelling(list, {item}, place, findings);
        return lines;
    }
    for (XmlElement child = list.firstChildElement(); child.tagName() != item; child = child.nextSiblingElement()) {
        findings.warning(place.at(child.lineNumber()),
                         QStringLiteral("%1 before the first %2 is passed over").arg(tag(child.tagName()), tag(item)),
                         QStringLiteral("write %1, or take it out").arg(tag(item)));
    }
    for (XmlElement child = first; !child.isNull(); child = child.nextSiblingElement()) {
        lines << child.lineNumber();
        if (child.tagName() != item) {
            findings.warning(place.at(child.lineNumber()),
                             QStringLiteral("%1 behind a %2 counts as one").arg(tag(child.tagName()), tag(item)),
                             QStringLiteral("write %1, or take it out").arg(tag(item)));
        }
    }
    return lines;
}

void checkCeiling(const XmlElement &element, const Place &place, Findings &findings)
{
    XmlElements::checkAttributes(element, {criteria}, place, findings);
    const Place here = place.at(element.lineNumber());
    if (element.attribute(criteria).isEmpty()) {
        findings.warning(here, QStringLiteral("a ceiling without criteria holds on no terminal"),
                         QStringLiteral("write %1").arg(QStringLiteral("<DDRSz criteria=\"256MB\">")));
    }
    bool isNumber = false;
    const int figure = element.text().toInt(&isNumber);
    if (!isNumber || figure < 0) {
        findings.warning(
            here, QStringLiteral("the ceiling '%1' is not a number: the module is not watched").arg(element.text()),
            QStringLiteral("1 to 99 are per cent of the terminal's memory, 100 and more are kB"));
    } else if (figure >= firstAbsolute && figure < leastProcess) {
        findings.warning(
            here,
            QStringLiteral("a ceiling of %1 kB is below what any process takes: the module would be restarted "
                           "again and again")
                .arg(figure),
            QStringLiteral("from 100 on the figure is in kB: for MB, multiply by 1024"));
    }
}

void checkCeilings(const XmlElement &parent, const QString &ddrSize, const Place &place, Findings &findings)
{
    if (parent.isNull()) {
        return;
    }
    QStringList sizes;
    const QVector<int> lines = checkList(parent, ceiling, place, findings);
    for (XmlElement child = parent.firstChildElement(ceiling); !child.isNull(); child = child.nextSiblingElement()) {
        const QString size = child.attribute(criteria);
        if (!size.isEmpty() && sizes.contains(size)) {
            findings.warning(place.at(child.lineNumber()),
                             QStringLiteral("a second ceiling for %1: the last one holds").arg(size),
                             QStringLiteral("keep one of them"));
        }
        sizes << size;
        checkCeiling(child, place, findings);
    }
    const Place here = place.at(parent.lineNumber());
    if (lines.isEmpty()) {
        findings.warning(here,
                         QStringLiteral("%1 without a %2: the module is not watched").arg(tag(maxMemory), tag(ceiling)),
                         QStringLiteral("write <DDRSz criteria=\"%1\">...</DDRSz> into it").arg(ddrSize));
    } else if (!sizes.contains(ddrSize)) {
        findings.warning(
            here, QStringLiteral("no ceiling for this terminal's memory, '%1': the module is not watched").arg(ddrSize),
            QStringLiteral("add a %1 of these criteria, or mend FAB_HW_DDRSIZE in platform.ini").arg(tag(ceiling)));
    }
}

} // namespace

ConfigLines checkConfig(const XmlElement &root, const QString &ddrSize, const Place &place, Findings &findings)
{
    checkRoot(root, place, findings);
    checkCeilings(root.firstChildElement(maxMemory), ddrSize, place, findings);
    checkList(root.firstChildElement(extraArgs), argument, place, findings);
    ConfigLines lines;
    lines.initStep = root.firstChildElement(initStep).lineNumber();
    lines.dependencies = checkList(root.firstChildElement(dependencies), dependency, place, findings);
    return lines;
}
