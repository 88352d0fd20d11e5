#ifndef INVENTORY_H
#define INVENTORY_H

#include "catalogue/Catalogue.h"
#include "contract/FileNames.h"
#include "initstep/InitStepChain.h"

#include <QString>

/**
 * The modules of the terminal: the catalogue of what is installed, and the steps with their forests, in which each of
 * them has its place.
 *
 * Nodes point to records, so both are filled and cleared together, and never while something waits inside a walk.
 */
class Inventory
{
public:
    /// Reads the size of the terminal's memory, which picks the modules' ceilings.
    void readMemorySize();
    /// Reads all files and builds every step's forest. False, with the reason logged, when one cannot be used.
    [[nodiscard]] bool build(const QString &ownName, const ModuleContext &context);
    void clear();

    /// The step that holds the module; null, with a warning that says why, when there is none.
    [[nodiscard]] InitStep *getInitStepOfModule(const QString &name);

    [[nodiscard]] Catalogue &catalogue() { return m_catalogue; }
    [[nodiscard]] InitStepChain &steps() { return m_steps; }

private:
    Catalogue m_catalogue;
    InitStepChain m_steps;
    QString m_ddrSize = PlatformKey::defaultMemorySize; ///< the terminal's memory size, compared as text
};

#endif
