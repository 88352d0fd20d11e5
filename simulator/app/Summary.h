#ifndef SUMMARY_H
#define SUMMARY_H

#include "app/Boot.h"
#include "app/Display.h"

/// What the simulator shows when a boot is over.
namespace Summary {

/// What the boot took, step by step, and the modules that took longest. `duration` is in microseconds.
void show(Display &display, const Boot &boot, const TimelineList &timeline, quint64 duration);
/// What one may do with a terminal that is up.
void showWhatNext(Display &display, const Boot &boot, bool hasPrompt);

} // namespace Summary

#endif
