#ifndef LEFT_BEHIND_H
#define LEFT_BEHIND_H

#include <QObject>
#include <QStringList>

/**
 * Watches that a test leaves no process behind: made first in main(), it lets orphans come to the test program, and
 * killAll() ends what is left and names it.
 */
class LeftBehind
{
public:
    LeftBehind();

    /// The command lines of the processes that were still there; empty is what a test wants.
    QStringList killAll();
};

/// As QTEST_GUILESS_MAIN, but the program fails when the test leaves a process behind. Makes the application object,
/// unless main() has made one of its own.
int runTest(QObject &test, int argc, char **argv);

#endif
