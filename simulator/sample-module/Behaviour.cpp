#include "sample-module/Behaviour.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

namespace {

/// Takes an argument's value into the behaviour; false when it is none.
using Taker = std::function<bool(Behaviour &, const QString &)>;

struct Argument
{
    const char *name;
    const char *valueName; ///< empty for a flag, in brackets when it may be left out
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
        {"moduleName", "NAME", "the module it plays",
         [](Behaviour &behaviour, const QString &text) {
             behaviour.moduleName = text;
             return !text.isEmpty();
         }},
        {"ready-after", "MS", "announces the end of its initialisation so long after its start (0)",
         number(&Behaviour::readyAfter)},
        {"never-ready", "", "never announces it", flag(&Behaviour::neverReady)},
        {"presentation-after", "MS", "announces the presentation so long after it is ready",
         time(&Behaviour::presentationAfter)},
        {"exit-after", "MS", "ends so long after its start", time(&Behaviour::exitAfter)},
        {"exit-on-ready", "", "ends as soon as it has announced that it is ready", flag(&Behaviour::exitOnReady)},
        {"exit-code", "N", "the exit status of these two (0)", number(&Behaviour::exitCode)},
        {"crash-after", "MS", "crashes so long after its start", time(&Behaviour::crashAfter)},
        {"crash-signal", "SIG", "the signal it crashes with, a number or a name (SEGV); alone: at once",
         signal(&Behaviour::crashSignal, "SEGV")},
        {"ignore-stop", "", "goes on when it is asked to stop", flag(&Behaviour::ignoreStop)},
        {"stop-after", "MS", "ends so long after it was asked to stop", number(&Behaviour::stopAfter)},
        {"stop-exit-code", "N", "its exit status then (0)", number(&Behaviour::stopExitCode)},
        {"crash-on-stop", "[SIG]", "crashes when it is asked to stop", signal(&Behaviour::stopSignal, "SEGV")},
        {"allocate-kb", "N", "takes that much memory at its start", number(&Behaviour::allocateKb)},
        {"leak-kb-per-second", "N", "takes that much more every second", number(&Behaviour::leakKbPerSecond)},
        {"chatter", "", "writes lines to standard output and standard error all the time", flag(&Behaviour::chatter)},
        {"busy", "", "keeps a processor busy", flag(&Behaviour::busy)},
        {"help", "", "shows this text", flag(&Behaviour::help)},
    };
    return arguments;
}

/// Empty when the argument was taken, else why not.
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
            return QByteArray("unusable value, it is --") + argument.name + (wantsValue ? "=" : "")
                + argument.valueName;
        }
        return {};
    }
    return "unknown, see --help";
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
    QByteArray text = "sample-module plays any module of a terminal; its arguments say how it behaves.\n"
                      "On the terminal they stand in its config.xml, as <extra_args>.\n\n";
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
