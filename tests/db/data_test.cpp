#include "db/engine_fixture.h"

using qztest::EngineTest;
using qztest::Image;
using qztest::kSideThis;

// Every test starts with a new file of version 5. It has 705 bytes with 8-byte addresses and 449 with 4-byte
// ones, so the first record starts at 719 or 463. Each test adds a free HD first.

namespace
{

class DataTest : public EngineTest
{
protected:
    /// Expects the new file with this length field, followed by these bytes.
    void ExpectTail(const std::string& fresh, const Image& tail, QZInt64 length, QZInt64 addressLength)
    {
        Image image(tail.Bytes().size(), addressLength);
        image.Text(0, tail.Bytes());
        std::string expected = image.Bytes();
        expected.replace(0, fresh.size(), fresh);
        Image field(static_cast<std::size_t>(16 + addressLength), addressLength);
        field.Addresses(16, length);
        expected.replace(16, static_cast<std::size_t>(addressLength), field.Bytes().substr(16));
        EXPECT_EQ(qztest::Difference(File(), expected), "");
    }

    void FreshWithCopy(QZInt64 mode, QZInt64 rollback = 0)
    {
        Fresh(mode, rollback);
        m_fresh = File();
    }

    std::string m_fresh;
};

}  // namespace

TEST_F(DataTest, FreeHead)
{
    FreshWithCopy(3);
    EXPECT_EQ(Data()->NewHD(79), 719);
    Image tail(753, 8);
    tail.HeadMark(719).Addresses(720, 79, 0, 752, 719).HeadMark(752);
    ExpectTail(m_fresh, tail, 752, 8);
}

TEST_F(DataTest, AddressRecord)
{
    FreshWithCopy(3);
    const QZInt64 hd = Data()->NewHD(0);
    EXPECT_EQ(Data()->NewAD(hd, 0x123456), 767);
    Image tail(833, 8);
    tail.HeadMark(719).Addresses(720, 0, 767, 832, 719).HeadMark(752);
    tail.DataMark(767)
        .Addresses(768, 719, 767, 816, 0x123456, 767, 0)
        .DataMark(816)
        .Addresses(824, 719)
        .HeadMark(832);
    ExpectTail(m_fresh, tail, 832, 8);
}

TEST_F(DataTest, AddressRecordAfterAnother)
{
    FreshWithCopy(2);
    const QZInt64 hd = Data()->NewHD(0);
    EXPECT_EQ(hd, 463);
    EXPECT_EQ(Data()->NewAD(hd, 63), 495);
    EXPECT_EQ(Data()->NewAD(hd, 95), 543);
    Image tail(577, 4);
    tail.HeadMark(463).Addresses(464, 0, 495, 576, 463).HeadMark(480);
    tail.DataMark(495)
        .Addresses(496, 463, 495, 520, 63, 495, 543)
        .DataMark(520)
        .Addresses(524, 463)
        .HeadMark(528);
    tail.DataMark(543)
        .Addresses(544, 520, 543, 568, 95, 543, 0)
        .DataMark(568)
        .Addresses(572, 463)
        .HeadMark(576);
    ExpectTail(m_fresh, tail, 576, 4);
}

TEST_F(DataTest, ContentRecord)
{
    FreshWithCopy(3);
    const QZInt64 hd = Data()->NewHD(0);
    EXPECT_EQ(Data()->NewCD(hd, "abc", 3), 767);
    Image tail(865, 8);
    tail.HeadMark(719).Addresses(720, 0, 767, 864, 719).HeadMark(752);
    tail.DataMark(767).Addresses(768, 719, 767, 848);
    tail.Addresses(792, 808, 3).Text(808, "abc").Addresses(811, 3);
    tail.Addresses(832, 767, 0).DataMark(848).Addresses(856, 719).HeadMark(864);
    ExpectTail(m_fresh, tail, 864, 8);
}

TEST_F(DataTest, EmptyContentHasItsWholeFrame)
{
    FreshWithCopy(2);
    const QZInt64 hd = Data()->NewHD(0);
    EXPECT_EQ(Data()->NewCD(hd, nullptr, 0), 495);
    // The smallest CD: END - THIS is 41. The frame of its empty content ends at 519; the mark follows at 536.
    Image tail(545, 4);
    tail.HeadMark(463).Addresses(464, 0, 495, 544, 463).HeadMark(480);
    tail.DataMark(495).Addresses(496, 463, 495, 536, 516, 0, 0);
    tail.Addresses(528, 495, 0).DataMark(536).Addresses(540, 463).HeadMark(544);
    ExpectTail(m_fresh, tail, 544, 4);
}

TEST_F(DataTest, PlaceRecord)
{
    FreshWithCopy(3);
    const QZInt64 hd = Data()->NewHD(0);
    EXPECT_EQ(Data()->NewPD(hd, 319, "hello", 5), 767);
    Image tail(881, 8);
    tail.HeadMark(719).Addresses(720, 0, 767, 880, 719).HeadMark(752);
    tail.DataMark(767).Addresses(768, 719, 767, 864, 319, 0);
    tail.Addresses(808, 824, 5).Text(824, "hello").Addresses(829, 5);
    tail.Addresses(848, 767, 0).DataMark(864).Addresses(872, 719).HeadMark(880);
    ExpectTail(m_fresh, tail, 880, 8);
}

TEST_F(DataTest, ListRecordWithItsFourHeads)
{
    FreshWithCopy(3);
    const QZInt64 hd = Data()->NewHD(0);
    EXPECT_EQ(Data()->NewLD(hd), 767);
    Image tail(1041, 8);
    tail.HeadMark(719).Addresses(720, 0, 767, 856, 719).HeadMark(752);
    tail.DataMark(767).Addresses(768, 719, 767, 840, 863, 911, 959, 1007, 767, 0);
    tail.DataMark(840).Addresses(848, 719).HeadMark(856);
    tail.HeadMark(863).Addresses(864, 767, 0, 896, 863).HeadMark(896);
    tail.HeadMark(911).Addresses(912, 767, 0, 944, 911).HeadMark(944);
    tail.HeadMark(959).Addresses(960, 767, 0, 992, 959).HeadMark(992);
    tail.HeadMark(1007).Addresses(1008, 767, 0, 1040, 1007).HeadMark(1040);
    ExpectTail(m_fresh, tail, 1040, 8);
}

TEST_F(DataTest, LogRecord)
{
    FreshWithCopy(3);
    const QZInt64 hd = Data()->NewHD(0);
    EXPECT_EQ(Data()->NewRD(hd, 11, 22, 33), 767);
    Image tail(849, 8);
    tail.HeadMark(719).Addresses(720, 0, 767, 848, 719).HeadMark(752);
    tail.DataMark(767).Addresses(768, 719, 767, 832, 11, 22, 33, 767, 0).DataMark(832).Addresses(840, 719);
    tail.HeadMark(848);
    ExpectTail(m_fresh, tail, 848, 8);
}

TEST_F(DataTest, HeadUnderAPlaceRecord)
{
    FreshWithCopy(3);
    const QZInt64 hd = Data()->NewHD(0);
    const QZInt64 pd = Data()->NewPD(hd, 0, "", 0);
    const QZInt64 child = Data()->NewHDForPD(pd);
    EXPECT_EQ(Read()->ReadPD(kSideThis, pd, QZDatabaseInfo::PD_HD_A), child);
    EXPECT_EQ(Read()->ReadHD(kSideThis, child, QZDatabaseInfo::HD_PREV), pd);
    ExpectConsistent(child, {});
}

TEST_F(DataTest, RecordsStartAt15Modulo16ForEveryContentLength)
{
    FreshWithCopy(2);
    const QZInt64 hd = Data()->NewHD(0);
    std::vector<QZInt64> records;
    const std::string content(70, 'c');
    for (QZInt64 size = 0; size < 70; ++size)
    {
        const QZInt64 cd = Data()->NewCD(hd, content.data(), size);
        records.push_back(cd);
        EXPECT_EQ(cd % 16, 15);
        EXPECT_EQ((Read()->ReadData(kSideThis, cd, QZDatabaseInfo::DATA_END) - cd) % 16, 9);
        EXPECT_EQ(Chars()->Length(cd + 13), size);
    }
    ExpectConsistent(hd, records);
}

TEST_F(DataTest, BytesAfterTheFileLengthAreIgnored)
{
    ASSERT_TRUE(Create(2));
    m_dir.Write("test.db", File() + std::string(300, '&'));
    ASSERT_TRUE(Open());
    const QZInt64 hd = Data()->NewHD(0);
    const QZInt64 ld = Data()->NewLD(hd);
    ExpectConsistent(hd, {ld});
    EXPECT_EQ(m_objects->Repair()->TypeOf(kSideThis, ld), QZDatabaseInfo::DATA_LD);
    EXPECT_EQ(Console()->GetErrorCount(), 0);
}

// ---------------------------------------------------------------------------------------------------------------------
// What is logged, and in which order: log records and data records share the file.

namespace
{

class DataLogTest : public DataTest
{
protected:
    /// One log record.
    struct Entry
    {
        QZInt64 Address;
        QZInt64 Position;
        QZInt64 Before;
        QZInt64 After;
        bool operator==(const Entry&) const = default;
        friend std::ostream& operator<<(std::ostream& out, const Entry& entry)
        {
            return out << entry.Address << ": " << entry.Position << ", " << entry.Before << " to "
                       << entry.After;
        }
    };

    /// A new file with rollback and a free HD from 1055 to 1088, whose creation is not logged.
    void SetUp() override
    {
        FreshWithCopy(3, 1);
        ASSERT_EQ(Data()->NewHD(0), 1055);
        ASSERT_TRUE(Log().empty());
    }

    std::vector<Entry> Log()
    {
        std::vector<Entry> entries;
        for (const QZInt64 rd : List(719))
        {
            entries.push_back({rd, Read()->ReadRD(kSideThis, rd, QZDatabaseInfo::RD_P),
                               Read()->ReadRD(kSideThis, rd, QZDatabaseInfo::RD_O),
                               Read()->ReadRD(kSideThis, rd, QZDatabaseInfo::RD_N)});
        }
        return entries;
    }

    using Entries = std::vector<Entry>;
};

}  // namespace

TEST_F(DataLogTest, PlaceRecordLogsLinkHeadAndEnd)
{
    ASSERT_EQ(Data()->NewPD(1055, 0, "", 0), 1103);
    const Entries expected = {{1231, 1064, 0, 1103}, {1327, 1208, 0, 1055}, {1423, 1072, 1088, 1216}};
    EXPECT_EQ(Log(), expected);
    EXPECT_EQ(Console()->GetLength(), 1504);
}

TEST_F(DataLogTest, PlaceRecordFileByteByByte)
{
    ASSERT_EQ(Data()->NewPD(1055, 79, "", 0), 1103);
    Image tail(1505, 8);
    tail.HeadMark(1055).Addresses(1056, 0, 1103, 1216, 1055).HeadMark(1088);
    tail.DataMark(1103).Addresses(1104, 1055, 1103, 1200, 79, 0, 1160, 0, 0);
    tail.Addresses(1184, 1103, 0).DataMark(1200).Addresses(1208, 1055).HeadMark(1216);
    tail.DataMark(1231).Addresses(1232, 719, 1231, 1296, 1064, 0, 1103, 1231, 1327).DataMark(1296);
    tail.Addresses(1304, 719).HeadMark(1312);
    tail.DataMark(1327).Addresses(1328, 1296, 1327, 1392, 1208, 0, 1055, 1327, 1423).DataMark(1392);
    tail.Addresses(1400, 719).HeadMark(1408);
    tail.DataMark(1423).Addresses(1424, 1392, 1423, 1488, 1072, 1088, 1216, 1423, 0).DataMark(1488);
    tail.Addresses(1496, 719).HeadMark(1504);
    // The base HD of the log has the three log records in its list.
    std::string fresh = m_fresh;
    Image base(753, 8);
    base.Text(0, fresh.substr(0, 753)).Addresses(728, 1231, 1504);
    fresh.replace(0, 753, base.Bytes());
    ExpectTail(fresh, tail, 1504, 8);
}

TEST_F(DataLogTest, ContentRecordLogsLinkAndEnd)
{
    // The END of an empty CD at 1103 is 1184; its closing frame is at 1200.
    ASSERT_EQ(Data()->NewCD(1055, "", 0), 1103);
    const Entries expected = {{1215, 1064, 0, 1103}, {1311, 1072, 1088, 1200}};
    EXPECT_EQ(Log(), expected);
}

TEST_F(DataLogTest, SecondRecordLogsTheLinkInTheFirst)
{
    ASSERT_EQ(Data()->NewAD(1055, 1), 1103);
    const Entries first = {{1183, 1064, 0, 1103}, {1279, 1072, 1088, 1168}};
    EXPECT_EQ(Log(), first);
    // The next AD follows the log records. The link to it is written at END - A of the first AD: 1152 - 8.
    ASSERT_EQ(Data()->NewAD(1055, 2), 1375);
    const Entries both = {first[0], first[1], {1455, 1144, 0, 1375}, {1551, 1072, 1168, 1440}};
    EXPECT_EQ(Log(), both);
}

TEST_F(DataLogTest, ListRecordIsLoggedBeforeItsHeads)
{
    ASSERT_EQ(Data()->NewLD(1055), 1103);
    const Entries expected = {{1199, 1064, 0, 1103}, {1295, 1072, 1088, 1192}};
    EXPECT_EQ(Log(), expected);
    EXPECT_EQ(Read()->ReadLD(kSideThis, 1103, QZDatabaseInfo::LD_LDS), 1391);
    EXPECT_EQ(Read()->ReadLD(kSideThis, 1103, QZDatabaseInfo::LD_TREE_A), 1439);
    EXPECT_EQ(Read()->ReadLD(kSideThis, 1103, QZDatabaseInfo::LD_TREE_R), 1487);
    EXPECT_EQ(Read()->ReadLD(kSideThis, 1103, QZDatabaseInfo::LD_TREE_S), 1535);
    EXPECT_EQ(Console()->GetLength(), 1568);
}

TEST_F(DataLogTest, LogRecordsAreNotLogged)
{
    ASSERT_EQ(Data()->NewRD(1055, 0, 1, 2), 1103);
    EXPECT_TRUE(Log().empty());
    ExpectConsistent(1055, {1103});
}

TEST_F(DataLogTest, HeadUnderAPlaceRecordLogsOneChange)
{
    ASSERT_EQ(Data()->NewPD(1055, 0, "", 0), 1103);
    ASSERT_EQ(Data()->NewHDForPD(1103), 1519);
    EXPECT_EQ(Log().size(), 4u);
    EXPECT_EQ(Log().back(), (Entry{1567, 1136, 0, 1519}));
}

TEST_F(DataLogTest, ReplacingContentLogsTheNewRecordAndThePointer)
{
    ASSERT_EQ(Data()->NewCD(1055, "", 0), 1103);
    ASSERT_EQ(Console()->GetLength(), 1392);
    EXPECT_EQ(Data()->PutTextCD(1103, "new", 3), 1);
    // An HD at 1407 owned by the slot at 1128, a CD at 1455 with its content at 1496, then the pointer.
    const Entries expected = {{1215, 1064, 0, 1103},
                              {1311, 1072, 1088, 1200},
                              {1567, 1416, 0, 1455},
                              {1663, 1424, 1440, 1552},
                              {1759, 1128, 1144, 1496}};
    EXPECT_EQ(Log(), expected);
    EXPECT_EQ(Read()->ReadHD(kSideThis, 1407, QZDatabaseInfo::HD_PREV), 1128);
}

// ---------------------------------------------------------------------------------------------------------------------
// Replacing content

TEST_F(DataTest, ReplacedContentIsReadThroughTheSlot)
{
    FreshWithCopy(3);
    const QZInt64 hd = Data()->NewHD(0);
    const QZInt64 cd = Data()->NewCD(hd, "0123456789", 10);
    const QZInt64 before = Console()->GetLength();
    EXPECT_EQ(Data()->PutTextCD(cd, "abc", 3), 1);
    const QZInt64 between = Console()->GetLength();
    EXPECT_GT(between, before);
    EXPECT_EQ(Chars()->Length(cd + 25), 3);
    char text[4] = {};
    Chars()->Read(cd + 25, text);
    EXPECT_STREQ(text, "abc");
    // A second replacement, by empty content.
    EXPECT_EQ(Data()->PutTextCD(cd, "", 0), 1);
    EXPECT_GT(Console()->GetLength(), between);
    EXPECT_EQ(Chars()->Length(cd + 25), 0);
    EXPECT_NE(File().find("0123456789"), std::string::npos) << "the old bytes must stay in the file";
    ExpectConsistent(hd, {cd});
}

TEST_F(DataTest, ReplacedContentOfAPlaceRecordIsOwnedByTheRecord)
{
    FreshWithCopy(2);
    const QZInt64 hd = Data()->NewHD(0);
    const QZInt64 pd = Data()->NewPD(hd, 0, "old", 3);
    const QZInt64 length = Console()->GetLength();
    EXPECT_EQ(Data()->PutTextPD(pd, "other", 5), 1);
    const QZInt64 replacement = (length + 17) / 16 * 16 - 1;
    EXPECT_EQ(Read()->ReadHD(kSideThis, replacement, QZDatabaseInfo::HD_PREV), pd);
    const QZInt64 cd = Read()->ReadHD(kSideThis, replacement, QZDatabaseInfo::HD_FIRSTDATA);
    EXPECT_EQ(Address()->Get(pd + 21), cd + 21);
    char text[6] = {};
    Chars()->Read(pd + 21, text);
    EXPECT_STREQ(text, "other");
}

// ---------------------------------------------------------------------------------------------------------------------
// Fields

TEST_F(DataTest, FieldsAreWrittenAtTheirPositions)
{
    FreshWithCopy(3);
    const QZInt64 hd = Data()->NewHD(0);
    const QZInt64 ld = Data()->NewLD(hd);
    ASSERT_EQ(ld, 767);
    using Info = QZDatabaseInfo;
    const QZInt64 places[][2] = {
        {Info::HD_THIS, 832},      {Info::DATA_NEXT, 832}, {Info::HD_END, 784},  {Info::DATA_END, 784},
        {Info::HD_PREV, 768},      {Info::DATA_PREV, 768}, {Info::LD_LDS, 792},  {Info::PD_LD_A, 792},
        {Info::AD_FREE, 792},      {Info::RD_P, 792},      {Info::PD_HD_A, 800}, {Info::RD_O, 800},
        {Info::HD_FIRSTDATA, 776}, {Info::DATA_THIS, 776}, {Info::RD_N, 808},    {Info::HD_FIRSTPD, 776},
    };
    for (const auto& place : places)
    {
        const QZInt64 before = Address()->Get(place[1]);
        EXPECT_EQ(Data()->PutField(ld, place[0], 0x55), 1);
        EXPECT_EQ(Address()->Get(place[1]), 0x55) << std::hex << place[0];
        Address()->PutRaw(place[1], before);
    }
}

TEST_F(DataTest, OtherSelectorsWriteNothing)
{
    FreshWithCopy(3);
    const QZInt64 hd = Data()->NewHD(0);
    const QZInt64 ld = Data()->NewLD(hd);
    const std::string before = File();
    using Info = QZDatabaseInfo;
    for (const QZInt64 selector :
         {Info::LD_TREE_A, Info::LD_TREE_R, Info::LD_TREE_S, Info::DATA_HDA, Info::PD_NEXT, Info::LD_NEXT,
          Info::AD_PREV, Info::CD_END, Info::PD_DATA, Info::CD_DATA, Info::HD_LASTDATA,
          Info::HD_LASTDATA_THIS, Info::PD_LN1, Info::UNKNOWN})
        EXPECT_EQ(Data()->PutField(ld, selector, 0x55), 0) << std::hex << selector;
    EXPECT_EQ(File(), before);
    EXPECT_EQ(Console()->GetErrorCount(), 0);
}

// ---------------------------------------------------------------------------------------------------------------------
// Framed bytes

TEST_F(DataTest, FramedBytes)
{
    FreshWithCopy(2);
    EXPECT_EQ(Chars()->Write(500, "hello", 5), 516);
    Image image(517, 4);
    image.Addresses(500, 508, 5).Text(508, "hello").Addresses(513, 5);
    EXPECT_EQ(File().substr(500), image.Bytes().substr(500));
    EXPECT_EQ(Chars()->Length(500), 5);
    char text[6] = {};
    EXPECT_EQ(Chars()->Read(500, text), 512);
    EXPECT_STREQ(text, "hello");
    EXPECT_EQ(Console()->GetContentWritten(), 5);
    EXPECT_EQ(Console()->GetContentRead(), 5);
}

TEST_F(DataTest, EraseClearsTheLeadingLengthAndKeepsTheTrailingOne)
{
    FreshWithCopy(2);
    const QZInt64 hd = Data()->NewHD(0);
    const QZInt64 cd = Data()->NewCD(hd, "hello", 5);
    const QZInt64 slot = cd + 13;
    EXPECT_EQ(Chars()->Erase(slot), 9);
    EXPECT_EQ(Chars()->Length(slot), 0);
    EXPECT_EQ(qztest::Hex(File().substr(static_cast<std::size_t>(slot) + 4, 13)),
              "00 00 00 00 00 00 00 00 00 05 00 00 00");
    EXPECT_EQ(Console()->GetContentWritten(), 5 + 9);
    // The second erase clears only the length field.
    EXPECT_EQ(Chars()->Erase(slot), 4);
}

TEST_F(DataTest, EraseWithADamagedLengthStopsAtTheEndOfTheFile)
{
    FreshWithCopy(3);
    const QZInt64 hd = Data()->NewHD(0);
    const QZInt64 cd = Data()->NewCD(hd, "hello", 5);
    Address()->PutRaw(cd + 33, 0x4000000000000000);
    const std::size_t size = File().size();
    EXPECT_EQ(Chars()->Erase(cd + 25), 0x4000000000000008);
    EXPECT_EQ(File().size(), size);
    EXPECT_EQ(File().substr(static_cast<std::size_t>(cd) + 33),
              std::string(size - static_cast<std::size_t>(cd) - 33, '\0'));
}
