#include "core/SNImage.h"

#include "core/AtomicWriter.h"

#include "support/TestContext.h"

#include <QBuffer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <optional>

#include <gtest/gtest.h>

namespace {

// Every pixel differs, with partial transparency, so a lossy or premultiplying round trip shows.
QImage pattern(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, qRgba(x * 7 % 256, y * 5 % 256, (x ^ y) % 256, (x + y * 3) % 256));
    return image;
}

QList<QSize> sizes(const QList<QImage> &images)
{
    QList<QSize> result;
    for (const QImage &image : images)
        result.append(image.size());
    return result;
}

QByteArray encoded(const QImage &image, const char *format)
{
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return data;
}

std::optional<QString> run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return std::nullopt;
    return QString::fromUtf8(process.readAllStandardOutput());
}

struct ReadCase
{
    const char *name; // the format: png, jpg, ico (a fixture), tiff (pages joined by tiffcp)
    QList<QSize> expected;
};

void PrintTo(const ReadCase &row, std::ostream *os) { *os << row.name; }

using SNImageReads = ::testing::TestWithParam<ReadCase>;

} // namespace

TEST_P(SNImageReads, EveryRepresentationInFileOrder)
{
    TestContext test;
    const ReadCase &row = GetParam();
    const QString kind = QString::fromLatin1(row.name);
    QString path = test.root() + QStringLiteral("/source.") + kind;
    if (kind == u"ico") {
        path = fixturePath(QStringLiteral("images/sizes-16-32.ico"));
    } else if (kind == u"tiff") {
        QStringList pages;
        for (const QSize &size : row.expected) {
            pages.append(test.root() + QStringLiteral("/page%1.tiff").arg(pages.size()));
            ASSERT_TRUE(pattern(size.width(), size.height()).save(pages.last()));
        }
        ASSERT_TRUE(run(QStringLiteral("tiffcp"), pages + QStringList{path}));
    } else {
        ASSERT_TRUE(pattern(row.expected[0].width(), row.expected[0].height()).save(path));
    }

    QString error;
    const SNImage image = SNImage::fromFile(path, &error);
    EXPECT_EQ(sizes(image.representations()), row.expected) << error.toStdString();
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(sizes(SNImage::fromData(file.readAll()).representations()), row.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, SNImageReads,
    ::testing::Values(ReadCase{"png", {QSize(40, 30)}}, ReadCase{"jpg", {QSize(20, 20)}},
                      ReadCase{"ico", {QSize(16, 16), QSize(32, 32)}},
                      ReadCase{"tiff", {QSize(64, 64), QSize(16, 16), QSize(48, 32)}}),
    [](const auto &test) { return std::string(test.param.name); });

struct CorruptCase
{
    const char *name;
    QByteArray data;
};

void PrintTo(const CorruptCase &row, std::ostream *os) { *os << row.name; }

using SNImageRejects = ::testing::TestWithParam<CorruptCase>;

TEST_P(SNImageRejects, CorruptInputAsNullWithAReason)
{
    TestContext test;
    QString error;
    EXPECT_TRUE(SNImage::fromData(GetParam().data, &error).isNull());
    EXPECT_FALSE(error.isEmpty());

    const QString path = test.root() + QStringLiteral("/broken.png");
    ASSERT_TRUE(AtomicWriter::write(path, GetParam().data));
    error.clear();
    EXPECT_TRUE(SNImage::fromFile(path, &error).isNull());
    EXPECT_FALSE(error.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Corrupt, SNImageRejects,
    ::testing::Values(CorruptCase{"empty", QByteArray()}, CorruptCase{"text", QByteArray("not an image at all")},
                      CorruptCase{"pngSignatureOnly", QByteArray("\x89PNG\r\n\x1a\n")},
                      CorruptCase{"truncatedPng", encoded(pattern(32, 32), "PNG").left(40)},
                      CorruptCase{"icoHeaderOnly", QByteArray("\0\0\1\0\2\0garbage", 14)},
                      CorruptCase{"tiffBadDirectory", QByteArray("II*\0\x08\0\0\0\xff\xff", 10)},
                      CorruptCase{"truncatedJpeg", encoded(pattern(8, 8), "JPEG").left(30)}),
    [](const auto &test) { return std::string(test.param.name); });

TEST(SNImage, TiffRepresentationHasAPagePerRepresentationAndRoundTrips)
{
    TestContext test;
    const SNImage image({pattern(64, 64), pattern(16, 16), pattern(48, 32)});
    const QString path = test.root() + QStringLiteral("/image.tiff");
    ASSERT_TRUE(AtomicWriter::write(path, image.tiffRepresentation()));

    QList<QSize> pages;
    const QString info = run(QStringLiteral("tiffinfo"), {path}).value_or(QString());
    static const QRegularExpression size(QStringLiteral(R"(Image Width: (\d+) Image Length: (\d+))"));
    for (auto match = size.globalMatch(info); match.hasNext();) {
        const auto found = match.next();
        pages.append(QSize(found.captured(1).toInt(), found.captured(2).toInt()));
    }
    EXPECT_EQ(pages, sizes(image.representations())) << info.toStdString();
    EXPECT_EQ(info.count(QStringLiteral("Bits/Sample: 8")), 3);
    EXPECT_EQ(info.count(QStringLiteral("Extra Samples: 1<unassoc-alpha>")), 3);

    const QString text = SNImage::imageData(image);
    EXPECT_FALSE(text.contains(QLatin1Char('\n')) || text.contains(QLatin1Char('\r')));
    const auto decoded = QByteArray::fromBase64Encoding(text.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    ASSERT_TRUE(decoded);
    const SNImage back = SNImage::fromTiff(*decoded);
    ASSERT_EQ(sizes(back.representations()), sizes(image.representations()));
    // Qt's TIFF reader premultiplies, so compare what a premultiplied reader can hold: straight
    // alpha written as premultiplied (or the reverse) still differs there.
    for (qsizetype i = 0; i < back.representations().size(); ++i)
        EXPECT_EQ(back.representations()[i].convertToFormat(QImage::Format_ARGB32_Premultiplied),
                  image.representations()[i].convertToFormat(QImage::Format_ARGB32_Premultiplied))
            << "page " << i;
}

TEST(SNImage, MissingFileAndNullImage)
{
    TestContext test;
    QString error;
    EXPECT_TRUE(SNImage::fromFile(test.root() + QStringLiteral("/missing.png"), &error).isNull());
    EXPECT_FALSE(error.isEmpty());
    EXPECT_TRUE(SNImage({QImage()}).isNull());
    EXPECT_TRUE(SNImage().tiffRepresentation().isEmpty());
    EXPECT_EQ(SNImage::imageData(SNImage()), QString());
}
