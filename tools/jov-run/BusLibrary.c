#include "BusLibrary.h"

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

struct BusLibrary bus;

bool loadBusLibrary(void)
{
    void *library = dlopen("libdbus-1.so.3", RTLD_NOW | RTLD_LOCAL);
    void *symbol = NULL;
    if (library
#define X(name) &&(symbol = dlsym(library, "dbus_" #name)) && memcpy(&bus.name, &symbol, sizeof symbol)
            BUS_FUNCTIONS(X)
#undef X
    ) {
        return true;
    }
    fprintf(stderr, "jov-run: %s\n", dlerror());
    return false;
}
