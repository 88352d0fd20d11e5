#include "sample-module/Behaviour.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

namespace {

/// Stores the value of an argument in the behaviour; false when the value is invalid.
using Taker = std::function<bool(Behaviour &, const QString &)>;

struct Argument
{
    const char *name;
    const char *valueName; ///< empty for a flag, in brackets when it is optional
    const char *help;
    Taker take;
};

bool takeNumber(const QString &text, int &number)
{
    bool isNumber = false;
    const int value = text.toInt(&isNumber);
    if (isNumber && value >= 0) {
        number = value;
        return true;
    }
    return false;
}

Taker number(int Behaviour::*field)
{
    return [field](Behaviour &behaviour, const QString &text) { return takeNumber(text, behaviour.*field); };
}

Taker time(std::optional<int> Behaviour::*field)
{
    return [field](Behaviour &behaviour, const QString &text) {
        int value = 0;
        if (!takeNumber(text, value)) {
            return false;
        }
        behaviour.*field = value;
        return true;
    };
}

Taker flag(bool Behaviour::*field)
{
    return [field](Behaviour &behaviour, const QString &) { return behaviour.*field = true; };
}

/// 11, SEGV or SIGSEGV.
int signalNumber(const QString &text)
{
    QByteArray name = text.toLatin1().toUpper();
    if (name.startsWith("SIG")) {
        name = name.mid(3);
    }
    for (int number = 1; number < NSIG; ++number) {
        const char *known = sigabbrev_np(number);
        if (known && name == known) {
            return number;
        }
    }
    const int number = name.toInt();
    return number > 0 && number < NSIG ? number : 0;
}

Taker signal(int Behaviour::*field, const char *standard)
{
    return [field, standard](Behaviour &behaviour, const QString &text) {
        behaviour.*field = signalNumber(text.isEmpty() ? QString::fromLatin1(standard) : text);
        return behaviour.*field > 0;
    };
}

const std::vector<Argument> &knownArguments()
{
    static const std::vector<Argument> arguments = {
        {"moduleName", "NAME", "name of the module that it plays",
         [](Behaviour &behaviour, const QString &text) {
             behaviour.moduleName = text;
             return !text.isEmpty();
         }},
        {"ready-after", "MS", "time from the start until it announces that it is ready (default: 0)",
         number(&Behaviour::readyAfter)},
        {"never-ready", "", "never announce that it is ready", flag(&Behaviour::neverReady)},
        {"presentation-after", "MS", "announce the presentation this long after it is ready",
         time(&Behaviour::presentationAfter)},
        {"exit-after", "MS", "exit this long after the start", time(&Behaviour::exitAfter)},
        {"exit-on-ready", "", "exit as soon as it has announced that it is ready", flag(&Behaviour::exitOnReady)},
        {"exit-code", "N", "exit status for these two options (default: 0)", number(&Behaviour::exitCode)},
        {"crash-after", "MS", "crash this long after the start", time(&Behaviour::crashAfter)},
        {"crash-signal", "SIG",
         "signal of the crash, a number or a name (default: SEGV); without crash-after: crash at once",
         signal(&Behaviour::crashSignal, "SEGV")},
        {"ignore-stop", "", "ignore the request to stop", flag(&Behaviour::ignoreStop)},
        {"stop-after", "MS", "exit this long after the request to stop", number(&Behaviour::stopAfter)},
        {"stop-exit-code", "N", "exit status after the request to stop (default: 0)", number(&Behaviour::stopExitCode)},
        {"crash-on-stop", "[SIG]", "crash at the request to stop", signal(&Behaviour::stopSignal, "SEGV")},
        {"allocate-kb", "N", "allocate this much memory at the start", number(&Behaviour::allocateKb)},
        {"leak-kb-per-second", "N", "allocate this much more every second", number(&Behaviour::leakKbPerSecond)},
        {"chatter", "", "write lines to standard output and standard error all the time", flag(&Behaviour::chatter)},
        {"child", "", "start a process of its own, which does not end with it", flag(&Behaviour::child)},
        {"busy", "", "keep a processor busy", flag(&Behaviour::busy)},
        {"help", "", "print this text", flag(&Behaviour::help)},
    };
    return arguments;
}

/// What is wrong with the argument; empty if it was stored.
QByteArray take(Behaviour &behaviour, const QString &text)
{
    for (const Argument &argument : knownArguments()) {
        const QString option = QStringLiteral("--") + QLatin1String(argument.name);
        const bool hasValue = text.startsWith(option + QLatin1Char('='));
        if (text != option && !hasValue) {
            continue;
        }
        const bool wantsValue = argument.valueName[0] != '\0';
        const bool mayMissValue = !wantsValue || argument.valueName[0] == '[';
        if ((hasValue && !wantsValue) || (!hasValue && !mayMissValue)
            || !argument.take(behaviour, text.mid(option.size() + 1))) {
            return QByteArray("invalid value, use --") + argument.name + (wantsValue ? "=" : "") + argument.valueName;
        }
        return {};
    }
    return "unknown argument, see --help";
}

} // namespace

Behaviour Behaviour::parse(const QStringList &arguments)
{
    Behaviour behaviour;
    for (const QString &argument : arguments) {
        const QByteArray fault = take(behaviour, argument);
        if (!fault.isEmpty()) {
            std::fprintf(stderr, "sample-module: argument '%s' ignored: %s\n", qPrintable(argument), fault.constData());
        }
    }
    if (behaviour.crashSignal != 0 && !behaviour.crashAfter) {
        behaviour.crashAfter = 0;
    }
    if (behaviour.crashAfter && behaviour.crashSignal == 0) {
        behaviour.crashSignal = SIGSEGV;
    }
    return behaviour;
}

QByteArray Behaviour::helpText()
{
    QByteArray text = "sample-module plays any module of a terminal. Its arguments, which a config.xml\n"
                      "lists as <extra_args>, select its behaviour.\n\n";
    for (const Argument &argument : knownArguments()) {
        QByteArray option = QByteArray("--") + argument.name;
        if (argument.valueName[0] == '[') {
            option += "[=" + QByteArray(argument.valueName + 1);
        } else if (argument.valueName[0] != '\0') {
            option += '=' + QByteArray(argument.valueName);
        }
        text += "  " + option.leftJustified(25) + argument.help + '\n';
    }
    return text;
}
