#pragma once

#include "frontend/DeepLinkServer.h"

#include <QObject>
#include <QString>

#include <chrono>
#include <memory>

class AppSuggestionsStore;
class AppUpdateScheduler;
class ColorScheme;
class BulkCreationStore;
class Context;
class DeepLinkHandler;
class DialogBroker;
class HomescreenStore;
class Prompter;
class QQmlApplicationEngine;
class QQuickWindow;
class SNBulkAppsManager;
class SiteIconSearch;
class SorvaneSettingsStore;

// The desktop app: the stores over one Context, the dialogs that answer the generator's
// questions, and the QML engine that shows the main window bound to them. The views only bind
// to these objects; everything they do goes through the stores.
class DesktopShell final : public QObject
{
    Q_OBJECT

public:
    explicit DesktopShell(Context &context, QObject *parent = nullptr);
    ~DesktopShell() override;

    // Registers the QML types once per process (before any shell loads).
    static void registerQmlTypes();

    // Builds the main window; false, with the engine's messages in `error`, when it failed.
    bool load(QString *error = nullptr);

    QQmlApplicationEngine &engine() const { return *m_engine; }
    QQuickWindow *mainWindow() const;

    Context &context() const { return m_context; }
    HomescreenStore &home() const { return *m_home; }
    SorvaneSettingsStore &settings() const { return *m_settings; }
    AppSuggestionsStore &suggestions() const { return *m_suggestions; }
    SNBulkAppsManager &bulk() const { return *m_bulk; }
    BulkCreationStore &bulkCreation() const { return *m_bulkCreation; }
    DialogBroker &dialogs() const { return *m_dialogs; }
    DeepLinkHandler &deepLinks() const { return *m_deepLinks; }
    AppUpdateScheduler &updates() const { return *m_updates; }
    ColorScheme &colorScheme() const { return *m_colorScheme; }

    // Acts on a "sorvane:" link handed to the program (first start or a later one).
    bool openUrl(const QString &url);

    // Takes the links and window requests of later starts (and of `sorvane open-url`): the first
    // instance of the user listens; AlreadyRunning tells a later one to hand over and end.
    DeepLinkServer::ListenResult listenForLinks(QString *error = nullptr);
    // Background work once the window is up: the automatic updates, at start and every interval.
    void startMaintenance(std::chrono::milliseconds updateInterval = std::chrono::hours(1));

    // Shows the main window, raised and focused. `activationToken` is the one a launcher gave the
    // start that asked for it (Wayland only lets a window take the focus with one).
    void bringToFront(const QString &activationToken = {});

private:
    Context &m_context;
    DialogBroker *m_dialogs;
    std::unique_ptr<Prompter> m_previousPrompter;
    SorvaneSettingsStore *m_settings;
    HomescreenStore *m_home;
    AppSuggestionsStore *m_suggestions;
    SNBulkAppsManager *m_bulk;
    SiteIconSearch *m_iconSearch;
    BulkCreationStore *m_bulkCreation;
    DeepLinkHandler *m_deepLinks;
    AppUpdateScheduler *m_updates;
    ColorScheme *m_colorScheme;
    DeepLinkServer *m_linkServer;
    std::unique_ptr<QQmlApplicationEngine> m_engine;
};
