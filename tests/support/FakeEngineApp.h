#pragma once

#include "core/Context.h"
#include "core/AppDefinition.h"
#include "core/TabAddress.h"
#include "generation/CreateAppJob.h"

#include <QStringList>
#include <QThread>

// Makes `entry` through the real creation into `folder`, on the chromium engine (which a test
// points at the recording fake engine). Its registry id.
inline QString makeFakeEngineApp(Context &context, const QString &folder, AppDefinition entry)
{
    entry.applicationType = 5; // chromium
    entry.applicationsPath = folder;
    CreateAppJob job(context, {entry, {}, WhenNameTaken::Ask, folder});
    job.exec();
    QThread::msleep(20); // bundle dates a file system tells apart
    return job.result().appID;
}

// The same for an app on `urls`: several addresses make it tabbed.
inline QString makeFakeEngineApp(Context &context, const QString &folder, const QString &name,
                                 const QStringList &urls, bool incognito = false, bool registerAsBrowser = false)
{
    AppDefinition entry;
    entry.appName = name;
    entry.appURL = urls.value(0);
    entry.needTab = urls.size() > 1;
    for (const QString &url : entry.needTab ? urls : QStringList())
        entry.tabsList.append(TabAddress(url));
    entry.incognito = incognito;
    entry.registerAsBrowser = registerAsBrowser;
    return makeFakeEngineApp(context, folder, entry);
}
