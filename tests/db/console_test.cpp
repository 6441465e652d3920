#include "db/engine_fixture.h"

#include "codec/cod_encryption.h"
#include "fw/fw_data.h"
#include "os/os_file.h"
#include "os/os_file_buffer.h"

using qztest::EngineTest;
using qztest::Image;

namespace
{

class ConsoleTest : public EngineTest
{
protected:
    /// Writes a file that has only these header bytes.
    void Header(int version, int addressMode, int fileMode)
    {
        std::string bytes(32, '\0');
        bytes[0] = static_cast<char>(version);
        bytes[1] = static_cast<char>(addressMode);
        bytes[2] = static_cast<char>(fileMode);
        m_dir.Write("test.db", bytes);
    }

    /// Opens an empty file, to format it in versions that Create refuses.
    void OpenEmpty(QZInt64 mode)
    {
        m_dir.Write("test.db", "");
        m_objects = std::make_unique<OBJECTS>();
        m_objects->Initialise(mode);
        Console()->AddressInfo()->LargestAddress = 0xFFFFFFFF;
        QZString path(m_dir.Name("test.db").c_str());
        Console()->Attach(QZFileBuffer::Open(&path, 0x1400000, 0x200000));
    }
};

/// The new file of version 5 with 8-byte addresses, without rollback.
Image Fresh64()
{
    Image image(705, 8);
    image.Byte(0, 5).Byte(1, 3).Byte(2, 3).Addresses(16, 704);
    image.HeadMark(31).Addresses(32, 0, 319, 704, 31).HeadMark(64);
    image.HeadMark(79).Addresses(80, 319, 0, 112, 79).HeadMark(112);
    image.HeadMark(127).Addresses(128, 399, 0, 160, 127).HeadMark(160);
    image.HeadMark(175).Addresses(176, 479, 0, 208, 175).HeadMark(208);
    image.HeadMark(223).Addresses(224, 559, 0, 256, 223).HeadMark(256);
    image.HeadMark(271).Addresses(272, 639, 0, 304, 271).HeadMark(304);
    image.DataMark(319)
        .Addresses(320, 31, 319, 368, 79, 319, 399)
        .DataMark(368)
        .Addresses(376, 31)
        .HeadMark(384);
    image.DataMark(399)
        .Addresses(400, 368, 399, 448, 127, 399, 479)
        .DataMark(448)
        .Addresses(456, 31)
        .HeadMark(464);
    image.DataMark(479)
        .Addresses(480, 448, 479, 528, 175, 479, 559)
        .DataMark(528)
        .Addresses(536, 31)
        .HeadMark(544);
    image.DataMark(559)
        .Addresses(560, 528, 559, 608, 223, 559, 639)
        .DataMark(608)
        .Addresses(616, 31)
        .HeadMark(624);
    image.DataMark(639)
        .Addresses(640, 608, 639, 688, 271, 639, 0)
        .DataMark(688)
        .Addresses(696, 31)
        .HeadMark(704);
    return image;
}

/// The new file of version 5 with 4-byte addresses, without rollback.
Image Fresh32(int mode)
{
    Image image(449, 4);
    image.Byte(0, 5).Byte(1, mode).Byte(2, 2).Addresses(16, 448);
    image.HeadMark(31).Addresses(32, 0, 223, 448, 31).HeadMark(48);
    image.HeadMark(63).Addresses(64, 223, 0, 80, 63).HeadMark(80);
    image.HeadMark(95).Addresses(96, 271, 0, 112, 95).HeadMark(112);
    image.HeadMark(127).Addresses(128, 319, 0, 144, 127).HeadMark(144);
    image.HeadMark(159).Addresses(160, 367, 0, 176, 159).HeadMark(176);
    image.HeadMark(191).Addresses(192, 415, 0, 208, 191).HeadMark(208);
    image.DataMark(223)
        .Addresses(224, 31, 223, 248, 63, 223, 271)
        .DataMark(248)
        .Addresses(252, 31)
        .HeadMark(256);
    image.DataMark(271)
        .Addresses(272, 248, 271, 296, 95, 271, 319)
        .DataMark(296)
        .Addresses(300, 31)
        .HeadMark(304);
    image.DataMark(319)
        .Addresses(320, 296, 319, 344, 127, 319, 367)
        .DataMark(344)
        .Addresses(348, 31)
        .HeadMark(352);
    image.DataMark(367)
        .Addresses(368, 344, 367, 392, 159, 367, 415)
        .DataMark(392)
        .Addresses(396, 31)
        .HeadMark(400);
    image.DataMark(415)
        .Addresses(416, 392, 415, 440, 191, 415, 0)
        .DataMark(440)
        .Addresses(444, 31)
        .HeadMark(448);
    return image;
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Creating

TEST_F(ConsoleTest, NewFileWith8ByteAddresses)
{
    ASSERT_TRUE(Create(3));
    EXPECT_FILE(File(), Fresh64());
}

TEST_F(ConsoleTest, NewFileWith4ByteAddresses)
{
    ASSERT_TRUE(Create(2));
    EXPECT_FILE(File(), Fresh32(2));
}

TEST_F(ConsoleTest, Mode32IKeepsItsNumberInTheHeaderAndHasFileMode2)
{
    ASSERT_TRUE(Create(1));
    EXPECT_FILE(File(), Fresh32(1));
}

TEST_F(ConsoleTest, NewFileWithRollbackEndsAt1040)
{
    ASSERT_TRUE(Create(3, 1));
    Image image(1041, 8);
    image.Text(0, std::string_view(Fresh64().Bytes()));
    image.Addresses(16, 1040);
    // The root of the fifth tree holds three ADs: base, marks, write position.
    image.Addresses(272, 639, 767, 1040);
    image.HeadMark(719).Addresses(720, 767, 0, 752, 719).HeadMark(752);
    image.DataMark(767)
        .Addresses(768, 271, 767, 816, 719, 767, 895)
        .DataMark(816)
        .Addresses(824, 271)
        .HeadMark(832);
    image.HeadMark(847).Addresses(848, 895, 0, 880, 847).HeadMark(880);
    image.DataMark(895)
        .Addresses(896, 816, 895, 944, 847, 895, 975)
        .DataMark(944)
        .Addresses(952, 271)
        .HeadMark(960);
    image.DataMark(975)
        .Addresses(976, 944, 975, 1024, 719, 975, 0)
        .DataMark(1024)
        .Addresses(1032, 271)
        .HeadMark(1040);
    EXPECT_FILE(File(), image);
}

TEST_F(ConsoleTest, CreateOnAnExistingPathReturnsFalseAndKeepsTheFile)
{
    m_dir.Write("test.db", "something else");
    EXPECT_FALSE(Create(3));
    EXPECT_EQ(File(), "something else");
}

TEST_F(ConsoleTest, CreateRefusesOtherVersionsWithoutAFile)
{
    for (const QZInt64 version : {0, 1, 4, 6, 9})
    {
        EXPECT_FALSE(Create(3, 1, version)) << version;
        EXPECT_FALSE(Create(2, 0, version)) << version;
    }
    EXPECT_FALSE(m_dir.Exists("test.db"));
}

TEST_F(ConsoleTest, CreateRefusesOtherAddressModesWithoutAFile)
{
    for (const QZInt64 mode : {-1, 0, 4, 7}) EXPECT_FALSE(Create(mode)) << mode;
    EXPECT_FALSE(m_dir.Exists("test.db"));
}

TEST_F(ConsoleTest, CreateRestoresFileAndAddressInfo)
{
    Fresh(2);
    QZFileBuffer* const buffer = Console()->Buffer();
    QZAddressInfo* const info = Console()->AddressInfo();
    QZString path(m_dir.Name("second.db").c_str());
    EXPECT_TRUE(Console()->CreateFile(5, 2, &path, 0));
    EXPECT_EQ(Console()->Buffer(), buffer);
    EXPECT_EQ(Console()->AddressInfo(), info);
    EXPECT_FILE(m_dir.Read("second.db"), Fresh32(2));
    EXPECT_FILE(File(), Fresh32(2));
}

TEST_F(ConsoleTest, CreateInAMissingFolderThrowsAndKeepsTheConsoleState)
{
    OBJECTS objects;
    objects.Initialise(3);
    QZAddressInfo* const info = objects.Console()->AddressInfo();
    QZString path(m_dir.Name("missing/test.db").c_str());
    const qztest::Thrown thrown = QZ_TEST_CATCH(objects.Console()->CreateFile(5, 3, &path, 0));
    EXPECT_TRUE(thrown.thrown);
    EXPECT_EQ(objects.Console()->AddressInfo(), info);
    EXPECT_EQ(objects.Console()->Buffer(), nullptr);
}

TEST_F(ConsoleTest, UnknownModeRecordsAnErrorAndInitialises)
{
    OBJECTS objects;
    EXPECT_TRUE(objects.Initialise(7));
    EXPECT_EQ(objects.Console()->GetErrorCount(), 1);
    EXPECT_EQ(objects.Console()->GetLastError(), QZDatabaseInfo::BAD_PARAMETER);
}

// ---------------------------------------------------------------------------------------------------------------------
// Writers of other versions

TEST_F(ConsoleTest, Version9HasTheLayoutOfVersion5)
{
    OpenEmpty(2);
    Console()->Format(9, 2);
    Image image = Fresh32(2);
    image.Byte(0, 9);
    EXPECT_FILE(File(), image);
}

TEST_F(ConsoleTest, Version1IsBigEndianWith20InTheThirdTree)
{
    OpenEmpty(1);
    Console()->Format(1, 1);
    Image image(97, 4);
    image.Byte(0, 1).Byte(1, 1).Byte(2, 1);
    image.Byte(8, 96).Byte(12, 25).Byte(16, 43).Byte(20, 61).Byte(24, 79);
    image.HeadMark(25).Byte(29, 9).Byte(37, 42).Byte(41, 25).HeadMark(42);
    image.HeadMark(43).Byte(47, 13).Byte(55, 60).Byte(59, 43).HeadMark(60);
    image.HeadMark(61).Byte(65, 20).Byte(73, 78).Byte(77, 61).HeadMark(78);
    image.HeadMark(79).Byte(83, 21).Byte(91, 96).Byte(95, 79).HeadMark(96);
    EXPECT_FILE(File(), image);
}

TEST_F(ConsoleTest, Version4HasFourRootsUnderAMainHeadAt9)
{
    OpenEmpty(2);
    Console()->Format(4, 2);
    const std::string file = File();
    Image image(235, 4);
    image.Byte(0, 4).Byte(1, 2).Byte(2, 1).Addresses(5, 234);
    image.HeadMark(9).Addresses(10, 0, 99, 234, 9).HeadMark(26);
    image.HeadMark(27).Addresses(28, 99, 0, 44, 27).HeadMark(44);
    image.HeadMark(45).Addresses(46, 133, 0, 62, 45).HeadMark(62);
    image.HeadMark(63).Addresses(64, 167, 0, 80, 63).HeadMark(80);
    image.HeadMark(81).Addresses(82, 201, 0, 98, 81).HeadMark(98);
    image.DataMark(99).Addresses(100, 9, 99, 124, 27, 99, 133).DataMark(124).Addresses(128, 9).HeadMark(132);
    image.DataMark(133)
        .Addresses(134, 124, 133, 158, 45, 133, 167)
        .DataMark(158)
        .Addresses(162, 9)
        .HeadMark(166);
    image.DataMark(167)
        .Addresses(168, 158, 167, 192, 63, 167, 201)
        .DataMark(192)
        .Addresses(196, 9)
        .HeadMark(200);
    image.DataMark(201)
        .Addresses(202, 192, 201, 226, 81, 201, 0)
        .DataMark(226)
        .Addresses(230, 9)
        .HeadMark(234);
    EXPECT_FILE(file, image);
    // TreeRoot reads the roots from the records, as in later versions.
    EXPECT_EQ(Read()->TreeRoot(9, 3), 63);
}

// ---------------------------------------------------------------------------------------------------------------------
// Opening and verifying

TEST_F(ConsoleTest, OpenReadsVersionAndModeFromTheFile)
{
    Fresh(1);
    EXPECT_EQ(Console()->GetSysInfo(QZDatabaseInfo::SYSINFO_DATABASEVERSION), 5);
    EXPECT_EQ(Console()->GetSysInfo(QZDatabaseInfo::SYSINFO_ADDRMODE), 1);
    EXPECT_EQ(Console()->AddressInfo()->AddressLength, 4);
    EXPECT_EQ(Console()->AddressInfo()->LargestAddress, 0xFFFFFFFF);
    EXPECT_EQ(Address()->Length(), 4);
}

TEST_F(ConsoleTest, FileModeOfAnOpenFileIsItsAddressMode)
{
    ASSERT_TRUE(Create(1));
    std::string bytes = File();
    bytes[2] = 3;
    m_dir.Write("test.db", bytes);
    ASSERT_TRUE(Open());
    EXPECT_EQ(Console()->GetSysInfo(QZDatabaseInfo::SYSINFO_FILEMODE), 1);
    EXPECT_EQ(Console()->GetErrorCount(), 0);
}

TEST_F(ConsoleTest, UnknownSystemInformationIsZero)
{
    Fresh(3, 1);
    EXPECT_EQ(Console()->GetSysInfo(QZDatabaseInfo::SYSINFO_ROLLBACK), 0);
    EXPECT_EQ(Console()->GetSysInfo(0), 0);
    EXPECT_EQ(Console()->GetSysInfo(QZDatabaseInfo::SYSINFO_WRITEPROTECT), 0);
    EXPECT_EQ(Console()->GetSysInfo(QZDatabaseInfo::SYSINFO_CURRENT_BUFSIZE), 0x200000);
    Console()->CloseFile();
    EXPECT_EQ(Console()->GetSysInfo(QZDatabaseInfo::SYSINFO_CURRENT_BUFSIZE), 0);
}

TEST_F(ConsoleTest, UnknownVersionByteIsRefused)
{
    for (const int version : {0, 2, 3, 6, 255})
    {
        Header(version, 3, 3);
        EXPECT_FALSE(Open()) << version;
        EXPECT_EQ(Console()->GetLastError(), QZDatabaseInfo::BAD_STRUCT);
        EXPECT_EQ(Console()->GetErrorCount(), 1);
        Close();
    }
}

TEST_F(ConsoleTest, UnknownAddressModeByteIsRefused)
{
    for (const int mode : {0, 4, 7})
    {
        Header(5, mode, 3);
        EXPECT_FALSE(Open()) << mode;
        EXPECT_EQ(Console()->GetLastError(), QZDatabaseInfo::BAD_STRUCT);
        Close();
    }
}

TEST_F(ConsoleTest, OpenOfAMissingFileThrows) { EXPECT_TRUE(QZ_TEST_CATCH(Open("missing.db")).thrown); }

TEST_F(ConsoleTest, BadFileModeByteRecordsOneErrorAndTurnsRollbackOff)
{
    ASSERT_TRUE(Create(3, 1));
    std::string bytes = File();
    bytes[2] = 9;
    // The main HD is damaged as well, but it is not checked after the first error.
    bytes[31] = 0;
    m_dir.Write("test.db", bytes);
    ASSERT_TRUE(Open());
    EXPECT_EQ(Console()->GetErrorCount(), 1);
    EXPECT_EQ(Console()->GetLastError(), QZDatabaseInfo::BAD_STRUCT);
    EXPECT_FALSE(m_objects->Rollback()->IsOn());
}

TEST_F(ConsoleTest, DamagedMainHeadRecordsOneErrorAndOpens)
{
    ASSERT_TRUE(Create(3, 1));
    std::string bytes = File();
    bytes[31] = 0;
    m_dir.Write("test.db", bytes);
    ASSERT_TRUE(Open());
    EXPECT_EQ(Console()->GetErrorCount(), 1);
    EXPECT_EQ(Console()->GetLastError(), QZDatabaseInfo::BAD_STRUCT);
    EXPECT_FALSE(m_objects->Rollback()->IsOn());
}

TEST_F(ConsoleTest, Version1And4FilesOpenWithARecordedError)
{
    Header(1, 2, 2);
    EXPECT_TRUE(Open());
    EXPECT_EQ(Console()->GetLastError(), QZDatabaseInfo::BAD_STRUCT);
    Close();
    Header(1, 3, 2);
    EXPECT_TRUE(Open());
    EXPECT_EQ(Console()->GetErrorCount(), 1);
    Close();
    Header(4, 3, 1);
    EXPECT_TRUE(Open());
    EXPECT_EQ(Console()->GetErrorCount(), 1);
}

TEST_F(ConsoleTest, VerifyTurnsRollbackOnWhenTheFileHasIt)
{
    Fresh(3, 1);
    EXPECT_TRUE(m_objects->Rollback()->IsOn());
    Close();
    std::filesystem::remove(m_dir.Path("test.db"));
    Fresh(3, 0);
    EXPECT_FALSE(m_objects->Rollback()->IsOn());
}

// ---------------------------------------------------------------------------------------------------------------------
// Length, write guard

TEST_F(ConsoleTest, SetLengthWritesAtOffset16)
{
    Fresh(2);
    Console()->SetLength(0x01020304);
    EXPECT_EQ(Console()->GetLength(), 0x01020304);
    EXPECT_EQ(qztest::Hex(File().substr(16, 4)), "04 03 02 01");
}

TEST_F(ConsoleTest, LengthAtTheLargestAddressTurnsWriteProtectionOn)
{
    Fresh(2);
    Console()->SetLength(0xFFFFFFFF);
    EXPECT_EQ(Console()->GetLength(), 448);
    EXPECT_EQ(Console()->GetWriteProtect(), 1);
    EXPECT_EQ(Console()->GetErrorCount(), 1);
    EXPECT_EQ(Console()->GetLastError(), QZDatabaseInfo::WRITE_ERROR_WRITEPROTECT);
    Console()->SetLength(500);
    EXPECT_EQ(Console()->GetLength(), 448);
    EXPECT_EQ(Console()->GetErrorCount(), 2);
}

TEST_F(ConsoleTest, FirstWriteAboveTheLargestAddressRecordsNoError)
{
    Fresh(2);
    EXPECT_EQ(Binary()->PutBytes(0xFFFFFFFC, 4, "abcd"), 0);
    EXPECT_EQ(Console()->GetWriteProtect(), 1);
    EXPECT_EQ(Console()->GetErrorCount(), 0);
    EXPECT_EQ(Binary()->PutByte(100, 1), 0);
    EXPECT_EQ(Console()->GetErrorCount(), 1);
    EXPECT_EQ(Console()->GetLastError(), QZDatabaseInfo::WRITE_ERROR_WRITEPROTECT);
    EXPECT_EQ(Binary()->GetByte(100), Fresh32(2).Bytes()[100]);
}

TEST_F(ConsoleTest, CheckWriteAllowsTheLargestAddress)
{
    Fresh(2);
    EXPECT_TRUE(Binary()->CheckWrite(0, 0xFFFFFFFF));
    EXPECT_EQ(Console()->GetWriteProtect(), 0);
    EXPECT_FALSE(Binary()->CheckWrite(0, 0x100000000));
    EXPECT_EQ(Console()->GetWriteProtect(), 1);
}

TEST_F(ConsoleTest, WriteAtTheLargestPositionOf64BitsIsRefused)
{
    Fresh(3);
    EXPECT_EQ(Binary()->PutBytes(0x7FFFFFFFFFFFFFFF, 1, "a"), 0);
    EXPECT_EQ(Console()->GetWriteProtect(), 1);
}

TEST_F(ConsoleTest, ReadPastTheEndOfTheFileIsZero)
{
    Fresh(3);
    EXPECT_EQ(Binary()->GetByte(100000), 0);
    EXPECT_EQ(Address()->Get(0x7FFFFFFFFFFFFFFF), 0);
}

TEST_F(ConsoleTest, ErrorsAreCountedAndTheLastOneIsKept)
{
    Fresh(3);
    Console()->RecordError(17);
    Console()->RecordError(18);
    EXPECT_EQ(Console()->GetErrorCount(), 2);
    EXPECT_EQ(Console()->GetLastError(), 18);
}

// ---------------------------------------------------------------------------------------------------------------------
// The transformations

TEST_F(ConsoleTest, TransformationsAreOffByDefault)
{
    Fresh(3);
    EXPECT_EQ(Console()->ByteTransformation()->Flag, 0);
    EXPECT_EQ(Console()->AddressTransformation()->Flag, 0);
    EXPECT_EQ(Console()->ContentTransformation()->Flag, 0);
    EXPECT_EQ(Console()->ByteTransformation()->WriteKey->GetSize(), 1024);
    EXPECT_EQ(Console()->ContentTransformation()->ReadKey->GetSize(), 1024);
}

namespace
{
// With the key 1 each byte is stored incremented by one.
void TurnOn(QZDbTransformation* transformation)
{
    QZEncryption::CreateEncryptionMapByChar(transformation->WriteKey->GetPointer(), "\x01", 1);
    QZEncryption::CreateDecryptionMapByChar(transformation->ReadKey->GetPointer(), "\x01", 1);
    transformation->Flag = 1;
}
}  // namespace

TEST_F(ConsoleTest, ByteTransformationAppliesToEveryByte)
{
    Fresh(3);
    TurnOn(Console()->ByteTransformation());
    const std::string text(300, 'x');
    ASSERT_EQ(Binary()->PutBytes(720, 300, text.data()), 1);
    EXPECT_EQ(text, std::string(300, 'x')) << "the caller's bytes must not change";
    ASSERT_EQ(Address()->PutRaw(1100, 0x0102), 1);
    EXPECT_EQ(File().substr(720, 300), std::string(300, 'y'));
    EXPECT_EQ(qztest::Hex(File().substr(1100, 8)), "03 02 01 01 01 01 01 01");
    std::string back(300, '\0');
    EXPECT_EQ(Binary()->GetBytes(720, 300, back.data()), 300);
    EXPECT_EQ(back, text);
    EXPECT_EQ(Address()->Get(1100), 0x0102);
}

TEST_F(ConsoleTest, AddressTransformationAppliesToAddressesOnly)
{
    Fresh(2);
    TurnOn(Console()->AddressTransformation());
    ASSERT_EQ(Address()->PutRaw(500, 0x0102), 1);
    ASSERT_EQ(Binary()->PutByte(510, 7), 1);
    EXPECT_EQ(qztest::Hex(File().substr(500, 4)), "03 02 01 01");
    EXPECT_EQ(File()[510], 7);
    EXPECT_EQ(Address()->Get(500), 0x0102);
}

TEST_F(ConsoleTest, ContentTransformationAppliesToContentOnly)
{
    Fresh(2);
    TurnOn(Console()->ContentTransformation());
    const std::string text = std::string(299, 'a') + "b";
    EXPECT_EQ(Chars()->Write(500, text.data(), 300), 500 + 12 + 300 - 1);
    EXPECT_EQ(text[0], 'a');
    EXPECT_EQ(qztest::Hex(File().substr(500, 8)), "FC 01 00 00 2C 01 00 00");
    EXPECT_EQ(File().substr(508, 300), std::string(299, 'b') + "c");
    std::string back(300, '\0');
    EXPECT_EQ(Chars()->Read(500, back.data()), 508 + 300 - 1);
    EXPECT_EQ(back, text);
}
