// `sorvane edit` adds routing rules to the ones an app has, replaces them only when asked, and
// says what it changed; `sorvane info` shows the rules in text and in --json.

#include "CliSandbox.h"

#include <QJsonArray>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList strings(const QJsonValue &list)
{
    QStringList result;
    for (const QJsonValue &item : list.toArray())
        result.append(item.toString());
    return result;
}

} // namespace

TEST(EditRules, EditAddsReplacesOrDropsRulesAndSaysWhich)
{
    Home home;
    ASSERT_EQ(home.create(u"Mail"_s, {u"--route"_s, u"news.example.org=default"_s}).exitCode, 0);

    struct Step
    {
        QStringList options;
        QStringList printed; // the lines after the bundle's path
        QStringList rulesAfter;
    };
    const QList<Step> steps{
        {{u"--allow"_s, u"example.org"_s},
         {u"Mail: added rule example.org -> in-app (allow)"_s},
         {u"news.example.org -> default"_s, u"example.org -> in-app (allow)"_s}},
        // The same pattern written with "*." is that rule: it is not added twice.
        {{u"--allow"_s, u"*.example.org"_s},
         {u"Mail: already had rule example.org -> in-app (allow)"_s},
         {u"news.example.org -> default"_s, u"example.org -> in-app (allow)"_s}},
        // A new destination for a pattern takes the old rule's place, keeping the order.
        {{u"--route"_s, u"NEWS.example.org=browser:org.example.reader:Reader"_s, u"--route"_s, u"b.example.net=in-app"_s},
         {u"Mail: removed rule news.example.org -> default"_s,
          u"Mail: added rule NEWS.example.org -> browser:org.example.reader:Reader"_s,
          u"Mail: added rule b.example.net -> in-app"_s},
         {u"NEWS.example.org -> browser:org.example.reader:Reader"_s, u"example.org -> in-app (allow)"_s,
          u"b.example.net -> in-app"_s}},
        {{u"--replace-rules"_s, u"--route"_s, u"b.example.net=in-app"_s, u"--allow"_s, u"c.example.net"_s},
         {u"Mail: removed rule NEWS.example.org -> browser:org.example.reader:Reader"_s,
          u"Mail: removed rule example.org -> in-app (allow)"_s, u"Mail: added rule c.example.net -> in-app (allow)"_s},
         {u"b.example.net -> in-app"_s, u"c.example.net -> in-app (allow)"_s}},
        {{u"--dark"_s}, {}, {u"b.example.net -> in-app"_s, u"c.example.net -> in-app (allow)"_s}},
        {{u"--no-rules"_s},
         {u"Mail: removed rule b.example.net -> in-app"_s, u"Mail: removed rule c.example.net -> in-app (allow)"_s},
         {}},
    };
    for (const Step &step : steps) {
        const CliRun edit = home.sorvane(QStringList{u"edit"_s, u"Mail"_s} + step.options);
        ASSERT_EQ(edit.exitCode, 0) << edit.err.constData();
        QStringList lines = QString::fromUtf8(edit.out).trimmed().split(u'\n');
        EXPECT_EQ(lines.takeFirst(), home.bundle(u"Mail"_s));
        EXPECT_EQ(lines, step.printed) << qPrintable(step.options.join(u' '));

        const CliRun info = home.sorvane({u"info"_s, u"Mail"_s, u"--json"_s});
        EXPECT_EQ(strings(json(info)[u"routingRules"_s]), step.rulesAfter) << qPrintable(step.options.join(u' '));
        const QString text = QString::fromUtf8(home.sorvane({u"info"_s, u"Mail"_s}).out);
        EXPECT_TRUE(text.contains(u"Rules:         "_s + (step.rulesAfter.isEmpty()
                                                               ? u"(none)"_s
                                                               : step.rulesAfter.join(u"\n               "_s))))
            << qPrintable(text);
    }

    // --json says the same; --replace-rules without rules is a usage error that changes nothing.
    const CliRun added = home.sorvane({u"edit"_s, u"Mail"_s, u"--allow"_s, u"d.example.net"_s, u"--json"_s});
    EXPECT_EQ(strings(json(added)[u"rulesAdded"_s]), QStringList{u"d.example.net -> in-app (allow)"_s});
    EXPECT_EQ(strings(json(added)[u"rulesRemoved"_s]), QStringList{});
    const CliRun bare = home.sorvane({u"edit"_s, u"Mail"_s, u"--replace-rules"_s});
    EXPECT_EQ(bare.exitCode, 2);
    EXPECT_TRUE(bare.err.contains("replace-rules: needs the new rules")) << bare.err.constData();
    EXPECT_EQ(strings(json(home.sorvane({u"info"_s, u"Mail"_s, u"--json"_s}))[u"routingRules"_s]),
              QStringList{u"d.example.net -> in-app (allow)"_s});
}

TEST(EditRules, InfoShowsTabsSwitchesRulesAndTheVerdict)
{
    Home home;
    ASSERT_EQ(home.sorvane({u"create"_s, u"--name"_s, u"Desk"_s, u"--tab"_s, u"https://a.example.org/"_s, u"--tab"_s,
                            u"https://b.example.org/"_s, u"--browser"_s, u"chromium"_s, u"--into"_s, home.apps,
                            u"--engine-switch"_s, u"--no-first-run"_s, u"--route"_s, u"x.example.org=default"_s,
                            u"--default-destination"_s, u"in-app"_s})
                  .exitCode,
              0);
    const QJsonValue document = json(home.sorvane({u"info"_s, u"Desk"_s, u"--json"_s}));
    EXPECT_EQ(strings(document[u"tabs"_s]), (QStringList{u"https://a.example.org/"_s, u"https://b.example.org/"_s}));
    EXPECT_EQ(strings(document[u"engineSwitches"_s]), QStringList{u"--no-first-run"_s});
    EXPECT_EQ(document[u"defaultDestination"_s].toString(), u"in-app"_s);
    EXPECT_EQ(document[u"linkRouting"_s].toString(), document[u"health"_s][u"linkRouting"_s].toString());
    EXPECT_FALSE(document[u"linkRouting"_s].toString().isEmpty());

    const QString text = QString::fromUtf8(home.sorvane({u"info"_s, u"Desk"_s}).out);
    for (const QString &line : QStringList{u"Tabs:          https://a.example.org/ https://b.example.org/"_s,
                                u"Switches:      --no-first-run"_s, u"Rules:         x.example.org -> default"_s,
                                u"Other links:   in-app"_s, u"Link routing:  "_s + document[u"linkRouting"_s].toString()})
        EXPECT_TRUE(text.contains(line)) << qPrintable(line) << "\n" << qPrintable(text);
}
