#pragma once

#include "core/SNEditorItem.h"

#include <QList>
#include <QString>

// Which of the writer steps an edit runs, from what changed between the app as it is and as the
// user wants it. Steps run in the order of the enum; each one writes one file (or one group of
// files) through the writer that creation and regeneration use as well.
class EditPlan final
{
public:
    enum class Step {
        Icon,           // Contents/Resources/icon.icns
        InfoPlist,      // Contents/Info.plist
        CompanionFiles, // the extension, the messaging host and data.json
        DataJSON,       // data.json alone
        LaunchPrograms, // the launch program, the helper app and the tool stand-ins
        Script,         // Contents/Resources/script
        Engine,         // createEngine.sh: the engine under the app's name, with its strings files
        AccentColor,    // the engine's Preferences in the profile
        Configuration,  // <appID>.config in the support folder
        ProfileSwitch,  // the profile kept for the old engine
        Move,           // the bundle folder and the registry record
    };

    // The steps between `original` and `edited` (both with the tab rules applied). `hadCompanion`:
    // the app loads the companion now; `needsCompanion`: the edited definition asks for it;
    // `olderLayout`: the bundle's launcher is the older one in Contents/MacOS.
    static EditPlan between(const SNEditorItem &original, const SNEditorItem &edited, bool newIcon,
                            bool hadCompanion, bool needsCompanion, bool olderLayout);

    bool runs(Step step) const { return m_steps & bit(step); }
    void add(Step step) { m_steps |= bit(step); }
    bool isEmpty() const { return m_steps == 0; }
    // Whether only values the app reads at each start change (routing, session, colour): the
    // bundle's programs, launcher and property list stay as they are.
    bool isLiveOnly() const
    {
        return (m_steps & ~(bit(Step::DataJSON) | bit(Step::AccentColor) | bit(Step::Configuration))) == 0;
    }
    // The steps in the order they run.
    QList<Step> steps() const;
    // What a step writes, for the error that names it.
    static QString describe(Step step);

private:
    static unsigned bit(Step step) { return 1u << unsigned(step); }
    unsigned m_steps = 0;
};
