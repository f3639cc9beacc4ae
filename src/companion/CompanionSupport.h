#pragma once

#include "core/BrowserInfo.h"

#include <QString>

class Context;

// Whether an engine can load the companion extension, which the launcher hands it with
// --load-extension, and so whether an app's links can be routed on it. An app on an engine that
// cannot load it still starts and works; only its links are not routed.
class CompanionSupport final
{
public:
    // Google-branded Chrome (stable and Canary) ignores --load-extension from this major version
    // on; Chromium and the other Chromium-family browsers still honour the switch.
    static constexpr int FirstChromeMajorIgnoringLoadExtension = 137;
    // `<engine> --version` answers at once; a hanging engine must not hold up the caller.
    static constexpr int VersionProbeTimeoutMs = 5000;

    enum class Routing { Yes, No, Unknown };

    struct EngineVersion
    {
        QString text; // "137.0.7151.55"; empty when unknown
        int major = -1;

        bool isKnown() const { return major >= 0; }
    };

    struct Verdict
    {
        Routing routing = Routing::Unknown;
        QString reason; // one line for people
        bool installed = false;
        EngineVersion version; // unknown when the engine was not asked
    };

    explicit CompanionSupport(Context &context);

    // The verdict for a browser and its engine executable. The engine is asked for its version
    // only when the verdict depends on it, unless `alwaysReadVersion` is set; an engine that is
    // not installed is never asked.
    Verdict assess(const BrowserInfo &browser, const QString &enginePath, bool alwaysReadVersion = false) const;
    // The installed engine's version: on macOS from its browser bundle's Info.plist, elsewhere
    // from `<engine> --version`.
    EngineVersion installedVersion(const QString &enginePath) const;

    static bool isInstalled(const QString &enginePath);
    // Whether a browser loads the companion only up to some version.
    static bool dependsOnVersion(const BrowserInfo &browser);
    static Verdict verdictFor(const BrowserInfo &browser, const QString &enginePath, bool installed,
                              const EngineVersion &version);
    // The first "N.N.N.N" or "N.N.N" of a text such as "Chromium 156.0.8078.73 built on Debian".
    static EngineVersion versionFromText(const QString &text);
    // CFBundleShortVersionString of a browser bundle ("/Applications/Google Chrome.app").
    static EngineVersion versionFromBundle(const QString &browserBundlePath);
    // "yes", "no" or "unknown".
    static QString routingKey(Routing routing);
    // The creation diagnostic for an app with the companion, starting with "⚠️ "; empty when its
    // links will be routed.
    static QString creationWarning(const QString &appName, const Verdict &verdict);

private:
    Context &m_context;
};
