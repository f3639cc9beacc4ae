#include "core/OperationJournal.h"

#include "core/Context.h"
#include "core/Logger.h"
#include "core/PropertyList.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QUuid>

using namespace Qt::Literals::StringLiterals;

const QString OperationJournal::OperationKey = u"operation"_s;
const QString OperationJournal::AppIdKey = u"appID"_s;
const QString OperationJournal::BundleKey = u"bundle"_s;
const QString OperationJournal::TargetKey = u"target"_s;
const QString OperationJournal::FromBrowserKey = u"fromBrowser"_s;
const QString OperationJournal::ToBrowserKey = u"toBrowser"_s;
const QString OperationJournal::RestoringKey = u"restoringBackup"_s;
const QString OperationJournal::Create = u"create"_s;
const QString OperationJournal::Edit = u"edit"_s;
const QString OperationJournal::Update = u"update"_s;
const QString OperationJournal::Delete = u"delete"_s;

namespace {

QString lockPathOf(const QString &entryPath)
{
    QString path = entryPath;
    path.chop(6); // ".plist"
    return path + u".lock"_s;
}

} // namespace

QString OperationJournal::folder(const Context &context)
{
    return context.supportFolder() + u"/journal"_s;
}

OperationJournal::OperationJournal(QString path, std::unique_ptr<FileLock> lock, QVariantMap entry)
    : m_path(std::move(path)), m_lock(std::move(lock)), m_entry(std::move(entry))
{
}

std::unique_ptr<OperationJournal> OperationJournal::begin(const Context &context, const QVariantMap &entry,
                                                          QString *error)
{
    const QString dir = folder(context);
    if (!QDir().mkpath(dir)) {
        Logger::fail(error, u"Cannot create the journal folder %1"_s.arg(dir));
        return nullptr;
    }
    const QString path = u"%1/%2.plist"_s.arg(dir, QUuid::createUuid().toString(QUuid::WithoutBraces));
    auto lock = std::make_unique<FileLock>(lockPathOf(path));
    if (!lock->isLocked()) {
        Logger::fail(error, lock->errorString());
        return nullptr;
    }
    QVariantMap recorded = entry;
    recorded.insert(u"pid"_s, QCoreApplication::applicationPid());
    QString reason;
    if (!PropertyList::writeFile(path, recorded, &reason)) {
        QFile::remove(lockPathOf(path));
        Logger::fail(error, u"Cannot record the change in %1: %2"_s.arg(path, reason));
        return nullptr;
    }
    return std::unique_ptr<OperationJournal>(new OperationJournal(path, std::move(lock), recorded));
}

bool OperationJournal::update(const QVariantMap &entry, QString *error)
{
    QVariantMap recorded = entry;
    recorded.insert(u"pid"_s, QCoreApplication::applicationPid());
    QString reason;
    if (!PropertyList::writeFile(m_path, recorded, &reason))
        return Logger::fail(error, u"Cannot record the change in %1: %2"_s.arg(m_path, reason));
    m_entry = recorded;
    return true;
}

OperationJournal::~OperationJournal()
{
    if (m_keep)
        return;
    // The entry goes first: a lock file without an entry is only a leftover.
    QFile::remove(m_path);
    QFile::remove(lockPathOf(m_path));
}

int OperationJournal::recoverAbandoned(const Context &context, const std::function<bool(const QVariantMap &)> &recover)
{
    const QDir dir(folder(context));
    int handed = 0;
    for (const QString &name : dir.entryList({u"*.plist"_s}, QDir::Files, QDir::Name)) {
        const QString path = dir.filePath(name);
        const FileLock lock(lockPathOf(path), FileLock::Wait::No);
        if (!lock.isLocked() || !QFile::exists(path))
            continue; // still running, or finished meanwhile
        QString reason;
        const QVariantMap entry = PropertyList::readFile(path, &reason).toMap();
        ++handed;
        if (entry.isEmpty()) {
            Logger::log(u"⚠️ An unreadable journal entry was set aside: %1 (%2)"_s.arg(path, reason));
            QFile::rename(path, path + u".unreadable"_s);
        } else if (!recover(entry)) {
            continue; // kept for the next start
        } else {
            QFile::remove(path);
        }
        QFile::remove(lockPathOf(path));
    }
    // Lock files whose entry is gone and whose holder died between removing the two. Only old
    // ones: a new one may belong to a writer that has not written its entry yet.
    const QDateTime old = QDateTime::currentDateTimeUtc().addSecs(-60);
    for (const QFileInfo &info : dir.entryInfoList({u"*.lock"_s}, QDir::Files)) {
        const QString lockPath = info.filePath();
        QString entry = lockPath;
        entry.chop(5);
        if (QFile::exists(entry + u".plist"_s) || info.lastModified().toUTC() > old)
            continue;
        const FileLock lock(lockPath, FileLock::Wait::No);
        if (lock.isLocked())
            QFile::remove(lockPath);
    }
    return handed;
}
