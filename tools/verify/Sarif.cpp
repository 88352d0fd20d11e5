#include "verify/Report.h"
#include "verify/TerminalCheck.h"

#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QUrl>

namespace {

QJsonObject message(const QString &text)
{
    return {{QStringLiteral("text"), text}};
}

QJsonArray rules()
{
    QJsonArray rules;
    for (int i = 0; i < int(Rule::Count); ++i) {
        const RuleInfo &info = infoOf(Rule(i));
        rules.append(QJsonObject{
            {QStringLiteral("id"), QLatin1String(info.id)},
            {QStringLiteral("shortDescription"), message(QLatin1String(info.summary))},
            {QStringLiteral("defaultConfiguration"), QJsonObject{{QStringLiteral("level"), textOf(info.severity)}}}});
    }
    return rules;
}

/// Sites find a file only by its path in the repository, in which the check usually runs.
QString uriOf(const QString &file)
{
    const QString relative = QDir::current().relativeFilePath(file);
    const bool isBelow = !relative.startsWith(QLatin1String("../")) && QDir::isRelativePath(relative);
    return isBelow ? QString::fromLatin1(QUrl::toPercentEncoding(relative, "/"))
                   : QString::fromLatin1(QUrl::fromLocalFile(file).toEncoded());
}

QJsonObject resultOf(const Finding &finding)
{
    const QString text = finding.place.module.isEmpty()
        ? finding.message
        : QStringLiteral("%1: %2").arg(finding.place.module, finding.message);
    const QJsonObject location{
        {QStringLiteral("artifactLocation"), QJsonObject{{QStringLiteral("uri"), uriOf(finding.place.file)}}},
        // A region is required where the results are shown.
        {QStringLiteral("region"), QJsonObject{{QStringLiteral("startLine"), qMax(1, finding.place.line)}}}};
    return {{QStringLiteral("ruleId"), idOf(finding.rule)},
            {QStringLiteral("ruleIndex"), int(finding.rule)},
            {QStringLiteral("level"), textOf(finding.severity())},
            {QStringLiteral("message"), message(QStringLiteral("%1\n%2").arg(text, finding.advice))},
            {QStringLiteral("locations"), QJsonArray{QJsonObject{{QStringLiteral("physicalLocation"), location}}}}};
}

} // namespace

QJsonObject sarifOf(const TerminalReport &report)
{
    QJsonArray results;
    const QList<Finding> findings = report.findings.sorted();
    for (const Finding &finding : findings) {
        results.append(resultOf(finding));
    }
    const QJsonObject driver{{QStringLiteral("name"), QStringLiteral("jovctl verify")},
                             {QStringLiteral("version"), QCoreApplication::applicationVersion()},
                             {QStringLiteral("rules"), rules()}};
    const QJsonObject run{{QStringLiteral("tool"), QJsonObject{{QStringLiteral("driver"), driver}}},
                          {QStringLiteral("results"), results}};
    return {{QStringLiteral("$schema"),
             QStringLiteral("https://docs.oasis-open.org/sarif/sarif/v2.1.0/errata01/os/schemas/"
                            "sarif-schema-2.1.0.json")},
            {QStringLiteral("version"), QStringLiteral("2.1.0")},
            {QStringLiteral("runs"), QJsonArray{run}}};
}
