#pragma once

#include "core/AppDefinition.h"
#include "core/SNImage.h"
#include "core/SNTabModel.h"

#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <optional>

// The record in which front ends, bulk creation, import and editing hand an app definition to
// the generator. Fields in declaration order; the dictionary form uses the same names.
class SNBulkApp final
{
public:
    QString appName;
    QString appURL;
    SNImage appIcon;
    QString creationPath;            // destination folder
    bool registerAsBrowser = false;
    bool incognito = false;
    bool whitelistingEnabled = false;
    bool tabbedApp = false;
    SNTabList tabsList;
    QVariantList routingRules;       // rule records
    std::optional<QVariantMap> defaultDestination;
    bool forceDarkMode = false;
    QString accentColor;             // empty when none
    bool restoreSession = true;
    bool passwordManagerCompatibility = false;

    // Reads the dictionary form. Unknown keys are ignored; a key of the wrong type is an error
    // naming the field. `appIcon` is image data, or a string naming an image file (relative
    // names are looked up in `baseFolder`). `tabsList` holds addresses or {"tabUrlString": ...}.
    static std::optional<SNBulkApp> fromDictionary(const QVariantMap &dictionary, const QString &baseFolder,
                                                   QString *error);

    // The record of an app's definition (its folder as `creationPath`).
    static SNBulkApp fromDefinition(const AppDefinition &definition);
    // What creation makes of a record, applied in place: an incognito app is tabbed, and a tabbed
    // app has at least its start page as a tab.
    void applyTabRules();

    // Copies the record's fields into `definition`; the browser, the profile to copy from and,
    // when `creationPath` is empty, the folder stay as they are. Tabs make the app tabbed.
    void applyTo(AppDefinition &definition) const;
};
