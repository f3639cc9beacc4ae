#pragma once

#include "core/SNEditorItem.h"
#include "core/SNImage.h"

#include <QString>

#include <optional>

class Context;

// Changes an existing app, keeping its profile: the edit the editor screen and `sorvane edit`
// hand over. What changed decides which writer steps run (EditPlan); they run staged beside the
// app and are put in place only when all succeeded (StagedEdit). A new engine gets the profile
// backed up (ProfileBackup).
//
// An edit is refused, with nothing changed, when the definition fails the checks every
// definition passes (DefinitionValidator), the app is running, is not one of Sorvane's, or the
// new name is taken; and it fails, with nothing changed, when a step cannot be written.
class AppEditor final
{
public:
    explicit AppEditor(Context &context);

    // The app at `bundlePath` as it stands, ready for editing: its stored definition overruled by
    // what its launcher says. `appId` is its registry id when known.
    std::optional<SNEditorItem> load(const QString &bundlePath, const QString &appId, QString *error) const;

    struct Change
    {
        SNEditorItem edited;   // the new definition; appItem.appName is the new name, browser the engine
        SNImage newIcon;       // none: the icon stays
        bool restoreBackup = false; // a new engine gets back the profile it had before, if kept
    };
    // Applies the change to the app `original` describes. False, with the reason, when refused.
    bool save(const SNEditorItem &original, Change change, QString *error);

    // Whether the last save changed more than the values the app reads at each start, and where
    // the app is now.
    bool rebuilt() const { return m_rebuilt; }
    const SNEditorItem &result() const { return m_result; }

private:
    Context &m_context;
    bool m_rebuilt = false;
    SNEditorItem m_result;
};
