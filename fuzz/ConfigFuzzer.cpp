#include "FuzzRoot.h"
#include "catalogue/ConfigReader.h"
#include "catalogue/XmlFile.h"
#include "verify/ConfigCheck.h"
#include "verify/XmlElements.h"

namespace {

const QString ddrSize = QStringLiteral("512MB");

/// What all references to entities together may become, in characters, and some room for the text beside them.
constexpr int mostText = 5 * 1024 * 1024;

int lengthOf(const QStringList &list)
{
    return list.join(QChar()).size();
}

void checkRecord(const ApplicationRecord &record)
{
    const bool isUsable = record.getStatus() == ConfigStatus::ok;
    require(isUsable || record.getStatus() == ConfigStatus::notParsable, "a status that a readable file cannot have");
    require(!record.getInitStep().isEmpty() || isUsable, "no step after a file that cannot be used");
    require(isUsable
                || (record.getDependencies().isEmpty() && record.getExtraArgs().isEmpty()
                    && !record.getMaxMemory().isSet()),
            "values of a file that cannot be used");
    require(lengthOf(record.getDependencies()) + lengthOf(record.getExtraArgs()) <= mostText, "texts grow");
    require(!record.toString().isEmpty(), "a record without a text");
}

// The operator's command reads the same file: it must see what the daemon sees, and tell a fault of the whole once.
void compareWithCheck(const ApplicationRecord &record)
{
    const Place place{configPath(ApplicationType::Module, record.getName()), 0, record.getName()};
    const XmlFile file = readXmlFile(place.file);
    Findings findings;
    const XmlElement root = XmlElements::rootOf(file, QStringLiteral("config"), Rule::ConfigUnusable, place,
                                                QStringLiteral("left out"), findings);
    require((file.result == XmlFile::Result::Ok) == (record.getStatus() == ConfigStatus::ok),
            "two readings of a file differ");
    if (root.isNull()) {
        require(findings.sorted().size() == 1, "a file that cannot be used is not told once");
        return;
    }
    const ConfigLines lines = checkConfig(root, ddrSize, place, findings);
    require(lines.dependencies.size() == record.getDependencies().size(),
            "the check sees other dependencies than the daemon");
}

} // namespace

// A module's config.xml, as the daemon and the operator's command read it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzRoot::write(QStringLiteral("/etc/JovApplication/module/fuzzed/config.xml"), data, size);
    ApplicationRecord record;
    record.setName(QStringLiteral("fuzzed"));
    readConfig(record, ddrSize);
    checkRecord(record);
    compareWithCheck(record);
    return 0;
}
