#include "os/os_stream.h"

#include <string>

#include "fw/fw_encoding.h"
#include "fw/fw_exception_code.h"
#include "support/qz_test.h"

using qztest::TempDir;
using qztest::Text;
using qztest::Utf8;

namespace
{

/// An open stream over a file in the folder of the test.
class OpenStream
{
public:
    OpenStream(const TempDir& dir, std::string_view name, QZInt64 encoding = 0)
    {
        QZString path(dir.Name(name).c_str());
        m_stream = encoding ? QZFileStream::Open(&path, encoding) : QZFileStream::Open(&path);
    }
    ~OpenStream()
    {
        if (m_stream != nullptr) QZFileStream::Close(&m_stream);
    }
    OpenStream(const OpenStream&) = delete;
    OpenStream& operator=(const OpenStream&) = delete;

    QZFileStream* operator->() const { return m_stream; }
    void Close() { QZFileStream::Close(&m_stream); }
    QZFileStream* Get() const { return m_stream; }

    /// The next line as UTF-8, or "<end>".
    std::string Line() const
    {
        QZString text;
        const QZInt64 size = m_stream->ReadLine(&text);
        if (size < 0) return "<end>";
        EXPECT_EQ(size, text.GetSize());
        return Utf8(text);
    }

    std::string Rest() const
    {
        QZString* text = m_stream->ReadToEnd();
        const std::string rest = Utf8(text);
        QZFileStream::Recycle(&text);
        EXPECT_EQ(text, nullptr);
        return rest;
    }

private:
    QZFileStream* m_stream = nullptr;
};

}  // namespace

TEST(Stream, StartsEmptyWithTheDefaultMemory)
{
    QZStream stream;
    EXPECT_EQ(QZStream::MemorySizeDefault, 1048576);
    EXPECT_EQ(stream.GetMemorySizeUseMax(), 1048576);
    EXPECT_EQ(QZStream(3000000).GetMemorySizeUseMax(), 3000000);
    EXPECT_EQ(QZStream(0, 3000000).GetMemorySizeUseMax(), 2 * 8388608);
    unsigned char byte = 7;
    EXPECT_EQ(stream.ReadByte(&byte), 0);
    EXPECT_EQ(byte, 7);
}

TEST(Stream, HasTheTypeOfABuffer)
{
    QZStream stream;
    EXPECT_EQ(stream.GetType(), 0x81FF700);
}

TEST(Stream, WritesAppendAndReadsContinue)
{
    QZStream stream;
    char bytes[16] = {};
    EXPECT_EQ(stream.Write("abc", 3), 3);
    EXPECT_EQ(stream.Read(bytes, 2), 2);
    EXPECT_EQ(stream.WriteByte('d'), 1);
    EXPECT_EQ(stream.Read(bytes + 2, 10), 2);
    EXPECT_STREQ(bytes, "abcd");
    EXPECT_EQ(stream.Read(bytes, 10), 0);
}

TEST(Stream, SeekMovesTheReadPositionOnly)
{
    QZStream stream;
    stream.Write("abcdef", 6);
    unsigned char byte = 0;
    stream.Seek(4);
    EXPECT_EQ(stream.ReadByte(&byte), 1);
    EXPECT_EQ(byte, 'e');
    stream.Write("g", 1);
    stream.Seek(0);
    char bytes[8] = {};
    EXPECT_EQ(stream.Read(bytes, 7), 7);
    EXPECT_STREQ(bytes, "abcdefg");
    stream.Seek(100);
    EXPECT_EQ(stream.ReadByte(&byte), 0);
}

TEST(Stream, NegativePositionReadsFromTheStart)
{
    QZStream stream;
    stream.Write("abcdef", 6);
    stream.Seek(-2);
    char bytes[16] = {};
    EXPECT_EQ(stream.Read(bytes, 3), 3);
    EXPECT_STREQ(bytes, "abc");
    EXPECT_EQ(stream.GetPosition(), 1);
    stream.Seek(INT64_MIN);
    EXPECT_EQ(stream.Read(bytes, 3), 0);
    EXPECT_EQ(stream.GetPosition(), INT64_MIN);
}

TEST(Stream, NegativeSizeTransfersNothing)
{
    QZStream stream;
    stream.Write("abc", 3);
    char byte = '?';
    EXPECT_EQ(stream.Read(&byte, -1), 0);
    EXPECT_EQ(stream.Write(&byte, -1), 0);
    EXPECT_EQ(stream.Read(&byte, 1), 1);
    EXPECT_EQ(byte, 'a');
}

TEST(Stream, HoldsMoreThanItsMemoryLimit)
{
    QZStream stream(0, 0);
    const std::string chunk(100000, 'x');
    for (int i = 0; i < 30; ++i) stream.Write(chunk.data(), 100000);
    stream.WriteByte('!');
    std::string back(3000001, '?');
    EXPECT_EQ(stream.Read(back.data(), 4000000), 3000001);
    EXPECT_EQ(back, std::string(3000000, 'x') + "!");
}

TEST(FileStream, OpenOfAMissingFileThrowsTheExceptionOfTheFile)
{
    TempDir dir;
    QZString path(dir.Name("none").c_str());
    EXPECT_QZ_THROW(QZFileStream::Open(&path), QZIOExceptionCode::OperationFailed);
}

TEST(FileStream, HasItsOwnType)
{
    TempDir dir;
    dir.Write("f", "");
    OpenStream stream(dir, "f");
    EXPECT_EQ(stream->GetType(), 0x8300007);
    EXPECT_EQ(QZFileStream::Type, 0x8300007);
}

TEST(FileStream, LinesEndAtCrLf)
{
    TempDir dir;
    dir.Write("f", "one\r\n\r\nthree\nstill\rthree\r\n");
    OpenStream stream(dir, "f");
    EXPECT_EQ(stream.Line(), "one");
    EXPECT_EQ(stream.Line(), "");
    EXPECT_EQ(stream.Line(), "three\nstill\rthree");
    EXPECT_EQ(stream.Line(), "<end>");
}

TEST(FileStream, LastLineWithoutCrLfIsALine)
{
    TempDir dir;
    dir.Write("f", "one\r\ntwo");
    OpenStream stream(dir, "f");
    EXPECT_EQ(stream.Line(), "one");
    EXPECT_EQ(stream.Line(), "two");
    EXPECT_EQ(stream.Line(), "<end>");
    EXPECT_EQ(stream.Line(), "<end>");
}

TEST(FileStream, EndOfTheFileClearsTheText)
{
    TempDir dir;
    dir.Write("f", "");
    OpenStream stream(dir, "f");
    QZString text("left over");
    EXPECT_EQ(stream->ReadLine(&text), -1);
    EXPECT_EQ(text.GetLength(), 0);
}

TEST(FileStream, EmptyLineHasSizeZero)
{
    TempDir dir;
    dir.Write("f", "\r\n");
    OpenStream stream(dir, "f");
    QZString text("left over");
    EXPECT_EQ(stream->ReadLine(&text), 0);
    EXPECT_EQ(text.GetLength(), 0);
    EXPECT_EQ(stream->ReadLine(&text), -1);
}

TEST(FileStream, ReadLineReturnsTheBytesOfTheText)
{
    TempDir dir;
    dir.Write("f", "abc\r\n");
    OpenStream stream(dir, "f");
    QZString text;
    EXPECT_EQ(stream->ReadLine(&text), 6);
}

TEST(FileStream, LinesLongerThanAWindowAreReadWhole)
{
    TempDir dir;
    const std::string line(1000, 'q');
    dir.Write("f", line + "\r\nnext\r\n");
    OpenStream stream(dir, "f");
    EXPECT_EQ(stream.Line(), line);
    EXPECT_EQ(stream.Line(), "next");
}

TEST(FileStream, LineEndAtTheEndOfAWindowIsFound)
{
    TempDir dir;
    const std::string line(254, 'q');
    dir.Write("f", line + "\r\nnext");
    OpenStream stream(dir, "f");
    EXPECT_EQ(stream.Line(), line);
    EXPECT_EQ(stream.Line(), "next");
}

TEST(FileStream, LineEndAcrossTwoWindowsIsMissed)
{
    TempDir dir;
    const std::string line(255, 'q');
    dir.Write("f", line + "\r\nnext\r\nlast");
    OpenStream stream(dir, "f");
    EXPECT_EQ(stream.Line(), line + "\r\nnext");
    EXPECT_EQ(stream.Line(), "last");
}

TEST(FileStream, ByteOrderMarkIsPartOfTheFirstLine)
{
    TempDir dir;
    dir.Write("f", "\xEF\xBB\xBFone\r\ntwo");
    OpenStream stream(dir, "f");
    EXPECT_EQ(stream->GetEncoding(), QZEncodingType::UTF8);
    EXPECT_EQ(stream.Line(), "\xEF\xBB\xBFone");
}

TEST(FileStream, EncodingIsDetectedOrGiven)
{
    TempDir dir;
    dir.Write("wide", qztest::Bytes("FF FE 61 00 0D 00 0A 00 62 00"));
    OpenStream detected(dir, "wide");
    EXPECT_EQ(detected->GetEncoding(), QZEncodingType::UTF16LE);
    EXPECT_EQ(detected.Line(),
              "\xEF\xBB\xBF"
              "a");
    EXPECT_EQ(detected.Line(), "b");
    detected.Close();

    dir.Write("big", qztest::Bytes("00 61 00 0D 00 0A 4E 2D"));
    OpenStream given(dir, "big", QZEncodingType::UTF16BE);
    EXPECT_EQ(given.Line(), "a");
    EXPECT_EQ(given.Line(), "\xE4\xB8\xAD");
}

TEST(FileStream, LineEndMatchesWholeUnitsOnly)
{
    TempDir dir;
    // U+0D00 U+0A00 U+6100: the bytes 0D 00 0A 00 lie across these units and are no line end.
    dir.Write("f", qztest::Bytes("00 0D 00 0A 00 61 0D 00 0A 00 62 00"));
    OpenStream stream(dir, "f", QZEncodingType::UTF16LE);
    EXPECT_EQ(stream.Line(), Utf8(Text{0x0D00, 0x0A00, 0x6100}));
    EXPECT_EQ(stream.Line(), "b");
}

TEST(FileStream, ReadToEndReturnsTheRest)
{
    TempDir dir;
    dir.Write("f",
              "one\r\ntwo\r\nthr\xC3\xA9"
              "e");
    OpenStream stream(dir, "f");
    EXPECT_EQ(stream.Line(), "one");
    EXPECT_EQ(stream.Rest(),
              "two\r\nthr\xC3\xA9"
              "e");
    EXPECT_EQ(stream.Rest(), "");
    EXPECT_EQ(stream.Line(), "<end>");
}

TEST(FileStream, BytesAreReadOneByOneUntilTheEnd)
{
    TempDir dir;
    dir.Write("f", "a\xFF");
    OpenStream stream(dir, "f");
    EXPECT_EQ(stream->ReadByte(), 'a');
    EXPECT_EQ(stream->ReadByte(), 255);
    EXPECT_EQ(stream->ReadByte(), -1);
    unsigned char byte = 0;
    stream->Seek(1);
    EXPECT_EQ(stream->ReadByte(&byte), 1);
    EXPECT_EQ(byte, 255);
}

TEST(FileStream, WritesAppendToTheOldContent)
{
    TempDir dir;
    dir.Write("f", "old\r\n");
    QZString text(QZ_W("n\u00e9w"));
    {
        OpenStream stream(dir, "f");
        EXPECT_EQ(stream->Write(&text), 4);
        EXPECT_EQ(stream->WriteLine(&text), 6);
        EXPECT_EQ(stream.Line(), "old");
        EXPECT_EQ(stream.Line(), "n\xC3\xA9wn\xC3\xA9w");
        EXPECT_EQ(dir.Read("f"), "old\r\n");
        stream->Sync();
        EXPECT_EQ(dir.Read("f"), "old\r\nn\xC3\xA9wn\xC3\xA9w\r\n");
        stream->Write("raw", 3);
    }
    EXPECT_EQ(dir.Read("f"), "old\r\nn\xC3\xA9wn\xC3\xA9w\r\nraw");
}

TEST(FileStream, LinesAreWrittenInTheStreamsEncoding)
{
    TempDir dir;
    dir.Write("f", "");
    QZString text("ab");
    QZString none;
    {
        OpenStream stream(dir, "f", QZEncodingType::UTF16LE);
        stream->WriteLine(&text);
        EXPECT_EQ(stream->WriteLine(&none), 4);
    }
    EXPECT_EQ(dir.Read("f"), qztest::Bytes("61 00 62 00 0D 00 0A 00 0D 00 0A 00"));
}

TEST(FileStream, FileIsNotPaddedToTheBlockSize)
{
    TempDir dir;
    dir.Write("f", std::string(524287, 'a'));
    {
        OpenStream stream(dir, "f");
        stream->Write("bcd", 3);
    }
    EXPECT_EQ(dir.Read("f"), std::string(524287, 'a') + "bcd");
}
