#include "catalogue/Catalogue.h"

#include "catalogue/ConfigReader.h"
#include "catalogue/ModulePaths.h"
#include "contract/Steps.h"

#include <jov/Log.h>

#include <QDir>

namespace {

const char *const kindLabel = "Module";

void logNewApplication(const ApplicationRecord &record)
{
    Log::debug("New Application '%1' type=%2 status %3 %4 %5", record.getName(), kindLabel, record.getStatus(),
               record.getNeedUpgrade() ? "need_upgd" : "no_upgd",
               record.getSettingsDeployed() ? "settings_deployed" : "deploy_settings");
}

// A module without a usable description is started all the same, in the default step.
void useDefaults(ApplicationRecord &record)
{
    record.setInitStep(Steps::defaultName);
    record.setDescription(QStringLiteral("Default Description : Error in config.xml parsing :") + record.getStatus());
    Log::error("%1 %2 (%3) added to list", kindLabel, record.getName(), record.getInitStep());
}

} // namespace

bool Catalogue::scanApplications(ApplicationType type, const QString &ddrSize, const Place &place)
{
    clearApplications();
    if (type != ApplicationType::Module) {
        Log::info("Webapp's path does not exist");
        return true;
    }
    const QDir directory(ModulePaths::rootedModuleDirectory());
    if (!directory.exists()) {
        Log::debug("Module's path does not exist");
        return false;
    }
    Log::debug("Scanning %1 directory %2", kindLabel, directory.absolutePath());
    const QStringList names = directory.entryList(QDir::Files, QDir::Unsorted);
    for (const QString &name : names) {
        if (const ApplicationRecord *record = addApplication(type, name, ddrSize)) {
            logNewApplication(*record);
        }
    }
    placeAll(place);
    return true;
}

void Catalogue::placeAll(const Place &place)
{
    for (auto entry = applicationMap.begin(); entry != applicationMap.end();) {
        // A record that was never read would start nowhere.
        if (!entry->second || entry->second->getStatus().isEmpty()) {
            entry = applicationMap.erase(entry);
        } else {
            place(*entry->second);
            ++entry;
        }
    }
}

ApplicationRecord *Catalogue::addApplication(ApplicationType type, const QString &name, const QString &ddrSize)
{
    if (type != ApplicationType::Module) {
        return nullptr;
    }
    std::unique_ptr<ApplicationRecord> &entry = applicationMap[name];
    if (entry) {
        return entry.get();
    }
    entry = std::make_unique<ApplicationRecord>();
    entry->setName(name);
    entry->setType(type);
    readConfig(*entry, ddrSize);
    if (entry->getStatus() != ConfigStatus::ok) {
        useDefaults(*entry);
    }
    return entry.get();
}

void Catalogue::clearApplications()
{
    applicationMap.clear();
}

ApplicationRecord *Catalogue::find(const QString &name) const
{
    const auto entry = applicationMap.find(name);
    return entry == applicationMap.end() ? nullptr : entry->second.get();
}

QString Catalogue::getApplicationID(const QString &name) const
{
    const ApplicationRecord *record = find(name);
    return record ? record->processId() : QString();
}

ListApplicationConfig Catalogue::getModulesList() const
{
    ListApplicationConfig list;
    for (const auto &entry : applicationMap) {
        if (entry.second) {
            list.append(*entry.second);
        }
    }
    return list;
}

ListApplicationConfig Catalogue::getApplicationsList() const
{
    return getModulesList();
}

QString Catalogue::getModulesListInString() const
{
    QString text;
    for (const auto &entry : applicationMap) {
        if (entry.second) {
            text += entry.second->toString() + QLatin1Char('\n');
        }
    }
    return text;
}

QString Catalogue::getApplicationsListInString() const
{
    return getModulesListInString() + QLatin1Char('\n');
}

ListApplicationConfig Catalogue::getApplicationsForSettingsDeployment(const ApplicationConfig &ownRecord) const
{
    Log::debug("getApplicationsForSettingsDeployment");
    return ListApplicationConfig{ownRecord} + getModulesList();
}
