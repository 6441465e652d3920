// The device's memory, block by block.

#include "device_setup.h"

namespace
{

using Kind = Fault::Kind;

std::string Pattern(int size)
{
    std::string bytes;
    for (int i = 0; i < size; ++i) bytes.push_back(static_cast<char>(i * 7 + i / 256));
    return bytes;
}

std::string DataLog(const std::string& bytes)
{
    std::string log;
    for (const char& byte : bytes) log += qztest::Hex(&byte, 1) + ">00 ";
    return log;
}

std::string ReadOutLog(const std::string& bytes)
{
    std::string log;
    for (const char& byte : bytes) log += "26>" + qztest::Hex(&byte, 1) + " ";
    return log;
}

int CountOf(const std::string& log, const std::string& word)
{
    int count = 0;
    for (std::size_t at = log.find(word); at != std::string::npos; at = log.find(word, at + 1)) ++count;
    return count;
}

}  // namespace

TEST(SerialMemory, WritingOnTheLine)
{
    DeviceSetup setup;
    setup.controller.blockSize = 3;
    setup.Connect();
    EXPECT_EQ(setup.device.WriteMemory(0x1234, "abcde", 5, 1), 5);
    EXPECT_EQ(setup.Log(),
              "29>00 " + ReturnBytes("03") + "5F>C9 " +  // the block size
                  "51>00 " + Nibbles("34 12 00 00 03 00 00 00") + "21>00 24>00 61>00 62>00 63>00 27>00 " +
                  "28>00 " + ReturnBytes("E2") + "5F>3A 22>00 " +  //
                  "51>00 " + Nibbles("37 12 00 00 02 00 00 00") + "21>00 24>00 64>00 65>00 27>00 " +
                  "28>00 " + ReturnBytes("19") + "5F>FD 22>00");
    EXPECT_EQ(setup.controller.memory.substr(0x1234, 6), "abcde\xFF");
}

TEST(SerialMemory, ReadingOnTheLine)
{
    DeviceSetup setup;
    setup.controller.blockSize = 3;
    setup.controller.memory.replace(0x1234, 5, "abcde");
    setup.Connect();
    char bytes[6] = {};
    EXPECT_EQ(setup.device.ReadMemory(0x1234, bytes, 5, 1), 5);
    EXPECT_EQ(setup.Log(),
              "29>00 " + ReturnBytes("03") + "5F>C9 " + "51>00 " + Nibbles("34 12 00 00 03 00 00 00") +
                  "21>00 23>00 25>00 26>61 26>62 26>63 27>00 " + "28>00 " + ReturnBytes("E2") + "5F>3A " +  //
                  "51>00 " + Nibbles("37 12 00 00 02 00 00 00") + "21>00 23>00 25>00 26>64 26>65 27>00 " +
                  "28>00 " + ReturnBytes("19") + "5F>FD");
    EXPECT_STREQ(bytes, "abcde");
}

TEST(SerialMemory, WithoutVerifyingTheChecksumIsNotAskedFor)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.Checksum(0);
    char bytes[2] = {};
    setup.device.WriteMemory(0, "xy", 2, 0);
    setup.device.ReadMemory(0, bytes, 2, 0);
    EXPECT_EQ(std::string(bytes, 2), "xy");
    EXPECT_EQ(CountOf(setup.Log(), "28>"), 0);
    EXPECT_EQ(CountOf(setup.Log(), "5F>"), 0);
    EXPECT_EQ(CountOf(setup.Log(), "22>00"), 1);
}

TEST(SerialMemory, OneHundredBytesInBlocksOfSixtyFourAreTwoRounds)
{
    DeviceSetup setup;
    setup.controller.blockSize = 64;
    const std::string text = Pattern(100);
    setup.controller.memory.replace(500, 100, text);
    setup.Connect();
    std::string bytes(100, '?');
    EXPECT_EQ(setup.device.ReadMemory(500, bytes.data(), 100, 1), 100);
    EXPECT_EQ(qztest::Hex(bytes), qztest::Hex(text));
    const std::string log = setup.Log();
    EXPECT_NE(log.find(Nibbles("F4 01 00 00 40 00 00 00") + "21>00 23>00 25>00 " +
                       ReadOutLog(text.substr(0, 64)) + "27>00 "),
              std::string::npos);
    EXPECT_NE(log.find(Nibbles("34 02 00 00 24 00 00 00") + "21>00 23>00 25>00 " +
                       ReadOutLog(text.substr(64)) + "27>00 "),
              std::string::npos);
    EXPECT_EQ(CountOf(log, "21>00"), 2);
}

TEST(SerialMemory, EveryByteValueGoesBothWays)
{
    DeviceSetup setup;
    setup.Connect();
    std::string all;
    for (int i = 0; i < 256; ++i) all.push_back(static_cast<char>(i));
    EXPECT_EQ(setup.device.WriteMemory(1000, all.data(), 256, 1), 256);
    std::string back(256, '?');
    EXPECT_EQ(setup.device.ReadMemory(1000, back.data(), 256, 1), 256);
    EXPECT_EQ(qztest::Hex(back), qztest::Hex(all));
}

TEST(SerialMemory, NothingToWriteAsksForTheBlockSizeAlone)
{
    DeviceSetup setup;
    setup.Connect();
    EXPECT_EQ(setup.device.WriteMemory(0, nullptr, 0, 1), 0);
    const std::string asked = "29>00 " + ReturnBytes("80") + "5F>FE";
    EXPECT_EQ(setup.Log(), asked);
    EXPECT_EQ(setup.device.ReadMemory(0, nullptr, 0, 1), 0);
    EXPECT_EQ(setup.Log(), asked + " " + asked);
    EXPECT_EQ(setup.device.WriteMemory(0, nullptr, -5, 1), -5);
}

TEST(SerialMemory, BlocksAboveTwoHundredFiftyFiveAreCheckedByTheLowByteOfTheirLength)
{
    DeviceSetup setup;
    setup.controller.blockSize = 300;
    setup.Connect();
    const std::string text = Pattern(300);
    EXPECT_EQ(setup.device.WriteMemory(0, text.data(), 300, 1), 300);
    EXPECT_EQ(setup.controller.memory.substr(0, 300), text);
    // A wrong byte past the 44 that are covered is not seen.
    std::string back(300, '?');
    setup.Inject(0x26, Kind::Flip, 0xFF, 45);
    EXPECT_EQ(setup.device.ReadMemory(0, back.data(), 300, 1), 300);
    EXPECT_NE(back[44], text[44]);
    setup.Inject(0x26, Kind::Flip, 0xFF, 44);
    EXPECT_QZ_THROW(setup.device.ReadMemory(0, back.data(), 300, 1), kVerifyFailed);
}

TEST(SerialMemory, ABlockChecksumThatDiffersIsAFailureAndNothingIsCommitted)
{
    DeviceSetup setup;
    setup.Connect();
    setup.Inject(Controller::kDataByte, Kind::Flip, 0, 1);
    setup.Inject(0x40, Kind::Flip, 1, 2);  // 1: the block size, 2: the block's checksum
    setup.device.Checksum(0);
    const qztest::Thrown thrown = QZ_TEST_CATCH(setup.device.WriteMemory(0, "abc", 3, 1));
    EXPECT_EQ(thrown.code, kVerifyFailed);
    EXPECT_EQ(thrown.type, kSerialType);
    EXPECT_EQ(setup.controller.memory.substr(0, 3), "\xFF\xFF\xFF");
    char bytes[3];
    setup.Inject(0x40, Kind::Flip, 1, 2);
    EXPECT_QZ_THROW(setup.device.ReadMemory(0, bytes, 3, 1), kVerifyFailed);
}

TEST(SerialMemory, TheAnswerToTheChecksumCommandIsNotLookedAt)
{
    DeviceSetup setup;
    setup.Connect();
    setup.Inject(0x28, Kind::Flip, 0xF4);
    EXPECT_EQ(setup.device.WriteMemory(0, "abc", 3, 1), 3);
}

TEST(SerialMemory, ARefusedDataByteSurfacesWhenAllBlocksAreThrough)
{
    DeviceSetup setup;
    setup.controller.blockSize = 2;
    setup.Connect();
    setup.Inject(Controller::kDataByte, Kind::Status, 0xF4, 1);
    setup.Inject(Controller::kDataByte, Kind::Status, 0xF3, 2);
    const qztest::Thrown thrown = QZ_TEST_CATCH(setup.device.WriteMemory(0, "abcd", 4, 0));
    EXPECT_EQ(thrown.code, 244);
    EXPECT_EQ(thrown.message, "FailedFromOperationEEPROM");
    EXPECT_EQ(setup.Log().substr(setup.Log().size() - 29), "24>00 63>F3 64>00 27>00 22>00");
}

TEST(SerialMemory, AFailureOnTheWayGoesOutAtOnce)
{
    DeviceSetup setup;
    setup.controller.blockSize = 2;
    setup.Connect();
    setup.Inject(Controller::kDataByte, Kind::Status, 0xF4);
    setup.Inject(0x22, Kind::Status, 0xF3);
    const qztest::Thrown thrown = QZ_TEST_CATCH(setup.device.WriteMemory(0, "abcd", 4, 0));
    EXPECT_EQ(thrown.code, 243);
    EXPECT_EQ(CountOf(setup.Log(), "24>00 "), 1);
}

TEST(SerialMemory, PlacesOutsideTheMemoryAreTheDevicesRefusal)
{
    DeviceSetup setup;
    setup.Connect();
    char bytes[4];
    EXPECT_QZ_THROW(setup.device.ReadMemory(65534, bytes, 4, 1), 241);
    EXPECT_QZ_THROW(setup.device.WriteMemory(-1, "abcd", 4, 1), 241);
    // Only the low four bytes of an address travel.
    EXPECT_EQ(setup.device.WriteMemory((QZInt64{1} << 32) + 8, "abcd", 4, 1), 4);
    EXPECT_EQ(setup.controller.memory.substr(8, 4), "abcd");
}

TEST(SerialMemory, TheHighestAddressGoesOnAtTheLowest)
{
    DeviceSetup setup;
    setup.controller.blockSize = 2;
    setup.Connect();
    // A device that takes every place, and the data as harmless commands.
    for (const int command : {0x21, 0x24, 0x27, 0x22}) setup.Inject(command, Kind::Status, 0, 1, true);
    EXPECT_EQ(setup.device.WriteMemory(INT64_MAX, "RRRR", 4, 0), 4);
    const std::string log = setup.Log();
    EXPECT_NE(log.find(Nibbles("FF FF FF FF 02 00 00 00") + "21>00 24>00 52>00 52>00 27>00 22>00"),
              std::string::npos);
    EXPECT_NE(log.find(Nibbles("01 00 00 00 02 00 00 00") + "21>00 24>00 52>00 52>00 27>00 22>00"),
              std::string::npos);
}

TEST(SerialMemory, ABlockSizeOfZeroGoesOnUntilTheLineFails)
{
    for (const bool write : {true, false})
    {
        DeviceSetup setup;
        setup.controller.blockSize = 0;
        setup.Connect();
        setup.Inject(0x27, Kind::Mute, 0, 9);
        setup.device.SetTimeout(300);
        char bytes[4] = {};
        if (write)
            EXPECT_QZ_THROW(setup.device.WriteMemory(100, bytes, 4, 0), kLineTimeout);
        else
            EXPECT_QZ_THROW(setup.device.ReadMemory(100, bytes, 4, 0), kLineTimeout);
        // Always the same place, and nothing of it.
        EXPECT_EQ(CountOf(setup.Log(), Nibbles("64 00 00 00 00 00 00 00") + "21>00 "), 9);
    }
}

TEST(SerialMemory, ANegativeBlockSizeTouchesNothingOfTheCaller)
{
    DeviceSetup setup;
    setup.controller.blockSize = -4;
    setup.Connect();
    EXPECT_QZ_THROW(setup.device.WriteMemory(100, "abcd", 4, 1), 241);
    // A device that takes it all the same: 252 bytes would be checked, of which the caller has four.
    for (const int command : {0x21, 0x24, 0x27, 0x22}) setup.Inject(command, Kind::Status, 0, 1, true);
    setup.device.Checksum(0);
    EXPECT_QZ_THROW(setup.device.WriteMemory(100, "abcd", 4, 1), kVerifyFailed);
    EXPECT_EQ(CountOf(setup.Log(), "24>00"), 1);
}

TEST(SerialMemory, InGroupsBlocksGoInChunksOfThirtyTwo)
{
    DeviceSetup setup;
    setup.controller.blockSize = 70;
    setup.Connect();
    setup.device.SetBulk();
    const std::string text = Pattern(100);
    EXPECT_EQ(setup.device.WriteMemory(0, text.data(), 100, 1), 100);
    EXPECT_EQ(setup.controller.memory.substr(0, 100), text);
    std::string back(100, '?');
    EXPECT_EQ(setup.device.ReadMemory(0, back.data(), 100, 1), 100);
    EXPECT_EQ(qztest::Hex(back), qztest::Hex(text));
    // A refusal anywhere in a chunk is kept.
    setup.Inject(Controller::kDataByte, Kind::Status, 0xF4, 40);
    setup.device.Checksum(0);
    EXPECT_QZ_THROW(setup.device.WriteMemory(0, text.data(), 100, 0), 244);
}

TEST(SerialMemory, InGroupsSmallBlocksGoByteByByte)
{
    DeviceSetup setup;
    setup.controller.blockSize = 32;
    setup.Connect();
    setup.device.SetBulk();
    const std::string text = Pattern(40);
    EXPECT_EQ(setup.device.WriteMemory(0, text.data(), 40, 1), 40);
    EXPECT_EQ(setup.controller.memory.substr(0, 40), text);
    EXPECT_NE(setup.Log().find(DataLog(text.substr(0, 32)) + "27>00"), std::string::npos);
}
