// The protocol of the instrument controller: the pieces that derived classes build upon, raw access, copies
// and traces.

#include <thread>

#include "device_setup.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_string_factory.h"
#include "os/os_thread.h"

namespace
{

using Kind = Fault::Kind;

}  // namespace

// ---- Pieces that derived classes build upon

TEST(SerialDevice, CleaningTheParametersCleansTheHostsCopyEvenWhereTheDeviceRefuses)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.WriteByteToParamBuffer(0xAA);
    setup.device.WriteByteToParamBuffer(0xBB);
    const QZByte before[16] = {0xAA, 0xBB};
    EXPECT_EQ(setup.device.HostCopy()[1], 0xBB);
    setup.Inject(0x51, Kind::Status, 0xE2);
    EXPECT_STATUS(setup.device.ExecCommand(0x51), 226, "InvalidStstus");
    EXPECT_TRUE(setup.device.ChecksumFromParamBuffer(before));  // the device's own
    EXPECT_BYTES(setup.device.HostCopy(), 16, "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
    setup.device.WriteByteToParamBuffer(0xCC);
    EXPECT_EQ(setup.device.HostCopy()[0], 0xCC);
}

TEST(SerialDevice, ExecAnswersTheCountOfBytesRead)
{
    DeviceSetup setup;
    setup.Connect();
    const QZByte commands[3] = {0x52, 0x40, 0x5F};
    QZByte answers[3] = {9, 9, 9};
    // Room for one is named, three are sent and answered.
    EXPECT_EQ(setup.device.Exec(commands, 3, answers, 1), 3);
    EXPECT_BYTES(answers, 3, "00 00 CF");
    EXPECT_EQ(setup.Log(), "52>00 40>00 5F>CF");
}

TEST(SerialDevice, ReturnReadsAreCutToSixteenAndNeedAPlace)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.ReadFromReturnBuffer(nullptr, 16);
    QZSerialDeviceBuffer buffer;
    buffer.Int64 = -1;
    setup.device.ReadFromReturnBuffer(&buffer, 0);
    EXPECT_EQ(buffer.Int64, -1);
    EXPECT_EQ(setup.Log(), "");
    setup.device.ReadFromReturnBuffer(&buffer, 1000);
    EXPECT_EQ(setup.Log(), ReturnBytes("41 42 31 32 43 44") + "5F>46");
}

TEST(SerialDevice, TheChecksumCountsItsLengthInAByte)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.ExecCommand(0x52);
    QZByte bytes[300] = {};
    EXPECT_TRUE(setup.device.ChecksumFromReturnBuffer(bytes, 16));
    EXPECT_TRUE(setup.device.ChecksumFromReturnBuffer(bytes, 272));
    EXPECT_FALSE(setup.device.ChecksumFromReturnBuffer(bytes, 256));
    EXPECT_EQ(qzdevice::LineCrc("123456789", 9), 0xF7);
    EXPECT_EQ(qzdevice::LineCrc(bytes, 256), 0xFF);
    EXPECT_EQ(qzdevice::LineCrc(bytes, 300), qzdevice::LineCrc(bytes, 44));
}

TEST(SerialDevice, TheLastErrorCanBeAskedFor)
{
    DeviceSetup setup;
    setup.Connect();
    EXPECT_STATUS(setup.device.SetValue(64, 1), 241, "Param out of range");
    setup.peer.ClearLog();
    EXPECT_EQ(setup.device.GetLastError(), 241);
    EXPECT_EQ(setup.Log().substr(0, 17), "52>00 5C>00 40>F1");
    setup.device.CleanLastError();
    EXPECT_EQ(setup.device.GetLastError(), 0);
}

TEST(SerialDevice, InGroupsTheSameBytesGoOut)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.SetBulk();
    setup.device.SetIncremental(1, 1.5f);
    EXPECT_EQ(setup.Log(), "51>00 " + Nibbles("01 00 00 00 00 00 C0 3F") + "5E>E5 57>00 51>00");
    setup.peer.ClearLog();
    EXPECT_EQ(setup.device.GetIncremental(1), 1.5f);
    EXPECT_EQ(setup.Log(), "51>00 52>00 " + Nibbles("01 00 00 00") +
                               "5E>CD 59>00 51>00 40>00 41>00 42>C0 43>3F 5F>A3 52>00");
    QZSerialDeviceBuffer result;
    setup.device.FunExec(2, 41, &result);
    EXPECT_EQ(result.Int32, 42);
}

TEST(SerialDevice, InGroupsAValueGoesOutAsItsIndex)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.SetBulk();
    setup.device.SetValue(3, -2.0f);
    EXPECT_EQ(setup.Log().substr(0, 6 + 16 * 6), "51>00 " + Nibbles("03 00 00 00 03 00 00 00"));
    EXPECT_NE(setup.controller.settings.values[3], -2.0f);
}

TEST(SerialDevice, InGroupsOnlyTheFirstAnswerCounts)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.SetBulk();
    setup.device.ExecCommand(0x51);
    const QZByte bytes[2] = {0x12, 0x34};
    setup.Inject(0x31, Kind::Flip, 0xF4);
    EXPECT_QZ_NO_THROW(setup.device.WriteParamBuffer(bytes, 2));
    setup.Inject(0x32, Kind::Flip, 0xF4);
    EXPECT_UPDATE_FAILURE(setup.device.WriteParamBuffer(bytes, 2), "Device update failed on data send.");
}

TEST(SerialDevice, AGroupOfMoreThanSixteenParametersIsRefused)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.ExecCommand(0x51);
    const QZByte bytes[17] = {};
    const qztest::Thrown thrown = QZ_TEST_CATCH(setup.device.WriteParamBuffer(bytes, 17));
    EXPECT_EQ(thrown.code, 256);
    EXPECT_EQ(thrown.stackTrace, "QZSerialDevice::WriteByteToParamBuffer(QZUInt8*, QZInt64)");
    EXPECT_EQ(setup.Log(), "51>00");
    setup.device.WriteParamBuffer(bytes, 16);
    setup.device.WriteParamBuffer(bytes, 0);
}

// ---- Raw access, helpers, copies

TEST(SerialDevice, RawBytesGoThrough)
{
    qztest::LinePeer peer;
    QZSerialDevice device;
    device.QZSerial::Connect(peer.Path().c_str(), 9600);
    device.SetTimeout(60000);
    EXPECT_EQ(device.WriteData("abc", 3), 3);
    EXPECT_TRUE(qztest::Eventually([&] { return peer.Received() == "abc"; }));
    peer.Send("xy");
    char bytes[2];
    EXPECT_EQ(device.ReadData(bytes, (QZInt64{1} << 32) + 2), 2);
    EXPECT_EQ(std::string(bytes, 2), "xy");
    device.Close();
    EXPECT_QZ_THROW(device.ReadData(bytes, 1), kPortClosed);
    EXPECT_QZ_THROW(device.WriteData(bytes, 1), kPortClosed);
}

TEST(SerialDevice, RecycleTakesBackWhatWasHandedOut)
{
    QZString* text = QZStringFactory::CreateString("x");
    QZSerialDevice::Recycle(&text);
    EXPECT_EQ(text, nullptr);
    QZStringCollection* collection = QZStringFactory::CreateStringCollection();
    QZSerialDevice::Recycle(&collection);
    EXPECT_EQ(collection, nullptr);
    QZList<QZString>* list = new QZList<QZString>;
    list->AddLast(QZStringFactory::CreateString("y"));
    QZSerialDevice::Recycle(&list);
    EXPECT_EQ(list, nullptr);
    QZData* data = QZDataFactory::CreateData();
    QZSerialDevice::Recycle(&data);
    EXPECT_EQ(data, nullptr);
}

TEST(SerialDevice, CopiesShareTheDeviceAndTakeTheFlagsAlong)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.Checksum(0);
    QZSerialDevice assigned;
    {
        QZSerialDevice copy(setup.device);
        assigned = copy;
        const QZSerialDevice& self = assigned;
        assigned = self;
        EXPECT_QZ_TEXT(copy.GetModel(), "AB12CD");
        QZSerialDeviceBuffer result;
        copy.FunExec(2, 1, &result);
        EXPECT_EQ(result.Int32, 2);
        EXPECT_EQ(setup.Log().find("5E>"), std::string::npos);
        assigned.FunExec(2, 2, &result);
        EXPECT_EQ(result.Int32, 3);
    }
    EXPECT_QZ_THROW(setup.device.Sync(), kPortClosed);
    EXPECT_QZ_TEXT(assigned.GetModel(), "");
}

TEST(SerialDevice, TracesNameTheOperations)
{
    QZSerialDevice device;
    EXPECT_NE(QZ_TEST_CATCH(device.WriteMemory(1, nullptr, 2, 1))
                  .stackTrace.find("QZSerialDevice::MemoryWrite(QZInt64, QZPVoid, QZInt64, QZBool)"),
              std::string::npos);
    EXPECT_NE(QZ_TEST_CATCH(device.ReadMemory(1, nullptr, 2, 1))
                  .stackTrace.find("QZSerialDevice::MemoryRead(QZInt64, QZPVoid, QZInt64, QZBool)"),
              std::string::npos);
    const qztest::Thrown thrown = QZ_TEST_CATCH(device.SetIncremental(7, 0.5f));
    const std::size_t last = thrown.stackTrace.rfind('\n') + 1;
    EXPECT_EQ(thrown.stackTrace.substr(last), "QZSerialDevice::SetIncremental(QZInt32, QZFloat)");
    EXPECT_NE(thrown.stackTrace.find("QZSerialDevice::Exec(QZUInt8*, QZInt64, QZUInt8*, QZInt64)"),
              std::string::npos);
    EXPECT_NE(thrown.argumentTrace.find("QZSerialDevice::SetIncremental(7, 0.5)"), std::string::npos);
}

TEST(SerialDevice, AnOperationThatThrowsIsInTheTracesOnce)
{
    DeviceSetup setup;
    setup.Connect();
    setup.Inject(0x5E, Kind::Flip, 1);
    qztest::Thrown thrown = QZ_TEST_CATCH(setup.device.Sync());
    EXPECT_EQ(thrown.stackTrace, "QZSerialDevice::Sync()");
    setup.Inject(0x12, Kind::Status, 0xE2);
    thrown = QZ_TEST_CATCH(setup.device.Sync());
    EXPECT_EQ(thrown.stackTrace, "QZSerialDevice::ExecCommand(QZUInt8)\r\nQZSerialDevice::Sync()");
    EXPECT_EQ(thrown.argumentTrace, "QZSerialDevice::ExecCommand(18)\r\nQZSerialDevice::Sync()");
    setup.Inject(0x35, Kind::Status, 0xE2);
    thrown = QZ_TEST_CATCH(setup.device.Sync());
    EXPECT_EQ(thrown.argumentTrace, "QZSerialDevice::WriteByteToParamBuffer(83)\r\nQZSerialDevice::Sync()");
    setup.Inject(0x5F, Kind::Flip, 1, 2);
    thrown = QZ_TEST_CATCH(setup.device.IsDeviceInit());
    EXPECT_EQ(thrown.stackTrace, "QZSerialDevice::IsDeviceInit()");
    setup.device.Checksum(0);
    setup.Inject(0x40, Kind::Flip, 1, 2);
    thrown = QZ_TEST_CATCH(setup.device.WriteMemory(1, "abc", 3, 1));
    EXPECT_EQ(thrown.stackTrace, "QZSerialDevice::MemoryWrite(QZInt64, QZPVoid, QZInt64, QZBool)");
    setup.Inject(0x02, Kind::Status, 0xE0);
    thrown = QZ_TEST_CATCH(setup.device.Reconnect());
    EXPECT_EQ(thrown.stackTrace,
              "QZSerialDevice::ReadSN()\r\nQZSerialDevice::Connect(QZString*, QZInt64)\r\n"
              "QZSerialDevice::Reconnect()");
    setup.Inject(0x56, Kind::Status, 0xE2);
    thrown = QZ_TEST_CATCH(setup.device.FunExec(2, 1, nullptr));
    EXPECT_EQ(thrown.stackTrace,
              "QZSerialDevice::FunExecAsync(QZInt16, QZPVoid, QZInt64, QZSerialDeviceBuffer*, QZInt64)\r\n"
              "QZSerialDevice::FunExec(QZInt16, QZPVoid, QZInt64, QZSerialDeviceBuffer*, QZInt64, QZInt32)");
}

// ---- The queue

TEST(SerialDeviceQueue, TheThreadServesTheHighestPriorityFirstAndTheFirstOfEquals)
{
    DeviceSetup setup;
    setup.Connect();
    setup.device.Checksum(0);
    QZSerialDeviceBuffer results[4] = {};
    int done[4] = {};
    QZSerialFunData* requests[4];
    const int arguments[4] = {10, 20, 30, 40};
    const int priorities[4] = {0, 5, 5, 9};
    for (int i = 0; i < 4; ++i)
    {
        requests[i] = setup.device.CreateFunData(2, &arguments[i], 4, &results[i], 4, &done[i], nullptr);
        EXPECT_EQ(requests[i]->Priority, 0);
        requests[i]->Priority = priorities[i];
    }
    setup.device.Hold([&] {
        for (QZSerialFunData* request : requests) setup.device.QueueAdd(request);
    });
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(qztest::Eventually([&] { return std::atomic_ref<int>(done[i]).load() == 1; }));
    for (int i = 0; i < 4; ++i) EXPECT_EQ(results[i].Int32, arguments[i] + 1);
    const std::string log = setup.Log();
    const auto place = [&](const char* bytes) { return log.find(Nibbles(bytes)); };
    EXPECT_LT(place("02 00 28"), place("02 00 14"));  // 40 before 20
    EXPECT_LT(place("02 00 14"), place("02 00 1E"));  // 20 before 30
    EXPECT_LT(place("02 00 1E"), place("02 00 0A"));  // 30 before 10
}

TEST(SerialDeviceQueue, OneExecutionAnswersEqualRequestsWhoseResultGoesTheWrongWay)
{
    DeviceSetup setup;
    setup.Connect();
    QZSerialDeviceBuffer first{};
    QZSerialDeviceBuffer second{};
    second.Int32 = 777;
    int done[3] = {};
    const int argument = 41;
    const int same = 41;
    const int other = 1;
    QZSerialDeviceBuffer third{};
    setup.device.Hold([&] {
        setup.device.QueueAdd(setup.device.CreateFunData(2, &argument, 4, &first, 4, &done[0], nullptr));
        setup.device.QueueAdd(setup.device.CreateFunData(2, &same, 4, &second, 4, &done[1], nullptr));
        setup.device.QueueAdd(setup.device.CreateFunData(2, &other, 4, &third, 4, &done[2], nullptr));
    });
    for (int& word : done)
        EXPECT_TRUE(qztest::Eventually([&] { return std::atomic_ref<int>(word).load() == 1; }));
    // Executed twice and not three times; the served caller sees what stood in the waiting one's place.
    const std::string log = setup.Log();
    int executed = 0;
    for (std::size_t at = log.find("56>"); at != std::string::npos; at = log.find("56>", at + 1)) ++executed;
    EXPECT_EQ(executed, 2);
    EXPECT_EQ(first.Int32, 777);
    EXPECT_EQ(second.Int32, 777);
    EXPECT_EQ(third.Int32, 2);
}

TEST(SerialDeviceQueue, RequestsThatDifferInAnythingAreServedThemselves)
{
    DeviceSetup setup;
    setup.Connect();
    QZSerialDeviceBuffer result{};
    QZSerialDeviceBuffer wide{};
    int done[4] = {};
    const int argument = 41;
    setup.device.Hold([&] {
        setup.device.QueueAdd(setup.device.CreateFunData(2, &argument, 4, &result, 4, &done[0], nullptr));
        setup.device.QueueAdd(setup.device.CreateFunData(2, &argument, 4, &wide, 8, &done[1], nullptr));
        setup.device.QueueAdd(setup.device.CreateFunData(2, &argument, 4, nullptr, 0, &done[2], nullptr));
        setup.device.QueueAdd(setup.device.CreateFunData(2, &argument, 4, nullptr, 0, &done[3], nullptr));
    });
    for (int& word : done)
        EXPECT_TRUE(qztest::Eventually([&] { return std::atomic_ref<int>(word).load() == 1; }));
    EXPECT_EQ(result.Int32, 42);
    EXPECT_EQ(wide.Int32, 42);
    const std::string log = setup.Log();
    int executed = 0;
    for (std::size_t at = log.find("56>"); at != std::string::npos; at = log.find("56>", at + 1)) ++executed;
    EXPECT_EQ(executed, 3);  // the two without a place are one
}

TEST(SerialDeviceQueue, AnExceptionGoesIntoTheRequestsSlot)
{
    DeviceSetup setup;
    setup.Connect();
    int done[2] = {};
    QZException* failure = nullptr;
    QZSerialDeviceBuffer result{};
    const int argument = 0;
    setup.device.QueueAdd(setup.device.CreateFunData(99, &argument, 4, &result, 4, &done[0], &failure));
    EXPECT_TRUE(qztest::Eventually([&] { return std::atomic_ref<int>(done[0]).load() == 1; }));
    ASSERT_NE(failure, nullptr);
    EXPECT_EQ(failure->GetCode(), 241);
    QZExceptionFactory::Recycle(&failure);
    setup.device.QueueAdd(setup.device.CreateFunData(98, &argument, 4, &result, 4, &done[1], nullptr));
    EXPECT_TRUE(qztest::Eventually([&] { return std::atomic_ref<int>(done[1]).load() == 1; }));
}

TEST(SerialDeviceQueue, ObjectsAreUsedAgain)
{
    OpenDevice device;
    QZSerialFunData* data = device.CreateFunData(1, nullptr, 0, nullptr, 0, nullptr, nullptr);
    const QZSerialFunData* first = data;
    data->Priority = 9;
    device.DelateFunData(&data);
    EXPECT_EQ(data, nullptr);
    data = device.CreateFunData(7, nullptr, 3, nullptr, 5, nullptr, nullptr);
    EXPECT_EQ(data, first);
    EXPECT_EQ(data->Function, 7);
    EXPECT_EQ(data->ParamSize, 3);
    EXPECT_EQ(data->ResultSize, 5);
    EXPECT_EQ(data->Priority, 0);
    device.DelateFunData(&data);
}

TEST(SerialDeviceQueue, ADeviceThatGoesTakesItsWaitingRequestsAlong)
{
    // Closed port: each request fails at once or stays in the queue; neither leaks.
    for (int i = 0; i < 20; ++i)
    {
        OpenDevice device;
        device.QueueAdd(device.CreateFunData(1, nullptr, 0, nullptr, 0, nullptr, nullptr));
        device.QueueAdd(device.CreateFunData(2, nullptr, 0, nullptr, 0, nullptr, nullptr));
    }
}
