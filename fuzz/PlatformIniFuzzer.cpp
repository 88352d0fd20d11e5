#include "FuzzRoot.h"
#include "PlatformIni.h"
#include "SettingsParam.h"

// The parameters of the platform, of the log and of the modules.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzRoot::writeAnew(QStringLiteral("/etc/JovApplication/platform.ini"), data, size);
    QString value = QStringLiteral("untouched");
    const bool found = settings_get_param(QStringLiteral("FAB_HW_DDRSIZE"), value) == 0;
    const QMap<QString, QString> platform = PlatformIni::section(QStringLiteral("platform"));
    require(found == platform.contains(QStringLiteral("FAB_HW_DDRSIZE")),
            "one way finds a parameter, the other does not");
    require(found || value == QLatin1String("untouched"), "a parameter that is not there changed the value");
    for (const QString &section :
         {QStringLiteral("log"), QStringLiteral("General"), QStringLiteral("a/b"), QString()}) {
        const QMap<QString, QString> values = PlatformIni::section(section);
        require(!section.isEmpty() || values.isEmpty(), "a section without a name has values");
    }
    return 0;
}
