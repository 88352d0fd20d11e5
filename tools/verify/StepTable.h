#ifndef STEP_TABLE_H
#define STEP_TABLE_H

#include "catalogue/XmlDocument.h"
#include "initstep/InitStepChain.h"
#include "verify/Findings.h"

#include <QStringList>
#include <QVector>

/**
 * The steps of initStep.xml: as the file lists them, and as the chain that the daemon makes of them. The two differ
 * when the file does not list its steps in ascending order, when two share a name or a value, and by the step
 * "default", which the daemon adds.
 */
class StepTable
{
public:
    struct Listed
    {
        QString name;
        int value;
        int line;
        bool duplicate = false; ///< an earlier one has its name or its value
    };

    /// Reads the file with the daemon's reader and tells its faults. False when there is no chain.
    bool read(Findings &findings);

    /// Null when the chain does not hold it.
    [[nodiscard]] const InitStep *find(const QString &name) const { return m_chain.getStepByName(name); }
    /// Null when the file does not list it.
    [[nodiscard]] const Listed *listed(const QString &name) const;
    /// Whether the start-up comes to its number.
    [[nodiscard]] bool isReached(const InitStep &step) const;
    /// The chain from its first step on.
    [[nodiscard]] QList<const InitStep *> chain() const;
    /// All names that somebody can have meant.
    [[nodiscard]] QStringList names() const;

private:
    void readEntry(const XmlElement &element, Findings &findings);
    [[nodiscard]] bool isDuplicate(const Listed &entry, Findings &findings) const;
    void checkOrder(Findings &findings) const;
    void checkStop(Findings &findings) const;
    void checkDefault(Findings &findings) const;
    void checkHomepage(Findings &findings) const;
    [[nodiscard]] QStringList lost() const;
    [[nodiscard]] QStringList stopOrder() const;
    [[nodiscard]] QString whatBecomesOfTheOrder() const;

    InitStepChain m_chain;
    Place m_place;
    QVector<Listed> m_listed;
};

#endif
