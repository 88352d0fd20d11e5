#ifndef CONFIG_CHECK_H
#define CONFIG_CHECK_H

#include "catalogue/XmlDocument.h"
#include "verify/Findings.h"

#include <QVector>

/// The line numbers of the elements of a config.xml that other checks report on.
struct ConfigLines
{
    int initStep = 0;
    /// One for each dependency that the daemon reads, in the same order.
    QVector<int> dependencies;
};

/// Reports elements that the daemon ignores or interprets differently from their appearance. `ddrSize` is the text of
/// the terminal's memory size, which selects a memory limit.
ConfigLines checkConfig(const XmlElement &root, const QString &ddrSize, const Place &place, Findings &findings);

#endif
