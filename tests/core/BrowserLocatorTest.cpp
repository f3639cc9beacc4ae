#include "core/BrowserCatalogue.h"
#include "core/BrowserLocator.h"
#include "core/UserDefaults.h"

#include "support/TestContext.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// A PATH entry and what it leads to: a link straight to a binary, or a script nothing can be told
// about. A vendor's wrapper with the real binary beside it is tests/cli/BrowserPackagingTest.cpp's.
struct PathCase
{
    const char *name;
    bool linkToBinary;
    BrowserPackaging packaging;
    const char *noteHas;
};

class PathResolution : public ::testing::TestWithParam<PathCase>
{
};

void PrintTo(const PathCase &value, std::ostream *os)
{
    *os << value.name;
}

TEST_P(PathResolution, FollowsOnlyWhatIsSafeToFollow)
{
    const PathCase &row = GetParam();
    TestContext test;
    const QString root = test.root();
    const QString binary = QCoreApplication::applicationFilePath(); // any ELF executable
    QDir().mkpath(root + u"/bin"_s);
    QDir().mkpath(root + u"/dist"_s);
    const QString entry = root + u"/bin/google-chrome-stable"_s;
    if (row.linkToBinary) {
        ASSERT_TRUE(QFile::link(binary, entry));
    } else {
        writeFile(root + u"/dist/google-chrome"_s, "#!/bin/sh\nexec \"$0.real\" \"$@\"\n", QFileDevice::ExeOwner);
        ASSERT_TRUE(QFile::link(root + u"/dist/google-chrome"_s, entry));
    }

    const BrowserLocator locator(test.home(), u"/nonexistent:"_s + root + u"/bin"_s, {});
    const BrowserInfo &chrome = BrowserCatalogue::byTypeKey(u"chrome"_s);
    const QList<BrowserInstallation> found = locator.installations(chrome);
    ASSERT_FALSE(found.isEmpty());
    const BrowserInstallation &last = found.constLast(); // the machine may have a Chrome of its own
    EXPECT_EQ(last.packaging, row.packaging);
    // The binary a link leads to; a wrapper itself.
    EXPECT_EQ(last.enginePath, row.linkToBinary ? QFileInfo(binary).canonicalFilePath() : entry);
    EXPECT_EQ(last.source, entry);
    EXPECT_TRUE(last.note.contains(QString::fromUtf8(row.noteHas))) << qPrintable(last.note);

    // The user's setting wins over anything found.
    test.context().defaults().setValue(chrome.settingsKey, u"/snap/bin/chromium"_s);
    const BrowserInstallation chosen = locator.locate(chrome, test.context().defaults());
    EXPECT_EQ(chosen.enginePath, u"/snap/bin/chromium"_s);
    EXPECT_EQ(chosen.packaging, BrowserPackaging::Snap);
}

INSTANTIATE_TEST_SUITE_P(
    Entries, PathResolution,
    ::testing::Values(PathCase{"LinkToBinary", true, BrowserPackaging::Path, "found on PATH"},
                      PathCase{"UnknownWrapper", false, BrowserPackaging::Path, "starts the wrapper"}),
    [](const ::testing::TestParamInfo<PathCase> &row) { return std::string(row.param.name); });

// Each packaging's user-data folder, and how an engine path tells its packaging, beyond the
// packagings tests/cli/BrowserPackagingTest.cpp installs.
TEST(BrowserLocator, UserDataFolderFollowsThePackaging)
{
    TestContext test;
    const QString home = test.home();
    const BrowserInfo &chromium = BrowserCatalogue::byTypeKey(u"chromium"_s);
    const BrowserInfo &brave = BrowserCatalogue::byTypeKey(u"brave"_s);
    const BrowserLocator plain(home, {}, {});
    const BrowserLocator xdg(home, {}, u"/elsewhere/config/"_s);
    const auto at = [](const QString &path) { return BrowserInstallation{BrowserPackaging::Setting, path, path, {}, true}; };

    struct Row
    {
        const BrowserLocator &locator;
        const BrowserInfo &browser;
        QString enginePath;
        BrowserPackaging packaging;
        QString folder;
    };
    const Row rows[] = {
        {plain, chromium, u"/usr/lib/chromium/chromium"_s, BrowserPackaging::Setting, home + u"/.config/chromium"_s},
        {xdg, chromium, u"/usr/lib/chromium/chromium"_s, BrowserPackaging::Setting, u"/elsewhere/config/chromium"_s},
        {plain, brave, u"/var/lib/snapd/snap/bin/brave"_s, BrowserPackaging::Snap,
         home + u"/snap/brave/current/.config/BraveSoftware/Brave-Browser"_s},
        {xdg, brave, u"/var/lib/flatpak/exports/bin/com.brave.Browser"_s, BrowserPackaging::FlatpakSystem,
         home + u"/.var/app/com.brave.Browser/config/BraveSoftware/Brave-Browser"_s},
        // Not a command: a folder of the same shape.
        {plain, chromium, u"/snap/bin/"_s, BrowserPackaging::Setting, home + u"/.config/chromium"_s},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(BrowserLocator::packagingOfEnginePath(row.enginePath), row.packaging) << qPrintable(row.enginePath);
        EXPECT_EQ(row.locator.userDataFolder(row.browser, at(row.enginePath)), row.folder) << qPrintable(row.enginePath);
    }

    // A Snap whose data is in its revision's .config is read from there.
    QDir().mkpath(home + u"/snap/chromium/current/.config/chromium"_s);
    EXPECT_EQ(plain.userDataFolder(chromium, at(u"/snap/bin/chromium"_s)), home + u"/snap/chromium/current/.config/chromium"_s);
}

} // namespace
