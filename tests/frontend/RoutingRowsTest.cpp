#include "support/TestContext.h"

#include "core/UserDefaults.h"
#include "frontend/DestinationChoicesModel.h"
#include "frontend/RoutingRulesModel.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

using Action = WizardRoutingRule::Action;

QVariantMap map(std::initializer_list<std::pair<QString, QVariant>> pairs)
{
    QVariantMap result;
    for (const auto &[key, value] : pairs)
        result.insert(key, value);
    return result;
}

} // namespace

// A stored rule becomes a row with the routing data's defaults and goes back as the same record.
TEST(WizardRoutingRule, ReadsAndWritesRuleRecords)
{
    const QVariantMap browser = map({{u"type"_s, u"browser"_s}, {u"bundleId"_s, u"com.brave.Browser"_s}, {u"name"_s, u"Brave"_s}});
    struct Case
    {
        const char *name;
        QVariantMap record;
        QString pattern;
        Action action;
        QVariantMap written; // without the id
    };
    const QList<Case> cases{
        {"allow", map({{u"id"_s, u"r1"_s}, {u"pattern"_s, u"  *.a.b\t"_s}, {u"action"_s, u"allow"_s}}), u"*.a.b"_s,
         Action::Allow, map({{u"pattern"_s, u"*.a.b"_s}, {u"action"_s, u"allow"_s}})},
        {"another case is allow", map({{u"pattern"_s, u"x.com"_s}, {u"action"_s, u"ROUTE"_s}, {u"destination"_s, browser}}),
         u"x.com"_s, Action::Allow, map({{u"pattern"_s, u"x.com"_s}, {u"action"_s, u"allow"_s}})},
        {"route", map({{u"pattern"_s, u"x.com"_s}, {u"action"_s, u"route"_s}, {u"destination"_s, browser}}), u"x.com"_s,
         Action::Route, map({{u"pattern"_s, u"x.com"_s}, {u"action"_s, u"route"_s}, {u"destination"_s, browser}})},
        {"browser without id", map({{u"pattern"_s, u"x.com"_s}, {u"action"_s, u"route"_s},
                                    {u"destination"_s, map({{u"type"_s, u"browser"_s}})}}),
         u"x.com"_s, Action::Route,
         map({{u"pattern"_s, u"x.com"_s}, {u"action"_s, u"route"_s}, {u"destination"_s, map({{u"type"_s, u"default"_s}})}})},
        {"app", map({{u"pattern"_s, u"x.com"_s}, {u"action"_s, u"route"_s},
                     {u"destination"_s, map({{u"type"_s, u"sorvaneApp"_s}, {u"path"_s, u"/A/Mail.app"_s}, {u"extra"_s, 1}})}}),
         u"x.com"_s, Action::Route,
         map({{u"pattern"_s, u"x.com"_s}, {u"action"_s, u"route"_s},
              {u"destination"_s, map({{u"type"_s, u"sorvaneApp"_s}, {u"path"_s, u"/A/Mail.app"_s}, {u"name"_s, u""_s}})}})},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const WizardRoutingRule rule = WizardRoutingRule::fromRecord(c.record);
        EXPECT_EQ(rule.pattern, c.pattern);
        EXPECT_EQ(rule.action, c.action);
        EXPECT_FALSE(rule.id.isEmpty());
        if (c.record.contains(u"id"_s)) {
            EXPECT_EQ(rule.id, c.record.value(u"id"_s).toString());
        }
        QVariantMap written = rule.toRecord();
        EXPECT_EQ(written.take(u"id"_s).toString(), rule.id);
        EXPECT_EQ(written, c.written);
        EXPECT_EQ(WizardRoutingRule::fromRecord(rule.toRecord()), rule);
    }
}

TEST(RoutingRulesModel, AddsSeveralRulesAndKeepsTheirOrder)
{
    RoutingRulesModel model;
    QSignalSpy changed(&model, &RoutingRulesModel::rulesChanged);
    const RoutingDestination chat = RoutingDestination::sorvaneApp(u"/Apps/Chat.app"_s, u"Chat"_s, u"ID-1"_s);
    EXPECT_EQ(model.addSeveralRules(u"  a.example,b.example \n\n*.c.example\td.example,,"_s, chat), 4);
    EXPECT_EQ(model.addSeveralRules(u" ,\n "_s, chat), 0);
    QStringList patterns;
    QSet<QString> ids;
    for (const WizardRoutingRule &rule : model.rules()) {
        patterns.append(rule.pattern);
        ids.insert(rule.id);
        EXPECT_EQ(rule.action, Action::Route);
        EXPECT_EQ(rule.destination, chat);
    }
    EXPECT_EQ(patterns, (QStringList{u"a.example"_s, u"b.example"_s, u"*.c.example"_s, u"d.example"_s}));
    EXPECT_EQ(ids.size(), 4);

    model.moveRule(3, 0);
    model.setAction(1, Action::Allow);
    model.setPattern(2, u"   "_s);
    model.removeRule(9);
    EXPECT_EQ(changed.count(), 4);
    const QVariantList records = model.records(); // the blank pattern is left out
    ASSERT_EQ(records.size(), 3);
    EXPECT_EQ(records.at(0).toMap().value(u"pattern"_s), u"d.example"_s);
    EXPECT_FALSE(records.at(1).toMap().contains(u"destination"_s));
    EXPECT_EQ(records.at(2).toMap().value(u"destination"_s).toMap().value(u"appId"_s), u"ID-1"_s);

    // A picker's "Stay in app" makes an allow rule that keeps its destination for later; any
    // other choice routes there.
    const auto chosen = [&model](int row) {
        return model.index(row).data(RoutingRulesModel::ChosenDestinationRole).value<RoutingDestination>();
    };
    const RoutingDestination brave = RoutingDestination::browser(u"com.brave.Browser"_s, u"Brave"_s);
    model.sendTo(2, RoutingDestination::inApp());
    EXPECT_EQ(model.rules().at(2).action, Action::Allow);
    EXPECT_EQ(model.rules().at(2).destination, chat);
    EXPECT_EQ(chosen(2), RoutingDestination::inApp());
    model.sendTo(1, brave);
    EXPECT_EQ(model.rules().at(1).action, Action::Route);
    EXPECT_EQ(chosen(1), brave);
}

// The default browser and the app itself come first, then the installed browsers by name.
TEST(DestinationChoicesModel, ListsTheInstalledBrowsersByName)
{
    TestContext test;
    const QString engine = test.root() + u"/engine"_s;
    writeFile(engine, "#!/bin/sh\n", QFileDevice::ExeOwner);
    for (const char *key : {"vivaldiPath", "bravePath", "edgePath"})
        test.context().defaults().setValue(QString::fromLatin1(key), engine);
    DestinationChoicesModel choices(test.context());
    QStringList labels;
    for (int row = 0; row < choices.count(); ++row)
        labels.append(choices.data(choices.index(row), DestinationChoicesModel::LabelRole).toString());
    ASSERT_GE(labels.size(), 5);
    EXPECT_EQ(labels.mid(0, 2), (QStringList{u"Default browser"_s, u"Stay in app"_s}));
    EXPECT_TRUE(labels.contains(u"Vivaldi"_s));
    const QStringList browsers = labels.mid(2);
    QStringList sorted = browsers;
    std::sort(sorted.begin(), sorted.end(), [](const QString &a, const QString &b) {
        return a.compare(b, Qt::CaseInsensitive) < 0;
    });
    EXPECT_EQ(browsers, sorted);
    // A browser destination names the browser itself, which the link host opens.
    const int vivaldi = static_cast<int>(labels.indexOf(u"Vivaldi"_s));
    EXPECT_EQ(choices.destinationAt(vivaldi).bundleId, u"com.vivaldi.Vivaldi"_s);
}
