#include "companion/CompanionSupport.h"

#include "core/BrowserCatalogue.h"
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
    if (!dependsOnVersion(browser)) {
        verdict.routing = Routing::Yes;
        verdict.reason = u"%1 honours --load-extension, so the companion extension loads"_s.arg(browser.browserName);
    } else if (!installed) {
        verdict.routing = Routing::Unknown;
        verdict.reason = u"%1 is not installed at %2; %3"_s.arg(browser.browserName, enginePath, chromeCutOffNote());
    } else if (!version.isKnown()) {
        verdict.routing = Routing::Unknown;
        verdict.reason =
            u"the version of %1 at %2 could not be read; %3"_s.arg(browser.browserName, enginePath, chromeCutOffNote());
    } else if (version.major >= FirstChromeMajorIgnoringLoadExtension) {
        verdict.routing = Routing::No;
        verdict.reason = u"%1 %2 cannot load the companion extension: %3"_s.arg(browser.browserName, version.text,
                                                                                chromeCutOffNote());
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

QString CompanionSupport::routingKey(Routing routing)
{
    switch (routing) {
    case Routing::Yes:
        return u"yes"_s;
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
        break;
    case Routing::No:
        return u"⚠️ Links of \"%1\" will not be routed: %2. The app still works; its links are just not routed."_s.arg(
            appName, verdict.reason);
    case Routing::Unknown:
        return u"⚠️ Links of \"%1\" may not be routed: %2. The app still works either way."_s.arg(appName,
                                                                                               verdict.reason);
    }
    return {};
}
