#pragma once

#include "core/BrowserInfo.h"

#include <QString>

class Context;

// Whether and how an engine loads the companion extension, and so whether an app's links can be
// routed on it. Most engines take it from --load-extension on the command line; Google-branded
// Chrome from 137 on ignores that switch and gets it from the app's launch program over a private
// DevTools pipe instead (docs/companion.md).
class CompanionSupport final
{
public:
    // Google-branded Chrome (stable and Canary) ignores --load-extension from this major version
    // on; Chromium and the other Chromium-family browsers still honour the switch.
    static constexpr int FirstChromeMajorIgnoringLoadExtension = 137;
    // `<engine> --version` answers at once; a hanging engine must not hold up the caller.
    static constexpr int VersionProbeTimeoutMs = 5000;

    // ThroughPipe: routed, the companion coming over the DevTools pipe. Unknown: the version that
    // decides could not be read; such an app tries the pipe and its log says what happened.
    // No: the browser's confinement (Snap, Flatpak) keeps it from starting the companion's host.
    enum class Routing { Yes, ThroughPipe, Unknown, No };

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
    // Whether an app of `browser` with the companion is started the pipe way: every engine whose
    // verdict depends on its version, unless that version is known to honour --load-extension.
    static bool loadsThroughPipe(const BrowserInfo &browser, const Verdict &verdict);
    // The same for the installed engine, asked only when its version decides.
    bool loadsThroughPipe(const BrowserInfo &browser, const QString &enginePath) const;
    // "yes", "yes (through the DevTools pipe)", "unknown" or "no".
    static QString routingKey(Routing routing);
    // The creation diagnostic for an app with the companion, starting with "⚠️ "; empty when its
    // links will be routed either way.
    static QString creationWarning(const QString &appName, const Verdict &verdict);

private:
    Context &m_context;
};
