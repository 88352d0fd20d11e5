#ifndef CONFIG_CHECK_H
#define CONFIG_CHECK_H

#include "catalogue/XmlDocument.h"
#include "verify/Findings.h"

#include <QVector>

/// What other checks report on: line numbers of elements of a config.xml, and its memory limits.
struct ConfigLines
{
    enum class Limits { None, OfOthers, OfTerminal };

    Limits limits = Limits::None; ///< for which memory sizes
    int initStep = 0;
    int early = 0;
    /// One for each dependency that the daemon reads, in the same order.
    QVector<int> dependencies;
};

/// Reports elements that the daemon ignores or interprets differently from their appearance. `ddrSize` is the text of
/// the terminal's memory size, which selects a memory limit.
ConfigLines checkConfig(const XmlElement &root, const QString &ddrSize, const Place &place, Findings &findings);

#endif
