#ifndef BOOT_CHART_H
#define BOOT_CHART_H

#include "client/BootAnalysis.h"

/**
 * The start-up as an SVG document: a bar for each module on a common time axis, grouped by step. It needs no other
 * files, fonts or scripts, and has colours for paper, light and dark screens. `host` is part of the title.
 */
[[nodiscard]] QString bootChart(const BootRecord &record, const QString &host);

#endif
