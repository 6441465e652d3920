// The device tool as its user meets it: in this process through its command line, and as a program.

#include <algorithm>
#include <cstdlib>
#include <thread>

#include "qzdevice/controller.h"
#include "qzdevice/line.h"
#include "qzdevice/text.h"
#include "qzdevice/tool.h"
#include "support/qz_line.h"
#include "support/qz_test.h"

using qzdevice::Controller;
using qzdevice::Fault;

namespace
{

struct Result
{
    int code = -1;
    std::string out;
    std::string err;
};

/// The tool, with a folder for its files.
class Tool
{
public:
    /// @param answer  what a person says to a question; null without one
    Result Run(const std::vector<std::string>& words, bool terminal = false, const char* answer = nullptr)
    {
        const std::string number = std::to_string(++m_runs);
        std::FILE* out = std::fopen(m_dir.NarrowName("out" + number).c_str(), "wb");
        std::FILE* err = std::fopen(m_dir.NarrowName("err" + number).c_str(), "wb");
        std::FILE* in = nullptr;
        if (answer != nullptr)
        {
            m_dir.Write("answer", answer);
            in = std::fopen(m_dir.NarrowName("answer").c_str(), "r");
        }
        Result result;
        result.code = qzdevice::RunTool(words, {out, err, terminal, &m_stop, in});
        if (in != nullptr) std::fclose(in);
        std::fclose(out);
        std::fclose(err);
        result.out = m_dir.Read("out" + number);
        result.err = m_dir.Read("err" + number);
        return result;
    }

    std::string Path(const std::string& name) const { return m_dir.NarrowName(name); }
    const qztest::TempDir& Dir() const { return m_dir; }
    void Stop() { m_stop = true; }

private:
    qztest::TempDir m_dir;
    std::atomic<int> m_runs{0};
    std::atomic<bool> m_stop{false};
};

/// The tool, with a simulated controller at the other end of its line.
class ToolSetup
{
public:
    ToolSetup() : peer([this](unsigned char byte) { return controller.Take(byte); }) {}

    /// Runs a command with the port inserted after its name, and with a long time-out.
    Result Run(std::vector<std::string> words, bool terminal = false, const char* answer = nullptr)
    {
        words.insert(words.begin() + 1, peer.Path());
        words.insert(words.end(), {"--timeout", "60000"});
        return tool.Run(words, terminal, answer);
    }

    Controller controller;
    qztest::LinePeer peer;
    Tool tool;
};

void ExpectFailure(const Result& result, int code, const std::string& about)
{
    EXPECT_EQ(result.code, code) << result.err;
    EXPECT_EQ(result.err.compare(0, 10, "qzdevice: "), 0) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_NE(result.err.find(about), std::string::npos) << result.err;
}

}  // namespace

TEST(Qzdevice, HelpNamesEveryCommandAndOption)
{
    Tool tool;
    const Result help = tool.Run({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_EQ(help.err, "");
    for (const char* word :
         {"list", "show", "get", "set", "call", "read", "write", "order", "simulate", "--baud", "--timeout",
          "--no-checksum", "--no-verify", "--force", "--yes", "--fault", "Exit codes"})
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
}

TEST(Qzdevice, BadUsageIsExitCodeTwoAndTouchesNoPort)
{
    Tool tool;
    ExpectFailure(tool.Run({}), 2, "no command");
    ExpectFailure(tool.Run({"frobnicate"}), 2, "frobnicate");
    ExpectFailure(tool.Run({"show"}), 2, "show");
    ExpectFailure(tool.Run({"show", "p", "--fast"}), 2, "--fast");
    ExpectFailure(tool.Run({"show", "p", "--baud"}), 2, "--baud");
    ExpectFailure(tool.Run({"show", "p", "--baud", "quick"}), 2, "quick");
    ExpectFailure(tool.Run({"show", "p", "--baud", "38400"}), 2,
                  "38400 is none of 2400 4800 9600 19200 115200 ");
    ExpectFailure(tool.Run({"simulate", "--baud", "38400"}), 2, "38400 is none of");
    ExpectFailure(tool.Run({"get", "p", "colour", "1"}), 2, "colour");
    ExpectFailure(tool.Run({"get", "p", "value", "one"}), 2, "one");
    ExpectFailure(tool.Run({"set", "p", "value", "1"}), 2, "set");
    ExpectFailure(tool.Run({"set", "p", "value", "1", "much"}), 2, "much");
    ExpectFailure(tool.Run({"set", "p", "colour", "1", "2"}), 2, "colour");
    ExpectFailure(tool.Run({"call", "p", "99999"}), 2, "99999");
    ExpectFailure(tool.Run({"call", "p", "1", "xyz"}), 2, "xyz");
    ExpectFailure(tool.Run({"call", "p", "1", "f:1", "f:2", "f:3", "f:4"}), 2, "14 bytes");
    ExpectFailure(tool.Run({"read", "p", "-1", "1", "file"}), 2, "address");
    ExpectFailure(tool.Run({"order", "p", "lunch"}), 2, "lunch");
    ExpectFailure(tool.Run({"simulate", "--fault"}), 2, "--fault");
    ExpectFailure(tool.Run({"simulate", "--fault", "57"}), 2, "57");
    ExpectFailure(tool.Run({"simulate", "--fault", "577=00"}), 2, "577");
    ExpectFailure(tool.Run({"simulate", "--model", "12345678901234567"}), 2, "16");
    ExpectFailure(tool.Run({"simulate", "--colour", "red"}), 2, "--colour");
}

TEST(Qzdevice, APortThatCannotBeUsedIsExitCodeThree)
{
    ToolSetup setup;
    ExpectFailure(setup.tool.Run({"show", "no-such-port"}), 3, "no-such-port: Device Open Failed");
    setup.controller.Inject({0x02, 1, Fault::Kind::Mute, 0, false});
    ExpectFailure(setup.tool.Run({"show", setup.peer.Path(), "--timeout", "30"}), 3, "Timeout");
}

TEST(Qzdevice, ListPrintsAPortOnALine)
{
    Tool tool;
    const Result list = tool.Run({"list"});
    EXPECT_EQ(list.code, 0) << list.err;
    EXPECT_TRUE(list.out.empty() || list.out.compare(0, 4, "\\\\.\\") == 0 || list.out[0] == '/') << list.out;
}

TEST(Qzdevice, ShowTellsWhoTheDeviceIs)
{
    ToolSetup setup;
    EXPECT_EQ(setup.Run({"show"}).out, "port           " +
                                           qzdevice::PlainPort("\\\\.\\" + setup.peer.Path()) +
                                           "\n"
                                           "model          AB12CD\n"
                                           "series         AB12\n"
                                           "serial number  SN000001\n"
                                           "version        2.41\n"
                                           "initialised    no\n");
    EXPECT_EQ(setup.Run({"order", "init"}).code, 0);
    EXPECT_NE(setup.Run({"show", "--baud", "9600"}).out.find("initialised    yes"), std::string::npos);
    EXPECT_EQ(setup.peer.Speed(), 9600);
}

TEST(Qzdevice, WhatIsSetCanBeGot)
{
    ToolSetup setup;
    for (const char* what : {"incremental", "magnification", "value"})
    {
        EXPECT_EQ(setup.Run({"set", what, "7", "-0.125"}).code, 0);
        EXPECT_EQ(setup.Run({"get", what, "7"}).out, "-0.125\n");
        EXPECT_EQ(setup.Run({"get", what, "8"}).out, "0\n");
    }
    EXPECT_EQ(setup.Run({"set", "key", "3", "K9"}).code, 0);
    EXPECT_EQ(setup.Run({"get", "key", "3"}).out, "K9\n");
    EXPECT_EQ(setup.Run({"set", "serial", "SN77"}).code, 0);
    EXPECT_EQ(setup.controller.settings.serial, "SN77");
    ExpectFailure(setup.Run({"get", "value", "64"}), 1, "Param out of range");
    setup.controller.Inject({0x54, 1, Fault::Kind::Status, 0xF4, false});
    ExpectFailure(setup.Run({"set", "serial", "X"}), 1, "Device update failed on copy device buffer.");
}

TEST(Qzdevice, OrdersReachTheDevice)
{
    ToolSetup setup;
    setup.controller.memory[0] = 'x';
    EXPECT_EQ(setup.Run({"set", "value", "1", "5"}).code, 0);
    EXPECT_EQ(setup.Run({"order", "sync"}).code, 0);
    EXPECT_EQ(setup.Run({"set", "value", "1", "6"}).code, 0);
    EXPECT_EQ(setup.Run({"order", "restart"}).code, 0);
    EXPECT_EQ(setup.Run({"get", "value", "1"}).out, "5\n");
    EXPECT_EQ(setup.Run({"order", "erase", "--yes"}).code, 0);
    EXPECT_EQ(setup.controller.memory[0], '\xFF');
}

TEST(Qzdevice, AnEraseIsAskedForFirst)
{
    ToolSetup setup;
    setup.controller.memory[0] = 'x';
    ExpectFailure(setup.Run({"order", "erase"}), 2, "needs --yes");
    for (const char* answer : {"", "\n", "n\n", "never\n", "yes please\n"})
    {
        const Result result = setup.Run({"order", "erase"}, true, answer);
        EXPECT_EQ(result.code, 2) << answer;
        EXPECT_EQ(result.err, "Erase the memory of the device on " + setup.peer.Path() +
                                  "? [y/N] qzdevice: order erase: not confirmed, nothing is erased\n");
    }
    EXPECT_EQ(setup.controller.memory[0], 'x');
    EXPECT_EQ(setup.Run({"order", "erase"}, true, "y\n").code, 0);
    EXPECT_EQ(setup.controller.memory[0], '\xFF');
}

TEST(Qzdevice, NumbersAreReadWholeOrRefusedWithTheNameOfTheirArgument)
{
    ToolSetup setup;
    EXPECT_EQ(setup.Run({"set", "incremental", "7", "-0.5"}).code, 0);
    EXPECT_EQ(setup.controller.settings.incremental[7], -0.5f);
    EXPECT_EQ(setup.Run({"set", "value", "7", "1.1"}).code, 0);
    EXPECT_EQ(setup.Run({"get", "value", "7"}).out, "1.1\n");
    EXPECT_EQ(setup.Run({"set", "value", "7", "-1e5"}).code, 0);
    EXPECT_EQ(setup.Run({"get", "value", "7"}).out, "-100000\n");
    Tool& tool = setup.tool;
    for (const char* bad : {"", " 1", "1 ", "1,5", "0x1p3", "nan", "inf", "-"})
        ExpectFailure(tool.Run({"set", "p", "value", "1", bad}), 2,
                      "value: \"" + std::string(bad) + "\" is no number");
    ExpectFailure(tool.Run({"set", "p", "value", "1", "1e39"}), 2, "\"1e39\" is too large for the device");
    ExpectFailure(tool.Run({"get", "p", "value", "1.5"}), 2, "index: \"1.5\" is no whole number");
    ExpectFailure(tool.Run({"get", "p", "value", "99999999999"}), 2,
                  "index: 99999999999 is not from -2147483648");
    ExpectFailure(tool.Run({"read", "p", "0x", "1", "f"}), 2, "address: \"0x\" is no whole number");
    ExpectFailure(tool.Run({"read", "p", "0x1g", "1", "f"}), 2, "address: \"0x1g\"");
    ExpectFailure(tool.Run({"call", "p", "1", "i16:40000"}), 2, "i16: 40000 is not from -32768 to 32767");
    ExpectFailure(tool.Run({"show", "p", "--timeout", "2s"}), 2, "--timeout: \"2s\"");
    ExpectFailure(tool.Run({"simulate", "--for", "-1"}), 2, "--for: \"-1\"");
}

TEST(Qzdevice, PathsAreShownAsTheirUserWritesThem)
{
    EXPECT_EQ(qzdevice::PlainPort("\\\\.\\/dev/ttyUSB0"), "/dev/ttyUSB0");
    EXPECT_EQ(qzdevice::PlainPort("\\\\.\\COM3"), "\\\\.\\COM3");
    EXPECT_EQ(qzdevice::PlainPort("/dev/ttyUSB0"), "/dev/ttyUSB0");
}

TEST(Qzdevice, CallShowsTheResultInAllForms)
{
    ToolSetup setup;
    EXPECT_EQ(
        setup.Run({"call", "3", "f:0.5"}).out,
        "bytes  00 00 80 3F 00 00 00 00 00 00 00 00 00 00 00 00\ni16    0\ni32    1065353216\nfloat  1\n");
    EXPECT_EQ(setup.Run({"call", "5", "i16:-3", "i16:5"}).out.substr(0, 54),
              "bytes  02 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
    EXPECT_EQ(setup.Run({"call", "1", "0aFF", "i32:-2", "--no-checksum"}).out.substr(0, 54),
              "bytes  0A FF FE FF FF FF 00 00 00 00 00 00 00 00 00 00");
    ExpectFailure(setup.Run({"call", "77"}), 1, "Param out of range");
}

TEST(Qzdevice, MemoryGoesToAndFromFiles)
{
    ToolSetup setup;
    std::string bytes;
    for (int i = 0; i < 2500; ++i) bytes.push_back(static_cast<char>(i * 13));
    setup.tool.Dir().Write("in", bytes);
    setup.controller.blockSize = 200;
    Result result = setup.Run({"write", "0x100", setup.tool.Path("in")}, true);
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, "2500 bytes written\n");
    EXPECT_NE(result.err.find("100%"), std::string::npos);
    EXPECT_EQ(setup.controller.memory.substr(0x100, 2500), bytes);
    setup.tool.Dir().Write("out", std::string(5000, 'x'));
    ExpectFailure(setup.Run({"read", "256", "2500", setup.tool.Path("out")}), 3, "is there already");
    EXPECT_EQ(setup.tool.Dir().Read("out"), std::string(5000, 'x'));
    result = setup.Run({"read", "256", "2500", setup.tool.Path("out"), "--no-verify", "--force"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, "2500 bytes read\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(setup.tool.Dir().Read("out"), bytes);
    EXPECT_EQ(setup.Run({"read", "0", "0", setup.tool.Path("none")}).code, 0);
    EXPECT_EQ(setup.tool.Dir().Read("none"), "");

    ExpectFailure(setup.Run({"write", "0", setup.tool.Path("missing")}), 3, "");
    ExpectFailure(setup.Run({"read", "65000", "1000", setup.tool.Path("never")}), 1, "Param out of range");
    EXPECT_FALSE(setup.tool.Dir().Exists("never"));
    setup.controller.Inject({Controller::kDataByte, 10, Fault::Kind::Status, 0xF4, false});
    ExpectFailure(setup.Run({"write", "0", setup.tool.Path("in"), "--no-verify"}), 1,
                  "FailedFromOperationEEPROM");
}

TEST(Qzdevice, ASimulatedControllerServesTheOtherCommands)
{
    Tool tool;
    if (!qzdevice::MakeTerminal())
    {
        ExpectFailure(tool.Run({"simulate"}), 3, "--port");
        return;
    }
    Result simulated;
    std::thread simulation([&] {
        simulated = tool.Run({"simulate", "--model", "XY9Z", "--serial", "S1", "--version", "v", "--block",
                              "7", "--memory", "100", "--log", "--fault", "12:2=F4", "--fault", "5E:3+=flip",
                              "--for", "600"});
    });
    std::string port;
    EXPECT_TRUE(qztest::Eventually([&] {
        if (!tool.Dir().Exists("out1")) return false;
        port = tool.Dir().Read("out1");
        return port.find('\n') != std::string::npos;
    }));
    port.resize(port.find('\n'));
    EXPECT_NE(tool.Run({"show", port}).out.find("model          XY9Z\n"), std::string::npos);
    EXPECT_EQ(tool.Run({"order", port, "sync"}).code, 0);
    ExpectFailure(tool.Run({"order", port, "sync"}), 1, "FailedFromOperationEEPROM");
    ExpectFailure(tool.Run({"order", port, "sync"}), 1, "Verify failed");
    ExpectFailure(tool.Run({"order", port, "sync"}), 1, "Verify failed");
    EXPECT_EQ(tool.Run({"read", port, "90", "10", tool.Path("memory")}).code, 0);
    ExpectFailure(tool.Run({"read", port, "90", "11", tool.Path("memory"), "--force"}), 1,
                  "Param out of range");
    tool.Stop();
    simulation.join();
    EXPECT_EQ(simulated.code, 0) << simulated.err;
    EXPECT_NE(simulated.out.find("\n12 > F4\n"), std::string::npos);
}

TEST(QzdeviceController, ABlockBelongsToItsSelection)
{
    Controller controller;
    const auto take = [&](const std::string& hex) {
        std::string answers;
        for (const char byte : qztest::Bytes(hex))
            answers += controller.Take(static_cast<unsigned char>(byte));
        return qztest::Hex(answers);
    };
    const auto select = [&](unsigned address) {
        controller.Take(0x51);
        for (const unsigned value : {address, 2u})
            for (int shift = 0; shift < 32; shift += 4)
                controller.Take(static_cast<unsigned char>(0x30 | (value >> shift & 15)));
        return controller.Take(0x21);
    };
    EXPECT_EQ(select(65534), std::string(1, '\0'));
    EXPECT_EQ(take("24 61 62 27"), "00 00 00 00");
    // The block is outside the memory: neither the bytes written before nor an empty block can be committed
    // to it.
    EXPECT_EQ(select(65535), "\xF1");
    EXPECT_EQ(take("22"), "E2");
    EXPECT_EQ(take("27 22"), "E2 E2");
    EXPECT_EQ(select(65534), std::string(1, '\0'));
    EXPECT_EQ(take("22"), "E2");
    EXPECT_EQ(take("24 63 64 27 22"), "00 00 00 00 00");
    EXPECT_EQ(controller.memory.substr(65534), "cd");
}

TEST(Qzdevice, ASimulationEndsByItself)
{
    Tool tool;
    if (!qzdevice::MakeTerminal()) GTEST_SKIP() << "no pseudo-terminals here";
    EXPECT_EQ(tool.Run({"simulate", "--for", "0.05"}).code, 0);
}

TEST(Qzdevice, ASimulationServesAPort)
{
    // Two tools would need a cable between two ports, so the test itself is the host.
    qztest::LinePeer host;
    Tool tool;
    Result simulated;
    std::thread simulation([&] { simulated = tool.Run({"simulate", "--port", host.Path(), "--log"}); });
    EXPECT_TRUE(qztest::Eventually([&] {
        // Bytes that were sent before the port was set up may be lost.
        if (host.Received().empty()) host.Send("\x52");
        os::Sleep(5);
        return !host.Received().empty();
    }));
    EXPECT_EQ(host.Received()[0], '\0');
    const std::size_t before = host.Received().size();
    host.Send("\x5F");
    EXPECT_TRUE(
        qztest::Eventually([&] { return host.Received().find('\xCF', before) != std::string::npos; }));
    tool.Stop();
    simulation.join();
    EXPECT_EQ(simulated.code, 0) << simulated.err;
}

TEST(Qzdevice, TheProgramPassesItsExitCodeOn)
{
    Tool tool;
    std::filesystem::path program(QZ_TEST_QZDEVICE);
    const std::string line = program.make_preferred().string();
    const std::string streams = " >" + tool.Path("out") + " 2>" + tool.Path("err");
    int status = std::system((line + " list" + streams).c_str());
    EXPECT_EQ(status, 0) << tool.Dir().Read("err");
    status = std::system((line + " show no-such-port" + streams).c_str());
    EXPECT_EQ(status >= 256 ? status / 256 : status, 3);
    EXPECT_NE(tool.Dir().Read("err").find("Device Open Failed"), std::string::npos);
}
