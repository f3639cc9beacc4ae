// sorvane-desktop: the desktop app. One instance per user: a later start hands its "sorvane:"
// link to the running one (or, without one, brings it to the front) and ends.

#include "desktop/ColorScheme.h"
#include "desktop/DesktopShell.h"

#include "companion/DeepLinkChannel.h"
#include "core/Constants.h"
#include "core/Context.h"
#include "core/DesktopEntries.h"
#include "core/Logger.h"
#include "core/Platform.h"
#include "core/UserDefaults.h"
#include "editing/StartupRecovery.h"
#include "frontend/SorvaneSettingsStore.h"

#include <QGuiApplication>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTextStream>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr const char *Usage =
    "Usage: sorvane-desktop [sorvane://edit-app?id=ID ...]\n"
    "\n"
    "Sorvane's window: your apps, the wizard that makes new ones, the editor and the settings.\n"
    "Only one runs per user: a later start brings it to the front and hands it its links.\n"
    "\n"
    "Options:\n"
    "  -h, --help      show this help and exit\n"
    "  -v, --version   show Sorvane's version and exit\n"
    "  --verbose       also write Sorvane's log lines to standard error\n"
    "\n"
    "`sorvane` is the command line (`sorvane --help`, `man sorvane`).\n";

// "--report-first-frame" prints how long the start took once the home screen is painted; the
// start-up benchmark reads that line.
void reportFirstFrame(QQuickWindow *window)
{
    QObject::connect(
        window, &QQuickWindow::frameSwapped, window,
        [] {
            static bool reported = false;
            if (reported)
                return;
            reported = true;
            QTextStream(stdout) << "first frame" << Qt::endl;
        },
        Qt::DirectConnection);
}

// Without a display Qt would abort in the middle of starting; say what is missing instead.
bool hasDisplay()
{
#if defined(Q_OS_LINUX)
    return !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
#else
    return true;
#endif
}

// Hands the window request and `links` to the instance already running: true when it took them,
// false when it did not answer them, nothing when no instance runs.
std::optional<bool> handOverToRunningInstance(const QStringList &links)
{
    const QStringList lines =
        QStringList{DeepLinkChannel::activationLine(DeepLinkChannel::activationTokenFromEnvironment())} + links;
    for (const QString &line : lines) {
        QString error;
        switch (DeepLinkChannel::sendToRunningInstance(line, DeepLinkChannel::ConnectionTimeoutMs, &error)) {
        case DeepLinkChannel::SendResult::Delivered:
            break;
        case DeepLinkChannel::SendResult::NoInstance:
            if (line == lines.constFirst())
                return std::nullopt;
            [[fallthrough]];
        case DeepLinkChannel::SendResult::Failed:
            QTextStream(stderr) << "Could not reach the Sorvane that is running: " << error << Qt::endl;
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    // Answered like any command-line program, before anything needs a window.
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::fputs(Usage, stdout);
            return EXIT_SUCCESS;
        }
        if (std::strcmp(argv[i], "--version") == 0 || std::strcmp(argv[i], "-v") == 0) {
            std::printf("sorvane-desktop %s\n", qPrintable(Context::buildVersion()));
            return EXIT_SUCCESS;
        }
    }
    if (!hasDisplay()) {
        std::fputs("sorvane-desktop: no display to show a window on (neither DISPLAY nor WAYLAND_DISPLAY is set).\n"
                   "Start it from a desktop session, or use `sorvane` on the command line.\n",
                   stderr);
        return EXIT_FAILURE;
    }

    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(u"Sorvane"_s);
    QGuiApplication::setApplicationDisplayName(u"Sorvane"_s);
    QGuiApplication::setApplicationVersion(Context::buildVersion());
    QGuiApplication::setDesktopFileName(u"sorvane"_s);
    if (qEnvironmentVariableIsEmpty("QT_QUICK_CONTROLS_STYLE"))
        QQuickStyle::setStyle(u"Fusion"_s);

    QStringList links;
    bool reportFrame = false;
    bool verbose = false;
    for (const QString &argument : QGuiApplication::arguments().mid(1)) {
        if (argument == u"--report-first-frame")
            reportFrame = true;
        else if (argument == u"--verbose")
            verbose = true;
        else if (argument.startsWith(u"sorvane:", Qt::CaseInsensitive))
            links.append(argument);
    }

    // A later start only hands over: it brings the running one to the front, then gives it the links.
    const std::optional<bool> handedOver = handOverToRunningInstance(links);
    if (handedOver)
        return *handedOver ? EXIT_SUCCESS : EXIT_FAILURE;

    auto context = Context::createDefault();
    Context::setShared(context.get());
    Logger::setLogFile(Platform::logFolder(context->homeFolder()) + u"/sorvane.log"_s);
    Logger::setSink(verbose ? Logger::Sink::StandardError : Logger::Sink::Silent);
    SorvaneSettingsStore::registerStartupDefaults(context->defaults(), context->homeFolder());

    DesktopShell shell(*context);
    QString listenError;
    const DeepLinkServer::ListenResult listening = shell.listenForLinks(&listenError);
    // Without its socket the app still starts; only later starts cannot reach it.
    if (listening == DeepLinkServer::ListenResult::Failed)
        QTextStream(stderr) << "Sorvane cannot receive links from a later start: " << listenError << Qt::endl;
    // Another one started at the same instant and won.
    if (listening == DeepLinkServer::ListenResult::AlreadyRunning)
        return handOverToRunningInstance(links).value_or(false) ? EXIT_SUCCESS : EXIT_FAILURE;

    // The first start of this generation of Sorvane discards an older one's settings (kept aside).
    if (SorvaneSettingsStore::discardOlderGenerationOnce(context->defaults()))
        SorvaneSettingsStore::registerStartupDefaults(context->defaults(), context->homeFolder());

    // What a killed earlier run left half-done is finished or undone before the apps are listed.
    StartupRecovery(*context).run();

    // The menu entry that starts Sorvane and hands it "sorvane:" links: an installed Sorvane's, else
    // one kept pointing at this program. The windows name the entry they belong to.
    QString entryError;
    switch (DesktopEntries(*context).updateSorvaneEntry(QCoreApplication::applicationFilePath(), &entryError)) {
    case DesktopEntries::SorvaneEntry::Installed:
        QGuiApplication::setDesktopFileName(Constants::SorvaneBundleIdentifier);
        break;
    case DesktopEntries::SorvaneEntry::Written:
        break;
    case DesktopEntries::SorvaneEntry::Failed:
        QTextStream(stderr) << "Sorvane's menu entry was not written: " << entryError << Qt::endl;
        break;
    }

    // Light or dark as the desktop prefers, before the first frame and whenever it changes.
    shell.colorScheme().follow();

    QString loadError;
    if (!shell.load(&loadError)) {
        QTextStream(stderr) << loadError << Qt::endl;
        return EXIT_FAILURE;
    }
    if (reportFrame)
        reportFirstFrame(shell.mainWindow());
    for (const QString &link : links)
        shell.openUrl(link);
    shell.startMaintenance();
    return QGuiApplication::exec();
}
