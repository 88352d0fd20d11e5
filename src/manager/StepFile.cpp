#include "manager/StepFile.h"

#include "contract/Steps.h"

#include <jov/Log.h>

#include <QFile>
#include <QFileInfo>

namespace {

constexpr int longestLine = 4096; // bytes

} // namespace

int readStepFile(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists()) {
        Log::warning("No Step file");
        return Steps::all;
    }
    QFile file(path);
    if (!info.isFile() || !file.open(QIODevice::ReadOnly)) {
        Log::warning("Step file Not readable");
        return Steps::all;
    }
    // Two more: readLine() counts a NUL at the end of the text.
    QByteArray line = file.readLine(longestLine + 2);
    if (line.endsWith('\n')) {
        line.chop(1);
    }
    // The text ends at a NUL byte.
    line.truncate(int(qstrlen(line.constData())));
    if (line.size() > longestLine) {
        Log::warning("Step file Not readable");
        return Steps::all;
    }
    const QString text = QString::fromLocal8Bit(line);
    Log::debug("Step file ==> %1", text);
    return text.trimmed().toInt();
}
