#ifndef CONFIG_CHECK_H
#define CONFIG_CHECK_H

#include "catalogue/XmlDocument.h"
#include "verify/Findings.h"

#include <QVector>

/// One module's config.xml as XML: where its parts stand, and what in it the daemon passes over or takes otherwise than
/// it looks.
struct ConfigLines
{
    int initStep = 0;
    /// One for each dependency that the daemon reads, in its order.
    QVector<int> dependencies;
};

/// `ddrSize` is the text of the terminal's memory size, which picks a ceiling.
ConfigLines checkConfig(const XmlElement &root, const QString &ddrSize, const Place &place, Findings &findings);

#endif
