#include "contract/Events.h"

#include <jov/Log.h>
#include <jov/SupervisedModule.h>

#include <QCoreApplication>

bool SupervisedModule::check()
{
    const QString option = QStringLiteral("--moduleName=");
    const QStringList arguments = QCoreApplication::arguments();
    for (const QString &argument : arguments) {
        const QString name = argument.mid(option.size());
        if (argument.startsWith(option) && name != getModuleName()) {
            Log::error("%1: started as module %2. Install the program as /usr/lib/JovApplication/%1 and its "
                       "configuration as /etc/JovApplication/module/%1/config.xml",
                       getModuleName(), name);
            return false;
        }
    }
    return true;
}

bool SupervisedModule::init()
{
    return subscribeEvent(Events::stopOf(getModuleName()), this, SLOT(stopRequested()));
}

bool SupervisedModule::init_step()
{
    return announceReady();
}

bool SupervisedModule::announceReady()
{
    return notifyEvent(Events::endOfInitOf(getModuleName()));
}

void SupervisedModule::stopRequested()
{
    exit();
}
