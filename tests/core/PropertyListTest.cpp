#include "core/PropertyList.h"

#include "support/TestContext.h"

#include <QDateTime>
#include <QFile>
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
    const QString write = QStringLiteral("import plistlib,sys; open(sys.argv[1],'wb').write(plistlib.dumps("
                                         "{'name':'Mail','tabs':['a','b'],'n':3,'on':True}, fmt=plistlib.FMT_BINARY))");
    ASSERT_EQ(runProgram(QStringLiteral(SORVANE_PYTHON3), {QStringLiteral("-c"), write, path}, environmentWith()).exitCode, 0);
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
            const QString write = QStringLiteral("import plistlib,sys\nx=[]\nfor i in range(int(sys.argv[2])): x=[x]\n"
                                                 "open(sys.argv[1],'wb').write(plistlib.dumps({'a':x}, fmt=plistlib.%1))")
                                      .arg(QLatin1String(format));
            const QStringList arguments{QStringLiteral("-c"), write, path, QString::number(levels)};
            ASSERT_EQ(runProgram(QStringLiteral(SORVANE_PYTHON3), arguments, environmentWith()).exitCode, 0);
            QString error;
            const QVariant value = PropertyList::readFile(path, &error);
            EXPECT_EQ(value.isValid(), levels < PropertyList::MaximumDepth) << format << ' ' << levels;
            EXPECT_EQ(error.contains(QStringLiteral("deeper")), levels > PropertyList::MaximumDepth) << format;
        }
    }
}
