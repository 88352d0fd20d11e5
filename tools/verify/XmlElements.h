#ifndef XML_ELEMENTS_H
#define XML_ELEMENTS_H

#include "catalogue/XmlDocument.h"
#include "verify/Findings.h"

#include <QStringList>

struct XmlFile;

/// Checks that config.xml and initStep.xml have in common.
namespace XmlElements {

/// "<NAME>"
[[nodiscard]] QString tag(const QString &name);

/// Reads a file of the terminal, by its path there.
[[nodiscard]] XmlFile read(const QString &path);

/// The document element. Null, with `rule` reported, if the file cannot be used or its root element is not `rootName`;
/// `consequence` says what the daemon does then.
[[nodiscard]] XmlElement rootOf(const XmlFile &file, const QString &rootName, Rule rule, const Place &place,
                                const QString &consequence, Findings &findings);

/// Reports children whose names look like misspelt names of `known`, once for each spelling.
void checkSpelling(const XmlElement &parent, const QStringList &known, const Place &place, Findings &findings);

/// The same for attributes.
void checkAttributes(const XmlElement &element, const QStringList &known, const Place &place, Findings &findings);

} // namespace XmlElements

#endif
