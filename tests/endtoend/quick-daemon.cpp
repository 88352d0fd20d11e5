#include "daemon/RunManager.h"

/// The daemon, with a shorter patience for its modules, so that a test need not wait for half a minute.
int main(int argc, char **argv)
{
    ManagerTiming timing;
    timing.module.stop = 600;
    timing.module.stopWithEverything = 300;
    timing.module.presentation = 500;
    return runDaemon(argc, argv, timing);
}
