#include "contract/ModuleState.h"

QLatin1String stateText(ModuleState state)
{
    switch (state) {
    case ModuleState::Stopped:
        return QLatin1String("STOPPED");
    case ModuleState::Starting:
        return QLatin1String("STARTING");
    case ModuleState::WebClientStarted:
        return QLatin1String("WEB_CLIENT_STARTED");
    case ModuleState::Running:
        return QLatin1String("RUNNING");
    case ModuleState::Stopping:
        return QLatin1String("STOPPING");
    case ModuleState::None:
        break;
    }
    return QLatin1String();
}

ModuleState stateOf(const QString &text)
{
    for (const ModuleState state : allModuleStates) {
        if (text == stateText(state)) {
            return state;
        }
    }
    return ModuleState::None;
}
