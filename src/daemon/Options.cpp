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
        } else if (i > 0 && argument == "--version") {
            options.version = true;
        }
    }
    std::fflush(stdout);
    return options;
}

OwnStreams Options::ownStreams() const
{
    return debugMode ? OwnStreams::Always : daemonMode ? OwnStreams::No : OwnStreams::ByDefault;
}

const char *helpText()
{
    return R"(Usage: ApplicationManager [--nodaemon] [--debug] [--pidFile=PATH]

Starts the modules of the terminal in the order of initStep.xml and of their
dependencies, and supervises them.

  --nodaemon      stay in the foreground; Ctrl-C stops all modules in order
  --debug         keep the standard streams open, also for the modules
  --pidFile=PATH  write the daemon's process id to PATH (not with --nodaemon)
  --help          print this text
  --version       print the version

Without --nodaemon the program waits until the start-up has ended:
  exit status 0   the start-up is complete; a module can still have failed
  exit status 1   the start-up failed
  exit status 2   the daemon ended before the start-up was complete; see the log

Environment:
  JOV_ROOT                 prefix for every path except /proc and PATH
  DBUS_SYSTEM_BUS_ADDRESS  address of another bus
  INDUSTRIAL_MODE          do not launch jovaudio and kelmmi
  INDUSTRIAL_APPMODE       start modules without waiting for their dependencies

Signals:
  SIGTERM stops all modules and exits. SIGHUP stops all modules, reads the
  configuration again and starts them. The daemon handles only the first signal
  that it receives.

To try it on a PC: scripts/run-simulator
)";
}
