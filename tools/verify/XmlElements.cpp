#include "verify/XmlElements.h"

#include "catalogue/XmlFile.h"
#include "verify/Spelling.h"

#include <QSet>

QString XmlElements::tag(const QString &name)
{
    return QLatin1Char('<') + name + QLatin1Char('>');
}

XmlElement XmlElements::rootOf(const XmlFile &file, const QString &rootName, const Place &place,
                               const QString &consequence, Findings &findings)
{
    switch (file.result) {
    case XmlFile::Result::Missing:
        findings.error(place, QStringLiteral("the file is missing: ") + consequence, QStringLiteral("install it"));
        return {};
    case XmlFile::Result::NotReadable:
        findings.error(place, QStringLiteral("cannot be read (%1): %2").arg(file.error, consequence),
                       QStringLiteral("it must be a plain file that the daemon may read"));
        return {};
    case XmlFile::Result::NotParsable:
        findings.error(place.at(file.line),
                       QStringLiteral("not parsable (%1): %2").arg(file.error.trimmed(), consequence),
                       QStringLiteral("make it well-formed XML, at most 1 MiB and 256 levels deep"));
        return {};
    case XmlFile::Result::Ok:
        break;
    }
    const XmlElement root = file.document.documentElement();
    if (root.tagName() != rootName) {
        findings.error(place.at(root.lineNumber()),
                       QStringLiteral("the root element is %1: %2").arg(tag(root.tagName()), consequence),
                       QStringLiteral("the root element must be %1").arg(tag(rootName)));
        return {};
    }
    return root;
}

void XmlElements::checkSpelling(const XmlElement &parent, const QStringList &known, const Place &place,
                                Findings &findings)
{
    QSet<QString> told;
    for (XmlElement child = parent.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        const QString name = child.tagName();
        if (known.contains(name) || told.contains(name)) {
            continue;
        }
        told.insert(name);
        const QString meant = Spelling::nearest(name, known);
        if (!meant.isEmpty()) {
            findings.warning(place.at(child.lineNumber()),
                             QStringLiteral("%1 is not known and is passed over").arg(tag(name)),
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
        const QString meant = known.contains(name) ? QString() : Spelling::nearest(name, known);
        if (!meant.isEmpty()) {
            findings.warning(place.at(element.lineNumber()),
                             QStringLiteral("%1: the attribute '%2' is not known and is passed over")
                                 .arg(tag(element.tagName()), name),
                             QStringLiteral("did you mean '%1'?").arg(meant));
        }
    }
}
