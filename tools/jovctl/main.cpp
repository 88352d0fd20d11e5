#include "jovctl/CommandLine.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    // Module names are UTF-8 in every locale; QCoreApplication::arguments() would decode them by the locale.
    QStringList words;
    for (int i = 1; i < argc; ++i) {
        words << QString::fromUtf8(argv[i]);
    }
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral(JOVCTL_VERSION));
    return int(runCommandLine(words));
}
