#ifndef MODULE_CONTEXT_H
#define MODULE_CONTEXT_H

class BusAccess;
class CrashPolicy;
class QString;
class SupervisionObserver;
class SupervisionState;

/// What a module orders of the supervisor when it ends badly.
class ModuleOrders
{
public:
    virtual ~ModuleOrders() = default;

    virtual void stopManager() = 0;
    /// With everything that depends on it. False when no step holds it.
    virtual bool stopModule(const QString &name) = 0;
};

/// What surrounds a module. All of it outlives the module.
struct ModuleContext
{
    SupervisionState &state;
    BusAccess &bus;
    SupervisionObserver &observer;
    ModuleOrders &orders;
    CrashPolicy &crashes;
};

#endif
