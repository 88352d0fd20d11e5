#ifndef REPORT_H
#define REPORT_H

#include <QJsonObject>
#include <QString>

struct Finding;
struct TerminalReport;

[[nodiscard]] QString textOf(const Finding &finding);

/// For people: "FILE:LINE: error: MODULE: WHAT [RULE]", then a line with the fix; the counts at the end.
[[nodiscard]] QString textOf(const TerminalReport &report);

/// For programs: one object with the counts and the list "findings".
[[nodiscard]] QJsonObject jsonOf(const TerminalReport &report);

/// SARIF 2.1.0, for sites that show a finding at its line. Files below the current directory have a relative path.
[[nodiscard]] QJsonObject sarifOf(const TerminalReport &report);

#endif
