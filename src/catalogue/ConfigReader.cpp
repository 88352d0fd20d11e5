#include "catalogue/ConfigReader.h"

#include "catalogue/ModulePaths.h"
#include "catalogue/XmlFile.h"
#include "contract/FileNames.h"
#include "contract/Steps.h"

#include <QRegularExpression>

namespace {

struct Config
{
    QString description;
    QString initStep = Steps::defaultName;
    MemoryCeiling maxMemory;
    QStringList dependencies;
    std::optional<ApplicationRecord::Early> early;
    QStringList extraArgs;
};

QString statusOf(XmlFile::Result result)
{
    switch (result) {
    case XmlFile::Result::Ok:
        return ConfigStatus::ok;
    case XmlFile::Result::Missing:
        return ConfigStatus::missing;
    case XmlFile::Result::NotReadable:
        return ConfigStatus::notReadable;
    case XmlFile::Result::NotParsable:
        break;
    }
    return ConfigStatus::notParsable;
}

QString textOf(const XmlElement &root, const QString &tag, const QString &fallback)
{
    const XmlElement element = root.firstChildElement(tag);
    return element.isNull() ? fallback : element.text();
}

// From the first element of the tag on, every sibling is used, whatever its own tag is.
template <typename Visit>
void forEachFrom(const XmlElement &parent, const QString &tag, Visit visit)
{
    for (XmlElement element = parent.firstChildElement(tag); !element.isNull();
         element = element.nextSiblingElement()) {
        visit(element);
    }
}

QStringList listOf(const XmlElement &parent, const QString &tag)
{
    QStringList list;
    forEachFrom(parent, tag, [&list](const XmlElement &element) { list.append(element.text()); });
    return list;
}

// "display store": names between the white space of XML, which is less than that of Unicode.
std::optional<ApplicationRecord::Early> earlyOf(const XmlElement &element)
{
    if (element.isNull()) {
        return std::nullopt;
    }
    static const QRegularExpression whiteSpace(QStringLiteral("[ \\t\\r\\n]+"));
    return ApplicationRecord::Early{element.attribute(ConfigXml::after).split(whiteSpace, Qt::SkipEmptyParts)};
}

// The last match wins.
MemoryCeiling ceilingOf(const XmlElement &maxMemory, const QString &ddrSize)
{
    MemoryCeiling ceiling;
    forEachFrom(maxMemory, ConfigXml::ceiling, [&](const XmlElement &element) {
        const QString criteria = element.attribute(ConfigXml::criteria);
        if (!criteria.isEmpty() && criteria == ddrSize) {
            ceiling = MemoryCeiling(element.text().toInt());
        }
    });
    return ceiling;
}

Config configOf(const XmlElement &root, const QString &ddrSize)
{
    Config config;
    config.description = textOf(root, ConfigXml::description, config.description);
    config.initStep = textOf(root, ConfigXml::initStep, config.initStep);
    config.maxMemory = ceilingOf(root.firstChildElement(ConfigXml::maxMemory), ddrSize);
    config.dependencies = listOf(root.firstChildElement(ConfigXml::dependencies), ConfigXml::dependency);
    config.early = earlyOf(root.firstChildElement(ConfigXml::early));
    config.extraArgs = listOf(root.firstChildElement(ConfigXml::extraArguments), ConfigXml::argument);
    return config;
}

} // namespace

QString configPath(ApplicationType type, const QString &name)
{
    const QString directory =
        type == ApplicationType::Module ? ModulePaths::configDirectory() : ModulePaths::webappConfigDirectory();
    return JovRoot::rooted(directory + name + QStringLiteral("/config.xml"));
}

void readConfig(ApplicationRecord &record, const QString &ddrSize)
{
    readConfig(record, readXmlFile(configPath(record.getType(), record.getName())), ddrSize);
}

void readConfig(ApplicationRecord &record, const XmlFile &file, const QString &ddrSize)
{
    const XmlElement root = file.document.documentElement();
    // A foreign document is not an error: it says nothing about this application.
    const Config config = root.tagName() == ConfigXml::root ? configOf(root, ddrSize) : Config();
    record.setStatus(statusOf(file.result));
    record.setSettingsDeployed(false);
    record.setDescription(config.description);
    record.setInitStep(config.initStep);
    record.setMaxMemory(config.maxMemory);
    record.setDependencies(config.dependencies);
    record.setEarly(config.early);
    record.setExtraArgs(config.extraArgs);
}
