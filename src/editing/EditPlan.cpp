#include "editing/EditPlan.h"

#include "generation/SNChromePrefsHelper.h"

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList tabAddresses(const AppDefinition &app)
{
    QStringList addresses;
    if (app.needTab) {
        for (const TabAddress &tab : app.tabsList)
            addresses.append(tab.tabUrlString);
    }
    return addresses;
}

} // namespace

EditPlan EditPlan::between(const SNEditorItem &original, const SNEditorItem &edited, bool newIcon,
                           bool hadCompanion, bool needsCompanion, bool olderLayout)
{
    const AppDefinition &before = original.appItem;
    const AppDefinition &after = edited.appItem;
    EditPlan plan;
    if (newIcon)
        plan.add(Step::Icon);
    const bool renamed = before.appName != after.appName;
    if (renamed) {
        // The name is in the property list, the programs' names, the script, the engine, and the
        // messaging host's manifest names the bundle's path.
        for (Step step : {Step::InfoPlist, Step::LaunchPrograms, Step::Script, Step::Engine, Step::Move})
            plan.add(step);
        if (hadCompanion)
            plan.add(Step::CompanionFiles);
    }
    if (before.registerAsBrowser != after.registerAsBrowser ||
        before.passwordManagerCompatibility != after.passwordManagerCompatibility)
        plan.add(Step::InfoPlist);
    const bool addresses = before.appURL != after.appURL || before.needTab != after.needTab ||
                           tabAddresses(before) != tabAddresses(after);
    if (addresses || before.incognito != after.incognito || before.forceDarkMode != after.forceDarkMode ||
        before.engineSwitches != after.engineSwitches)
        plan.add(Step::Script);
    // The legacy patterns in data.json come from the addresses.
    if (addresses || before.isWhitelistingEnabled != after.isWhitelistingEnabled ||
        before.routingRules != after.routingRules || before.defaultDestination != after.defaultDestination ||
        before.restoreSession != after.restoreSession)
        plan.add(Step::DataJSON);
    if (needsCompanion && !hadCompanion) {
        plan.add(Step::CompanionFiles);
        plan.add(Step::Script);
    }
    if (original.browser != edited.browser) {
        plan.add(Step::Script);
        plan.add(Step::Engine);
        plan.add(Step::ProfileSwitch);
    }
    if (SNChromePrefsHelper::storedColor(before.accentColor) != SNChromePrefsHelper::storedColor(after.accentColor))
        plan.add(Step::AccentColor);
    if (olderLayout && !plan.isEmpty()) {
        // An older launcher is replaced by the current layout, as regeneration does.
        for (Step step : {Step::InfoPlist, Step::LaunchPrograms, Step::Script, Step::Engine})
            plan.add(step);
    }
    if (plan.runs(Step::CompanionFiles))
        plan.m_steps &= ~bit(Step::DataJSON);
    if (!plan.isEmpty() || before.accentColor != after.accentColor)
        plan.add(Step::Configuration);
    return plan;
}

QList<EditPlan::Step> EditPlan::steps() const
{
    QList<Step> ordered;
    for (unsigned i = 0; i <= unsigned(Step::Move); ++i) {
        if (m_steps & (1u << i))
            ordered.append(Step(i));
    }
    return ordered;
}

QString EditPlan::describe(Step step)
{
    switch (step) {
    case Step::Icon: return u"the icon"_s;
    case Step::InfoPlist: return u"Info.plist"_s;
    case Step::CompanionFiles: return u"the companion's files"_s;
    case Step::DataJSON: return u"data.json"_s;
    case Step::LaunchPrograms: return u"the launch program"_s;
    case Step::Script: return u"the launcher script"_s;
    case Step::Engine: return u"the engine"_s;
    case Step::AccentColor: return u"the accent colour"_s;
    case Step::Configuration: return u"the configuration"_s;
    case Step::ProfileSwitch: return u"the profile switch"_s;
    case Step::Move: return u"the new bundle folder"_s;
    }
    return {};
}
