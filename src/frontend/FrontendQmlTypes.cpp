#include "frontend/FrontendQmlTypes.h"

#include "frontend/AppCategory.h"
#include "frontend/AppCreationWizardStore.h"
#include "frontend/AppSuggestion.h"
#include "frontend/AppSuggestionsModel.h"
#include "frontend/AppSuggestionsStore.h"
#include "frontend/AppTemplate.h"
#include "frontend/BulkCreationStore.h"
#include "frontend/CustomQuickSetup.h"
#include "frontend/CustomQuickSetupList.h"
#include "frontend/ChoiceListModel.h"
#include "frontend/DestinationChoicesModel.h"
#include "frontend/DeepLinkHandler.h"
#include "frontend/HomescreenAppEntry.h"
#include "frontend/HomescreenAppsModel.h"
#include "frontend/HomescreenStore.h"
#include "frontend/JobProgress.h"
#include "frontend/IconShape.h"
#include "frontend/RoutingDestination.h"
#include "frontend/RoutingRulesModel.h"
#include "frontend/SorvaneSettingsStore.h"
#include "frontend/TabsModel.h"
#include "frontend/WizardDraft.h"
#include "frontend/WizardEngineSwitch.h"
#include "frontend/WizardIcon.h"
#include "frontend/WizardImportChoices.h"
#include "frontend/WizardRoutingRule.h"
#include "frontend/WizardSteps.h"

#include <QQmlEngine>

using namespace Qt::Literals::StringLiterals;

namespace FrontendQmlTypes {

namespace {

template<typename Store>
void registerStore(const char *name)
{
    qmlRegisterUncreatableType<Store>(Uri, 1, 0, name, u"%1 is made by the application"_s.arg(QLatin1String(name)));
}

void registerValueType(const QMetaObject &metaObject, const char *name)
{
    qmlRegisterUncreatableMetaObject(metaObject, Uri, 1, 0, name,
                                     u"%1 values come from the stores"_s.arg(QLatin1String(name)));
}

} // namespace

void registerTypes()
{
    registerStore<AppCreationWizardStore>("AppCreationWizardStore");
    registerStore<WizardDraft>("WizardDraft");
    registerStore<WizardSteps>("WizardSteps");
    registerStore<WizardIcon>("WizardIcon");
    registerStore<WizardImportChoices>("WizardImportChoices");
    registerStore<WizardEngineSwitch>("WizardEngineSwitch");
    registerStore<TabsModel>("TabsModel");
    registerStore<RoutingRulesModel>("RoutingRulesModel");
    registerStore<DestinationChoicesModel>("DestinationChoicesModel");
    registerStore<ChoiceListModel>("ChoiceListModel");
    registerStore<SorvaneSettingsStore>("SorvaneSettingsStore");
    registerStore<CustomQuickSetupList>("CustomQuickSetupList");
    registerStore<AppSuggestionsStore>("AppSuggestionsStore");
    registerStore<AppSuggestionsModel>("AppSuggestionsModel");
    registerStore<HomescreenStore>("HomescreenStore");
    registerStore<JobProgress>("JobProgress");
    registerStore<BulkCreationStore>("BulkCreationStore");
    registerStore<HomescreenAppsModel>("HomescreenAppsModel");
    registerStore<DeepLinkHandler>("DeepLinkHandler");
    registerValueType(RoutingDestination::staticMetaObject, "RoutingDestination");
    registerValueType(WizardRoutingRule::staticMetaObject, "WizardRoutingRule");
    registerValueType(HomescreenAppEntry::staticMetaObject, "HomescreenAppEntry");
    registerValueType(CustomQuickSetup::staticMetaObject, "CustomQuickSetup");
    registerValueType(AppSuggestion::staticMetaObject, "AppSuggestion");
    registerValueType(AppTemplate::staticMetaObject, "AppTemplate");
    registerValueType(IconShape::staticMetaObject, "IconShape");
    registerValueType(AppCategory::staticMetaObject, "AppCategory");
}

} // namespace FrontendQmlTypes
