#include "net/http_support.h"
#include "net/internal/net_http_chunk.h"

namespace
{
using qztest::BytesOf;

struct Size
{
    QZInt64 size;
    QZInt64 line;
    std::string rest;
    bool operator==(const Size&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Size& size)
{
    return out << size.size << " line " << size.line << " rest \"" << size.rest << '"';
}

Size SizeOf(std::string_view bytes)
{
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    Size result{};
    result.line = 99;
    result.size = http::ChunkSize(&data, &result.line);
    result.rest = BytesOf(&data);
    return result;
}

/// Returns the result of one ChunkMove, the bytes moved after "<", and the bytes left.
std::string Move(std::string_view bytes)
{
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    QZData target("<", 1);
    const QZInt64 size = http::ChunkMove(&data, &target);
    return std::to_string(size) + " " + BytesOf(&target) + " " + BytesOf(&data);
}

TEST(HttpChunk, SizeIsReadFromTheFirstLine)
{
    EXPECT_EQ(SizeOf("1a\r\nrest"), (Size{26, 2, "1a\r\nrest"}));
    EXPECT_EQ(SizeOf("0\r\n\r\n"), (Size{0, 1, "0\r\n\r\n"}));
    EXPECT_EQ(SizeOf("000F\r\n"), (Size{15, 4, "000F\r\n"}));
}

TEST(HttpChunk, LineEndBeforeTheSizeIsDropped)
{
    EXPECT_EQ(SizeOf("\r\n5\r\n"), (Size{5, 1, "5\r\n"}));
    EXPECT_EQ(SizeOf("\n5\r\n"), (Size{5, 1, "5\r\n"}));
    EXPECT_EQ(SizeOf("\r5\r\n"), (Size{5, 1, "5\r\n"}));
    EXPECT_EQ(SizeOf("\r\n\r\n5\r\n"), (Size{-1, -1, "\r\n5\r\n"}));
    EXPECT_EQ(SizeOf("\r\n"), (Size{-1, -1, ""}));
}

TEST(HttpChunk, NeedsAHexadecimalDigitAndALineEnd)
{
    EXPECT_EQ(SizeOf(""), (Size{-1, -1, ""}));
    EXPECT_EQ(SizeOf("g\r\n"), (Size{-1, -1, "g\r\n"}));
    EXPECT_EQ(SizeOf(" 5\r\n"), (Size{-1, -1, " 5\r\n"}));
    EXPECT_EQ(SizeOf("5"), (Size{-1, -1, "5"}));
    EXPECT_EQ(SizeOf("5\n"), (Size{-1, -1, "5\n"}));
}

TEST(HttpChunk, LimitIsSixteenMegabytes)
{
    EXPECT_EQ(SizeOf("FFFFFF\r\n").size, 16777215);
    EXPECT_EQ(SizeOf("1000000\r\n").size, 16777216);
    EXPECT_EQ(SizeOf("1000001\r\n"), (Size{-1, 7, "1000001\r\n"}));
    EXPECT_EQ(SizeOf("FFFFFFFFFFFFFFFF\r\n").size, -1);
    EXPECT_EQ(SizeOf("8000000000000000\r\n").size, -1);
}

TEST(HttpChunk, LineOf256BytesIsTooLong)
{
    const std::string zeros(255, '0');
    EXPECT_EQ(SizeOf(zeros + "\r\n").size, 0);
    EXPECT_EQ(SizeOf("0" + zeros + "\r\n"), (Size{-1, 256, "0" + zeros + "\r\n"}));
}

TEST(HttpChunk, HexadecimalDigitsInAnExtensionCount)
{
    EXPECT_EQ(SizeOf("5;xyz\r\n").size, 5);
    // The size is read as 5, a, b, c.
    EXPECT_EQ(SizeOf("5;abc\r\n").size, 0x5abc);
}

TEST(HttpChunk, MovesAWholeChunk)
{
    EXPECT_EQ(Move("3\r\nabc\r\n0\r\n\r\n"), "3 <abc 0\r\n\r\n");
    EXPECT_EQ(Move("\r\n3\r\nabc\r\n4"), "3 <abc 4");
}

TEST(HttpChunk, ChunkIsCompleteOnlyWhenAByteFollows)
{
    EXPECT_EQ(Move("3\r\nabc\r\n"), "-1 < 3\r\nabc\r\n");
    EXPECT_EQ(Move("3\r\nabc"), "-1 < 3\r\nabc");
    EXPECT_EQ(Move("3\r\nabc\r\n0"), "3 <abc 0");
}

TEST(HttpChunk, LastAndInvalidChunksStay)
{
    EXPECT_EQ(Move("0\r\n\r\n"), "0 < 0\r\n\r\n");
    EXPECT_EQ(Move("x"), "-1 < x");
    EXPECT_EQ(Move("1000001\r\nabc"), "-1 < 1000001\r\nabc");
}
}  // namespace
