#ifndef JOV_MODULE_H
#define JOV_MODULE_H

#include <jov/JovEvent.h>

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QMap>
#include <QObject>
#include <QVariant>

#include <memory>

class EventBus;

/**
 * A component of the platform: derive from it, override the operations you need, create one in main() after the
 * JovApplication, and run JovApplication::exec().
 *
 * Life: exec() calls, inside its event loop, check(), deploy(), init(); then the component takes its bus name
 * `com.velmora.Jovara.NAME` and serves the object `/NAME`; then init_step(). One that returns false ends the process
 * with the error line "NAME: OPERATION failed" and status 1, without a stop(). exit() ends it in order: stop() is
 * called, the loop ends with status 0. In NAME every character outside [A-Za-z0-9_] becomes `_`, and a leading digit
 * gets a `_` before it.
 *
 * Bus methods are those of a QDBusAbstractAdaptor child, or the Q_SCRIPTABLE slots of the derived class, on the
 * interface `com.velmora.Jovara.JovInterface` (a derived class with scriptable slots repeats the Q_CLASSINFO below).
 *
 * Everything is for the thread of the event loop. A lost bus is survived: an error line, a new try every second, and
 * name, object and subscriptions are taken back when the bus is there again.
 *
 *     class Clock : public JovModule
 *     {
 *         Q_OBJECT
 *     public:
 *         Clock() : JovModule(QStringLiteral("Clock")) {}
 *         bool init_step() override { return notifyEvent(QStringLiteral("end_of_init_Clock")); }
 *     };
 */
class JovModule : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.JovInterface")

public:
    explicit JovModule(const QString &moduleName, QObject *parent = nullptr);
    ~JovModule() override;

    [[nodiscard]] QString getModuleName() const { return m_moduleName; }

    /// The keys of the section [NAME] of platform.ini.
    [[nodiscard]] QMap<QString, QString> getParameters() const;

    /**
     * Calls `slot` of `receiver` for every event of that name, from any sender. `slot` is written with SLOT() and takes
     * nothing, a JovEvent, or one plain value: the event's argument of the parameter's name, or its only argument,
     * converted with QVariant::convert; where that cannot be done there is a warning and no call. Subscribing twice is
     * one subscription. False when the receiver has no such slot. Without a bus the subscription is kept and taken
     * later. A destroyed receiver needs no unsubscription.
     */
    bool subscribeEvent(const QString &name, QObject *receiver, const char *slot);
    /// False when there was no such subscription.
    bool unsubscribeEvent(const QString &name, QObject *receiver, const char *slot);

    /// False without a bus, or with an argument that D-Bus cannot carry.
    bool notifyEvent(const JovEvent &event);
    bool notifyEvent(const QString &name, const QVariantMap &arguments = QVariantMap());

    /**
     * Calls a method of another component and waits for the reply, 25 s at most. A D-Bus error (nobody of that name, no
     * reply in time) comes back as an error message. Without a bus it throws a `JovException *`.
     */
    [[nodiscard]] QDBusMessage syncRemoteCall(const QString &component, const QString &method,
                                              const QVariantList &arguments = QVariantList());
    /// The same without waiting; the reply is dropped. False without a bus.
    bool asyncRemoteCall(const QString &component, const QString &method,
                         const QVariantList &arguments = QVariantList());

    /**
     * Ends the component: returns at once and queues the end, which is stop() and then the end of the event loop with
     * status 0. Works from inside nested loops; a bus caller gets its reply first. A second call does nothing.
     */
    void exit();
    /// True from the first exit() on.
    [[nodiscard]] bool isExiting() const { return m_exiting; }

    /// True while a bus call is being served.
    [[nodiscard]] bool isBusCall() const { return calledFromDBus(); }
    /// Answers the bus call that is being served, if there is one, with the error `com.velmora.Jovara.Error.Failed`;
    /// what the slot returns is then not sent.
    void failBusCall(const QString &text);

    /// For signals of interfaces of the component's own. Not connected without a bus, and another one after a loss.
    [[nodiscard]] QDBusConnection busConnection() const;

    // The operations of a component's life, each true for success.
    virtual bool check();
    virtual bool deploy();
    virtual bool init();
    virtual bool init_step();
    virtual bool presentation_loaded();
    virtual bool presentation_stop();
    virtual bool stop();
    virtual bool preSaveForSaveRestore();
    virtual bool postRestoreForSaveRestore();
    virtual bool restoreDataToDefault();
    virtual bool restoreDataToFactory();

private:
    friend class JovApplication;

    QString m_moduleName;
    std::unique_ptr<EventBus> m_bus;
    bool m_exiting = false;
};

#endif
