#include "system/ReadersGroup.h"

#include <grp.h>

namespace {

constexpr char name[] = "jovtech";

gid_t find()
{
    const group *entry = getgrnam(name);
    return entry ? entry->gr_gid : gid_t(-1);
}

} // namespace

gid_t readersGroup()
{
    static const gid_t found = find();
    return found;
}
