#include "daemon/RunManager.h"

#include <QByteArrayList>

#include <chrono>
#include <cstdio>

namespace {

constexpr char variable[] = "JOV_DURATIONS";

/// Sets the duration that `word`, as "stop=600", names.
bool take(const QByteArray &word, ManagerTiming &timing)
{
    const QByteArray name = word.left(word.indexOf('='));
    const int milliseconds = word.mid(name.size() + 1).toInt();
    if (name == "minute") {
        timing.watchdog.minute = std::chrono::milliseconds(milliseconds);
    } else if (name == "stop") {
        timing.module.stop = milliseconds;
    } else if (name == "stop-with-everything") {
        timing.module.stopWithEverything = milliseconds;
    } else if (name == "presentation") {
        timing.module.presentation = milliseconds;
    } else if (name == "wait-report") {
        timing.module.waitReport = milliseconds;
    } else if (name == "archive") {
        timing.module.archive = milliseconds;
    } else {
        return false;
    }
    return milliseconds > 0;
}

} // namespace

/// The supervisor with shorter durations, for the simulator and the tests: JOV_DURATIONS="stop=600 presentation=500".
int main(int argc, char **argv)
{
    ManagerTiming timing;
    const QByteArrayList words = qgetenv(variable).simplified().split(' ');
    for (const QByteArray &word : words) {
        if (!word.isEmpty() && !take(word, timing)) {
            std::fprintf(stderr,
                         "ApplicationManager-fast-clock: %s: '%s' is not NAME=MS with a NAME of minute, stop, "
                         "stop-with-everything, presentation, wait-report or archive, and MS above 0\n",
                         variable, word.constData());
            return 2;
        }
    }
    return runDaemon(argc, argv, timing);
}
