#ifndef PARAMETERS_CHECK_H
#define PARAMETERS_CHECK_H

#include "verify/Findings.h"

#include <QStringList>

/// Checks platform.ini. `modules` are the names that a section can have besides those of the platform. Returns the text
/// of the terminal's memory size.
QString checkParameters(const QStringList &modules, Findings &findings);

#endif
