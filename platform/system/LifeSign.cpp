#include "system/LifeSign.h"

#include <utility>

namespace LifeSign {

namespace {

std::function<void()> &current()
{
    static std::function<void()> sign;
    return sign;
}

} // namespace

void set(std::function<void()> sign)
{
    current() = std::move(sign);
}

void give()
{
    if (current()) {
        current()();
    }
}

} // namespace LifeSign
