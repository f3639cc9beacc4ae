#include "core/AppDefinition.h"
#include "core/WebAddress.h"

#include "support/TestContext.h"

#include <QImage>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

TEST(AppDefinition, ReadsTheDictionaryForm)
{
    TestContext test;
    QImage icon(32, 32, QImage::Format_ARGB32);
    icon.fill(Qt::red);
    ASSERT_TRUE(icon.save(test.root() + QStringLiteral("/icon.png")));

    QString error;
    const auto app = AppDefinition::fromDictionary(
        {{QStringLiteral("appName"), QStringLiteral("Mail")},
         {QStringLiteral("appURL"), QStringLiteral("https://mail.example.test")},
         {QStringLiteral("appIcon"), QStringLiteral("icon.png")},
         {QStringLiteral("tabbedApp"), true},
         {QStringLiteral("tabsList"), QVariantList{QStringLiteral("https://a.test"),
                                                   QVariantMap{{QStringLiteral("tabUrlString"), QStringLiteral("https://b.test")}}}},
         {QStringLiteral("restoreSession"), false},
         {QStringLiteral("defaultDestination"), QVariantMap{{QStringLiteral("type"), QStringLiteral("in-app")}}},
         {QStringLiteral("somethingElse"), 1}},
        test.root(), &error);
    ASSERT_TRUE(app) << qPrintable(error);
    EXPECT_EQ(app->appName, QStringLiteral("Mail"));
    EXPECT_TRUE(app->needTab);
    EXPECT_EQ(app->tabsList, (TabAddressList{TabAddress(QStringLiteral("https://a.test")), TabAddress(QStringLiteral("https://b.test"))}));
    EXPECT_FALSE(app->restoreSession);
    EXPECT_FALSE(app->incognito);
    ASSERT_FALSE(app->appIcon.isNull());
    EXPECT_EQ(app->appIcon.representations().first().size(), QSize(32, 32));
    ASSERT_TRUE(app->defaultDestination);
}

struct BadField
{
    const char *key;
    QVariant value;
};

void PrintTo(const BadField &field, std::ostream *os) { *os << field.key; }

using AppDefinitionRejects = ::testing::TestWithParam<BadField>;

TEST_P(AppDefinitionRejects, AFieldOfTheWrongTypeByName)
{
    TestContext test;
    QString error;
    const QString key = QString::fromUtf8(GetParam().key);
    EXPECT_FALSE(AppDefinition::fromDictionary({{QStringLiteral("appName"), QStringLiteral("A")}, {key, GetParam().value}},
                                           test.root(), &error));
    EXPECT_TRUE(error.startsWith(key + u':')) << qPrintable(error);
}

INSTANTIATE_TEST_SUITE_P(
    Fields, AppDefinitionRejects,
    ::testing::Values(BadField{"appName", 3}, BadField{"incognito", QStringLiteral("yes")},
                      BadField{"tabsList", QStringLiteral("https://a.test")}, BadField{"tabsList", QVariantList{1}},
                      BadField{"routingRules", QStringLiteral("allow")},
                      BadField{"defaultDestination", QStringLiteral("default")},
                      BadField{"appIcon", QStringLiteral("missing.png")}, BadField{"appIcon", QByteArray("not an image")},
                      BadField{"appIcon", 5}, BadField{"engineSwitches", QStringLiteral("--no-sandbox")},
                      BadField{"engineSwitches", QVariantList{QStringLiteral("--a"), 1}}));

// What a typed address is saved as when no site search has told its scheme, and what is tried.
TEST(WebAddress, TypedAddressesGetAScheme)
{
    struct Row
    {
        QString typed;
        QString saved;
        QStringList tried;
    };
    const Row rows[] = {
        {u"  example.org/news "_s, u"https://example.org/news"_s, {u"https://example.org/news"_s, u"http://example.org/news"_s}},
        {u"127.0.0.1:8765/"_s, u"https://127.0.0.1:8765/"_s, {u"https://127.0.0.1:8765/"_s, u"http://127.0.0.1:8765/"_s}},
        {u"localhost:8080"_s, u"https://localhost:8080"_s, {u"https://localhost:8080"_s, u"http://localhost:8080"_s}},
        {u"http://plain.example/"_s, u"http://plain.example/"_s, {u"http://plain.example/"_s}},
        {u"HTTPS://Upper.example"_s, u"HTTPS://Upper.example"_s, {u"HTTPS://Upper.example"_s}},
        // Other schemes stay as typed, for the definition checks to refuse.
        {u"javascript://host/%0aalert(1)"_s, u"javascript://host/%0aalert(1)"_s, {u"javascript://host/%0aalert(1)"_s}},
        {u"mailto:someone@example.org"_s, u"mailto:someone@example.org"_s, {u"mailto:someone@example.org"_s}},
        {u""_s, u""_s, {}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.typed.toStdString());
        EXPECT_EQ(WebAddress::withScheme(row.typed), row.saved);
        EXPECT_EQ(WebAddress::candidates(row.typed), row.tried);
    }
}
