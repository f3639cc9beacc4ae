#pragma once

#include <QObject>
#include <QString>

class Context;
class SNEditorItem;
class WizardDraft;

// Another engine for an app that exists: its profile stays with the engine it was made for, so
// the user confirms the switch first (and may bring back what the new engine had before), or
// cancels it, which puts the app's own engine back into the draft.
class WizardEngineSwitch final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool showingWarning READ showingWarning NOTIFY changed)
    Q_PROPERTY(QString warningText READ warningText NOTIFY changed)
    // Whether the chosen engine has a saved profile of this app to bring back.
    Q_PROPERTY(bool canRestore READ canRestore NOTIFY changed)

public:
    WizardEngineSwitch(Context &context, WizardDraft &draft, QObject *parent = nullptr);

    // The app as saved; until one is set (a new app) any engine may be chosen freely.
    void setEditedApp(const SNEditorItem &app);

    // Goes ahead, optionally restoring the profile the new engine had.
    Q_INVOKABLE void confirm(bool restoreBackup);
    // Goes back to the app's own engine.
    Q_INVOKABLE void cancel();

    // Whether a save must wait for the user's answer (the warning is then shown).
    bool holdsSave();
    // The switch was saved: the next one is asked about again.
    void settle();

    bool showingWarning() const { return m_showingWarning; }
    QString warningText() const;
    bool canRestore() const;
    bool restoreBackup() const { return m_restoreBackup; }

Q_SIGNALS:
    void changed();

private:
    bool switches() const;
    void setShowingWarning(bool showing);

    Context &m_context;
    WizardDraft &m_draft;
    // What the switch needs of the app as saved.
    QString m_appPath;
    QString m_appName;
    QString m_browserKey;
    QString m_browserName;
    bool m_showingWarning = false;
    bool m_confirmed = false;
    bool m_restoreBackup = false;
};
