#include "manager/ApplicationManagerAdaptor.h"

#include "supervision/WaitLoop.h"

#include <jov/JovException.h>
#include <jov/JovModule.h>
#include <jov/Log.h>

#include <QHash>

#include <limits>

namespace {

/**
 * How many waits may be on the stack before the method is refused: operations wait inside each other, each deeper in
 * the stack, and no well-behaved client has this many in progress. What releases the waits of others has a higher
 * limit. There is no limit for what does not wait; a restart is merged with the one in progress instead.
 */
int mostNested(const char *method)
{
    constexpr int starts = 64;
    constexpr int stops = 96;
    constexpr int stopsOfAll = 128;
    static const QHash<QByteArray, int> limits{{"startAll", starts},
                                               {"startModule", starts},
                                               {"restartModule", starts},
                                               {"stopModule", stops},
                                               {"stopAll", stopsOfAll}};
    return limits.value(method, std::numeric_limits<int>::max());
}

// The names under which the meta-object system knows the types of the arguments.
const char *typeName(const QString &)
{
    return "QString";
}

const char *typeName(const QStringList &)
{
    return "QStringList";
}

const char *typeName(const Setting &)
{
    return "Setting";
}

} // namespace

ApplicationManagerAdaptor::ApplicationManagerAdaptor(JovModule *manager, const WaitLoop &waits)
    : QObject(manager)
    , m_manager(*manager)
    , m_waits(waits)
{ }

template <typename Result, typename... Arguments>
Result ApplicationManagerAdaptor::forward(const char *method, const char *resultType, const Arguments &...arguments)
{
    if (isRefused(method)) {
        return Result();
    }
    if constexpr (std::is_void_v<Result>) {
        if (!QMetaObject::invokeMethod(&m_manager, method, QArgument<Arguments>(typeName(arguments), arguments)...)) {
            forwardingFailed(method);
        }
    } else {
        Result result = Result();
        if (!QMetaObject::invokeMethod(&m_manager, method, QReturnArgument<Result>(resultType, result),
                                       QArgument<Arguments>(typeName(arguments), arguments)...)) {
            forwardingFailed(method);
        }
        return result;
    }
}

bool ApplicationManagerAdaptor::isRefused(const char *method)
{
    const int limit = mostNested(method);
    if (m_waits.depth() < limit) {
        return false;
    }
    const QString text = QStringLiteral("%1 refused: %2 operations are still under way, try again when they have ended")
                             .arg(QLatin1String(method))
                             .arg(limit);
    Log::warning("%1", text);
    m_manager.failBusCall(text);
    return true;
}

void ApplicationManagerAdaptor::forwardingFailed(const char *method)
{
    const QString text = QStringLiteral("Adaptor::invokeMethod failed: %1").arg(QLatin1String(method));
    qDebug("Adaptor::invokeMethod failed: %s", method);
    throw new JovException(&m_manager, JovException::InvocationFailed, text);
}

ListApplicationConfig ApplicationManagerAdaptor::getApplicationsForSettingsDeployment()
{
    return forward<ListApplicationConfig>("getApplicationsForSettingsDeployment", "ListApplicationConfig");
}

ListSetting ApplicationManagerAdaptor::monitoringSettingsChanged(const Setting &setting)
{
    return forward<ListSetting>("monitoringSettingsChanged", "ListSetting", setting);
}

int ApplicationManagerAdaptor::getStepInfra()
{
    return forward<int>("getStepInfra", "int");
}

int ApplicationManagerAdaptor::startAll()
{
    return forward<int>("startAll", "int");
}

int ApplicationManagerAdaptor::stopAll()
{
    return forward<int>("stopAll", "int");
}

void ApplicationManagerAdaptor::restart()
{
    forward<void>("restart", nullptr);
}

void ApplicationManagerAdaptor::restartApp()
{
    forward<void>("restartApp", nullptr);
}

void ApplicationManagerAdaptor::stopManager()
{
    forward<void>("stopManager", nullptr);
}

ListApplicationConfig ApplicationManagerAdaptor::getApplicationsList()
{
    return forward<ListApplicationConfig>("getApplicationsList", "ListApplicationConfig");
}

QString ApplicationManagerAdaptor::getApplicationsListInString()
{
    return forward<QString>("getApplicationsListInString", "QString");
}

void ApplicationManagerAdaptor::restartPresentation()
{
    forward<void>("restartPresentation", nullptr);
}

bool ApplicationManagerAdaptor::startModule(const QString &moduleName)
{
    return forward<bool>("startModule", "bool", moduleName);
}

void ApplicationManagerAdaptor::restartModule(const QString &moduleName)
{
    forward<void>("restartModule", nullptr, moduleName);
}

void ApplicationManagerAdaptor::restartModule(const QStringList &moduleName)
{
    forward<void>("restartModule", nullptr, moduleName);
}

bool ApplicationManagerAdaptor::stopModule(const QString &moduleName)
{
    return forward<bool>("stopModule", "bool", moduleName);
}

ListApplicationConfig ApplicationManagerAdaptor::getModulesList()
{
    return forward<ListApplicationConfig>("getModulesList", "ListApplicationConfig");
}

QString ApplicationManagerAdaptor::getModulesListInString()
{
    return forward<QString>("getModulesListInString", "QString");
}

bool ApplicationManagerAdaptor::enoughMemory()
{
    return forward<bool>("enoughMemory", "bool");
}

int ApplicationManagerAdaptor::getMemoryUsage(const QString &applicationName)
{
    return forward<int>("getMemoryUsage", "int", applicationName);
}

int ApplicationManagerAdaptor::getMemoryUsage(const QString &applicationName, const QString &file,
                                              const QString &memmory)
{
    return forward<int>("getMemoryUsage", "int", applicationName, file, memmory);
}

int ApplicationManagerAdaptor::getTotalMemory()
{
    return forward<int>("getTotalMemory", "int");
}

int ApplicationManagerAdaptor::getFreeMemory()
{
    return forward<int>("getFreeMemory", "int");
}

double ApplicationManagerAdaptor::getCpuUsage(const QString &applicationName)
{
    return forward<double>("getCpuUsage", "double", applicationName);
}

void ApplicationManagerAdaptor::setAdminPasswd(const QString &cmdLine)
{
    forward<void>("setAdminPasswd", nullptr, cmdLine);
}
