#include "graphics/internal/gr_pixels_vector.h"

#include <algorithm>
#include <random>
#include <vector>

#include "support/qz_test.h"

namespace
{

using pixels::Form;

constexpr Form kWideForms[] = {Form::Sse2, Form::Avx2};

std::vector<QZUInt32> Noise(std::size_t count, unsigned seed)
{
    std::vector<QZUInt32> noise(count);
    std::mt19937 random(seed);
    for (QZUInt32& pixel : noise) pixel = static_cast<QZUInt32>(random());
    return noise;
}

TEST(PixelForms, OnePixelOverAnother)
{
    EXPECT_EQ(pixels::Blend(0x4000FF80, 0x80FF0040), 0x9F7F7F60U);
    EXPECT_EQ(pixels::Blend(0x4000FF80, 0xFF010203), 0xFF000203U);
    EXPECT_EQ(pixels::Blend(0x40123456, 0x00ABCDEF), 0x3F123456U);
}

TEST(PixelForms, VectorFormsBlendEveryPairOfBytesLikeTheScalarForm)
{
    std::vector<QZUInt32> source(65536);
    std::vector<QZUInt32> target(65536);
    for (QZUInt32 i = 0; i < 65536; ++i)
    {
        const QZUInt32 s = i >> 8;
        const QZUInt32 d = i & 0xFF;
        // Every pair of bytes occurs in each colour, and every alpha in the target.
        source[i] = s | (255 - s) << 8 | (s ^ 0x55) << 16;
        target[i] = d | (d ^ 0xAA) << 8 | (255 - d) << 16 | d << 24;
    }
    for (QZUInt32 alpha = 0; alpha < 256; ++alpha)
    {
        for (QZUInt32& pixel : source) pixel = (pixel & 0xFFFFFF) | alpha << 24;
        std::vector<QZUInt32> expected = target;
        for (std::size_t i = 0; i < expected.size(); ++i) expected[i] = pixels::Blend(expected[i], source[i]);
        for (const Form form : kWideForms)
        {
            if (!pixels::HasForm(form)) continue;
            std::vector<QZUInt32> blended = target;
            pixels::BlendRun(form, blended.data(), source.data(), 65536);
            ASSERT_TRUE(blended == expected) << "alpha " << alpha << ", form " << static_cast<int>(form);
        }
    }
}

TEST(PixelForms, VectorFormsBlendRunsOfEveryLengthAndAlignment)
{
    const std::vector<QZUInt32> source = Noise(96, 1);
    const std::vector<QZUInt32> target = Noise(96, 2);
    for (const Form form : kWideForms)
    {
        if (!pixels::HasForm(form)) continue;
        for (QZInt64 count = 0; count <= 40; ++count)
        {
            for (int place = 0; place < 64; ++place)
            {
                std::vector<QZUInt32> expected = target;
                std::vector<QZUInt32> blended = target;
                const QZUInt32* from = source.data() + place / 8;
                pixels::BlendRun(Form::Plain, expected.data() + place % 8, from, count);
                pixels::BlendRun(form, blended.data() + place % 8, from, count);
                ASSERT_EQ(blended, expected) << count << " pixels at " << place;
            }
        }
    }
}

TEST(PixelForms, RunBlendedIntoItselfGoesFromRightToLeft)
{
    const std::vector<QZUInt32> noise = Noise(200, 3);
    for (const Form form : {Form::Plain, Form::Sse2, Form::Avx2})
    {
        if (!pixels::HasForm(form)) continue;
        for (int shift = -20; shift <= 20; ++shift)
        {
            std::vector<QZUInt32> expected = noise;
            std::vector<QZUInt32> blended = noise;
            for (int i = 99; i >= 0; --i)
                expected[50 + i] = pixels::Blend(expected[50 + i], expected[50 + i + shift]);
            pixels::BlendRun(form, blended.data() + 50, blended.data() + 50 + shift, 100);
            ASSERT_EQ(blended, expected) << "source " << shift << " to the right";
        }
    }
}

TEST(PixelForms, CopyRunWritesExactlyItsPixels)
{
    const std::vector<QZUInt32> source = Noise(200, 4);
    for (const Form form : {Form::Plain, Form::Sse2, Form::Avx2})
    {
        if (!pixels::HasForm(form)) continue;
        for (int i = 0; i < 100 * 9 * 2; ++i)
        {
            const int count = i / 18;
            const int place = i / 2 % 9;
            std::vector<QZUInt32> run(120, 7);
            std::vector<QZUInt32> expected = run;
            std::copy_n(source.begin() + place / 2, count, expected.begin() + place);
            pixels::CopyRun(form, run.data() + place, source.data() + place / 2, count, i % 2 != 0);
            ASSERT_TRUE(run == expected) << count << " pixels at " << place;
        }
    }
}

TEST(PixelForms, ColorRunWritesExactlyItsPixels)
{
    constexpr QZInt64 kCounts[] = {0, 1, 3, 4, 7, 8, 9, 31, 33, 511, 512, 513, 1000, 4097};
    for (const Form form : {Form::Plain, Form::Sse2, Form::Avx2})
    {
        if (!pixels::HasForm(form)) continue;
        for (const QZInt64 count : kCounts)
        {
            for (int place = 0; place < 9; ++place)
            {
                std::vector<QZUInt32> run(static_cast<std::size_t>(count) + 20, 7);
                std::vector<QZUInt32> expected = run;
                std::fill_n(expected.begin() + place, count, 0xFF336699);
                pixels::ColorRun(form, run.data() + place, count, 0xFF336699);
                ASSERT_TRUE(run == expected) << count << " pixels at " << place;
            }
        }
    }
}

}  // namespace
