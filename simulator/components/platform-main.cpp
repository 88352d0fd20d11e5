#include "JovApplication.h"
#include "PlatformComponent.h"

int main(int argc, char **argv)
{
    JovApplication application(argc, argv);
    PlatformComponent component;
    return application.exec();
}
