#include "verify/Rules.h"

namespace {

constexpr Severity error = Severity::Error;
constexpr Severity warning = Severity::Warning;
constexpr Severity note = Severity::Note;

constexpr RuleInfo table[] = {
    {"module-directory", error, "The module directory is missing."},
    {"partial-root", note, "The root has no system, so interpreters and libraries were not checked."},
    {"unknown-rule", warning, "The file .jov-verify names a rule that does not exist."},
    {"parameters-unusable", error, "The file platform.ini is treated as empty."},
    {"parameters-line", error, "A line of platform.ini is neither a section nor a parameter."},
    {"parameters-section", warning, "A section of platform.ini has no closing bracket."},
    {"parameters-misspelt", error, "A section or key of platform.ini looks like a misspelt one."},
    {"parameters-unknown", warning, "A section or key of platform.ini is not used by anything."},
    {"parameters-value", error, "A parameter of platform.ini has an invalid value, so its default applies."},
    {"parameters-repeated", error, "A second parameter of a name replaces the first."},
    {"log-file", error, "The log file cannot be written."},
    {"history-file", error, "The history file cannot be written."},
    {"steps-unusable", error, "The file initStep.xml is missing or cannot be used."},
    {"step-incomplete", error, "A step has no name or no value."},
    {"step-value", error, "The value of a step is not a number."},
    {"step-unreached", error, "The start-up never reaches a step."},
    {"step-duplicate", error, "A step has the name or the value of another step."},
    {"step-lost", error, "The order of the steps makes steps unreachable for the start or the stop."},
    {"step-order", warning, "The steps are not listed in ascending order."},
    {"default-step", warning, "The step \"default\" cannot be added."},
    {"homepage-missing", error, "No step has the home page, so the end of the start-up is never announced."},
    {"homepage-lost", error, "A show_homepage that looks like \"true\" is treated as false."},
    {"homepage-value", warning, "A show_homepage is neither \"true\" nor \"false\"."},
    {"homepage-repeated", warning, "More than one step has the home page."},
    {"parallel-value", error, "A parallel is neither \"true\" nor \"false\", so it is treated as false."},
    {"step-file-value", error, "The step file has no number, so no step is started."},
    {"step-file-holds", warning, "The step file ends the start-up before step 5."},
    {"config-missing", error, "A module has no config.xml."},
    {"config-unusable", error, "The config.xml of a module cannot be used."},
    {"element-misspelt", error, "An unknown element looks like a misspelt one and is ignored."},
    {"attribute-misspelt", error, "An unknown attribute looks like a misspelt one and is ignored."},
    {"element-misplaced", error, "An element is in the wrong place and is ignored."},
    {"element-repeated", error, "A second element of a name is ignored."},
    {"item-ignored", warning, "An element before the first item of a list is ignored."},
    {"item-foreign", warning, "An element of another name is used as an item of a list."},
    {"argument-empty", error, "An argument has attributes but no text, so it is empty."},
    {"argument-blank", warning, "An argument of white space alone is an empty one."},
    {"argument-name", error, "An argument contradicts the name that the supervisor passes to the module."},
    {"arguments-too-long", error, "The arguments of a module are longer than the kernel accepts."},
    {"limit-value", error, "A memory limit has no usable number."},
    {"limit-foreign", warning, "A memory limit for another memory size has no usable number."},
    {"limit-criteria", error, "A memory limit names no memory size, or spells that of this terminal differently."},
    {"limit-none", warning, "No memory limit applies to the memory size of this terminal."},
    {"limits-none", error, "None of the memory limits of all modules is for the memory size of this terminal."},
    {"limit-repeated", warning, "A second memory limit for the same memory size replaces the first."},
    {"limit-small", warning, "A memory limit is smaller than any process."},
    {"step-unknown", error, "The step of a module does not exist or is never reached."},
    {"dependency-missing", error, "A module depends on one that is not installed."},
    {"dependency-step", error, "A module depends on one in another step."},
    {"dependency-cycle", error, "Modules depend on each other in a cycle."},
    {"dependency-lost", error, "A module depends on one that cannot be started."},
    {"early-unknown", error, "A module is early after one that is not installed."},
    {"early-cycle", error, "A module is early after one that waits for it, so it is never launched ahead."},
    {"early-useless", warning, "An early does not let a module start sooner."},
    {"early-web-client", warning,
     "\"JovWebClient\" is early, so its 45 seconds run while the start-up uses the processor."},
    {"program-missing", error, "A module has no program."},
    {"program-ignored", warning, "A file in the module directory is not a regular file."},
    {"program-unread", warning, "A program could not be read, so it was not checked."},
    {"program-mode", error, "A program has no execute permission."},
    {"program-format", error, "A file in the module directory is not a program."},
    {"program-library", error, "A file in the module directory is a shared library."},
    {"program-damaged", error, "A program is truncated or damaged."},
    {"program-architecture", error, "A program is built for another machine."},
    {"script-line", error, "The kernel rejects the first line of a script."},
    {"script-line-long", warning, "Kernels before 5.1 cut the first line of a script."},
    {"script-interpreter", error, "The interpreter of a script does not exist or cannot be executed."},
    {"script-command", error, "The program that a script executes does not exist or cannot be executed."},
    {"loader-missing", error, "The dynamic loader of a program does not exist or cannot be executed."},
    {"library-missing", error, "A shared library of a program does not exist or is damaged."},
    {"bus-name-taken", error, "Two programs need the same bus name."},
    {"bus-name-shared", warning, "Two modules, at least one of them a script, have the same bus name."},
    {"settings-lost", error, "\"SettingsManager\" cannot run before step 5, so the start-up fails."},
    {"settings-missing", warning, "There is no module \"SettingsManager\"."},
    {"platform-missing", warning,
     "There is neither a module \"Platform\" nor a reboot_fallback, so nobody carries out a reboot request."},
};
static_assert(sizeof(table) / sizeof(table[0]) == std::size_t(Rule::Count), "a row for each rule");

} // namespace

const RuleInfo &infoOf(Rule rule)
{
    return table[std::size_t(rule)];
}

QString idOf(Rule rule)
{
    return QLatin1String(infoOf(rule).id);
}

QString textOf(Severity severity)
{
    switch (severity) {
    case Severity::Error:
        return QStringLiteral("error");
    case Severity::Warning:
        return QStringLiteral("warning");
    case Severity::Note:
        break;
    }
    return QStringLiteral("note");
}
