#ifndef STEP_TABLE_H
#define STEP_TABLE_H

#include "catalogue/XmlDocument.h"
#include "initstep/InitStepChain.h"
#include "verify/Findings.h"

#include <QHash>
#include <QStringList>
#include <QVector>

/**
 * The steps of initStep.xml, as the file lists them and as the chain that the daemon builds. These differ if the file
 * does not list its steps in ascending order, if two steps have the same name or value, and by the step "default",
 * which the daemon adds.
 */
class StepTable
{
public:
    struct Listed
    {
        QString name;
        int value;
        int line;
        bool isShown = false; ///< the home page
        bool isParallel = false;
        bool duplicate = false; ///< the chain already had its name or its value
    };

    /// Reads the file as the daemon does and reports its faults. False if there is no chain.
    bool read(Findings &findings);

    /// Null if it is not in the chain.
    [[nodiscard]] const InitStep *find(const QString &name) const { return m_chain.getStepByName(name); }
    /// Null if it is not in the file.
    [[nodiscard]] const Listed *listed(const QString &name) const;
    /// Whether the start-up reaches its value.
    [[nodiscard]] bool isReached(const InitStep &step) const;
    /// The chain, beginning with its first step.
    [[nodiscard]] QList<const InitStep *> chain() const;
    /// The names of all steps, for suggestions.
    [[nodiscard]] QStringList names() const;

private:
    void readEntry(const XmlElement &element, const QString &parallel, InitStepChain &replay, Findings &findings);
    void checkPlaces(const XmlElement &parent, Findings &findings) const;
    void checkShown(const XmlElement &element, Findings &findings) const;
    void checkParallel(const XmlElement &element, Findings &findings) const;
    void checkValue(const Listed &entry, const QString &value, bool isNumber, Findings &findings) const;
    [[nodiscard]] bool isDuplicate(const Listed &entry, const InitStepChain &replay, Findings &findings) const;
    void checkOrder(Findings &findings) const;
    void checkStop(Findings &findings) const;
    void checkDefault(Findings &findings) const;
    void checkHomepage(Findings &findings) const;
    [[nodiscard]] QStringList lost() const;
    [[nodiscard]] QStringList stopOrder() const;
    [[nodiscard]] QString resultingOrder() const;

    InitStepChain m_chain;
    Place m_place;
    QVector<Listed> m_listed;
    QHash<QString, int> m_places; ///< in m_listed, of the first step of each name
};

#endif
