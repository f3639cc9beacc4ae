#include "ListCommand.h"

#include "maintenance/AppList.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

int ListCommand::run(const QCommandLineParser &parser, Context &context)
{
    QList<SNAppItem> items = AppList::loadAppItems(context);
    // The registry has no order of its own; people read names.
    std::stable_sort(items.begin(), items.end(), [](const SNAppItem &a, const SNAppItem &b) {
        return a.name.localeAwareCompare(b.name) < 0;
    });
    if (parser.isSet(u"json"_s)) {
        QVariantList apps;
        for (const SNAppItem &item : items)
            apps.append(QVariantMap{{u"appId"_s, item.appId},
                                    {u"path"_s, item.path},
                                    {u"name"_s, item.name},
                                    {u"urls"_s, item.urls},
                                    {u"type"_s, item.type},
                                    {u"typeIcon"_s, item.typeIcon},
                                    {u"browserIcon"_s, item.browserIcon},
                                    {u"browserName"_s, item.browserName}});
        printJson(apps);
        return Success;
    }
    if (items.isEmpty()) {
        printNote(u"No apps yet: `sorvane create` makes one."_s, parser);
        return Success;
    }
    for (const SNAppItem &item : items)
        print(u"%1\t%2\t%3\t%4"_s.arg(item.name, item.type, item.browserName, item.path));
    return Success;
}
