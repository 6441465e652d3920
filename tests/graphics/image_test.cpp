#include "graphics/gr_image.h"

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "../fw/assert_watch.h"
#include "graphics/pixel_show.h"
#include "support/qz_test.h"

namespace
{

using Bytes = std::vector<unsigned char>;
using Conversion = QZInt64 (*)(void*, const void*, QZInt64);

/// Runs a conversion between buffers of exactly the needed sizes.
Bytes Convert(Conversion conversion, const Bytes& source, size_t targetSize, QZInt64 size)
{
    Bytes target(targetSize, 0xEE);
    EXPECT_EQ(conversion(target.data(), source.data(), size), static_cast<QZInt64>(targetSize));
    return target;
}

Bytes Convert(Conversion conversion, const Bytes& source, size_t targetSize)
{
    return Convert(conversion, source, targetSize, static_cast<QZInt64>(source.size()));
}

/// Bytes without a short repeating pattern.
Bytes Noise(size_t size)
{
    Bytes bytes(size);
    unsigned int state = 12345;
    for (auto& byte : bytes)
    {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<unsigned char>(state >> 24);
    }
    return bytes;
}

constexpr Conversion kArgbToAbgr = &QZImage::ARGB2ABGR;
constexpr Conversion kBmp32To24 = &QZImage::BMP32ToBMP24;
constexpr Conversion kBmp24To32 = &QZImage::BMP24ToBMP32;
constexpr Conversion kTo555 = &QZImage::ARGBToRGB555;
constexpr Conversion kTo565 = &QZImage::ARGBToRGB565;
constexpr Conversion kFrom555 = &QZImage::RGB555ToARGB;
constexpr Conversion kFrom565 = &QZImage::RGB565ToARGB;

TEST(Image, WordsChangeTheirByteOrder)
{
    // 0x11223344 in memory is 44 33 22 11.
    const Bytes word{0x44, 0x33, 0x22, 0x11};
    EXPECT_EQ(Convert(kArgbToAbgr, word, 4), (Bytes{0x22, 0x33, 0x44, 0x11}));
    EXPECT_EQ(Convert(&QZImage::ABGR2ARGB, word, 4), (Bytes{0x22, 0x33, 0x44, 0x11}));
    EXPECT_EQ(Convert(&QZImage::ABGR2RGBA, word, 4), (Bytes{0x11, 0x22, 0x33, 0x44}));
    // The result is 0x22334411.
    EXPECT_EQ(Convert(&QZImage::ABGR2BGRA, word, 4), (Bytes{0x11, 0x44, 0x33, 0x22}));
    EXPECT_EQ(QZImage::ARGB2ABGR(0x11223344u), 0x11443322u);
}

TEST(Image, WordsOfAWholeRowChangeTheirByteOrder)
{
    const Bytes source = Noise(4 * 37);
    const Bytes swapped = Convert(kArgbToAbgr, source, source.size());
    const Bytes reversed = Convert(&QZImage::ABGR2RGBA, source, source.size());
    const Bytes turned = Convert(&QZImage::ABGR2BGRA, source, source.size());
    for (size_t i = 0; i < source.size(); i += 4)
    {
        EXPECT_EQ(Bytes(&swapped[i], &swapped[i] + 4),
                  (Bytes{source[i + 2], source[i + 1], source[i], source[i + 3]}));
        EXPECT_EQ(Bytes(&reversed[i], &reversed[i] + 4),
                  (Bytes{source[i + 3], source[i + 2], source[i + 1], source[i]}));
        EXPECT_EQ(Bytes(&turned[i], &turned[i] + 4),
                  (Bytes{source[i + 3], source[i], source[i + 1], source[i + 2]}));
    }
}

TEST(Image, ThreeBytesBecomeAnOpaqueWordWithRedAndBlueExchanged)
{
    EXPECT_EQ(Convert(&QZImage::RGB2ABGR, Bytes{1, 2, 3, 4, 5, 6}, 8), (Bytes{3, 2, 1, 0xFF, 6, 5, 4, 0xFF}));
    EXPECT_EQ(Convert(&QZImage::ABGR2RGB, Bytes{1, 2, 3, 4, 5, 6, 7, 8}, 6), (Bytes{3, 2, 1, 7, 6, 5}));
}

TEST(Image, ThreeBytePixelsOfAnyCountConvert)
{
    for (size_t count : {size_t{1}, size_t{3}, size_t{4}, size_t{5}, size_t{8}, size_t{11}, size_t{31}})
    {
        const Bytes small = Noise(count * 3);
        const Bytes large = Noise(count * 4);
        const Bytes widened = Convert(kBmp24To32, small, count * 4);
        const Bytes swapped = Convert(&QZImage::RGB2ABGR, small, count * 4);
        const Bytes narrowed = Convert(kBmp32To24, large, count * 3);
        const Bytes narrowedSwapped = Convert(&QZImage::ABGR2RGB, large, count * 3);
        for (size_t i = 0; i < count; ++i)
        {
            const unsigned char* s = &small[i * 3];
            const unsigned char* l = &large[i * 4];
            EXPECT_EQ(Bytes(&widened[i * 4], &widened[i * 4] + 4), (Bytes{s[0], s[1], s[2], 0xFF}));
            EXPECT_EQ(Bytes(&swapped[i * 4], &swapped[i * 4] + 4), (Bytes{s[2], s[1], s[0], 0xFF}));
            EXPECT_EQ(Bytes(&narrowed[i * 3], &narrowed[i * 3] + 3), (Bytes{l[0], l[1], l[2]}));
            EXPECT_EQ(Bytes(&narrowedSwapped[i * 3], &narrowedSwapped[i * 3] + 3), (Bytes{l[2], l[1], l[0]}));
        }
    }
}

TEST(Image, BitmapPixelsChangeTheirWidthInPlace)
{
    for (size_t count : {size_t{1}, size_t{4}, size_t{7}, size_t{33}})
    {
        const Bytes small = Noise(count * 3);
        Bytes place = small;
        place.resize(count * 4);
        EXPECT_EQ(QZImage::BMP24ToBMP32(place.data(), static_cast<QZInt64>(count * 3)),
                  static_cast<QZInt64>(count * 4));
        EXPECT_EQ(place, Convert(kBmp24To32, small, count * 4));
        EXPECT_EQ(QZImage::BMP32ToBMP24(place.data(), static_cast<QZInt64>(count * 4)),
                  static_cast<QZInt64>(count * 3));
        place.resize(count * 3);
        EXPECT_EQ(place, small);
    }
}

TEST(Image, SixteenBitPixelsKeepTheUpperBits)
{
    // Red 0xFF, green 0x84, blue 0x10 are 31, 16 and 2 in 5 bits; green is 33 in 6 bits.
    EXPECT_EQ(QZImage::ARGBToRGB555(0x00FF8410u), 0x7C00 | 16 << 5 | 2);
    EXPECT_EQ(QZImage::ARGBToRGB565(0x00FF8410u), 0xF800 | 33 << 5 | 2);
    EXPECT_EQ(QZImage::ARGBToRGB555(0xFF070707u), 0);
    EXPECT_EQ(QZImage::ARGBToRGB565(0xFF070307u), 0);
    EXPECT_EQ(QZImage::ARGBToRGB555(0xFFFFFFFFu), 0x7FFF);
    EXPECT_EQ(QZImage::ARGBToRGB565(0xFFFFFFFFu), 0xFFFF);
}

TEST(Image, SixteenBitPixelsExpandWithZeroLowBits)
{
    EXPECT_EQ(QZImage::RGB565ToARGB(0xFFFF), 0xFFF8FCF8u);
    EXPECT_EQ(QZImage::RGB555ToARGB(0x7FFF), 0xFFF8F8F8u);
    // The top bit is ignored.
    EXPECT_EQ(QZImage::RGB555ToARGB(0x8000), 0xFF000000u);
    EXPECT_EQ(QZImage::RGB555ToARGB(1 << 10 | 2 << 5 | 3), 0xFF081018u);
    EXPECT_EQ(QZImage::RGB565ToARGB(1 << 11 | 2 << 5 | 3), 0xFF080818u);
}

TEST(Image, SixteenBitBuffersConvertPixelByPixel)
{
    const Bytes wide = Noise(4 * 29);
    const Bytes packed555 = Convert(kTo555, wide, 58);
    const Bytes packed565 = Convert(kTo565, wide, 58);
    const Bytes back555 = Convert(kFrom555, packed555, 116);
    const Bytes back565 = Convert(kFrom565, packed565, 116);
    for (size_t i = 0; i < 29; ++i)
    {
        const unsigned char* p = &wide[i * 4];
        const unsigned int five = (p[2] >> 3) << 10 | (p[1] >> 3) << 5 | p[0] >> 3;
        const unsigned int six = (p[2] >> 3) << 11 | (p[1] >> 2) << 5 | p[0] >> 3;
        EXPECT_EQ(packed555[i * 2] | packed555[i * 2 + 1] << 8, static_cast<int>(five));
        EXPECT_EQ(packed565[i * 2] | packed565[i * 2 + 1] << 8, static_cast<int>(six));
        const auto cut = [](int value, int mask) { return static_cast<unsigned char>(value & mask); };
        EXPECT_EQ(Bytes(&back555[i * 4], &back555[i * 4] + 4),
                  (Bytes{cut(p[0], 0xF8), cut(p[1], 0xF8), cut(p[2], 0xF8), 0xFF}));
        EXPECT_EQ(Bytes(&back565[i * 4], &back565[i * 4] + 4),
                  (Bytes{cut(p[0], 0xF8), cut(p[1], 0xFC), cut(p[2], 0xF8), 0xFF}));
    }
}

TEST(Image, YuyvBlackAndWhite)
{
    EXPECT_EQ(Convert(&QZImage::YUYV2ARGB, Bytes{16, 128, 235, 128}, 8),
              (Bytes{0, 0, 0, 0xFF, 254, 254, 254, 0xFF}));
    // 219 * 1192 = 261048 is below the limit 261121 and gives 254 when shifted right by 10. One more luma
    // step gives 255.
    EXPECT_EQ(Convert(&QZImage::YUYV2ARGB, Bytes{236, 128, 0, 128}, 8),
              (Bytes{255, 255, 255, 0xFF, 0, 0, 0, 0xFF}));
}

TEST(Image, YuyvColoursCalculatedByHand)
{
    // Y 81, U 90, V 240 give a = 77480. Blue is 77480 - 38 * 2066 = -1028, so 0. Green is
    // 77480 - 112 * 833 + 38 * 403 = -502, so 0. Red is 77480 + 112 * 1634 = 260488, so 254. The second luma
    // 145 gives a = 153768, blue 75260, so 73, green 75786, so 74, and red 336776, so 255.
    EXPECT_EQ(Convert(&QZImage::YUYV2ARGB, Bytes{81, 90, 145, 240}, 8),
              (Bytes{0, 0, 254, 0xFF, 73, 74, 255, 0xFF}));
}

unsigned char Saturated(int value)
{
    if (value < 0) return 0;
    if (value >= 261121) return 255;
    return static_cast<unsigned char>(value >> 10);
}

TEST(Image, EveryYuyvColourIsExact)
{
    // Chroma pairs with 16 lumas each. The size is no multiple of a vector, so the scalar rest of the loop
    // runs as well.
    const int lumas[] = {0, 1, 15, 16, 17, 64, 100, 128, 150, 200, 234, 235, 236, 240, 254, 255};
    for (int u = 0; u < 256; u += 3)
    {
        Bytes source;
        for (int v = 0; v < 256; v += 5)
            for (int i = 0; i < 16; i += 2)
                for (int byte : {lumas[i], u, lumas[i + 1], v})
                    source.push_back(static_cast<unsigned char>(byte));
        source.resize(source.size() - 4);
        const Bytes target = Convert(&QZImage::YUYV2ARGB, source, source.size() * 2);
        Bytes expected;
        for (size_t i = 0; i < source.size(); i += 4)
        {
            for (size_t k : {size_t{0}, size_t{2}})
            {
                const int a = (source[i + k] - 16) * 1192;
                const int du = source[i + 1] - 128;
                const int dv = source[i + 3] - 128;
                expected.push_back(Saturated(a + du * 2066));
                expected.push_back(Saturated(a - dv * 833 - du * 403));
                expected.push_back(Saturated(a + dv * 1634));
                expected.push_back(255);
            }
        }
        ASSERT_EQ(target, expected) << "U " << u;
    }
}

TEST(Image, YuyvNullPointers)
{
    Bytes buffer(16);
    EXPECT_EQ(QZImage::YUYV2ARGB(buffer.data(), nullptr, 8), 0);
    EXPECT_EQ(QZImage::YUYV2ARGB(nullptr, nullptr, 8), 0);
    EXPECT_EQ(QZImage::YUYV2ARGB(nullptr, buffer.data(), 8), 16);
}

TEST(Image, YuyvToGrayConvertsNothing)
{
    const Bytes source = Noise(16);
    Bytes target(8, 0xEE);
    EXPECT_EQ(QZImage::YUYV2GRAY(target.data(), source.data(), 16), 0);
    EXPECT_EQ(QZImage::YUYV2GRAY(target.data(), source.data(), 0), 0);
    EXPECT_EQ(QZImage::YUYV2GRAY(nullptr, source.data(), 16), 0);
    EXPECT_EQ(target, Bytes(8, 0xEE));
}

TEST(Image, GrayIsAQuarterOfRedPlusTwiceGreenPlusBlue)
{
    EXPECT_EQ(Convert(&QZImage::ARGB2GRAY, Bytes{0x30, 0x20, 0x10, 0xFF}, 1),
              (Bytes{(0x10 + 2 * 0x20 + 0x30) >> 2}));
    const Bytes source = Noise(4 * 41);
    const Bytes gray = Convert(&QZImage::ARGB2GRAY, source, 41);
    for (size_t i = 0; i < 41; ++i)
        EXPECT_EQ(gray[i], (source[i * 4 + 2] + 2 * source[i * 4 + 1] + source[i * 4]) / 4);
}

TEST(Image, SizeOfGrayIsInPixels)
{
    const Bytes source = Noise(35);
    const Bytes target = Convert(&QZImage::GRAY2ARGB, source, 140, 35);
    for (size_t i = 0; i < 35; ++i)
        EXPECT_EQ(Bytes(&target[i * 4], &target[i * 4] + 4), (Bytes{source[i], source[i], source[i], 0xFF}));
}

TEST(Image, GrayHasAChromaOf128)
{
    EXPECT_EQ(Convert(&QZImage::GRAY2YUYV, Bytes{0, 7, 255}, 6), (Bytes{0, 128, 7, 128, 255, 128}));
}

TEST(Image, NullTargetReturnsTheSize)
{
    EXPECT_EQ(kArgbToAbgr(nullptr, nullptr, 10), 10);
    EXPECT_EQ(QZImage::ABGR2ARGB(nullptr, nullptr, 10), 10);
    EXPECT_EQ(QZImage::ABGR2RGBA(nullptr, nullptr, 10), 10);
    EXPECT_EQ(QZImage::ABGR2BGRA(nullptr, nullptr, 10), 10);
    EXPECT_EQ(QZImage::RGB2ABGR(nullptr, nullptr, 10), 12);
    EXPECT_EQ(QZImage::ABGR2RGB(nullptr, nullptr, 10), 6);
    EXPECT_EQ(QZImage::BMP32ToBMP24(nullptr, 10), 6);
    EXPECT_EQ(QZImage::BMP24ToBMP32(nullptr, 10), 12);
    EXPECT_EQ(kBmp32To24(nullptr, nullptr, 10), 6);
    EXPECT_EQ(kBmp24To32(nullptr, nullptr, 10), 12);
    EXPECT_EQ(kTo555(nullptr, nullptr, 10), 5);
    EXPECT_EQ(kTo565(nullptr, nullptr, 10), 5);
    EXPECT_EQ(kFrom555(nullptr, nullptr, 10), 20);
    EXPECT_EQ(kFrom565(nullptr, nullptr, 10), 20);
    EXPECT_EQ(QZImage::GRAY2ARGB(nullptr, nullptr, 10), 40);
    EXPECT_EQ(QZImage::ARGB2GRAY(nullptr, nullptr, 10), 2);
    EXPECT_EQ(QZImage::GRAY2YUYV(nullptr, nullptr, 10), 20);
}

TEST(Image, SameOrSmallerPixelsConvertInPlace)
{
    const Bytes source = Noise(4 * 19);
    Bytes place = source;
    QZImage::ABGR2RGBA(place.data(), place.data(), static_cast<QZInt64>(place.size()));
    EXPECT_EQ(place, Convert(&QZImage::ABGR2RGBA, source, source.size()));
    Bytes packed = source;
    kTo565(packed.data(), packed.data(), static_cast<QZInt64>(packed.size()));
    packed.resize(38);
    EXPECT_EQ(packed, Convert(kTo565, source, 38));
}

TEST(Image, RotateReturnsATurnedBlock)
{
    auto block = qztest::BlockOf({{1, 2, 3}, {4, 5, 6}});
    QZPixelBlock* turned = QZImage::Rotate(block.get(), 90.7F);
    EXPECT_EQ(qztest::PixelsOf(*turned), (qztest::Rows{{3, 6}, {2, 5}, {1, 4}}));
    QZImage::Recycle(&turned);
    EXPECT_EQ(turned, nullptr);
    qztest::AssertWatch watch;
    QZImage::Recycle(&turned);
    EXPECT_EQ(watch.Count(), 1);
}

}  // namespace
