#pragma once

#include "core/SNEditorItem.h"
#include "core/SNImage.h"

#include <QString>

#include <optional>

class Context;

// Changes an existing app in place, keeping its profile: the edit the editor screen and
// `sorvane edit` hand over. An edit of live-only values (routing rules, default destination,
// accent colour, session restore) rewrites the configuration, data.json and the engine's theme
// colour and leaves the launcher alone; any other change rebuilds the launcher in place. A new
// engine gets the profile backed up first (ProfileBackup).
//
// An edit is refused, with nothing changed, when the app is running, is not one of Sorvane's,
// or the new name is invalid or taken.
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

    // Whether the last save rebuilt the launcher, and where the app is now.
    bool rebuilt() const { return m_rebuilt; }
    const SNEditorItem &result() const { return m_result; }

    // Whether the change between the two needs the launcher rebuilt.
    bool isStructural(const SNEditorItem &original, const SNEditorItem &edited, bool newIcon) const;

private:
    Context &m_context;
    bool m_rebuilt = false;
    SNEditorItem m_result;
};
