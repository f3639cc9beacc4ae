#include "desktop/DesktopShell.h"

#include "desktop/AppIconImageProvider.h"
#include "desktop/AppUpdateScheduler.h"
#include "desktop/ColorScheme.h"
#include "desktop/DialogBroker.h"
#include "desktop/LetterIconImageProvider.h"

#include "core/Context.h"
#include "core/Prompter.h"
#include "editing/SNBulkAppsManager.h"
#include "editing/SiteIconSearch.h"
#include "frontend/AppSuggestionsStore.h"
#include "frontend/BulkCreationStore.h"
#include "frontend/DeepLinkHandler.h"
#include "frontend/FrontendQmlTypes.h"
#include "frontend/HomescreenAppsModel.h"
#include "frontend/HomescreenStore.h"
#include "frontend/SorvaneSettingsStore.h"

#include <QGuiApplication>
#include <QIcon>
#include <QQmlApplicationEngine>
#include <QQmlEngine>
#include <QQuickWindow>

using namespace Qt::Literals::StringLiterals;

namespace {

// The generator's questions, answered by the desktop app's dialogs.
class DialogPrompter final : public Prompter
{
public:
    explicit DialogPrompter(DialogBroker &broker)
        : m_broker(broker)
    {
    }
    int ask(const QString &message, const QString &informativeText, const QStringList &buttons) override
    {
        return m_broker.ask(message, informativeText, buttons);
    }
    void showError(const QString &message) override { m_broker.showError(message); }

private:
    DialogBroker &m_broker;
};

} // namespace

DesktopShell::DesktopShell(Context &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_dialogs(new DialogBroker(this))
    , m_previousPrompter(context.exchangePrompter(std::make_unique<DialogPrompter>(*m_dialogs)))
    , m_settings(new SorvaneSettingsStore(context, this))
    , m_home(new HomescreenStore(context, this))
    , m_suggestions(new AppSuggestionsStore(context, this))
    , m_bulk(new SNBulkAppsManager(context, this))
    , m_iconSearch(new SiteIconSearch(this))
    , m_bulkCreation(new BulkCreationStore(context, *m_bulk, this))
    , m_deepLinks(new DeepLinkHandler(context, this))
    , m_updates(new AppUpdateScheduler(context, *m_dialogs, this))
    , m_colorScheme(new ColorScheme(this))
    , m_linkServer(new DeepLinkServer(*m_deepLinks, this))
    , m_engine(std::make_unique<QQmlApplicationEngine>())
{
    connect(m_deepLinks, &DeepLinkHandler::activationRequested, this, [this] { bringToFront(); });
    connect(m_linkServer, &DeepLinkServer::activationRequested, this, &DesktopShell::bringToFront);
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64, 128, 256})
        icon.addFile(u":/icons/%1/com.ondrel.sorvane.png"_s.arg(size), QSize(size, size));
    QGuiApplication::setWindowIcon(icon);
    m_bulk->setFaviconSearch(m_iconSearch->function());
    m_bulk->reset();
}

DesktopShell::~DesktopShell()
{
    // The windows go before the stores they bind to.
    m_engine.reset();
    m_context.exchangePrompter(std::move(m_previousPrompter));
}

void DesktopShell::registerQmlTypes()
{
    static bool registered = false;
    if (registered)
        return;
    registered = true;
    FrontendQmlTypes::registerTypes();
    qmlRegisterUncreatableType<DialogBroker>("Sorvane.Shell", 1, 0, "DialogBroker",
                                             u"DialogBroker is made by the application"_s);
    qmlRegisterUncreatableType<ColorScheme>("Sorvane.Shell", 1, 0, "ColorScheme",
                                            u"ColorScheme is made by the application"_s);
    qmlRegisterUncreatableType<AppUpdateScheduler>("Sorvane.Shell", 1, 0, "AppUpdateScheduler",
                                                   u"AppUpdateScheduler is made by the application"_s);
    qmlRegisterUncreatableType<SNBulkAppsManager>("Sorvane.Shell", 1, 0, "SNBulkAppsManager",
                                                  u"SNBulkAppsManager is made by the application"_s);
}

bool DesktopShell::load(QString *error)
{
    registerQmlTypes();
    QStringList messages;
    connect(m_engine.get(), &QQmlEngine::warnings, this, [&messages](const QList<QQmlError> &warnings) {
        for (const QQmlError &warning : warnings)
            messages.append(warning.toString());
    });
    m_engine->addImportPath(u"qrc:/"_s);
    m_engine->addImageProvider(HomescreenAppsModel::AppIconProvider, new AppIconImageProvider);
    m_engine->addImageProvider(LetterIconImageProvider::Name, new LetterIconImageProvider);
    m_engine->setInitialProperties({
        {u"home"_s, QVariant::fromValue(m_home)},
        {u"settings"_s, QVariant::fromValue(m_settings)},
        {u"suggestions"_s, QVariant::fromValue(m_suggestions)},
        {u"bulk"_s, QVariant::fromValue(m_bulk)},
        {u"bulkCreation"_s, QVariant::fromValue(m_bulkCreation)},
        {u"dialogs"_s, QVariant::fromValue(m_dialogs)},
        {u"updates"_s, QVariant::fromValue(m_updates)},
        {u"colorScheme"_s, QVariant::fromValue(m_colorScheme)},
    });
    m_engine->load(QUrl(u"qrc:/Sorvane/Desktop/Main.qml"_s));
    disconnect(m_engine.get(), &QQmlEngine::warnings, this, nullptr);
    if (!mainWindow()) {
        if (error)
            *error = messages.isEmpty() ? u"The main window could not be made."_s : messages.join(u'\n');
        return false;
    }
    return true;
}

QQuickWindow *DesktopShell::mainWindow() const
{
    const QList<QObject *> roots = m_engine->rootObjects();
    return roots.isEmpty() ? nullptr : qobject_cast<QQuickWindow *>(roots.constFirst());
}

bool DesktopShell::openUrl(const QString &url)
{
    return m_deepLinks->handleURL(url);
}

DeepLinkServer::ListenResult DesktopShell::listenForLinks(QString *error)
{
    return m_linkServer->listen(error);
}

void DesktopShell::startMaintenance(std::chrono::milliseconds updateInterval)
{
    m_updates->start(updateInterval);
}

void DesktopShell::bringToFront(const QString &activationToken)
{
    QQuickWindow *window = mainWindow();
    if (!window)
        return;
    // Qt's Wayland window hands this token to the compositor with its activation request.
    if (!activationToken.isEmpty() && QGuiApplication::platformName().startsWith(u"wayland"_s))
        qputenv("XDG_ACTIVATION_TOKEN", activationToken.toUtf8());
    if (window->visibility() == QWindow::Minimized)
        window->showNormal();
    else
        window->show();
    window->raise();
    window->requestActivate();
}
