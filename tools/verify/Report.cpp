#include "verify/Report.h"

#include "client/Console.h"
#include "verify/TerminalCheck.h"

#include <QJsonArray>

namespace {

QString severityText(Finding::Severity severity)
{
    return severity == Finding::Severity::Error ? QStringLiteral("error") : QStringLiteral("warning");
}

QString counted(int count, const QString &noun)
{
    return QStringLiteral("%1 %2%3").arg(QString::number(count), noun, count == 1 ? QString() : QStringLiteral("s"));
}

QString textOf(const Finding &finding)
{
    QString text = Console::printable(finding.place.file);
    if (finding.place.line > 0) {
        text += QLatin1Char(':') + QString::number(finding.place.line);
    }
    const bool isError = finding.severity == Finding::Severity::Error;
    text += QStringLiteral(": ")
        + Console::coloured(severityText(finding.severity), isError ? Console::Colour::Bad : Console::Colour::Busy)
        + QStringLiteral(": ");
    if (!finding.place.module.isEmpty()) {
        text += Console::printable(finding.place.module) + QStringLiteral(": ");
    }
    return text + Console::printable(finding.message) + QStringLiteral("\n    ") + Console::printable(finding.advice)
        + QLatin1Char('\n');
}

} // namespace

QString textOf(const TerminalReport &report)
{
    QString text;
    for (const Finding &finding : report.findings) {
        text += textOf(finding);
    }
    return text
        + QStringLiteral("%1, %2 in %3 and %4\n")
              .arg(counted(report.errors(), QStringLiteral("error")),
                   counted(report.warnings(), QStringLiteral("warning")),
                   counted(report.modules, QStringLiteral("module")), counted(report.steps, QStringLiteral("step")));
}

QJsonObject jsonOf(const TerminalReport &report)
{
    QJsonArray findings;
    for (const Finding &finding : report.findings) {
        QJsonObject object{{QStringLiteral("severity"), severityText(finding.severity)},
                           {QStringLiteral("file"), finding.place.file},
                           {QStringLiteral("message"), finding.message},
                           {QStringLiteral("advice"), finding.advice}};
        if (finding.place.line > 0) {
            object.insert(QStringLiteral("line"), finding.place.line);
        }
        if (!finding.place.module.isEmpty()) {
            object.insert(QStringLiteral("module"), finding.place.module);
        }
        findings.append(object);
    }
    return {{QStringLiteral("errors"), report.errors()},
            {QStringLiteral("warnings"), report.warnings()},
            {QStringLiteral("modules"), report.modules},
            {QStringLiteral("steps"), report.steps},
            {QStringLiteral("findings"), findings}};
}
