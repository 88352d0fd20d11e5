#include "supervision/WaitLoop.h"

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

WaitLoop::Outcome WaitLoop::waitUntil(const std::function<bool()> &reached, int limit)
{
    QElapsedTimer elapsed;
    elapsed.start();
    bool limitPassed = false;
    const auto inTime = [&] { return limit < 0 || (!limitPassed && elapsed.elapsed() < limit); };
    if (reached()) {
        return inTime() ? Outcome::Reached : Outcome::TimedOut;
    }

    const int level = ++m_depth;
    QEventLoop loop;
    // Only the innermost wait tests itself: a lower one that kept quitting would keep the upper one from ever sleeping.
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, &loop, [&] {
        if (level == m_depth && reached()) {
            loop.quit();
        }
    });
    QTimer limitTimer;
    limitTimer.setSingleShot(true);
    limitTimer.setTimerType(Qt::PreciseTimer);
    connect(&limitTimer, &QTimer::timeout, &loop, [&] {
        limitPassed = true;
        loop.quit();
    });
    if (limit >= 0) {
        limitTimer.start(limit);
    }
    // GLib's dispatcher takes the events that came in one batch with the current one for handled, and would sleep
    // although they are pending.
    QAbstractEventDispatcher::instance()->wakeUp();
    loop.exec();
    if (--m_depth == 0) {
        Q_EMIT idle();
    }

    // The loop was left without a reason of its own: the application's own loop is ending, and every other with it.
    const bool ending = inTime() && !reached();
    return ending ? Outcome::Released : inTime() ? Outcome::Reached : Outcome::TimedOut;
}
