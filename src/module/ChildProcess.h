#ifndef CHILD_PROCESS_H
#define CHILD_PROCESS_H

#include <QProcess>

/**
 * A QProcess whose child begins with a clean slate: a process group of its own (the terminal's interrupt key is for the
 * daemon alone, and must not look like a crash of every module), no blocked signals, and the limit of open files that
 * the daemon itself was started with.
 */
class ChildProcess : public QProcess
{
    Q_OBJECT

public:
    using QProcess::QProcess;

    /**
     * Lifts the daemon's own soft limit of open files to the hard one, since every running module takes two
     * descriptors, and remembers the old one for the children.
     */
    static void raiseDescriptorLimit();

protected:
    void setupChildProcess() override;
};

#endif
