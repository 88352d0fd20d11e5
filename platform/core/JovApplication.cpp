#include "core/EventBus.h"
#include "root/PlatformIni.h"

#include <jov/JovApplication.h>
#include <jov/JovException.h>
#include <jov/JovModule.h>
#include <jov/Log.h>

#include <QThread>

#include <csignal>

JovApplication::JovApplication(int &argc, char **argv)
    : QCoreApplication(argc, argv)
{
    // A reader of our standard error that goes away must not end the component.
    std::signal(SIGPIPE, SIG_IGN);
    logger();
    const QString fault = PlatformIni::fault();
    if (!fault.isEmpty()) {
        Log::error("%1 counts as empty: %2", PlatformIni::path(), fault);
    }
}

JovApplication::~JovApplication() = default;

JovApplication *JovApplication::instance()
{
    return qobject_cast<JovApplication *>(QCoreApplication::instance());
}

void JovApplication::setModule(JovModule *module)
{
    m_module = module;
}

int JovApplication::exec()
{
    m_lifeBegun = false;
    QMetaObject::invokeMethod(this, &JovApplication::openBus, Qt::QueuedConnection);
    const int status = QCoreApplication::exec();
    if (m_module) {
        BusLink &link = m_module->m_bus->link();
        disconnect(&link, nullptr, this, nullptr);
        link.close();
    }
    return status;
}

void JovApplication::openBus()
{
    if (!m_module || m_module->isExiting()) {
        return;
    }
    BusLink &link = m_module->m_bus->link();
    connect(&link, &BusLink::opened, this, &JovApplication::beginLife);
    connect(&link, &BusLink::nameTaken, this, [this] {
        if (!m_module->isExiting()) {
            run("init_step", &JovModule::init_step);
        }
    });
    connect(&link, &BusLink::failed, this, [this](const QString &reason) {
        if (!m_module->isExiting()) {
            fail(m_lifeBegun ? reason : QStringLiteral("no bus: %1").arg(reason));
        }
    });
    link.open();
}

void JovApplication::beginLife()
{
    if (m_lifeBegun || m_module->isExiting()) {
        return;
    }
    m_lifeBegun = true;
    if (run("check", &JovModule::check) && run("deploy", &JovModule::deploy) && run("init", &JovModule::init)) {
        m_module->m_bus->link().takeName();
    }
}

bool JovApplication::run(const char *name, bool (JovModule::*operation)())
{
    const bool succeeded = attempt(operation);
    // Once the end is queued, what an interrupted operation says no longer matters.
    if (!succeeded && !m_module->isExiting()) {
        fail(QStringLiteral("%1 failed").arg(QLatin1String(name)));
    }
    return succeeded && !m_module->isExiting();
}

bool JovApplication::attempt(bool (JovModule::*operation)())
{
    try {
        return (m_module->*operation)();
    } catch (JovException *thrown) { // NOLINT(misc-throw-by-value-catch-by-reference): the platform throws pointers
        logAndDelete(thrown);
    }
    return false;
}

void JovApplication::fail(const QString &what)
{
    Log::error("%1: %2", m_module->getModuleName(), what);
    // An exit() from now on finds nothing to end: the process goes with the status of the failure.
    m_module->m_exiting = true;
    exit(1);
}

void JovApplication::end()
{
    if (m_lifeBegun && m_module) {
        m_lifeBegun = false;
        if (!attempt(&JovModule::stop)) {
            Log::error("%1: stop failed", m_module->getModuleName());
        }
    }
    exit(0);
}

bool JovApplication::notify(QObject *receiver, QEvent *event)
{
    if (QThread::currentThread() != thread()) {
        return QCoreApplication::notify(receiver, event);
    }
    try {
        return QCoreApplication::notify(receiver, event);
    } catch (JovException *thrown) { // NOLINT(misc-throw-by-value-catch-by-reference): the platform throws pointers
        logAndDelete(thrown);
    }
    return false;
}
