#include "companion/CompanionSupport.h"

#include "core/BrowserCatalogue.h"
#include "core/BrowserLocator.h"
#include "core/Context.h"
#include "core/Platform.h"
#include "core/ProcessRunner.h"
#include "core/PropertyList.h"

#include <QFileInfo>
#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace {

// "Chrome 137 and later ignore --load-extension", the why of every Chrome verdict.
QString chromeCutOffNote()
{
    return u"Chrome %1 and later ignore --load-extension"_s.arg(CompanionSupport::FirstChromeMajorIgnoringLoadExtension);
}

// Why an app on a Chrome of unknown version is started the pipe way.
QString pipeNote()
{
    return chromeCutOffNote() + u", so the app tries the DevTools pipe and its log says whether the companion loaded"_s;
}

} // namespace

CompanionSupport::CompanionSupport(Context &context)
    : m_context(context)
{
}

CompanionSupport::Verdict CompanionSupport::assess(const BrowserInfo &browser, const QString &enginePath,
                                                   bool alwaysReadVersion) const
{
    const bool installed = isInstalled(enginePath);
    EngineVersion version;
    if (installed && (alwaysReadVersion || dependsOnVersion(browser)))
        version = installedVersion(enginePath);
    return verdictFor(browser, enginePath, installed, version);
}

CompanionSupport::EngineVersion CompanionSupport::installedVersion(const QString &enginePath) const
{
    if (Platform::isMac())
        return versionFromBundle(BrowserCatalogue::bundleOfEngine(enginePath));
    const ProcessRunner::Result result =
        m_context.processes().run(enginePath, {u"--version"_s}, {}, VersionProbeTimeoutMs);
    if (!result.succeeded())
        return {};
    return versionFromText(QString::fromUtf8(result.standardOutput));
}

bool CompanionSupport::isInstalled(const QString &enginePath)
{
    const QFileInfo engine(enginePath);
    return engine.isFile() && engine.isExecutable();
}

bool CompanionSupport::dependsOnVersion(const BrowserInfo &browser)
{
    return browser.typeKey == u"chrome"_s || browser.typeKey == u"canary"_s;
}

CompanionSupport::Verdict CompanionSupport::verdictFor(const BrowserInfo &browser, const QString &enginePath,
                                                       bool installed, const EngineVersion &version)
{
    Verdict verdict;
    verdict.installed = installed;
    verdict.version = version;
    const BrowserPackaging packaging = BrowserLocator::packagingOfEnginePath(enginePath);
    if (packaging == BrowserPackaging::Snap) {
        verdict.routing = Routing::No;
        verdict.reason = u"%1 is a Snap (%2): its confinement keeps the engine from starting the companion's "
                         "native-messaging host, a program outside the snap, so links open in the app; the app itself "
                         "and its own profile work"_s.arg(browser.browserName, enginePath);
        return verdict;
    }
    if (BrowserLocator::isConfined(packaging)) {
        verdict.routing = Routing::No;
        verdict.reason = u"%1 is a Flatpak (%2): its sandbox starts native-messaging hosts inside the browser's "
                         "runtime, where the companion's host cannot run, so links open in the app; the app itself "
                         "and its own profile work"_s.arg(browser.browserName, enginePath);
        return verdict;
    }
    if (!dependsOnVersion(browser)) {
        verdict.routing = Routing::Yes;
        verdict.reason = u"%1 honours --load-extension, so the companion extension loads"_s.arg(browser.browserName);
    } else if (!installed) {
        verdict.routing = Routing::Unknown;
        verdict.reason = u"%1 is not installed at %2; %3"_s.arg(browser.browserName, enginePath, pipeNote());
    } else if (!version.isKnown()) {
        verdict.routing = Routing::Unknown;
        verdict.reason =
            u"the version of %1 at %2 could not be read; %3"_s.arg(browser.browserName, enginePath, pipeNote());
    } else if (version.major >= FirstChromeMajorIgnoringLoadExtension) {
        verdict.routing = Routing::ThroughPipe;
        verdict.reason = u"%1 %2 ignores --load-extension; the app's launch program loads the companion "
                         "extension through the DevTools pipe"_s.arg(browser.browserName, version.text);
    } else {
        verdict.routing = Routing::Yes;
        verdict.reason = u"%1 %2 still honours --load-extension; Chrome %3 and later ignore it"_s
                             .arg(browser.browserName, version.text)
                             .arg(FirstChromeMajorIgnoringLoadExtension);
    }
    return verdict;
}

CompanionSupport::EngineVersion CompanionSupport::versionFromText(const QString &text)
{
    static const QRegularExpression number(u"\\b(\\d+)\\.\\d+\\.\\d+(?:\\.\\d+)?\\b"_s);
    const QRegularExpressionMatch match = number.match(text);
    if (!match.hasMatch())
        return {};
    bool ok = false;
    const int major = match.captured(1).toInt(&ok);
    if (!ok)
        return {};
    return {match.captured(0), major};
}

CompanionSupport::EngineVersion CompanionSupport::versionFromBundle(const QString &browserBundlePath)
{
    const QVariant info = PropertyList::readFile(browserBundlePath + u"/Contents/Info.plist"_s);
    return versionFromText(info.toMap().value(u"CFBundleShortVersionString"_s).toString());
}

bool CompanionSupport::loadsThroughPipe(const BrowserInfo &browser, const Verdict &verdict)
{
    // A confined engine gets nothing from the pipe: its host could not start anyway.
    return dependsOnVersion(browser) && verdict.routing != Routing::Yes && verdict.routing != Routing::No;
}

bool CompanionSupport::loadsThroughPipe(const BrowserInfo &browser, const QString &enginePath) const
{
    return dependsOnVersion(browser) && loadsThroughPipe(browser, assess(browser, enginePath));
}

QString CompanionSupport::routingKey(Routing routing)
{
    switch (routing) {
    case Routing::Yes:
        return u"yes"_s;
    case Routing::ThroughPipe:
        return u"yes (through the DevTools pipe)"_s;
    case Routing::No:
        return u"no"_s;
    case Routing::Unknown:
        break;
    }
    return u"unknown"_s;
}

QString CompanionSupport::creationWarning(const QString &appName, const Verdict &verdict)
{
    switch (verdict.routing) {
    case Routing::Yes:
    case Routing::ThroughPipe:
        break;
    case Routing::Unknown:
        return u"⚠️ Links of \"%1\" may not be routed: %2. The app still works either way."_s.arg(appName,
                                                                                               verdict.reason);
    case Routing::No:
        return u"⚠️ Links of \"%1\" are not routed: %2."_s.arg(appName, verdict.reason);
    }
    return {};
}
