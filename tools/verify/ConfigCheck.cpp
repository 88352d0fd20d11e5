#include "verify/ConfigCheck.h"

#include "contract/MemoryCeiling.h"
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

/// In kB: less than the virtual memory of any process.
constexpr int leastProcess = 1000;

/// The list that the item belongs to; empty for other names.
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
            findings.warning(place.at(child.lineNumber()), QStringLiteral("a second %1, ignored").arg(tag(name)),
                             QStringLiteral("merge it into the first one"));
        } else if (!listOf(name).isEmpty()) {
            findings.warning(place.at(child.lineNumber()), QStringLiteral("%1 is ignored here").arg(tag(name)),
                             QStringLiteral("move it into %1").arg(tag(listOf(name))));
        }
        seen << name;
    }
    QStringList spelled = known;
    spelled << dependency << argument << ceiling;
    XmlElements::checkSpelling(root, spelled, place, findings);
}

/// The lines of the items that the daemon reads from a list: the first `item` and every element after it, whatever its
/// name.
QVector<int> checkList(const XmlElement &list, const QString &item, const Place &place, Findings &findings)
{
    QVector<int> lines;
    const QString advice = QStringLiteral("rename it to %1, or remove it").arg(tag(item));
    const XmlElement first = list.firstChildElement(item);
    if (first.isNull()) {
        XmlElements::checkSpelling(list, {item}, place, findings);
        return lines;
    }
    for (XmlElement child = list.firstChildElement(); child.tagName() != item; child = child.nextSiblingElement()) {
        findings.warning(place.at(child.lineNumber()),
                         QStringLiteral("%1 before the first %2, ignored").arg(tag(child.tagName()), tag(item)),
                         advice);
    }
    for (XmlElement child = first; !child.isNull(); child = child.nextSiblingElement()) {
        lines << child.lineNumber();
        if (child.tagName() != item) {
            findings.warning(place.at(child.lineNumber()),
                             QStringLiteral("%1 after %2, treated as %2").arg(tag(child.tagName()), tag(item)), advice);
        }
    }
    return lines;
}

void checkCeiling(const XmlElement &element, const Place &place, Findings &findings)
{
    XmlElements::checkAttributes(element, {criteria}, place, findings);
    const Place here = place.at(element.lineNumber());
    if (element.attribute(criteria).isEmpty()) {
        findings.warning(here, QStringLiteral("a memory limit without criteria applies to no terminal"),
                         QStringLiteral("add the attribute, for example criteria=\"256MB\""));
    }
    bool isNumber = false;
    const int figure = element.text().toInt(&isNumber);
    if (!isNumber || figure < 0) {
        findings.warning(here, QStringLiteral("the memory limit '%1' is not a number, ignored").arg(element.text()),
                         QStringLiteral("1 to 99 is a percentage of the terminal's memory, 100 or more a size in kB"));
    } else if (figure < leastProcess && MemoryCeiling(figure).isSet() && !MemoryCeiling(figure).isPercentage()) {
        findings.warning(
            here,
            QStringLiteral("a memory limit of %1 kB is less than any process needs: the module would be restarted "
                           "repeatedly")
                .arg(figure),
            QStringLiteral("a value of 100 or more is in kB: multiply MB by 1024"));
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
                             QStringLiteral("a second memory limit for %1: the last one applies").arg(size),
                             QStringLiteral("keep only one"));
        }
        sizes << size;
        checkCeiling(child, place, findings);
    }
    const Place here = place.at(parent.lineNumber());
    if (lines.isEmpty()) {
        findings.warning(
            here, QStringLiteral("%1 without %2: the module has no memory limit").arg(tag(maxMemory), tag(ceiling)),
            QStringLiteral("add <DDRSz criteria=\"%1\">...</DDRSz>").arg(ddrSize));
    } else if (!sizes.contains(ddrSize)) {
        findings.warning(
            here,
            QStringLiteral("none of the criteria is this terminal's memory size, '%1': the module has no memory limit")
                .arg(ddrSize),
            QStringLiteral("add a %1 with this size, or correct FAB_HW_DDRSIZE in platform.ini").arg(tag(ceiling)));
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
