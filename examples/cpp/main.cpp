#include "Hello.h"

#include <jov/JovApplication.h>

int main(int argc, char **argv)
{
    JovApplication application(argc, argv);
    Hello hello;
    return application.exec();
}
