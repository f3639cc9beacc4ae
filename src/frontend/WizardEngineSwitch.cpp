#include "frontend/WizardEngineSwitch.h"

#include "core/BrowserCatalogue.h"
#include "core/SNEditorItem.h"
#include "editing/ProfileBackup.h"
#include "frontend/WizardDraft.h"

WizardEngineSwitch::WizardEngineSwitch(Context &context, WizardDraft &draft, QObject *parent)
    : QObject(parent),
      m_context(context),
      m_draft(draft)
{
    // A new engine for an existing app starts with an empty profile: the user is asked first.
    connect(&draft, &WizardDraft::selectedBrowserChanged, this, [this] {
        if (m_browserKey.isEmpty())
            return;
        m_confirmed = false;
        m_restoreBackup = false;
        m_showingWarning = switches();
        Q_EMIT changed(); // the warning's text names the new engine
    });
}

void WizardEngineSwitch::setEditedApp(const SNEditorItem &app)
{
    m_appPath = app.path;
    m_appName = app.appItem.appName;
    m_browserKey = app.browser;
    m_browserName = app.browserName();
    Q_EMIT changed();
}

bool WizardEngineSwitch::switches() const
{
    return !m_browserKey.isEmpty() && BrowserCatalogue::typeKeyForNumber(m_draft.selectedBrowser()) != m_browserKey;
}

void WizardEngineSwitch::setShowingWarning(bool showing)
{
    if (showing == m_showingWarning)
        return;
    m_showingWarning = showing;
    Q_EMIT changed();
}

QString WizardEngineSwitch::warningText() const
{
    if (m_browserKey.isEmpty())
        return {};
    return ProfileBackup::switchWarning(m_appName, m_browserName, m_draft.selectedBrowserName(), canRestore());
}

bool WizardEngineSwitch::canRestore() const
{
    return !m_browserKey.isEmpty() &&
           ProfileBackup(m_context, m_appPath).exists(BrowserCatalogue::typeKeyForNumber(m_draft.selectedBrowser()));
}

void WizardEngineSwitch::confirm(bool restoreBackup)
{
    m_confirmed = true;
    m_restoreBackup = restoreBackup;
    setShowingWarning(false);
}

void WizardEngineSwitch::cancel()
{
    m_confirmed = false;
    m_restoreBackup = false;
    if (!m_browserKey.isEmpty())
        m_draft.setSelectedBrowser(BrowserCatalogue::numberForTypeKey(m_browserKey));
    setShowingWarning(false);
}

bool WizardEngineSwitch::holdsSave()
{
    if (!switches() || m_confirmed)
        return false;
    setShowingWarning(true);
    return true;
}

void WizardEngineSwitch::settle()
{
    m_confirmed = false;
    m_restoreBackup = false;
}
