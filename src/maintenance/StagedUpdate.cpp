#include "maintenance/StagedUpdate.h"

#include "core/AppDefinition.h"
#include "core/AtomicWriter.h"
#include "core/Context.h"
#include "core/ExclusiveRename.h"
#include "core/Logger.h"
#include "core/OperationJournal.h"
#include "core/TreeCopy.h"
#include "generation/BundleWriter.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString PhaseKey = u"phase"_s;
const QString Staging = u"staging"_s;
const QString Committing = u"committing"_s;

bool present(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

QStringList entriesOf(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

// The places of one app's update, from its id and bundle alone, so that recovery finds them.
struct Paths
{
    QString bundle;
    QString staging; // the new bundle, until it is put in place
    QString aside;   // the old bundle, while the new one is put in place

    Paths(const QString &appId, const QString &bundlePath)
        : bundle(bundlePath)
    {
        const QString folder = QFileInfo(bundle).path();
        const QString digest = QString::fromLatin1(
            QCryptographicHash::hash(appId.toUtf8(), QCryptographicHash::Sha256).toHex().left(24));
        staging = folder + u"/.sorvane-update-"_s + digest;
        aside = folder + u"/.sorvane-update-previous-"_s + digest;
    }
};

using Undo = StagedUpdate::Undo;

// Every step looks at what is done already, so that recovery runs this again to finish an update
// killed half-way; `undo` collects how to take back each step done here.
bool putInPlace(const Paths &paths, Undo *undo, QString *error)
{
    if (!present(paths.staging))
        return true;
    if (!StagedUpdate::moveAsideKeepingProfile(paths.bundle, paths.aside, paths.staging, u"update"_s, undo, error))
        return false;
    if (!ExclusiveRename::move(paths.staging, paths.bundle, error))
        return false;
    if (undo)
        undo->append([paths] { return ExclusiveRename::move(paths.bundle, paths.staging, nullptr); });
    return true;
}

// What is left of an update that was put in place: the old bundle, unless a profile of it is
// still there (then it is kept, and said so, rather than lost).
void tidyUp(const Paths &paths)
{
    if (!present(paths.aside))
        return;
    for (const QString &name : entriesOf(paths.aside + u"/Contents"_s)) {
        if (StagedUpdate::isProfileEntry(name)) {
            Logger::log(u"⚠️ %1 still holds a profile and is kept"_s.arg(paths.aside));
            return;
        }
    }
    QDir(paths.aside).removeRecursively();
}

QString appNameOf(const QString &bundle)
{
    QString name = QFileInfo(bundle).fileName();
    if (name.endsWith(u".app"_s))
        name.chop(4);
    return name;
}

} // namespace

bool StagedUpdate::isProfileEntry(const QString &name)
{
    return name.startsWith(u"Profile"_s) || name.startsWith(u".Profile"_s);
}

bool StagedUpdate::moveAsideKeepingProfile(const QString &bundle, const QString &aside, const QString &staging,
                                           const QString &verb, Undo *undo, QString *error)
{
    if (!present(aside)) {
        if (!present(bundle))
            return Logger::fail(error, u"Cannot %1 %2: it was moved or deleted meanwhile"_s.arg(verb, bundle));
        if (!ExclusiveRename::move(bundle, aside, error))
            return false;
        if (undo)
            undo->append([bundle, aside] { return ExclusiveRename::move(aside, bundle, nullptr); });
    }
    const QString oldContents = aside + u"/Contents/"_s;
    const QString newContents = staging + u"/Contents/"_s;
    for (const QString &name : entriesOf(oldContents)) {
        if (!isProfileEntry(name) || present(newContents + name))
            continue;
        if (!ExclusiveRename::move(oldContents + name, newContents + name, error))
            return false;
        if (undo)
            undo->append([=] { return ExclusiveRename::move(newContents + name, oldContents + name, nullptr); });
    }
    return true;
}

bool StagedUpdate::copyWithoutProfile(const QString &bundle, const QString &destination, QString *error)
{
    const auto copy = [error](const QString &from, const QString &to) {
        const std::optional<QString> failed =
            TreeCopy::copy(from, to, {TreeCopy::Links::Keep, TreeCopy::Existing::Fail, TreeCopy::Errors::Stop});
        return !failed || Logger::fail(error, u"Cannot copy %1: %2"_s.arg(from, *failed));
    };
    if (!QDir().mkpath(destination + u"/Contents/MacOS"_s))
        return Logger::fail(error, u"Cannot create %1"_s.arg(destination));
    for (const QString &name : entriesOf(bundle)) {
        if (name != u"Contents"_s && !copy(bundle + u'/' + name, destination + u'/' + name))
            return false;
    }
    const QString contents = bundle + u"/Contents/"_s;
    for (const QString &name : entriesOf(contents)) {
        if (isProfileEntry(name) || name.startsWith(u".sorvane-"_s) || name == u"MacOS"_s)
            continue;
        if (!copy(contents + name, destination + u"/Contents/"_s + name))
            return false;
    }
    // The engine's link is made under its own name: a temporary name beside it would not fit when
    // the app's name is as long as a name can be.
    const QString programs = contents + u"MacOS/"_s;
    for (const QString &name : entriesOf(programs)) {
        const QString target = destination + u"/Contents/MacOS/"_s + name;
        if (!QFileInfo(programs + name).isSymLink()) {
            if (!copy(programs + name, target))
                return false;
            continue;
        }
        std::error_code code;
        const std::filesystem::path source = QFile::encodeName(programs + name).toStdString();
        std::filesystem::create_symlink(std::filesystem::read_symlink(source, code),
                                        QFile::encodeName(target).toStdString(), code);
        if (code)
            return Logger::fail(error, u"Cannot copy %1: %2"_s.arg(programs + name, QString::fromStdString(code.message())));
    }
    return true;
}

bool StagedUpdate::run(Context &context, const QString &appId, const BundleLayout &installed, const Write &write,
                       QString *error)
{
    const Paths paths(appId, installed.bundle);
    if (present(paths.aside))
        return Logger::fail(error, u"Cannot update %1: an earlier update of it is unfinished (%2); it is finished "
                                   "when Sorvane starts again"_s.arg(installed.bundle, paths.aside));
    QVariantMap entry{{OperationJournal::OperationKey, OperationJournal::Update},
                      {OperationJournal::AppIdKey, appId},
                      {OperationJournal::BundleKey, installed.bundle},
                      {PhaseKey, Staging}};
    const std::unique_ptr<OperationJournal> journal = OperationJournal::begin(context, entry, error);
    if (!journal)
        return false;
    const auto discard = [&paths] { QDir(paths.staging).removeRecursively(); };
    discard(); // of an attempt undone at a start that could not remove it then
    BundleLayout staged = installed.relocated(paths.staging);
    // Nothing in the profile moves: the files written there name the bundle where it is, which an
    // update does not change.
    staged.profile = installed.profile;
    staged.defaultUser = installed.defaultUser;
    staged.extensions = installed.extensions;
    bool written = false;
    {
        // The copy and what is written into it are synced once, as a whole, before they are put
        // in place.
        const AtomicWriter::DeferredSync deferred(paths.staging);
        written = copyWithoutProfile(installed.bundle, paths.staging, error) && write(staged, error);
    }
    if (!written || !AtomicWriter::syncFileSystemOf(paths.staging, error)) {
        discard();
        return false;
    }
    entry.insert(PhaseKey, Committing);
    if (!journal->update(entry, error)) {
        discard();
        return false;
    }
    Undo undo;
    QString reason;
    if (!putInPlace(paths, &undo, &reason)) {
        bool undone = true;
        for (qsizetype i = undo.size() - 1; i >= 0; --i)
            undone = undo.at(i)() && undone;
        if (undone)
            discard();
        else
            journal->keepForRecovery(); // the next start finishes it
        return Logger::fail(error, reason);
    }
    tidyUp(paths);
    return true;
}

bool StagedUpdate::recover(Context &context, const QVariantMap &entry)
{
    const QString appId = entry.value(OperationJournal::AppIdKey).toString();
    const QString bundle = entry.value(OperationJournal::BundleKey).toString();
    const Paths paths(appId, bundle);
    if (entry.value(PhaseKey).toString() != Committing || (!present(paths.aside) && !present(bundle))) {
        // Nothing was in place yet (the app is as it was), or the app is gone.
        QDir(paths.staging).removeRecursively();
        return true;
    }
    QString error;
    if (!putInPlace(paths, nullptr, &error)) {
        Logger::log(u"⚠️ Recovery: %1"_s.arg(error));
        return false;
    }
    tidyUp(paths);
    AppDefinition definition;
    definition.appName = appNameOf(bundle);
    BundleWriter(context, definition, BundleLayout::atPath(bundle, definition.appName)).refreshMenuEntry(appId);
    return true;
}
