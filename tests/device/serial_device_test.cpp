// The protocol of the instrument controller, byte for byte on the line, and everything that can go wrong on
// it.

#include <thread>

#include "device_setup.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_string_factory.h"
#include "os/os_thread.h"

namespace
{

using Kind = Fault::Kind;

}  // namespace

// ---- Connection

TEST(SerialDevice, AFreshObjectIsClosedAndEmpty)
{
    QZSerialDevice device;
    EXPECT_QZ_TEXT(device.GetSN(), "");
    EXPECT_QZ_TEXT(device.GetModel(), "");
    EXPECT_QZ_TEXT(device.GetVersion(), "");
    EXPECT_QZ_TEXT(device.GetPath(), "");
    EXPECT_EQ(device.GetTimeout(), 2000);
    EXPECT_EQ(device.GetType(), 0x8100000);
    EXPECT_EQ(sizeof(QZSerialDeviceBuffer), 32u);
    device.Close();
    EXPECT_QZ_THROW(device.Sync(), kPortClosed);
    EXPECT_QZ_THROW(device.GetValue(0), kPortClosed);
    EXPECT_QZ_THROW(device.IsDeviceInit(), kPortClosed);
}

TEST(SerialDevice, ConnectAsksForSerialNumberVersionAndModel)
{
    DeviceSetup setup;
    QZString path(setup.peer.Path().c_str());
    setup.device.Connect(&path, 115200);
    EXPECT_EQ(setup.Log(), "02>00 " + ReturnBytes("53 4E 30 30 30 30 30 31") + "5F>CB " +  // SN000001
                               "03>00 " + ReturnBytes("32 2E 34 31") + "5F>62 " +          // 2.41
                               "01>00 " + ReturnBytes("41 42 31 32 43 44") + "5F>46");     // AB12CD
    EXPECT_QZ_TEXT(setup.device.GetSN(), "SN000001");
    EXPECT_QZ_TEXT(setup.device.GetVersion(), "2.41");
    EXPECT_QZ_TEXT(setup.device.GetModel(), "AB12CD");
    EXPECT_QZ_TEXT(setup.device.GetPath(), "\\\\.\\" + setup.peer.Path());
    EXPECT_EQ(setup.peer.Speed(), 115200);

    setup.device.Close();
    EXPECT_QZ_TEXT(setup.device.GetSN(), "");
    EXPECT_QZ_TEXT(setup.device.GetVersion(), "");
    EXPECT_QZ_TEXT(setup.device.GetModel(), "");
    EXPECT_QZ_THROW(setup.device.Sync(), kPortClosed);

    setup.device.Reconnect();
    EXPECT_QZ_TEXT(setup.device.GetModel(), "AB12CD");
}

TEST(SerialDevice, TextsHaveAtMostSixteenBytes)
{
    DeviceSetup setup;
    setup.controller.model = "0123456789ABCDEFGHIJ";
    setup.Connect();
    EXPECT_QZ_TEXT(setup.device.GetModel(), "0123456789ABCDEF");
}

TEST(SerialDevice, ADeviceThatRefusesItsNumberLeavesThePortOpen)
{
    DeviceSetup setup;
    setup.Inject(0x02, Kind::Status, 0xE0);
    EXPECT_STATUS(setup.Connect(), 224, "Init Failed");
    EXPECT_QZ_TEXT(setup.device.GetSN(), "");
    setup.device.Sync();
}

TEST(SerialDevice, AWrongSpeedIsRefusedBeforeAnythingIsSaid)
{
    DeviceSetup setup;
    QZString path(setup.peer.Path().c_str());
    EXPECT_QZ_THROW(setup.device.Connect(&path, 38400), 8192);
    EXPECT_EQ(setup.Log(), "");
    EXPECT_QZ_THROW(setup.device.Sync(), kPortClosed);
    QZString none("no-such-port");
    EXPECT_QZ_THROW(setup.device.Connect(&none, 115200), 5376);
}

TEST(SerialDevice, ASilentDeviceIsATimeoutOfConnect)
{
    DeviceSetup setup;
    setup.Mute(0x02);
    EXPECT_QZ_THROW(setup.Connect(), kLineTimeout);
}

TEST(SerialDevice, SetTimeoutIsThePorts)
{
    QZSerialDevice device;
    device.SetTimeout(77);
    EXPECT_EQ(device.GetTimeout(), 77);
}

// ---- Key words

TEST(SerialDevice, KeyWordsOnTheLine)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.Earse();
    EXPECT_EQ(setup.Log(),
              "51>00 35>00 34>00 32>00 35>00 31>00 34>00 33>00 35>00 35>00 34>00 5E>37 5B>00 51>00");
    setup.peer.ClearLog();
    setup.device.Sync();
    EXPECT_EQ(setup.Log(), "51>00 33>00 35>00 39>00 35>00 3E>00 34>00 33>00 34>00 5E>1F 12>00 51>00");
    setup.peer.ClearLog();
    setup.device.Restart();
    EXPECT_EQ(setup.Log(), "51>00 " + Nibbles("52 45 53 54 41 52 54") + "5E>B5 13>00 51>00");
    setup.peer.ClearLog();
    setup.device.InitDevice();
    EXPECT_EQ(setup.Log(), "51>00 " + Nibbles("49 4E 49 54") + "5E>C1 11>00 51>00");
}

TEST(SerialDevice, KeyWordsDoWhatTheySay)
{
    DeviceSetup setup;
    setup.Connect();
    EXPECT_EQ(setup.device.IsDeviceInit(), 0);
    setup.device.InitDevice();
    EXPECT_EQ(setup.device.IsDeviceInit(), 1);
    setup.device.SetValue(1, 5);
    setup.device.Sync();
    setup.device.SetValue(1, 6);
    setup.device.Restart();
    EXPECT_EQ(setup.device.GetValue(1), 5);
    const std::string text = "text";
    setup.device.WriteMemory(0, text.data(), 4, 1);
    setup.device.Earse();
    EXPECT_EQ(setup.controller.memory.substr(0, 4), "\xFF\xFF\xFF\xFF");
}

TEST(SerialDevice, IsDeviceInitChecksTwice)
{
    DeviceSetup setup;
    setup.controller.settings.initialised = true;
    setup.Connect();
    EXPECT_EQ(setup.device.IsDeviceInit(), 1);
    EXPECT_EQ(setup.Log(), "52>00 10>00 " + ReturnBytes("01") + "5F>CD 5F>CD");
}

TEST(SerialDevice, OnlyOneIsInitialised)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.Checksum(0);
    setup.Inject(0x40, Kind::Flip, 2);
    setup.Inject(0x5F, Kind::Flip, 0xCF ^ 0xCB);  // of 02 and zeros, where the device has zeros
    EXPECT_EQ(setup.device.IsDeviceInit(), 0);
}

// ---- Settings

TEST(SerialDevice, SettersOnTheLine)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.SetIncremental(1, 1.5f);
    EXPECT_EQ(setup.Log(),
              "51>00 31>00 30>00 30>00 30>00 30>00 30>00 30>00 30>00 "
              "30>00 30>00 30>00 30>00 30>00 3C>00 3F>00 33>00 5E>E5 57>00 51>00");
    EXPECT_EQ(setup.controller.settings.incremental[1], 1.5f);
    setup.peer.ClearLog();
    setup.device.SetMagnification(5, 0.25f);
    EXPECT_EQ(setup.Log(), "51>00 " + Nibbles("05 00 00 00 00 00 80 3E") + "5E>F9 58>00 51>00");
    EXPECT_EQ(setup.controller.settings.magnification[5], 0.25f);
    setup.peer.ClearLog();
    setup.device.SetValue(3, -2.0f);
    EXPECT_EQ(setup.Log(), "51>00 " + Nibbles("03 00 00 00 00 00 00 C0") + "5E>66 62>00 51>00");
    EXPECT_EQ(setup.controller.settings.values[3], -2.0f);
    setup.peer.ClearLog();
    QZString key("K1");
    setup.device.SetKey(2, &key);
    EXPECT_EQ(setup.Log(), "51>00 " + Nibbles("02 00 00 00 4B 31 00 00") + "5E>65 61>00 51>00");
    EXPECT_EQ(setup.controller.settings.keys[2], std::string("K1\0\0", 4));
}

TEST(SerialDevice, GettersOnTheLine)
{
    DeviceSetup setup;
    setup.controller.settings.incremental[1] = 1.5f;
    setup.controller.settings.magnification[1] = 1.5f;
    setup.controller.settings.values[1] = 1.5f;
    setup.controller.settings.keys[1] = "K1";
    setup.Connect();
    const std::string asked = "51>00 52>00 " + Nibbles("01 00 00 00") + "5E>CD ";
    const std::string answered = "51>00 40>00 41>00 42>C0 43>3F 5F>A3 52>00";
    EXPECT_EQ(setup.device.GetIncremental(1), 1.5f);
    EXPECT_EQ(setup.Log(), asked + "59>00 " + answered);
    setup.peer.ClearLog();
    EXPECT_EQ(setup.device.GetMagnification(1), 1.5f);
    EXPECT_EQ(setup.Log(), asked + "5A>00 " + answered);
    setup.peer.ClearLog();
    EXPECT_EQ(setup.device.GetValue(1), 1.5f);
    EXPECT_EQ(setup.Log(), asked + "64>00 " + answered);
    setup.peer.ClearLog();
    QZString* key = setup.device.GetKey(1);
    EXPECT_EQ(setup.Log(), asked + "63>00 51>00 " + ReturnBytes("4B 31") + "5F>5B 52>00");
    EXPECT_EQ(key->GetLength(), 4);
    EXPECT_EQ(qztest::TextView(key->GetPointer(), 4), qztest::TextView(QZ_W("K1\0\0"), 4));
    QZSerialDevice::Recycle(&key);
    EXPECT_EQ(key, nullptr);
}

TEST(SerialDevice, AKeyKeepsItsFirstFourBytesOfUtf8)
{
    DeviceSetup setup;
    setup.Connect();
    QZString key("ABCDEF");
    setup.device.SetKey(0, &key);
    EXPECT_EQ(setup.controller.settings.keys[0], "ABCD");
    QZString accent(QZ_W("\u00E9!"));
    setup.device.SetKey(1, &accent);
    EXPECT_EQ(setup.controller.settings.keys[1], std::string("\xC3\xA9!\0", 4));
    QZString empty;
    setup.device.SetKey(2, &empty);
    EXPECT_EQ(setup.controller.settings.keys[2], std::string(4, '\0'));
    // The fourth byte is the first of a character's two.
    QZString cut(QZ_W("ABC\u00E9"));
    setup.device.SetKey(3, &cut);
    EXPECT_EQ(setup.controller.settings.keys[3], "ABC\xC3");
    setup.peer.ClearLog();
    EXPECT_QZ_THROW(setup.device.SetKey(3, nullptr), 256);
    EXPECT_EQ(setup.Log(), "");
}

TEST(SerialDevice, ASlotThatTheDeviceDoesNotHaveIsItsRefusal)
{
    DeviceSetup setup;
    setup.Connect();
    EXPECT_STATUS(setup.device.SetValue(64, 1), 241, "Param out of range");
    EXPECT_STATUS(setup.device.GetKey(-1), 241, "Param out of range");
    setup.device.SetValue(63, 1);
}

// ---- Failures of exchanges

TEST(SerialDevice, EveryStatusByteHasItsText)
{
    DeviceSetup setup;
    setup.Connect();
    const std::pair<int, const char*> texts[] = {{210, "Verify failed"},
                                                 {224, "Init Failed"},
                                                 {225, "InvalidKey"},
                                                 {226, "InvalidStstus"},
                                                 {227, "InvalidCommandInDataBufferRead"},
                                                 {228, "DataBufferNotSupport"},
                                                 {241, "Param out of range"},
                                                 {242, "Verify failed inside"},
                                                 {243, "IC Exception"},
                                                 {244, "FailedFromOperationEEPROM"},
                                                 {250, "ConnectException"},
                                                 {251, "DataUnavailable"},
                                                 {1, "Unknown error"},
                                                 {255, "Unknown error"}};
    for (const auto& [status, text] : texts)
    {
        setup.Inject(0x12, Kind::Status, static_cast<unsigned char>(status));
        EXPECT_STATUS(setup.device.Sync(), status, text);
    }
    setup.device.Sync();
}

TEST(SerialDevice, AWrongParameterChecksumStopsBeforeTheCommand)
{
    DeviceSetup setup;
    setup.Connect();
    for (const unsigned char checks : {1, 0})
    {
        setup.device.Checksum(checks);
        setup.peer.ClearLog();
        setup.Inject(0x5E, Kind::Flip, 0x01);
        EXPECT_STATUS(setup.device.Sync(), kVerifyFailed, "Verify failed");
        EXPECT_EQ(setup.Log(), "51>00 33>00 35>00 39>00 35>00 3E>00 34>00 33>00 34>00 5E>1E");
        setup.Inject(0x5E, Kind::Flip, 0x80);
        EXPECT_STATUS(setup.device.GetValue(0), kVerifyFailed, "Verify failed");
        setup.Inject(0x5E, Kind::Flip, 0x80);
        EXPECT_STATUS(setup.device.SetMagnification(0, 1), kVerifyFailed, "Verify failed");
    }
}

TEST(SerialDevice, AWrongReturnChecksumIsFound)
{
    DeviceSetup setup;
    setup.Connect();
    setup.Inject(0x5F, Kind::Flip, 0x10);
    EXPECT_STATUS(setup.device.GetIncremental(0), kVerifyFailed, "Verify failed");
    setup.Inject(0x42, Kind::Flip, 0x10);
    EXPECT_STATUS(setup.device.GetIncremental(0), kVerifyFailed, "Verify failed");
    setup.Inject(0x5F, Kind::Flip, 0x10, 2);
    EXPECT_STATUS(setup.device.IsDeviceInit(), kVerifyFailed, "Verify failed");
}

TEST(SerialDevice, WithoutChecksumsReturnReadsAreNotChecked)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.Checksum(0);
    setup.controller.settings.values[0] = 1;
    EXPECT_EQ(setup.device.GetValue(0), 1);
    EXPECT_EQ(setup.Log(),
              "51>00 52>00 " + Nibbles("00 00 00 00") + "5E>CF 64>00 51>00 40>00 41>00 42>80 43>3F 52>00");
    setup.peer.ClearLog();
    EXPECT_EQ(setup.device.IsDeviceInit(), 0);
    EXPECT_EQ(setup.Log(), "52>00 10>00 " + ReturnBytes("") + "5F>CF");
}

TEST(SerialDevice, ANibbleThatIsRefusedIsAFailedUpdate)
{
    DeviceSetup setup;
    setup.Connect();
    setup.Inject(0x35, Kind::Status, 0xF4);
    EXPECT_UPDATE_FAILURE(setup.device.Sync(), "Device update failed on data send.");
    EXPECT_EQ(setup.Log(), "51>00 33>00 35>F4");
    setup.peer.ClearLog();
    setup.Inject(0x33, Kind::Status, 0xF4);
    EXPECT_UPDATE_FAILURE(setup.device.Sync(), "Device update failed on data send.");
    EXPECT_EQ(setup.Log(), "51>00 33>F4");
}

TEST(SerialDevice, ASilentCommandTimesOutAndTheNextOperationWorks)
{
    DeviceSetup setup;
    setup.Connect();
    setup.Mute(0x12);
    EXPECT_QZ_THROW(setup.device.Sync(), kLineTimeout);
    setup.device.SetTimeout(60000);
    setup.device.Sync();
}

TEST(SerialDevice, WhatIsLeftOnTheLineIsDroppedBeforeAnExchange)
{
    DeviceSetup setup;
    setup.Connect();
    setup.peer.Send("\xF4\xF4\xF4");
    unsigned char byte = 0;
    EXPECT_TRUE(qztest::Eventually([&] { return setup.device.TryRead(&byte, 1) == 1; }));
    setup.device.Sync();
}

TEST(SerialDevice, FailuresOfTheLineAreThePorts)
{
    DeviceSetup setup;
    setup.Connect();
    setup.peer.Faults().Fail(os::Op::LineRead, 5, 3);
    EXPECT_QZ_THROW(setup.device.Sync(), kLineFailed);
    setup.peer.Faults().Fail(os::Op::LineWrite, 5, 3);
    EXPECT_QZ_THROW(setup.device.Sync(), kLineFailed);
    setup.peer.Faults().Shorten(os::Op::LineWrite, 0, 3);
    EXPECT_QZ_THROW(setup.device.Sync(), 5888);
    setup.peer.Faults().Fail(os::Op::LineRead, 5);
    EXPECT_QZ_THROW(setup.device.Reconnect(), kLineFailed);
    setup.device.Reconnect();
    setup.peer.HangUp();
    EXPECT_QZ_THROW(setup.device.Sync(), kLineFailed);
    EXPECT_QZ_THROW(setup.device.Reconnect(), 5376);
    EXPECT_QZ_THROW(setup.device.Sync(), kPortClosed);
}

// ---- Serial number and series

TEST(SerialDevice, UpdateSNOnTheLine)
{
    DeviceSetup setup;
    setup.Connect();
    QZString number("S9");
    setup.device.UpdateSN(&number);
    EXPECT_EQ(setup.Log(), "51>00 33>00 35>00 39>00 33>00 54>00 51>00");
    EXPECT_EQ(setup.controller.settings.serial, "S9");
    EXPECT_QZ_TEXT(setup.device.GetSN(), "SN000001");
    setup.device.Reconnect();
    EXPECT_QZ_TEXT(setup.device.GetSN(), "S9");
}

TEST(SerialDevice, UpdateSNSendsTheLowByteOfACharacter)
{
    DeviceSetup setup;
    setup.Connect();
    QZString number(QZ_W("\u4E53\u00FF"));
    setup.device.UpdateSN(&number);
    EXPECT_EQ(setup.Log(), "51>00 33>00 35>00 3F>00 3F>00 54>00 51>00");
}

TEST(SerialDevice, UpdateSNNamesTheStepThatFailed)
{
    DeviceSetup setup;
    setup.Connect();
    QZString number("S9");
    setup.Inject(0x51, Kind::Status, 0xE2);
    EXPECT_UPDATE_FAILURE(setup.device.UpdateSN(&number), "Device update failed on clean device buffer.");
    setup.Inject(0x35, Kind::Status, 0xE2);
    EXPECT_UPDATE_FAILURE(setup.device.UpdateSN(&number), "Device update failed on data send.");
    setup.Inject(0x54, Kind::Status, 0xE2);
    EXPECT_UPDATE_FAILURE(setup.device.UpdateSN(&number), "Device update failed on copy device buffer.");
    setup.Inject(0x51, Kind::Status, 0xE2, 2);
    EXPECT_UPDATE_FAILURE(setup.device.UpdateSN(&number), "Device update failed on final clean.");
    QZString tooLong("12345678901234567");
    EXPECT_UPDATE_FAILURE(setup.device.UpdateSN(&tooLong), "Device update failed on data send.");
    EXPECT_QZ_THROW(setup.device.UpdateSN(nullptr), kNullPointer);
}

TEST(SerialDevice, UpdateSNLeavesTheHostsCopyOfTheBufferAlone)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.ExecCommand(0x51);
    setup.device.WriteByteToParamBuffer(0x01);
    QZString number("S9");
    setup.device.UpdateSN(&number);
    setup.peer.ClearLog();
    // The copy goes on at place 1, the device begins anew.
    setup.device.WriteByteToParamBuffer(0x02);
    const QZByte copy[16] = {1, 2};
    EXPECT_FALSE(setup.device.ChecksumFromParamBuffer(copy));
    const QZByte device[16] = {2};
    EXPECT_TRUE(setup.device.ChecksumFromParamBuffer(device));
}

TEST(SerialDevice, TheSeriesIsTheLeadingPartOfAModel)
{
    const auto series = [](const char* model) {
        QZString text(model);
        return Text(QZSerialDevice::GetSeries(&text));
    };
    EXPECT_EQ(series("AB12CD"), "AB12");
    EXPECT_EQ(series("ABCD"), "ABCD");
    EXPECT_EQ(series("AB12cd-E5"), "AB12cd-");
    EXPECT_EQ(series("12"), "12");
    EXPECT_EQ(series("1A2B"), "1");
    EXPECT_EQ(series(""), "");
    EXPECT_EQ(series("x9Z"), "x9");
    EXPECT_QZ_THROW(QZSerialDevice::GetSeries(nullptr), kNullPointer);
}

// ---- Functions

TEST(SerialDevice, FunctionsOnTheLine)
{
    DeviceSetup setup;
    setup.Connect();
    QZSerialDeviceBuffer result;
    setup.device.FunExec(2, 41, &result);
    EXPECT_EQ(setup.Log(),
              "51>00 52>00 " + Nibbles("02 00 29 00 00 00") + "5E>72 56>00 " + ReturnBytes("2A") + "5F>9B");
    EXPECT_EQ(result.Int32, 42);
    setup.peer.ClearLog();
    setup.device.FunExec(1, static_cast<short>(5), &result);
    EXPECT_EQ(setup.Log().substr(0, 12 + 8 * 6 + 5), "51>00 52>00 " + Nibbles("01 00 05 00") + "5E>89");
    EXPECT_EQ(result.Int16, 5);
    setup.device.FunExec(3, 1.25f, &result);
    EXPECT_EQ(result.Float, 2.5f);
}

TEST(SerialDevice, AFunctionWithoutAResultPlaceReadsNothing)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.FunExec(0, nullptr, 0, nullptr);
    EXPECT_EQ(setup.Log(), "51>00 " + Nibbles("00 00") + "5E>CF 56>00");
    setup.peer.ClearLog();
    QZSerialDeviceBuffer result;
    result.Int64 = -1;
    setup.device.FunExec(0, nullptr, 5, &result, 0);
    EXPECT_EQ(setup.Log(), "51>00 " + Nibbles("00 00") + "5E>CF 56>00");
    EXPECT_EQ(result.Int64, -1);
}

TEST(SerialDevice, ArgumentsBehindTheFourteenthAreLeftOut)
{
    DeviceSetup setup;
    setup.Connect();
    const unsigned char arguments[20] = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10,
                                         11, 12, 13, 14, 15, 16, 17, 18, 19, 20};
    QZSerialDeviceBuffer result;
    setup.device.FunExec(1, arguments, 20, &result, 32, 7);
    EXPECT_EQ(setup.Log(), "51>00 52>00 " + Nibbles("01 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E") +
                               "5E>23 56>00 " + ReturnBytes("01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E") +
                               "5F>D4");
    EXPECT_BYTES(
        result.Bytes, 32,
        "01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
}

TEST(SerialDevice, AResultOfFewBytesIsCheckedOverAllSixteen)
{
    DeviceSetup setup;
    setup.Connect();
    const unsigned char argument = 7;
    QZSerialDeviceBuffer result;
    setup.device.FunExec(1, &argument, 1, &result, 1);
    EXPECT_EQ(result.Int64, 7);
    // The device's buffer has a second byte that the host did not read.
    const unsigned char two[2] = {7, 8};
    EXPECT_STATUS(setup.device.FunExec(1, two, 2, &result, 1), kVerifyFailed, "Verify failed");
}

TEST(SerialDevice, WithoutChecksumsAFunctionAsksForNone)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.Checksum(0);
    QZSerialDeviceBuffer result;
    setup.device.FunExec(2, 41, &result);
    EXPECT_EQ(setup.Log(),
              "51>00 52>00 " + Nibbles("02 00 29 00 00 00") + "56>00 " + ReturnBytes("2A").substr(0, 95));
    setup.peer.ClearLog();
    setup.device.Earse();
    EXPECT_EQ(setup.Log(), "51>00 " + Nibbles("45 52 41 53 45") + "5E>37 5B>00 51>00");
}

TEST(SerialDevice, AFunctionThatTheDeviceDoesNotHaveIsItsRefusal)
{
    DeviceSetup setup;
    setup.Connect();
    QZSerialDeviceBuffer result;
    EXPECT_STATUS(setup.device.FunExec(99, 0, &result), 241, "Param out of range");
    setup.Inject(0x5E, Kind::Flip, 1);
    EXPECT_STATUS(setup.device.FunExec(2, 0, &result), kVerifyFailed, "Verify failed");
    setup.Inject(0x52, Kind::Status, 0xF3);
    EXPECT_STATUS(setup.device.FunExec(2, 0, &result), 243, "IC Exception");
}

TEST(SerialDevice, FunExecAsyncWorksAtOnce)
{
    DeviceSetup setup;
    setup.Connect();
    const int argument = 9;
    QZSerialDeviceBuffer result;
    setup.device.FunExecAsync(2, &argument, 4, &result, 4);
    EXPECT_EQ(result.Int32, 10);
    const short two[2] = {300, -1};
    setup.device.FunExec(5, two, 4, &result);
    EXPECT_EQ(result.Int32, 299);
}

TEST(SerialDevice, CommandsOfTwoThreadsNeverMix)
{
    DeviceSetup setup;
    setup.Connect();
    const auto call = [&](int first) {
        for (int i = first; i < first + 10; ++i)
        {
            QZSerialDeviceBuffer result;
            setup.device.FunExec(2, i, &result);
            EXPECT_EQ(result.Int32, i + 1);
        }
    };
    std::thread other([&] { call(1000); });
    call(0);
    other.join();
}
