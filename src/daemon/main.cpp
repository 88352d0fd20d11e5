#include "daemon/RunManager.h"

int main(int argc, char **argv)
{
    return runDaemon(argc, argv);
}
