// Browsers as Linux users have them: stand-ins for a Snap, Flatpaks (system and per-user),
// Fedora's Chromium and a Chrome reached through PATH are put at their real paths inside a private
// mount namespace (tests/cli/packaging-standins.sh); `sorvane` must find each, list its profiles,
// and make an app whose engine starts it the way its packaging requires, on the app's own profile.

#include "CliSandbox.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// Mount points the namespace needs; those the machine lacks are made for the run and removed.
const QStringList MountPoints{u"/snap"_s, u"/var/lib/flatpak"_s};

struct Scenario
{
    const char *name;
    QStringList standIns;
    QString key;           // the browser the app is made for
    QString profileFolder; // where that packaging keeps the browser's profiles, under HOME
    QString packaging;     // expected of `sorvane browsers --json`
    QString enginePath;    // expected; "<work>" stands for the test's folder, "<home>" for HOME
    QString linkRouting;
    // How the browser must have been started: the fake engine's argv[0], and for a Flatpak the
    // `flatpak run` options before the application id.
    QString startedAs;
    QStringList flatpakOptions;
    QStringList found; // the packagings `installations` lists, in order
};

void PrintTo(const Scenario &scenario, std::ostream *os)
{
    *os << scenario.name;
}

QStringList nulSeparated(const QByteArray &data)
{
    QStringList words = QString::fromUtf8(data).split(u'\0');
    if (!words.isEmpty() && words.constLast().isEmpty())
        words.removeLast();
    return words;
}

QStringList filesIn(const QString &folder, const QString &pattern)
{
    QStringList paths;
    for (const QString &name : QDir(folder).entryList({pattern}, QDir::Files, QDir::Name))
        paths.append(folder + u'/' + name);
    return paths;
}

class BrowserPackaging : public ::testing::TestWithParam<Scenario>
{
protected:
    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "stand-ins at the browsers' real paths need root (a private mount namespace)";
        m_unshare = QStandardPaths::findExecutable(u"unshare"_s);
        if (m_unshare.isEmpty())
            GTEST_SKIP() << "unshare (util-linux) is not installed";
        if (QProcess::execute(m_unshare, {u"--mount"_s, u"true"_s}) != 0)
            GTEST_SKIP() << "unshare --mount is not allowed here";
        // Runs of this suite share the mount points they make and remove (ctest may run them side
        // by side): one at a time, by a lock on the folder that holds /var/lib/flatpak.
        m_lock = ::open("/var/lib", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ASSERT_GE(m_lock, 0);
        ASSERT_EQ(::flock(m_lock, LOCK_EX), 0);
        for (const QString &folder : MountPoints) {
            if (!QFileInfo::exists(folder) && QDir().mkpath(folder))
                m_made.append(folder);
        }
    }

    void TearDown() override
    {
        for (const QString &folder : m_made)
            QDir().rmdir(folder);
        if (m_lock >= 0)
            ::close(m_lock);
    }

    // Runs the stand-in script; false (with a test failure) when it failed.
    bool runStandIns(const Scenario &scenario)
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(m_unshare, QStringList{u"--mount"_s, u"/bin/bash"_s, QStringLiteral(SORVANE_STANDINS),
                                             work(), QStringLiteral(SORVANE_CLI), QStringLiteral(SORVANE_FAKE_ENGINE),
                                             fixturePath(u"profiles/user-data"_s), scenario.key, scenario.profileFolder} +
                                     scenario.standIns);
        if (!process.waitForFinished(180000)) {
            process.kill();
            process.waitForFinished();
            ADD_FAILURE() << "the stand-in run did not end";
            return false;
        }
        EXPECT_EQ(process.exitCode(), 0) << process.readAll().constData();
        return process.exitCode() == 0;
    }

    QString work() const { return m_test.root(); }
    QString home() const { return work() + u"/home"_s; }
    QString expand(QString text) const { return text.replace(u"<home>"_s, home()).replace(u"<work>"_s, work()); }

    TestContext m_test;
    QString m_unshare;
    QStringList m_made;
    int m_lock = -1;
};

TEST_P(BrowserPackaging, IsFoundListedAndStartedTheWayItsPackagingRequires)
{
    const Scenario &scenario = GetParam();
    ASSERT_TRUE(runStandIns(scenario));

    // Found, with its packaging, its engine and the verdict on link routing.
    QJsonObject browser;
    for (const QJsonValue &value : QJsonDocument::fromJson(readAll(work() + u"/browsers.json"_s)).array()) {
        if (value[u"key"_s].toString() == scenario.key)
            browser = value.toObject();
    }
    ASSERT_FALSE(browser.isEmpty()) << readAll(work() + u"/browsers.err"_s).constData();
    EXPECT_EQ(browser[u"packaging"_s].toString(), scenario.packaging);
    EXPECT_EQ(browser[u"enginePath"_s].toString(), expand(scenario.enginePath));
    EXPECT_TRUE(browser[u"installed"_s].toBool());
    EXPECT_EQ(browser[u"linkRouting"_s].toString(), scenario.linkRouting);
    EXPECT_EQ(browser[u"userDataFolder"_s].toString(), home() + u'/' + scenario.profileFolder);
    QStringList found;
    for (const QJsonValue &installation : browser[u"installations"_s].toArray())
        found.append(installation[u"packaging"_s].toString());
    EXPECT_EQ(found, scenario.found);
    const QString text = QString::fromUtf8(readAll(work() + u"/browsers.txt"_s));
    EXPECT_TRUE(text.contains(u"[%1]"_s.arg(scenario.packaging))) << qPrintable(text);

    // Its profiles come from the folder that packaging keeps them in.
    QStringList profileKeys;
    for (const QJsonValue &profile : QJsonDocument::fromJson(readAll(work() + u"/profiles.json"_s)).array())
        profileKeys.append(profile[u"key"_s].toString());
    EXPECT_EQ(profileKeys, (QStringList{u"Default"_s, u"Profile 1"_s})) << readAll(work() + u"/profiles.err"_s).constData();

    // The app was made and says how its links fare.
    const QJsonObject created = QJsonDocument::fromJson(readAll(work() + u"/create.json"_s)).object();
    ASSERT_FALSE(created.isEmpty()) << readAll(work() + u"/create.err"_s).constData();
    EXPECT_EQ(created[u"linkRouting"_s].toString(), scenario.linkRouting);
    const QJsonObject info = QJsonDocument::fromJson(readAll(work() + u"/info.json"_s)).object();
    EXPECT_EQ(info[u"health"_s][u"linkRouting"_s].toString(), scenario.linkRouting)
        << readAll(work() + u"/info.err"_s).constData();
    EXPECT_EQ(info[u"packaging"_s].toString(), scenario.packaging);

    // The chosen profile's data came from there too.
    const QString contents = work() + u"/Apps/Mail.app/Contents"_s;
    EXPECT_EQ(contentsOrMarker(contents + u"/Profile/Default/Bookmarks"_s),
              readAll(fixturePath(u"profiles/user-data/Profile 1/Bookmarks"_s)));

    // The browser was started as its packaging requires, on the app's own profile folder.
    const QStringList records = filesIn(work() + u"/records"_s, u"*.args"_s);
    ASSERT_EQ(records.size(), 1) << readAll(work() + u"/app.out"_s).constData();
    const QStringList started = nulSeparated(readAll(records.constFirst()));
    ASSERT_GE(started.size(), 2);
    EXPECT_EQ(started[0], expand(scenario.startedAs));
    QString profile;
    for (const QString &argument : started.mid(2)) {
        if (argument.startsWith(u"--user-data-dir="_s))
            profile = argument.mid(16);
    }
    EXPECT_EQ(QFileInfo(QDir(started[1]).filePath(profile)).canonicalFilePath(), contents + u"/Profile"_s)
        << qPrintable(started.join(u' '));
    EXPECT_TRUE(started.contains(u"--app=https://mail.example.org/"_s)) << qPrintable(started.join(u' '));

    // A confined browser is reached through the app's own engine, which keeps the app's name.
    const QString engine = contents + u"/Resources/../MacOS/Mail Engine"_s;
    // Besides the app's start, `sorvane` itself asks the browser for its version.
    QStringList parents;
    for (const QString &record : filesIn(work() + u"/launches"_s, u"*.parent"_s)) {
        const QString parent = QString::fromUtf8(readAll(record)).trimmed();
        if (parent != QStringLiteral(SORVANE_CLI))
            parents.append(parent);
    }
    if (scenario.packaging == u"snap"_s || scenario.packaging.startsWith(u"flatpak"_s)) {
        EXPECT_EQ(parents, QStringList{engine});
    } else {
        EXPECT_TRUE(parents.isEmpty());
        EXPECT_TRUE(QFileInfo(contents + u"/MacOS/Mail Engine"_s).isSymLink());
    }
    QList<QStringList> flatpakRuns;
    for (const QString &record : filesIn(work() + u"/launches"_s, u"flatpak-*.args"_s)) {
        if (QString::fromUtf8(readAll(QString(record).replace(u".args"_s, u".parent"_s))).trimmed() == engine)
            flatpakRuns.append(nulSeparated(readAll(record)));
    }
    if (!scenario.flatpakOptions.isEmpty()) {
        ASSERT_EQ(flatpakRuns.size(), 1);
        const QStringList &run = flatpakRuns.constFirst();
        QStringList expected{u"run"_s};
        for (const QString &option : scenario.flatpakOptions)
            expected.append(QString(option).replace(u"<contents>"_s, contents));
        EXPECT_EQ(run.mid(0, expected.size()), expected);
        EXPECT_TRUE(run.contains(u"--user-data-dir=%1/Profile"_s.arg(contents))) << qPrintable(run.join(u' '));
        EXPECT_TRUE(run.contains(u"--load-extension=%1/Resources/Sorvane_Extension"_s.arg(contents)))
            << qPrintable(run.join(u' '));
    } else {
        EXPECT_TRUE(flatpakRuns.isEmpty());
    }
}

// Flatpak reads ':' in a shared folder as the start of an access mode: an app whose folder holds
// one is refused before anything is made, and the same name without it is made.
TEST(FlatpakEngine, AFolderItCannotShareIsRefusedWithTheReason)
{
    Home home;
    home.writeSettings(u"chromiumPath=/var/lib/flatpak/exports/bin/org.chromium.Chromium\n"_s);
    const CliRun refused = home.create(u"Mail: Work"_s, {u"--allow-missing-browser"_s});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(refused.err.contains("flatpak run reads ':'")) << refused.err.constData();
    EXPECT_FALSE(QFileInfo::exists(home.bundle(u"Mail: Work"_s)));
    const CliRun made = home.create(u"Mail Work"_s, {u"--allow-missing-browser"_s});
    EXPECT_EQ(made.exitCode, 0) << made.err.constData();
    EXPECT_TRUE(QFileInfo::exists(home.bundle(u"Mail Work"_s)));
}

const QString Linked = u"<work>/Apps/Mail.app/Contents/Resources/../MacOS/Mail Engine"_s;

INSTANTIATE_TEST_SUITE_P(
    Packagings, BrowserPackaging,
    ::testing::Values(
        Scenario{"ChromiumSnap", {u"snap-chromium"_s}, u"chromium"_s, u"snap/chromium/common/chromium"_s, u"snap"_s,
                 u"/snap/bin/chromium"_s, u"no"_s, u"snap:chromium"_s, {}, {u"snap"_s}},
        Scenario{"ChromiumOnFedora", {u"fedora-chromium"_s, u"snap-chromium"_s}, u"chromium"_s, u".config/chromium"_s,
                 u"native"_s, u"/usr/lib64/chromium-browser/chromium-browser"_s, u"yes"_s, Linked, {},
                 {u"native"_s, u"snap"_s}},
        Scenario{"ChromeFlatpakSystem", {u"flatpak-system-chrome"_s, u"flatpak-user-brave"_s}, u"chrome"_s,
                 u".var/app/com.google.Chrome/config/google-chrome"_s, u"flatpak-system"_s,
                 u"/var/lib/flatpak/exports/bin/com.google.Chrome"_s, u"no"_s, u"flatpak:com.google.Chrome"_s,
                 {u"--system"_s, u"--filesystem=<contents>/Profile"_s, u"--filesystem=<contents>/Resources:ro"_s,
                  u"com.google.Chrome"_s},
                 {u"flatpak-system"_s}},
        Scenario{"BraveFlatpakUser", {u"flatpak-system-chrome"_s, u"flatpak-user-brave"_s}, u"brave"_s,
                 u".var/app/com.brave.Browser/config/BraveSoftware/Brave-Browser"_s, u"flatpak-user"_s,
                 u"<home>/.local/share/flatpak/exports/bin/com.brave.Browser"_s, u"no"_s,
                 u"flatpak:com.brave.Browser"_s,
                 {u"--user"_s, u"--filesystem=<contents>/Profile"_s, u"--filesystem=<contents>/Resources:ro"_s,
                  u"com.brave.Browser"_s},
                 {u"flatpak-user"_s}},
        Scenario{"ChromeThroughPath", {u"path-chrome"_s, u"flatpak-system-chrome"_s}, u"chrome"_s,
                 u".config/google-chrome"_s, u"path"_s, u"<work>/chrome-dist/chrome"_s, u"yes"_s, Linked, {},
                 {u"path"_s, u"flatpak-system"_s}}),
    [](const ::testing::TestParamInfo<Scenario> &row) { return std::string(row.param.name); });

} // namespace
