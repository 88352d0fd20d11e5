#include "jovctl/PastBoots.h"

#include "client/Failure.h"
#include "client/Units.h"
#include "contract/ExitText.h"
#include "history/BootIdentity.h"
#include "root/PlatformIni.h"
#include "system/RegularFile.h"

#include <QDateTime>
#include <QJsonArray>

#include <algorithm>

namespace Cause = History::Cause;
namespace Key = History::Key;

namespace {

constexpr qint64 most = 64LL * 1024 * 1024; // bytes: the largest history_size

bool isKind(const QJsonObject &record, QLatin1String kind)
{
    return record[Key::kind].toString() == kind;
}

void take(PastBoot &boot, const QJsonObject &record)
{
    if (boot.start.isEmpty()) {
        boot.start = record;
    }
    boot.last = record;
    boot.isUntaken = boot.isUntaken || isKind(record, History::Kind::untaken);
    if (record.contains(Key::cause)) {
        // The record of the end has the first cause again, and a later part of the log.
        boot.reason = record;
        boot.cause = record[Key::cause].toString();
    }
    if (record.contains(Key::boot)) {
        boot.timing = record[Key::boot].toObject();
    }
}

QByteArray contentOf(const QString &path, bool mayBeMissing)
{
    RegularFile file(path);
    const std::optional<QByteArray> text = file.read(most);
    if (!text && !(mayBeMissing && file.result() == RegularFile::Result::Missing)) {
        throw Failure(ExitStatus::Failed, QStringLiteral("cannot read the history %1: %2").arg(path, file.errorText()));
    }
    return text.value_or(QByteArray());
}

QString memoryText(const QJsonObject &reason)
{
    return QStringLiteral("%1 used %2 of memory, its limit is %3 (excess %4)")
        .arg(reason[Key::module].toString(), Units::memory(qint64(reason[Key::size].toDouble())),
             Units::memory(qint64(reason[Key::ceiling].toDouble())))
        .arg(reason[Key::count].toInt());
}

QHash<QString, QStringList> dependenciesOf(const QJsonObject &timing)
{
    const auto nameOf = [modules = timing[Key::modules].toArray()](const QJsonValue &index) {
        return modules.at(index.toInt(-1))[0].toString();
    };
    QHash<QString, QStringList> dependencies;
    const QJsonArray rows = timing[Key::dependencies].toArray();
    for (const QJsonValue &value : rows) {
        QJsonArray row = value.toArray();
        QStringList &names = dependencies[nameOf(row.takeAt(0))];
        for (const QJsonValue &index : qAsConst(row)) {
            names << nameOf(index);
        }
    }
    return dependencies;
}

} // namespace

QString PastBoot::timeOf(const QJsonObject &record)
{
    const QDateTime time = QDateTime::fromString(record[Key::time].toString(), Qt::ISODateWithMs).toLocalTime();
    return time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
        + (record[Key::clockOk].toBool(true) ? QString() : QStringLiteral(" (clock not set)"));
}

QString PastBoot::text() const
{
    const QString module = reason[Key::module].toString();
    if (cause == Cause::crash) {
        return QStringLiteral("%1 crashed, %2").arg(module, exitText(reason[Key::signal].toInt(), true));
    }
    if (cause == Cause::stopTimeout) {
        return QStringLiteral("%1 did not stop in time and was killed").arg(module);
    }
    if (cause == Cause::memory) {
        return memoryText(reason);
    }
    if (cause == Cause::presentation) {
        return QStringLiteral("the web client did not show its presentation in time");
    }
    if (cause == Cause::settings) {
        return QStringLiteral("the check of the mandatory settings failed (%1)").arg(reason[Key::by].toString());
    }
    if (cause == Cause::files) {
        return QStringLiteral("the daemon could not use its files");
    }
    if (cause == Cause::order) {
        return QStringLiteral("the daemon was stopped by %1")
            .arg(reason[Key::by].toString() == QLatin1String("bus") ? QStringLiteral("a call over the bus")
                                                                    : reason[Key::by].toString());
    }
    if (cause == Cause::power) {
        return QStringLiteral("power lost or rebooted by somebody else");
    }
    if (cause == Cause::killed) {
        return QStringLiteral("the supervisor was killed");
    }
    return cause;
}

std::optional<qint64> PastBoot::duration() const
{
    if (reason.isEmpty()) {
        return std::nullopt;
    }
    return qint64(last[Key::uptime].toDouble() - start[Key::uptime].toDouble());
}

BootRecord PastBoot::record() const
{
    const auto time = [](const QJsonValue &value) { return quint64(value.toDouble()); };
    BootRecord record;
    record.isKnown = record.isComplete = !timing.isEmpty();
    record.total = time(timing[Key::total]);
    record.homepage = time(timing[Key::homepage]);
    const QJsonArray steps = timing[Key::steps].toArray();
    for (const QJsonValue &value : steps) {
        BootStep step;
        step.name = value[0].toString();
        step.value = value[1].toInt();
        step.started = time(value[2]);
        step.until = time(value[3]);
        step.isDone = step.until > 0;
        record.steps << step;
    }
    const QJsonArray modules = timing[Key::modules].toArray();
    for (const QJsonValue &value : modules) {
        const int step = value[1].toInt(-1);
        if (step >= 0 && step < record.steps.size()) {
            BootModule module;
            module.name = value[0].toString();
            module.step = record.steps[step].name;
            module.launched = time(value[2]);
            const double settled = value[3].toDouble();
            module.isReady = settled > 0;
            module.until = qMax(module.launched, settled == 0 ? record.total : quint64(qAbs(settled)));
            record.steps[step].modules << module;
        }
    }
    for (BootStep &step : record.steps) {
        std::stable_sort(step.modules.begin(), step.modules.end(),
                         [](const BootModule &one, const BootModule &other) { return one.launched < other.launched; });
    }
    if (timing.contains(Key::dependencies)) {
        markCriticalChain(record, dependenciesOf(timing));
    }
    return record;
}

QList<PastBoot> pastBootsOf(const HistoryRecords &records, const QString &bootId)
{
    QList<PastBoot> boots;
    for (const QJsonObject &record : records) {
        if (boots.isEmpty() || isKind(record, History::Kind::start)) {
            if (!boots.isEmpty() && boots.first().cause.isEmpty()) {
                boots.first().cause = record[Key::previous].toString();
            }
            boots.prepend({});
        }
        take(boots.first(), record);
    }
    if (!boots.isEmpty() && boots.first().cause.isEmpty() && boots.first().last[Key::bootId].toString() != bootId) {
        boots.first().cause = Cause::power; // and no daemon has been started since
    }
    return boots;
}

QList<PastBoot> readPastBoots()
{
    const QString path = HistoryText::pathOf(PlatformIni::section(QStringLiteral("ApplicationManager")));
    if (path.isEmpty()) {
        throw Failure(ExitStatus::Failed, QStringLiteral("history_file is empty in platform.ini: there is no history"));
    }
    const QByteArray text = contentOf(path + History::oldSuffix, true) + '\n' + contentOf(path, false);
    QList<PastBoot> boots = pastBootsOf(HistoryText::parse(text), BootIdentity::bootId());
    if (boots.isEmpty()) {
        throw Failure(ExitStatus::Failed, QStringLiteral("the history %1 has no records").arg(path));
    }
    return boots;
}

QJsonObject readNewestRecord()
{
    const QString path = HistoryText::pathOf(PlatformIni::section(QStringLiteral("ApplicationManager")));
    for (const QString &name : {path, path + History::oldSuffix}) {
        const QByteArray text = RegularFile(name).read(most).value_or(QByteArray());
        const HistoryRecords records = HistoryText::parse(text.right(2 * HistoryText::longestWithBoot));
        if (!records.isEmpty()) {
            return records.last();
        }
    }
    return {};
}

const PastBoot &bootBefore(const QList<PastBoot> &boots, const QStringList &operands)
{
    bool isNumber = true;
    const int number = operands.isEmpty() ? 1 : operands.first().toInt(&isNumber);
    if (!isNumber || number < 1) {
        throw Failure(ExitStatus::Usage,
                      QStringLiteral("\"%1\" is not a number of boots, 1 or more").arg(operands.first()));
    }
    if (number >= boots.size()) {
        throw Failure(ExitStatus::Failed,
                      QStringLiteral("the history has %1 boots before this one").arg(boots.size() - 1));
    }
    return boots.at(number);
}
