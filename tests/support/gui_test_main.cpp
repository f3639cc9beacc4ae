// The main of test programs that show windows: offscreen unless a display is named for them.
#include "support/TestMain.h"

#include <QGuiApplication>

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    return runTestsInPrivateHome<QGuiApplication>(argc, argv);
}
