#pragma once

#include "core/Context.h"
#include "core/SNBulkApp.h"
#include "core/SNTabModel.h"
#include "generation/ApplicationManager.h"

#include <QStringList>
#include <QThread>

// Makes an app through the real creation into `folder`, on the chromium engine (which a test
// points at the recording fake engine); several addresses make it tabbed. Its registry id.
inline QString makeFakeEngineApp(Context &context, const QString &folder, const QString &name,
                                 const QStringList &urls, bool incognito = false, bool registerAsBrowser = false)
{
    ApplicationManager manager(context);
    manager.definition().applicationType = 5; // chromium
    manager.definition().applicationsPath = folder;
    SNBulkApp entry;
    entry.appName = name;
    entry.appURL = urls.value(0);
    entry.tabbedApp = urls.size() > 1;
    for (const QString &url : entry.tabbedApp ? urls : QStringList())
        entry.tabsList.append(SNTabModel(url));
    entry.incognito = incognito;
    entry.registerAsBrowser = registerAsBrowser;
    manager.bulkApps = {entry};
    manager.create(false);
    QThread::msleep(20); // bundle dates a file system tells apart
    return manager.created().appID;
}
