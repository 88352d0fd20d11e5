#include "manager/StepFile.h"

#include "contract/Steps.h"
#include "system/RegularFile.h"

#include <jov/Log.h>

#include <QList>

namespace {

constexpr int longestLine = 4096; // bytes

} // namespace

int readStepFile(const QString &path)
{
    RegularFile file(path);
    if (file.result() == RegularFile::Result::Missing) {
        Log::warning("No Step file");
        return Steps::all;
    }
    // A line feed behind the longest line need not be read.
    std::optional<QByteArray> text = file.read(longestLine + 1);
    if (!text) {
        Log::warning("Step file Not readable");
        return Steps::all;
    }
    // The text ends at a NUL byte.
    const QByteArray line(text->split('\n').first().constData());
    if (line.size() > longestLine) {
        Log::warning("Step file Not readable");
        return Steps::all;
    }
    const QString number = QString::fromLocal8Bit(line);
    Log::debug("Step file ==> %1", number);
    return number.trimmed().toInt();
}
