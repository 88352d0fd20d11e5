#include "daemon/Options.h"

#include <cstdio>
#include <string_view>

namespace {

constexpr std::string_view pidFileOption = "--pidFile=";
constexpr std::string_view debugOption = "--debug";
constexpr std::string_view noDaemonOption = "--nodaemon";

bool beginsWith(std::string_view text, std::string_view beginning)
{
    return text.substr(0, beginning.size()) == beginning;
}

} // namespace

Options Options::parse(int argc, char **argv)
{
    Options options;
    for (int i = 0; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (beginsWith(argument, pidFileOption)) {
            options.pidFile = argument.substr(pidFileOption.size());
            std::printf("PID File : %s\n", options.pidFile.c_str());
        } else if (beginsWith(argument, debugOption)) {
            options.debugMode = true;
            std::puts("Debug mode");
        } else if (beginsWith(argument, noDaemonOption)) {
            options.daemonMode = false;
            std::puts("No daemon mode");
        } else if (i > 0 && argument == "--help") {
            options.help = true;
        }
    }
    std::fflush(stdout);
    return options;
}

const char *helpText()
{
    return R"(Usage: ApplicationManager [--nodaemon] [--debug] [--pidFile=PATH]

Starts the modules of the terminal in the order of initStep.xml and by
dependency, and supervises them.

  --nodaemon      stay in the foreground; Ctrl-C stops everything in order
  --debug         keep the standard streams open, for the modules too
  --pidFile=PATH  write the daemon's process id to PATH (not with --nodaemon)
  --help          this text

Without --nodaemon the program waits until the start-up has ended:
  exit status 0   the terminal is up
  exit status 1   the start-up failed
  exit status 2   the daemon ended before it could tell: the log has the reason

Environment:
  JOV_ROOT                 another root for every file but /proc and PATH
  DBUS_SYSTEM_BUS_ADDRESS  another bus
  INDUSTRIAL_MODE          do not launch jovaudio and kelmmi
  INDUSTRIAL_APPMODE       start modules without their dependencies
Signals: SIGTERM stops everything and ends, SIGHUP reads all files anew and
restarts; one of the two is taken, once.

Try it in the foreground on a PC:  scripts/run-simulator
)";
}
