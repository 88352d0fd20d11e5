#include "monitoring/ApplicationMemory.h"

#include "catalogue/Catalogue.h"
#include "monitoring/MemoryLimit.h"
#include "monitoring/ProcReader.h"

#include <jov/Log.h>

qint64 virtualSize(const Catalogue &catalogue, const ProcReader &reader, const QString &name)
{
    Log::debug("getMemoryUsage %1", name);
    return reader.memoryUsage(catalogue.getApplicationID(name), QStringLiteral("status"), QStringLiteral("VmSize"));
}

bool enoughMemory(const Catalogue &catalogue, const ProcReader &reader)
{
    const QString webClient = QStringLiteral("JovWebClient");
    const qint64 total = reader.totalMemory();
    qint64 used = 0;
    qint64 percentage = 0;
    int limit = 0;
    if (const ApplicationRecord *record = catalogue.find(webClient)) {
        limit = record->getMaxMemory();
        used = virtualSize(catalogue, reader, webClient);
        percentage = MemoryLimit::percentage(used, total);
    }
    const bool enough = !MemoryLimit::exceeded(limit, used, percentage);
    Log::debug("enoughMemory JovWebClient vmSize=%1 totalSize=%2 percentage=%3 maxSize=%4 result=%5", used, total,
               percentage, limit, enough);
    return enough;
}
