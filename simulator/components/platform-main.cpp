#include "components/PlainCrash.h"
#include "components/PlatformComponent.h"

#include <jov/JovApplication.h>

int main(int argc, char **argv)
{
    crashPlainly();
    JovApplication application(argc, argv);
    PlatformComponent component;
    return application.exec();
}
