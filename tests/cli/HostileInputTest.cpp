// Small hostile files fed to `sorvane` as a user would: an app set to import, an icon to create an
// app with, a registered app whose Info.plist is hostile. Each would take gigabytes or overflow the
// stack without the parsers' budgets; here every run ends with a clear refusal (or, for commands
// that only look at the app, normally), under an address-space limit, without a signal. One file
// per way in: each budget of the readers is tests/core/PropertyListTest.cpp's and ImageTest.cpp's.

#include "CliSandbox.h"

#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

#include <sys/resource.h>

using namespace Qt::Literals::StringLiterals;

#if defined(__SANITIZE_ADDRESS__)
#define SORVANE_UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SORVANE_UNDER_ASAN 1
#endif
#endif

namespace {

// Far below what the hostile files take unbounded (5.9 GB and more), far above what a run needs.
constexpr rlim_t AddressSpaceLimit = rlim_t(1536) * 1024 * 1024;
// Only against a hang; no run comes near it.
constexpr int HangGuardMs = 120000;

// `sorvane` under the address-space limit. The sanitizers reserve terabytes of shadow memory, so
// under them the limit is left off and the input still runs.
CliRun sorvaneLimited(const CliSandbox &home, const QStringList &arguments)
{
    QProcess process;
    process.setProcessEnvironment(home.environment);
#ifndef SORVANE_UNDER_ASAN
    process.setChildProcessModifier([] {
        const rlimit limit{AddressSpaceLimit, AddressSpaceLimit};
        setrlimit(RLIMIT_AS, &limit);
    });
#endif
    process.start(QStringLiteral(SORVANE_CLI), arguments);
    process.closeWriteChannel();
    if (!process.waitForFinished(HangGuardMs)) {
        process.kill();
        process.waitForFinished();
    }
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

QString corpus(const QString &relative)
{
    return fixturePath(u"../fuzz/corpus/"_s + relative);
}

// Arrays nested 300,000 deep, each tag with a newline before its '>': deep enough to overflow the
// parser's stack. Built here: the fuzz corpus keeps a short one.
QByteArray deeplyNestedXml()
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" +
           QByteArray("<array\n>").repeated(300000);
}

struct HostileCase
{
    const char *name;
    // A corpus file, or empty for the deep XML above.
    const char *file;
    // What the user runs on it: "import", "icon", or a command on a registered app whose Info.plist
    // is the file ("list", "desktop-entries", "update", "auto-update", "export").
    const char *use;
    // Part of the refusal on standard error; none for commands that go on past the app.
    const char *refusal = nullptr;
};

void PrintTo(const HostileCase &row, std::ostream *os)
{
    *os << row.name;
}

using HostileInput = ::testing::TestWithParam<HostileCase>;

} // namespace

TEST_P(HostileInput, IsRefusedWithoutTakingAllMemoryOrCrashing)
{
    const HostileCase &row = GetParam();
    Home home;
    const QString use = QString::fromLatin1(row.use);
    QString file = row.file ? corpus(QString::fromLatin1(row.file)) : home.test.root() + u"/deep.plist"_s;
    if (!row.file)
        writeFile(file, deeplyNestedXml());
    ASSERT_TRUE(QFile::exists(file)) << file.toStdString();

    QStringList arguments;
    if (use == u"import") {
        arguments = {u"import"_s, file};
    } else if (use == u"icon") {
        arguments = {u"create"_s,
                     u"--name"_s,
                     u"Mail"_s,
                     u"--url"_s,
                     u"https://mail.example.org/"_s,
                     u"--browser"_s,
                     u"chromium"_s,
                     u"--into"_s,
                     home.apps,
                     u"--icon"_s,
                     file};
    } else {
        const CliRun created = home.create(u"Mail"_s);
        ASSERT_EQ(created.exitCode, 0) << created.err.constData();
        const QString infoPlist = home.bundle(u"Mail"_s) + u"/Contents/Info.plist"_s;
        ASSERT_TRUE(QFile::remove(infoPlist));
        ASSERT_TRUE(QFile::copy(file, infoPlist));
        file = infoPlist;
        if (use == u"update")
            arguments = {u"update"_s, u"--outdated"_s};
        else if (use == u"export")
            arguments = {u"export"_s, u"--all"_s, u"--output"_s, home.test.root() + u"/all"_s};
        else
            arguments = {use};
    }

    const CliRun run = sorvaneLimited(home, arguments);
    ASSERT_NE(run.exitCode, -1) << "crashed, was killed or hung: " << run.err.constData();
    if (!row.refusal) {
        EXPECT_EQ(run.exitCode, 0) << run.err.constData();
        return;
    }
    EXPECT_EQ(run.exitCode, 1) << run.err.constData();
    EXPECT_TRUE(run.err.contains(file.toUtf8())) << run.err.constData();
    EXPECT_TRUE(run.err.contains(row.refusal)) << run.err.constData();
    EXPECT_FALSE(QDir(home.apps).exists(u"Mail.app"_s));
}

INSTANTIATE_TEST_SUITE_P(
    Files, HostileInput,
    ::testing::Values(HostileCase{"importSharedReferences60Deep", "property-list/shared-references-60-deep",
                                  "import", "more than 1000000 values"},
                      HostileCase{"iconOfSixtyPagesSharingOneStrip", "image/tiff-60-pages-one-strip", "icon",
                                  "more than 67108864 pixels"},
                      HostileCase{"listWithNestedInfoPlist", nullptr, "list"},
                      HostileCase{"desktopEntriesWithNestedInfoPlist", nullptr, "desktop-entries"},
                      HostileCase{"updateOutdatedWithNestedInfoPlist", nullptr, "update"},
                      HostileCase{"autoUpdateWithNestedInfoPlist", nullptr, "auto-update"},
                      HostileCase{"exportAllWithNestedInfoPlist", nullptr, "export"}),
    [](const auto &test) { return std::string(test.param.name); });
