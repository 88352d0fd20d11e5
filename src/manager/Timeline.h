#ifndef TIMELINE_H
#define TIMELINE_H

#include <QString>

#include <deque>
#include <vector>

/**
 * What happened, in order, and no more of it than a fixed number of entries.
 *
 * The entries of the last start-up outlive newer ones: how the terminal came up can still be asked after weeks in which
 * a module was restarted every minute. What comes before and after it makes room, oldest first.
 */
class Timeline
{
public:
    struct Entry
    {
        quint64 time = 0; ///< microseconds of CLOCK_MONOTONIC
        QString event;
        QString name;
    };

    static constexpr std::size_t capacity = 4096;

    /// From here on entries belong to a start-up, until endStartUp() or until they fill three quarters of the room.
    void beginStartUp();
    void endStartUp() { m_startingUp = false; }
    void add(const Entry &entry);

    /// By time.
    [[nodiscard]] std::vector<Entry> entries() const;

private:
    void makeRoom();

    std::vector<Entry> m_startUp;
    std::deque<Entry> m_others;
    bool m_startingUp = false;
};

#endif
