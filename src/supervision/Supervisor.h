#ifndef SUPERVISOR_H
#define SUPERVISOR_H

#include <jov/JovEvent.h>

#include <QDBusMessage>
#include <QMap>
#include <QString>
#include <QVariant>

class QObject;
class SupervisionObserver;
class WaitLoop;

/// How long things may take with a module, in milliseconds.
struct ModuleLimits
{
    int stop = 30000; ///< from the request to end to the kill
    int stopWithEverything = 2000; ///< the same while the whole manager is stopping
    int presentation = 45000; ///< from the web client's end of initialisation to its presentation
};

/**
 * What a node, a walk or the watchdog needs of the manager. ApplicationManager implements it and hands itself down;
 * tests hand down their own. It outlives everything that holds a reference to it.
 */
class Supervisor
{
public:
    virtual ~Supervisor() = default;

    // The flags of the manager.
    /// The stop flag: start-up failed, a stop was asked for, or the terminal is about to reboot.
    [[nodiscard]] virtual bool startFailed() const = 0;
    /// Start-up or a restart has not reached "end_of_init" yet.
    [[nodiscard]] virtual bool initInProgress() const = 0;
    /// A reboot was asked for: sets the stop flag and ends the start-up phase.
    virtual void rebootRequested() = 0;
    /// Modules write to the daemon's own standard streams.
    [[nodiscard]] virtual bool debugMode() const = 0;
    [[nodiscard]] virtual const ModuleLimits &moduleLimits() const = 0;
    /// Nothing may be started any more, or not before what is under way has ended.
    [[nodiscard]] virtual bool startsRefused() const = 0;
    /// Grows with every stop of everything: a start that began under a smaller number is to give up.
    [[nodiscard]] virtual quint64 stopGeneration() const = 0;

    /// Where starts and stops wait.
    [[nodiscard]] virtual WaitLoop &waits() = 0;

    // The bus.
    virtual bool subscribeEvent(const QString &name, QObject *receiver, const char *slot) = 0;
    virtual bool unsubscribeEvent(const QString &name, QObject *receiver, const char *slot) = 0;
    virtual bool notifyEvent(const QString &name, const QVariantMap &arguments = QVariantMap()) = 0;
    /// Blocks until the reply has come: nothing else runs meanwhile. Throws a `JovException *` without a bus.
    [[nodiscard]] virtual QDBusMessage syncRemoteCall(const QString &component, const QString &method,
                                                      const QVariantList &arguments) = 0;
    virtual bool asyncRemoteCall(const QString &component, const QString &method, const QVariantList &arguments) = 0;
    /// The manager's own section of platform.ini.
    [[nodiscard]] virtual QMap<QString, QString> getParameters() const = 0;

    // Operations of the manager.
    virtual int startAll() = 0;
    virtual bool stopModule(const QString &moduleName) = 0;
    /// Stops one module alone; its dependents keep running. False when no step holds it.
    virtual bool stopModuleAlone(const QString &moduleName) = 0;
    virtual void stopManager() = 0;
    /// The step that shows the home page is about to start.
    virtual void homepageStarting() = 0;
    /// The step that shows the home page has been started.
    virtual void endOfInit() = 0;

    /// Who is told what happens.
    [[nodiscard]] virtual SupervisionObserver &observer() = 0;
};

#endif
