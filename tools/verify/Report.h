#ifndef REPORT_H
#define REPORT_H

#include <QJsonObject>
#include <QString>

struct TerminalReport;

/// For people: "FILE:LINE: error: MODULE: WHAT", then a line with the fix; the counts at the end.
[[nodiscard]] QString textOf(const TerminalReport &report);

/// For programs: one object with the counts and the list "findings".
[[nodiscard]] QJsonObject jsonOf(const TerminalReport &report);

#endif
