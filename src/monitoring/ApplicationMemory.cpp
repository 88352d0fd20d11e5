#include "monitoring/ApplicationMemory.h"

#include "catalogue/Catalogue.h"
#include "contract/Components.h"
#include "monitoring/ProcReader.h"

#include <jov/Log.h>

qint64 virtualSize(const ApplicationRecord &record, const ProcReader &reader)
{
    Log::debug("getMemoryUsage %1", record.getName());
    return reader.memoryUsage(record.processId(), QStringLiteral("status"), QStringLiteral("VmSize"));
}

bool enoughMemory(const Catalogue &catalogue, const ProcReader &reader)
{
    const qint64 total = reader.totalMemory();
    qint64 used = 0;
    qint64 percentage = 0;
    MemoryCeiling ceiling;
    if (const ApplicationRecord *record = catalogue.find(Components::webClient)) {
        ceiling = record->getMaxMemory();
        used = virtualSize(*record, reader);
        percentage = MemoryCeiling::percentage(used, total);
    }
    const bool enough = !ceiling.isExceeded(used, total);
    Log::debug("enoughMemory JovWebClient vmSize=%1 totalSize=%2 percentage=%3 maxSize=%4 result=%5", used, total,
               percentage, ceiling.figure(), enough);
    return enough;
}
