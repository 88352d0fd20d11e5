#include "supervision/WaitLoop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace {

// Milliseconds by which a limit's timer can be late on a busy machine, and what is then granted.
constexpr int late = 1000;
constexpr int graceTime = 200;

} // namespace

WaitLoop::Outcome WaitLoop::waitUntil(const std::function<bool()> &reached, int limit)
{
    QElapsedTimer elapsed;
    elapsed.start();
    bool limitPassed = false;
    bool granted = false;
    if (reached()) {
        return limit == 0 ? Outcome::TimedOut : Outcome::Reached;
    }

    const int level = ++m_depth;
    // GLib's dispatcher takes the events that came in one batch with the current one for handled, and would sleep
    // although they are pending.
    QCoreApplication::sendPostedEvents();
    QEventLoop loop;
    // Only the innermost wait tests itself: a lower one that kept quitting would keep the upper one from ever sleeping.
    bool quits = false;
    const auto ends = [&] { return !quits && level == m_depth && reached(); };
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, &loop, [&] {
        if (ends()) {
            quits = true;
            loop.quit();
        }
    });
    // After a turn, so that what follows the wait is sent together with what has ended it.
    connect(dispatcher, &QAbstractEventDispatcher::awake, &loop, [&, dispatcher] {
        if (ends()) {
            quits = true;
            // What is pending comes before what follows the wait. The turn inside takes back an interruption of the
            // turn around it, which would sleep: so it comes first.
            dispatcher->processEvents(QEventLoop::EventLoopExec);
            loop.quit();
        }
    });
    QTimer limitTimer;
    limitTimer.setSingleShot(true);
    limitTimer.setTimerType(Qt::PreciseTimer);
    connect(&limitTimer, &QTimer::timeout, &loop, [&] {
        if (!granted && elapsed.elapsed() > limit + late) {
            // The process was stopped, or busy: what happened in time is still to be read.
            granted = true;
            limitTimer.start(graceTime);
            return;
        }
        limitPassed = true;
        loop.quit();
    });
    if (limit >= 0) {
        limitTimer.start(limit);
    }
    loop.exec();
    if (--m_depth == 0) {
        Q_EMIT idle();
    }

    if (limitPassed) {
        return Outcome::TimedOut;
    }
    // The loop was left without a reason of its own: the application's own loop is ending, and every other with it.
    return reached() ? Outcome::Reached : Outcome::Released;
}
