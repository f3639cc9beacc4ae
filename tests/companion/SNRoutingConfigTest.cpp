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
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray(R"({"v":)") + json + '}');
    EXPECT_FALSE(document.isNull()) << json;
    return document.object().toVariantMap().value(u"v"_s);
}

// Compact JSON with sorted keys; the list wrapper keeps null apart from {}.
QByteArray compact(const QVariant &value)
{
    return QJsonDocument::fromVariant(QVariantList{value}).toJson(QJsonDocument::Compact);
}

struct JsonCase
{
    const char *name;
    const char *input;
    const char *expected;
};

} // namespace

// An expected id "new" stands for a fresh UUID, distinct from the other fresh ones.
TEST(SanitizedRules, CleanRuleByRule)
{
    const JsonCase cases[] = {
        {"nothing", "null", "[]"},
        {"unusable_and_blank_only_patterns_dropped",
         R"(["q.r",3,null,{"id":"a","pattern":" \t "},{"id":"b","pattern":5},{"id":"c"},{"id":"d","pattern":"q.r"}])",
         R"([{"id":"d","pattern":"q.r","action":"allow"}])"},
        {"pattern_trimmed_of_blanks_and_tabs_only",
         R"([{"id":"a","pattern":" \t*.a.b "},{"id":"b","pattern":" c.d\n"}])",
         R"([{"id":"a","pattern":"*.a.b","action":"allow"},{"id":"b","pattern":"c.d\n","action":"allow"}])"},
        {"other_or_no_action_allows_without_destination",
         R"([{"id":"a","pattern":"a.b","action":"ROUTE","destination":{"type":"default"},"x":1},{"id":"c","pattern":"e.f"}])",
         R"([{"id":"a","pattern":"a.b","action":"allow"},{"id":"c","pattern":"e.f","action":"allow"}])"},
        {"route_destination_cleaned_or_default_and_duplicates_kept",
         R"([{"id":"a","pattern":"a.b","action":"route","destination":{"type":"browser"}},
             {"id":"b","pattern":"a.b","action":"route","destination":{"type":"in-app","path":"/x"}}])",
         R"([{"id":"a","pattern":"a.b","action":"route","destination":{"type":"default"}},
             {"id":"b","pattern":"a.b","action":"route","destination":{"type":"in-app"}}])"},
        {"missing_empty_or_non_string_id_filled",
         R"([{"pattern":"a.b"},{"id":"","pattern":"c.d"},{"id":7,"pattern":"e.f"},{"id":" ","pattern":"g.h"}])",
         R"([{"id":"new","pattern":"a.b","action":"allow"},{"id":"new","pattern":"c.d","action":"allow"},
             {"id":"new","pattern":"e.f","action":"allow"},{"id":" ","pattern":"g.h","action":"allow"}])"},
    };
    for (const JsonCase &c : cases) {
        QVariantList actual = SNRoutingConfig::sanitizedRules(fromJson(c.input));
        QSet<QString> fresh; // a repeated id stays as it is and so mismatches "new"
        for (QVariant &rule : actual) {
            QVariantMap map = rule.toMap();
            const QString id = map.value(u"id"_s).toString();
            if (QUuid::fromString(id).toString(QUuid::WithoutBraces) == id.toLower() && !fresh.contains(id)) {
                fresh.insert(id);
                map.insert(u"id"_s, u"new"_s);
                rule = map;
            }
        }
        EXPECT_EQ(compact(actual), compact(fromJson(c.expected))) << c.name;
    }
}

// An expected "null" is an invalid destination.
TEST(SanitizedDestination, KeepsOnlyWhatItsTypeNeeds)
{
    const JsonCase cases[] = {
        {"unknown_type", R"({"type":"In-App"})", "null"},
        {"default_drops_extras", R"({"type":"default","bundleId":"x"})", R"({"type":"default"})"},
        {"browser_with_empty_bundle_id", R"({"type":"browser","bundleId":""})", "null"},
        {"browser_with_numeric_bundle_id", R"({"type":"browser","bundleId":5})", "null"},
        {"browser_keeps_own_keys_only",
         R"({"type":"browser","bundleId":"b","name":"X","path":"/p","appId":"A"})",
         R"({"type":"browser","bundleId":"b","name":"X"})"},
        {"app_keeps_own_keys_only",
         R"({"type":"sorvaneApp","path":"/A","name":"","appId":"I","bundleId":"b"})",
         R"({"type":"sorvaneApp","path":"/A","name":"","appId":"I"})"},
        {"app_drops_non_string_app_id", R"({"type":"sorvaneApp","path":"/A","appId":3})",
         R"({"type":"sorvaneApp","path":"/A"})"},
    };
    for (const JsonCase &c : cases) {
        const auto cleaned = SNRoutingConfig::sanitizedDestination(fromJson(c.input));
        EXPECT_EQ(compact(cleaned ? *cleaned : QVariant()), compact(fromJson(c.expected))) << c.name;
    }
}

// Input: {"rules", "default", "whitelisting", "restore", "addresses"}, each optional; the legacy
// patterns come from the addresses. Expected: the exact data.json bytes (compact, keys sorted).
TEST(RoutingData, WritesTheNineKeys)
{
#define OWN_RULES R"([{"id":"a","pattern":"a.b"},{"id":"b","pattern":"c.d","action":"route"}])"
#define OWN_RULES_CLEANED                                                                                    \
    R"([{"action":"allow","id":"a","pattern":"a.b"},{"action":"route","destination":{"type":"default"},"id":"b","pattern":"c.d"}])"
    const JsonCase cases[] = {
        // Legacy rules are not the app's own: it stays open, and as allows they are not listed.
        {"in_app_open_without_own_rules",
         R"({"rules":[{"pattern":" "}],"default":{"type":"in-app"},"addresses":["q.r"]})",
         R"({"allow_all":true,"allow_from_list":true,"allow_rules":false,"allow_subdomains":true,)"
         R"("default_destination":{"type":"in-app"},"restore_session":false,"rule_list":[],)"
         R"("rules":[{"action":"allow","id":"legacy-0","pattern":"q.r"}],"schema_version":2})"},
        {"whitelisting_on_closes_in_app", R"({"rules":[],"default":{"type":"in-app"},"whitelisting":true})",
         R"({"allow_all":false,"allow_from_list":true,"allow_rules":true,"allow_subdomains":true,)"
         R"("default_destination":{"type":"in-app"},"restore_session":false,"rule_list":[],"rules":[],"schema_version":2})"},
        {"own_rules_replace_legacy_and_list_routes",
         R"({"rules":)" OWN_RULES R"(,"default":{"type":"in-app","x":1},"addresses":["q.r"]})",
         R"({"allow_all":false,"allow_from_list":true,"allow_rules":true,"allow_subdomains":true,)"
         R"("default_destination":{"type":"in-app"},"restore_session":false,"rule_list":["c.d"],)"
         R"("rules":)" OWN_RULES_CLEANED R"(,"schema_version":2})"},
        {"invalid_app_default_becomes_default_and_lists_allows",
         R"({"rules":)" OWN_RULES R"(,"default":{"type":"sorvaneApp","path":""}})",
         R"({"allow_all":false,"allow_from_list":false,"allow_rules":true,"allow_subdomains":true,)"
         R"("default_destination":{"type":"default"},"restore_session":false,"rule_list":["a.b"],)"
         R"("rules":)" OWN_RULES_CLEANED R"(,"schema_version":2})"},
        {"web_mail_legacy_rules_listed_against_browser",
         R"({"default":{"type":"browser","bundleId":"org.x"},"whitelisting":true,"restore":true,"addresses":["https://mail.gmail.com"]})",
         R"({"allow_all":false,"allow_from_list":false,"allow_rules":true,"allow_subdomains":true,)"
         R"("default_destination":{"bundleId":"org.x","type":"browser"},"restore_session":true,)"
         R"("rule_list":["gmail.com","accounts.google.com"],"rules":[{"action":"allow","id":"legacy-0",)"
         R"("pattern":"gmail.com"},{"action":"allow","id":"legacy-1","pattern":"accounts.google.com"}],)"
         R"("schema_version":2})"},
    };
#undef OWN_RULES
#undef OWN_RULES_CLEANED
    for (const JsonCase &c : cases) {
        const QVariantMap in = fromJson(c.input).toMap();
        const QVariantMap data = SNRoutingConfig::dataJSONDictionaryWithRules(
            in[u"rules"_s], in[u"default"_s], in[u"whitelisting"_s].toBool(), in[u"restore"_s].toBool(),
            SNWhiteListPatterns::legacyPatterns(in[u"addresses"_s].toStringList(), false));
        EXPECT_EQ(SNRoutingConfig::dataJSON(data), QByteArray(c.expected)) << c.name;
    }
}
