#include "verify/XmlElements.h"

#include "catalogue/XmlFile.h"
#include "client/NearMiss.h"
#include "verify/RootFile.h"

#include <QSet>

namespace {

constexpr int shortestEnd = 4;

} // namespace

QString XmlElements::tag(const QString &name)
{
    return QLatin1Char('<') + name + QLatin1Char('>');
}

XmlFile XmlElements::read(const QString &path)
{
    const RootFile found(path);
    if (found.exists()) {
        return readXmlFile(found.openName());
    }
    XmlFile file;
    file.result = found.isMissing() ? XmlFile::Result::Missing : XmlFile::Result::NotReadable;
    file.error = found.errorText();
    return file;
}

XmlElement XmlElements::rootOf(const XmlFile &file, const QString &rootName, Rule rule, const Place &place,
                               const QString &consequence, Findings &findings)
{
    switch (file.result) {
    case XmlFile::Result::Missing:
        findings.add(rule, place, QStringLiteral("the file is missing: ") + consequence, QStringLiteral("install it"));
        return {};
    case XmlFile::Result::NotReadable:
        findings.add(rule, place, QStringLiteral("cannot be read (%1): %2").arg(file.error, consequence),
                     QStringLiteral("use a regular file that the daemon is permitted to read"));
        return {};
    case XmlFile::Result::NotParsable:
        findings.add(
            rule, place.at(file.line),
            QStringLiteral("cannot be parsed (%1): %2").arg(file.error.trimmed(), consequence),
            QStringLiteral("use well-formed XML: at most 1 MiB, 256 levels, 64 KiB of declarations, 1,024 attributes "
                           "of an element, and 4,096 characters of an expanded entity (fewer in a file "
                           "above 3 KiB)"));
        return {};
    case XmlFile::Result::Ok:
        break;
    }
    const XmlElement root = file.document.documentElement();
    if (root.tagName() != rootName) {
        findings.add(rule, place.at(root.lineNumber()),
                     QStringLiteral("the root element is %1: %2").arg(tag(root.tagName()), consequence),
                     QStringLiteral("rename it to %1").arg(tag(rootName)));
        return {};
    }
    return root;
}

void XmlElements::checkSpelling(const XmlElement &parent, const QStringList &known, const Place &place,
                                Findings &findings)
{
    QSet<QString> reported;
    for (XmlElement child = parent.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        const QString name = child.tagName();
        if (known.contains(name) || reported.contains(name)) {
            continue;
        }
        reported.insert(name);
        QString meant = nearMisses(name, known).value(0);
        for (const QString &one : known) {
            // <step> for <initStep>, where that is missing
            const bool isEnd = name.size() >= shortestEnd && one.endsWith(name, Qt::CaseInsensitive);
            meant = meant.isEmpty() && isEnd && parent.firstChildElement(one).isNull() ? one : meant;
        }
        if (!meant.isEmpty()) {
            findings.add(Rule::ElementMisspelt, place.at(child.lineNumber()),
                         QStringLiteral("unknown element %1, ignored").arg(tag(name)),
                         QStringLiteral("did you mean %1?").arg(tag(meant)));
        }
    }
}

void XmlElements::checkAttributes(const XmlElement &element, const QStringList &known, const Place &place,
                                  Findings &findings)
{
    const QXmlStreamAttributes attributes = element.attributes();
    QStringList names;
    for (const QXmlStreamAttribute &attribute : attributes) {
        names << attribute.qualifiedName().toString();
    }
    names.sort();
    for (const QString &name : qAsConst(names)) {
        const QString meant = known.contains(name) ? QString() : nearMisses(name, known).value(0);
        if (!meant.isEmpty()) {
            findings.add(Rule::AttributeMisspelt, place.at(element.lineNumber()),
                         QStringLiteral("unknown attribute '%1' of %2, ignored").arg(name, tag(element.tagName())),
                         QStringLiteral("did you mean '%1'?").arg(meant));
        }
    }
}
