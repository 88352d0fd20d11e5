#include "daemon/RunManager.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char option[] = "--minute=";

} // namespace

/// The supervisor with a memory watchdog whose minute is shorter, to see in seconds what takes a terminal a quarter of
/// an hour.
int main(int argc, char **argv)
{
    ManagerTiming timing;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], option, sizeof option - 1) == 0) {
            const long minute = std::strtol(argv[i] + sizeof option - 1, nullptr, 10);
            if (minute <= 0) {
                std::fprintf(stderr, "ApplicationManager-fast-clock: %s takes milliseconds above 0\n", option);
                return 2;
            }
            timing.watchdog.minute = std::chrono::milliseconds(minute);
        }
    }
    return runDaemon(argc, argv, timing);
}
