// sorvane-desktop: the desktop app. One instance per user: a later start hands its "sorvane:"
// link to the running one and ends.

#include "desktop/DesktopShell.h"

#include "companion/DeepLinkChannel.h"
#include "core/Constants.h"
#include "core/Context.h"
#include "core/DesktopEntries.h"
#include "editing/StartupRecovery.h"
#include "frontend/DeepLinkServer.h"
#include "frontend/SorvaneSettingsStore.h"

#include <QGuiApplication>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

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

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(u"Sorvane"_s);
    QGuiApplication::setApplicationDisplayName(u"Sorvane"_s);
    QGuiApplication::setDesktopFileName(u"sorvane"_s);
    if (qEnvironmentVariableIsEmpty("QT_QUICK_CONTROLS_STYLE"))
        QQuickStyle::setStyle(u"Fusion"_s);

    QStringList links;
    bool reportFrame = false;
    for (const QString &argument : QGuiApplication::arguments().mid(1)) {
        if (argument == u"--report-first-frame")
            reportFrame = true;
        else if (argument.startsWith(u"sorvane:", Qt::CaseInsensitive))
            links.append(argument);
    }

    auto context = Context::createDefault();
    Context::setShared(context.get());
    SorvaneSettingsStore::registerStartupDefaults(context->defaults(), context->homeFolder());

    // What a killed earlier run left half-done is finished or undone before the apps are listed.
    StartupRecovery(*context).run();

    DesktopShell shell(*context);
    DeepLinkServer server(shell.deepLinks());
    QString listenError;
    const DeepLinkServer::ListenResult listening = server.listen(&listenError);
    // Without its socket the app still starts; only links from a second start cannot reach it.
    if (listening == DeepLinkServer::ListenResult::Failed)
        QTextStream(stderr) << "Sorvane cannot receive links from a second start: " << listenError << Qt::endl;
    if (listening == DeepLinkServer::ListenResult::AlreadyRunning) {
        QTextStream err(stderr);
        if (links.isEmpty()) {
            err << "Sorvane is already running (" << listenError << ")." << Qt::endl;
            return 0;
        }
        bool delivered = true;
        for (const QString &link : links) {
            QString sendError;
            if (DeepLinkChannel::sendToRunningInstance(link, DeepLinkChannel::ConnectionTimeoutMs, &sendError)
                != DeepLinkChannel::SendResult::Delivered) {
                err << "Could not hand " << link << " to the running Sorvane: " << sendError << Qt::endl;
                delivered = false;
            }
        }
        return delivered ? 0 : 1;
    }

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

    QString loadError;
    if (!shell.load(&loadError)) {
        QTextStream(stderr) << loadError << Qt::endl;
        return 1;
    }
    if (reportFrame)
        reportFirstFrame(shell.mainWindow());
    for (const QString &link : links)
        shell.openUrl(link);
    return QGuiApplication::exec();
}
