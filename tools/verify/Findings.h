#ifndef FINDINGS_H
#define FINDINGS_H

#include <QHash>
#include <QList>
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

/**
 * A fault in a set of files. An error prevents a module from starting, or makes it start differently from its
 * configuration. A warning marks a configuration that works but is probably not intended.
 */
struct Finding
{
    enum class Severity { Error, Warning };

    Severity severity;
    Place place;
    QString message;
    QString advice; ///< how to fix it
};

/// Collects findings. Beyond a limit for each file they are only counted.
class Findings
{
public:
    void error(const Place &place, const QString &message, const QString &advice);
    void warning(const Place &place, const QString &message, const QString &advice);

    /// The errors, then the warnings, each in the order in which they were found.
    [[nodiscard]] QList<Finding> sorted() const;

private:
    struct Tally
    {
        int kept = 0;
        int moreErrors = 0;
        int moreWarnings = 0;
    };

    void add(const Finding &finding);

    QList<Finding> m_findings;
    QHash<QString, Tally> m_tallies;
    QStringList m_overfull;
};

#endif
