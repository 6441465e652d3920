#ifndef QZLIB_TESTS_SUPPORT_QZ_TEST_H
#define QZLIB_TESTS_SUPPORT_QZ_TEST_H

/// Helpers for all tests: text as UTF-8, bytes as hex digits, exceptions by code, temporary folders.

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "fw/fw_exception.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_string.h"
#include "sys/sys_types.h"

namespace qztest
{

/// Text in the character type of the library.
using Text = std::basic_string<QZWChar>;
using TextView = std::basic_string_view<QZWChar>;

/// Converts UTF-16 to UTF-8, independently of the library. A lone surrogate becomes U+FFFD.
std::string Utf8(TextView text);
std::string Utf8(const QZWChar* text);

/// Returns the text of a string object, or "<null>" for a null pointer. Does not recycle the object.
std::string Utf8(QZString* text);
inline std::string Utf8(QZString& text) { return Utf8(&text); }

/// Converts UTF-8 to UTF-16, for literals that a test writes as narrow text.
Text Wide(std::string_view utf8);

/// Returns the bytes as hex digits, such as "48 65 6C".
std::string Hex(const void* data, std::size_t size);
inline std::string Hex(std::string_view bytes) { return Hex(bytes.data(), bytes.size()); }

/// Returns the bytes for hex digits, such as "48 65 6C" or "48656C". Other characters are ignored.
std::string Bytes(std::string_view hex);

/// Returns true if the program runs on Wine; false on Windows and all other systems.
bool OnWine();

/// Sets an environment variable of this process and of the programs that it starts. Null removes it.
void SetVariable(const char* name, const char* value);

/// Runs the work in a process of its own and returns by how many bytes its memory grew at the most. -1 where
/// that cannot be measured: on Windows, under an emulator, and with a sanitizer, which takes memory itself.
long long PeakMemoryOf(const std::function<void()>& work);

/// A separate program that runs until its input ends.
class Program
{
public:
    /// Starts the program with a line for the command interpreter of the system.
    explicit Program(const std::string& line);
    ~Program() { End(); }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// Closes the input of the program, waits for its end and returns its exit code.
    int End();

private:
    void* m_input;
};

/// Returns the full path of a file that tests read; the argument is relative to tests/.
std::filesystem::path DataFile(std::string_view relative);

/// A temporary folder, empty at first. The destructor removes it with its contents.
class TempDir
{
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::filesystem::path Path(std::string_view name) const { return m_path / name; }

    /// Returns the path of a file in the folder as UTF-16. An empty name means the folder itself.
    Text Name(std::string_view name = {}) const;

    /// Returns the same path as narrow text (ASCII paths only).
    std::string NarrowName(std::string_view name = {}) const;

    /// Write and read complete files without the library.
    void Write(std::string_view name, std::string_view bytes) const;
    std::string Read(std::string_view name) const;
    bool Exists(std::string_view name) const;

private:
    std::filesystem::path m_path;
};

/// The standard assert hook of a test program: a failed assertion of the library fails the running test.
void FailOnFailedAssertion(QZBool condition);

/// Returns the number of failed assertions that the standard hook has counted since the program started.
int FailedAssertionCount();

/// Sets the hooks for copy, move and clean to those of the library. The first call must come before any test
/// sets another hook.
void SetStandardMemoryHooks();

/// Sets the standard memory hooks and the standard assert hook.
void SetStandardHooks();

/// The exception that a call threw, if any.
struct Thrown
{
    bool thrown = false;
    QZInt64 code = 0;
    QZInt64 type = 0;
    std::string message;        ///< UTF-8
    std::string stackTrace;     ///< UTF-8
    std::string argumentTrace;  ///< UTF-8
};

/// Copies the contents of the exception and recycles it.
Thrown TakeException(QZException* exception);

/// Runs the call. Copies the contents of an exception and recycles it.
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

/// Compare the exception for EXPECT_QZ_THROW and similar macros; the result describes a difference.
::testing::AssertionResult ThrewCode(const char* expression, const Thrown& thrown, QZInt64 code);
::testing::AssertionResult ThrewMessage(const char* expression, const Thrown& thrown, QZInt64 code,
                                        std::string_view message);
::testing::AssertionResult ThrewNothing(const char* expression, const Thrown& thrown);

}  // namespace qztest

#define QZ_TEST_CATCH(statement) ::qztest::Catch([&]() { statement; })

/// Expects that the statement throws a QZException (or a derived class) with this code, and recycles it.
#define EXPECT_QZ_THROW(statement, code) \
    EXPECT_TRUE(::qztest::ThrewCode(#statement, QZ_TEST_CATCH(statement), code))
#define ASSERT_QZ_THROW(statement, code) \
    ASSERT_TRUE(::qztest::ThrewCode(#statement, QZ_TEST_CATCH(statement), code))

/// Expects an exception with this code and this message (in UTF-8).
#define EXPECT_QZ_THROW_MESSAGE(statement, code, message) \
    EXPECT_TRUE(::qztest::ThrewMessage(#statement, QZ_TEST_CATCH(statement), code, message))

/// Expects that the statement throws no QZException. Reports and recycles an exception.
#define EXPECT_QZ_NO_THROW(statement) \
    EXPECT_TRUE(::qztest::ThrewNothing(#statement, QZ_TEST_CATCH(statement)))
#define ASSERT_QZ_NO_THROW(statement) \
    ASSERT_TRUE(::qztest::ThrewNothing(#statement, QZ_TEST_CATCH(statement)))

/// Compares text of any kind that Utf8 accepts with UTF-8 or ASCII text.
#define EXPECT_QZ_TEXT(text, utf8) EXPECT_EQ(::qztest::Utf8(text), std::string(utf8))
#define ASSERT_QZ_TEXT(text, utf8) ASSERT_EQ(::qztest::Utf8(text), std::string(utf8))

/// Compares bytes in memory with hex digits: EXPECT_BYTES(p, 4, "01 02 03 04").
#define EXPECT_BYTES(data, size, hex) \
    EXPECT_EQ(::qztest::Hex(data, static_cast<std::size_t>(size)), ::qztest::Hex(::qztest::Bytes(hex)))

/// Skips the test on Wine and records the reason. Only for functions that Wine does not support.
#define QZ_SKIP_ON_WINE(reason) \
    if (::qztest::OnWine()) GTEST_SKIP() << "on Wine: " << reason

#endif
