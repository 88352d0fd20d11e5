#include "JovApplication.h"
#include "SettingsComponent.h"

int main(int argc, char **argv)
{
    JovApplication application(argc, argv);
    SettingsComponent component;
    return application.exec();
}
