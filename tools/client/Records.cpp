#include "client/Records.h"

#include "contract/InspectionNames.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QHash>

#include <algorithm>

namespace Key = Inspect::Key;

namespace {

template <typename Record>
using Setter = void (*)(Record &, const QVariant &);

template <typename Record>
using Setters = QHash<QString, Setter<Record>>;

/// Reads the maps value by value: a QVariantMap for each record would cost more than all other work of `jovctl list`.
template <typename Record>
QList<Record> readRecords(const QDBusMessage &reply, const Setters<Record> &setters)
{
    QList<Record> records;
    const QVariant first = reply.arguments().value(0);
    if (first.userType() != qMetaTypeId<QDBusArgument>()) {
        return records;
    }
    const auto argument = first.value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1String("aa{sv}")) {
        return records;
    }
    argument.beginArray();
    while (!argument.atEnd()) {
        Record record;
        argument.beginMap();
        while (!argument.atEnd()) {
            QString key;
            QDBusVariant value;
            argument.beginMapEntry();
            argument >> key >> value;
            argument.endMapEntry();
            if (const Setter<Record> set = setters.value(key)) {
                set(record, value.variant());
            }
        }
        argument.endMap();
        records << record;
    }
    argument.endArray();
    return records;
}

} // namespace

void ModuleInfo::setState(const QString &text)
{
    stateText = text;
    state = stateOf(text);
}

ModuleList readModules(const QDBusMessage &reply)
{
    static const Setters<ModuleInfo> setters{
        {Key::name, [](ModuleInfo &m, const QVariant &v) { m.name = v.toString(); }},
        {Key::step, [](ModuleInfo &m, const QVariant &v) { m.step = v.toString(); }},
        {Key::state, [](ModuleInfo &m, const QVariant &v) { m.setState(v.toString()); }},
        {Key::status, [](ModuleInfo &m, const QVariant &v) { m.status = v.toString(); }},
        {Key::pid, [](ModuleInfo &m, const QVariant &v) { m.pid = v.toUInt(); }},
        {Key::starts, [](ModuleInfo &m, const QVariant &v) { m.starts = v.toUInt(); }},
        {Key::maxMemory, [](ModuleInfo &m, const QVariant &v) { m.maxMemory = MemoryCeiling(v.toInt()); }},
        {Key::exits, [](ModuleInfo &m, const QVariant &v) { m.exits = v.toUInt(); }},
        {Key::exitsBySignal, [](ModuleInfo &m, const QVariant &v) { m.exitsBySignal = v.toUInt(); }},
        {Key::exitCode, [](ModuleInfo &m, const QVariant &v) { m.exitCode = v.toInt(); }},
        {Key::exitedBySignal, [](ModuleInfo &m, const QVariant &v) { m.exitedBySignal = v.toBool(); }},
        {Key::dependencies, [](ModuleInfo &m, const QVariant &v) { m.dependencies = v.toStringList(); }},
        {Key::dependents, [](ModuleInfo &m, const QVariant &v) { m.dependents = v.toStringList(); }},
        {Key::launchedAt, [](ModuleInfo &m, const QVariant &v) { m.launchedAt = v.toULongLong(); }},
        {Key::readyAt, [](ModuleInfo &m, const QVariant &v) { m.readyAt = v.toULongLong(); }},
        {Key::exitedAt, [](ModuleInfo &m, const QVariant &v) { m.exitedAt = v.toULongLong(); }}};
    return readRecords(reply, setters);
}

StepList readSteps(const QDBusMessage &reply)
{
    static const Setters<StepInfo> setters{
        {Key::name, [](StepInfo &s, const QVariant &v) { s.name = v.toString(); }},
        {Key::value, [](StepInfo &s, const QVariant &v) { s.value = v.toInt(); }},
        {Key::showHomepage, [](StepInfo &s, const QVariant &v) { s.showHomepage = v.toBool(); }},
        {Key::modules, [](StepInfo &s, const QVariant &v) { s.modules = v.toStringList(); }},
        {Key::startedAt, [](StepInfo &s, const QVariant &v) { s.startedAt = v.toULongLong(); }},
        {Key::doneAt, [](StepInfo &s, const QVariant &v) { s.doneAt = v.toULongLong(); }}};
    return readRecords(reply, setters);
}

TimelineList readTimeline(const QDBusMessage &reply)
{
    static const Setters<TimelineEntry> setters{
        {Key::time, [](TimelineEntry &e, const QVariant &v) { e.time = v.toULongLong(); }},
        {Key::event, [](TimelineEntry &e, const QVariant &v) { e.event = v.toString(); }},
        {Key::name, [](TimelineEntry &e, const QVariant &v) { e.name = v.toString(); }}};
    return readRecords(reply, setters);
}

const ModuleInfo *findModule(const ModuleList &modules, const QString &name)
{
    const auto found =
        std::find_if(modules.begin(), modules.end(), [&](const ModuleInfo &module) { return module.name == name; });
    return found == modules.end() ? nullptr : &*found;
}

QStringList moduleNames(const ModuleList &modules)
{
    QStringList names;
    for (const ModuleInfo &module : modules) {
        names << module.name;
    }
    return names;
}
