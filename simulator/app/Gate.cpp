#include "app/Gate.h"

#include "app/TerminalRoot.h"
#include "verify/Report.h"
#include "verify/TerminalCheck.h"

Gate::Gate(const TerminalRoot &root, bool isStrict)
{
    const TerminalReport report = checkTerminal(root.played());
    const QList<Finding> findings = report.findings.sorted();
    m_failures = report.errors() + (isStrict ? report.warnings() : 0);
    for (const Finding &finding : findings) {
        // The system of the terminal is that of this machine.
        if (finding.severity() == Severity::Note) {
            continue;
        }
        const bool fails = isStrict || finding.severity() == Severity::Error;
        m_lines << root.inSet(textOf(finding)).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        m_cases.append(
            {QStringLiteral("gate"),
             QStringLiteral("%1 %2:%3").arg(idOf(finding.rule), root.inSet(finding.place.file)).arg(finding.place.line),
             0, fails ? finding.message : QString()});
    }
    const QMap<Rule, int> omitted = report.findings.omitted();
    for (auto rule = omitted.begin(); rule != omitted.end(); ++rule) {
        m_lines << QStringLiteral("%1 more findings of %2").arg(*rule).arg(idOf(rule.key()));
    }
    if (m_cases.isEmpty()) {
        m_cases.append({QStringLiteral("gate"), QStringLiteral("files"), 0, QString()});
    }
    if (!root.standIns().isEmpty()) {
        m_lines << QStringLiteral("Without a program in the set, played by the simulator: %1")
                       .arg(root.standIns().join(QStringLiteral(", ")));
    }
}
