#include "components/PlainCrash.h"
#include "components/SettingsComponent.h"

#include <jov/JovApplication.h>

int main(int argc, char **argv)
{
    crashPlainly();
    JovApplication application(argc, argv);
    SettingsComponent component;
    return application.exec();
}
