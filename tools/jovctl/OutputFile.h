#ifndef OUTPUT_FILE_H
#define OUTPUT_FILE_H

#include "supervision/OutputSetting.h"

/// Where modules print, by platform.ini.
[[nodiscard]] OutputSetting outputSetting();

#endif
