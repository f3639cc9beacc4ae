#include "ScriptCommand.h"

#include "AppOptions.h"

#include "companion/CompanionSupport.h"
#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/Platform.h"
#include "core/SNAppTracker.h"
#include "generation/SNAppScriptHelper.h"

using namespace Qt::Literals::StringLiterals;

const QString ScriptCommand::PlaceholderAppId = u"00000000-0000-0000-0000-000000000000"_s;

void ScriptCommand::addOptions(QCommandLineParser &parser)
{
    parser.addOptions({
        {u"name"_s, u"The app's name."_s, u"NAME"_s},
        {u"url"_s, u"The address of a single-window app."_s, u"URL"_s},
        {u"tab"_s, u"A tab of a tabbed app; repeat for more tabs."_s, u"URL"_s},
        {u"browser"_s,
         u"The engine's browser: chrome (default), canary, brave, edge, opera, chromium, vivaldi, helium."_s,
         u"KEY"_s, u"chrome"_s},
        {u"incognito"_s, u"Run the engine in incognito mode."_s},
        {u"dark"_s, u"Force dark mode."_s},
        {u"routing"_s, u"Load the companion extension that routes links."_s},
    });
}

QList<QStringList> ScriptCommand::exclusiveOptions() const
{
    return {{u"url"_s, u"tab"_s}};
}

int ScriptCommand::run(const QCommandLineParser &parser, Context &context)
{
    if (!parser.isSet(u"name"_s)) {
        printFailure(CliMessage::NameMissing);
        return BadUsage;
    }
    if (!parser.isSet(u"url"_s) && !parser.isSet(u"tab"_s)) {
        printFailure(CliMessage::AddressMissing);
        return BadUsage;
    }
    const QString key = parser.value(u"browser"_s);
    QString error;
    if (AppOptions::browserNumber(key, &error) < 0) {
        printFailure(error);
        return BadUsage;
    }

    if (const QString refusal = AppOptions::nameRefusal(parser.value(u"name"_s)); !refusal.isEmpty()) {
        printFailure(refusal);
        return Failure;
    }

    SNScriptInputs inputs;
    inputs.appName = parser.value(u"name"_s);
    inputs.needTab = parser.isSet(u"tab"_s);
    inputs.tabsList = parser.values(u"tab"_s);
    inputs.appURL = inputs.needTab ? inputs.tabsList.constFirst() : parser.value(u"url"_s);
    inputs.incognito = parser.isSet(u"incognito"_s);
    inputs.forceDarkMode = parser.isSet(u"dark"_s);
    inputs.shouldIncludeWLExt = parser.isSet(u"routing"_s);
    inputs.typeKey = key;
    inputs.targetIsMac = Platform::isMac();
    inputs.trackerFragment = SNAppTracker(context).shellUpdateCode(PlaceholderAppId);
    const QString enginePath = SNAppScriptHelper::getBrowserPath(key, context.defaults());
    inputs.engineBrowserPath = SNAppScriptHelper::browserPathArgument(enginePath, inputs.targetIsMac);
    // As creation would write it: the installed engine's version decides how the companion loads.
    inputs.companionThroughPipe =
        inputs.shouldIncludeWLExt &&
        CompanionSupport(context).loadsThroughPipe(BrowserCatalogue::byTypeKey(key), enginePath);

    const QString text = SNAppScriptHelper::scriptText(inputs, &error);
    if (text.isEmpty()) {
        printFailure(error);
        return Failure;
    }
    if (parser.isSet(u"json"_s))
        printJson(QVariantMap{{u"appID"_s, PlaceholderAppId}, {u"script"_s, text}});
    else
        print(text);
    return Success;
}
