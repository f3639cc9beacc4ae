// A full disk as a user meets it: apps are made on a small tmpfs, the disk is filled up to a few
// bytes, and every command either does its work or says on stderr why it did not. Once the
// space is back, nothing Sorvane wrote is empty or cut short, and every app is still listed,
// readable and updatable.

#include "CliSandbox.h"

#include "support/TestContext.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <iostream>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// A home whose whole temporary folder (HOME, support folder, applications folder) is a tmpfs:
// room for a handful of bundles, sanitizer builds' larger programs included. Its memory is only
// taken as the filler grows.
class SmallDiskHome : public Home
{
public:
    SmallDiskHome()
    {
        const QByteArray root = QFile::encodeName(test.root());
        if (::mount("tmpfs", root.constData(), "tmpfs", 0, "size=256m,mode=0700") != 0) {
            failure = u"cannot mount a tmpfs on the test folder: %1"_s.arg(QString::fromLocal8Bit(std::strerror(errno)));
            return;
        }
        mounted = true;
        // The mount hides what the sandbox had made in the folder.
        QDir().mkpath(test.home());
        QDir().mkpath(records);
        writeSettings(u"chromiumPath=" SORVANE_FAKE_ENGINE "\n"_s);
    }
    ~SmallDiskHome()
    {
        if (mounted && ::umount2(QFile::encodeName(test.root()).constData(), MNT_DETACH) != 0)
            ADD_FAILURE() << "cannot unmount the tmpfs: " << std::strerror(errno);
    }
    SmallDiskHome(const SmallDiskHome &) = delete;
    SmallDiskHome &operator=(const SmallDiskHome &) = delete;

    QString filler() const { return test.root() + u"/filler"_s; }

    // Fills the disk until at most `left` bytes are free (0: until a write is refused).
    bool fill(qint64 left) const
    {
        struct statvfs disk
        {
        };
        if (::statvfs(QFile::encodeName(test.root()).constData(), &disk) != 0)
            return false;
        qint64 toWrite = qint64(disk.f_bavail) * qint64(disk.f_frsize) - left;
        QFile file(filler());
        if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            return false;
        const QByteArray chunk(64 * 1024, 'x');
        while (left == 0 || toWrite > 0) {
            const qint64 size = left == 0 ? chunk.size() : std::min<qint64>(toWrite, chunk.size());
            if (file.write(chunk.constData(), size) != size)
                return left == 0; // a full disk is what was asked for
            toWrite -= size;
        }
        return true;
    }

    // Every bundle in the applications folder (a hidden staging folder is not one).
    QStringList bundles() const
    {
        QStringList found;
        for (const QFileInfo &entry : QDir(apps).entryInfoList({u"*.app"_s}, QDir::Dirs | QDir::NoDotAndDotDot))
            found.append(entry.filePath());
        return found;
    }

    bool mounted = false;
    QString failure;
};

QString supportFolder(const Home &home)
{
    return home.test.home() + u"/.local/share/Sorvane"_s;
}

// A property list Python's reader takes, holding something.
void expectWholePlist(const QString &path)
{
    const QJsonDocument parsed = QJsonDocument::fromJson(plistAsJsonFromPython(path));
    EXPECT_TRUE(parsed.isObject() && !parsed.object().isEmpty()) << "not a whole property list: " << qPrintable(path);
}

struct FullDiskCase
{
    const char *name;
    qint64 freeBytes;
};

class DiskFull : public testing::TestWithParam<FullDiskCase>
{
};

} // namespace

TEST_P(DiskFull, EveryCommandSucceedsOrSaysWhyAndLeavesEveryFileWhole)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "mounting a tmpfs needs root";
    SmallDiskHome home;
    ASSERT_TRUE(home.mounted) << qPrintable(home.failure);

    ASSERT_EQ(home.create(u"Mail"_s, {u"--routing"_s}).exitCode, 0);
    ASSERT_EQ(home.create(u"Chat"_s).exitCode, 0);
    const QString set = home.test.root() + u"/set"_s;
    ASSERT_EQ(home.sorvane({u"export"_s, u"--all"_s, u"--output"_s, set}).exitCode, 0);
    ASSERT_TRUE(home.fill(GetParam().freeBytes));

    // Each step with what must be true afterwards when it says it succeeded.
    struct Step
    {
        QString name;
        QStringList arguments;
        std::function<bool()> done;
    };
    const auto exists = [&home](const QString &name) { return QFileInfo(home.bundle(name)).isDir(); };
    const auto accent = [&home](const QString &name) {
        const QJsonDocument info = QJsonDocument::fromJson(home.sorvane({u"info"_s, home.bundle(name), u"--json"_s}).out);
        return info[u"configuration"_s][u"accentColor"_s].toString();
    };
    const QList<Step> steps{
        {u"create"_s,
         {u"create"_s, u"--name"_s, u"News"_s, u"--url"_s, u"https://news.example.org/"_s, u"--browser"_s,
          u"chromium"_s, u"--into"_s, home.apps},
         [&] { return exists(u"News"_s); }},
        {u"edit (rename)"_s,
         {u"edit"_s, home.bundle(u"Mail"_s), u"--name"_s, u"Mail Two"_s},
         [&] { return exists(u"Mail Two"_s) && !exists(u"Mail"_s); }},
        {u"edit (accent)"_s,
         {u"edit"_s, home.bundle(u"Chat"_s), u"--accent"_s, u"00AA00"_s},
         [&] { return accent(u"Chat"_s).contains(u"00AA00"_s, Qt::CaseInsensitive); }},
        {u"update"_s, {u"update"_s, home.bundle(u"Chat"_s)}, [] { return true; }},
        {u"import"_s,
         {u"import"_s, set + u".sorvane"_s, u"--into"_s, home.apps, u"--replace"_s},
         [&] { return exists(u"Mail"_s) && exists(u"Chat"_s); }},
        {u"delete"_s, {u"delete"_s, u"--yes"_s, home.bundle(u"Chat"_s)}, [&] { return !exists(u"Chat"_s); }},
    };
    QStringList outcomes;
    for (const Step &step : steps) {
        const CliRun run = home.sorvane(step.arguments);
        outcomes.append(u"%1=%2"_s.arg(step.name).arg(run.exitCode));
        EXPECT_NE(run.exitCode, -1) << qPrintable(step.name) << " crashed or hung";
        if (run.exitCode != 0) {
            EXPECT_FALSE(run.err.trimmed().isEmpty()) << qPrintable(step.name) << " failed without saying why";
        } else {
            EXPECT_TRUE(step.done()) << qPrintable(step.name) << " said it succeeded but did not do its work";
        }
    }
    // Which steps met the full disk differs with the space left; the log shows it.
    std::cout << "[ free " << GetParam().freeBytes << " bytes ] " << outcomes.join(u", "_s).toStdString() << '\n';

    ASSERT_TRUE(QFile::remove(home.filler()));
    const QString support = supportFolder(home);
    expectWholePlist(support + u"/tracker.plist"_s);
    for (const QFileInfo &config : QDir(support).entryInfoList({u"*.config"_s}, QDir::Files))
        expectWholePlist(config.filePath());
    // No temporary file outlives a failed write.
    for (QDirIterator it(home.test.root(), QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
         it.hasNext();) {
        const QFileInfo file(it.next());
        EXPECT_FALSE(file.fileName().startsWith(u'.') && file.fileName().endsWith(u".tmp"_s))
            << "left behind: " << qPrintable(file.filePath());
    }

    const QJsonArray listed = QJsonDocument::fromJson(home.sorvane({u"list"_s, u"--json"_s}).out).array();
    QStringList listedPaths;
    for (const QJsonValue &app : listed)
        listedPaths.append(app[u"path"_s].toString());
    const QStringList bundles = home.bundles();
    EXPECT_FALSE(bundles.isEmpty());
    for (const QString &bundle : bundles) {
        SCOPED_TRACE(bundle.toStdString());
        expectWholePlist(bundle + u"/Contents/Info.plist"_s);
        const QString script = bundle + u"/Contents/Resources/script"_s;
        EXPECT_GT(QFileInfo(script).size(), 0);
        EXPECT_EQ(CliSandbox::run(u"/bin/bash"_s, {u"-n"_s, script}, home.environment).exitCode, 0)
            << "the launcher script is not whole";
        EXPECT_TRUE(listedPaths.contains(bundle)) << "not listed: " << qPrintable(listedPaths.join(u", "_s));
        const CliRun info = home.sorvane({u"info"_s, bundle, u"--json"_s});
        EXPECT_EQ(info.exitCode, 0) << info.err.constData();
        EXPECT_FALSE(QJsonDocument::fromJson(info.out)[u"configuration"_s].toObject().isEmpty())
            << "its configuration cannot be read back";
        // With the space back, the app can be changed again.
        const CliRun update = home.sorvane({u"update"_s, bundle});
        EXPECT_EQ(update.exitCode, 0) << update.err.constData();
    }
}

INSTANTIATE_TEST_SUITE_P(FreeSpace, DiskFull,
                         testing::Values(FullDiskCase{"none", 0}, FullDiskCase{"4KB", 4 * 1024},
                                         FullDiskCase{"64KB", 64 * 1024},
                                         FullDiskCase{"256KB", 256 * 1024}, FullDiskCase{"512KB", 512 * 1024},
                                         FullDiskCase{"1MB", 1024 * 1024}),
                         [](const testing::TestParamInfo<FullDiskCase> &row) { return std::string(row.param.name); });
