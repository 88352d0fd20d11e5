#include "verify/Report.h"

#include "verify/TerminalCheck.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QString severityText(Finding::Severity severity)
{
    return severity == Finding::Severity::Error ? QStringLiteral("error") : QStringLiteral("warning");
}

QString coloured(const QString &text, Finding::Severity severity)
{
    const QLatin1String colour(severity == Finding::Severity::Error ? "\033[1;31m" : "\033[1;35m");
    return colour + text + QLatin1String("\033[0m");
}

// Names and texts come from files: what would break a line or speak to a terminal is shown as a question mark.
QString plain(QString text)
{
    for (QChar &character : text) {
        if (!character.isPrint()) {
            character = QLatin1Char('?');
        }
    }
    return text;
}

QString counted(int count, const QString &noun)
{
    return QStringLiteral("%1 %2%3").arg(QString::number(count), noun, count == 1 ? QString() : QStringLiteral("s"));
}

QString textOf(const Finding &finding, bool inColour)
{
    QString text = plain(finding.place.file);
    if (finding.place.line > 0) {
        text += QLatin1Char(':') + QString::number(finding.place.line);
    }
    const QString severity = severityText(finding.severity);
    text += QStringLiteral(": ") + (inColour ? coloured(severity, finding.severity) : severity) + QStringLiteral(": ");
    if (!finding.place.module.isEmpty()) {
        text += plain(finding.place.module) + QStringLiteral(": ");
    }
    return text + plain(finding.message) + QStringLiteral("\n    ") + plain(finding.advice) + QLatin1Char('\n');
}

} // namespace

QString textOf(const TerminalReport &report, bool coloured)
{
    QString text;
    for (const Finding &finding : report.findings) {
        text += textOf(finding, coloured);
    }
    return text
        + QStringLiteral("%1, %2 in %3 and %4\n")
              .arg(counted(report.errors(), QStringLiteral("error")),
                   counted(report.warnings(), QStringLiteral("warning")),
                   counted(report.modules, QStringLiteral("module")), counted(report.steps, QStringLiteral("step")));
}

QByteArray jsonOf(const TerminalReport &report)
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
    return QJsonDocument(QJsonObject{{QStringLiteral("errors"), report.errors()},
                                     {QStringLiteral("warnings"), report.warnings()},
                                     {QStringLiteral("modules"), report.modules},
                                     {QStringLiteral("steps"), report.steps},
                                     {QStringLiteral("findings"), findings}})
        .toJson();
}
