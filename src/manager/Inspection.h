#ifndef INSPECTION_H
#define INSPECTION_H

#include <QList>
#include <QObject>
#include <QVariantMap>

class Inventory;
class Journal;
class StartupProgression;
class SupervisionState;

using ListOfMaps = QList<QVariantMap>;

/**
 * A second look into the daemon, beside the control interface: what the modules and steps are, how they depend on each
 * other, and when what happened. It changes nothing but the log level of the running daemon.
 *
 * Lists are maps of named values, so that keys can be added; readers ignore those that they do not know. Times are
 * microseconds of CLOCK_MONOTONIC, 0 for never. The events of the timeline are the states of modules, "launched",
 * "exited", "step_started", "step_done", and of the whole daemon "start", "restart", "stop_all" and "end_of_init".
 *
 * Make it with create(), once; it is a Qt child of the manager.
 */
class Inspection : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.Inspection")
    // clang-format off
    Q_CLASSINFO("D-Bus Introspection", ""
"  <interface name=\"com.velmora.Jovara.Inspection\">\n"
"    <property name=\"CurrentStep\" type=\"i\" access=\"read\">\n"
"      <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" value=\"false\"/>\n"
"    </property>\n"
"    <property name=\"StartFailed\" type=\"b\" access=\"read\">\n"
"      <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" value=\"false\"/>\n"
"    </property>\n"
"    <property name=\"InitInProgress\" type=\"b\" access=\"read\">\n"
"      <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" value=\"false\"/>\n"
"    </property>\n"
"    <property name=\"RebootRequested\" type=\"b\" access=\"read\">\n"
"      <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" value=\"false\"/>\n"
"    </property>\n"
"    <property name=\"Version\" type=\"s\" access=\"read\">\n"
"      <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" value=\"false\"/>\n"
"    </property>\n"
"    <property name=\"StartedAt\" type=\"t\" access=\"read\">\n"
"      <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" value=\"false\"/>\n"
"    </property>\n"
"    <property name=\"HomepageAt\" type=\"t\" access=\"read\">\n"
"      <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" value=\"false\"/>\n"
"    </property>\n"
"    <property name=\"CompleteAt\" type=\"t\" access=\"read\">\n"
"      <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" value=\"false\"/>\n"
"    </property>\n"
"    <property name=\"LogLevel\" type=\"i\" access=\"readwrite\">\n"
"      <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" value=\"false\"/>\n"
"    </property>\n"
"    <method name=\"ListModules\">\n"
"      <arg direction=\"out\" type=\"aa{sv}\" name=\"modules\"/>\n"
"      <annotation name=\"org.qtproject.QtDBus.QtTypeName.Out0\" value=\"QList&lt;QVariantMap&gt;\"/>\n"
"    </method>\n"
"    <method name=\"ListSteps\">\n"
"      <arg direction=\"out\" type=\"aa{sv}\" name=\"steps\"/>\n"
"      <annotation name=\"org.qtproject.QtDBus.QtTypeName.Out0\" value=\"QList&lt;QVariantMap&gt;\"/>\n"
"    </method>\n"
"    <method name=\"GetTimeline\">\n"
"      <arg direction=\"out\" type=\"aa{sv}\" name=\"entries\"/>\n"
"      <annotation name=\"org.qtproject.QtDBus.QtTypeName.Out0\" value=\"QList&lt;QVariantMap&gt;\"/>\n"
"    </method>\n"
"    <signal name=\"ModuleStateChanged\">\n"
"      <arg type=\"s\" name=\"name\"/>\n"
"      <arg type=\"s\" name=\"old\"/>\n"
"      <arg type=\"s\" name=\"new\"/>\n"
"    </signal>\n"
"    <signal name=\"StepDone\">\n"
"      <arg type=\"i\" name=\"value\"/>\n"
"      <arg type=\"s\" name=\"name\"/>\n"
"    </signal>\n"
"  </interface>\n"
    "")
    // clang-format on
    Q_PROPERTY(int CurrentStep READ currentStep)
    Q_PROPERTY(bool StartFailed READ startFailed)
    Q_PROPERTY(bool InitInProgress READ initInProgress)
    Q_PROPERTY(bool RebootRequested READ rebootRequested)
    Q_PROPERTY(QString Version READ version)
    Q_PROPERTY(qulonglong StartedAt READ startedAt)
    Q_PROPERTY(qulonglong HomepageAt READ homepageAt)
    Q_PROPERTY(qulonglong CompleteAt READ completeAt)
    Q_PROPERTY(int LogLevel READ logLevel WRITE setLogLevel)

public:
    /// `manager` becomes the owner.
    static void create(QObject *manager, const SupervisionState &state, Inventory &inventory, const Journal &journal,
                       const StartupProgression &progression);

    [[nodiscard]] int currentStep() const;
    [[nodiscard]] bool startFailed() const;
    [[nodiscard]] bool initInProgress() const;
    [[nodiscard]] bool rebootRequested() const;
    [[nodiscard]] QString version() const;
    [[nodiscard]] qulonglong startedAt() const;
    [[nodiscard]] qulonglong homepageAt() const;
    [[nodiscard]] qulonglong completeAt() const;
    [[nodiscard]] int logLevel() const;
    /// A level that there is not is refused.
    void setLogLevel(int level);

public Q_SLOTS:
    ListOfMaps ListModules() const;
    ListOfMaps ListSteps() const;
    ListOfMaps GetTimeline() const;

Q_SIGNALS:
    void ModuleStateChanged(const QString &name, const QString &oldState, const QString &newState);
    void StepDone(int value, const QString &name);

private:
    Inspection(QObject *manager, const SupervisionState &state, Inventory &inventory, const Journal &journal,
               const StartupProgression &progression);

    const SupervisionState &m_state;
    Inventory &m_inventory;
    const Journal &m_journal;
    const StartupProgression &m_progression;
};

#endif
