#include "companion/SNRoutingConfig.h"
#include "companion/SNWhiteListPatterns.h"

#include "support/QtPrinters.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QUuid>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// Test values are written as JSON; `{"v": ...}` lets any JSON value (null, strings) through.
QVariant fromJson(const char *json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray(R"({"v":)") + json + '}', &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << json;
    return document.object().toVariantMap().value(u"v"_s);
}

struct JsonCase
{
    const char *name;
    const char *input;
    const char *expected; // "null": an invalid destination; "new" ids: fresh, distinct UUIDs
};

void PrintTo(const JsonCase &c, std::ostream *os)
{
    *os << c.name;
}

const auto caseName = [](const auto &param) { return std::string(param.param.name); };

class SanitizedRules : public ::testing::TestWithParam<JsonCase>
{
};

class SanitizedDestination : public ::testing::TestWithParam<JsonCase>
{
};

} // namespace

TEST_P(SanitizedRules, CleanRuleByRule)
{
    const QVariantList expected = fromJson(GetParam().expected).toList();
    QVariantList actual = SNRoutingConfig::sanitizedRules(fromJson(GetParam().input));
    QStringList newIds;
    for (qsizetype i = 0; i < actual.size() && i < expected.size(); ++i) {
        QVariantMap rule = actual.at(i).toMap();
        if (expected.at(i).toMap().value(u"id"_s) == u"new"_s) {
            newIds.append(rule.value(u"id"_s).toString());
            EXPECT_EQ(QUuid::fromString(newIds.last()).toString(QUuid::WithoutBraces),
                      newIds.last().toLower());
            rule.insert(u"id"_s, u"new"_s);
            actual[i] = rule;
        }
    }
    EXPECT_EQ(actual, expected);
    EXPECT_EQ(QSet<QString>(newIds.begin(), newIds.end()).size(), newIds.size());
}

INSTANTIATE_TEST_SUITE_P(
    Rules, SanitizedRules,
    ::testing::Values(
        JsonCase{"nothing", "null", "[]"}, JsonCase{"not_a_list", R"({"id":"a","pattern":"a.b"})", "[]"},
        JsonCase{
            "unusable_entries_dropped",
            R"(["q.r",3,null,{"id":"a","pattern":" \t "},{"id":"b","pattern":5},{"id":"c"},{"id":"d","pattern":"q.r"}])",
            R"([{"id":"d","pattern":"q.r","action":"allow"}])"},
        JsonCase{
            "pattern_trimmed_of_blanks_and_tabs_only",
            R"([{"id":"a","pattern":" \t*.a.b "},{"id":"b","pattern":" c.d\n"}])",
            R"([{"id":"a","pattern":"*.a.b","action":"allow"},{"id":"b","pattern":"c.d\n","action":"allow"}])"},
        JsonCase{"other_actions_allow_without_destination",
                 R"([{"id":"a","pattern":"a.b","action":"ROUTE","destination":{"type":"default"},"x":1},
                     {"id":"b","pattern":"c.d","action":1},{"id":"c","pattern":"e.f"}])",
                 R"([{"id":"a","pattern":"a.b","action":"allow"},{"id":"b","pattern":"c.d","action":"allow"},
                     {"id":"c","pattern":"e.f","action":"allow"}])"},
        // Same pattern twice: both kept, in order.
        JsonCase{"route_destinations_cleaned_or_default",
                 R"([{"id":"a","pattern":"a.b","action":"route","destination":{"type":"browser"}},
                     {"id":"b","pattern":"a.b","action":"route"},
                     {"id":"c","pattern":"e.f","action":"route","destination":{"type":"in-app","path":"/x"}}])",
                 R"([{"id":"a","pattern":"a.b","action":"route","destination":{"type":"default"}},
                     {"id":"b","pattern":"a.b","action":"route","destination":{"type":"default"}},
                     {"id":"c","pattern":"e.f","action":"route","destination":{"type":"in-app"}}])"},
        JsonCase{
            "missing_empty_or_non_string_id_filled",
            R"([{"pattern":"a.b"},{"id":"","pattern":"c.d"},{"id":7,"pattern":"e.f"},{"id":" ","pattern":"g.h"}])",
            R"([{"id":"new","pattern":"a.b","action":"allow"},{"id":"new","pattern":"c.d","action":"allow"},
                     {"id":"new","pattern":"e.f","action":"allow"},{"id":" ","pattern":"g.h","action":"allow"}])"}),
    caseName);

TEST_P(SanitizedDestination, KeepsOnlyWhatItsTypeNeeds)
{
    const auto cleaned = SNRoutingConfig::sanitizedDestination(fromJson(GetParam().input));
    const QVariant expected = fromJson(GetParam().expected);
    EXPECT_EQ(cleaned.has_value(), !expected.isNull());
    EXPECT_EQ(cleaned.value_or(QVariantMap()), expected.toMap());
}

INSTANTIATE_TEST_SUITE_P(
    Destinations, SanitizedDestination,
    ::testing::Values(
        JsonCase{"nothing", "null", "null"}, JsonCase{"not_a_dictionary", R"("default")", "null"},
        JsonCase{"non_string_type", R"({"type":1})", "null"},
        JsonCase{"unknown_type", R"({"type":"In-App"})", "null"},
        JsonCase{"in_app_drops_extras", R"({"type":"in-app","path":"/a","name":"n"})",
                 R"({"type":"in-app"})"},
        JsonCase{"default_drops_extras", R"({"type":"default","bundleId":"x"})", R"({"type":"default"})"},
        JsonCase{"browser_without_bundle_id", R"({"type":"browser","name":"n"})", "null"},
        JsonCase{"browser_with_empty_bundle_id", R"({"type":"browser","bundleId":""})", "null"},
        JsonCase{"browser_with_numeric_bundle_id", R"({"type":"browser","bundleId":5})", "null"},
        JsonCase{"browser_keeps_bundle_id_and_string_name",
                 R"({"type":"browser","bundleId":"org.x","name":"X","path":"/p","appId":"A"})",
                 R"({"type":"browser","bundleId":"org.x","name":"X"})"},
        JsonCase{"app_with_empty_path", R"({"type":"sorvaneApp","path":"","name":"n"})", "null"},
        JsonCase{"app_keeps_path_name_and_app_id",
                 R"({"type":"sorvaneApp","path":"/A.app","name":"","appId":"ID","bundleId":"b"})",
                 R"({"type":"sorvaneApp","path":"/A.app","name":"","appId":"ID"})"},
        JsonCase{"app_drops_non_string_app_id", R"({"type":"sorvaneApp","path":"/A.app","appId":3})",
                 R"({"type":"sorvaneApp","path":"/A.app"})"}),
    caseName);

namespace {

struct DataCase
{
    const char *name;
    const char *rules;
    const char *defaultDestination;
    bool whitelisting;
    QStringList legacy;
    const char *expected; // all keys but the three constant ones
};

void PrintTo(const DataCase &c, std::ostream *os)
{
    *os << c.name;
}

class RoutingData : public ::testing::TestWithParam<DataCase>
{
};

const char *const OwnRules = R"([{"id":"a","pattern":"a.b"},
    {"id":"b","pattern":"c.d","action":"route","destination":{"type":"browser","bundleId":"org.x"}}])";
#define OWN_RULES_CLEANED                                                                                    \
    R"("rules":[{"id":"a","pattern":"a.b","action":"allow"},)"                                               \
    R"({"id":"b","pattern":"c.d","action":"route","destination":{"type":"browser","bundleId":"org.x"}}])"

} // namespace

TEST_P(RoutingData, HasTheNineKeys)
{
    const DataCase &c = GetParam();
    const QVariantMap data = SNRoutingConfig::dataJSONDictionaryWithRules(
        fromJson(c.rules), fromJson(c.defaultDestination), c.whitelisting, false, c.legacy);
    const QByteArray expected =
        QByteArray(R"({"schema_version":2,"allow_subdomains":true,"restore_session":false,)") + c.expected +
        '}';
    const auto compact = [](const QVariant &value) {
        return QJsonDocument::fromVariant(value).toJson(QJsonDocument::Compact);
    };
    EXPECT_EQ(compact(data), compact(fromJson(expected.constData())));
    EXPECT_EQ(data.size(), 9);
}

INSTANTIATE_TEST_SUITE_P(
    Settings, RoutingData,
    ::testing::Values(
        DataCase{"in_app_open_without_rules",
                 "null",
                 R"({"type":"in-app"})",
                 false,
                 {},
                 R"("allow_all":true,"allow_rules":false,"allow_from_list":true,"rule_list":[],"rules":[],
                    "default_destination":{"type":"in-app"})"},
        DataCase{"whitelisting_on_closes_in_app",
                 "[]",
                 R"({"type":"in-app"})",
                 true,
                 {},
                 R"("allow_all":false,"allow_rules":true,"allow_from_list":true,"rule_list":[],"rules":[],
                    "default_destination":{"type":"in-app"})"},
        // Legacy rules are not the app's own: it stays open, and as allows they are not listed.
        DataCase{"legacy_rules_with_in_app_default",
                 R"([{"pattern":" "}])",
                 R"({"type":"in-app"})",
                 false,
                 {u"q.r"_s},
                 R"("allow_all":true,"allow_rules":false,"allow_from_list":true,"rule_list":[],
                    "rules":[{"id":"legacy-0","pattern":"q.r","action":"allow"}],"default_destination":{"type":"in-app"})"},
        DataCase{"legacy_rules_listed_with_default_browser",
                 "null",
                 "null",
                 true,
                 {u"q.r"_s, u"x.y"_s},
                 R"("allow_all":false,"allow_rules":true,"allow_from_list":false,"rule_list":["q.r","x.y"],
                    "rules":[{"id":"legacy-0","pattern":"q.r","action":"allow"},
                    {"id":"legacy-1","pattern":"x.y","action":"allow"}],"default_destination":{"type":"default"})"},
        DataCase{
            "own_rules_replace_legacy_and_list_routes",
            OwnRules,
            R"({"type":"in-app","x":1})",
            false,
            {u"q.r"_s},
            R"("allow_all":false,"allow_rules":true,"allow_from_list":true,"rule_list":["c.d"],)" OWN_RULES_CLEANED
            R"(,"default_destination":{"type":"in-app"})"},
        DataCase{
            "invalid_app_default_becomes_default_and_lists_allows",
            OwnRules,
            R"({"type":"sorvaneApp","path":""})",
            false,
            {},
            R"("allow_all":false,"allow_rules":true,"allow_from_list":false,"rule_list":["a.b"],)" OWN_RULES_CLEANED
            R"(,"default_destination":{"type":"default"})"}),
    caseName);

TEST(RoutingData, WebMailAppSerialisesCompactly)
{
    const QVariantMap data = SNRoutingConfig::dataJSONDictionaryWithRules(
        QVariant(), QVariantMap{{u"type"_s, u"browser"_s}, {u"bundleId"_s, u"org.x"_s}}, true, true,
        SNWhiteListPatterns::legacyPatterns({u"https://mail.gmail.com"_s}, false));
    EXPECT_EQ(
        SNRoutingConfig::dataJSON(data),
        QByteArray(
            R"({"allow_all":false,"allow_from_list":false,"allow_rules":true,"allow_subdomains":true,)"
            R"("default_destination":{"bundleId":"org.x","type":"browser"},"restore_session":true,)"
            R"("rule_list":["gmail.com","accounts.google.com"],)"
            R"("rules":[{"action":"allow","id":"legacy-0","pattern":"gmail.com"},)"
            R"({"action":"allow","id":"legacy-1","pattern":"accounts.google.com"}],"schema_version":2})"));
}
