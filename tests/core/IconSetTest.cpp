#include "core/IconSet.h"

#include "support/TestContext.h"

#include <QtEndian>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// Varied colours and partial transparency, so that a lossy encoder or a mix-up of straight and
// premultiplied alpha shows.
QImage pattern(int side)
{
    QImage image(side, side, QImage::Format_ARGB32);
    for (qsizetype i = 0; i < image.sizeInBytes(); ++i)
        image.bits()[i] = uchar(i * 7 + i / 5);
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QByteArray bigEndian(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray entry(const QByteArray &type, const QByteArray &data)
{
    return type + bigEndian(quint32(8 + data.size())) + data;
}

QByteArray icns(const QByteArray &entries)
{
    return "icns" + bigEndian(quint32(8 + entries.size())) + entries;
}

// The entries of an ICNS file of the older RLE bitmap types, as png2icns writes them.
QByteArray legacyEntries(const TestContext &test, const QList<int> &sides)
{
    QStringList arguments{test.root() + u"/legacy.icns"_s};
    for (const int side : sides) {
        arguments << test.root() + u"/legacy-%1.png"_s.arg(side);
        EXPECT_TRUE(pattern(side).save(arguments.last()));
    }
    EXPECT_EQ(runProgram(u"png2icns"_s, arguments, environmentWith()).exitCode, 0);
    return readAll(arguments.first()).mid(8);
}

struct IcnsCase
{
    const char *name;
    QByteArray (*file)(const TestContext &test, const QByteArray &png64);
    QList<int> pixels; // the entries' sizes, in order; none: the file is refused
    bool keepsPng64;   // the 64 pixel entry is the PNG given, byte for byte
};

void PrintTo(const IcnsCase &row, std::ostream *os) { *os << row.name; }

using IconSetFromIcns = ::testing::TestWithParam<IcnsCase>;

} // namespace

TEST_P(IconSetFromIcns, TakesPngEntriesAsTheyAreAndDecodesOnlyOlderBitmaps)
{
    const TestContext test;
    const IcnsCase &row = GetParam();
    const QByteArray png64 = IconSet::encodePng(pattern(64));
    QString error;
    const IconSet set = IconSet::fromIcns(row.file(test, png64), &error);
    QList<int> pixels;
    for (const IconSet::Entry &each : set.entries()) {
        pixels << each.pixels;
        const QImage decoded = QImage::fromData(each.png, "PNG");
        EXPECT_EQ(decoded.size(), QSize(each.pixels, each.pixels));
        if (each.pixels == 64) {
            EXPECT_EQ(each.png == png64, row.keepsPng64);
        }
    }
    EXPECT_EQ(pixels, row.pixels);
    EXPECT_EQ(error.isEmpty(), !row.pixels.isEmpty()) << error.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Files, IconSetFromIcns,
    ::testing::Values(
        IcnsCase{"pngEntries",
                 [](const TestContext &, const QByteArray &png) {
                     return icns(entry("TOC ", bigEndian(0)) + entry("icp6", png) +
                                 entry("icp4", IconSet::encodePng(pattern(16))) + entry("ic07", png));
                 },
                 {64, 16}, true},
        IcnsCase{"olderBitmaps", [](const TestContext &test, const QByteArray &) { return icns(legacyEntries(test, {16, 32})); },
                 {16, 32}, false},
        IcnsCase{"pngBesideOlderBitmapsOfAnotherSize",
                 [](const TestContext &test, const QByteArray &png) {
                     return icns(entry("icp6", png) + legacyEntries(test, {16, 128}));
                 },
                 {64, 16, 128}, true},
        IcnsCase{"notAnIcnsFile", [](const TestContext &, const QByteArray &png) { return png; }, {}, false},
        IcnsCase{"lengthIsNotTheFiles",
                 [](const TestContext &, const QByteArray &png) { return QByteArray(icns(entry("icp6", png)) + "x"); }, {}, false},
        IcnsCase{"entryRunsPastTheEnd",
                 [](const TestContext &, const QByteArray &png) { return icns(entry("icp6", png).chopped(1)); }, {},
                 false},
        IcnsCase{"noImage", [](const TestContext &, const QByteArray &) { return icns(entry("TOC ", {})); }, {}, false}),
    [](const auto &test) { return std::string(test.param.name); });
