#include "editing/StructuralState.h"

StructuralState StructuralState::of(const AppDefinition &app)
{
    StructuralState state;
    state.url = app.appURL;
    for (const TabAddress &tab : app.tabsList)
        state.tabURLs.append(tab.tabUrlString);
    state.isTabbed = app.needTab;
    state.registerAsBrowser = app.registerAsBrowser;
    state.incognito = app.incognito;
    state.forceDarkMode = app.forceDarkMode;
    state.engineSwitches = app.engineSwitches;
    state.passwordManagerCompatibility = app.passwordManagerCompatibility;
    state.iconIdentity = app.appIcon.isNull() ? 0 : app.appIcon.largestRepresentation().cacheKey();
    return state;
}
