#pragma once

#include "core/AppDefinition.h"

#include <QString>
#include <QStringList>

#include <optional>

class Context;
struct BrowserInfo;

// The engine of a generated app: the browser's own program run under the app's name.
//
// Apps get their engine from createEngine.sh, which clones it into the app's own bundle;
// runEngineScript runs that script. The in-process route assembles an inner "<Browser>.app" in the
// app's Resources from links into the browser and a rewritten copy of its resources; it works on
// a definition (name, browser type, icon) and the bundle's resources folder.
//
// Every step of the route returns the first error it met, or nothing on success.
class EngineBuilder final
{
public:
    EngineBuilder(Context &context, const AppDefinition &definition, const QString &resourceDirectory);

    // Makes "<resources>/<Browser>.app/Contents/MacOS/", then links and copies the browser found
    // through the manager's engine path into it.
    std::optional<QString> createInternalApplication();
    // Links Versions, PkgInfo, Helpers and _CodeSignature of the browser's Contents into the new
    // Contents, and last the executable into its MacOS folder; stops at the first link that fails.
    std::optional<QString> createSymlinkFromGoogleChrome(const QString &chromeContentsPath,
                                                         const QString &newContentsPath);
    // Copies the browser's Resources, writes its Info.plist without the updater, link and document
    // keys (and with the app's icon when it has one), then renames the app in the strings.
    std::optional<QString> copyFilesFromChrome(const QString &chromeContentsPath,
                                               const QString &newContentsPath);
    // Puts the app name into the display-name and name lines of every *.lproj/InfoPlist.strings,
    // keeping each file's encoding.
    std::optional<QString> replaceChromeWithAppName(const QString &resourcesPath);

    // The arguments of /bin/sh for "<resourcesFolder>/createEngine.sh": the script, the app name,
    // the work folder, the browser (its bundle on macOS, the engine executable elsewhere), its
    // display name, short name and framework folder.
    static QStringList engineScriptArguments(const QString &resourcesFolder, const QString &appName,
                                             const BrowserInfo &browser, const QString &enginePath,
                                             bool forMac);
    // Runs the app's createEngine.sh for the browser of `typeKey` and waits for it. A failure is
    // only logged, with `failureLine` ("%1": the exit status): the app builds its engine again at
    // its next start.
    static bool runEngineScript(Context &context, const QString &resourcesFolder, const QString &appName,
                                const QString &typeKey, const QString &failureLine = DefaultFailureLine);
    static const QString DefaultFailureLine;

private:
    Context &m_context;
    const AppDefinition &m_definition;
    QString m_resourceDirectory;
};
