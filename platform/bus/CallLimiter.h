#ifndef CALL_LIMITER_H
#define CALL_LIMITER_H

#include <QByteArray>
#include <QElapsedTimer>
#include <QHash>

/**
 * Counts the method calls of each connection, second by second.
 *
 * So many senders are counted by name; those beyond share one count, so that the table stays small whoever connects.
 */
class CallLimiter
{
public:
    explicit CallLimiter(int mostPerSecond)
        : m_mostPerSecond(mostPerSecond)
    { }

    /// False for a call beyond the limit.
    [[nodiscard]] bool admits(const QByteArray &sender);

private:
    [[nodiscard]] QByteArray keyOf(const QByteArray &sender) const;

    const int m_mostPerSecond;
    QElapsedTimer m_second;
    QHash<QByteArray, int> m_counts;
};

#endif
