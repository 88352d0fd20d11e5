#ifndef SUMMARY_H
#define SUMMARY_H

#include "app/Boot.h"
#include "app/Display.h"

/// What the simulator prints after a boot.
namespace Summary {

/// The duration of the boot, in microseconds, of each step and of the slowest modules.
void show(Display &display, const Boot &boot, const TimelineList &timeline, quint64 duration);
/// Why modules do not run, and the last lines that each has printed.
void showFailures(Display &display, const Boot &boot);
/// What the user can do with the running terminal.
void showWhatNext(Display &display, const Boot &boot, bool hasPrompt);

} // namespace Summary

#endif
