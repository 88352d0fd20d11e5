#include "components/PlainCrash.h"
#include "sample-module/Behaviour.h"
#include "sample-module/SampleModule.h"

#include <jov/JovApplication.h>

#include <cstdio>

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
        std::fputs("sample-module: --moduleName=NAME is missing; --help lists all arguments\n", stderr);
        return 2;
    }
    JovApplication application(argc, argv);
    SampleModule module(behaviour);
    return application.exec();
}
