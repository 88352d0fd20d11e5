#include "jovctl/CommandTable.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    // As UTF-8 whatever the locale: that is what module names are made of.
    QStringList words;
    for (int i = 1; i < argc; ++i) {
        words << QString::fromUtf8(argv[i]);
    }
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationVersion(QStringLiteral(JOVCTL_VERSION));
    return int(runCommandLine(words));
}
