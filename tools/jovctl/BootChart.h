#ifndef BOOT_CHART_H
#define BOOT_CHART_H

#include "client/BootAnalysis.h"

/**
 * The start-up as a picture: a standalone SVG document with a row for each module, grouped by step, over a common time
 * axis. It needs no fonts, scripts or files besides, and is readable on paper, on a light and on a dark screen. `host`
 * is part of the title.
 */
[[nodiscard]] QString bootChart(const BootRecord &record, const QString &host);

#endif
