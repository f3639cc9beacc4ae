#include "generation/IconConverter.h"

#include "core/SNImage.h"
#include "support/TestContext.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <set>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QImage solid(int width, int height, const QColor &color = Qt::darkCyan)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

// The entries of an icon file as icns2png lists them, once checked against the sides of those Qt's
// icns reader decodes (-1: not square). Debian's libicns predates the PNG-only types and lists them
// as 0x0, so those take their size from the published type table.
std::multiset<int> listedSizes(const QString &path)
{
    const QHash<QString, int> pngOnly{{u"icp4"_s, 16}, {u"icp5"_s, 32}, {u"icp6"_s, 64}, {u"ic07"_s, 128}};
    const QString listing = QString::fromUtf8(runProgram(u"icns2png"_s, {u"-l"_s, path}, environmentWith()).out);
    std::multiset<int> sizes, decoded;
    for (const auto &entry : QRegularExpression(uR"('(\w{4})' (\d+)x)"_s).globalMatch(listing))
        sizes.insert(pngOnly.value(entry.captured(1), entry.captured(2).toInt()));
    const SNImage icon = SNImage::fromFile(path);
    for (const QImage &entry : icon.representations())
        decoded.insert(entry.width() == entry.height() ? entry.width() : -1);
    EXPECT_EQ(decoded, sizes);
    return sizes;
}

struct ConvertCase
{
    const char *name;
    QList<QImage> source; // its representations; none: the ico fixture; a single one goes through a PNG file
    std::multiset<int> listed; // the entries of the written icon.icns
};

void PrintTo(const ConvertCase &row, std::ostream *os) { *os << row.name; }

using IconConverterWrites = ::testing::TestWithParam<ConvertCase>;

} // namespace

TEST_P(IconConverterWrites, EverySizeWithASlotPlusTheMadeOnes)
{
    TestContext test;
    const ConvertCase &row = GetParam();
    // Stored uncompressed, so encoding the pixels again would give other bytes.
    ASSERT_TRUE(row.source.size() != 1 || row.source[0].save(test.root() + u"/source.png"_s, "PNG", 100));
    const SNImage image = row.source.isEmpty() ? SNImage::fromFile(fixturePath(u"images/sizes-16-32.ico"_s))
                          : row.source.size() == 1 ? SNImage::fromFile(test.root() + u"/source.png"_s)
                                                   : SNImage(row.source);
    ASSERT_TRUE(IconConverter::convertImagesWithSourceImage(image, test.root()));
    EXPECT_EQ(test.log(), QStringList{u"icon.icns created successfully."_s});
    EXPECT_EQ(listedSizes(test.root() + u"/icon.icns"_s), row.listed);
    // A PNG file of a slot's size goes in as it is, not encoded again.
    if (row.source.size() == 1) {
        EXPECT_TRUE(readAll(test.root() + u"/icon.icns"_s).contains(readAll(test.root() + u"/source.png"_s)));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Sources, IconConverterWrites,
    ::testing::Values(
        ConvertCase{"singlePng1024", {solid(1024, 1024)}, {128, 256, 512, 1024}},
        ConvertCase{"ico16And32", {}, {16, 32, 128, 256, 512}},
        ConvertCase{"alreadyHoldsTheMadeSizes", {solid(512, 512), solid(128, 128), solid(256, 256)},
                    {128, 256, 512}},
        ConvertCase{"sizesWithoutASlotLeftOut", {solid(300, 200), solid(48, 48)}, {128, 256, 512}},
        ConvertCase{"nonSquareInItsWidthSlot", {solid(64, 32), solid(128, 300)}, {64, 128, 256, 512}}),
    [](const auto &test) { return std::string(test.param.name); });

TEST(IconConverter, FailuresGiveCodeTwoAndTheirLogLineAndWriteNoFile)
{
    TestContext test;
    // A file that cannot be written has its reason logged before the fixed line.
    const std::tuple<SNImage, QString, QStringList> cases[] = {
        {SNImage(), test.root(), {u"Error creating icon."_s}},
        {SNImage({QImage()}), test.root(), {u"Error creating icon."_s}},
        {SNImage({solid(32, 32)}), test.root() + u"/missing"_s,
         {u"Cannot write %1/missing/icon.icns: No such file or directory"_s.arg(test.root()),
          u"Error writing to icon.icns."_s}}};
    for (const auto &[image, folder, logged] : cases) {
        test.clearLog();
        QString error;
        EXPECT_FALSE(IconConverter::convertImagesWithSourceImage(image, folder, &error));
        EXPECT_EQ(error, u"Error creating icon."_s);
        EXPECT_EQ(test.log(), logged);
        EXPECT_FALSE(QFileInfo::exists(folder + u"/icon.icns"_s));
    }
}
