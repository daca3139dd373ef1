#include "shell/application.h"

int main(int argc, char **argv)
{
    return velmara::RunDesktop(argc, argv);
}
