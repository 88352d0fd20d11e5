#ifndef FINDINGS_H
#define FINDINGS_H

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

/// Where a fault stands.
struct Place
{
    QString file; ///< as it can be opened, root prefix included
    int line = 0; ///< 0: the file as a whole
    QString module; ///< empty when it is not about one module

    [[nodiscard]] Place at(int otherLine) const { return {file, otherLine, module}; }
};

/**
 * One fault of a set of files. An error keeps something from starting, or makes it start otherwise than its files say;
 * a warning works, but is hardly what was meant.
 */
struct Finding
{
    enum class Severity { Error, Warning };

    Severity severity;
    Place place;
    QString message;
    QString advice; ///< how to mend it
};

/// Collects findings. A file with hundreds of faults of one sort is one fault: past a ceiling they are only counted.
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
