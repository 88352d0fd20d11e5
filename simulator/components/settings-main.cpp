#include "JovApplication.h"
#include "PlainCrash.h"
#include "SettingsComponent.h"

int main(int argc, char **argv)
{
    crashPlainly();
    JovApplication application(argc, argv);
    SettingsComponent component;
    return application.exec();
}
