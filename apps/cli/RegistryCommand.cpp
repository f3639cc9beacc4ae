#include "RegistryCommand.h"

#include "core/Context.h"
#include "core/SNAppTracker.h"

#include <QFileInfo>

int RegistryCommand::run(const QCommandLineParser &parser, Context &context)
{
    const SNAppTracker tracker(context);
    const SNAppTracker::FileState state = tracker.fileState();
    if (state == SNAppTracker::FileState::Unreadable || state == SNAppTracker::FileState::NotAFile) {
        printFailure(CliMessage::RegistryUnreadable,
                     {tracker.trackerPath(), state == SNAppTracker::FileState::NotAFile ? QStringLiteral("not a file")
                                                                                          : QStringLiteral("unreadable")});
        return Failure;
    }
    const QVariantMap records = tracker.getTracker();
    QVariantList apps;
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        const QVariantMap record = it.value().toMap();
        apps.append(QVariantMap{{QStringLiteral("appID"), it.key()},
                                {QStringLiteral("appPath"), record.value(QStringLiteral("appPath"))},
                                {QStringLiteral("lastActivity"), record.value(QStringLiteral("lastActivity"))}});
    }
    if (parser.isSet(QStringLiteral("json"))) {
        printJson(QVariantMap{{QStringLiteral("supportFolder"), tracker.getAppBundle()},
                              {QStringLiteral("tracker"), tracker.trackerPath()},
                              {QStringLiteral("apps"), apps}});
        return Success;
    }
    QStringList lines{QStringLiteral("Support folder: %1").arg(tracker.getAppBundle()),
                      QStringLiteral("Registry:       %1%2").arg(tracker.trackerPath(),
                                                                 QFileInfo::exists(tracker.trackerPath())
                                                                     ? QString()
                                                                     : QStringLiteral(" (no apps yet)")),
                      QStringLiteral("Apps:           %1").arg(apps.size())};
    for (const QVariant &app : apps) {
        const QVariantMap record = app.toMap();
        lines.append(QStringLiteral("  %1  %2").arg(record.value(QStringLiteral("appID")).toString(),
                                                   record.value(QStringLiteral("appPath")).toString()));
    }
    print(lines.join(u'\n'));
    return Success;
}
