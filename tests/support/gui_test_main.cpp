// The main of test programs that show windows: offscreen unless a display is named for them.
#include "support/TestMain.h"

#include <QGuiApplication>

#if defined(__SANITIZE_ADDRESS__)
// Qt Quick (Debian 12's Qt 6.4) leaves images that a style tints (QQuickColorImage) in its pixmap
// cache, through their texture factory, until the process ends, and on an X display libdbus keeps
// a read buffer of Qt's session-bus thread; no code of ours can free them.
// Each entry names a Qt function deep in the report's stack, never one of ours; matching that
// deep needs whole allocation stacks, as Qt's libraries have no frame pointers to unwind fast.
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:QQuickPixmap::setImage\n"
           "leak:QQuickTextureFactory::textureFactoryForImage\n"
           "leak:QSGRenderContext::textureForFactory\n"
           "leak:_dbus_read\n";
}
extern "C" const char *__asan_default_options()
{
    return "fast_unwind_on_malloc=0";
}
#endif

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    return runTestsInPrivateHome<QGuiApplication>(argc, argv);
}
