#ifndef SUPERVISED_MODULE_H
#define SUPERVISED_MODULE_H

#include <jov/JovModule.h>

/**
 * A module that ApplicationManager starts and stops. The base class answers the supervisor: it subscribes to
 * `stop_module_NAME` in init(), announces `end_of_init_NAME` in init_step(), and calls exit() when the supervisor
 * asks the module to stop.
 *
 *     class Clock : public SupervisedModule
 *     {
 *         Q_OBJECT
 *     public:
 *         Clock() : SupervisedModule(QStringLiteral("Clock")) {}
 *     };
 *
 * The name is the name of the program in /usr/lib/JovApplication/ and of the directory of its config.xml. If the
 * supervisor starts the program under another name (`--moduleName=OTHER`), the module writes an error line and ends
 * with status 1 in check(): the supervisor would wait for an announcement of OTHER, which this module never sends.
 * Started by hand, without `--moduleName=`, it runs as usual.
 *
 * An override of check(), init() or init_step() ends with `return SupervisedModule::...;`. A module that is ready
 * later than init_step() returns true from its own init_step() instead, and calls announceReady() when it is ready.
 */
class SupervisedModule : public JovModule
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.JovInterface")

public:
    using JovModule::JovModule;

    /// False for a program that was started under another name.
    bool check() override;
    bool init() override;
    bool init_step() override;

protected:
    /// Announces that the modules that depend on this one may start. Call it once, after init(). False without a bus.
    bool announceReady();

protected Q_SLOTS:
    /// The supervisor asks the module to stop; it kills a module that has not ended in time.
    virtual void stopRequested();
};

#endif
