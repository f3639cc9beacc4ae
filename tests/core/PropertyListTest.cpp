#include "core/PropertyList.h"

#include "support/TestContext.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QTimeZone>

#include <gtest/gtest.h>

namespace {

QVariantMap sample()
{
    return {
        {QStringLiteral("text"), QStringLiteral("Grüße \"quoted\" <tag> & more")},
        {QStringLiteral("yes"), true},
        {QStringLiteral("no"), false},
        {QStringLiteral("count"), 42},
        {QStringLiteral("negative"), -7},
        {QStringLiteral("ratio"), 0.5},
        {QStringLiteral("bytes"), QByteArray("\x00\x01\xff", 3)},
        {QStringLiteral("list"), QVariantList{QStringLiteral("a"), 1, QVariantMap{{QStringLiteral("k"), QStringLiteral("v")}}}},
        {QStringLiteral("empty"), QVariantList{}},
        {QStringLiteral("when"), QDateTime(QDate(2024, 3, 5), QTime(21, 7, 31), QTimeZone::utc())},
    };
}

// Writes `value`, a Python expression, to `path` with plistlib in `format` ("FMT_XML" or "FMT_BINARY").
bool writeWithPython(const QString &path, const QString &value, const char *format = "FMT_BINARY")
{
    const QString code = QStringLiteral("import plistlib,sys\nopen(sys.argv[1],'wb').write(plistlib.dumps(%1, fmt=plistlib.%2))")
                             .arg(value, QLatin1String(format));
    return runProgram(QStringLiteral(SORVANE_PYTHON3), {QStringLiteral("-c"), code, path}, environmentWith()).exitCode == 0;
}

} // namespace

TEST(PropertyList, WritesXmlThatAnIndependentReaderAgreesWith)
{
    TestContext test;
    const QString path = test.root() + QStringLiteral("/sample.plist");
    ASSERT_TRUE(PropertyList::writeFile(path, sample()));
    EXPECT_EQ(plistAsJsonFromPython(path),
              QByteArray(R"({"bytes":"data:AAH/","count":42,"empty":[],"list":["a",1,{"k":"v"}],)"
                         R"("negative":-7,"no":false,"ratio":0.5,"text":"Grüße \"quoted\" <tag> & more",)"
                         R"("when":"date:2024-03-05T21:07:31","yes":true})"));
    EXPECT_EQ(PropertyList::readFile(path).toMap(), sample());
}

TEST(PropertyList, ReadsBinaryPropertyLists)
{
    TestContext test;
    const QString path = test.root() + QStringLiteral("/binary.plist");
    ASSERT_TRUE(writeWithPython(path, QStringLiteral("{'name':'Mail','tabs':['a','b'],'n':3,'on':True}")));
    const QVariantMap expected{{QStringLiteral("name"), QStringLiteral("Mail")},
                               {QStringLiteral("tabs"), QVariantList{QStringLiteral("a"), QStringLiteral("b")}},
                               {QStringLiteral("n"), 3},
                               {QStringLiteral("on"), true}};
    EXPECT_EQ(PropertyList::readFile(path).toMap(), expected);
}

using PropertyListRejects = ::testing::TestWithParam<const char *>;

TEST_P(PropertyListRejects, DataThatIsNoPropertyList)
{
    QString error;
    const QVariant value = PropertyList::fromData(QByteArray(GetParam()), &error);
    EXPECT_FALSE(value.isValid());
    EXPECT_FALSE(error.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Corrupt, PropertyListRejects,
                         ::testing::Values("", "   \n", "not a plist", "<?xml version=\"1.0\"?><plist><dict><key>a",
                                           "bplist00\x01\x02", "{\"json\": true}"));

TEST(PropertyList, MissingFileAndUnsupportedValuesFailWithoutWriting)
{
    TestContext test;
    QString error;
    EXPECT_FALSE(PropertyList::readFile(test.root() + QStringLiteral("/missing.plist"), &error).isValid());
    EXPECT_FALSE(error.isEmpty());

    const QString path = test.root() + QStringLiteral("/bad.plist");
    error.clear();
    EXPECT_FALSE(PropertyList::writeFile(path, QVariantMap{{QStringLiteral("nothing"), QVariant()}}, &error));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_FALSE(QFile::exists(path));
}

// Arrays in arrays, written by Python in both formats: a few hundred levels are refused before
// the parser (which recurses once per level) sees them; a sane depth reads.
TEST(PropertyList, RefusesNestingDeeperThanTheLimitInBothFormats)
{
    TestContext test;
    for (const char *format : {"FMT_XML", "FMT_BINARY"}) {
        for (const int levels : {200, 300}) {
            const QString path = test.root() + QStringLiteral("/nested-%1-%2.plist").arg(QLatin1String(format)).arg(levels);
            const QString nested = QStringLiteral("{'a': __import__('functools').reduce(lambda x, _: [x], range(%1), [])}");
            ASSERT_TRUE(writeWithPython(path, nested.arg(levels), format));
            QString error;
            const QVariant value = PropertyList::readFile(path, &error);
            EXPECT_EQ(value.isValid(), levels < PropertyList::MaximumDepth) << format << ' ' << levels;
            EXPECT_EQ(error.contains(QStringLiteral("deeper")), levels > PropertyList::MaximumDepth) << format;
        }
    }
}

namespace {

// A property list, from the fuzz corpus (the small hostile files) or written here, and the part of
// the refusal expected; no refusal: it reads, to `items` values in its top array when given.
struct BudgetCase
{
    const char *name;
    QByteArray bytes;
    const char *refusal = nullptr;
    int items = -1;
};

void PrintTo(const BudgetCase &row, std::ostream *os) { *os << row.name; }

QByteArray corpus(const char *name)
{
    return readAll(fixturePath(QStringLiteral("../fuzz/corpus/property-list/") + QLatin1String(name)));
}

QByteArray xmlList(const QByteArray &body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" + body + "\n</plist>\n";
}

// `levels` arrays, each opened with `open` and closed with `close`, around one string.
QByteArray nested(int levels, const QByteArray &open, const QByteArray &close = "</array>")
{
    return xmlList(open.repeated(levels) + "<string>x</string>" + close.repeated(levels));
}

using PropertyListBudgets = ::testing::TestWithParam<BudgetCase>;

} // namespace

TEST_P(PropertyListBudgets, RefusesWhatWouldGrowPastALimitBeforeParsingAndNamesTheSource)
{
    const BudgetCase &row = GetParam();
    ASSERT_FALSE(row.bytes.isEmpty());
    QString error;
    const QVariant value = PropertyList::fromData(row.bytes, &error, QStringLiteral("\"hostile.plist\""));
    if (!row.refusal) {
        EXPECT_TRUE(value.isValid()) << error.toStdString();
        if (row.items >= 0) {
            EXPECT_EQ(value.toList().size(), row.items);
        }
        return;
    }
    EXPECT_FALSE(value.isValid());
    EXPECT_TRUE(error.startsWith(QStringLiteral("Cannot read the property list \"hostile.plist\": it ")))
        << error.toStdString();
    EXPECT_TRUE(error.contains(QLatin1String(row.refusal))) << error.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Hostile, PropertyListBudgets,
    ::testing::Values(
        BudgetCase{"sharedReferences60Deep", corpus("shared-references-60-deep"), "more than 1000000 values"},
        BudgetCase{"oneStringReferenced40000Times", corpus("one-string-40000-references"), "more than 256 MB"},
        BudgetCase{"blanksAndAttributesBeforeTheBracket", corpus("nested-arrays-blank-before-gt"), "deeper than 256"},
        BudgetCase{"newlineBeforeTheBracket", nested(300, "<array\n>"), "deeper than 256"},
        BudgetCase{"closingTagsInComments", nested(300, "<array><!-- </array> -->"), "deeper than 256"},
        BudgetCase{"closingTagsInCdata", nested(300, "<array><string><![CDATA[</array></dict>]]></string>"),
                   "deeper than 256"},
        BudgetCase{"closingTagsWithBlanks", nested(300, "<array>", "</array\n>"), "deeper than 256"},
        BudgetCase{"dictionariesWithAttributes", nested(300, "<dict a=\"1\"><key>k</key>", "</dict>"),
                   "deeper than 256"},
        BudgetCase{"tooManyXmlValues", xmlList("<array>" + QByteArray("<true/>").repeated(1'000'001) + "</array>"),
                   "more than 1000000 values"},
        BudgetCase{"emptyArraysOpenNothing",
                   xmlList("<array>" + QByteArray("<array/><array  /><array\n/><array a=\"b\"/>").repeated(100) +
                           "</array>"),
                   nullptr, 400},
        BudgetCase{"nestingWithinTheLimit", nested(200, "<array\n>", "</array >"), nullptr, 1}),
    [](const auto &test) { return std::string(test.param.name); });

// A string shared by many references (as binary writers store repeats) reads in full while the
// expanded tree stays within the budget.
TEST(PropertyList, ReadsSharedReferencesWithinTheBudget)
{
    TestContext test;
    const QString path = test.root() + QStringLiteral("/shared.plist");
    ASSERT_TRUE(writeWithPython(path, QStringLiteral("[['icon-data-' * 1000] * 50] * 100")));
    ASSERT_LT(QFileInfo(path).size(), 20000);
    QString error;
    const QVariantList rows = PropertyList::readFile(path, &error).toList();
    ASSERT_EQ(rows.size(), 100) << error.toStdString();
    EXPECT_EQ(rows.last().toList().size(), 50);
    EXPECT_EQ(rows.last().toList().last().toString().size(), 10000);
}
