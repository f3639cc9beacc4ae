#include "support/TestMain.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    return runTestsInPrivateHome<QCoreApplication>(argc, argv);
}
