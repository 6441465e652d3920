#include "db/engine_fixture.h"

using qztest::EngineTest;
using qztest::kSideEnd;
using qztest::kSideThis;
using Info = QZDatabaseInfo;

namespace
{

class ReadTest : public EngineTest
{
protected:
    void ExpectRefused(QZInt64 code, QZInt64 count)
    {
        EXPECT_EQ(Console()->GetLastError(), code);
        EXPECT_EQ(Console()->GetErrorCount(), count);
    }
};

}  // namespace

TEST_F(ReadTest, FieldsOfAnEmptyHead)
{
    Fresh(3);
    ASSERT_EQ(Data()->NewHD(79), 719);
    const QZInt64 fields[][2] = {{Info::HD_THIS, 719},   {Info::HD_END, 752},
                                 {Info::HD_PREV, 79},    {Info::HD_FIRSTDATA, 0},
                                 {Info::HD_LASTDATA, 0}, {Info::HD_LASTDATA_THIS, 0}};
    for (const auto& field : fields)
    {
        EXPECT_EQ(Read()->ReadHD(kSideThis, 719, field[0]), field[1]) << std::hex << field[0];
        EXPECT_EQ(Read()->ReadHD(kSideEnd, 752, field[0]), field[1]) << std::hex << field[0];
    }
}

TEST_F(ReadTest, FieldsOfAHeadWithRecords)
{
    Fresh(3);
    // The main HD: five ADs, the last from 639 to 688.
    const QZInt64 fields[][2] = {{Info::HD_THIS, 31},      {Info::HD_END, 704},
                                 {Info::HD_PREV, 0},       {Info::HD_FIRSTDATA, 319},
                                 {Info::HD_LASTDATA, 688}, {Info::HD_LASTDATA_THIS, 639}};
    for (const auto& field : fields)
    {
        EXPECT_EQ(Read()->ReadHD(kSideThis, 31, field[0]), field[1]) << std::hex << field[0];
        EXPECT_EQ(Read()->ReadHD(kSideEnd, 704, field[0]), field[1]) << std::hex << field[0];
        // The closing frames of the shorter list, still in the file, refer to the HD as well.
        EXPECT_EQ(Read()->ReadHD(kSideEnd, 384, field[0]), field[1]) << std::hex << field[0];
        EXPECT_EQ(Read()->ReadHD(kSideEnd, 64, field[0]), field[1]) << std::hex << field[0];
    }
}

TEST_F(ReadTest, ReadHDReturns0ForABadSideOrSelector)
{
    Fresh(3);
    EXPECT_EQ(Read()->ReadHD(3, 31, Info::HD_END), 0);
    ExpectRefused(Info::BAD_PARAMETER, 1);
    EXPECT_EQ(Read()->ReadHD(kSideThis, 31, Info::DATA_END), 0);
    ExpectRefused(256, 2);
    EXPECT_EQ(Read()->ReadHD(kSideThis, 31, Info::TABLE_HD), 0);
    ExpectRefused(256, 3);
}

TEST_F(ReadTest, FrameOfARecordFromBothEnds)
{
    Fresh(3);
    // The second AD of the main HD: 399 to 448.
    const QZInt64 fields[][2] = {{Info::DATA_THIS, 399},    {Info::DATA_END, 448},
                                 {Info::DATA_PREV, 368},    {Info::DATA_NEXT, 479},
                                 {Info::DATA_HDA, 31},      {Info::DATA_PREV_THIS, 319},
                                 {Info::DATA_PREV_END, 368}};
    for (const auto& field : fields)
    {
        // The kind in the selector does not matter.
        for (const QZInt64 kind : {0x000, 0x100, 0x200, 0x300, 0x400, 0x500, 0xFF00})
        {
            EXPECT_EQ(Read()->ReadData(kSideThis, 399, field[0] | kind), field[1]) << std::hex << field[0];
            EXPECT_EQ(Read()->ReadData(kSideEnd, 448, field[0] | kind), field[1]) << std::hex << field[0];
        }
    }
    EXPECT_EQ(Console()->GetErrorCount(), 0);
}

TEST_F(ReadTest, FirstRecordHasNoPreviousRecord)
{
    Fresh(3);
    EXPECT_EQ(Read()->ReadData(kSideThis, 319, Info::DATA_PREV), 31);
    EXPECT_EQ(Read()->ReadData(kSideThis, 319, Info::DATA_PREV_THIS), 0);
    EXPECT_EQ(Read()->ReadData(kSideEnd, 368, Info::DATA_PREV_END), 0);
}

TEST_F(ReadTest, ReadDataReturnsMinus1ForABadSideOrSelector)
{
    Fresh(3);
    EXPECT_EQ(Read()->ReadData(0, 399, Info::DATA_END), -1);
    ExpectRefused(Info::BAD_PARAMETER, 1);
    for (const QZInt64 selector :
         {Info::DATA_UNKNOWN, Info::AD_FREE, Info::CD_DATA, Info::HD_END, Info::PD_LN1})
        EXPECT_EQ(Read()->ReadData(kSideThis, 399, selector), -1) << std::hex << selector;
    ExpectRefused(Info::BAD_PARAMETER, 6);
}

TEST_F(ReadTest, ReadersReturnTheStoredValueEvenOfTheGivenAddress)
{
    Fresh(3);
    Address()->PutRaw(399 + 9, 1234);
    EXPECT_EQ(Read()->ReadData(kSideThis, 399, Info::DATA_THIS), 1234);
    EXPECT_EQ(Read()->ReadData(kSideEnd, 448, Info::DATA_THIS), 399);
    Address()->PutRaw(399 + 17, 4321);
    EXPECT_EQ(Read()->ReadData(kSideEnd, 448, Info::DATA_END), 4321);
    Address()->PutRaw(31 + 25, 99);
    EXPECT_EQ(Read()->ReadHD(kSideThis, 31, Info::HD_THIS), 99);
    EXPECT_EQ(Read()->ReadHD(kSideEnd, 704, Info::HD_THIS), 31);
}

TEST_F(ReadTest, FieldsOfAListRecord)
{
    Fresh(3);
    const QZInt64 hd = Data()->NewHD(0);
    ASSERT_EQ(Data()->NewLD(hd), 767);
    const QZInt64 fields[][2] = {{Info::LD_THIS, 767},   {Info::LD_END, 840},    {Info::LD_PREV, 719},
                                 {Info::LD_NEXT, 0},     {Info::LD_HDA, 719},    {Info::LD_LDS, 863},
                                 {Info::LD_TREE_A, 911}, {Info::LD_TREE_R, 959}, {Info::LD_TREE_S, 1007}};
    for (const auto& field : fields)
    {
        EXPECT_EQ(Read()->ReadLD(kSideThis, 767, field[0]), field[1]) << std::hex << field[0];
        EXPECT_EQ(Read()->ReadLD(kSideEnd, 840, field[0]), field[1]) << std::hex << field[0];
    }
    EXPECT_EQ(Console()->GetErrorCount(), 0);
    EXPECT_EQ(Read()->ReadLD(kSideThis, 767, Info::LD_PREV_THIS), -1);
    EXPECT_EQ(Read()->ReadLD(kSideThis, 767, Info::PD_LD_A), -1);
    EXPECT_EQ(Read()->ReadLD(7, 767, Info::LD_LDS), -1);
    ExpectRefused(Info::BAD_PARAMETER, 3);
}

TEST_F(ReadTest, FieldsOfAPlaceRecord)
{
    Fresh(3);
    const QZInt64 hd = Data()->NewHD(0);
    ASSERT_EQ(Data()->NewPD(hd, 319, "hello", 5), 767);
    Data()->PutField(767, Info::PD_HD_A, 79);
    const QZInt64 fields[][2] = {{Info::PD_THIS, 767}, {Info::PD_END, 864}, {Info::PD_PREV, 719},
                                 {Info::PD_NEXT, 0},   {Info::PD_HDA, 719}, {Info::PD_PREV_THIS, 0},
                                 {Info::PD_LD_A, 319}, {Info::PD_HD_A, 79}, {Info::DATA_PREV_END, 0}};
    for (const auto& field : fields)
    {
        EXPECT_EQ(Read()->ReadPD(kSideThis, 767, field[0]), field[1]) << std::hex << field[0];
        EXPECT_EQ(Read()->ReadPD(kSideEnd, 864, field[0]), field[1]) << std::hex << field[0];
    }
    EXPECT_EQ(Console()->GetErrorCount(), 0);
    EXPECT_EQ(Read()->ReadPD(kSideThis, 767, Info::PD_DATA), -1);
    EXPECT_EQ(Read()->ReadPD(0, 767, Info::PD_LD_A), -1);
    ExpectRefused(Info::BAD_PARAMETER, 2);
}

TEST_F(ReadTest, FieldsOfAnAddressRecord)
{
    Fresh(3);
    const QZInt64 fields[][2] = {{Info::AD_THIS, 399}, {Info::AD_END, 448}, {Info::AD_PREV, 368},
                                 {Info::AD_NEXT, 479}, {Info::AD_HDA, 31},  {Info::AD_FREE, 127}};
    for (const auto& field : fields)
    {
        EXPECT_EQ(Read()->ReadAD(kSideThis, 399, field[0]), field[1]) << std::hex << field[0];
        EXPECT_EQ(Read()->ReadAD(kSideEnd, 448, field[0]), field[1]) << std::hex << field[0];
    }
    EXPECT_EQ(Read()->ReadAD(kSideThis, 399, Info::AD_PREV_THIS), -1);
    ExpectRefused(Info::BAD_PARAMETER, 1);
}

TEST_F(ReadTest, LogRecordHasOnlyItsThreeFields)
{
    Fresh(2);
    const QZInt64 hd = Data()->NewHD(0);
    ASSERT_EQ(Data()->NewRD(hd, 11, 22, 33), 495);
    for (const auto& [side, address] : {std::pair{kSideThis, 495LL}, std::pair{kSideEnd, 528LL}})
    {
        EXPECT_EQ(Read()->ReadRD(side, address, Info::RD_P), 11);
        EXPECT_EQ(Read()->ReadRD(side, address, Info::RD_O), 22);
        EXPECT_EQ(Read()->ReadRD(side, address, Info::RD_N), 33);
    }
    EXPECT_EQ(Read()->ReadRD(kSideThis, 495, Info::RD_THIS), -1);
    EXPECT_EQ(Read()->ReadRD(kSideThis, 495, Info::RD_NEXT), -1);
    EXPECT_EQ(Read()->ReadRD(kSideThis, 495, Info::RD_PREV_THIS), -1);
    ExpectRefused(Info::BAD_PARAMETER, 3);
}

TEST_F(ReadTest, CountPositionAndNth)
{
    Fresh(3);
    EXPECT_EQ(Read()->Count(31), 5);
    EXPECT_EQ(Read()->Count(79), 0);
    EXPECT_EQ(Read()->Position(319), 1);
    EXPECT_EQ(Read()->Position(639), 5);
    EXPECT_EQ(Read()->Nth(31, 2, Info::DATA_THIS), 399);
    EXPECT_EQ(Read()->Nth(31, 5, Info::DATA_END), 688);
    EXPECT_EQ(Read()->Nth(31, 6, Info::DATA_THIS), 0);
    EXPECT_EQ(Read()->Nth(31, 0, Info::DATA_THIS), 319) << "numbers below 2 mean the first record";
    EXPECT_EQ(Read()->Nth(31, -5, Info::DATA_THIS), 319);
    EXPECT_EQ(Read()->Nth(79, 1, Info::DATA_THIS), 0);
    EXPECT_EQ(Read()->HeadOf(479), 31);
}

TEST_F(ReadTest, PositionOfAnUnlinkedRecordIs0)
{
    Fresh(3);
    const QZInt64 hd = Data()->NewHD(0);
    const QZInt64 first = Data()->NewCD(hd, "", 0);
    const QZInt64 second = Data()->NewCD(hd, "", 0);
    Link()->Unlink(first);
    EXPECT_EQ(Read()->Position(first), 0);
    EXPECT_EQ(Read()->Position(second), 1);
}

TEST_F(ReadTest, TreeRoots)
{
    Fresh(3);
    const QZInt64 roots[] = {79, 127, 175, 223, 271};
    for (QZInt64 n = 1; n <= 5; ++n) EXPECT_EQ(Read()->TreeRoot(31, n), roots[n - 1]);
    EXPECT_EQ(Read()->TreeRoot(31, 0), 79) << "tree 0 means the first tree";
    EXPECT_EQ(Read()->TreeRoot(31, 6), 0);
    EXPECT_EQ(Read()->TreeRoot(79, 1), 0);
}

TEST_F(ReadTest, TreeOfClimbsToTheMainList)
{
    Fresh(3);
    for (QZInt64 n = 1; n <= 5; ++n)
    {
        const QZInt64 top = Data()->NewPD(Read()->TreeRoot(31, n), 0, "", 0);
        EXPECT_EQ(Read()->TreeOf(top), n);
        const QZInt64 below = Data()->NewPD(Data()->NewHDForPD(top), 0, "", 0);
        const QZInt64 deep = Data()->NewPD(Data()->NewHDForPD(below), 0, "", 0);
        EXPECT_EQ(Read()->TreeOf(deep), n);
    }
}

TEST_F(ReadTest, TreeOfUnderAFreeHeadIs0)
{
    Fresh(2);
    const QZInt64 pd = Data()->NewPD(Data()->NewHD(0), 0, "", 0);
    EXPECT_EQ(Read()->TreeOf(pd), 0);
}

TEST_F(ReadTest, TreeOfVersion1IsFoundByTheRootAddress)
{
    Fresh(2);
    Console()->AddressInfo()->Version = Info::DBV_CODE_V1;
    // The HD field of a PD is overwritten with the address of a root of version 1, which decides the tree.
    const QZInt64 hd = Data()->NewHD(0);
    const QZInt64 pd = Data()->NewPD(hd, 0, "", 0);
    const QZInt64 below = Data()->NewPD(Data()->NewHDForPD(pd), 0, "", 0);
    const QZInt64 end = Read()->ReadData(kSideThis, pd, Info::DATA_END);
    const QZInt64 roots[][2] = {{25, 1}, {43, 2}, {61, 3}};
    for (const auto& root : roots)
    {
        Address()->PutRaw(end + 4, root[0]);
        EXPECT_EQ(Read()->TreeOf(pd), root[1]);
        EXPECT_EQ(Read()->TreeOf(below), root[1]);
    }
    Address()->PutRaw(end + 4, hd);
    EXPECT_EQ(Read()->TreeOf(pd), 0);
}

// ---------------------------------------------------------------------------------------------------------------------
// Damaged files

TEST_F(ReadTest, WalksInACircularListEnd)
{
    Fresh(3);
    const QZInt64 hd = Data()->NewHD(0);
    std::vector<QZInt64> records;
    for (int i = 0; i < 40; ++i) records.push_back(Data()->NewCD(hd, "", 0));
    // The last record is linked to the 30th, later to itself.
    Data()->PutField(records[39], Info::DATA_NEXT, records[29]);
    EXPECT_GE(Read()->Count(hd), 40);
    EXPECT_EQ(Read()->Position(Data()->NewAD(31, 0)), 6);
    EXPECT_EQ(Read()->Nth(hd, 35, Info::DATA_THIS), records[34]);
    // From the 30th on, 11 records form a circle; Nth counts every step, however many there are.
    for (QZInt64 n = 1; n < 90; ++n)
    {
        const QZInt64 place = n <= 40 ? n - 1 : 29 + (n - 30) % 11;
        EXPECT_EQ(Read()->Nth(hd, n, Info::DATA_THIS), records[static_cast<std::size_t>(place)]) << n;
    }
    EXPECT_EQ(Read()->Nth(hd, 1LL << 60, Info::DATA_THIS), records[33]);
    Data()->PutField(records[39], Info::DATA_NEXT, records[39]);
    EXPECT_GE(Read()->Count(hd), 40);
    EXPECT_EQ(Read()->Nth(hd, 1LL << 60, Info::DATA_THIS), records[39]);
}

TEST_F(ReadTest, TreeOfInACircularChainEnds)
{
    Fresh(3);
    const QZInt64 pd = Data()->NewPD(Data()->NewHD(0), 0, "", 0);
    const QZInt64 below = Data()->NewPD(Data()->NewHDForPD(pd), 0, "", 0);
    Data()->PutField(Read()->HeadOf(pd), Info::HD_PREV, below);
    EXPECT_EQ(Read()->TreeOf(below), 0);
    Console()->AddressInfo()->Version = Info::DBV_CODE_V1;
    EXPECT_EQ(Read()->TreeOf(below), 0);
}

TEST_F(ReadTest, FieldsMayHoldAnyValue)
{
    Fresh(3);
    for (const QZInt64 value :
         {QZInt64{0x7FFFFFFFFFFFFFFF}, -QZInt64{0x7FFFFFFFFFFFFFFF} - 1, QZInt64{-1}, QZInt64{1} << 40})
    {
        for (QZInt64 position = 399 + 1; position < 448; position += 8) Address()->PutRaw(position, value);
        for (const QZInt64 selector : {Info::DATA_THIS, Info::DATA_END, Info::DATA_PREV, Info::DATA_NEXT,
                                       Info::DATA_HDA, Info::DATA_PREV_THIS, Info::DATA_PREV_END})
        {
            Read()->ReadData(kSideThis, 399, selector);
            Read()->ReadData(kSideEnd, 448, selector);
        }
        EXPECT_LE(Read()->Count(31), 5);
        EXPECT_EQ(Read()->ReadData(kSideThis, 399, Info::DATA_PREV), value);
        Read()->TreeOf(399);
        Read()->Position(399);
    }
}
