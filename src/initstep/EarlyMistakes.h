#ifndef EARLY_MISTAKES_H
#define EARLY_MISTAKES_H

class Catalogue;

/**
 * Warns of early modules that wait for a module that is not installed, or, through others, for themselves.
 *
 * Neither blocks a start: the first is ignored, and a module in a circle is started by the walk. To be called when the
 * forests are built, so that the dependencies are known to form no circle of their own.
 */
void warnOfEarlyMistakes(const Catalogue &catalogue);

#endif
