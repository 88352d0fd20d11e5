#ifndef MODULE_STATE_H
#define MODULE_STATE_H

#include <QLatin1String>
#include <QString>

/// The state of a module. Its record and the bus hold the text of it.
enum class ModuleState {
    None, ///< no text: a module whose step does not exist has no state
    Stopped,
    Starting,
    WebClientStarted, ///< announced, but its presentation is not on the screen yet
    Running,
    Stopping
};

/// The states that have a text, in the order of the enumeration.
inline constexpr ModuleState allModuleStates[] = {ModuleState::Stopped, ModuleState::Starting,
                                                  ModuleState::WebClientStarted, ModuleState::Running,
                                                  ModuleState::Stopping};

[[nodiscard]] QLatin1String stateText(ModuleState state);
/// None of a text that is no state's.
[[nodiscard]] ModuleState stateOf(const QString &text);

#endif
