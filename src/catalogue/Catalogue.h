#ifndef CATALOGUE_H
#define CATALOGUE_H

#include "catalogue/ApplicationRecord.h"

#include <QString>

#include <functional>
#include <map>
#include <memory>

/**
 * The installed modules, by name, and the owner of their records.
 *
 * Empty at first; scanApplications() fills it again each time, clearApplications() empties it, and between the two it
 * does not change: a module that is installed in between is seen by the next scan. Every list comes in ascending order
 * of name.
 *
 * A cleared record may still be pointed at by nodes: destroy those first.
 */
class Catalogue
{
public:
    using Map = std::map<QString, std::unique_ptr<ApplicationRecord>>;
    /// Gives a record to the step in which it starts.
    using Place = std::function<void(ApplicationRecord &)>;

    /// The index operator leaves an empty entry; every loop skips those.
    Map applicationMap;

    /**
     * Lists the module directory, reads the configuration of each module found and hands every record to `place`.
     * False when there is no module directory. For any other type the catalogue stays empty.
     */
    bool scanApplications(ApplicationType type, const QString &ddrSize, const Place &place);

    /// The record of `name`, read when it is new; null for anything but a module.
    ApplicationRecord *addApplication(ApplicationType type, const QString &name, const QString &ddrSize);

    void clearApplications();

    /// Null when there is no such record; nothing is inserted.
    [[nodiscard]] ApplicationRecord *find(const QString &name) const;

    /// The process id in decimal; empty when there is no such application or it does not run.
    [[nodiscard]] QString getApplicationID(const QString &name) const;

    [[nodiscard]] ListApplicationConfig getModulesList() const;
    [[nodiscard]] ListApplicationConfig getApplicationsList() const;

    /// One line a record.
    [[nodiscard]] QString getModulesListInString() const;
    /// The same with an empty line at the end.
    [[nodiscard]] QString getApplicationsListInString() const;

    /// `ownRecord`, the supervisor's own, and then every module.
    [[nodiscard]] ListApplicationConfig getApplicationsForSettingsDeployment(const ApplicationConfig &ownRecord) const;

private:
    void placeAll(const Place &place);
};

#endif
