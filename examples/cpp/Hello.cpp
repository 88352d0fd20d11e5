#include "Hello.h"

#include <jov/Log.h>

// The module's name, the file in /usr/lib/JovApplication/ and the folder of its config.xml are one text.
Hello::Hello()
    : JovModule(QStringLiteral("hello"))
{ }

// First be ready to be stopped.
bool Hello::init()
{
    return subscribeEvent(QStringLiteral("stop_module_") + getModuleName(), this, SLOT(stopRequested()));
}

// What the module needs is there and its bus name is taken: from here on the modules that depend on it may start.
bool Hello::init_step()
{
    return notifyEvent(QStringLiteral("end_of_init_") + getModuleName());
}

QString Hello::greet(const QString &who)
{
    Log::info("[hello] %1 was here", who);
    return QStringLiteral("Hello, %1!").arg(who);
}

void Hello::stopRequested()
{
    exit();
}
