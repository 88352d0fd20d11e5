#ifndef APPLICATION_MANAGER_ADAPTOR_H
#define APPLICATION_MANAGER_ADAPTOR_H

#include <jov/ApplicationConfig.h>
#include <jov/Setting.h>

#include <QObject>

class JovModule;
class WaitLoop;

/**
 * The control interface on the bus: each method is forwarded by name to the manager's slot of the same name and its
 * result handed back unchanged. The description below is what a bus browser sees, argument names included ("memmory"
 * too: clients know it so).
 *
 * A method for which the manager has no slot can only come from a build fault. Its caller gets an error reply, and a
 * `JovException *` is thrown, which the application object logs and deletes.
 */
class ApplicationManagerAdaptor : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Jovara.JovInterface")
    // clang-format off
    Q_CLASSINFO("D-Bus Introspection", ""
"  <interface name=\"com.velmora.Jovara.JovInterface\">\n"
"    <method name=\"getApplicationsForSettingsDeployment\">\n"
"      <arg direction=\"out\" type=\"a(sissssssb)\" name=\"applications\"/>\n"
"      <annotation name=\"org.qtproject.QtDBus.QtTypeName.Out0\" value=\"ListApplicationConfig\"/>\n"
"    </method>\n"
"    <method name=\"monitoringSettingsChanged\">\n"
"      <arg direction=\"in\" type=\"(sssssssiiia(ss)bbs)\" name=\"setting\"/>\n"
"      <annotation name=\"org.qtproject.QtDBus.QtTypeName.In0\" value=\"Setting\"/>\n"
"      <arg direction=\"out\" type=\"a(sssssssiiia(ss)bbs)\"/>\n"
"      <annotation name=\"org.qtproject.QtDBus.QtTypeName.Out0\" value=\"ListSetting\"/>\n"
"    </method>\n"
"    <method name=\"getStepInfra\">\n"
"      <arg direction=\"out\" type=\"i\"/>\n"
"    </method>\n"
"    <method name=\"startAll\">\n"
"      <arg direction=\"out\" type=\"i\"/>\n"
"    </method>\n"
"    <method name=\"stopAll\">\n"
"      <arg direction=\"out\" type=\"i\"/>\n"
"    </method>\n"
"    <method name=\"restart\"/>\n"
"    <method name=\"restartApp\"/>\n"
"    <method name=\"stopManager\"/>\n"
"    <method name=\"getApplicationsList\">\n"
"      <arg direction=\"out\" type=\"a(sissssssb)\" name=\"applications\"/>\n"
"      <annotation name=\"org.qtproject.QtDBus.QtTypeName.Out0\" value=\"ListApplicationConfig\"/>\n"
"    </method>\n"
"    <method name=\"getApplicationsListInString\">\n"
"      <arg direction=\"out\" type=\"s\"/>\n"
"    </method>\n"
"    <method name=\"restartPresentation\"/>\n"
"    <method name=\"startModule\">\n"
"      <arg direction=\"in\" type=\"s\" name=\"moduleName\"/>\n"
"      <arg direction=\"out\" type=\"b\"/>\n"
"    </method>\n"
"    <method name=\"restartModule\">\n"
"      <arg direction=\"in\" type=\"s\" name=\"moduleName\"/>\n"
"    </method>\n"
"    <method name=\"restartModule\">\n"
"      <arg direction=\"in\" type=\"as\" name=\"moduleName\"/>\n"
"    </method>\n"
"    <method name=\"stopModule\">\n"
"      <arg direction=\"in\" type=\"s\" name=\"moduleName\"/>\n"
"      <arg direction=\"out\" type=\"b\"/>\n"
"    </method>\n"
"    <method name=\"getModulesList\">\n"
"      <arg direction=\"out\" type=\"a(sissssssb)\" name=\"applications\"/>\n"
"      <annotation name=\"org.qtproject.QtDBus.QtTypeName.Out0\" value=\"ListApplicationConfig\"/>\n"
"    </method>\n"
"    <method name=\"getModulesListInString\">\n"
"      <arg direction=\"out\" type=\"s\"/>\n"
"    </method>\n"
"    <method name=\"enoughMemory\">\n"
"      <arg direction=\"out\" type=\"b\"/>\n"
"    </method>\n"
"    <method name=\"getMemoryUsage\">\n"
"      <arg direction=\"in\" type=\"s\" name=\"applicationName\"/>\n"
"      <arg direction=\"out\" type=\"i\"/>\n"
"    </method>\n"
"    <method name=\"getMemoryUsage\">\n"
"      <arg direction=\"in\" type=\"s\" name=\"applicationName\"/>\n"
"      <arg direction=\"in\" type=\"s\" name=\"file\"/>\n"
"      <arg direction=\"in\" type=\"s\" name=\"memmory\"/>\n"
"      <arg direction=\"out\" type=\"i\"/>\n"
"    </method>\n"
"    <method name=\"getTotalMemory\">\n"
"      <arg direction=\"out\" type=\"i\"/>\n"
"    </method>\n"
"    <method name=\"getFreeMemory\">\n"
"      <arg direction=\"out\" type=\"i\"/>\n"
"    </method>\n"
"    <method name=\"getCpuUsage\">\n"
"      <arg direction=\"in\" type=\"s\" name=\"applicationName\"/>\n"
"      <arg direction=\"out\" type=\"d\"/>\n"
"    </method>\n"
"    <method name=\"setAdminPasswd\">\n"
"      <arg direction=\"in\" type=\"s\" name=\"cmdLine\"/>\n"
"    </method>\n"
"  </interface>\n"
    "")
    // clang-format on

public:
    /// `manager` becomes the owner; `waits` are those of its operations.
    ApplicationManagerAdaptor(JovModule *manager, const WaitLoop &waits);

public Q_SLOTS:
    ListApplicationConfig getApplicationsForSettingsDeployment();
    ListSetting monitoringSettingsChanged(const Setting &setting);
    int getStepInfra();
    int startAll();
    int stopAll();
    void restart();
    void restartApp();
    void stopManager();
    ListApplicationConfig getApplicationsList();
    QString getApplicationsListInString();
    void restartPresentation();
    bool startModule(const QString &moduleName);
    void restartModule(const QString &moduleName);
    void restartModule(const QStringList &moduleName);
    bool stopModule(const QString &moduleName);
    ListApplicationConfig getModulesList();
    QString getModulesListInString();
    bool enoughMemory();
    int getMemoryUsage(const QString &applicationName);
    int getMemoryUsage(const QString &applicationName, const QString &file, const QString &memmory);
    int getTotalMemory();
    int getFreeMemory();
    double getCpuUsage(const QString &applicationName);
    void setAdminPasswd(const QString &cmdLine);

private:
    template <typename Result, typename... Arguments>
    Result forward(const char *method, const char *resultType, const Arguments &...arguments);
    bool isRefused(const char *method);
    void forwardingFailed(const char *method);

    JovModule &m_manager;
    const WaitLoop &m_waits;
};

#endif
