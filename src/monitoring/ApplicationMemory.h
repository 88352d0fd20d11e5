#ifndef APPLICATION_MEMORY_H
#define APPLICATION_MEMORY_H

#include <QtGlobal>

class ApplicationRecord;
class Catalogue;
class ProcReader;

/// What the watchdog compares: an application's virtual size, in kB. 0 when it does not run.
[[nodiscard]] qint64 virtualSize(const ApplicationRecord &record, const ProcReader &reader);

/// Whether the web client is within its limit; also true when there is no web client.
[[nodiscard]] bool enoughMemory(const Catalogue &catalogue, const ProcReader &reader);

#endif
