// `sorvane list`, `info`, `update` and `delete` on real bundles in a temporary home, with a
// registry that holds what real registries collect: a second record of one bundle, a record of
// a bundle that is gone, one of the wrong shape, another creator's app and an app whose
// Info.plist is corrupt.

#include "CliSandbox.h"

#include "core/PropertyList.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList names(const QJsonValue &list)
{
    QStringList result;
    for (const QJsonValue &item : list.toArray())
        result.append(item[u"name"_s].toString());
    return result;
}


} // namespace

TEST(AppCommands, ListInfoUpdateAndDeleteAsAUserRunsThem)
{
    Home home;
    ASSERT_EQ(home.create(u"Mail"_s, {u"--routing"_s}).exitCode, 0);
    ASSERT_EQ(home.create(u"Chat"_s).exitCode, 0);
    ASSERT_TRUE(copyTree(home.bundle(u"Chat"_s), home.bundle(u"Other"_s)));
    ASSERT_TRUE(copyTree(home.bundle(u"Chat"_s), home.bundle(u"Corrupt"_s)));
    writeFile(home.bundle(u"Corrupt"_s) + u"/Contents/Info.plist"_s, "<plist><dict><key>");
    const QString otherPlist = home.bundle(u"Other"_s) + u"/Contents/Info.plist"_s;
    QVariantMap other = PropertyList::readFile(otherPlist).toMap();
    other.insert(u"SorvaneCreatorID"_s, u"org.example.another-build"_s);
    ASSERT_TRUE(PropertyList::writeFile(otherPlist, other));

    const QString trackerPath = home.test.home() + u"/.local/share/Sorvane/tracker.plist"_s;
    QVariantMap records = PropertyList::readFile(trackerPath).toMap();
    QString mailId, chatId;
    for (auto it = records.cbegin(); it != records.cend(); ++it)
        (it.value().toMap().value(u"appPath"_s) == home.bundle(u"Mail"_s) ? mailId : chatId) = it.key();
    const auto record = [](const QString &id, const QString &path) {
        return QVariantMap{{u"appID"_s, id}, {u"appPath"_s, path}, {u"lastActivity"_s, u"2024-03-05  9:07:31 PM"_s}};
    };
    // Keys sort before the real ones, so the registry meets them first.
    records.insert(u"00000000-0000-0000-0000-000000000001"_s,
                   record(u"00000000-0000-0000-0000-000000000001"_s, home.bundle(u"Mail"_s)));
    records.insert(u"00000000-0000-0000-0000-000000000002"_s, record({}, home.bundle(u"Gone"_s)));
    records.insert(u"00000000-0000-0000-0000-000000000003"_s, u"not a record"_s);
    records.insert(u"00000000-0000-0000-0000-000000000004"_s, record({}, home.bundle(u"Other"_s)));
    records.insert(u"00000000-0000-0000-0000-000000000005"_s, record({}, home.bundle(u"Corrupt"_s)));
    ASSERT_TRUE(PropertyList::writeFile(trackerPath, records));

    const QJsonValue listed = json(home.sorvane({u"list"_s, u"--json"_s}));
    EXPECT_EQ(names(listed), (QStringList{u"Chat"_s, u"Corrupt"_s, u"Mail"_s}));
    const QJsonObject mail = listed[2].toObject();
    EXPECT_EQ(mail[u"appId"_s], u"00000000-0000-0000-0000-000000000001"_s);
    EXPECT_EQ(mail[u"path"_s], home.bundle(u"Mail"_s));
    EXPECT_EQ(mail[u"urls"_s], QJsonArray{u"https://mail.example.org/"_s});
    EXPECT_EQ(mail[u"type"_s], u"Standard app"_s);
    EXPECT_EQ(mail[u"typeIcon"_s], u"app_type_standard_icon"_s);
    EXPECT_EQ(mail[u"browserIcon"_s], u"chromium"_s);
    EXPECT_EQ(mail[u"browserName"_s], u"Chromium"_s);

    const QJsonValue info = json(home.sorvane({u"info"_s, mailId.toLower(), u"--json"_s}));
    EXPECT_EQ(info[u"appName"_s], u"Mail"_s);
    EXPECT_EQ(info[u"appID"_s], mailId);
    EXPECT_EQ(info[u"isTabs"_s], false);
    EXPECT_EQ(info[u"appURL"_s], u"https://mail.example.org/"_s);
    EXPECT_EQ(info[u"browserType"_s], u"chromium"_s);
    EXPECT_EQ(info[u"shouldIncludeWLExt"_s], true);
    EXPECT_EQ(info[u"health"_s][u"engineInstalled"_s], true);
    EXPECT_EQ(info[u"health"_s][u"linkRouting"_s], u"yes"_s);
    EXPECT_EQ(info[u"health"_s][u"outdated"_s], false);
    EXPECT_EQ(info[u"health"_s][u"registryStale"_s], false);
    EXPECT_EQ(info[u"health"_s][u"engineRunning"_s], false);

    const QString chatPlist = home.bundle(u"Chat"_s) + u"/Contents/Info.plist"_s;
    QVariantMap chat = PropertyList::readFile(chatPlist).toMap();
    chat.insert(u"CFBundleShortVersionString"_s, u"0.0.1"_s);
    ASSERT_TRUE(PropertyList::writeFile(chatPlist, chat));
    EXPECT_EQ(json(home.sorvane({u"info"_s, home.bundle(u"Chat"_s), u"--json"_s}))[u"health"_s][u"outdated"_s], true);
    const CliRun updated = home.sorvane({u"update"_s, u"--outdated"_s});
    EXPECT_EQ(updated.exitCode, 0) << updated.err.constData();
    EXPECT_EQ(updated.out, "Updated 1 out of 1 apps\n");
    EXPECT_EQ(PropertyList::readFile(chatPlist).toMap().value(u"CFBundleShortVersionString"_s),
              QStringLiteral(SORVANE_EXPECTED_VERSION));
    EXPECT_EQ(home.sorvane({u"update"_s, home.bundle(u"Gone"_s)}).exitCode, 1);
    EXPECT_EQ(home.sorvane({u"update"_s}).exitCode, 2);

    // A delete nobody confirmed: QuestionsTakeWhatPeopleTypeAndNameTheOptionWithoutATerminal.
    const CliRun deleted = home.sorvane({u"delete"_s, u"--yes"_s, chatId});
    EXPECT_EQ(deleted.exitCode, 0) << deleted.err.constData();
    EXPECT_FALSE(QFile::exists(home.bundle(u"Chat"_s)));
    EXPECT_FALSE(home.tracker().contains(chatId));
    EXPECT_FALSE(QFile::exists(home.test.home() + u"/.local/share/Sorvane/"_s + chatId + u".config"_s));
    EXPECT_EQ(QDir(home.apps).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(), 3);
    EXPECT_EQ(names(json(home.sorvane({u"list"_s, u"--json"_s}))), (QStringList{u"Corrupt"_s, u"Mail"_s}));
}

TEST(AppCommands, DeleteTakesOnlyARegisteredAppAndTheTrashGivesItBack)
{
    Home home;
    const CliRun made = home.create(u"Mail"_s);
    ASSERT_EQ(made.exitCode, 0) << made.err.constData();
    const QString id = QJsonDocument::fromJson(made.out).object().value(u"appID"_s).toString();
    ASSERT_TRUE(copyTree(home.bundle(u"Mail"_s), home.bundle(u"Mail copy"_s)));
    const QString documents = home.test.home() + u"/Documents"_s;
    writeFile(documents + u"/letter.txt"_s, "mine");
    // A second record of the bundle, as a killed import of an earlier version left them.
    const QString trackerPath = home.test.home() + u"/.local/share/Sorvane/tracker.plist"_s;
    QVariantMap records = PropertyList::readFile(trackerPath).toMap();
    const QString stale = u"00000000-0000-0000-0000-000000000009"_s;
    records.insert(stale, QVariantMap{{u"appID"_s, stale}, {u"appPath"_s, home.bundle(u"Mail"_s)}});
    ASSERT_TRUE(PropertyList::writeFile(trackerPath, records));

    for (const QString &target : QStringList{documents, home.apps, home.apps + u'/', home.bundle(u"Mail copy"_s), stale}) {
        const CliRun refused = home.sorvane({u"delete"_s, u"--yes"_s, target});
        EXPECT_EQ(refused.exitCode, 1) << qPrintable(target);
        EXPECT_TRUE(refused.err.contains("nothing was deleted")) << refused.err.constData();
    }
    EXPECT_TRUE(QFile::exists(documents + u"/letter.txt"_s));
    EXPECT_TRUE(QFile::exists(home.bundle(u"Mail copy"_s) + u"/Contents/Info.plist"_s));
    EXPECT_TRUE(QFile::exists(home.bundle(u"Mail"_s) + u"/Contents/Info.plist"_s));
    EXPECT_TRUE(home.tracker().contains(id));

    const CliRun deleted = home.sorvane({u"delete"_s, u"--yes"_s, id});
    ASSERT_EQ(deleted.exitCode, 0) << deleted.err.constData();
    EXPECT_FALSE(QFile::exists(home.bundle(u"Mail"_s)));
    EXPECT_FALSE(home.tracker().contains(id));

    // A file manager's "Restore" (GIO's, through its trash: location) puts it back where it was,
    // from the info file; an update registers it again.
    const CliRun restored = CliSandbox::run(u"dbus-run-session"_s,
                                            {u"--"_s, u"gio"_s, u"trash"_s, u"--restore"_s, u"trash:///Mail.app"_s},
                                            home.environment);
    ASSERT_EQ(restored.exitCode, 0) << restored.err.constData();
    EXPECT_TRUE(QFile::exists(home.bundle(u"Mail"_s) + u"/Contents/Info.plist"_s));
    const CliRun updated = home.sorvane({u"update"_s, home.bundle(u"Mail"_s)});
    EXPECT_EQ(updated.exitCode, 0) << updated.err.constData();
    EXPECT_TRUE(home.tracker().contains(id));
}

// Every command that takes an app takes it by name (exact, then in any case when only one app
// has it), by id or id start, or by path; a name two apps share is refused with both named.
TEST(AppCommands, AppsAreNamedByNameIdPrefixOrPath)
{
    Home home;
    const QString notes = json(home.create(u"Team Notes"_s)).toObject().value(u"appID"_s).toString();
    ASSERT_FALSE(notes.isEmpty());
    const QString other = home.test.root() + u"/Elsewhere"_s;
    for (const QString &into : {home.apps, other}) {
        const CliRun made = home.sorvane({u"create"_s, u"--name"_s, u"Mail"_s, u"--url"_s, u"https://mail.example.org/"_s,
                                          u"--browser"_s, u"chromium"_s, u"--into"_s, into});
        ASSERT_EQ(made.exitCode, 0) << made.err.constData();
    }

    for (const QString &reference : {u"Team Notes"_s, u"team notes"_s, notes.left(8).toLower(), notes,
                                     home.bundle(u"Team Notes"_s)}) {
        const CliRun info = home.sorvane({u"info"_s, reference, u"--json"_s});
        EXPECT_EQ(info.exitCode, 0) << reference.toStdString() << ": " << info.err.constData();
        EXPECT_EQ(json(info).toObject().value(u"appName"_s).toString(), u"Team Notes"_s) << reference.toStdString();
    }

    const CliRun shared = home.sorvane({u"info"_s, u"mail"_s});
    EXPECT_EQ(shared.exitCode, 2);
    EXPECT_TRUE(shared.err.contains(home.bundle(u"Mail"_s).toUtf8()) && shared.err.contains(other.toUtf8()))
        << shared.err.constData();
    const CliRun tooShort = home.sorvane({u"info"_s, notes.left(5)});
    EXPECT_EQ(tooShort.exitCode, 1) << tooShort.err.constData();

    // Every command that takes an app takes each way of naming it.
    const QHash<QString, QStringList> otherArguments{
        {u"info"_s, {}},
        {u"edit"_s, {u"--accent"_s, u"336699"_s}},
        {u"update"_s, {}},
        {u"export"_s, {u"--output"_s, home.test.root() + u"/set.sorvane"_s}},
        {u"delete"_s, {u"--yes"_s}},
    };
    const QJsonArray commands =
        QJsonDocument::fromJson(home.sorvane({u"--help"_s, u"--json"_s}).out).object().value(u"commands"_s).toArray();
    for (const QJsonValue &command : commands) {
        const QString verb = command[u"command"_s].toString();
        if (!command[u"positionals"_s].toArray().contains(u"app"_s))
            continue;
        ASSERT_TRUE(otherArguments.contains(verb)) << "no case for " << qPrintable(verb);
        for (const QString &name : {u"By Name"_s, u"By Id"_s, u"By Path"_s}) {
            const QString id = json(home.create(name)).toObject().value(u"appID"_s).toString();
            const QString reference = name == u"By Name"_s ? name.toLower() : name == u"By Id"_s ? id.left(8) : home.bundle(name);
            const CliRun run = home.sorvane(QStringList{verb, reference} + otherArguments.value(verb));
            EXPECT_EQ(run.exitCode, 0) << qPrintable(verb + u' ' + reference) << ": " << run.err.constData();
            EXPECT_EQ(QFile::exists(home.bundle(name)), verb != u"delete"_s) << qPrintable(verb + u' ' + reference);
            home.sorvane({u"delete"_s, home.bundle(name), u"--yes"_s});
        }
    }
}

// A question at a terminal takes what people type: y, yes, the number or the word; Enter and the
// end of input keep to the safe choice. Without a terminal the run answers Cancel (exit 1), naming the
// option that answers the question.
TEST(AppCommands, QuestionsTakeWhatPeopleTypeAndNameTheOptionWithoutATerminal)
{
    Home home;
    const QString python = QStringLiteral(SORVANE_PYTHON3);
    const QString inTerminal = fixturePath(u"../cli/in-terminal.py"_s);
    const struct
    {
        const char *typed;
        bool deleted;
    } answers[] = {{"y", true}, {"yes", true}, {"1", true}, {"del", true}, {"", false}, {"EOF", false}, {"n", false}};
    for (const auto &answer : answers) {
        ASSERT_EQ(home.create(u"Asked"_s).exitCode, 0);
        const CliRun run = CliSandbox::run(python,
                                           {inTerminal, QString::fromLatin1(answer.typed), QStringLiteral(SORVANE_CLI),
                                            u"delete"_s, u"Asked"_s},
                                           home.environment);
        EXPECT_EQ(run.exitCode, answer.deleted ? 0 : 1) << answer.typed << ": " << run.out.constData();
        EXPECT_TRUE(run.out.contains(QString(u"It goes from "_s + home.apps + u" to the Trash"_s).toUtf8()))
            << run.out.constData();
        EXPECT_EQ(QFile::exists(home.bundle(u"Asked"_s)), !answer.deleted) << answer.typed;
        if (!answer.deleted) {
            ASSERT_EQ(home.sorvane({u"delete"_s, u"Asked"_s, u"--yes"_s}).exitCode, 0);
        }
    }

    // Replace, keep both, or cancel when the name is taken.
    ASSERT_EQ(home.create(u"Taken"_s).exitCode, 0);
    const CliRun keptBoth = CliSandbox::run(
        python,
        {inTerminal, u"2"_s, QStringLiteral(SORVANE_CLI), u"create"_s, u"--name"_s, u"Taken"_s, u"--url"_s,
         u"https://mail.example.org/"_s, u"--browser"_s, u"chromium"_s, u"--into"_s, home.apps},
        home.environment);
    EXPECT_EQ(keptBoth.exitCode, 0) << keptBoth.out.constData();
    EXPECT_TRUE(keptBoth.out.contains("2) Keep Both")) << keptBoth.out.constData();
    EXPECT_TRUE(QFile::exists(home.bundle(u"Taken 1"_s)));

    const CliRun unasked = home.sorvane({u"delete"_s, u"Taken"_s});
    EXPECT_EQ(unasked.exitCode, 1) << unasked.err.constData();
    EXPECT_TRUE(unasked.err.contains("run again with --yes")) << unasked.err.constData();
    EXPECT_TRUE(QFile::exists(home.bundle(u"Taken"_s)));
    EXPECT_EQ(home.tracker().size(), 2); // "Taken" and "Taken 1"
}

// `sorvane list` reads names in the user's language and without regard to case; piped, each app
// is one tab-separated line, and at a terminal the columns line up under a header.
TEST(AppCommands, ListSortsNamesAsTheUsersLanguageDoes)
{
    Home home;
    for (const QString &name : {u"CRM"_s, u"Calendar"_s, u"chat"_s, u"Äpfel"_s, u"Birne"_s, u"App 10"_s, u"App 9"_s})
        ASSERT_EQ(home.create(name).exitCode, 0) << qPrintable(name);

    const struct
    {
        const char *collation;
        QStringList order;
    } languages[] = {
        {"C.UTF-8", {u"App 10"_s, u"App 9"_s, u"Birne"_s, u"Calendar"_s, u"chat"_s, u"CRM"_s, u"Äpfel"_s}},
        {"de_DE.UTF-8", {u"Äpfel"_s, u"App 9"_s, u"App 10"_s, u"Birne"_s, u"Calendar"_s, u"chat"_s, u"CRM"_s}},
    };
    for (const auto &language : languages) {
        home.environment.remove(u"LC_ALL"_s);
        home.environment.insert(u"LC_COLLATE"_s, QString::fromLatin1(language.collation));
        QStringList names;
        for (const QByteArray &line : home.sorvane({u"list"_s}).out.trimmed().split('\n')) {
            const QList<QByteArray> fields = line.split('\t');
            ASSERT_EQ(fields.size(), 4) << line.constData();
            EXPECT_EQ(fields[3], home.bundle(QString::fromUtf8(fields[0])).toUtf8());
            names.append(QString::fromUtf8(fields[0]));
        }
        EXPECT_EQ(names, language.order) << language.collation;
        EXPECT_EQ(::names(json(home.sorvane({u"list"_s, u"--json"_s}))), language.order) << language.collation;
    }

    // Columns line up on the screen, where a CJK character takes two cells.
    ASSERT_EQ(home.create(u"日本語メモ"_s).exitCode, 0);
    const auto screenColumn = [](const QString &line, qsizetype index) {
        qsizetype cells = 0;
        for (const QChar c : line.left(index))
            cells += c.unicode() >= 0x3000 && c.unicode() <= 0x9fff ? 2 : 1;
        return cells;
    };
    const CliRun terminal = CliSandbox::run(QStringLiteral(SORVANE_PYTHON3),
                                            {fixturePath(u"../cli/in-terminal.py"_s), u"EOF"_s,
                                             QStringLiteral(SORVANE_CLI), u"list"_s},
                                            home.environment);
    ASSERT_EQ(terminal.exitCode, 0) << terminal.out.constData();
    const QStringList lines = QString::fromUtf8(terminal.out).remove(u'\r').trimmed().split(u'\n');
    ASSERT_EQ(lines.size(), 9) << terminal.out.constData();
    EXPECT_TRUE(lines[0].startsWith(u"NAME"_s) && lines[0].contains(u"BROWSER"_s)) << qPrintable(lines[0]);
    const qsizetype bundleColumn = lines[0].indexOf(u"BUNDLE"_s);
    for (qsizetype i = 1; i < lines.size(); ++i) {
        EXPECT_FALSE(lines[i].contains(u'\t')) << qPrintable(lines[i]);
        EXPECT_EQ(screenColumn(lines[i], lines[i].indexOf(home.apps)), bundleColumn) << qPrintable(lines[i]);
    }
}
