#include "db/engine_fixture.h"

using qztest::EngineTest;
using qztest::kSideEnd;
using qztest::kSideThis;

namespace
{
class AddressTest : public EngineTest
{};
}  // namespace

TEST_F(AddressTest, ModeSetsTheLengthOfAnAddress)
{
    OBJECTS objects;
    ADDRESS* address = objects.Address();
    EXPECT_TRUE(address->SetMode(1));
    EXPECT_EQ(address->Length(), 4);
    EXPECT_TRUE(address->SetMode(3));
    EXPECT_EQ(address->Length(), 8);
    EXPECT_TRUE(address->SetMode(2));
    EXPECT_EQ(address->Length(), 4);
    EXPECT_EQ(objects.Console()->GetErrorCount(), 0);
    EXPECT_TRUE(address->SetMode(0)) << "an unknown mode records an error, but returns true";
    EXPECT_EQ(address->Length(), 4);
    EXPECT_EQ(objects.Console()->GetErrorCount(), 1);
    EXPECT_EQ(objects.Console()->GetLastError(), QZDatabaseInfo::BAD_PARAMETER);
}

TEST_F(AddressTest, AddressesAreLittleEndian)
{
    Fresh(3);
    EXPECT_EQ(Address()->Put(800, 0x0807060504030201), 1);
    EXPECT_EQ(qztest::Hex(File().substr(800, 8)), "01 02 03 04 05 06 07 08");
    EXPECT_EQ(Address()->Get(800), 0x0807060504030201);
    EXPECT_EQ(Address()->Put(800, -1), 1);
    EXPECT_EQ(Address()->Get(800), -1);
}

TEST_F(AddressTest, FourByteAddressesKeepTheLowBytesAndReadUnsigned)
{
    Fresh(2);
    EXPECT_EQ(Address()->PutRaw(800, 0x1234567890LL), 1);
    EXPECT_EQ(Address()->PutRaw(804, -1), 1);
    EXPECT_EQ(qztest::Hex(File().substr(800, 8)), "90 78 56 34 FF FF FF FF");
    EXPECT_EQ(Address()->Get(800), 0x34567890);
    EXPECT_EQ(Address()->Get(804), 0xFFFFFFFF);
}

TEST_F(AddressTest, PutIsLoggedAndPutRawIsNot)
{
    Fresh(3, 1);
    ASSERT_TRUE(m_objects->Rollback()->IsOn());
    EXPECT_EQ(Console()->GetLength(), 1040);
    Address()->PutRaw(80, 5);
    EXPECT_EQ(Console()->GetLength(), 1040);
    Address()->Put(80, 6);
    // One RD in the list of the base HD at 719: position, old value, new value.
    EXPECT_EQ(List(719), std::vector<QZInt64>{1055});
    EXPECT_EQ(Read()->ReadRD(kSideThis, 1055, QZDatabaseInfo::RD_P), 80);
    EXPECT_EQ(Read()->ReadRD(kSideThis, 1055, QZDatabaseInfo::RD_O), 5);
    EXPECT_EQ(Read()->ReadRD(kSideThis, 1055, QZDatabaseInfo::RD_N), 6);
    EXPECT_EQ(Console()->GetLength(), 1055 + 65 + 16);
    EXPECT_EQ(Address()->Get(80), 6);
}

TEST_F(AddressTest, NewRecordsStartOneByteBeforeAMultipleOf16)
{
    Fresh(3);
    const QZInt64 pairs[][2] = {{30, 31}, {31, 47}, {46, 47}, {47, 63}, {1040, 1055}};
    for (const auto& pair : pairs)
    {
        Console()->SetLength(pair[0]);
        EXPECT_EQ(Data()->NewHD(0), pair[1]) << pair[0];
    }
}

TEST_F(AddressTest, AddressesFrom9ToTheLengthAreInRange)
{
    Fresh(3);
    REPAIR* repair = m_objects->Repair();
    EXPECT_FALSE(repair->InRange(8));
    EXPECT_TRUE(repair->InRange(9));
    EXPECT_TRUE(repair->InRange(704));
    EXPECT_FALSE(repair->InRange(705));
    EXPECT_FALSE(repair->InRange(-9));
}

TEST_F(AddressTest, EqualContentIsStoredTwiceAndUnlinkFreesNoSpace)
{
    Fresh(3);
    const QZInt64 hd = Data()->NewHD(0);
    const QZInt64 first = Data()->NewCD(hd, "same", 4);
    const QZInt64 second = Data()->NewCD(hd, "same", 4);
    EXPECT_NE(first, second);
    const QZInt64 length = Console()->GetLength();
    Link()->Unlink(second);
    EXPECT_EQ(Console()->GetLength(), length);
    ExpectConsistent(hd, {first});
}

// ---------------------------------------------------------------------------------------------------------------------
// The end of the address space

namespace
{

class AddressEndTest : public EngineTest
{
protected:
    void SetUp() override
    {
        Fresh(2);
        m_hd = Data()->NewHD(0);
        m_image = File();
        // The next record starts at 0xFFFFFFEF, where no record fits.
        Address()->PutRaw(16, 0xFFFFFFE0);
    }

    /// Expects that write protection is on, that `errors` errors were recorded, and that no record was added.
    void ExpectRefused(QZInt64 errors)
    {
        EXPECT_EQ(Console()->GetWriteProtect(), 1);
        EXPECT_EQ(Console()->GetErrorCount(), errors);
        EXPECT_EQ(Console()->GetLastError(), QZDatabaseInfo::WRITE_ERROR_WRITEPROTECT);
        EXPECT_EQ(Console()->GetLength(), 0xFFFFFFE0);
        Console()->SetWriteProtect(0);
        Address()->PutRaw(16, 480);
        EXPECT_EQ(qztest::Difference(File(), m_image), "");
        ExpectConsistent(m_hd, {});
    }

    QZInt64 m_hd = 0;
    std::string m_image;
};

}  // namespace

TEST_F(AddressEndTest, RefusedHeadReturns0)
{
    EXPECT_EQ(Data()->NewHD(0), 0);
    ExpectRefused(2);
}

TEST_F(AddressEndTest, RefusedADReturnsMinus1)
{
    EXPECT_EQ(Data()->NewAD(m_hd, 63), -1);
    ExpectRefused(2);
}

TEST_F(AddressEndTest, RefusedLDReturnsMinus1)
{
    EXPECT_EQ(Data()->NewLD(m_hd), -1);
    ExpectRefused(2);
}

TEST_F(AddressEndTest, RefusedCDReturnsMinus1)
{
    // The content is written first. Its pointer turns write protection on without an error; each later write
    // of the content, the file length and the mark record one.
    EXPECT_EQ(Data()->NewCD(m_hd, "abc", 3), -1);
    ExpectRefused(5);
}

TEST_F(AddressEndTest, RefusedPDReturnsMinus1)
{
    EXPECT_EQ(Data()->NewPD(m_hd, 0, "abc", 3), -1);
    ExpectRefused(5);
}

TEST_F(AddressEndTest, RefusedHeadForAPDReturns0)
{
    EXPECT_EQ(Data()->NewHDForPD(63), 0);
    ExpectRefused(2);
}

TEST_F(AddressEndTest, RefusedReplacementReturns0)
{
    // Each refused write records an error: two for the head, four for the framed bytes, two for the record
    // and one for the pointer.
    EXPECT_EQ(Data()->PutText(448, 0, "abc", 3), 0);
    ExpectRefused(9);
}

TEST_F(AddressEndTest, ProtectionStaysWhileTheFileIsOpen)
{
    EXPECT_EQ(Data()->NewHD(0), 0);
    Binary()->PutByte(100, 1);
    EXPECT_EQ(Console()->GetErrorCount(), 3);
    EXPECT_EQ(Data()->PutField(m_hd, QZDatabaseInfo::HD_PREV, 5), 0);
    EXPECT_EQ(Console()->GetErrorCount(), 4);
    Close();
    ASSERT_TRUE(Open());
    EXPECT_EQ(Console()->GetWriteProtect(), 0) << "write protection is not stored in the file";
}
