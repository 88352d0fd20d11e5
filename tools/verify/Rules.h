#ifndef RULES_H
#define RULES_H

#include <QString>

/// Everything that the check reports. The order is that of the table in Rules.cpp and of jovctl-verify(1).
enum class Rule {
    ModuleDirectory,
    PartialRoot,
    UnknownRule,
    ParametersUnusable,
    ParametersLine,
    ParametersSection,
    ParametersMisspelt,
    ParametersUnknown,
    ParametersValue,
    ParametersRepeated,
    LogFile,
    HistoryFile,
    StepsUnusable,
    StepIncomplete,
    StepValue,
    StepUnreached,
    StepDuplicate,
    StepLost,
    StepOrder,
    DefaultStep,
    HomepageMissing,
    HomepageLost,
    HomepageValue,
    HomepageRepeated,
    ParallelValue,
    StepFileValue,
    StepFileHolds,
    ConfigMissing,
    ConfigUnusable,
    ElementMisspelt,
    AttributeMisspelt,
    ElementMisplaced,
    ElementRepeated,
    ItemIgnored,
    ItemForeign,
    ArgumentEmpty,
    ArgumentBlank,
    ArgumentName,
    ArgumentsTooLong,
    LimitValue,
    LimitForeign,
    LimitCriteria,
    LimitNone,
    LimitsNone,
    LimitRepeated,
    LimitSmall,
    StepUnknown,
    DependencyMissing,
    DependencyStep,
    DependencyCycle,
    DependencyLost,
    EarlyUnknown,
    EarlyCycle,
    EarlyUseless,
    EarlyWebClient,
    ProgramMissing,
    ProgramIgnored,
    ProgramUnread,
    ProgramMode,
    ProgramFormat,
    ProgramLibrary,
    ProgramDamaged,
    ProgramArchitecture,
    ScriptLine,
    ScriptLineLong,
    ScriptInterpreter,
    ScriptCommand,
    LoaderMissing,
    LibraryMissing,
    BusNameTaken,
    BusNameShared,
    SettingsLost,
    SettingsMissing,
    PlatformMissing,
    Count
};

/// An error loses a module, a step or a part of the configuration. A warning marks a configuration that works but is
/// probably not intended. A note says what was not checked.
enum class Severity { Error, Warning, Note };

struct RuleInfo
{
    const char *id; ///< for people and programs; never changed once it was published
    Severity severity;
    const char *summary;
};

[[nodiscard]] const RuleInfo &infoOf(Rule rule);
[[nodiscard]] QString idOf(Rule rule);
/// "error", "warning", "note": also the levels of SARIF.
[[nodiscard]] QString textOf(Severity severity);

#endif
