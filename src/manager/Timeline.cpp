#include "manager/Timeline.h"

#include <algorithm>

namespace {

bool isEarlier(const Timeline::Entry &left, const Timeline::Entry &right)
{
    return left.time < right.time;
}

} // namespace

void Timeline::beginStartUp()
{
    const std::vector<Entry> all = entries();
    m_others.assign(all.begin(), all.end());
    m_startUp.clear();
    m_startingUp = true;
}

void Timeline::add(const Entry &entry)
{
    if (m_startingUp && m_startUp.size() < capacity / 4 * 3) {
        m_startUp.push_back(entry);
    } else {
        m_others.push_back(entry);
    }
    makeRoom();
}

void Timeline::makeRoom()
{
    while (m_startUp.size() + m_others.size() > capacity) {
        m_others.pop_front();
    }
}

std::vector<Timeline::Entry> Timeline::entries() const
{
    std::vector<Entry> all;
    all.reserve(m_startUp.size() + m_others.size());
    std::merge(m_others.begin(), m_others.end(), m_startUp.begin(), m_startUp.end(), std::back_inserter(all),
               isEarlier);
    return all;
}
