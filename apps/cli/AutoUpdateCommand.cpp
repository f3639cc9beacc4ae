#include "AutoUpdateCommand.h"

#include "maintenance/AutoUpdateCheckJob.h"

using namespace Qt::Literals::StringLiterals;

int AutoUpdateCommand::run(const QCommandLineParser &parser, Context &context)
{
    AutoUpdateCheckJob job(context, AutoUpdateCheckJob::Request{.migrateCompanionFolder = true});
    job.exec();
    const SNAutoUpdateManager::CheckOutcome outcome = job.outcome();
    const int updated = job.updated();
    const int total = job.total();
    const int migrated = job.migrated();

    using Outcome = SNAutoUpdateManager::CheckOutcome;
    if (parser.isSet(u"json"_s)) {
        static const QHash<Outcome, QString> keys{{Outcome::Disabled, u"disabled"_s},
                                                  {Outcome::TooSoon, u"too-soon"_s},
                                                  {Outcome::NothingOutdated, u"current"_s},
                                                  {Outcome::Started, u"updated"_s}};
        printJson(QVariantMap{{u"outcome"_s, keys.value(outcome)}, {u"updated"_s, updated}, {u"total"_s, total},
                              {u"migrated"_s, migrated}});
    } else if (outcome == Outcome::Disabled) {
        print(u"Automatic updates are off (automaticAppUpdates); `sorvane update --outdated` updates now."_s);
    } else if (outcome == Outcome::TooSoon) {
        print(u"The last check was less than an hour ago; nothing done."_s);
    } else if (outcome == Outcome::NothingOutdated) {
        print(u"Every app is current."_s);
    } else {
        print(u"Updated %1 out of %2 apps"_s.arg(updated).arg(total));
    }
    return updated == total ? Success : Failure;
}
