#include "client/BusDeadline.h"

#include "client/Failure.h"

#include <csignal>

#include <unistd.h>

namespace {

constexpr unsigned seconds = 5;
constexpr char text[] = "jovctl: the bus does not answer; is its process stopped?\n";

void end(int)
{
    static_cast<void>(!write(STDERR_FILENO, text, sizeof text - 1));
    _exit(int(ExitStatus::NoDaemon));
}

} // namespace

BusDeadline::BusDeadline()
{
    std::signal(SIGALRM, end);
    alarm(seconds);
}

BusDeadline::~BusDeadline()
{
    alarm(0);
}
