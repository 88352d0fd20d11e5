#include "client/Records.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QHash>

#include <algorithm>

namespace {

template <typename Record>
using Setter = void (*)(Record &, const QVariant &);

template <typename Record>
using Setters = QHash<QString, Setter<Record>>;

/// Reads the maps one value at a time: a map of variants for each record would cost more than the whole rest.
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

ModuleList readModules(const QDBusMessage &reply)
{
    static const Setters<ModuleInfo> setters{
        {QStringLiteral("Name"), [](ModuleInfo &m, const QVariant &v) { m.name = v.toString(); }},
        {QStringLiteral("Step"), [](ModuleInfo &m, const QVariant &v) { m.step = v.toString(); }},
        {QStringLiteral("State"), [](ModuleInfo &m, const QVariant &v) { m.state = v.toString(); }},
        {QStringLiteral("Status"), [](ModuleInfo &m, const QVariant &v) { m.status = v.toString(); }},
        {QStringLiteral("Pid"), [](ModuleInfo &m, const QVariant &v) { m.pid = v.toUInt(); }},
        {QStringLiteral("Starts"), [](ModuleInfo &m, const QVariant &v) { m.starts = v.toUInt(); }},
        {QStringLiteral("MaxMemory"), [](ModuleInfo &m, const QVariant &v) { m.maxMemory = v.toInt(); }},
        {QStringLiteral("ExitCode"), [](ModuleInfo &m, const QVariant &v) { m.exitCode = v.toInt(); }},
        {QStringLiteral("Dependencies"), [](ModuleInfo &m, const QVariant &v) { m.dependencies = v.toStringList(); }},
        {QStringLiteral("Dependents"), [](ModuleInfo &m, const QVariant &v) { m.dependents = v.toStringList(); }},
        {QStringLiteral("LaunchedAt"), [](ModuleInfo &m, const QVariant &v) { m.launchedAt = v.toULongLong(); }},
        {QStringLiteral("ReadyAt"), [](ModuleInfo &m, const QVariant &v) { m.readyAt = v.toULongLong(); }},
        {QStringLiteral("ExitedAt"), [](ModuleInfo &m, const QVariant &v) { m.exitedAt = v.toULongLong(); }}};
    return readRecords(reply, setters);
}

StepList readSteps(const QDBusMessage &reply)
{
    static const Setters<StepInfo> setters{
        {QStringLiteral("Name"), [](StepInfo &s, const QVariant &v) { s.name = v.toString(); }},
        {QStringLiteral("Value"), [](StepInfo &s, const QVariant &v) { s.value = v.toInt(); }},
        {QStringLiteral("ShowHomepage"), [](StepInfo &s, const QVariant &v) { s.showHomepage = v.toBool(); }},
        {QStringLiteral("Modules"), [](StepInfo &s, const QVariant &v) { s.modules = v.toStringList(); }},
        {QStringLiteral("StartedAt"), [](StepInfo &s, const QVariant &v) { s.startedAt = v.toULongLong(); }},
        {QStringLiteral("DoneAt"), [](StepInfo &s, const QVariant &v) { s.doneAt = v.toULongLong(); }}};
    return readRecords(reply, setters);
}

TimelineList readTimeline(const QDBusMessage &reply)
{
    static const Setters<TimelineEntry> setters{
        {QStringLiteral("Time"), [](TimelineEntry &e, const QVariant &v) { e.time = v.toULongLong(); }},
        {QStringLiteral("Event"), [](TimelineEntry &e, const QVariant &v) { e.event = v.toString(); }},
        {QStringLiteral("Name"), [](TimelineEntry &e, const QVariant &v) { e.name = v.toString(); }}};
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
