#include "JovApplication.h"

#include "EventBus.h"
#include "JovException.h"
#include "JovModule.h"
#include "Log.h"

#include <memory>

JovApplication::JovApplication(int &argc, char **argv)
    : QCoreApplication(argc, argv)
{
    logger();
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
    QMetaObject::invokeMethod(this, &JovApplication::runLife, Qt::QueuedConnection);
    return QCoreApplication::exec();
}

void JovApplication::runLife()
{
    struct Operation
    {
        const char *name;
        bool (JovModule::*run)();
    };
    static constexpr Operation beforeName[] = {
        {"check", &JovModule::check}, {"deploy", &JovModule::deploy}, {"init", &JovModule::init}};

    if (!m_module || m_module->isExiting()) {
        return;
    }
    EventBus &bus = *m_module->m_bus;
    if (!bus.open()) {
        fail(QStringLiteral("no bus: %1").arg(bus.errorText()));
        return;
    }
    m_lifeBegun = true;
    for (const Operation &operation : beforeName) {
        if (!(m_module->*operation.run)()) {
            fail(QStringLiteral("%1 failed").arg(QLatin1String(operation.name)));
            return;
        }
        if (m_module->isExiting()) {
            return;
        }
    }
    if (!bus.takeName()) {
        fail(bus.errorText());
        return;
    }
    if (!m_module->init_step()) {
        fail(QStringLiteral("init_step failed"));
    }
}

void JovApplication::fail(const QString &what)
{
    Log::error("%1: %2", m_module->getModuleName(), what);
    exit(1);
}

void JovApplication::endLife()
{
    if (m_lifeBegun && m_module) {
        m_module->stop();
    }
    exit(0);
}

bool JovApplication::notify(QObject *receiver, QEvent *event)
{
    try {
        return QCoreApplication::notify(receiver, event);
    } catch (JovException *thrown) {
        const std::unique_ptr<JovException> exception(thrown);
        Log::error("%1", exception->message());
    }
    return false;
}
