#ifndef XML_ELEMENTS_H
#define XML_ELEMENTS_H

#include "catalogue/XmlDocument.h"
#include "verify/Findings.h"

#include <QStringList>

struct XmlFile;

/// What config.xml and initStep.xml have in common as XML.
namespace XmlElements {

/// The element as it is written: "<NAME>".
[[nodiscard]] QString tag(const QString &name);

/// The document element; null, with the fault told, when the file cannot be used or its root has another name than
/// `rootName`. `consequence` tells what the daemon does then.
[[nodiscard]] XmlElement rootOf(const XmlFile &file, const QString &rootName, const Place &place,
                                const QString &consequence, Findings &findings);

/// Warns of children that are not among `known` but look like one of them misspelt, each spelling once.
void checkSpelling(const XmlElement &parent, const QStringList &known, const Place &place, Findings &findings);

/// The same for attributes.
void checkAttributes(const XmlElement &element, const QStringList &known, const Place &place, Findings &findings);

} // namespace XmlElements

#endif
