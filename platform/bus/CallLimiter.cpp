#include "bus/CallLimiter.h"

namespace {

constexpr int mostSenders = 1000;
constexpr int second = 1000;

} // namespace

QByteArray CallLimiter::keyOf(const QByteArray &sender) const
{
    return m_counts.size() < mostSenders || m_counts.contains(sender) ? sender : QByteArray();
}

bool CallLimiter::admits(const QByteArray &sender)
{
    if (!m_second.isValid() || m_second.hasExpired(second)) {
        m_second.start();
        m_counts.clear();
    }
    return ++m_counts[keyOf(sender)] <= m_mostPerSecond;
}
