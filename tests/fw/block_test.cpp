#include "fw/fw_block.h"

#include "fw/fw_library.h"
#include "support/qz_test.h"

namespace
{

QZInt64 Word(const void* b, QZInt64 position) { return QZLoad<QZInt64>(QZAt(b, position)); }

/// Frees its block at the end of the test.
struct Held
{
    void* b;
    ~Held() { EXPECT_TRUE(block::Free(b)); }
};

}  // namespace

TEST(Block, HeaderAndGuardFollowTheLayout)
{
    Held held{block::Make(0x12345, 64, 10, 0)};
    EXPECT_EQ(Word(held.b, 0), 65535);
    EXPECT_EQ(Word(held.b, 8), 0x12345);
    EXPECT_EQ(Word(held.b, 16), 10);
    EXPECT_EQ(Word(held.b, 24), 64);
    EXPECT_EQ(Word(held.b, 32), 0);
    // 40 + 64 + 10 = 114, rounded up to 120.
    EXPECT_BYTES(QZAt(held.b, 120), 8, "00 00 00 00 00 00 FF FF");
    EXPECT_EQ(block::Length(held.b), 128);
    EXPECT_EQ(block::Data(held.b), QZAt(held.b, 104));
    EXPECT_EQ(block::Capacity(held.b), 512);
    EXPECT_TRUE(block::Check(held.b));
}

TEST(Block, StructureAreaLiesBetweenHeaderAndHeadRoom)
{
    Held held{block::Make(1, 16, 3, 24)};
    EXPECT_EQ(block::Data(held.b), QZAt(held.b, 40 + 24 + 16));
    // 40 + 24 + 16 + 3 = 83, rounded up to 88.
    EXPECT_EQ(Word(held.b, 88), static_cast<QZInt64>(0xFFFF000000000000ull));
    EXPECT_EQ(block::Length(held.b), 96);
}

TEST(Block, FreshStorageIsZero)
{
    Held held{block::Make(block::kPlainType, 64, 300, 0)};
    const unsigned char* p = QZAt(held.b, 40);
    for (int i = 0; i < 364; ++i) ASSERT_EQ(p[i], 0) << i;
}

TEST(Block, CapacityIsTheLengthRoundedUpTo512)
{
    // 40 + 64 + 400 + 8 = 512.
    Held fits{block::Make(1, 64, 400, 0)};
    EXPECT_EQ(block::Capacity(fits.b), 512);
    Held over{block::Make(1, 64, 401, 0)};
    EXPECT_EQ(block::Capacity(over.b), 1024);
}

TEST(Block, NegativeSizeReturnsNullAndKeepsTheLastError)
{
    QZLastError = 0;
    EXPECT_EQ(block::Make(1, 64, -1, 0), nullptr);
    EXPECT_EQ(QZLastError, 0);
}

TEST(Block, TooLargeSizesSetOutOfMemory)
{
    QZLastError = 0;
    EXPECT_EQ(block::Make(1, 64, 0x7FFFFFFFFFFFFFFF, 0), nullptr);
    EXPECT_EQ(QZLastError, 4352);
    Held held{block::Make(1, 64, 8, 0)};
    QZLastError = 0;
    EXPECT_FALSE(block::Resize(&held.b, 0x7FFFFFFFFFFFFFFF));
    EXPECT_EQ(QZLastError, 4352);
    EXPECT_EQ(block::Size(held.b), 8);
    EXPECT_TRUE(block::Check(held.b));
    QZLastError = 0;
}

TEST(Block, CopyKeepsTypeStructureAreaAndHeadRoom)
{
    Held source{block::Make(77, 16, 4, 8)};
    QZStore<QZUInt64>(QZAt(source.b, 40), 0x1122334455667788ull);
    QZStore<QZUInt64>(QZAt(source.b, 48), 0x99AABBCCDDEEFF00ull);
    QZStore<QZUInt32>(block::Data(source.b), 0xCAFEBABE);
    Held copy{block::Copy(source.b)};
    EXPECT_NE(copy.b, source.b);
    EXPECT_EQ(block::Length(copy.b), block::Length(source.b));
    EXPECT_EQ(std::memcmp(copy.b, source.b, static_cast<std::size_t>(block::Length(source.b))), 0);
}

TEST(Block, ShrinkingChangesOnlySizeAndGuard)
{
    Held held{block::Make(1, 64, 1000, 0)};
    const void* before = held.b;
    EXPECT_EQ(block::Capacity(held.b), 1536);
    EXPECT_TRUE(block::Resize(&held.b, 8));
    EXPECT_EQ(held.b, before);
    EXPECT_EQ(block::Capacity(held.b), 1536);
    EXPECT_EQ(block::Size(held.b), 8);
    EXPECT_TRUE(block::Check(held.b));
}

TEST(Block, GrowingAllocatesMultiplesOf512)
{
    Held held{block::Make(1, 64, 0, 0)};
    EXPECT_TRUE(block::Resize(&held.b, 400));
    EXPECT_EQ(block::Capacity(held.b), 512);
    EXPECT_TRUE(block::Resize(&held.b, 401));
    EXPECT_EQ(block::Capacity(held.b), 1024);
    EXPECT_TRUE(block::Resize(&held.b, 5000));
    EXPECT_EQ(block::Capacity(held.b), 5120);
    EXPECT_TRUE(block::Check(held.b));
}

TEST(Block, GrowingDoesNotClearOldBytes)
{
    Held held{block::Make(1, 64, 16, 0)};
    for (int i = 0; i < 16; ++i) block::Data(held.b)[i] = static_cast<unsigned char>(i + 1);
    EXPECT_TRUE(block::Resize(&held.b, 4));
    EXPECT_TRUE(block::Resize(&held.b, 20));
    // The guard lies at the next multiple of 8 after the data: at 16 for 16 bytes, at 8 for 4 bytes. Both old
    // guards are inside the 20 bytes now.
    EXPECT_BYTES(block::Data(held.b), 20, "01 02 03 04 05 06 07 08 00 00 00 00 00 00 FF FF 00 00 00 00");
}

TEST(Block, ResetRestoresTheHeadRoomAndKeepsTheCapacity)
{
    Held held{block::Make(1, 64, 2000, 0)};
    EXPECT_TRUE(block::SetOffset(&held.b, 700));
    const QZInt64 capacity = block::Capacity(held.b);
    block::Reset(held.b);
    EXPECT_EQ(block::Offset(held.b), 64);
    EXPECT_EQ(block::Size(held.b), 0);
    EXPECT_EQ(block::Capacity(held.b), capacity);
    EXPECT_TRUE(block::Check(held.b));
}

TEST(Block, FreeOfNullFails)
{
    QZLastError = 0;
    EXPECT_FALSE(block::Free(nullptr));
    EXPECT_EQ(QZLastError, 256);
    QZLastError = 0;
}

TEST(Block, DamagedBlockIsNotFreed)
{
    void* b = block::Make(1, 64, 8, 0);
    QZStore<QZInt64>(b, 1);
    QZLastError = 0;
    EXPECT_FALSE(block::Free(b));
    EXPECT_EQ(QZLastError, 512);
    QZStore<QZInt64>(b, 65535);
    QZLastError = 0;
    EXPECT_TRUE(block::Free(b));
}

TEST(Block, CheckRejectsASizeOutsideTheBlock)
{
    void* b = block::Make(1, 64, 8, 0);
    QZStore<QZInt64>(QZAt(b, 16), QZInt64{1} << 40);
    EXPECT_FALSE(block::Check(b));
    QZStore<QZInt64>(QZAt(b, 16), 0x7FFFFFFFFFFFFFF0);
    EXPECT_FALSE(block::Check(b));
    QZStore<QZInt64>(QZAt(b, 16), -8);
    EXPECT_FALSE(block::Check(b));
    QZStore<QZInt64>(QZAt(b, 16), 8);
    EXPECT_TRUE(block::Free(b));
    EXPECT_FALSE(block::Check(nullptr));
}

TEST(Block, OffsetPastTheEndStopsAtTheCapacity)
{
    Held held{block::Make(1, 64, 3, 0)};
    EXPECT_TRUE(block::SetOffset(&held.b, 1000000));
    EXPECT_EQ(block::Offset(held.b), 512);
    EXPECT_EQ(block::Capacity(held.b), 512);
    EXPECT_TRUE(block::Check(held.b));
    EXPECT_TRUE(block::SetOffset(&held.b, 1000000));
    EXPECT_EQ(block::Offset(held.b), 512);
    EXPECT_EQ(block::Size(held.b), 0);
    EXPECT_TRUE(block::Check(held.b));
    // 40 + 512 + 1 + 7 + 8 is more than 512, so the capacity becomes 1024.
    EXPECT_TRUE(block::Resize(&held.b, 1));
    EXPECT_EQ(block::Capacity(held.b), 1024);
}

TEST(Block, CheckIgnoresTheBufferGuardAndKeepsTheLastError)
{
    Held held{block::Make(1, 64, 3, 0)};
    unsigned char* guardOfTheBuffer = QZAt(held.b, 512 + 6);
    *guardOfTheBuffer = 0;
    QZLastError = 0;
    EXPECT_TRUE(block::Check(held.b));
    EXPECT_EQ(QZLastError, 0);
    *guardOfTheBuffer = 0xFF;
}
