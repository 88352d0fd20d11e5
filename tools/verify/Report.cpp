#include "verify/Report.h"

#include "client/Console.h"
#include "verify/TerminalCheck.h"

#include <QJsonArray>

namespace {

QString counted(int count, const QString &noun)
{
    return QStringLiteral("%1 %2%3").arg(QString::number(count), noun, count == 1 ? QString() : QStringLiteral("s"));
}

QString coloured(Severity severity)
{
    const Console::Colour colours[] = {Console::Colour::Bad, Console::Colour::Busy, Console::Colour::Dim};
    return Console::coloured(textOf(severity), colours[int(severity)]);
}

} // namespace

QString textOf(const Finding &finding)
{
    QString text = Console::printable(finding.place.file);
    if (finding.place.line > 0) {
        text += QLatin1Char(':') + QString::number(finding.place.line);
    }
    text += QStringLiteral(": %1: ").arg(coloured(finding.severity()));
    if (!finding.place.module.isEmpty()) {
        text += Console::printable(finding.place.module) + QStringLiteral(": ");
    }
    return text
        + QStringLiteral("%1 [%2]\n    %3\n")
              .arg(Console::printable(finding.message), idOf(finding.rule), Console::printable(finding.advice));
}

QString textOf(const TerminalReport &report)
{
    QString text;
    const QList<Finding> findings = report.findings.sorted();
    for (const Finding &finding : findings) {
        text += textOf(finding);
    }
    const QMap<Rule, int> omitted = report.findings.omitted();
    for (auto rule = omitted.begin(); rule != omitted.end(); ++rule) {
        text += QStringLiteral("%1: %2 more are not listed [%3]\n")
                    .arg(coloured(infoOf(rule.key()).severity))
                    .arg(*rule)
                    .arg(idOf(rule.key()));
    }
    const int silenced = report.findings.silenced();
    return text
        + QStringLiteral("%1, %2%3 in %4 and %5\n")
              .arg(counted(report.errors(), QStringLiteral("error")),
                   counted(report.warnings(), QStringLiteral("warning")),
                   silenced > 0 ? QStringLiteral(", %1 silenced").arg(silenced) : QString(),
                   counted(report.modules, QStringLiteral("module")), counted(report.steps, QStringLiteral("step")));
}

QJsonObject jsonOf(const TerminalReport &report)
{
    QJsonArray findings;
    const QList<Finding> all = report.findings.sorted();
    for (const Finding &finding : all) {
        QJsonObject object{{QStringLiteral("rule"), idOf(finding.rule)},
                           {QStringLiteral("severity"), textOf(finding.severity())},
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
    QJsonObject omitted;
    const QMap<Rule, int> counts = report.findings.omitted();
    for (auto rule = counts.begin(); rule != counts.end(); ++rule) {
        omitted.insert(idOf(rule.key()), *rule);
    }
    return {{QStringLiteral("errors"), report.errors()},
            {QStringLiteral("warnings"), report.warnings()},
            {QStringLiteral("modules"), report.modules},
            {QStringLiteral("steps"), report.steps},
            {QStringLiteral("silenced"), report.findings.silenced()},
            {QStringLiteral("omitted"), omitted},
            {QStringLiteral("findings"), findings}};
}
