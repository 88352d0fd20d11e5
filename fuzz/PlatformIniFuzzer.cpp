#include "FuzzRoot.h"
#include "logger/PlatformLogger.h"
#include "root/PlatformIni.h"

#include <jov/SettingsParam.h>

namespace {

const QString iniPath = QStringLiteral("/etc/JovApplication/platform.ini");

void checkParameter(const QString &name)
{
    QString value = QStringLiteral("untouched");
    const bool found = settings_get_param(name, value) == 0;
    const QMap<QString, QString> platform = PlatformIni::section(QStringLiteral("platform"));
    require(found == platform.contains(name), "one way finds a parameter, the other does not");
    require(value == (found ? platform.value(name) : QStringLiteral("untouched")), "two readings differ");
}

} // namespace

// The parameters of the platform, of the log and of the modules.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzRoot::write(iniPath, data, size);
    checkParameter(QStringLiteral("FAB_HW_DDRSIZE"));
    const QString fault = PlatformIni::fault();
    for (const QString &section :
         {QStringLiteral("log"), QStringLiteral("General"), QStringLiteral("a/b"), QString()}) {
        const QMap<QString, QString> values = PlatformIni::section(section);
        require(fault.isEmpty() || values.isEmpty(), "values of a file that is not used");
        require(!section.isEmpty() || values.isEmpty(), "a section without a name has values");
    }
    const LogOptions options = LogOptions::read();
    require(options.level >= 0 && options.level <= JovLogger::Debug, "a log level out of range");
    // QSettings keeps what it has read, and tells two files of the same size apart by the millisecond: an empty one
    // makes it forget.
    FuzzRoot::write(iniPath, nullptr, 0);
    require(PlatformIni::section(QStringLiteral("platform")).isEmpty(), "values of an empty file");
    return 0;
}
