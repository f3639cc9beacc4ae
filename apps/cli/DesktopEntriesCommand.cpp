#include "DesktopEntriesCommand.h"

#include "core/DesktopEntries.h"

#include "maintenance/AppList.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSet>

using namespace Qt::Literals::StringLiterals;

void DesktopEntriesCommand::addOptions(QCommandLineParser &parser)
{
    parser.addOption({u"sync"_s, u"Bring every listed app's entry and icons in step with the app, rewriting only "
                                 "the files that differ (and Sorvane's own entry when sorvane-desktop is installed "
                                 "beside sorvane); remove the entries and icons of apps no longer registered. "
                                 "Prints each file changed and why, or \"nothing to change\"."_s});
}

int DesktopEntriesCommand::run(const QCommandLineParser &parser, Context &context)
{
    const bool sync = parser.isSet(u"sync"_s);
    const DesktopEntries entries(context);
    QSet<QString> present;
    for (const QString &id : entries.entryAppIds())
        present.insert(id);

    QVariantList written, changed, missing, removed, orphans, failed;
    QStringList lines;
    QSet<QString> listed;
    for (const SNAppItem &item : AppList::loadAppItems(context)) {
        listed.insert(item.appId);
        const QVariantMap app{{u"appId"_s, item.appId}, {u"path"_s, item.path}};
        if (!sync) {
            if (!present.contains(item.appId))
                missing.append(app);
            continue;
        }
        QString error;
        QStringList changes;
        if (entries.writeAppEntry(item.appId, item.path, &error, &changes)) {
            written.append(app);
            if (changes.isEmpty())
                continue;
            const QString file = QFileInfo(entries.entryPath(item.appId)).fileName();
            changed.append(QVariantMap{{u"appId"_s, item.appId}, {u"path"_s, item.path}, {u"changes"_s, changes}});
            lines.append(changes.contains(u"created"_s)
                             ? u"created %1 (for %2)"_s.arg(file, item.path)
                             : u"updated %1 (%2)"_s.arg(file, changes.join(u", "_s)));
        } else {
            failed.append(QVariantMap{{u"appId"_s, item.appId}, {u"error"_s, error}});
            printFailure(error);
        }
    }
    for (const QString &id : std::as_const(present)) {
        if (listed.contains(id))
            continue;
        QString error;
        if (!sync) {
            orphans.append(id);
        } else if (entries.removeAppEntry(id, &error)) {
            removed.append(id);
            lines.append(u"removed %1 (no registered app has the id %2)"_s.arg(
                QFileInfo(entries.entryPath(id)).fileName(), id));
        } else {
            failed.append(QVariantMap{{u"appId"_s, id}, {u"error"_s, error}});
            printFailure(error);
        }
    }
    QString sorvaneEntry;
    const QString desktopProgram = QCoreApplication::applicationDirPath() + u"/sorvane-desktop"_s;
    if (sync && QFileInfo(desktopProgram).isExecutable()) {
        QString error;
        bool sorvaneChanged = false;
        switch (entries.updateSorvaneEntry(desktopProgram, &error, &sorvaneChanged)) {
        case DesktopEntries::SorvaneEntry::Written:
            sorvaneEntry = entries.applicationsFolder() + u"/sorvane.desktop"_s;
            if (sorvaneChanged)
                lines.append(u"updated sorvane.desktop (Sorvane's own entry, for %1)"_s.arg(desktopProgram));
            break;
        case DesktopEntries::SorvaneEntry::Installed: // the package's entry serves; nothing written
            if (sorvaneChanged)
                lines.append(u"removed sorvane.desktop (the installed %1 serves)"_s.arg(entries.installedSorvaneEntry()));
            break;
        case DesktopEntries::SorvaneEntry::Failed:
            printFailure(error);
            break;
        }
    }

    if (parser.isSet(u"json"_s)) {
        QVariantMap report{{u"folder"_s, entries.applicationsFolder()}, {u"failed"_s, failed}};
        if (sync) {
            report.insert(u"written"_s, written);
            report.insert(u"changed"_s, changed);
            report.insert(u"removed"_s, removed);
            report.insert(u"sorvaneEntry"_s, sorvaneEntry);
        } else {
            report.insert(u"missing"_s, missing);
            report.insert(u"orphans"_s, orphans);
        }
        printJson(report);
    } else if (sync) {
        if (lines.isEmpty() && failed.isEmpty())
            lines.append(u"nothing to change"_s);
        if (!lines.isEmpty())
            print(lines.join(u'\n'));
    } else {
        for (const QVariant &app : std::as_const(missing))
            print(u"No entry for %1"_s.arg(app.toMap().value(u"path"_s).toString()));
        for (const QVariant &id : std::as_const(orphans))
            print(u"Entry of %1 has no registered app"_s.arg(id.toString()));
        if (missing.isEmpty() && orphans.isEmpty())
            printNote(u"Every listed app has its entry in %1."_s.arg(entries.applicationsFolder()), parser);
    }
    // A check that finds a gap fails, so scripts can act on it.
    return !failed.isEmpty() || !missing.isEmpty() || !orphans.isEmpty() ? Failure : Success;
}
