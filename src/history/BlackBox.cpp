#include "history/BlackBox.h"

#include "contract/HistoryNames.h"
#include "history/BootIdentity.h"
#include "logger/RecentLines.h"
#include "logger/WriteNow.h"

#include <jov/Log.h>

#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QSysInfo>

#include <cerrno>
#include <ctime>

namespace Key = History::Key;

namespace {

constexpr int readMost = 64 * 1024; // two of the longest records, and more
constexpr int notWritten = 128; // added to the error's number
constexpr int mostModules = 32; // of each cause: every record has them
constexpr int mostReboots = 1; // records: one of each kind makes five
/// A clock that shows an earlier time was not set: there was no such program then.
const QDateTime firstPossibleTime(QDate(2026, 1, 1), QTime(0, 0), Qt::UTC);

qint64 uptime()
{
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return time.tv_sec;
}

QJsonArray recentLines()
{
    QJsonArray lines;
    for (const QByteArray &line : recentLogLines()) {
        lines << QString::fromUtf8(line);
    }
    return lines;
}

} // namespace

BlackBox::BlackBox(std::function<int()> step)
    : BlackBox(std::move(step), Limits())
{ }

BlackBox::BlackBox(std::function<int()> step, Limits limits)
    : m_step(std::move(step))
    , m_limits(limits)
{
    m_hangTimer.setSingleShot(true);
    m_hangTimer.setInterval(m_limits.hang);
    connect(&m_hangTimer, &QTimer::timeout, this, &BlackBox::hang);
    connect(&m_task, &ForkedTask::done, this, &BlackBox::taskDone);
}

void BlackBox::begin(const QString &path, int size)
{
    const HistoryRing ring(QFile::encodeName(path), off_t(size) * 1024);
    if (ring.file == m_ring.file) {
        m_ring.half = ring.half;
        return;
    }
    flush();
    m_ring = ring;
    m_state = State::Off;
    m_queue.clear();
    m_isWarned = false;
    if (path.isEmpty() || m_task.isRunning()) {
        return;
    }
    m_state = State::Reading;
    m_hangTimer.start();
    add(History::Kind::start, {{Key::kernel, QSysInfo::kernelVersion()}, {Key::system, BootIdentity::systemVersion()}});
    if (!m_task.start([this](int output) { return readAndBegin(output); })) {
        warn("read", qt_error_string(errno));
        m_hangTimer.stop();
        m_state = State::Ready;
        writeNext();
    }
}

/// In the process of the task: one does for both, because each costs the start-up a copy of the daemon.
int BlackBox::readAndBegin(int output)
{
    QByteArray text;
    const int readError = m_ring.readTail(text, readMost);
    if (ForkedTask::isCutOff()) {
        return readError; // After that wait a record would have no end.
    }
    readPrevious(text);
    const int error = m_ring.append(HistoryText::lineOf(nextRecord()));
    const std::size_t sent = writeAll(output, text.constData(), std::size_t(text.size()));
    static_cast<void>(sent); // The daemon does without what it does not take.
    return readError != 0 || error == 0 ? readError : error | notWritten;
}

void BlackBox::noteStarted(const QJsonObject &boot)
{
    if (!m_startedNoted) {
        m_startedNoted = true;
        add(History::Kind::started, {{Key::boot, boot}});
    }
}

void BlackBox::noteFailed(const QVariantMap &reason)
{
    noteReason(reason);
    if (!m_startedNoted) {
        m_startedNoted = true;
        add(History::Kind::started, QJsonObject::fromVariantMap(reason));
    }
}

void BlackBox::noteReason(const QVariantMap &reason)
{
    if (m_reason.isEmpty()) {
        m_reason = reason;
    }
}

void BlackBox::noteReboot(const QVariantMap &reason)
{
    noteReason(reason);
    if (++m_reboots <= mostReboots) {
        add(History::Kind::reboot, QJsonObject::fromVariantMap(reason));
        flush();
    }
}

void BlackBox::noteUntaken()
{
    if (!m_untakenNoted) {
        m_untakenNoted = true;
        add(History::Kind::untaken, {});
    }
}

void BlackBox::noteEnd()
{
    if (m_state != State::Off) {
        add(History::Kind::end, QJsonObject::fromVariantMap(m_reason));
        flush();
    }
}

void BlackBox::add(const QString &kind, QJsonObject record)
{
    if (m_state == State::Off) {
        return;
    }
    const QDateTime now = QDateTime::currentDateTimeUtc();
    record[Key::version] = History::version;
    record[Key::kind] = kind;
    record[Key::time] = now.toString(Qt::ISODateWithMs);
    record[Key::clockOk] = now >= firstPossibleTime;
    record[Key::bootId] = BootIdentity::bootId();
    record[Key::uptime] = uptime();
    record[Key::program] = QStringLiteral(JOV_VERSION);
    record[Key::step] = m_step();
    if (record.contains(Key::cause)) {
        record[Key::log] = recentLines();
    }
    m_queue.enqueue(record);
    writeNext();
}

void BlackBox::writeNext()
{
    if (m_state != State::Ready || m_queue.isEmpty() || m_task.isRunning()) {
        return;
    }
    const QJsonObject record = nextRecord();
    m_hangTimer.start();
    if (!m_task.start([this, &record](int) { return m_ring.append(HistoryText::lineOf(record)); })) {
        taskDone({}, errno);
    }
}

QJsonObject BlackBox::nextRecord()
{
    QJsonObject record = m_queue.dequeue();
    complete(record);
    return record;
}

/// With what only the records before it tell.
void BlackBox::complete(QJsonObject &record)
{
    if (record[Key::kind].toString() == History::Kind::start && !m_previousCause.isEmpty()) {
        record[Key::previous] = m_previousCause;
        if (m_previousCause == History::Cause::power || m_previousCause == History::Cause::killed) {
            count(m_previousCause);
        }
    }
    if (record.contains(Key::cause) && !m_isCounted) {
        m_isCounted = true;
        count(record[Key::cause].toString(), record[Key::module].toString());
    }
    record[Key::totals] = m_totals;
    if (!m_moduleTotals.isEmpty()) {
        record[Key::moduleTotals] = m_moduleTotals;
    }
}

void BlackBox::count(const QString &cause, const QString &module)
{
    m_totals[cause] = m_totals[cause].toInt() + 1;
    QJsonObject modules = m_moduleTotals[cause].toObject();
    if (!module.isEmpty() && (modules.contains(module) || modules.size() < mostModules)) {
        modules[module] = modules[module].toInt() + 1;
        m_moduleTotals[cause] = modules;
    }
}

void BlackBox::taskDone(const QByteArray &output, int error)
{
    m_hangTimer.stop();
    const bool isReading = m_state == State::Reading;
    if (error != 0) {
        warn(isReading && (error & notWritten) == 0 ? "read" : "written", qt_error_string(error & ~notWritten));
    }
    if (isReading) {
        readPrevious(output);
        nextRecord(); // It is written; what it counts is in the totals from now on.
        m_state = State::Ready;
    }
    writeNext();
}

void BlackBox::readPrevious(const QByteArray &text)
{
    const HistoryRecords records = HistoryText::parseLastEnd(text);
    if (!records.isEmpty()) {
        m_totals = records.last()[Key::totals].toObject();
        m_moduleTotals = records.last()[Key::moduleTotals].toObject();
        m_previousCause = HistoryText::causeOfLastEnd(records, BootIdentity::bootId());
    }
}

void BlackBox::hang()
{
    warn(m_state == State::Reading ? "read" : "written", QStringLiteral("the disk does not answer"));
    m_state = State::Off;
    m_queue.clear();
    m_task.cutOff();
}

void BlackBox::warn(const char *what, const QString &why)
{
    if (!m_isWarned) {
        m_isWarned = true;
        Log::warning("history: %1 cannot be %2: %3", QFile::decodeName(m_ring.file), what, why);
    }
}

void BlackBox::flush()
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (m_task.isRunning() && m_task.wait(qMax(0, m_limits.reboot - int(elapsed.elapsed())))) { }
}
