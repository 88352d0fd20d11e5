#include "verify/ConfigCheck.h"

#include "client/NearMiss.h"
#include "contract/FileNames.h"
#include "contract/MemoryCeiling.h"
#include "verify/XmlElements.h"

#include <QStringList>

#include <algorithm>

using XmlElements::tag;

namespace {

const QString dependencies = ConfigXml::dependencies;
const QString dependency = ConfigXml::dependency;
const QString extraArgs = ConfigXml::extraArguments;
const QString argument = ConfigXml::argument;
const QString maxMemory = ConfigXml::maxMemory;
const QString ceiling = ConfigXml::ceiling;
const QString criteria = ConfigXml::criteria;
const QString initStep = ConfigXml::initStep;
const QString early = ConfigXml::early;
const QString description = ConfigXml::description;

/// In kB: less than the virtual memory of any process.
constexpr int leastProcess = 1000;

/// The list that the item belongs to; empty for other names.
QString listOf(const QString &item)
{
    return item == dependency ? dependencies : item == argument ? extraArgs : item == ceiling ? maxMemory : QString();
}

QStringList ownNames()
{
    return {description, initStep, maxMemory, dependencies, early, extraArgs};
}

QStringList allNames()
{
    return ownNames() << dependency << argument << ceiling;
}

void reportMisplaced(const XmlElement &element, const Place &place, Findings &findings)
{
    const QString list = listOf(element.tagName());
    findings.add(Rule::ElementMisplaced, place.at(element.lineNumber()),
                 QStringLiteral("%1 is ignored here").arg(tag(element.tagName())),
                 QStringLiteral("move it into %1").arg(tag(list.isEmpty() ? ConfigXml::root : list)));
}

// What is nested in an unknown element, or in an element between a list and its items, is ignored. It may be somebody
// else's as long as the element is in its own place, too.
void checkNested(const XmlElement &root, const XmlElement &parent, const Place &place, Findings &findings)
{
    for (XmlElement child = parent.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        const QString name = child.tagName();
        const QString list = listOf(name);
        const bool isKnown = name != description && allNames().contains(name);
        const XmlElement proper =
            list.isEmpty() ? root.firstChildElement(name) : root.firstChildElement(list).firstChildElement(name);
        if (isKnown && proper.isNull()) {
            reportMisplaced(child, place, findings);
        } else if (!isKnown) {
            checkNested(root, child, place, findings);
        }
    }
}

/// The daemon reads the same from both.
bool isSame(const XmlElement &one, const XmlElement &other)
{
    XmlElement child = one.firstChildElement();
    XmlElement otherChild = other.firstChildElement();
    while (!child.isNull() && isSame(child, otherChild)) {
        child = child.nextSiblingElement();
        otherChild = otherChild.nextSiblingElement();
    }
    return child.isNull() && otherChild.isNull() && one.tagName() == other.tagName() && one.text() == other.text()
        && one.attributes() == other.attributes();
}

void checkRoot(const XmlElement &root, const Place &place, Findings &findings)
{
    const QStringList known = ownNames();
    const QStringList lists{dependencies, extraArgs, maxMemory};
    QStringList seen;
    for (XmlElement child = root.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        const QString name = child.tagName();
        if (known.contains(name) && seen.contains(name)) {
            if (name == description || isSame(root.firstChildElement(name), child)) {
                continue;
            }
            findings.add(Rule::ElementRepeated, place.at(child.lineNumber()),
                         QStringLiteral("a second %1, ignored").arg(tag(name)),
                         QStringLiteral("merge it into the first one"));
        } else if (!listOf(name).isEmpty()) {
            reportMisplaced(child, place, findings);
        } else if (!lists.contains(name)) {
            checkNested(root, child, place, findings);
        }
        seen << name;
    }
    XmlElements::checkSpelling(root, allNames(), place, findings);
    for (const QString &name : known) {
        if (root.hasAttribute(name) && root.firstChildElement(name).isNull()) {
            findings.add(Rule::ElementMisplaced, place.at(root.lineNumber()),
                         QStringLiteral("the attribute '%1' is ignored").arg(name),
                         QStringLiteral("write it as the element %1").arg(tag(name)));
        }
    }
}

/// A list from which the daemon reads nothing.
void checkEmptyList(const XmlElement &root, const XmlElement &list, const QString &item, const Place &place,
                    Findings &findings)
{
    XmlElements::checkSpelling(list, {item}, place, findings);
    for (XmlElement child = list.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        checkNested(root, child, place, findings);
    }
    if (!list.text().trimmed().isEmpty()) {
        findings.add(Rule::ElementMisplaced, place.at(list.lineNumber()),
                     QStringLiteral("the content of %1 is ignored: it has no %2").arg(tag(list.tagName()), tag(item)),
                     QStringLiteral("write each entry as %1").arg(tag(item)));
    }
}

/// The lines of the items that the daemon reads from a list: the first `item` and every element after it, whatever its
/// name.
QVector<int> checkList(const XmlElement &root, const QString &item, const Place &place, Findings &findings)
{
    const XmlElement list = root.firstChildElement(listOf(item));
    QVector<int> lines;
    const QString advice = QStringLiteral("rename it to %1, or remove it").arg(tag(item));
    const XmlElement first = list.firstChildElement(item);
    if (first.isNull()) {
        checkEmptyList(root, list, item, place, findings);
        return lines;
    }
    for (XmlElement child = list.firstChildElement(); child.tagName() != item; child = child.nextSiblingElement()) {
        findings.add(nearMisses(child.tagName(), {item}).isEmpty() ? Rule::ItemIgnored : Rule::ElementMisspelt,
                     place.at(child.lineNumber()),
                     QStringLiteral("%1 before the first %2, ignored").arg(tag(child.tagName()), tag(item)), advice);
    }
    for (XmlElement child = first; !child.isNull(); child = child.nextSiblingElement()) {
        lines << child.lineNumber();
        if (child.tagName() != item) {
            findings.add(Rule::ItemForeign, place.at(child.lineNumber()),
                         QStringLiteral("%1 after %2, treated as %2").arg(tag(child.tagName()), tag(item)), advice);
        }
        if (item == argument && child.text().isEmpty() && !child.attributes().isEmpty()) {
            findings.add(Rule::ArgumentEmpty, place.at(child.lineNumber()),
                         QStringLiteral("an empty argument: the attributes of %1 are ignored").arg(tag(item)),
                         QStringLiteral("write the argument as the text of the element"));
        }
    }
    return lines;
}

void checkCeiling(const XmlElement &element, const QString &ddrSize, const Place &place, Findings &findings)
{
    XmlElements::checkAttributes(element, {criteria}, place, findings);
    const Place here = place.at(element.lineNumber());
    if (element.attribute(criteria).isEmpty()) {
        findings.add(Rule::LimitCriteria, here,
                     QStringLiteral("a memory limit without criteria applies to no terminal"),
                     QStringLiteral("add the attribute, for example criteria=\"256MB\""));
    }
    bool isNumber = false;
    const int figure = element.text().toInt(&isNumber);
    const QString size = element.attribute(criteria, ddrSize);
    if (!isNumber || figure < 0) {
        findings.add(size == ddrSize ? Rule::LimitValue : Rule::LimitForeign, here,
                     QStringLiteral("the memory limit '%1' is not a number, ignored").arg(element.text()),
                     QStringLiteral("1 to 99 is a percentage of the terminal's memory, 100 or more a size in kB"));
    } else if (figure < leastProcess && MemoryCeiling(figure).isSet() && !MemoryCeiling(figure).isPercentage()) {
        findings.add(
            Rule::LimitSmall, here,
            QStringLiteral("a memory limit of %1 kB is less than any process needs: the module would be restarted "
                           "repeatedly")
                .arg(figure),
            QStringLiteral("a value of 100 or more is in kB: multiply MB by 1024"));
    }
}

/// "512 mb" and "512" for "512MB".
QString meantSize(const QStringList &sizes, const QString &ddrSize)
{
    const auto plain = [](const QString &text) { return text.toLower().remove(QLatin1Char(' ')); };
    const auto meant = std::find_if(sizes.begin(), sizes.end(), [&](const QString &size) {
        return !size.isEmpty() && (plain(ddrSize).startsWith(plain(size)) || plain(size).startsWith(plain(ddrSize)));
    });
    return meant == sizes.end() ? QString() : *meant;
}

ConfigLines::Limits checkCeilings(const XmlElement &root, const QString &ddrSize, const Place &place,
                                  Findings &findings)
{
    const XmlElement parent = root.firstChildElement(maxMemory);
    if (parent.isNull()) {
        return ConfigLines::Limits::None;
    }
    QStringList sizes;
    const QVector<int> lines = checkList(root, ceiling, place, findings);
    for (XmlElement child = parent.firstChildElement(ceiling); !child.isNull(); child = child.nextSiblingElement()) {
        const QString size = child.attribute(criteria);
        if (!size.isEmpty() && sizes.contains(size)) {
            findings.add(Rule::LimitRepeated, place.at(child.lineNumber()),
                         QStringLiteral("a second memory limit for %1: the last one applies").arg(size),
                         QStringLiteral("keep only one"));
        }
        sizes << size;
        if (child.tagName() == ceiling || child.hasAttribute(criteria)) {
            checkCeiling(child, ddrSize, place, findings);
        }
    }
    const Place here = place.at(parent.lineNumber());
    if (lines.isEmpty()) {
        findings.add(Rule::LimitNone, here,
                     QStringLiteral("%1 without %2: the module has no memory limit").arg(tag(maxMemory), tag(ceiling)),
                     QStringLiteral("add <DDRSz criteria=\"%1\">...</DDRSz>").arg(ddrSize));
    } else if (const QString meant = meantSize(sizes, ddrSize); !meant.isEmpty() && !sizes.contains(ddrSize)) {
        findings.add(Rule::LimitCriteria, place.at(lines.at(sizes.indexOf(meant))),
                     QStringLiteral("the criteria '%1' is not the text of this terminal's memory size, '%2': the "
                                    "module has no memory limit")
                         .arg(meant, ddrSize),
                     QStringLiteral("write the same text here and in platform.ini"));
    } else if (!sizes.contains(ddrSize)) {
        findings.add(
            Rule::LimitNone, here,
            QStringLiteral("none of the criteria is this terminal's memory size, '%1': the module has no memory limit")
                .arg(ddrSize),
            QStringLiteral("add a %1 with this size, or correct FAB_HW_DDRSIZE in platform.ini").arg(tag(ceiling)));
    }
    return lines.isEmpty()        ? ConfigLines::Limits::None
        : sizes.contains(ddrSize) ? ConfigLines::Limits::OfTerminal
                                  : ConfigLines::Limits::OfOthers;
}

} // namespace

ConfigLines checkConfig(const XmlElement &root, const QString &ddrSize, const Place &place, Findings &findings)
{
    checkRoot(root, place, findings);
    ConfigLines lines;
    lines.limits = checkCeilings(root, ddrSize, place, findings);
    checkList(root, argument, place, findings);
    lines.initStep = root.firstChildElement(initStep).lineNumber();
    const XmlElement earlyElement = root.firstChildElement(early);
    XmlElements::checkAttributes(earlyElement, {ConfigXml::after}, place, findings);
    lines.early = earlyElement.lineNumber();
    lines.dependencies = checkList(root, dependency, place, findings);
    return lines;
}
