#ifndef BOOT_COMPARE_H
#define BOOT_COMPARE_H

#include "client/Failure.h"
#include "jovctl/PastBoots.h"

/// Which modules took longer or shorter to start than in an earlier boot. Throws a Failure if a start-up did not end.
void printComparison(const PastBoot &now, const PastBoot &before, bool all, bool asJson);

#endif
