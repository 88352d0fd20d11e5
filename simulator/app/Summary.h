#ifndef SUMMARY_H
#define SUMMARY_H

#include "ApplicationConfig.h"
#include "BootRecord.h"
#include "Display.h"

/// The tables that the simulator shows.
namespace Summary {

/// What a boot took, step by step, and the modules that took longest.
void show(Display &display, const BootRecord &boot);
/// What one may do with a terminal that is up.
void showWhatNext(Display &display, const BootRecord &boot, bool hasPrompt);
/// The modules as the daemon has them.
void showModules(Display &display, const BootRecord &boot, const ListApplicationConfig &modules);

} // namespace Summary

#endif
