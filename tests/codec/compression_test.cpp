#include "codec/cod_compression.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <optional>
#include <random>
#include <thread>
#include <vector>

#include "graphics/gr_layer.h"
#include "support/qz_test.h"

namespace
{

using Bytes = std::vector<unsigned char>;

Bytes FromHex(std::string_view hex)
{
    const std::string bytes = qztest::Bytes(hex);
    return Bytes(bytes.begin(), bytes.end());
}

std::string Hex(const Bytes& bytes) { return qztest::Hex(bytes.data(), bytes.size()); }

Bytes Repeat(unsigned char byte, std::size_t count) { return Bytes(count, byte); }

Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

void AppendWord(Bytes* bytes, std::uint32_t word)
{
    for (int shift = 0; shift < 32; shift += 8) bytes->push_back(static_cast<unsigned char>(word >> shift));
}

/// Runs a stage on a buffer with spare room after the data and returns as many bytes as the stage reports.
template <typename Stage>
Bytes Staged(Bytes bytes, std::size_t room, Stage stage)
{
    const QZULong length = static_cast<QZULong>(bytes.size());
    bytes.resize(std::max(bytes.size(), room));
    const QZULong result = stage(bytes.data(), length);
    EXPECT_LE(result, bytes.size());
    bytes.resize(result);
    return bytes;
}

Bytes Compressed(QZCompression* codec, const Bytes& bytes)
{
    return Staged(bytes, 2 * bytes.size() + 64,
                  [&](unsigned char* p, QZULong n) { return codec->Compress(p, n); });
}

Bytes Compressed(const Bytes& bytes)
{
    QZCompression codec;
    return Compressed(&codec, bytes);
}

Bytes Decompressed(const Bytes& bytes, std::size_t room = 0x40000)
{
    QZCompression codec;
    return Staged(bytes, room, [&](unsigned char* p, QZULong n) { return codec.Decompress(p, n); });
}

/// Returns a stream of these blocks followed by its trailer.
Bytes Stream(const Bytes& blocks, std::uint32_t sourceLength)
{
    Bytes bytes = blocks;
    AppendWord(&bytes, sourceLength);
    AppendWord(&bytes, 0);
    AppendWord(&bytes, 0x5010300);
    return bytes;
}

bool Check(const Bytes& bytes)
{
    return QZCompression::Check(bytes.data(), static_cast<QZULong>(bytes.size())) != 0;
}

Bytes Blocks(const Bytes& source)
{
    Bytes stream = Compressed(source);
    stream.resize(stream.size() - 12);
    return stream;
}

/// A second coder, written directly from the rules in docs/codec.md.
class ReferenceCoder
{
public:
    Bytes Encode(const Bytes& source)
    {
        Bytes out;
        const int n = static_cast<int>(source.size());
        bool pending = false;
        int lit = 0;
        int i = 0;
        while (i < n)
        {
            const int start = i;
            int low = source[static_cast<std::size_t>(i)];
            int high = low;
            int range = 0;
            int count = 0;
            while (i < n && count < 225)
            {
                const int x = source[static_cast<std::size_t>(i)];
                if (x > low + 15 || x < high - 15) break;
                if (range < 4 && count >= 7 && (x > low + 3 || x < high - 3)) break;
                if (range == 1 && count >= 6 && (x > low + 1 || x < high - 1)) break;
                if (range == 0 && count >= 6 && (x > low || x < high)) break;
                low = std::min(low, x);
                high = std::max(high, x);
                range = high - low;
                ++i;
                ++count;
            }
            int tag = 1;
            if (count > 8) tag = 2;
            if (count > 6 && range < 4) tag = 4;
            if (count > 5 && range == 1) tag = 8;
            if (count > 5 && range == 0) tag = 255;
            if (tag != 1)
            {
                if (pending) Raw(&out, source, lit, start);
                pending = false;
                lit = i;
                Block(&out, source, tag, low, start, i);
            }
            else if (pending && i - lit + 1 >= 225)
            {
                Raw(&out, source, lit, i);
                pending = false;
                lit = i;
            }
            else
            {
                pending = true;
            }
        }
        if (pending) Raw(&out, source, lit, n);
        out.push_back(0);
        AppendWord(&out, static_cast<std::uint32_t>(n));
        AppendWord(&out, 0);
        AppendWord(&out, 0x5010300);
        return out;
    }

private:
    static void Raw(Bytes* out, const Bytes& source, int first, int end)
    {
        out->push_back(1);
        out->push_back(static_cast<unsigned char>(end - first));
        out->insert(out->end(), source.begin() + first, source.begin() + end);
    }

    void Block(Bytes* out, const Bytes& source, int tag, int base, int first, int end)
    {
        const int count = end - first;
        for (const int byte : {tag, base, count}) out->push_back(static_cast<unsigned char>(byte));
        if (tag == 255) return;
        for (int j = 0; j < count; ++j)
            m_scratch[static_cast<std::size_t>(j)] = source[static_cast<std::size_t>(first + j)] - base;
        m_scratch[static_cast<std::size_t>(count)] = 0;
        const int step = tag;  // 2, 4 and 8 differences fill a byte
        const int factor = tag == 2 ? 16 : tag == 4 ? 4 : 2;
        for (int j = 0; j < count; j += step)
        {
            int sum = 0;
            for (int k = 0; k < step - 1; ++k) sum += m_scratch[static_cast<std::size_t>(j + k)];
            out->push_back(
                static_cast<unsigned char>(sum * factor + m_scratch[static_cast<std::size_t>(j + step - 1)]));
        }
    }

    std::vector<int> m_scratch = std::vector<int>(4096, 0);
};

/// Returns random bytes whose spread of values changes from section to section.
Bytes Rough(unsigned seed, std::size_t size)
{
    std::mt19937 engine(seed);
    const auto random = [&]() { return static_cast<unsigned>(engine()); };
    Bytes bytes;
    while (bytes.size() < size)
    {
        const int spreads[] = {0, 1, 2, 3, 4, 8, 15, 16, 40, 255};
        const unsigned spread = static_cast<unsigned>(spreads[random() % 10]);
        const unsigned base = random() % 256;
        const std::size_t count = 1 + random() % (random() % 5 == 0 ? 500 : 20);
        for (std::size_t i = 0; i < count; ++i)
            bytes.push_back(static_cast<unsigned char>(std::min(255u, base + random() % (spread + 1))));
    }
    bytes.resize(size);
    return bytes;
}

Bytes Image(unsigned width, unsigned height)
{
    Bytes bytes;
    for (unsigned i = 0; i < width * height; ++i) AppendWord(&bytes, 0x10000000 + i);
    return bytes;
}

}  // namespace

// ----------------------------------------------------------------------------------------------- dividing

TEST(CompressionDivide, DividesTenBytesIntoPlanesOfThreeThreeTwoAndTwo)
{
    QZCompression codec;
    const Bytes divided = Staged(FromHex("00 01 02 03 04 05 06 07 08 09"), 64,
                                 [&](unsigned char* p, QZULong n) { return codec.Divide(p, n, 4); });
    EXPECT_EQ(Hex(divided), Hex(FromHex("04 00 00 00"
                                        "24 00 00 00 26 00 00 00"
                                        "27 00 00 00 29 00 00 00"
                                        "2A 00 00 00 2B 00 00 00"
                                        "2C 00 00 00 2D 00 00 00"
                                        "00 04 08 01 05 09 02 06 03 07"
                                        "00 02 01 05")));
}

TEST(CompressionDivide, EmptyPlanesHaveAnEndBeforeTheirStart)
{
    QZCompression codec;
    const Bytes divided =
        Staged(FromHex("AA"), 64, [&](unsigned char* p, QZULong n) { return codec.Divide(p, n, 2); });
    EXPECT_EQ(Hex(divided), Hex(FromHex("02 00 00 00 14 00 00 00 14 00 00 00 15 00 00 00 14 00 00 00 AA"
                                        "00 02 01 05")));
    const Bytes nothing = Staged({}, 64, [&](unsigned char* p, QZULong n) { return codec.Divide(p, n, 1); });
    EXPECT_EQ(Hex(nothing), Hex(FromHex("01 00 00 00 0C 00 00 00 0B 00 00 00 00 02 01 05")));
}

TEST(CompressionDivide, UnDivideRestoresEveryBuffer)
{
    QZCompression codec;
    for (const std::size_t size : {0, 1, 3, 4, 5, 255, 1000})
        for (const QZULong planes : {1, 2, 3, 4, 7, 300})
        {
            const Bytes source = Rough(7, size);
            Bytes bytes = Staged(source, size + 8 * planes + 8,
                                 [&](unsigned char* p, QZULong n) { return codec.Divide(p, n, planes); });
            EXPECT_EQ(bytes.size(), size + 8 * planes + 8);
            bytes = Staged(bytes, 0, [&](unsigned char* p, QZULong n) { return codec.UnDivide(p, n); });
            EXPECT_EQ(bytes, source) << size << " bytes, " << planes << " planes";
        }
}

TEST(CompressionDivide, UnDivideWithoutItsMarkerThrows)
{
    QZCompression codec;
    Bytes bytes = FromHex("01 02 03 04 00 03 01 05");
    EXPECT_QZ_THROW_MESSAGE(codec.UnDivide(bytes.data(), 8), QZExceptionCode::UnknownType,
                            "It's not Divided data!\n UnknownType");
    EXPECT_QZ_THROW(codec.UnDivide(bytes.data(), 3), QZExceptionCode::UnknownType);
    EXPECT_EQ(Hex(bytes), "01 02 03 04 00 03 01 05");
}

TEST(CompressionDivide, DamagedHeaderCausesNoAccessOutsideTheBuffer)
{
    QZCompression codec;
    // One plane from offset 12 to far after the end: only the bytes in the buffer are read.
    Bytes far = FromHex("01 00 00 00 0C 00 00 00 FF FF FF FF AA BB CC 00 02 01 05");
    EXPECT_EQ(Hex(Staged(far, 0, [&](unsigned char* p, QZULong n) { return codec.UnDivide(p, n); })),
              "AA BB CC");
    // A start after the end of the buffer, and an end before the start: nothing is moved.
    Bytes outside = FromHex("01 00 00 00 F0 FF FF FF FF FF FF FF AA BB CC 00 02 01 05");
    EXPECT_EQ(Hex(Staged(outside, 0, [&](unsigned char* p, QZULong n) { return codec.UnDivide(p, n); })),
              "01 00 00");
    // More planes than the data can hold.
    for (const char* head : {"02 00 00 00", "FF FF FF 1F", "FF FF FF FF"})
    {
        Bytes many = FromHex(head) + FromHex("AA BB CC 00 02 01 05");
        EXPECT_TRUE(
            Staged(many, 0, [&](unsigned char* p, QZULong n) { return codec.UnDivide(p, n); }).empty());
    }
    Bytes marker = FromHex("00 02 01 05");
    EXPECT_TRUE(Staged(marker, 0, [&](unsigned char* p, QZULong n) { return codec.UnDivide(p, n); }).empty());
}

// ------------------------------------------------------------------------------------------------- coding

TEST(Compression, EmptyBufferBecomesThirteenBytes)
{
    EXPECT_EQ(Hex(Compressed(Bytes{})), Hex(FromHex("00  00 00 00 00 00 00 00 00  00 03 01 05")));
    EXPECT_TRUE(Decompressed(Compressed(Bytes{})).empty());
}

TEST(Compression, SixEqualBytesMakeAFillBlock)
{
    EXPECT_EQ(Hex(Compressed(Repeat(7, 6))),
              Hex(FromHex("FF 07 06 00  06 00 00 00 00 00 00 00  00 03 01 05")));
}

TEST(Compression, FiveEqualBytesStayRaw)
{
    EXPECT_EQ(Hex(Blocks(Repeat(7, 5))), Hex(FromHex("01 05 07 07 07 07 07 00")));
    EXPECT_EQ(Hex(Blocks(Repeat(7, 5) + FromHex("50"))), Hex(FromHex("01 06 07 07 07 07 07 50 00")));
}

TEST(Compression, ThreeHundredEqualBytesMakeBlocksOf225And75)
{
    EXPECT_EQ(Hex(Blocks(Repeat(7, 300))), Hex(FromHex("FF 07 E1 FF 07 4B 00")));
    EXPECT_EQ(Decompressed(Compressed(Repeat(7, 300))), Repeat(7, 300));
}

TEST(Compression, WidelyDifferentBytesRoundTripExactly)
{
    Bytes source;
    for (int i = 0; i < 3000; ++i) source.push_back(static_cast<unsigned char>(i * 67));
    const Bytes blocks = Blocks(source);
    // With groups of one byte, a raw block ends at 224 bytes.
    EXPECT_EQ(blocks[0], 1);
    EXPECT_EQ(blocks[1], 224);
    EXPECT_EQ(blocks[226], 1);
    EXPECT_EQ(Decompressed(Compressed(source)), source);
}

TEST(Compression, NineBytesWithinARangeOfFifteenBecomeNibbles)
{
    const Bytes source = FromHex("10 11 12 13 14 15 16 17 1F");
    // The differences are 0 1 2 3 4 5 6 7 15; the missing tenth is 0.
    EXPECT_EQ(Hex(Blocks(source)), Hex(FromHex("02 10 09 01 23 45 67 F0 00")));
    EXPECT_EQ(Decompressed(Compressed(source)), source);
    EXPECT_EQ(Hex(Blocks(FromHex("10 11 12 13 14 15 16 1F"))),
              Hex(FromHex("01 08 10 11 12 13 14 15 16 1F 00")))
        << "eight are too few";
}

TEST(Compression, TwoBitPackingAddsDifferencesAndLosesThem)
{
    const Bytes source = FromHex("0A 0B 0C 0D 0A 0B 0C");
    // The differences are 0 1 2 3 and 0 1 2 0: (0 + 1 + 2) * 4 + 3 = 15, (0 + 1 + 2) * 4 + 0 = 12.
    EXPECT_EQ(Hex(Blocks(source)), Hex(FromHex("04 0A 07 0F 0C 00")));
    // The decoder reads 15 as 0 0 3 3 and 12 as 0 0 3.
    EXPECT_EQ(Hex(Decompressed(Compressed(source))), "0A 0A 0D 0D 0A 0A 0D");
}

TEST(Compression, OneBitPackingAddsDifferencesAndLosesThem)
{
    const Bytes source = FromHex("05 06 05 06 06 05 05 06");
    // The differences are 0 1 0 1 1 0 0 1: (0 + 1 + 0 + 1 + 1 + 0 + 0) * 2 + 1 = 7.
    EXPECT_EQ(Hex(Blocks(source)), Hex(FromHex("08 05 08 07 00")));
    EXPECT_EQ(Hex(Decompressed(Compressed(source))), "05 05 05 05 05 06 06 06");
}

TEST(Compression, LastGroupIsFilledWithValuesLeftByAnEarlierBlock)
{
    // The first block holds nibbles 0 to B; the second starts far away and has three values.
    const Bytes first = FromHex("20 21 22 23 24 25 26 27 28 29 2A 2B");
    const Bytes second = FromHex("80 81 83 80 81 83 80 81 83");
    // The second alone: (0+1+3)*4+0 = 16, (1+3+0)*4+1 = 17, and the last group, 3 and zeros: 3*4+0 = 12.
    EXPECT_EQ(Hex(Blocks(second)), Hex(FromHex("04 80 09 10 11 0C 00")));
    // After the first block, entries 10 and 11 still hold its A and B: (3 + 0 + 10) * 4 + 11 = 63.
    EXPECT_EQ(Hex(Blocks(first + second)), Hex(FromHex("02 20 0C 01 23 45 67 89 AB 04 80 09 10 11 3F 00")));
    // The values also stay from one call to the next on one object.
    QZCompression codec;
    Compressed(&codec, first);
    Bytes blocks = Compressed(&codec, second);
    blocks.resize(blocks.size() - 12);
    EXPECT_EQ(Hex(blocks), Hex(FromHex("04 80 09 10 11 3F 00")));
}

TEST(Compression, DistantByteEndsANarrowBlock)
{
    // Six equal bytes, then one that differs by 2: the fill block keeps all six, and the rest is raw.
    EXPECT_EQ(Hex(Blocks(Repeat(9, 6) + FromHex("0B"))), Hex(FromHex("FF 09 06 01 01 0B 00")));
    // Six bytes of two values, then one that differs by 2.
    EXPECT_EQ(Hex(Blocks(FromHex("09 0A 09 0A 09 0A 0C"))), Hex(FromHex("08 09 06 06 01 01 0C 00")));
    // Seven bytes within a range of 3, then one that differs by 5.
    EXPECT_EQ(Hex(Blocks(FromHex("09 0C 09 0C 09 0C 09 11"))), Hex(FromHex("04 09 07 0F 0C 01 01 11 00")));
}

TEST(Compression, StreamMatchesTheReferenceCoder)
{
    for (unsigned seed = 1; seed <= 60; ++seed)
    {
        const Bytes source = Rough(seed, seed * 53);
        ASSERT_EQ(Compressed(source), ReferenceCoder().Encode(source)) << seed;
    }
    // One object for all buffers: its scratch memory keeps its values.
    QZCompression codec;
    ReferenceCoder reference;
    for (unsigned seed = 100; seed < 140; ++seed)
    {
        const Bytes source = Rough(seed, 777);
        ASSERT_EQ(Compressed(&codec, source), reference.Encode(source)) << seed;
    }
}

TEST(Compression, RoundTripKeepsLengthsAndChangesFlatAreasByAtMostThree)
{
    // Each byte changes by at most three up or down, modulo 256.
    for (unsigned seed = 1; seed <= 30; ++seed)
    {
        const Bytes source = Rough(seed, 5000);
        const Bytes stream = Compressed(source);
        EXPECT_TRUE(Check(stream));
        const Bytes result = Decompressed(stream);
        ASSERT_EQ(result.size(), source.size());
        for (std::size_t i = 0; i < source.size(); ++i)
            ASSERT_LE(static_cast<unsigned char>(result[i] - source[i] + 3), 6) << i;
    }
}

// ----------------------------------------------------------------------------------------------- decoding

TEST(Decompression, DecodesEveryKindOfBlock)
{
    const Bytes blocks = FromHex(
        "01 03 AA BB CC"
        "02 10 03 1F 70"
        "04 20 05 1B C0"
        "08 30 09 A5 80"
        "FF 40 04"
        "00");
    EXPECT_EQ(Hex(Decompressed(Stream(blocks, 24))), Hex(FromHex("AA BB CC"
                                                                 "11 1F 17"
                                                                 "20 21 22 23 23"
                                                                 "31 30 31 30 30 31 30 31 31"
                                                                 "40 40 40 40")));
}

TEST(Decompression, DecodesEmptyBlocksAndWrapsSums)
{
    EXPECT_TRUE(Decompressed(Stream(FromHex("01 00 02 05 00 04 05 00 08 05 00 FF 05 00 00"), 0)).empty());
    EXPECT_EQ(Hex(Decompressed(Stream(FromHex("02 FE 02 13 00"), 2))), "FF 01");
}

TEST(Decompression, AcceptsAStreamWithoutEndBlock)
{
    EXPECT_EQ(Hex(Decompressed(Stream(FromHex("FF 40 02"), 2))), "40 40");
}

TEST(Decompression, ReadsNothingAfterTheEndBlock)
{
    EXPECT_EQ(Hex(Decompressed(Stream(FromHex("FF 40 02 00 FF 41 02 77"), 2))), "40 40");
}

TEST(Decompression, SourceLengthIsReadWithoutDecoding)
{
    QZCompression codec;
    const Bytes stream = Compressed(Repeat(7, 300));
    EXPECT_EQ(codec.DecompressGetSourceLength(stream.data(), static_cast<QZULong>(stream.size())), 300u);
    Bytes wide = Stream(FromHex("07"), 0x12345678);
    wide[wide.size() - 8] = 1;  // the upper half is ignored
    EXPECT_EQ(codec.DecompressGetSourceLength(wide.data(), static_cast<QZULong>(wide.size())), 0x12345678u);
    EXPECT_EQ(codec.DecompressGetSourceLength(wide.data(), static_cast<QZULong>(wide.size() - 1)),
              0xFFFFFFFFu);
    EXPECT_EQ(codec.DecompressGetSourceLength(wide.data(), 0), 0xFFFFFFFFu);
    EXPECT_EQ(codec.DecompressGetSourceLength(wide.data() + wide.size() - 4, 4), 0xFFFFFFFFu);
}

TEST(Decompression, MissingMarkerPrintsAMessageAndDoesNotThrow)
{
    QZCompression codec;
    Bytes bytes = FromHex("FF 40 02 00 02 00 00 00 00 00 00 00 00 02 01 05");
    const Bytes before = bytes;
    testing::internal::CaptureStdout();
    EXPECT_EQ(codec.Decompress(bytes.data(), static_cast<QZULong>(bytes.size())), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "It's not Compressed data!\n");
    EXPECT_EQ(bytes, before);
}

TEST(Decompression, TruncatedBlocksReadZerosAfterTheBuffer)
{
    // A raw block of 20 bytes that holds only one: the trailer is read as data, and zeros after it.
    EXPECT_EQ(Hex(Decompressed(Stream(FromHex("01 14 AA"), 20))),
              Hex(FromHex("AA 14 00 00 00 00 00 00 00 00 03 01 05 00 00 00 00 00 00 00")));
}

TEST(Decompression, DecodesMoreThanTheStatedLengthUpToTheSpareRoom)
{
    Bytes blocks;
    for (int i = 0; i < 600; ++i) blocks = blocks + FromHex("FF 40 FF");
    blocks.push_back(0);
    // 600 * 255 = 153000 bytes with a stated length of 10: there is room for 0x20000.
    EXPECT_EQ(Decompressed(Stream(blocks, 10)), Repeat(0x40, 0x20000));
    EXPECT_EQ(Decompressed(Stream(blocks, 0)), Repeat(0x40, 0x10000));
    EXPECT_EQ(Decompressed(Stream(blocks, 153000)), Repeat(0x40, 153000));
}

TEST(Decompression, UnknownTagBlocksTheDecoderUntilItChanges)
{
    Bytes stream = Stream(FromHex("FF 40 02 03 00"), 2);
    stream.resize(0x100);
    std::atomic<bool> ended{false};
    std::atomic<QZULong> result{99};
    std::thread decoder([&]() {
        QZCompression codec;
        result = codec.Decompress(stream.data(), 17);
        ended = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(ended);
    std::atomic_ref<unsigned char>(stream[3]).store(0);
    decoder.join();
    EXPECT_EQ(result, 2u);
}

TEST(Decompression, CheckAcceptsOnlyValidStreams)
{
    EXPECT_TRUE(Check(Stream(FromHex("FF 40 02 00"), 2)));
    EXPECT_TRUE(Check(Stream(FromHex("FF 40 02 00"), 3))) << "shorter than stated";
    EXPECT_TRUE(Check(Stream(FromHex("00 03"), 0))) << "bytes after the end block are ignored";
    EXPECT_FALSE(Check(Stream(FromHex("FF 40 02 00"), 1))) << "longer than stated";
    EXPECT_FALSE(Check(Stream(FromHex("FF 40 02 03 00"), 2))) << "an unknown tag";
    EXPECT_FALSE(Check(Stream(FromHex("FF 40 02"), 2))) << "no end block";
    EXPECT_FALSE(Check(Stream({}, 0)));
    for (const char* cut :
         {"FF", "FF 40", "01", "01 03 AA BB", "02 10", "02 10 03 11", "04 10 05 11", "08 10 09 11"})
        EXPECT_FALSE(Check(Stream(FromHex(cut), 100))) << cut;
    const Bytes valid =
        Stream(FromHex("01 03 AA BB CC 02 10 03 1F 70 04 20 05 1B C0 08 30 09 A5 80 FF 40 04 00"), 24);
    EXPECT_TRUE(Check(valid));
    for (std::size_t size = 0; size < valid.size(); ++size)
        EXPECT_FALSE(Check(Bytes(valid.begin(), valid.begin() + static_cast<std::ptrdiff_t>(size)))) << size;
    EXPECT_FALSE(Check(FromHex("00 03 01 05")));
}

// -------------------------------------------------------------------------------------------------- tiles

TEST(CompressionTiles, SplitsAnImageOfFourByTwoIntoSquaresOfTwo)
{
    QZCompression codec;
    Bytes image;
    for (std::uint32_t i = 0; i < 8; ++i) AppendWord(&image, i);
    const Bytes line =
        Staged(image, 128, [&](unsigned char* p, QZULong) { return codec.RectToLine(p, 4, 2, 2); });
    Bytes expected;
    for (const std::uint32_t word : {4u, 2u, 2u, 0u, 1u, 4u, 5u, 2u, 3u, 6u, 7u, 0x5010100u, 0x5010400u})
        AppendWord(&expected, word);
    EXPECT_EQ(Hex(line), Hex(expected));
    const Bytes back = Staged(line, 128, [&](unsigned char* p, QZULong n) { return codec.LineToRect(p, n); });
    EXPECT_EQ(back.size(), line.size() - 4);
    EXPECT_EQ(Bytes(back.begin(), back.begin() + 32), image);
    EXPECT_EQ(Hex(Bytes(back.end() - 4, back.end())), "00 01 01 05") << "the inner marker moves to the end";
}

TEST(CompressionTiles, RemainingColumnsAndRowsAreStoredByColumns)
{
    QZCompression codec;
    Bytes image;
    for (std::uint32_t i = 0; i < 9; ++i) AppendWord(&image, i);
    const Bytes line =
        Staged(image, 128, [&](unsigned char* p, QZULong) { return codec.RectToLine(p, 3, 3, 2); });
    Bytes expected;
    // 0 1 2
    // 3 4 5   a square, then the column to its right, then the row below, column by column
    // 6 7 8
    for (const std::uint32_t word : {3u, 3u, 2u, 0u, 1u, 3u, 4u, 2u, 5u, 6u, 7u, 8u, 0x5010100u, 0x5010400u})
        AppendWord(&expected, word);
    EXPECT_EQ(Hex(line), Hex(expected));
    const Bytes back = Staged(line, 128, [&](unsigned char* p, QZULong n) { return codec.LineToRect(p, n); });
    EXPECT_EQ(Bytes(back.begin(), back.begin() + 36), image);
}

TEST(CompressionTiles, TwoRemainingRowsAreStoredColumnByColumn)
{
    QZCompression codec;
    Bytes image;
    for (std::uint32_t i = 0; i < 4; ++i) AppendWord(&image, i);
    const Bytes line =
        Staged(image, 128, [&](unsigned char* p, QZULong) { return codec.RectToLine(p, 2, 2, 3); });
    Bytes expected;
    for (const std::uint32_t word : {2u, 2u, 3u, 0u, 2u, 1u, 3u, 0x5010100u, 0x5010400u})
        AppendWord(&expected, word);
    EXPECT_EQ(Hex(line), Hex(expected));
}

TEST(CompressionTiles, RemainingColumnsAreLostWhenNoRowRemains)
{
    QZCompression codec;
    Bytes image;
    for (std::uint32_t i = 1; i <= 6; ++i) AppendWord(&image, i);
    const Bytes line =
        Staged(image, 128, [&](unsigned char* p, QZULong) { return codec.RectToLine(p, 3, 2, 2); });
    Bytes expected;
    for (const std::uint32_t word : {3u, 2u, 2u, 1u, 2u, 4u, 5u, 0x5010100u, 0x5010400u})
        AppendWord(&expected, word);
    EXPECT_EQ(Hex(line), Hex(expected));
    Bytes room = line;
    room.resize(128, 0xEE);
    EXPECT_EQ(codec.LineToRect(room.data(), 36), 32u);
    Bytes pixels;
    for (const std::uint32_t word : {1u, 2u, 0u, 4u, 5u, 0u}) AppendWord(&pixels, word);
    EXPECT_EQ(Bytes(room.begin(), room.begin() + 24), pixels);
}

TEST(CompressionTiles, TileSizeOfZeroThrows)
{
    QZCompression codec;
    unsigned char buffer[64] = {};
    EXPECT_QZ_THROW(codec.RectToLine(buffer, 2, 2, 0), QZExceptionCode::ArgumentOutOfRange);
}

TEST(CompressionTiles, ImageWithoutPixelsBecomesHeaderAndMarkers)
{
    QZCompression codec;
    const Bytes line =
        Staged({}, 64, [&](unsigned char* p, QZULong) { return codec.RectToLine(p, 0, -5, 8); });
    EXPECT_EQ(Hex(line), Hex(FromHex("00 00 00 00 FB FF FF FF 08 00 00 00 00 01 01 05 00 04 01 05")));
    EXPECT_EQ(Staged(line, 0, [&](unsigned char* p, QZULong n) { return codec.LineToRect(p, n); }).size(),
              16u);
}

TEST(CompressionTiles, LineToRectWithoutMarkerDoesNothing)
{
    QZCompression codec;
    Bytes bytes = FromHex("01 02 03 04 05 06 07 08");
    EXPECT_EQ(codec.LineToRect(bytes.data(), 8), 8u);
    EXPECT_EQ(codec.LineToRect(bytes.data(), 3), 3u);
    EXPECT_EQ(Hex(bytes), "01 02 03 04 05 06 07 08");
}

TEST(CompressionTiles, DamagedHeaderCausesNoAccessOutsideTheBuffer)
{
    QZCompression codec;
    // Sides far too large, a tile size of 0, a stream shorter than its header; the buffers have no spare
    // room.
    for (const char* head :
         {"FF FF FF 7F FF FF FF 7F 01 00 00 00", "00 00 01 00 00 00 01 00 08 00 00 00",
          "02 00 00 00 02 00 00 00 00 00 00 00", "FF FF FF FF 02 00 00 00 02 00 00 00",
          "FF FF FF 7F FF FF FF 7F FF FF FF FF", "01 00 00 00 FF FF FF 7F 02 00 00 00", "", "AA"})
    {
        Bytes bytes = FromHex(head) + FromHex("11 22 33 44 00 01 01 05 00 04 01 05");
        const std::size_t size = bytes.size();
        EXPECT_EQ(
            Staged(bytes, 0, [&](unsigned char* p, QZULong n) { return codec.LineToRect(p, n); }).size(),
            size - 4)
            << head;
    }
    Bytes marker = FromHex("00 04 01 05");
    EXPECT_EQ(codec.LineToRect(marker.data(), 4), 0u);
}

// ----------------------------------------------------------------------------------------------- bitmaps

namespace
{

Bytes BitmapCompressed(const Bytes& image, QZLong width, QZLong height, bool tiled)
{
    QZCompression codec;
    return Staged(image, 3 * image.size() + 1024, [&](unsigned char* p, QZULong) {
        return codec.BitmapBitsCompress32(width, height, p, tiled);
    });
}

Bytes BitmapDecompressed(const Bytes& stream)
{
    QZCompression codec;
    return Staged(stream, 0x10000,
                  [&](unsigned char* p, QZULong n) { return codec.BitmapBitsDecompress32(p, n); });
}

}  // namespace

TEST(CompressionBitmap, CodesOnePixelExactly)
{
    // The pixel and its marker are 8 bytes: four planes of two after a header of 36, then coded.
    Bytes divided = FromHex(
        "04 00 00 00"
        "24 00 00 00 25 00 00 00 26 00 00 00 27 00 00 00"
        "28 00 00 00 29 00 00 00 2A 00 00 00 2B 00 00 00"
        "10 00 50 01 90 01 D0 05"
        "00 02 01 05");
    QZCompression codec;
    EXPECT_EQ(Hex(BitmapCompressed(FromHex("10 50 90 D0"), 1, 1, false)), Hex(Compressed(&codec, divided)));
}

TEST(CompressionBitmap, PlainImagesKeepTheirLength)
{
    Bytes image;
    std::mt19937 random(5);
    for (int i = 0; i < 20 * 16; ++i) AppendWord(&image, static_cast<std::uint32_t>(random()));
    EXPECT_EQ(BitmapDecompressed(BitmapCompressed(image, 20, 16, false)), image);
}

TEST(CompressionBitmap, TiledImagesBecomeTwelveBytesLonger)
{
    std::mt19937 random(6);
    for (const auto& [width, height] : {std::pair<QZLong, QZLong>{16, 16}, {20, 20}, {8, 9}, {3, 5}})
    {
        Bytes image;
        for (int i = 0; i < width * height; ++i) AppendWord(&image, static_cast<std::uint32_t>(random()));
        const Bytes result = BitmapDecompressed(BitmapCompressed(image, width, height, true));
        ASSERT_EQ(result.size(), image.size() + 12);
        EXPECT_EQ(Bytes(result.begin(), result.begin() + static_cast<std::ptrdiff_t>(image.size())), image);
    }
}

namespace
{
/// The room that is asked for lies in a buffer of exactly its size; nothing for a refused image.
std::optional<Bytes> Tried(Bytes stream, std::size_t room)
{
    const std::size_t length = stream.size();
    stream.resize(std::max(room, length));
    QZCompression codec;
    QZULong result = 0xABCD;
    if (!codec.TryBitmapBitsDecompress32(stream.data(), static_cast<QZULong>(length),
                                         static_cast<QZULong>(room), &result))
    {
        EXPECT_EQ(result, 0xABCDu);
        return std::nullopt;
    }
    stream.resize(result);
    return stream;
}

Bytes Tiled(std::uint32_t width, std::uint32_t height, std::uint32_t tile, int pixels)
{
    Bytes bytes;
    for (const std::uint32_t word : {width, height, tile}) AppendWord(&bytes, word);
    for (int i = 0; i < pixels; ++i) AppendWord(&bytes, static_cast<std::uint32_t>(i));
    AppendWord(&bytes, 0x5010100);
    AppendWord(&bytes, 0x5010400);
    return bytes;
}
}  // namespace

TEST(CompressionBitmap, ImagesFromStrangersAreReadInTheirRoom)
{
    std::mt19937 random(7);
    for (const auto& [width, height] : {std::pair<QZLong, QZLong>{16, 16}, {20, 20}, {8, 9}, {3, 5}})
    {
        Bytes image;
        for (int i = 0; i < width * height; ++i) AppendWord(&image, static_cast<std::uint32_t>(random()));
        for (const bool tiled : {false, true})
        {
            const Bytes stream = BitmapCompressed(image, width, height, tiled);
            const std::optional<Bytes> result = Tried(stream, stream.size() + 64);
            ASSERT_TRUE(result.has_value());
            EXPECT_EQ(*result, BitmapDecompressed(stream));
            EXPECT_FALSE(Tried(stream, stream.size() - 1));
        }
    }
}

TEST(CompressionBitmap, HeadsThatLieAreRefusedWithoutMemory)
{
    EXPECT_TRUE(Tried(Tiled(2, 2, 2, 4), 100));
    EXPECT_FALSE(Tried(Tiled(2, 2, 2, 3), 100));
    EXPECT_FALSE(Tried(Tiled(2, 2, 0, 4), 100));
    EXPECT_FALSE(Tried(Tiled(0xFFFFFFFE, 0xFFFFFFFE, 2, 4), 100));
    EXPECT_FALSE(Tried(Tiled(2, 2, 2, 4), 35));
    // All columns are lost, so the stream has no pixels, but its image has sixty gigabytes.
    EXPECT_FALSE(Tried(Tiled(7, 0x7FFFFFF8, 8, 0), 1000));
    EXPECT_FALSE(Tried(Tiled(0x7FFFFFFF, 0x7FFFFFFF, 8, 0), 1000));
    EXPECT_FALSE(Tried(Stream(FromHex("FF 40 02 03 00"), 2), 100)) << "an unknown tag";
    EXPECT_FALSE(Tried(Stream(FromHex("FF 40 FF 00"), 0x7FFFFFFF), 1000));
    EXPECT_FALSE(Tried(FromHex("01 02 03 04"), 100));
    EXPECT_FALSE(Tried({}, 100));
    // Every stage adds a marker that is taken off again.
    Bytes many;
    for (int i = 0; i < 17; ++i) many.insert(many.end(), {0, 0, 0, 0, 0, 2, 1, 5});
    EXPECT_FALSE(Tried(many, 1000));
}

/// Draws a typical picture: a gradient, shapes and text on white.
Bytes DrawnPicture(int width, int height)
{
    QZGraphics block(width, height);
    block.Fill(0, 0, width, height, 0xFFFFFFFF);
    auto* words = static_cast<unsigned int*>(block.GetPointer());
    for (int y = 8; y < height / 2; ++y)
        for (int x = 8; x < width - 8; ++x)
            words[y * width + x] =
                0xFF000000u | static_cast<unsigned int>((x / 3) << 16 | (y * 4) << 8 | 0x40);
    for (int i = 0; i < 12; ++i) block.DrawLine(10 + 8 * i, height - 10, 50 + 5 * i, height / 2 - 10);
    QZCircle circle(width / 2, height / 2, 20);
    block.Draw(&circle);
    QZString text("12.5 mm");
    block.Draw(20, height - 30, &text);
    const auto* bytes = static_cast<const unsigned char*>(block.GetPointer());
    return Bytes(bytes, bytes + 4 * static_cast<std::ptrdiff_t>(width) * height);
}

TEST(CompressionBitmap, DrawnPictureChangesByAtMostThreePerByte)
{
    const Bytes image = DrawnPicture(120, 96);
    for (const bool tiled : {false, true})
    {
        const Bytes stream = BitmapCompressed(image, 120, 96, tiled);
        EXPECT_TRUE(Check(stream));
        EXPECT_LT(stream.size(), image.size() / 2);
        const Bytes result = BitmapDecompressed(stream);
        ASSERT_EQ(result.size(), image.size() + (tiled ? 12 : 0));
        int changed = 0;
        for (std::size_t i = 0; i < image.size(); ++i)
        {
            ASSERT_LE(static_cast<unsigned char>(result[i] - image[i] + 3), 6) << i;
            changed += result[i] != image[i] ? 1 : 0;
        }
        EXPECT_GT(changed, 0) << "areas that are almost flat are coded with a loss";
    }
}

TEST(CompressionBitmap, ImageOfTwentyBySixteenLosesItsFourRightColumns)
{
    std::mt19937 random(7);
    Bytes image;
    for (int i = 0; i < 20 * 16; ++i) AppendWord(&image, static_cast<std::uint32_t>(random()));
    Bytes bytes = BitmapCompressed(image, 20, 16, true);
    QZULong length = static_cast<QZULong>(bytes.size());
    bytes.resize(0x10000);
    QZCompression codec;
    length = codec.Decompress(bytes.data(), length);
    length = codec.UnDivide(bytes.data(), length);
    EXPECT_EQ(length, 12u + 16 * 16 * 4 + 8);
    EXPECT_EQ(codec.LineToRect(bytes.data(), length), 12u + 16 * 16 * 4 + 4);
    for (std::size_t y = 0; y < 16; ++y)
        for (std::size_t x = 0; x < 20; ++x)
        {
            const std::size_t at = (y * 20 + x) * 4;
            const Bytes pixel(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                              bytes.begin() + static_cast<std::ptrdiff_t>(at + 4));
            const Bytes source(image.begin() + static_cast<std::ptrdiff_t>(at),
                               image.begin() + static_cast<std::ptrdiff_t>(at + 4));
            ASSERT_EQ(pixel, x < 16 ? source : Repeat(0, 4)) << x << ", " << y;
        }
}

TEST(CompressionBitmap, DecompressThrowsWhenPixelsOverwriteTheInnerMarker)
{
    // The stream has lost columns, so the longer image overwrites the inner marker.
    QZCompression codec;
    Bytes bytes = BitmapCompressed(Image(20, 16), 20, 16, true);
    const QZULong length = static_cast<QZULong>(bytes.size());
    bytes.resize(0x10000);
    EXPECT_QZ_THROW(codec.BitmapBitsDecompress32(bytes.data(), length), QZExceptionCode::UnknownType);
}

TEST(CompressionBitmap, DecompressRemovesLayersInAnyOrder)
{
    QZCompression codec;
    EXPECT_EQ(Hex(BitmapDecompressed(FromHex("AA BB 00 01 01 05"))), "AA BB");
    // Divided and compressed twice, in a different order from images.
    Bytes bytes = FromHex("01 90 33 F7 55 AB 00 01 01 05");
    for (int round = 0; round < 2; ++round)
    {
        bytes = Compressed(&codec, bytes);
        bytes = Staged(bytes, 1024, [&](unsigned char* p, QZULong n) { return codec.Divide(p, n, 3); });
    }
    EXPECT_EQ(Hex(BitmapDecompressed(bytes)), "01 90 33 F7 55 AB");
}

TEST(CompressionBitmap, UnknownMarkersThrow)
{
    QZCompression codec;
    for (const char* hex :
         {"", "00 01 01", "00 00 00 00", "11 22 33 44 00 05 01 05", "00 03 01 05", "00 02 01 05"})
    {
        Bytes bytes = FromHex(hex);
        testing::internal::CaptureStdout();
        EXPECT_QZ_THROW(codec.BitmapBitsDecompress32(bytes.data(), static_cast<QZULong>(bytes.size())),
                        QZExceptionCode::UnknownType)
            << hex;
        testing::internal::GetCapturedStdout();
    }
}
