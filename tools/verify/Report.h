#ifndef REPORT_H
#define REPORT_H

#include <QByteArray>
#include <QString>

struct TerminalReport;

/// For people: "FILE:LINE: error: MODULE: WHAT", the way to mend it in the next line, and the counts at the end.
[[nodiscard]] QString textOf(const TerminalReport &report, bool coloured);

/// For programs: one object with the counts and the list "findings".
[[nodiscard]] QByteArray jsonOf(const TerminalReport &report);

#endif
