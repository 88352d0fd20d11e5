#ifndef APPLICATION_H
#define APPLICATION_H

#include "contract/ModuleState.h"

#include <QMap>
#include <QObject>

class ApplicationRecord;

/**
 * A node of a step's dependency forest: it binds one record of the catalogue to the nodes that it depends on
 * (`parents`) and those that depend on it (`sons`). The base of Module.
 *
 * The step owns its nodes, the catalogue owns the records; the record may be null, and then names and states are empty
 * and writes are ignored. A node that is destroyed unlinks itself from its neighbours.
 */
class Application : public QObject
{
    Q_OBJECT

public:
    /// By name, so that siblings are always walked in ascending order.
    using Map = QMap<QString, Application *>;

    explicit Application(ApplicationRecord *record);
    ~Application() override;

    /// Whether it is a native module: web applications are never started.
    [[nodiscard]] bool isModule() const;
    [[nodiscard]] QString getName() const;
    [[nodiscard]] ModuleState getState() const;
    virtual void setState(ModuleState state);
    void setStatus(const QString &status);
    [[nodiscard]] int getExitCode() const { return exitCode; }

    [[nodiscard]] Map getParents() const { return parents; }
    [[nodiscard]] Map getSons() const { return sons; }
    /// Null is ignored, and so is a node of a name that is already there.
    void addParent(Application *node);
    void addSon(Application *node);
    void removeParent(const QString &name);
    void removeSon(const QString &name);

protected:
    Map parents;
    Map sons;
    ApplicationRecord *config;
    int exitCode = 0;
};

#endif
