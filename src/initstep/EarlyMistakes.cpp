#include "initstep/EarlyMistakes.h"

#include "catalogue/Catalogue.h"

#include <jov/Log.h>

#include <QHash>

#include <algorithm>

namespace {

/// What each module waits for before it can be launched ahead. No entry: the step of the module decides.
using Needs = QHash<QString, QStringList>;

Needs needsOf(const Catalogue &catalogue)
{
    Needs needs;
    for (const auto &[name, record] : catalogue.applicationMap) {
        if (!record) {
            continue;
        }
        QStringList &own = needs[name];
        for (const QString &dependency : record->getDependencies()) {
            // Missing only in a module that no step holds.
            own << (catalogue.find(dependency) ? QStringList(dependency) : QStringList());
        }
        const std::optional<ApplicationRecord::Early> early = record->getEarly();
        for (const QString &after : early ? early->after : QStringList()) {
            if (catalogue.find(after)) {
                own << after;
            } else {
                Log::warning("Module %1 : early after '%2', which is not installed", name, after);
            }
        }
    }
    return needs;
}

/// Removes what waits for nobody, then what waited only for that, and so on. Circles are left, and what waits for one.
void removeFree(Needs &needs)
{
    QMultiHash<QString, QString> waiting;
    QHash<QString, int> missing;
    QStringList free;
    for (auto module = needs.cbegin(); module != needs.cend(); ++module) {
        missing.insert(module.key(), module->size());
        for (const QString &need : *module) {
            waiting.insert(need, module.key());
        }
        if (module->isEmpty()) {
            free << module.key();
        }
    }
    while (!free.isEmpty()) {
        const QString name = free.takeLast();
        needs.remove(name);
        for (auto other = waiting.constFind(name); other != waiting.cend() && other.key() == name; ++other) {
            if (--missing[*other] == 0) {
                free << *other;
            }
        }
    }
}

/// The circle that is reached from a module; each one waits for the next, and the last is the first again.
QStringList circleFrom(const Needs &needs, const QString &module)
{
    QStringList path{module};
    QHash<QString, int> places{{module, 0}};
    for (;;) {
        const QStringList &own = *needs.constFind(path.constLast());
        const auto next =
            std::find_if(own.cbegin(), own.cend(), [&needs](const QString &name) { return needs.contains(name); });
        const auto place = places.constFind(*next);
        path << *next;
        if (place != places.cend()) {
            return path.mid(*place);
        }
        places.insert(*next, path.size() - 1);
    }
}

} // namespace

void warnOfEarlyMistakes(const Catalogue &catalogue)
{
    Needs needs = needsOf(catalogue);
    for (removeFree(needs); !needs.isEmpty(); removeFree(needs)) {
        QStringList circle = circleFrom(needs, *std::min_element(needs.keyBegin(), needs.keyEnd()));
        circle.removeLast();
        std::rotate(circle.begin(), std::min_element(circle.begin(), circle.end()), circle.end());
        circle << circle.constFirst();
        const auto isEarly = [&catalogue](const QString &name) { return catalogue.find(name)->getEarly().has_value(); };
        if (std::any_of(circle.cbegin(), circle.cend(), isEarly)) {
            Log::warning("Module %1 : early in a circle : %2", circle.constFirst(), circle.join(QLatin1Char(';')));
        }
        // Cut here, for the next one.
        needs.insert(circle.constFirst(), {});
    }
}
