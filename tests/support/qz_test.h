#ifndef QZLIB_TESTS_SUPPORT_QZ_TEST_H
#define QZLIB_TESTS_SUPPORT_QZ_TEST_H

/// What the tests share: text of every kind as UTF-8, bytes as hex, exceptions by code, folders that vanish.

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "fw/fw_exception.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"
#include "sys/sys_types.h"

namespace qztest
{

/// Text in the library's own units.
using Text = std::basic_string<QZWChar>;
using TextView = std::basic_string_view<QZWChar>;

/// UTF-16 to UTF-8, written apart from the library's own conversion. A lone surrogate becomes U+FFFD.
std::string Utf8(TextView text);
std::string Utf8(const QZWChar* text);

/// The text of a string object; "<null>" for a null pointer. The object stays with whoever owns it.
std::string Utf8(QZString* text);
inline std::string Utf8(QZString& text) { return Utf8(&text); }

/// UTF-8 to UTF-16, for literals that a test writes as narrow text.
Text Wide(std::string_view utf8);

/// "48 65 6C" for the bytes at data.
std::string Hex(const void* data, std::size_t size);
inline std::string Hex(std::string_view bytes) { return Hex(bytes.data(), bytes.size()); }

/// "48 65 6C", "48656C" or any mix of blanks and digit pairs, as bytes.
std::string Bytes(std::string_view hex);

/// True when the program runs on Wine and not on Windows itself. False on other systems.
bool OnWine();

/// Sets a variable of this process's environment; programs that it starts see it. Null takes it away.
void SetVariable(const char* name, const char* value);

/// A program of its own that runs until its input ends.
class Program
{
public:
    /// The line goes to the system's command interpreter.
    explicit Program(const std::string& line);
    ~Program() { End(); }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Ends its input and waits for it; its exit code.
    int End();

private:
    void* m_input;
};

/// The files that tests read, by path under tests/.
std::filesystem::path DataFile(std::string_view relative);

/// A folder of the test's own, empty at the start, removed with everything in it at the end.
class TempDir
{
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::filesystem::path Path(std::string_view name) const { return m_path / name; }

    /// The path of a file in the folder, in the library's units. Empty name: the folder itself.
    Text Name(std::string_view name = {}) const;

    /// The same in the narrow page (plain ASCII paths only).
    std::string NarrowName(std::string_view name = {}) const;

    /// Writes and reads whole files without the library.
    void Write(std::string_view name, std::string_view bytes) const;
    std::string Read(std::string_view name) const;
    bool Exists(std::string_view name) const;

private:
    std::filesystem::path m_path;
};

/// The standard assert hook of a test program: a broken assertion fails the running test.
void FailOnBrokenAssertion(QZBool condition);

/// How many broken assertions the standard hook has seen since the program started.
int BrokenAssertions();

/// Puts the library's own copy, move and clean into the hook slots. The first call must come before any test
/// has set a hook of its own.
void SetStandardMemoryHooks();

/// The same, and the standard assert hook.
void SetStandardHooks();

/// What a call threw.
struct Thrown
{
    bool thrown = false;
    QZInt64 code = 0;
    QZInt64 type = 0;
    std::string message;        ///< UTF-8
    std::string stackTrace;     ///< UTF-8
    std::string argumentTrace;  ///< UTF-8
};

/// Notes what the exception says and gives it back to the factory.
Thrown TakeException(QZException* exception);

/// Runs the call; what it throws is noted and recycled.
template <typename Call>
Thrown Catch(Call&& call)
{
    try
    {
        call();
    }
    catch (QZException* exception)
    {
        return TakeException(exception);
    }
    return {};
}

/// For EXPECT_QZ_THROW and its like: success, or what came instead.
::testing::AssertionResult ThrewCode(const char* expression, const Thrown& thrown, QZInt64 code);
::testing::AssertionResult ThrewMessage(const char* expression, const Thrown& thrown, QZInt64 code,
                                        std::string_view message);
::testing::AssertionResult ThrewNothing(const char* expression, const Thrown& thrown);

}  // namespace qztest

#define QZ_TEST_CATCH(statement) ::qztest::Catch([&]() { statement; })

/// The statement throws a QZException (or a class of its family) with this code. The exception is recycled.
#define EXPECT_QZ_THROW(statement, code) \
    EXPECT_TRUE(::qztest::ThrewCode(#statement, QZ_TEST_CATCH(statement), code))
#define ASSERT_QZ_THROW(statement, code) \
    ASSERT_TRUE(::qztest::ThrewCode(#statement, QZ_TEST_CATCH(statement), code))

/// ... and its message, as UTF-8, is this.
#define EXPECT_QZ_THROW_MESSAGE(statement, code, message) \
    EXPECT_TRUE(::qztest::ThrewMessage(#statement, QZ_TEST_CATCH(statement), code, message))

/// The statement throws no QZException. What it throws all the same is told and recycled.
#define EXPECT_QZ_NO_THROW(statement) \
    EXPECT_TRUE(::qztest::ThrewNothing(#statement, QZ_TEST_CATCH(statement)))
#define ASSERT_QZ_NO_THROW(statement) \
    ASSERT_TRUE(::qztest::ThrewNothing(#statement, QZ_TEST_CATCH(statement)))

/// Texts of any kind that Utf8 takes, against UTF-8 or ASCII.
#define EXPECT_QZ_TEXT(text, utf8) EXPECT_EQ(::qztest::Utf8(text), std::string(utf8))
#define ASSERT_QZ_TEXT(text, utf8) ASSERT_EQ(::qztest::Utf8(text), std::string(utf8))

/// Bytes in memory against hex digits: EXPECT_BYTES(p, 4, "01 02 03 04").
#define EXPECT_BYTES(data, size, hex) \
    EXPECT_EQ(::qztest::Hex(data, static_cast<std::size_t>(size)), ::qztest::Hex(::qztest::Bytes(hex)))

/// Leaves the test out on Wine, with the reason in the results. Only for what Wine itself lacks.
#define QZ_SKIP_ON_WINE(reason) \
    if (::qztest::OnWine()) GTEST_SKIP() << "on Wine: " << reason

#endif
