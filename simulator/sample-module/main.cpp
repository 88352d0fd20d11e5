#include "Behaviour.h"
#include "JovApplication.h"
#include "SampleModule.h"

#include <csignal>
#include <cstdio>

#include <sys/resource.h>

namespace {

/// It crashes as any program does: by the signal itself, without a sanitizer's report, and without a core file, which
/// the kernel would put into the working directory, where every file counts as a module.
void crashPlainly()
{
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL}) {
        std::signal(signal, SIG_DFL);
    }
}

} // namespace

int main(int argc, char **argv)
{
    crashPlainly();
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments.append(QString::fromLocal8Bit(argv[i]));
    }
    const Behaviour behaviour = Behaviour::parse(arguments);
    if (behaviour.help) {
        std::fputs(Behaviour::helpText().constData(), stdout);
        return 0;
    }
    if (behaviour.moduleName.isEmpty()) {
        std::fputs("sample-module: which module? Give --moduleName=NAME; --help shows the rest\n", stderr);
        return 2;
    }
    JovApplication application(argc, argv);
    SampleModule module(behaviour);
    return application.exec();
}
