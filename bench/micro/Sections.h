#ifndef SECTIONS_H
#define SECTIONS_H

struct Programs;
class FigureTable;

/// Each measures some of the daemon's operations and adds a row for each figure: what, measured, at most, met.
namespace Sections {

/// Reading the configuration and arranging the forests, by the daemon itself.
void initialisation(const Programs &programs, FigureTable &table, int repetitions);
/// The memory watchdog's check and the reading of /proc.
void monitoring(const Programs &programs, FigureTable &table, int repetitions);
/// Calls on the bus, and the operator's command.
void calls(const Programs &programs, FigureTable &table, int repetitions);
/// From a module's end by a signal to the daemon's line.
void crashes(const Programs &programs, FigureTable &table, int repetitions);

/// The start of a program that is no module.
void jovRun(const Programs &programs, FigureTable &table, int repetitions);

/// A record of the history.
void history(FigureTable &table, int repetitions);

} // namespace Sections

#endif
