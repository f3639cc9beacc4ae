#pragma once

#include "companion/CompanionSupport.h"
#include "core/AppDefinition.h"
#include "generation/BundleLayout.h"

#include <QString>
#include <QVariantMap>

#include <optional>

class Context;

// Writes the parts of a generated bundle from an app definition. Every step stands alone and can
// be run by itself, so creation runs them all and regeneration or editing only those it needs.
// Steps that can fail return false and fill the error; a file that cannot be written fails its
// step, so that an operation never reports success over a short or missing file.
//
// `layout` is where the files are written; `installed` is where the bundle will live when it is
// used (paths written into files name that place). Both are the same unless the bundle is built
// in a staging folder.
class BundleWriter final
{
public:
    BundleWriter(Context &context, const AppDefinition &definition, const BundleLayout &layout,
                 const BundleLayout &installed);
    BundleWriter(Context &context, const AppDefinition &definition, const BundleLayout &layout)
        : BundleWriter(context, definition, layout, layout)
    {
    }

    // The bundle's eight folders, in order; fails when something is already at one of them.
    bool makeDirectories(QString *error) const;
    // Creates the folders in order; stops with code 1 when something already exists at a path
    // (`emptyFirst`: the first may be an empty folder made for it).
    static bool makeDirectories(const QStringList &directories, QString *error, bool emptyFirst = false);
    // Contents/Resources/icon.icns from the definition's icon; without one, the app's initial on
    // its colour (LetterIcon), so that every app has an icon file of its own.
    bool writeIcon(QString *error) const;
    // Contents/Profile/First Run, the marker of the script's first-start block, and, when the
    // user turned the first start's store window off, its "First Launch Complete" too.
    bool writeFirstRunMarker(QString *error) const;
    // Contents/Info.plist: the generator's keys for the definition over what the file holds already
    // (keys that are the app's own stay); the browser keys and the password-manager flag as the
    // definition says.
    bool writeInfoPlist(QString *error) const;
    // The launcher script of the app registered as `appID`; empty with the reason when refused.
    QString scriptText(const QString &appID, QString *error) const;
    // Writes the script text.
    bool writeScript(const QString &text, QString *error) const;
    // The companion extension, the messaging host with its manifest, and data.json.
    // Every part is attempted; false with the reasons when any could not be written.
    bool writeCompanionFiles(QString *error = nullptr) const;
    // Contents/Resources/data.json alone: the routing the companion reads at every start.
    bool writeDataJSON(QString *error = nullptr) const;
    // The configuration file at `path` (AppConfigFile), keeping the keys of `earlier` that the
    // definition does not own.
    bool writeConfiguration(const QString &path, const QVariantMap &earlier, QString *error) const;
    // The desktop's menu entry of the installed bundle; a failure is logged (the app runs
    // without it).
    void refreshMenuEntry(const QString &appID) const;
    // The accent colour, when the definition has one, into the profile's preferences.
    bool applyAccentColor(QString *error = nullptr) const;
    // The launch program, the helper app, createEngine.sh and the tool stand-ins.
    bool installLaunchPrograms(QString *error) const;
    // Runs createEngine.sh; a failure is only logged (the app builds its engine at its start).
    bool buildEngine() const;
    // The script's mode, then 0755 through the bundle (links left alone); on macOS the extended
    // attributes go.
    void setPermissions() const;

    // Whether the app loads the companion: it asks for routing, or the user's
    // AutoIncludeWhitelisting setting includes it everywhere; unless set here (regeneration keeps
    // what the app's script says).
    bool includesCompanion() const;
    void setCompanionIncluded(bool included) { m_companionIncluded = included; }
    // The engine's verdict, when the caller has it already (a bulk run asks each engine once);
    // otherwise the script step asks the engine itself when the verdict decides how the
    // companion loads.
    void setEngineVerdict(const CompanionSupport::Verdict &verdict) { m_engineVerdict = verdict; }
    // The legacy whitelist patterns of the definition's addresses.
    QStringList whiteListOptions() const;

private:
    Context &m_context;
    const AppDefinition &m_definition;
    BundleLayout m_layout;
    BundleLayout m_installed;
    std::optional<bool> m_companionIncluded;
    std::optional<CompanionSupport::Verdict> m_engineVerdict;
};
