#ifndef JOV_MODULE_H
#define JOV_MODULE_H

#include <jov/JovEvent.h>
#include <jov/JovReply.h>

#include <QMap>
#include <QObject>
#include <QVariant>

#include <functional>
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
 * Bus methods are the Q_SCRIPTABLE slots of the derived class, on the interface `com.velmora.Jovara.JovInterface` (a
 * derived class with scriptable slots repeats the Q_CLASSINFO below), and the public slots of children whose class has
 * two Q_CLASSINFO texts: "D-Bus Interface", the name, and "D-Bus Introspection", the XML element that describes it. The
 * signals and properties of such a child are on the bus too. A slot takes and returns what an event can carry
 * (JovEvent) and records; a `JovException *` that it throws is logged, and its caller gets the error
 * `com.velmora.Jovara.Error.Failed`.
 *
 * Everything is for the thread of the event loop, and nothing but syncRemoteCall() waits for the bus. A lost bus is
 * survived: an error line, new attempts after pauses that grow to a second, and name, object and subscriptions are
 * taken back when the bus is there again. `end_of_init_NAME` and `presentationReady` are then sent again, with the
 * argument `repeated` = true, if they were sent before and the supervisor is the parent of this process: it may have
 * missed them.
 *
 *     class Clock : public JovModule
 *     {
 *         Q_OBJECT
 *     public:
 *         Clock() : JovModule(QStringLiteral("Clock")) {}
 *         bool init_step() override { return notifyEvent(QStringLiteral("end_of_init_Clock")); }
 *     };
 */
class JovModule : public QObject
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
     * Calls a method of another component and waits for the reply, 25 s at most, in which nothing else of the process
     * runs. A D-Bus error (nobody of that name, no reply in time) comes back as an error reply. Without a bus it throws
     * a `JovException *`.
     */
    [[nodiscard]] JovReply syncRemoteCall(const QString &component, const QString &method,
                                          const QVariantList &arguments = QVariantList());
    /// The same without waiting. False without a bus. `reply` is called with the reply, or with an error when the bus
    /// is lost or 25 s are over; without it the reply is dropped.
    bool asyncRemoteCall(const QString &component, const QString &method,
                         const QVariantList &arguments = QVariantList(),
                         const std::function<void(const JovReply &)> &reply = {});

    /**
     * Ends the component: returns at once and queues the end, which is stop() and then the end of the event loop with
     * status 0. Works from inside nested loops; a bus caller gets its reply first. A second call does nothing.
     */
    void exit();
    /// True from the first exit() on.
    [[nodiscard]] bool isExiting() const { return m_exiting; }

    /// True while a bus call is being served.
    [[nodiscard]] bool isBusCall() const;
    /// Answers the bus call that is being served, if there is one, with the error `com.velmora.Jovara.Error.Failed`;
    /// what the slot returns is then not sent.
    void failBusCall(const QString &text);

    /// Sends a signal of an interface of the component's own. False without a bus, or with what D-Bus cannot carry.
    bool sendSignal(const QString &path, const QString &interface, const QString &member,
                    const QVariantList &arguments = QVariantList());

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
