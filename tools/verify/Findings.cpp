#include "verify/Findings.h"

#include <QStringList>

#include <algorithm>

namespace {

constexpr int keptPerFile = 50;

} // namespace

void Findings::error(const Place &place, const QString &message, const QString &advice)
{
    add({Finding::Severity::Error, place, message, advice});
}

void Findings::warning(const Place &place, const QString &message, const QString &advice)
{
    add({Finding::Severity::Warning, place, message, advice});
}

void Findings::add(const Finding &finding)
{
    const QString &file = finding.place.file;
    Tally &tally = m_tallies[file];
    if (tally.kept < keptPerFile) {
        ++tally.kept;
        m_findings.append(finding);
        return;
    }
    if (tally.moreErrors + tally.moreWarnings == 0) {
        m_overfull.append(file);
    }
    ++(finding.severity == Finding::Severity::Error ? tally.moreErrors : tally.moreWarnings);
}

QList<Finding> Findings::sorted() const
{
    QList<Finding> all = m_findings;
    for (const QString &file : m_overfull) {
        const Tally &tally = m_tallies[file];
        all.append({tally.moreErrors > 0 ? Finding::Severity::Error : Finding::Severity::Warning,
                    {file, 0, QString()},
                    QStringLiteral("%1 more errors and warnings in this file are not listed")
                        .arg(tally.moreErrors + tally.moreWarnings),
                    QStringLiteral("fix the others first")});
    }
    std::stable_partition(all.begin(), all.end(),
                          [](const Finding &finding) { return finding.severity == Finding::Severity::Error; });
    return all;
}
