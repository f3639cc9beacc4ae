// Extra engine switches as a user gives them: the app's own on `create` and `edit`, Sorvane's
// default ones in the settings; `info` shows them, the engine gets them at every start, and an
// update keeps them. A switch that is not one safe word is refused, naming the field and the rule
// (at creation: tests/cli/CreateCommandTest.cpp).

#include "CliSandbox.h"

#include "core/PropertyList.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QString flagsLine(const Home &home, const QString &name)
{
    const QString script = QString::fromUtf8(readAll(home.bundle(name) + u"/Contents/Resources/script"_s));
    const qsizetype at = script.indexOf(u"\nENGINE_EXTRA_FLAGS=\""_s);
    return at < 0 ? QString() : script.mid(at + 1, script.indexOf(u'\n', at + 1) - at - 1);
}

// The arguments of the engine's last start, as the recording fake engine kept them.
QStringList lastEngineArguments(const Home &home)
{
    const QStringList records = QDir(home.records).entryList({u"*.args"_s}, QDir::Files, QDir::Name);
    if (records.isEmpty())
        return {};
    QByteArray data = readAll(home.records + u'/' + records.constLast());
    data.chop(1);
    QStringList items;
    for (const QByteArray &item : data.split('\0'))
        items.append(QString::fromUtf8(item));
    return items.mid(2);
}

} // namespace

TEST(EngineSwitches, ReachTheEngineFromCreateEditAndTheSettingsAndSurviveAnUpdate)
{
    Home home;
    home.writeSettings(QStringLiteral("chromiumPath=" SORVANE_FAKE_ENGINE "\ndefaultEngineSwitches=--ozone-platform=x11\n"));
    const CliRun created =
        home.create(u"Mail"_s, {u"--engine-switch"_s, u"--no-sandbox"_s, u"--engine-switch=--lang=de"_s});
    ASSERT_EQ(created.exitCode, 0) << created.err.constData();
    const QString appID = json(created)[u"appID"_s].toString();
    const QString config = home.test.home() + u"/.local/share/Sorvane/"_s + appID + u".config"_s;
    EXPECT_EQ(PropertyList::readFile(config).toMap().value(u"engineSwitches"_s).toStringList(),
              (QStringList{u"--no-sandbox"_s, u"--lang=de"_s}));
    EXPECT_TRUE(flagsLine(home, u"Mail"_s)
                    .startsWith(u"ENGINE_EXTRA_FLAGS=\"--no-default-browser-check --ozone-platform=x11 --no-sandbox "
                                "--lang=de --class="_s))
        << qPrintable(flagsLine(home, u"Mail"_s));

    const CliRun started = CliSandbox::run(home.bundle(u"Mail"_s) + u"/Contents/MacOS/Mail"_s, {}, home.environment);
    EXPECT_EQ(started.exitCode, 0) << started.err.constData();
    const QStringList arguments = lastEngineArguments(home);
    for (const QString &expected : {u"--ozone-platform=x11"_s, u"--no-sandbox"_s, u"--lang=de"_s})
        EXPECT_TRUE(arguments.contains(expected)) << qPrintable(arguments.join(u' '));

    const QJsonValue info = json(home.sorvane({u"info"_s, appID, u"--json"_s}));
    EXPECT_EQ(info[u"engineSwitches"_s], (QJsonArray{u"--no-sandbox"_s, u"--lang=de"_s}));
    EXPECT_EQ(info[u"defaultEngineSwitches"_s], QJsonArray{u"--ozone-platform=x11"_s});
    EXPECT_TRUE(home.sorvane({u"info"_s, appID})
                    .out.contains("\nSwitches:      --no-sandbox --lang=de; Sorvane's defaults: --ozone-platform=x11\n"));

    // A refused switch changes nothing.
    const CliRun refused = home.sorvane({u"edit"_s, appID, u"--engine-switch"_s, u"--user-agent=a b"_s});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(refused.err.startsWith("sorvane edit: engine-switch: '--user-agent=a b' is not one engine switch: "
                                       "a switch starts with --"))
        << refused.err.constData();
    EXPECT_TRUE(flagsLine(home, u"Mail"_s).contains(u" --no-sandbox --lang=de "_s));

    const CliRun edited = home.sorvane({u"edit"_s, appID, u"--engine-switch=--disable-gpu"_s});
    ASSERT_EQ(edited.exitCode, 0) << edited.err.constData();
    EXPECT_EQ(PropertyList::readFile(config).toMap().value(u"engineSwitches"_s).toStringList(),
              QStringList{u"--disable-gpu"_s});

    // New defaults reach the app when it is updated; its own switches stay.
    home.writeSettings(QStringLiteral("chromiumPath=" SORVANE_FAKE_ENGINE "\ndefaultEngineSwitches=--enable-logging=stderr\n"));
    const CliRun updated = home.sorvane({u"update"_s, home.bundle(u"Mail"_s)});
    ASSERT_EQ(updated.exitCode, 0) << updated.err.constData();
    EXPECT_TRUE(flagsLine(home, u"Mail"_s)
                    .startsWith(u"ENGINE_EXTRA_FLAGS=\"--no-default-browser-check --enable-logging=stderr --disable-gpu "
                                "--class="_s))
        << qPrintable(flagsLine(home, u"Mail"_s));

    ASSERT_EQ(home.sorvane({u"edit"_s, appID, u"--no-engine-switches"_s}).exitCode, 0);
    EXPECT_FALSE(PropertyList::readFile(config).toMap().contains(u"engineSwitches"_s));
    EXPECT_FALSE(flagsLine(home, u"Mail"_s).contains(u"--disable-gpu"_s));
}
