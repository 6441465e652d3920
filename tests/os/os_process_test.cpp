#include "os/os_process.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <set>
#include <thread>

#include "fw/fw_collection.h"
#include "fw/fw_exception_code.h"
#include "fw/fw_library.h"
#include "fw/fw_string_factory.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_hooks.h"
#include "sys/internal/sys_process.h"

namespace
{

using qztest::Eventually;
using qztest::Hooks;
using qztest::TempDir;
using qztest::Text;

constexpr QZUInt32 kSystemNumber = 5;
constexpr const char* kWaitVariable = "QZLIB_TEST_PROGRAM_WAITS";

/// A copy of this program that is started with the variable set runs no tests: it waits until it is killed,
/// at most 20 s.
const bool g_waited = [] {
    if (std::getenv(kWaitVariable) == nullptr) return false;
    std::this_thread::sleep_for(std::chrono::seconds(20));
    std::_Exit(0);
}();

/// A QZString, recycled at the end of its scope.
struct Name
{
    explicit Name(std::string_view text) : string(QZStringFactory::CreateString(qztest::Wide(text).c_str()))
    {}
    explicit Name(const Text& text) : string(QZStringFactory::CreateString(text.c_str())) {}
    ~Name() { QZStringFactory::Recycle(&string); }
    Name(const Name&) = delete;
    Name& operator=(const Name&) = delete;
    operator QZString*() const { return string; }
    QZString* string;
};

std::set<long long> Taken(QZCollection* pids)
{
    std::set<long long> result;
    for (QZInt64 i = 0; i < pids->Count(); ++i) result.insert(static_cast<long long>(pids->GetElement(i)));
    QZProcess::Recycle(&pids);
    EXPECT_EQ(pids, nullptr);
    return result;
}

/// The path of this program's file.
std::filesystem::path ThisProgram()
{
    QZString* path = QZProcess::GetCurrentExeFilePath();
    std::filesystem::path file(Text(path->GetPointer()));
    QZProcess::Recycle(&path);
    return file;
}

/// A copy of this program with its own name; once started, it waits to be killed.
class WaitingProgram
{
public:
    WaitingProgram() : m_name("qzlib-waiting-" + std::to_string(QZProcess::GetCurrentPID()))
    {
        std::filesystem::path original = ThisProgram();
        m_file = m_name + original.extension().string();
        std::filesystem::copy_file(original, m_dir.Path(m_file));
        qztest::SetVariable(kWaitVariable, "1");
    }
    ~WaitingProgram() { qztest::SetVariable(kWaitVariable, nullptr); }

    /// The name without the extension.
    const std::string& ProgramName() const { return m_name; }
    const std::string& FileName() const { return m_file; }
    QZProcess* Start() const { return QZProcess::Create(Name(m_dir.Name(m_file))); }

private:
    TempDir m_dir;
    std::string m_name;
    std::string m_file;
};

TEST(Process, ThisProcessIsFoundByIdAndByName)
{
    long long self = QZProcess::GetCurrentPID();
    EXPECT_GT(self, 0);
    EXPECT_EQ(QZProcess::Exists(self), 1);
    EXPECT_EQ(Taken(QZProcess::GetIDList()).count(self), 1u);
    std::filesystem::path program = ThisProgram();
    QZString* name = QZProcess::GetProcessName(self);
    EXPECT_EQ(qztest::Utf8(name), program.filename().string());
    QZProcess::Recycle(&name);
    EXPECT_EQ(name, nullptr);
    std::string bare = program.extension() == ".exe" ? program.stem().string() : program.filename().string();
    EXPECT_EQ(QZProcess::Exists(Name(bare)), 1);
    EXPECT_EQ(Taken(QZProcess::GetIDByExeName(Name(bare))).count(self), 1u);
}

TEST(Process, PathOfThisProgramNamesItsFile)
{
    EXPECT_TRUE(std::filesystem::is_regular_file(ThisProgram()));
    QZWChar path[8] = {'~', '~', '~', '~', '~', '~', '~', '~'};
    EXPECT_TRUE(os::ProcessImagePath(path, 4));
    EXPECT_EQ(path[3], 0) << "the path is cut at the end of the buffer";
    EXPECT_EQ(path[4], QZWChar('~'));
    Hooks hooks;
    hooks.Fail(os::Op::System, kSystemNumber);
    auto thrown = QZ_TEST_CATCH(QZProcess::GetCurrentExeFilePath());
    EXPECT_EQ(thrown.code, 16);
    EXPECT_EQ(thrown.type, QZException::Type);
    EXPECT_EQ(thrown.message.rfind(" SystemError ", 0), 0u) << thrown.message;
    EXPECT_EQ(thrown.stackTrace, "QZProcess::GetCurrentExeFilePath()");
}

TEST(Process, StartedProgramIsFoundAndKilled)
{
    WaitingProgram program;
    QZProcess* process = program.Start();
    ASSERT_NE(process, nullptr);
    long long pid = process->GetPID();
    EXPECT_GT(pid, 0);
    EXPECT_NE(pid, QZProcess::GetCurrentPID());
    EXPECT_EQ(QZProcess::Exists(pid), 1);
    EXPECT_EQ(QZProcess::Exists(Name(program.ProgramName())), 1);
    EXPECT_EQ(Taken(QZProcess::GetIDByExeName(Name(program.ProgramName()))), std::set<long long>{pid});
    QZString* name = QZProcess::GetProcessName(pid);
    EXPECT_EQ(qztest::Utf8(name), program.FileName());
    QZProcess::Recycle(&name);
    EXPECT_TRUE(Eventually([pid] { return QZProcess::GetMemoryUsage(pid) > 0; }));
    EXPECT_GE(QZProcess::GetSwapUsage(pid), 0);

    EXPECT_EQ(QZProcess::Kill(pid), 1);
    EXPECT_TRUE(Eventually([pid] { return !QZProcess::Exists(pid); }));
    EXPECT_EQ(QZProcess::Exists(Name(program.ProgramName())), 0);
    EXPECT_TRUE(Eventually([pid] { return QZProcess::GetMemoryUsage(pid) == -1; }));
    EXPECT_EQ(QZProcess::GetSwapUsage(pid), -1);
    EXPECT_EQ(QZProcess::GetProcessName(pid), nullptr);
    QZProcess::Recycle(&process);
    EXPECT_EQ(process, nullptr);
}

TEST(Process, RefusedKillThrows)
{
    auto thrown = QZ_TEST_CATCH(QZProcess::Kill(0x7FFFFFFF));
    EXPECT_EQ(thrown.code, 5888);
    EXPECT_EQ(thrown.type, QZIOException::Type);
    EXPECT_EQ(thrown.message.rfind(" Operation Failed ", 0), 0u) << thrown.message;
    EXPECT_EQ(thrown.stackTrace, "QZProcess::Kill(QZInt64)");
    EXPECT_EQ(thrown.argumentTrace, "QZProcess::Kill(2147483647)");
    Hooks hooks;
    hooks.Fail(os::Op::System, kSystemNumber);
    EXPECT_QZ_THROW(QZProcess::Kill(QZProcess::GetCurrentPID()), 5888);
}

TEST(Process, RecycleNeitherWaitsForTheProcessNorKillsIt)
{
    WaitingProgram program;
    QZProcess* process = program.Start();
    ASSERT_NE(process, nullptr);
    long long pid = process->GetPID();
    QZProcess::Recycle(&process);
    EXPECT_EQ(QZProcess::Exists(pid), 1);
    EXPECT_TRUE(Eventually([pid] { return QZProcess::GetMemoryUsage(pid) > 0; }));
    EXPECT_EQ(QZProcess::Kill(pid), 1);
    EXPECT_TRUE(Eventually([pid] { return !QZProcess::Exists(pid); }));
}

TEST(Process, CreateOfAMissingFileReturnsNull)
{
    TempDir dir;
    QZProcess* process = nullptr;
    EXPECT_QZ_NO_THROW(process = QZProcess::Create(Name(dir.Name("none"))));
    EXPECT_EQ(process, nullptr);
    EXPECT_EQ(QZProcess::Create(nullptr), nullptr);
    EXPECT_QZ_THROW(QZProcess::Create(Name(std::string(256, 'a'))), 4864);
}

TEST(Process, CreateOfANonProgramReturnsNull)
{
    TempDir dir;
    dir.Write("text.exe", "no program");
    EXPECT_EQ(QZProcess::Create(Name(dir.Name("text.exe"))), nullptr);
    Name program(ThisProgram().string());
    Hooks hooks;
    hooks.Fail(os::Op::System, kSystemNumber);
    EXPECT_EQ(QZProcess::Create(program), nullptr);
}

TEST(Process, NameWithItsExtensionFindsNothing)
{
    std::filesystem::path program = ThisProgram();
    std::string withEnding = program.stem().string() + ".exe";
    EXPECT_EQ(QZProcess::Exists(Name(withEnding)), 0);
    EXPECT_TRUE(Taken(QZProcess::GetIDByExeName(Name(withEnding))).empty());
}

TEST(Process, MissingProgramHasAnEmptyCollection)
{
    QZCollection* pids = QZProcess::GetIDByExeName(Name("qzlib-no-such-program"));
    ASSERT_NE(pids, nullptr);
    EXPECT_EQ(pids->Count(), 0);
    QZProcess::Recycle(&pids);
    EXPECT_EQ(QZProcess::Exists(Name("qzlib-no-such-program")), 0);
    EXPECT_TRUE(Taken(QZProcess::GetIDByExeName(nullptr)).empty());
}

TEST(Process, InvalidIdsAreNoProcess)
{
    for (QZInt64 pid : std::initializer_list<QZInt64>{-1, 0x7FFFFFFF, 0x100000000, INT64_MAX, INT64_MIN})
    {
        EXPECT_EQ(QZProcess::Exists(pid), 0) << pid;
        EXPECT_EQ(QZProcess::GetProcessName(pid), nullptr) << pid;
        EXPECT_EQ(QZProcess::GetMemoryUsage(pid), -1) << pid;
        EXPECT_EQ(QZProcess::GetSwapUsage(pid), -1) << pid;
        QZProcess process(pid);
        EXPECT_EQ(process.GetPID(), pid);
    }
    // An id above 32 bits does not wrap around to an existing process.
    EXPECT_EQ(QZProcess::GetMemoryUsage(QZProcess::GetCurrentPID() + 0x100000000LL), -1);
}

TEST(Process, FailedSystemCallsGiveEmptyLists)
{
    Hooks hooks;
    hooks.Fail(os::Op::System, kSystemNumber, 1, true);
    long long self = QZProcess::GetCurrentPID();
    EXPECT_TRUE(Taken(QZProcess::GetIDList()).empty());
    EXPECT_TRUE(Taken(QZProcess::GetIDByExeName(Name("a"))).empty());
    EXPECT_EQ(QZProcess::GetProcessName(self), nullptr);
    EXPECT_EQ(QZProcess::Exists(self), 0);
    EXPECT_EQ(QZProcess::GetMemoryUsage(self), -1);
    EXPECT_EQ(QZProcess::GetSwapUsage(self), -1);
    auto thrown = QZ_TEST_CATCH(QZProcess::Exists(Name("a")));
    EXPECT_EQ(thrown.code, 6144);
    EXPECT_EQ(thrown.type, QZException::Type);
    EXPECT_EQ(thrown.message.rfind(" OperationFailed ", 0), 0u) << thrown.message;
    EXPECT_EQ(thrown.stackTrace, "QZProcess::Exists(QZString*)");
    EXPECT_EQ(thrown.argumentTrace, "QZProcess::Exists(a)");
}

TEST(Process, MemoryOfThisProcessIsPlausible)
{
    long long self = QZProcess::GetCurrentPID();
    QZUInt64 bytes = 0;
    ASSERT_TRUE(os::ProcessWorkingSet(&bytes));
    long long usage = QZProcess::GetMemoryUsage(self);
    EXPECT_GT(usage, static_cast<long long>(bytes / 2));
    EXPECT_LT(usage, static_cast<long long>(bytes * 2));
    EXPECT_GE(QZProcess::GetSwapUsage(self), 0);
}

TEST(Process, ReadAndWriteTransferNothing)
{
    QZProcess process(QZProcess::GetCurrentPID());
    char buffer[] = "untouched";
    EXPECT_EQ(process.Read(0x10000, buffer, 4), 0);
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_EQ(process.Write(0x10000, buffer, 4), 0);
    EXPECT_EQ(process.Read(0, buffer, 0), 0);
    EXPECT_EQ(process.GetType(), QZProcess::Type);
    EXPECT_EQ(QZProcess::Type, 0x831003A);
}

TEST(Process, HandleIsClosedOnce)
{
    Hooks hooks;
    {
        QZProcess process(QZProcess::GetCurrentPID());
        EXPECT_EQ(hooks.Count(os::Event::HandleClose), 0);
    }
    EXPECT_EQ(hooks.Count(os::Event::HandleClose), 1);
    hooks.Fail(os::Op::System, kSystemNumber);
    {
        QZProcess refused(QZProcess::GetCurrentPID());
    }
    EXPECT_EQ(hooks.Count(os::Event::HandleClose), 1);
}

int g_asserts = 0;

TEST(Process, RecycleOfNullFailsAnAssertion)
{
    g_asserts = 0;
    QZLibSetFunctionAssert([](QZBool condition) { g_asserts += !condition; });
    QZProcess* process = nullptr;
    QZProcess::Recycle(&process);
    EXPECT_EQ(g_asserts, 1);
    QZLibSetFunctionAssert([](QZBool condition) {
        if (!condition) os::AssertReport("val", "code/qzlib", 510);
    });
}

}  // namespace
