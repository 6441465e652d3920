#include "os/os_file.h"

#include <cstdint>
#include <cstring>

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "fw/fw_exception_code.h"
#include "fw/fw_string_factory.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_hooks.h"

namespace
{

using qztest::Hooks;
using qztest::TempDir;
using qztest::Text;

constexpr QZUInt32 kSystemNumber = 5;  // has a text on both platforms

/// A QZString with a path, recycled at the end of its scope.
struct Path
{
    explicit Path(const Text& text) : string(QZStringFactory::CreateString(text.c_str())) {}
    ~Path() { QZStringFactory::Recycle(&string); }
    Path(const Path&) = delete;
    Path& operator=(const Path&) = delete;
    operator QZString*() const { return string; }
    QZString* string;
};

/// An open file of a folder, closed at the end of its scope.
struct Opened
{
    Opened(const TempDir& dir, std::string_view name) : file(QZFile::Open(dir.Name(name).c_str())) {}
    Opened(const TempDir& dir, std::string_view name, unsigned int options)
        : file(QZFile::Open(dir.Name(name).c_str(), options))
    {}
    ~Opened() { QZFile::Close(&file); }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;
    QZFile* operator->() const { return file; }
    QZFile* file;
};

std::string Taken(QZData* data)
{
    std::string bytes(static_cast<const char*>(data->GetPointer()),
                      static_cast<std::size_t>(data->GetSize()));
    QZFile::Recycle(&data);
    EXPECT_EQ(data, nullptr);
    return bytes;
}

Text LongPath(std::size_t length) { return Text(length, QZWChar('a')); }

TEST(File, OptionsAreBits)
{
    EXPECT_EQ(QZFileOptions::Read, 1u);
    EXPECT_EQ(QZFileOptions::Write, 2u);
    EXPECT_EQ(QZFileOptions::ShareRead, 4u);
    EXPECT_EQ(QZFileOptions::ReadWrite, 5u);
    EXPECT_EQ(QZFileOptions::ShareWrite, 10u);
    EXPECT_EQ(QZFileOptions::ShareReadWrite, 15u);
}

TEST(File, OpenTakesThreeKindsOfPath)
{
    TempDir dir;
    dir.Write("a", "x");
    QZFile* file = QZFile::Open(dir.NarrowName("a").c_str());
    EXPECT_EQ(file->GetType(), 0x81FF500);
    QZFile::Close(&file);
    EXPECT_EQ(file, nullptr);
    file = QZFile::Open(dir.Name("a").c_str());
    QZFile::Close(&file);
    Path path(dir.Name("a"));
    file = QZFile::Open(path);
    QZFile::Close(&file);
    file = QZFile::Open(dir.NarrowName("a").c_str(), QZFileOptions::Read);
    QZFile::Close(&file);
    file = QZFile::Open(dir.Name("a").c_str(), QZFileOptions::Read);
    QZFile::Close(&file);
    file = QZFile::Open(path, QZFileOptions::Read);
    QZFile::Close(&file);
    QZFile::Close(&file);
}

TEST(File, NonAsciiNamesMeanTheSameFileInAllForms)
{
    TempDir dir;
    Text name = dir.Name() + qztest::Wide("/\xE6\x96\x87\xE4\xBB\xB6-\xF0\x9F\x98\x80");
    QZFile::Create(name.c_str());
    EXPECT_EQ(QZFile::Exists(name.c_str()), 1);
    EXPECT_EQ(QZFile::Exists(Path(name)), 1);
    EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(name)));
    QZFile::Delete(name.c_str());
    EXPECT_EQ(QZFile::Exists(name.c_str()), 0);
}

TEST(File, OpenOfAMissingFileShowsTheSystemError)
{
    TempDir dir;
    auto thrown = QZ_TEST_CATCH(QZFile::Open(dir.Name("none").c_str()));
    EXPECT_EQ(thrown.code, 5888);
    EXPECT_EQ(thrown.type, QZIOException::Type);
    EXPECT_EQ(thrown.message.rfind(" Operation Failed ", 0), 0u) << thrown.message;
    EXPECT_GT(thrown.message.size(), 18u) << "the system's text follows";
    EXPECT_EQ(thrown.stackTrace, "QZFile::Open(QZWChar*)");
}

TEST(File, OpenTracesItsArguments)
{
    auto thrown = QZ_TEST_CATCH(QZFile::Open("no such file", 1u));
    EXPECT_EQ(thrown.stackTrace, "QZFile::Open(QZChar*, QZUInt32)");
    EXPECT_EQ(thrown.argumentTrace, "QZFile::Open(no such file, 1)");
}

TEST(File, ExistingFileHasItsOwnError)
{
    TempDir dir;
    dir.Write("a", "x");
    EXPECT_QZ_THROW_MESSAGE(QZFile::Create(dir.Name("a").c_str()), 6400, " File Exists Create Failed");
    EXPECT_EQ(dir.Read("a"), "x");
    Hooks hooks;
    hooks.Fail(os::Op::FileOpen, os::ErrorFileExists());
    EXPECT_QZ_THROW(QZFile::Open(dir.Name("a").c_str()), 6400);
    hooks.Fail(os::Op::FileOpen, kSystemNumber);
    EXPECT_QZ_THROW(QZFile::Open(dir.Name("a").c_str()), 5888);
    hooks.Fail(os::Op::FileOpen, kSystemNumber);
    EXPECT_QZ_THROW(QZFile::Create(dir.Name("b").c_str()), 5888);
}

TEST(File, CreateMakesAnEmptyFileAndClosesIt)
{
    TempDir dir;
    Hooks hooks;
    QZFile::Create(dir.NarrowName("a").c_str());
    QZFile::Create(dir.Name("b").c_str());
    QZFile::Create(Path(dir.Name("c")));
    EXPECT_EQ(hooks.Count(os::Event::HandleClose), 3);
    EXPECT_TRUE(dir.Exists("a"));
    EXPECT_TRUE(dir.Exists("b"));
    EXPECT_EQ(dir.Read("c"), "");
}

TEST(File, PathOf256CharactersFailsBeforeAnyPlatformCall)
{
    Hooks hooks;
    // A call of the platform would fail with this error instead.
    hooks.Fail(os::Op::FileOpen, kSystemNumber, 1, true);
    hooks.Fail(os::Op::FileName, kSystemNumber, 1, true);
    Text path = LongPath(256);
    std::string narrow(256, 'a');
    EXPECT_QZ_THROW_MESSAGE(QZFile::Open(path.c_str()), 4864, " Path Is Too Long");
    EXPECT_QZ_THROW(QZFile::Open(narrow.c_str(), 1u), 4864);
    EXPECT_QZ_THROW(QZFile::Create(Path(path)), 4864);
    EXPECT_QZ_THROW(QZFile::Delete(narrow.c_str()), 4864);
    EXPECT_QZ_THROW(QZFile::Exists(path.c_str()), 4864);
    EXPECT_QZ_THROW(QZFile::Rename(narrow.c_str(), "b"), 4864);
    EXPECT_QZ_THROW(QZFile::Rename(QZ_W("b"), path.c_str()), 4864);
    EXPECT_QZ_THROW(QZFile::Rename(Path(path), Path(QZ_W("b"))), 4864);
}

TEST(File, PathOf255CharactersIsPassedToThePlatform)
{
    Hooks hooks;
    hooks.Fail(os::Op::FileOpen, kSystemNumber, 1, true);
    hooks.Fail(os::Op::FileName, kSystemNumber, 1, true);
    Text path = LongPath(255);
    EXPECT_QZ_THROW(QZFile::Open(path.c_str()), 5888);
    EXPECT_QZ_THROW(QZFile::Create(path.c_str()), 5888);
    EXPECT_QZ_THROW(QZFile::Delete(path.c_str()), 5888);
    EXPECT_EQ(QZFile::Exists(path.c_str()), 0);
    EXPECT_QZ_THROW(QZFile::Rename(path.c_str(), path.c_str()), 5888);
}

TEST(File, ExistsIsTrueForFilesOnly)
{
    TempDir dir;
    dir.Write("a", "x");
    EXPECT_EQ(QZFile::Exists(dir.NarrowName("a").c_str()), 1);
    EXPECT_EQ(QZFile::Exists(dir.Name("a").c_str()), 1);
    EXPECT_EQ(QZFile::Exists(Path(dir.Name("a"))), 1);
    EXPECT_EQ(QZFile::Exists(dir.Name("b").c_str()), 0);
    EXPECT_EQ(QZFile::Exists(dir.Name("").c_str()), 0);
}

TEST(File, OpenOfADirectoryThrows)
{
    TempDir dir;
    EXPECT_QZ_THROW(QZFile::Open(dir.Name("").c_str(), QZFileOptions::Read), 5888);
}

TEST(File, DeleteRemovesTheFile)
{
    TempDir dir;
    dir.Write("a", "x");
    dir.Write("b", "x");
    dir.Write("c", "x");
    QZFile::Delete(dir.NarrowName("a").c_str());
    QZFile::Delete(dir.Name("b").c_str());
    QZFile::Delete(Path(dir.Name("c")));
    EXPECT_FALSE(dir.Exists("a") || dir.Exists("b") || dir.Exists("c"));
    EXPECT_QZ_THROW(QZFile::Delete(dir.Name("a").c_str()), 5888);
}

TEST(File, RenameMovesAndNeverReplaces)
{
    TempDir dir;
    dir.Write("a", "first");
    QZFile::Rename(dir.NarrowName("a").c_str(), dir.NarrowName("b").c_str());
    QZFile::Rename(dir.Name("b").c_str(), dir.Name("c").c_str());
    QZFile::Rename(Path(dir.Name("c")), Path(dir.Name("d")));
    EXPECT_FALSE(dir.Exists("a"));
    EXPECT_EQ(dir.Read("d"), "first");
    dir.Write("e", "second");
    EXPECT_QZ_THROW(QZFile::Rename(dir.Name("d").c_str(), dir.Name("e").c_str()), 5888);
    EXPECT_EQ(dir.Read("d"), "first");
    EXPECT_EQ(dir.Read("e"), "second");
    EXPECT_QZ_THROW(QZFile::Rename(dir.Name("none").c_str(), dir.Name("f").c_str()), 5888);
}

TEST(File, ReadsAndWritesAtOffsets)
{
    TempDir dir;
    dir.Write("a", "0123456789");
    Opened file(dir, "a");
    EXPECT_EQ(file->Write(3, "xyz", 3), 3);
    char buffer[4] = {};
    EXPECT_EQ(file->Read(2, buffer, 4), 4);
    EXPECT_EQ(std::string(buffer, 4), "2xyz");
    EXPECT_EQ(Taken(file->Read(0, 3)), "012");
    EXPECT_EQ(file->GetSize(), 10);
    EXPECT_EQ(dir.Read("a"), "012xyz6789");
}

TEST(File, ReadAtTheEndReturnsTheBytesLeft)
{
    TempDir dir;
    dir.Write("a", "0123456789");
    Opened file(dir, "a");
    char buffer[8] = {};
    EXPECT_EQ(file->Read(7, buffer, 8), 3);
    EXPECT_EQ(file->Read(10, buffer, 8), 0);
    EXPECT_EQ(file->Read(1000, buffer, 8), 0);
    QZData* data = file->Read(7, 100);
    EXPECT_EQ(data->GetSize(), 3);
    EXPECT_EQ(Taken(data), "789");
    EXPECT_EQ(Taken(file->Read(10, 5)), "");
    EXPECT_EQ(Taken(file->Read(0, 0)), "");
}

TEST(File, WriteOfADataObject)
{
    TempDir dir;
    dir.Write("a", "");
    Opened file(dir, "a");
    QZData* data = QZDataFactory::CreateData();
    data->Set("hello", 5);
    EXPECT_EQ(file->Write(2, data), 5);
    QZDataFactory::Recycle(&data);
    EXPECT_EQ(dir.Read("a"), std::string("\0\0hello", 7));
}

TEST(File, AppendWritesAfterTheLastByte)
{
    TempDir dir;
    dir.Write("a", "abc");
    Opened file(dir, "a");
    EXPECT_EQ(file->Append("de", 2), 2);
    EXPECT_EQ(file->Append("f", 1), 1);
    EXPECT_EQ(Taken(file->ReadToEnd()), "abcdef");
}

TEST(File, NewSizeTruncatesAndExtends)
{
    TempDir dir;
    dir.Write("a", "abcdef");
    Opened file(dir, "a");
    file->NewSize(2);
    EXPECT_EQ(dir.Read("a"), "ab");
    file->NewSize(4);
    EXPECT_EQ(dir.Read("a"), std::string("ab\0\0", 4));
    EXPECT_EQ(file->GetSize(), 4);
    EXPECT_QZ_THROW(file->NewSize(-1), 5888);
    EXPECT_EQ(file->GetSize(), 4);
}

TEST(File, SizesAreCutTo32Bits)
{
    TempDir dir;
    dir.Write("a", "0123456789");
    Opened file(dir, "a");
    char buffer[8] = {};
    EXPECT_EQ(file->Read(0, buffer, 0x100000003LL), 3);
    EXPECT_STREQ(buffer, "012");
    EXPECT_EQ(file->Write(0, "ab", 0x100000002LL), 2);
    EXPECT_EQ(dir.Read("a"), "ab23456789");
    // Only the low 32 bits count in a negative size, too.
    EXPECT_EQ(file->Read(2, buffer, INT64_MIN + 2), 2);
    EXPECT_STREQ(buffer, "232");
    EXPECT_EQ(file->Write(0, "xyz", -0xFFFFFFFDLL), 3);
    EXPECT_EQ(dir.Read("a"), "xyz3456789");
    EXPECT_EQ(file->Read(0, buffer, INT64_MIN), 0);
}

TEST(File, NegativeSizesAndOffsetsFail)
{
    TempDir dir;
    dir.Write("a", "0123456789");
    Opened file(dir, "a");
    char buffer[4] = {};
    EXPECT_QZ_THROW(file->Read(0, buffer, -1), 4608);
    EXPECT_QZ_THROW(file->Write(0, buffer, -1), 4352);
    EXPECT_QZ_THROW(file->Read(-1, buffer, 1), 4608);
    EXPECT_QZ_THROW(file->Write(-1, buffer, 1), 4352);
    EXPECT_EQ(dir.Read("a"), "0123456789");
}

TEST(File, OptionsLimitTheOperations)
{
    TempDir dir;
    dir.Write("a", "abc");
    char buffer[4] = {};
    {
        Opened file(dir, "a", QZFileOptions::ReadWrite);
        EXPECT_EQ(file->Read(0, buffer, 3), 3);
        EXPECT_QZ_THROW(file->Write(0, "x", 1), 4352);
    }
    {
        Opened file(dir, "a", QZFileOptions::Write);
        EXPECT_QZ_THROW(file->Read(0, buffer, 3), 4608);
        EXPECT_EQ(file->Write(0, "x", 1), 1);
    }
    {
        Opened file(dir, "a", 0u);
        EXPECT_QZ_THROW(file->Read(0, buffer, 3), 4608);
        EXPECT_QZ_THROW(file->Write(0, "x", 1), 4352);
    }
    EXPECT_EQ(dir.Read("a"), "xbc");
}

TEST(File, PlatformFailuresHaveTheirCodes)
{
    TempDir dir;
    dir.Write("a", "abc");
    Opened file(dir, "a");
    Hooks hooks;
    char buffer[4] = {};
    hooks.Fail(os::Op::FileRead, kSystemNumber);
    auto thrown = QZ_TEST_CATCH(file->Read(0, buffer, 3));
    EXPECT_EQ(thrown.code, 4608);
    EXPECT_EQ(thrown.message.rfind(" unknown error ", 0), 0u) << thrown.message;
    EXPECT_EQ(thrown.stackTrace, "QZFile::Read(QZInt64, QZPVoid, QZInt64)");
    hooks.Fail(os::Op::FileRead, kSystemNumber);
    thrown = QZ_TEST_CATCH(file->Read(0, 3));
    EXPECT_EQ(thrown.code, 4608);
    EXPECT_EQ(thrown.stackTrace, "QZFile::Read(QZInt64, QZPVoid, QZInt64)\r\nQZFile::Read(QZInt64, QZInt64)");
    hooks.Fail(os::Op::FileWrite, kSystemNumber);
    thrown = QZ_TEST_CATCH(file->Write(0, buffer, 3));
    EXPECT_EQ(thrown.code, 4352);
    EXPECT_EQ(thrown.message.rfind(" OutOfMemory ", 0), 0u) << thrown.message;
    hooks.Fail(os::Op::FileWrite, kSystemNumber);
    EXPECT_QZ_THROW(file->Append("x", 1), 4352);
    hooks.Fail(os::Op::FileSize, kSystemNumber);
    EXPECT_QZ_THROW(file->NewSize(1), 5888);
    hooks.Fail(os::Op::FileSize, kSystemNumber);
    EXPECT_QZ_THROW(file->GetSize(), 5888);
    hooks.Fail(os::Op::FileSync, kSystemNumber);
    EXPECT_QZ_THROW(file->Sync(), 5888);
    hooks.Fail(os::Op::FileRead, kSystemNumber);
    EXPECT_QZ_THROW(file->LineCount(), 4608);
    EXPECT_EQ(dir.Read("a"), "abc");
    file->Sync();
}

TEST(File, EveryOperationAddsItsNameToTheTrace)
{
    TempDir dir;
    dir.Write("a", "abc");
    dir.Write("b", "abc");
    Opened file(dir, "a");
    Opened other(dir, "b");
    Hooks hooks;
    auto traceOf = [&](auto call) {
        hooks.Fail(os::Op::FileRead, kSystemNumber);
        auto thrown = qztest::Catch(call);
        EXPECT_EQ(thrown.code, 4608);
        EXPECT_EQ(thrown.type, QZIOException::Type);
        return thrown.stackTrace;
    };
    const std::string whole =
        "QZFile::Read(QZInt64, QZPVoid, QZInt64)\r\nQZFile::Read(QZInt64, QZInt64)\r\nQZFile::ReadToEnd()";
    EXPECT_EQ(traceOf([&] { file->ReadToEnd(); }), whole);
    EXPECT_EQ(traceOf([&] { file->LineCount(); }), whole + "\r\nQZFile::LineCount()");
    EXPECT_EQ(traceOf([&] { file->ReadLine(nullptr); }), whole + "\r\nQZFile::ReadLine(QZChar**)");
    char version[32];
    EXPECT_EQ(traceOf([&] { file->GetVersion(version); }), whole + "\r\nQZFile::GetVersion(QZChar*)");
    EXPECT_EQ(traceOf([&] { file->GetTextFileEncodingType(); }),
              "QZFile::Read(QZInt64, QZPVoid, QZInt64)\r\nQZFile::GetTextFileEncodingType()");
    EXPECT_EQ(traceOf([&] { file->Equals(other.file); }),
              "QZFile::Read(QZInt64, QZPVoid, QZInt64)\r\nQZFile::Equals(QZFile*)");
    hooks.Fail(os::Op::FileWrite, kSystemNumber);
    auto thrown = QZ_TEST_CATCH(file->Append("x", 1));
    EXPECT_EQ(thrown.stackTrace,
              "QZFile::Write(QZInt64, QZPVoid, QZInt64)\r\nQZFile::Append(QZPVoid, QZInt64)");
    hooks.Fail(os::Op::FileSize, kSystemNumber);
    thrown = QZ_TEST_CATCH(file->Append("x", 1));
    EXPECT_EQ(thrown.code, 5888);
    EXPECT_EQ(thrown.stackTrace, "QZFile::GetSize()\r\nQZFile::Append(QZPVoid, QZInt64)");
    hooks.Fail(os::Op::FileSize, kSystemNumber);
    thrown = QZ_TEST_CATCH(file->NewSize(7));
    EXPECT_EQ(thrown.argumentTrace, "QZFile::NewSize(7)");
    hooks.Fail(os::Op::FileSync, kSystemNumber);
    thrown = QZ_TEST_CATCH(file->Sync());
    EXPECT_EQ(thrown.stackTrace, "QZFile::Sync()");
    EXPECT_EQ(dir.Read("a"), "abc");
}

TEST(File, DeleteAndRenameShowTheSystemError)
{
    TempDir dir;
    dir.Write("a", "abc");
    Hooks hooks;
    hooks.Fail(os::Op::FileName, kSystemNumber);
    auto thrown = QZ_TEST_CATCH(QZFile::Delete(dir.Name("a").c_str()));
    EXPECT_EQ(thrown.code, 5888);
    EXPECT_EQ(thrown.stackTrace, "QZFile::Delete(QZWChar*)");
    std::string message = thrown.message;
    hooks.Fail(os::Op::FileName, kSystemNumber);
    thrown = QZ_TEST_CATCH(QZFile::Rename("a", "b"));
    EXPECT_EQ(thrown.message, message) << "same code and same system error";
    EXPECT_EQ(thrown.argumentTrace, "QZFile::Rename(a, b)");
    EXPECT_EQ(dir.Read("a"), "abc");
}

TEST(File, NullDataIsRefused)
{
    TempDir dir;
    dir.Write("a", "abc");
    Opened file(dir, "a");
    EXPECT_QZ_THROW(file->Write(0, static_cast<QZData*>(nullptr)), QZExceptionCode::NullPointer);
    EXPECT_QZ_THROW(file->Read(0, nullptr, 1), 4608);
    EXPECT_QZ_THROW(file->Write(0, nullptr, 1), 4352);
    EXPECT_EQ(dir.Read("a"), "abc");
}

TEST(File, ShortTransfersReturnTheirSize)
{
    TempDir dir;
    dir.Write("a", "abcdef");
    Opened file(dir, "a");
    Hooks hooks;
    char buffer[8] = {};
    hooks.Shorten(os::Op::FileRead, 2);
    EXPECT_EQ(file->Read(0, buffer, 6), 2);
    hooks.Shorten(os::Op::FileWrite, 1);
    EXPECT_EQ(file->Write(0, "xyz", 3), 1);
    EXPECT_EQ(dir.Read("a"), "xbcdef");
    hooks.Shorten(os::Op::FileRead, 4);
    EXPECT_EQ(Taken(file->Read(0, 6)), "xbcd");
}

TEST(File, HandleIsClosedOnce)
{
    TempDir dir;
    dir.Write("a", "abc");
    Hooks hooks;
    QZFile* file = QZFile::Open(dir.Name("a").c_str());
    QZFile::Close(&file);
    EXPECT_EQ(hooks.Count(os::Event::HandleClose), 1);
}

TEST(File, LinesEndWithCrLf)
{
    TempDir dir;
    dir.Write("empty", "");
    dir.Write("one", "a\r\n");
    dir.Write("bare", "a\nb\rc");
    dir.Write("more", "a\r\n\r\nb\r\r\nc");
    EXPECT_EQ(Opened(dir, "empty")->LineCount(), 1);
    EXPECT_EQ(Opened(dir, "one")->LineCount(), 2);
    EXPECT_EQ(Opened(dir, "bare")->LineCount(), 1);
    EXPECT_EQ(Opened(dir, "more")->LineCount(), 4);
}

TEST(File, ReadLineSkipsNullBuffers)
{
    TempDir dir;
    dir.Write("a", "first\r\nsecond\r\n\r\nlast");
    char first[8] = "~~~~~~~";
    char third[8] = "~~~~~~~";
    char last[8] = "~~~~~~~";
    char* lines[] = {first, nullptr, third, last};
    EXPECT_EQ(Opened(dir, "a")->ReadLine(lines), 3);
    EXPECT_STREQ(first, "first");
    EXPECT_STREQ(third, "");
    EXPECT_STREQ(last, "last");
    dir.Write("empty", "");
    EXPECT_EQ(Opened(dir, "empty")->ReadLine(lines), 0);
    EXPECT_STREQ(first, "");
    EXPECT_EQ(Opened(dir, "a")->ReadLine(nullptr), 3);
}

std::string WideBytes(std::string_view text)
{
    std::string bytes;
    for (char c : text) bytes += {c, '\0'};
    return bytes;
}

TEST(File, GetVersionReadsTheVersionResource)
{
    TempDir dir;
    // The key, its terminator and padding, the value with its terminator, and zeros in place of the next
    // entry.
    std::string text = "head" + WideBytes("FileVersion") + std::string(4, '\0') + WideBytes("1,2, 34/5-b6");
    text += std::string(200, '\0');
    dir.Write("a", text);
    char result[40];
    std::memset(result, '~', sizeof(result));
    EXPECT_EQ(Opened(dir, "a")->GetVersion(result), 10);
    EXPECT_STREQ(result, "1.2.34/5-6");
    for (int i = 10; i < 32; ++i) EXPECT_EQ(result[i], 0);
    EXPECT_EQ(result[32], '~');
}

TEST(File, GetVersionStops30BytesBeforeAByteOf1)
{
    TempDir dir;
    // Reading starts 25 bytes after the match; the byte 1 lies 30 bytes after the fourth digit.
    std::string text =
        WideBytes("FileVersion") + std::string(3, '\0') + "12345678" + std::string(25, '\0') + '\1';
    dir.Write("a", text);
    char result[32];
    EXPECT_EQ(Opened(dir, "a")->GetVersion(result), 3);
    EXPECT_STREQ(result, "123");
}

TEST(File, GetVersionReads256BytesAndReturnsAtMost32)
{
    TempDir dir;
    dir.Write("far", WideBytes("FileVersion") + std::string(3 + 255, '\0') + "12" + std::string(40, '\0'));
    char result[33];
    EXPECT_EQ(Opened(dir, "far")->GetVersion(result), 1);
    EXPECT_STREQ(result, "1");
    dir.Write("long", WideBytes("FileVersion") + std::string(3, '\0') + std::string(100, '7'));
    result[32] = '~';
    EXPECT_EQ(Opened(dir, "long")->GetVersion(result), 32);
    EXPECT_EQ(std::string(result, 33), std::string(32, '7') + "~");
}

TEST(File, GetVersionStopsAtTheEndOfTheFile)
{
    TempDir dir;
    dir.Write("a", WideBytes("FileVersion") + std::string(3, '\0') + "42");
    char result[32];
    EXPECT_EQ(Opened(dir, "a")->GetVersion(result), 2);
    EXPECT_STREQ(result, "42");
    dir.Write("b", WideBytes("FileVersion"));
    EXPECT_EQ(Opened(dir, "b")->GetVersion(result), 0);
    EXPECT_STREQ(result, "");
}

TEST(File, GetVersionWithoutThePatternKeepsTheResult)
{
    TempDir dir;
    dir.Write("a", "FileVersion 1.2");
    char result[32] = "untouched";
    EXPECT_EQ(Opened(dir, "a")->GetVersion(result), 0);
    EXPECT_STREQ(result, "untouched");
}

TEST(File, EncodingIsFoundByMarkOrByContent)
{
    TempDir dir;
    auto encoding = [&](std::string_view bytes) {
        dir.Write("a", bytes);
        return Opened(dir, "a")->GetTextFileEncodingType();
    };
    EXPECT_EQ(encoding("\xEF\xBB\xBFhello"), QZEncodingType::UTF8);
    EXPECT_EQ(encoding(std::string_view("\xFF\xFEh\0", 4)), QZEncodingType::UTF16LE);
    EXPECT_EQ(encoding("\xFF\xFE"), QZEncodingType::UTF16LE);
    EXPECT_EQ(encoding(std::string_view("\xFE\xFF\0h", 4)), QZEncodingType::UTF16BE);
    EXPECT_EQ(encoding(std::string_view("\0\0\xFE\xFFxxxx", 8)), QZEncodingType::UTF32BE);
    EXPECT_EQ(encoding(""), QZEncodingType::UTF8);
    EXPECT_EQ(encoding("plain"), QZEncodingType::UTF8);
    EXPECT_EQ(encoding("\xE6\x96\x87"), QZEncodingType::UTF8);
    EXPECT_EQ(encoding("\xB0\xA1"), QZEncodingType::ANSI);
}

TEST(File, Utf32LittleEndianIsReportedAsUtf16)
{
    TempDir dir;
    dir.Write("a", std::string_view("\xFF\xFE\0\0h\0\0\0", 8));
    EXPECT_EQ(Opened(dir, "a")->GetTextFileEncodingType(), QZEncodingType::UTF16LE);
}

TEST(File, EqualsComparesTheBytes)
{
    TempDir dir;
    std::string big(200000, 'x');
    dir.Write("a", big);
    dir.Write("b", big);
    big[150000] = 'y';
    dir.Write("c", big);
    dir.Write("d", "x");
    Opened a(dir, "a");
    EXPECT_EQ(a->Equals(a.file), 1);
    EXPECT_EQ(a->Equals(Opened(dir, "b").file), 1);
    EXPECT_EQ(a->Equals(Opened(dir, "c").file), 0);
    EXPECT_EQ(a->Equals(Opened(dir, "d").file), 0);
    EXPECT_EQ(a->Equals(nullptr), 0);
}

TEST(File, CopyWritesPiecesAndCountsTheirBytes)
{
    TempDir dir;
    dir.Write("a", "0123456789");
    dir.Write("b", "abc");
    Opened a(dir, "a");
    Opened b(dir, "b");
    QZInt64 progress = 100;
    EXPECT_EQ(QZFile::Copy(a.file, 2, b.file, 1, 7, 3, &progress), 7);
    EXPECT_EQ(progress, 107);
    EXPECT_EQ(dir.Read("b"), "a2345678");
    EXPECT_EQ(QZFile::Copy(a.file, 0, b.file, 0, 1, 100, nullptr), 1);
    EXPECT_EQ(dir.Read("b"), "02345678");
    EXPECT_EQ(QZFile::Copy(a.file, 0, b.file, 0, 0, 100, &progress), 0);
    EXPECT_EQ(QZFile::Copy(a.file, 0, b.file, 0, -5, 100, &progress), 0);
    EXPECT_EQ(progress, 107);
}

TEST(File, ShortCopyThrows)
{
    TempDir dir;
    dir.Write("a", "0123456789");
    dir.Write("b", "");
    Opened a(dir, "a");
    Opened b(dir, "b");
    QZInt64 progress = 0;
    EXPECT_QZ_THROW(QZFile::Copy(a.file, 0, b.file, 0, 12, 4, &progress), 5888);
    EXPECT_EQ(progress, 8);
    EXPECT_EQ(dir.Read("b"), "01234567");
    Hooks hooks;
    hooks.Shorten(os::Op::FileWrite, 1);
    EXPECT_QZ_THROW(QZFile::Copy(a.file, 0, b.file, 0, 4, 4, nullptr), 5888);
    hooks.Fail(os::Op::FileRead, kSystemNumber);
    EXPECT_QZ_THROW(QZFile::Copy(a.file, 0, b.file, 0, 4, 4, nullptr), 4608);
    hooks.Fail(os::Op::FileWrite, kSystemNumber);
    EXPECT_QZ_THROW(QZFile::Copy(a.file, 0, b.file, 0, 4, 4, nullptr), 4352);
    EXPECT_QZ_THROW(QZFile::Copy(a.file, 0, b.file, 0, 4, 0, nullptr), 5888);
}

TEST(File, CopyWithoutMemoryFails)
{
    TempDir dir;
    dir.Write("a", "0123456789");
    dir.Write("b", "");
    Opened a(dir, "a");
    Opened b(dir, "b");
    Hooks hooks;
    hooks.Fail(os::Op::Allocate, os::ErrorNoMemory());
    auto thrown = QZ_TEST_CATCH(QZFile::Copy(a.file, 0, b.file, 0, 4, 4, nullptr));
    EXPECT_TRUE(thrown.thrown);
    EXPECT_EQ(thrown.code, 4352);
    EXPECT_EQ(thrown.message, " OutOfMemory");
    EXPECT_QZ_THROW(QZFile::Copy(a.file, 0, b.file, 0, 4, -1, nullptr), 4352);
    EXPECT_EQ(dir.Read("b"), "");
}

}  // namespace
