#include "generation/IconConverter.h"

#include "core/SNError.h"
#include "core/SNImage.h"
#include "support/TestContext.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>

#include <algorithm>

#include <gtest/gtest.h>

namespace {

QImage solid(int width, int height, const QColor &color)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

QString icnsTool(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral("icns2png"), arguments);
    if (!process.waitForFinished(30000) || process.exitCode() != 0)
        return {};
    return QString::fromUtf8(process.readAllStandardOutput());
}

// The entries of an icon file as icns2png lists them, sorted. Debian's libicns predates the
// PNG-only types and lists them as 0x0, so those take their size from the published type table.
QList<int> listedSizes(const QString &path)
{
    static const QHash<QString, int> pngOnlyTypes{{QStringLiteral("icp4"), 16}, {QStringLiteral("icp5"), 32},
                                                  {QStringLiteral("icp6"), 64}, {QStringLiteral("ic07"), 128}};
    const QString listing = icnsTool({QStringLiteral("-l"), path});
    const auto family = QRegularExpression(QStringLiteral(R"(family size is (\d+) bytes)")).match(listing);
    EXPECT_EQ(family.captured(1).toLongLong(), QFileInfo(path).size()) << listing.toStdString();
    QList<int> sizes;
    static const QRegularExpression entry(QStringLiteral(R"('(\w{4})' (\d+)x(\d+))"));
    for (auto match = entry.globalMatch(listing); match.hasNext();) {
        const auto found = match.next();
        const int size = found.captured(2).toInt();
        sizes.append(size ? size : pngOnlyTypes.value(found.captured(1)));
    }
    std::sort(sizes.begin(), sizes.end());
    return sizes;
}

struct ConvertCase
{
    const char *name;
    const char *source; // png (written and read back), ico (fixture), or representations
    QList<QSize> sizes;
    qsizetype made;
    QList<int> expected;
};

void PrintTo(const ConvertCase &row, std::ostream *os) { *os << row.name; }

using IconConverterWrites = ::testing::TestWithParam<ConvertCase>;

struct FailureCase
{
    const char *name;
    QList<QSize> sizes; // an empty size stands for a null representation
    const char *folder;
    const char *logged;
};

void PrintTo(const FailureCase &row, std::ostream *os) { *os << row.name; }

using IconConverterFails = ::testing::TestWithParam<FailureCase>;

} // namespace

TEST_P(IconConverterWrites, EverySizeWithASlotPlusTheMadeOnes)
{
    TestContext test;
    const ConvertCase &row = GetParam();
    const QString kind = QString::fromLatin1(row.source);
    QList<QImage> representations;
    for (const QSize &size : row.sizes)
        representations.append(solid(size.width(), size.height(), Qt::darkCyan));
    SNImage image(representations);
    if (kind == u"png") {
        const QString png = test.root() + QStringLiteral("/source.png");
        ASSERT_TRUE(representations[0].save(png));
        image = SNImage::fromFile(png);
    } else if (kind == u"ico") {
        image = SNImage::fromFile(fixturePath(QStringLiteral("images/sizes-16-32.ico")));
    }
    ASSERT_FALSE(image.isNull());

    const QList<QImage> refs = IconConverter::refsFromImage(image);
    const qsizetype existing = image.representations().size();
    ASSERT_EQ(refs.size(), existing + row.made);
    EXPECT_TRUE(std::is_sorted(refs.begin(), refs.begin() + existing,
                               [](const QImage &a, const QImage &b) { return a.width() < b.width(); }));
    for (qsizetype i = existing; i < refs.size(); ++i) {
        EXPECT_EQ(refs[i].width(), refs[i].height());
        EXPECT_EQ(refs[i].format(), QImage::Format_ARGB32);
    }

    SNError error;
    ASSERT_TRUE(IconConverter::convertImagesWithSourceImage(image, test.root(), &error));
    EXPECT_EQ(test.log(), QStringList{QStringLiteral("icon.icns created successfully.")});
    const QString icns = test.root() + QStringLiteral("/icon.icns");
    EXPECT_EQ(listedSizes(icns), row.expected);
    QList<int> decoded;
    const SNImage written = SNImage::fromFile(icns);
    for (const QImage &entry : written.representations())
        decoded.append(entry.height() == entry.width() ? entry.width() : -1);
    std::sort(decoded.begin(), decoded.end());
    EXPECT_EQ(decoded, row.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Sources, IconConverterWrites,
    ::testing::Values(
        ConvertCase{"singlePng1024", "png", {QSize(1024, 1024)}, 3, {128, 256, 512, 1024}},
        ConvertCase{"ico16And32", "ico", {}, 3, {16, 32, 128, 256, 512}},
        ConvertCase{"alreadyHoldsTheMadeSizes", "representations", {QSize(512, 512), QSize(128, 128), QSize(256, 256)},
                    0, {128, 256, 512}},
        ConvertCase{"sizesWithoutASlotLeftOut", "representations", {QSize(300, 200), QSize(48, 48)}, 3, {128, 256, 512}},
        ConvertCase{"nonSquareInTheSlotOfItsWidth", "representations",
                    {QSize(1024, 1024), QSize(64, 32), QSize(128, 300)}, 2, {64, 128, 256, 512, 1024}}),
    [](const auto &test) { return std::string(test.param.name); });

TEST(IconConverter, MadeSizesAreDrawnFromTheLargestRepresentation)
{
    TestContext test;
    const SNImage image({solid(16, 16, Qt::red), solid(1024, 1024, Qt::blue), solid(64, 64, Qt::green)});
    QList<QPair<int, QRgb>> refs;
    for (const QImage &ref : IconConverter::refsFromImage(image))
        refs.append({ref.width(), ref.pixel(ref.width() / 2, ref.height() / 2)});
    const QRgb blue = QColor(Qt::blue).rgba();
    const QList<QPair<int, QRgb>> expected{{16, QColor(Qt::red).rgba()}, {64, QColor(Qt::green).rgba()},
                                           {1024, blue}, {256, blue}, {128, blue}, {512, blue}};
    EXPECT_EQ(refs, expected);

    // The entries Debian's libicns can extract (256 pixels and up), as it sees them.
    ASSERT_TRUE(IconConverter::convertImagesWithSourceImage(image, test.root()));
    const QString extracted = test.root() + QStringLiteral("/extracted");
    ASSERT_TRUE(QDir().mkpath(extracted));
    icnsTool({QStringLiteral("-x"), QStringLiteral("-o"), extracted, test.root() + QStringLiteral("/icon.icns")});
    for (const int size : {256, 512, 1024}) {
        const QImage entry(extracted + QStringLiteral("/icon_%1x%1x32.png").arg(size));
        ASSERT_EQ(entry.size(), QSize(size, size));
        EXPECT_EQ(entry.pixel(size / 2, size / 2), blue) << size;
    }
}

TEST_P(IconConverterFails, WithCodeTwoAndNoFile)
{
    TestContext test;
    const FailureCase &row = GetParam();
    const QString folder = test.root() + QString::fromLatin1(row.folder);
    QList<QImage> representations;
    for (const QSize &size : row.sizes)
        representations.append(size.isEmpty() ? QImage() : solid(size.width(), size.height(), Qt::red));
    SNError error;
    EXPECT_FALSE(IconConverter::convertImagesWithSourceImage(SNImage(representations), folder, &error));
    EXPECT_EQ(error.code, 2);
    EXPECT_EQ(error.description, QStringLiteral("Error creating icon."));
    EXPECT_EQ(test.log(), QStringList{QString::fromUtf8(row.logged)});
    EXPECT_FALSE(QFileInfo::exists(folder + QStringLiteral("/icon.icns")));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, IconConverterFails,
    ::testing::Values(FailureCase{"nullImage", {}, "", "Error creating icon."},
                      FailureCase{"onlyNullRepresentations", {QSize()}, "", "Error creating icon."},
                      FailureCase{"missingFolder", {QSize(32, 32)}, "/missing", "Error writing to icon.icns."}),
    [](const auto &test) { return std::string(test.param.name); });
