#ifndef FINDINGS_H
#define FINDINGS_H

#include "verify/Rules.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

/// The location of a fault.
struct Place
{
    QString file; ///< with the root prefix
    int line = 0; ///< 0: the whole file
    QString module; ///< empty if it does not concern one module

    [[nodiscard]] Place at(int otherLine) const { return {file, otherLine, module}; }
};

/// A fault in a set of files.
struct Finding
{
    Rule rule;
    Place place;
    QString message;
    QString advice; ///< how to fix it

    [[nodiscard]] Severity severity() const { return infoOf(rule).severity; }
};

/// Collects findings. Beyond a limit for each rule they are only counted.
class Findings
{
public:
    /// Findings of `rule`, or only those about `modules` if there are any, are only counted.
    void silence(Rule rule, const QStringList &modules);
    void add(Rule rule, const Place &place, const QString &message, const QString &advice);

    /// Another finding of this rule would only be counted: its texts are not needed.
    [[nodiscard]] bool isFull(Rule rule) const;
    /// The errors, then the warnings and notes, each in the order in which they were found.
    [[nodiscard]] QList<Finding> sorted() const;
    [[nodiscard]] int count(Severity severity) const;
    [[nodiscard]] int silenced() const { return m_silenced; }
    /// The findings of each rule that were only counted.
    [[nodiscard]] QMap<Rule, int> omitted() const;

private:
    QList<Finding> m_findings;
    QMap<Rule, int> m_counts;
    QMap<Rule, QStringList> m_silent;
    int m_silenced = 0;
};

#endif
