#include "core/SNImage.h"

#include "core/AtomicWriter.h"
#include "core/BoundedImageReader.h"

#include "support/TestContext.h"

#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// Varied colours and partial transparency, so a lossy round trip or a mix-up of straight and
// premultiplied alpha shows. Premultiplied, as Qt's TIFF reader gives it back.
QImage pattern(const QSize &size)
{
    QImage image(size, QImage::Format_ARGB32);
    for (qsizetype i = 0; i < image.sizeInBytes(); ++i)
        image.bits()[i] = uchar(i * 7 + i / 5);
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QList<QSize> sizes(const SNImage &image)
{
    QList<QSize> result;
    for (const QImage &representation : image.representations())
        result.append(representation.size());
    return result;
}

SNImage threePages()
{
    return SNImage({pattern(QSize(64, 64)), pattern(QSize(16, 16)), pattern(QSize(48, 32))});
}

// The png is drawn and the ico a fixture; the other rows give the file's bytes. No sizes: the file
// is corrupt, and reads as a null image with a reason.
struct ReadCase
{
    const char *name;
    QList<QSize> expected = {};
    QByteArray bytes = {};
};

void PrintTo(const ReadCase &row, std::ostream *os) { *os << row.name; }

using SNImageReads = ::testing::TestWithParam<ReadCase>;

} // namespace

TEST_P(SNImageReads, EveryRepresentationInFileOrderOrNullWithAReason)
{
    TestContext test;
    const ReadCase &row = GetParam();
    const QString kind = QString::fromLatin1(row.name);
    const QString path =
        kind == u"ico" ? fixturePath(u"images/sizes-16-32.ico"_s) : test.root() + u"/source."_s + kind;
    ASSERT_TRUE(kind == u"ico" || (kind == u"png" ? pattern(row.expected[0]).save(path)
                                                  : AtomicWriter::write(path, row.bytes)));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QString fileError, dataError;
    EXPECT_EQ(sizes(SNImage::fromFile(path, &fileError)), row.expected) << fileError.toStdString();
    EXPECT_EQ(sizes(SNImage::fromData(file.readAll(), &dataError)), row.expected) << dataError.toStdString();
    // A reason from both readers exactly when the input is unreadable.
    EXPECT_EQ(fileError.isEmpty() + dataError.isEmpty(), row.expected.isEmpty() ? 0 : 2);
}

INSTANTIATE_TEST_SUITE_P(
    Inputs, SNImageReads,
    ::testing::Values(ReadCase{"png", {QSize(40, 30)}}, ReadCase{"ico", {QSize(16, 16), QSize(32, 32)}},
                      ReadCase{"tiff", {QSize(64, 64), QSize(16, 16), QSize(48, 32)},
                               threePages().tiffRepresentation()}, ReadCase{"empty"},
                      ReadCase{"text", {}, "hello"}, ReadCase{"pngSignatureOnly", {}, "\x89PNG\r\n\x1a\n"}),
    [](const auto &test) { return std::string(test.param.name); });

TEST(SNImage, TiffRepresentationHasAPagePerRepresentationAndImageDataDecodesToTheSourcePixels)
{
    TestContext test;
    const SNImage image = threePages();
    const QString path = test.root() + u"/image.tiff"_s;
    ASSERT_TRUE(AtomicWriter::write(path, image.tiffRepresentation()));
    const QString info = QString::fromUtf8(runProgram(u"tiffinfo"_s, {path}, environmentWith()).out);
    const QStringList pages = info.split(u'\n').filter(u"Image Width:"_s).replaceInStrings(
        QRegularExpression(uR"(.*Image Width: (\d+) Image Length: (\d+).*)"_s), u"\\1x\\2"_s);
    EXPECT_EQ(pages, (QStringList{u"64x64"_s, u"16x16"_s, u"48x32"_s})) << info.toStdString();

    const QString text = SNImage::imageData(image);
    EXPECT_FALSE(text.contains(u'\n') || text.contains(u'\r'));
    const QByteArray tiff = QByteArray::fromBase64(text.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    // The pages are premultiplied, as Qt's TIFF reader gives them, so they must come back equal.
    EXPECT_EQ(SNImage::fromTiff(tiff).representations(), image.representations());
}

namespace {

// Input past a budget is refused with a reason that names the file and the limit; input at the
// limit reads whole.
struct BudgetCase
{
    const char *name;
    QByteArray bytes;
    const char *refusal = nullptr;
    int images = 0;
};

void PrintTo(const BudgetCase &row, std::ostream *os) { *os << row.name; }

QByteArray corpus(const char *name)
{
    return readAll(fixturePath(u"../fuzz/corpus/image/"_s + QLatin1String(name)));
}

QByteArray tinyPages(int count)
{
    QList<QImage> pages;
    for (int page = 0; page < count; ++page)
        pages.append(pattern(QSize(2, 1 + page % 3)));
    return SNImage(pages).tiffRepresentation();
}

using SNImageBudgets = ::testing::TestWithParam<BudgetCase>;

} // namespace

TEST_P(SNImageBudgets, RefusesBeforeDecodingAndNamesTheFileAndTheLimit)
{
    TestContext test;
    const BudgetCase &row = GetParam();
    ASSERT_FALSE(row.bytes.isEmpty());
    const QString path = test.root() + u"/icon.tiff"_s;
    ASSERT_TRUE(AtomicWriter::write(path, row.bytes));
    QString error;
    const SNImage image = SNImage::fromFile(path, &error);
    if (!row.refusal) {
        EXPECT_EQ(image.representations().size(), row.images) << error.toStdString();
        return;
    }
    EXPECT_TRUE(image.isNull());
    EXPECT_TRUE(error.startsWith(u"Cannot read the image \"%1\": "_s.arg(path))) << error.toStdString();
    EXPECT_TRUE(error.contains(QLatin1String(row.refusal))) << error.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Hostile, SNImageBudgets,
    ::testing::Values(BudgetCase{"sixtyPagesSharingOneStrip", corpus("tiff-60-pages-one-strip"),
                                 "more than 67108864 pixels"},
                      BudgetCase{"headerDeclaresEightyOneMegapixels", corpus("png-declares-9000x9000"),
                                 "more than 67108864 pixels (one image of 8192 x 8192)"},
                      BudgetCase{"morePagesThanRead", tinyPages(BoundedImageReader::MaximumImages + 1),
                                 "holds 65 images, more than the 64 read"},
                      BudgetCase{"asManyPagesAsRead", tinyPages(BoundedImageReader::MaximumImages), nullptr,
                                 BoundedImageReader::MaximumImages}),
    [](const auto &test) { return std::string(test.param.name); });
