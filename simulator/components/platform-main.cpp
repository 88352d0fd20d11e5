#include "JovApplication.h"
#include "PlainCrash.h"
#include "PlatformComponent.h"

int main(int argc, char **argv)
{
    crashPlainly();
    JovApplication application(argc, argv);
    PlatformComponent component;
    return application.exec();
}
