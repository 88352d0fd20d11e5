#include "ConfigReader.h"
#include "FuzzRoot.h"

// A module's config.xml, for each size of a device's memory that picks another ceiling.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzRoot::write(QStringLiteral("/etc/JovApplication/module/fuzzed/config.xml"), data, size);
    for (const QString &ddrSize : {QStringLiteral("256MB"), QStringLiteral("512MB"), QString()}) {
        ApplicationRecord record;
        record.setName(QStringLiteral("fuzzed"));
        readConfig(record, ddrSize);
        const QString status = record.getStatus();
        require(status == ConfigStatus::ok || status == ConfigStatus::notParsable,
                "a status that a readable file cannot have");
        require(!record.getInitStep().isEmpty() || status == ConfigStatus::ok,
                "no step after a file that cannot be used");
        require(status == ConfigStatus::ok || (record.getDependencies().isEmpty() && record.getExtraArgs().isEmpty()),
                "values of a file that cannot be used");
        require(!record.toString().isEmpty(), "a record without a text");
    }
    return 0;
}
