#ifndef OUTPUT_FILES_H
#define OUTPUT_FILES_H

#include "system/ForkedTask.h"

#include <QStringList>

struct OutputSetting;

/**
 * The files that modules print into.
 *
 * A launch makes the file of its module if there is none. To create one can take a disk longer than to open ten, so
 * before the first start-up, which finds none, a process of its own creates them while the first modules start.
 */
class OutputFiles
{
public:
    /// For appending: a large one gets the suffix `.old` first. -1, with errno, on an error.
    static int open(const QString &path);

    /// Those of the modules that are missing. What fails is left to the launch, which says so.
    void createMissing(const OutputSetting &setting, const QStringList &modules);

private:
    ForkedTask m_task{"am-output-files"};
};

#endif
