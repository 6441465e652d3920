#include "os/os_file_buffer.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "fw/fw_data.h"
#include "fw/fw_exception_code.h"
#include "fw/fw_library.h"
#include "support/qz_test.h"
#include "sys/internal/sys_hooks.h"

using qztest::TempDir;
using qztest::Wide;

namespace
{

constexpr QZInt64 k512K = 524288;

std::string Take(QZBuffer& buffer, QZInt64 offset, QZInt64 size)
{
    std::string bytes(static_cast<std::size_t>(size), '?');
    EXPECT_EQ(buffer.Read(offset, bytes.data(), size), size);
    return bytes;
}

QZInt64 Put(QZBuffer& buffer, QZInt64 offset, const std::string& bytes)
{
    return buffer.Write(offset, bytes.data(), static_cast<QZInt64>(bytes.size()));
}

/// An open file buffer over a file in the folder of the test.
class OpenBuffer
{
public:
    OpenBuffer(const TempDir& dir, std::string_view name, QZInt64 limit, QZInt64 blockSize)
    {
        QZString path(dir.Name(name).c_str());
        m_buffer = QZFileBuffer::Open(&path, limit, blockSize);
    }
    ~OpenBuffer()
    {
        if (m_buffer != nullptr) QZFileBuffer::Close(&m_buffer);
    }
    OpenBuffer(const OpenBuffer&) = delete;
    OpenBuffer& operator=(const OpenBuffer&) = delete;

    QZFileBuffer* operator->() const { return m_buffer; }
    QZFileBuffer& operator*() const { return *m_buffer; }
    void Close() { QZFileBuffer::Close(&m_buffer); }
    QZFileBuffer* Get() const { return m_buffer; }

private:
    QZFileBuffer* m_buffer = nullptr;
};

int g_asserted = 0;
void CountFailedAssert(QZBool condition) { g_asserted += condition ? 0 : 1; }
void FailOnAssert(QZBool condition)
{
    if (!condition) ADD_FAILURE() << "an assertion of the library failed";
}

/// Makes `times` operations of one kind fail or transfer too little, beginning with operation number `first`.
class FileFault
{
public:
    FileFault(os::Op operation, int first, int times, QZInt64 shortSize = 0)
        : m_operation(operation),
          m_first(first),
          m_times(times),
          m_shortSize(shortSize),
          m_hooks{this, nullptr, Gate, nullptr}
    {
        os::SetTestHooks(&m_hooks);
    }
    ~FileFault() { os::SetTestHooks(nullptr); }
    FileFault(const FileFault&) = delete;
    FileFault& operator=(const FileFault&) = delete;

    int Seen() const { return m_seen; }

private:
    static bool Gate(void* context, os::Op operation, QZInt64* size, QZUInt32* error)
    {
        auto* fault = static_cast<FileFault*>(context);
        if (operation != fault->m_operation) return true;
        const int n = fault->m_seen++;
        if (n < fault->m_first || n >= fault->m_first + fault->m_times) return true;
        if (fault->m_shortSize > 0)
        {
            if (*size > fault->m_shortSize) *size = fault->m_shortSize;
            return true;
        }
        *error = 5;
        return false;
    }

    os::Op m_operation;
    int m_first;
    int m_times;
    QZInt64 m_shortSize;
    int m_seen = 0;
    os::TestHooks m_hooks;
};

/// Counts the blocks that the buffer creates and deletes.
class CountingBuffer : public QZBuffer
{
public:
    using QZBuffer::QZBuffer;
    ~CountingBuffer() override { DeleteBlocks(); }

    int made = 0;
    int deleted = 0;

protected:
    QZBlock* NewBlock() override
    {
        ++made;
        return QZBuffer::NewBlock();
    }
    void DeleteBlock(QZBlock* block) override
    {
        ++deleted;
        QZBuffer::DeleteBlock(block);
    }
};

}  // namespace

TEST(Buffer, Identity)
{
    QZBuffer buffer(0, 0);
    EXPECT_EQ(buffer.GetType(), 0x81FF700);
    EXPECT_EQ(QZBuffer::Type, 0x81FF700);
    EXPECT_EQ(QZFileBuffer::Type, 0x81FF800);
    EXPECT_EQ(QZBlock::Type, 0x81FF300);
    EXPECT_EQ(buffer.GetBlockByOffset(0)->GetType(), 0x81FF300);
    EXPECT_EQ(QZFileBuffer::FREEDESKSPACE_MIN, 1048576);
}

TEST(Buffer, DefaultsAreTwoSmallBlocks)
{
    QZBuffer buffer(0, 0);
    EXPECT_EQ(buffer.GetBlockByOffset(0)->GetSize(), k512K);
    EXPECT_EQ(buffer.GetMemorySizeUseMax(), 1048576);
}

TEST(Buffer, BlockSizeIsRoundedUpToTheNextConstant)
{
    const struct
    {
        QZInt64 wanted;
        QZInt64 given;
    } rows[] = {{-1, 524288},         {-7, 524288},         {1, 524288},          {524288, 524288},
                {524289, 1048576},    {1048576, 1048576},   {1048577, 2097152},   {2097152, 2097152},
                {2097153, 8388608},   {3000000, 8388608},   {8388608, 8388608},   {8388609, 16777216},
                {16777216, 16777216}, {16777217, 33554432}, {33554432, 33554432}, {33554433, 524288}};
    for (const auto& row : rows)
    {
        QZBuffer buffer(0, row.wanted);
        EXPECT_EQ(buffer.GetBlockByOffset(0)->GetSize(), row.given) << row.wanted;
        EXPECT_EQ(buffer.GetMemorySizeUseMax(), 2 * row.given) << row.wanted;
    }
}

TEST(Buffer, MemoryLimitIsRaisedToTwoBlocksAndOtherwiseKept)
{
    EXPECT_EQ(QZBuffer(1048575, k512K).GetMemorySizeUseMax(), 1048576);
    EXPECT_EQ(QZBuffer(1048577, k512K).GetMemorySizeUseMax(), 1048577);
    EXPECT_EQ(QZBuffer(-5, k512K).GetMemorySizeUseMax(), 1048576);
}

TEST(Buffer, BlocksHaveIndexAndOffset)
{
    QZBuffer buffer(4 * k512K, k512K);
    QZBlock* third = buffer.GetBlockByOffset(2 * k512K + 17);
    EXPECT_EQ(third->GetSpaceID(), 2);
    EXPECT_EQ(third->GetOffset(), 2 * k512K);
    EXPECT_EQ(buffer.GetBlockByOffset(3 * k512K - 1), third);
    EXPECT_NE(buffer.GetBlockByOffset(3 * k512K), third);
    EXPECT_EQ(buffer.GetMemorySizeUsed(), 2 * k512K);
}

TEST(Buffer, FreshMemoryReadsAsZeros)
{
    QZBuffer buffer(0, 0);
    EXPECT_EQ(Take(buffer, 1000, 5), std::string(5, '\0'));
    EXPECT_EQ(Take(buffer, k512K - 2, 4), std::string(4, '\0'));
}

TEST(Buffer, ReadReturnsWhatWasWrittenInEverySize)
{
    QZBuffer buffer(0, 0);
    const std::string bytes = "0123456789abcdefghijklmnopqrstuvwxyz";
    for (QZInt64 size = 1; size <= 36; ++size)
    {
        const QZInt64 offset = size * 1000;
        EXPECT_EQ(buffer.Write(offset, bytes.data(), size), size);
        EXPECT_EQ(
            Take(buffer, offset - 1, size + 2),
            std::string(1, '\0') + bytes.substr(0, static_cast<std::size_t>(size)) + std::string(1, '\0'));
    }
}

TEST(Buffer, NegativeOffsetAndSizeCountAsZero)
{
    QZBuffer buffer(0, 0);
    EXPECT_EQ(Put(buffer, 0, "abcdef"), 6);
    char byte = '?';
    EXPECT_EQ(buffer.Read(3, &byte, -1), 0);
    EXPECT_EQ(byte, '?');
    EXPECT_EQ(buffer.Write(3, &byte, -1), 0);
    EXPECT_EQ(Take(buffer, -4, 3), "abc");
    EXPECT_EQ(Take(buffer, INT64_MIN, 1), "a");
    EXPECT_EQ(buffer.Write(-1, "X", 1), 1);
    EXPECT_EQ(Take(buffer, 0, 6), "Xbcdef");
    QZData* nothing = buffer.Read(0, -3);
    EXPECT_EQ(nothing->GetSize(), 0);
    buffer.Recycle(&nothing);
    EXPECT_EQ(nothing, nullptr);
}

TEST(Buffer, SizeZeroLoadsNoBlock)
{
    QZBuffer buffer(0, 0);
    char byte = '?';
    EXPECT_EQ(buffer.Read(0, &byte, 0), 0);
    EXPECT_EQ(buffer.Write(0, &byte, 0), 0);
    EXPECT_EQ(buffer.GetMemorySizeUsed(), 0);
}

TEST(Buffer, ReadAndWriteOfDataObjects)
{
    QZBuffer buffer(0, 0);
    char text[] = "five!";
    QZData data(text, 5);
    EXPECT_EQ(buffer.Write(k512K - 3, &data), 5);
    QZData* back = buffer.Read(k512K - 3, 5);
    EXPECT_BYTES(back->GetPointer(), back->GetSize(), "66 69 76 65 21");
    buffer.Recycle(&back);
}

TEST(Buffer, NullPointersAreRefused)
{
    QZBuffer buffer(0, 0);
    EXPECT_QZ_THROW(buffer.Read(0, nullptr, 1), QZExceptionCode::NullPointer);
    EXPECT_QZ_THROW(buffer.Write(0, nullptr, 1), QZExceptionCode::NullPointer);
    EXPECT_QZ_THROW(buffer.Write(0, static_cast<QZData*>(nullptr)), QZExceptionCode::NullPointer);
    // The same holds when the block is already loaded.
    buffer.Write(0, "12345678", 8);
    EXPECT_QZ_THROW(buffer.Read(0, nullptr, 8), QZExceptionCode::NullPointer);
    EXPECT_QZ_THROW(buffer.Write(0, static_cast<const void*>(nullptr), 8), QZExceptionCode::NullPointer);
    EXPECT_EQ(buffer.Read(0, nullptr, 0), 0);
}

TEST(Buffer, TransfersStopAtTheLargestOffset)
{
    QZBuffer buffer(0, 0);
    const QZInt64 last = INT64_MAX;
    EXPECT_EQ(buffer.Write(last, "xyz", 3), 1);
    char bytes[4] = {};
    EXPECT_EQ(buffer.Read(last, bytes, 4), 1);
    EXPECT_EQ(bytes[0], 'x');
}

TEST(Buffer, BlocksWithoutAFileAreNeverReleased)
{
    QZBuffer buffer(0, 0);
    for (QZInt64 i = 0; i < 5; ++i) Put(buffer, i * k512K + 7, std::string(9, static_cast<char>('a' + i)));
    EXPECT_EQ(buffer.GetMemorySizeUsed(), 5 * k512K);
    buffer.RemoveBlock();
    EXPECT_EQ(buffer.GetMemorySizeUsed(), 5 * k512K);
    EXPECT_EQ(buffer.Collect(), 0);
    EXPECT_EQ(buffer.GetMemorySizeUsed(), 5 * k512K);
    EXPECT_EQ(buffer.Sync(), 1);
    for (QZInt64 i = 0; i < 5; ++i)
        EXPECT_EQ(Take(buffer, i * k512K + 7, 9), std::string(9, static_cast<char>('a' + i)));
}

TEST(Buffer, CollectOfAnUnusedBufferSucceeds)
{
    QZBuffer buffer(0, 0);
    EXPECT_EQ(buffer.Collect(), 1);
}

TEST(Buffer, BlocksAreCreatedThroughTheVirtualOperations)
{
    CountingBuffer buffer(0, 0);
    Put(buffer, k512K - 1, "ab");
    EXPECT_EQ(buffer.made, 2);
    buffer.GetBlockByOffset(3);
    EXPECT_EQ(buffer.made, 2);
    EXPECT_EQ(buffer.deleted, 0);
}

TEST(Block, PlainBlockIsNeverReleasable)
{
    QZBlock block;
    block.Set(3, 3 * k512K, k512K);
    EXPECT_EQ(block.IsReleasable(), 0);
    block.Write(10, "abc", 3);
    EXPECT_EQ(block.IsChanged(), 1);
    EXPECT_EQ(block.GetContentEnd(), 13);
    block.WriteBack();
    EXPECT_EQ(block.IsReleasable(), 0);
    const char* bytes = static_cast<const char*>(block.GetPointer());
    EXPECT_EQ(std::string(bytes + 9, 5), std::string("\0abc\0", 5));
    EXPECT_EQ(bytes[k512K - 1], 0);
}

TEST(Block, SetClearsTheContent)
{
    QZBlock block;
    block.Set(0, 0, k512K);
    block.Write(k512K - 3, "abc", 3);
    block.Set(1, k512K, k512K);
    EXPECT_EQ(block.IsChanged(), 0);
    char bytes[3] = {'?', '?', '?'};
    block.Read(k512K - 3, bytes, 3);
    EXPECT_BYTES(bytes, 3, "00 00 00");
}

TEST(FileBuffer, OpenOfAMissingFileThrowsTheExceptionOfTheFile)
{
    TempDir dir;
    QZString path(dir.Name("none").c_str());
    EXPECT_QZ_THROW(QZFileBuffer::Open(&path, 0, 0), QZIOExceptionCode::OperationFailed);
    EXPECT_FALSE(dir.Exists("none"));
}

TEST(FileBuffer, HasTypePathAndSize)
{
    TempDir dir;
    dir.Write("f", "0123456789");
    OpenBuffer buffer(dir, "f", 0, 0);
    EXPECT_EQ(buffer->GetType(), 0x81FF800);
    EXPECT_EQ(qztest::Utf8(buffer->GetPath()), qztest::Utf8(dir.Name("f")));
    EXPECT_EQ(buffer->GetFileSize(), 10);
    QZData* all = buffer->ReadAll();
    EXPECT_EQ(std::string(static_cast<char*>(all->GetPointer()), static_cast<std::size_t>(all->GetSize())),
              "0123456789");
    buffer->Recycle(&all);
}

TEST(FileBuffer, SizeIncludesUnsyncedBytes)
{
    TempDir dir;
    dir.Write("f", "0123456789");
    OpenBuffer buffer(dir, "f", 0, 0);
    Put(*buffer, 12, "xy");
    EXPECT_EQ(buffer->GetFileSize(), 14);
    EXPECT_EQ(dir.Read("f").size(), 10u);
    QZData* all = buffer->ReadAll();
    EXPECT_BYTES(all->GetPointer(), all->GetSize(), "30 31 32 33 34 35 36 37 38 39 00 00 78 79");
    buffer->Recycle(&all);
}

TEST(FileBuffer, WritesReachTheFileAtSync)
{
    TempDir dir;
    dir.Write("f", "");
    OpenBuffer buffer(dir, "f", 0, 0);
    EXPECT_EQ(Put(*buffer, 0, "hello"), 5);
    EXPECT_EQ(dir.Read("f"), "");
    EXPECT_EQ(buffer->Sync(), 1);
    EXPECT_EQ(dir.Read("f"), "hello");
    EXPECT_EQ(buffer->GetMemorySizeUsed(), k512K);
    Put(*buffer, 1, "a");
    EXPECT_EQ(dir.Read("f"), "hello");
    buffer->Sync();
    EXPECT_EQ(dir.Read("f"), "hallo");
}

TEST(FileBuffer, WritesReachTheFileAtCollectWhichReleasesAllBlocks)
{
    TempDir dir;
    dir.Write("f", "");
    OpenBuffer buffer(dir, "f", 0, 0);
    Put(*buffer, k512K - 2, "abcd");
    EXPECT_EQ(buffer->Collect(), 1);
    EXPECT_EQ(buffer->GetMemorySizeUsed(), 0);
    EXPECT_EQ(dir.Read("f"), std::string(k512K - 2, '\0') + "abcd");
    EXPECT_EQ(Take(*buffer, k512K - 3, 6), std::string("\0abcd\0", 6));
}

TEST(FileBuffer, WritesReachTheFileAtClose)
{
    TempDir dir;
    dir.Write("f", "0123456789");
    OpenBuffer buffer(dir, "f", 0, 0);
    Put(*buffer, 4, "WXYZ");
    buffer.Close();
    EXPECT_EQ(buffer.Get(), nullptr);
    EXPECT_EQ(dir.Read("f"), "0123WXYZ89");
}

TEST(FileBuffer, CloseOfNullFailsAnAssertion)
{
    g_asserted = 0;
    QZLibSetFunctionAssert(CountFailedAssert);
    QZFileBuffer* none = nullptr;
    QZFileBuffer::Close(&none);
    QZLibSetFunctionAssert(FailOnAssert);
    EXPECT_EQ(g_asserted, 1);
}

TEST(FileBuffer, ReadingNeverChangesTheFile)
{
    TempDir dir;
    dir.Write("f", "abc");
    {
        OpenBuffer buffer(dir, "f", 0, 0);
        EXPECT_EQ(Take(*buffer, 2, 4), std::string("c\0\0\0", 4));
        EXPECT_EQ(Take(*buffer, 10 * k512K, 2), std::string(2, '\0'));
        EXPECT_EQ(Take(*buffer, INT64_MAX - 1, 1), std::string(1, '\0'));
        buffer->Sync();
    }
    EXPECT_EQ(dir.Read("f"), "abc");
}

TEST(FileBuffer, FileEndsAfterTheLastByteWritten)
{
    TempDir dir;
    dir.Write("f", "abc");
    {
        OpenBuffer buffer(dir, "f", 0, 0);
        Put(*buffer, 20000, "end");
        Put(*buffer, 5, "x");
    }
    std::string expected(20003, '\0');
    expected.replace(0, 3, "abc");
    expected[5] = 'x';
    expected.replace(20000, 3, "end");
    EXPECT_EQ(dir.Read("f"), expected);
}

TEST(FileBuffer, LeastRecentlyUsedBlockIsEvictedFirst)
{
    TempDir dir;
    dir.Write("f", std::string(3 * k512K, '.'));
    OpenBuffer buffer(dir, "f", 2 * k512K, k512K);
    Put(*buffer, 0, "A");
    Put(*buffer, k512K, "B");
    Put(*buffer, 1, "A");  // block 0 is the most recently used again
    EXPECT_EQ(buffer->GetMemorySizeUsed(), 2 * k512K);
    Put(*buffer, 2 * k512K, "C");  // evicts block 1
    EXPECT_EQ(buffer->GetMemorySizeUsed(), 2 * k512K);
    std::string file = dir.Read("f");
    EXPECT_EQ(file.substr(0, 2), "..");
    EXPECT_EQ(file.substr(k512K, 2), "B.");
    EXPECT_EQ(file.substr(2 * k512K, 2), "..");
    buffer.Close();
    file = dir.Read("f");
    EXPECT_EQ(file.substr(0, 2), "AA");
    EXPECT_EQ(file.substr(2 * k512K, 2), "C.");
}

TEST(FileBuffer, ReadAcrossTwoBlocksUsesTheSecondLast)
{
    TempDir dir;
    dir.Write("f", std::string(3 * k512K, '.'));
    OpenBuffer buffer(dir, "f", 2 * k512K, k512K);
    Put(*buffer, k512K, "B");
    Put(*buffer, 0, "A");
    EXPECT_EQ(Take(*buffer, k512K - 1, 2), ".B");
    Take(*buffer, 2 * k512K, 1);  // evicts block 0, which was the most recently used before the read
    const std::string file = dir.Read("f");
    EXPECT_EQ(file[0], 'A');
    EXPECT_EQ(file[k512K], '.');
}

TEST(FileBuffer, OrderOfUseHoldsForAlternatingBlocks)
{
    TempDir dir;
    dir.Write("f", std::string(4 * k512K, '.'));
    OpenBuffer buffer(dir, "f", 3 * k512K, k512K);
    Put(*buffer, 0, "A");
    Put(*buffer, k512K, "B");
    Put(*buffer, 2 * k512K, "C");
    for (int i = 0; i < 5; ++i)
    {
        Put(*buffer, k512K + 1, "b");
        EXPECT_EQ(Take(*buffer, 2 * k512K, 1), "C");
    }
    EXPECT_EQ(Take(*buffer, k512K + 1, 1), "b");
    EXPECT_EQ(Take(*buffer, 0, 1), "A");  // the order is now 0, 1, 2
    Take(*buffer, 3 * k512K, 1);          // evicts block 2
    std::string file = dir.Read("f");
    EXPECT_EQ(file[0], '.');
    EXPECT_EQ(file[k512K], '.');
    EXPECT_EQ(file[2 * k512K], 'C');
    EXPECT_EQ(Take(*buffer, 0, 1), "A");
    Take(*buffer, 2 * k512K, 1);  // evicts block 1
    file = dir.Read("f");
    EXPECT_EQ(file[0], '.');
    EXPECT_EQ(file.substr(k512K, 2), "Bb");
}

TEST(FileBuffer, LimitOfTwoBlocksAndOneByteHoldsTwoBlocks)
{
    TempDir dir;
    dir.Write("f", "");
    OpenBuffer buffer(dir, "f", 2 * k512K + 1, k512K);
    for (QZInt64 i = 0; i < 4; ++i) Put(*buffer, i * k512K, "x");
    EXPECT_EQ(buffer->GetMemorySizeUsed(), 2 * k512K);
    EXPECT_EQ(buffer->GetMemorySizeUseMax(), 2 * k512K + 1);
}

TEST(FileBuffer, ReusedBlockIsZeroPastTheEndOfTheFile)
{
    TempDir dir;
    dir.Write("f", std::string(2 * k512K, 'x') + "tail");
    OpenBuffer buffer(dir, "f", 2 * k512K, k512K);
    Take(*buffer, 0, 1);
    Take(*buffer, k512K, 1);
    Take(*buffer, 5 * k512K, 1);  // from here on, blocks are reused
    EXPECT_EQ(Take(*buffer, 2 * k512K + 2, 4), std::string("il\0\0", 4));
    EXPECT_EQ(Take(*buffer, 6 * k512K + 100, 3), std::string(3, '\0'));
    Put(*buffer, 7 * k512K + 3, "q");
    EXPECT_EQ(Take(*buffer, 7 * k512K, 6), std::string("\0\0\0q\0\0", 6));
    buffer.Close();
    const std::string file = dir.Read("f");
    ASSERT_EQ(file.size(), static_cast<std::size_t>(7 * k512K + 4));
    EXPECT_EQ(file.substr(2 * k512K, 8), std::string("tail\0\0\0\0", 8));
    EXPECT_EQ(file.substr(7 * k512K), std::string("\0\0\0q", 4));
}

TEST(FileBuffer, OnlyChangedPagesAreWritten)
{
    TempDir dir;
    dir.Write("f", std::string(k512K, 'a'));
    OpenBuffer buffer(dir, "f", 0, 0);
    Put(*buffer, 10, "X");
    Put(*buffer, 400000, "Y");
    // Another writer changes a part of the block that this buffer did not change.
    dir.Write("f", std::string(k512K, 'b'));
    buffer->Sync();
    const std::string file = dir.Read("f");
    EXPECT_EQ(file[10], 'X');
    EXPECT_EQ(file[400000], 'Y');
    EXPECT_EQ(file[200000], 'b');
}

TEST(FileBuffer, RandomReadsAndWritesAgreeWithAPlainArray)
{
    TempDir dir;
    const std::size_t size = 5 * k512K + 12345;
    std::string model(size, '\0');
    std::mt19937 random(20240613);
    for (std::size_t i = 0; i < 3 * k512K / 2; ++i) model[i] = static_cast<char>(random());
    dir.Write("f", model.substr(0, 3 * k512K / 2));
    {
        OpenBuffer buffer(dir, "f", 2 * k512K, k512K);
        for (int round = 0; round < 3000; ++round)
        {
            const std::size_t widths[] = {1, 4, 8, 3, 100, 5000, 70000};
            const std::size_t width = widths[random() % (round % 50 ? 5 : 7)];
            const std::size_t at = random() % (size - width);
            if (random() % 2)
            {
                ASSERT_EQ(Take(*buffer, static_cast<QZInt64>(at), static_cast<QZInt64>(width)),
                          model.substr(at, width));
            }
            else
            {
                std::string bytes(width, '\0');
                for (char& c : bytes) c = static_cast<char>(random());
                Put(*buffer, static_cast<QZInt64>(at), bytes);
                model.replace(at, width, bytes);
            }
            if (round % 700 == 0) buffer->Sync();
            if (round % 1100 == 0) buffer->Collect();
            ASSERT_LE(buffer->GetMemorySizeUsed(), 2 * k512K);
        }
        Put(*buffer, static_cast<QZInt64>(size) - 1, "e");
        model[size - 1] = 'e';
    }
    EXPECT_TRUE(dir.Read("f") == model);
}

TEST(FileBufferFaults, FailedSyncKeepsTheChangesForTheNextSync)
{
    TempDir dir;
    dir.Write("f", "");
    OpenBuffer buffer(dir, "f", 0, 0);
    Put(*buffer, 0, "abc");
    {
        FileFault fault(os::Op::FileWrite, 0, 1);
        EXPECT_QZ_THROW(buffer->Sync(), QZIOExceptionCode::WriteFailed);
    }
    EXPECT_EQ(dir.Read("f"), "");
    EXPECT_EQ(buffer->Sync(), 1);
    EXPECT_EQ(dir.Read("f"), "abc");
}

TEST(FileBufferFaults, FailedCollectReleasesNothing)
{
    TempDir dir;
    dir.Write("f", "");
    OpenBuffer buffer(dir, "f", 0, 0);
    Put(*buffer, k512K - 1, "ab");
    {
        FileFault fault(os::Op::FileWrite, 1, 1);
        EXPECT_QZ_THROW(buffer->Collect(), QZIOExceptionCode::WriteFailed);
    }
    EXPECT_EQ(buffer->GetMemorySizeUsed(), 2 * k512K);
    EXPECT_EQ(Take(*buffer, k512K - 1, 2), "ab");
    buffer.Close();
    EXPECT_EQ(dir.Read("f"), std::string(k512K - 1, '\0') + "ab");
}

TEST(FileBufferFaults, FailedCloseThrowsAndClosesAnyway)
{
    TempDir dir;
    dir.Write("f", "old");
    QZString path(dir.Name("f").c_str());
    QZFileBuffer* buffer = QZFileBuffer::Open(&path, 0, 0);
    Put(*buffer, 0, "new");
    {
        FileFault fault(os::Op::FileWrite, 0, 1000);
        EXPECT_QZ_THROW(QZFileBuffer::Close(&buffer), QZIOExceptionCode::WriteFailed);
        EXPECT_EQ(fault.Seen(), 1);
    }
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(dir.Read("f"), "old");
}

TEST(FileBufferFaults, FailedEvictionKeepsTheBytes)
{
    TempDir dir;
    dir.Write("f", "");
    OpenBuffer buffer(dir, "f", 2 * k512K, k512K);
    Put(*buffer, 0, "A");
    Put(*buffer, k512K, "B");
    {
        FileFault fault(os::Op::FileWrite, 0, 1000);
        char byte = 0;
        EXPECT_QZ_THROW(buffer->Read(2 * k512K, &byte, 1), QZIOExceptionCode::WriteFailed);
    }
    EXPECT_EQ(buffer->GetMemorySizeUsed(), 2 * k512K);
    EXPECT_EQ(Take(*buffer, 0, 1), "A");
    Put(*buffer, 2 * k512K, "C");
    buffer.Close();
    std::string expected(2 * k512K + 1, '\0');
    expected[0] = 'A';
    expected[k512K] = 'B';
    expected[2 * k512K] = 'C';
    EXPECT_TRUE(dir.Read("f") == expected);
}

TEST(FileBufferFaults, FailedLoadDoesNotChangeTheBuffer)
{
    TempDir dir;
    dir.Write("f", std::string(k512K, 'a') + "b");
    OpenBuffer buffer(dir, "f", 0, 0);
    Take(*buffer, 0, 1);
    {
        FileFault fault(os::Op::FileRead, 0, 1000);
        char byte = 0;
        EXPECT_QZ_THROW(buffer->Read(k512K, &byte, 1), QZIOExceptionCode::ReadFailed);
        EXPECT_EQ(Take(*buffer, 0, 1), "a");
    }
    EXPECT_EQ(buffer->GetMemorySizeUsed(), k512K);
    EXPECT_EQ(Take(*buffer, k512K, 1), "b");
}

TEST(FileBufferFaults, ShortTransfersAreContinued)
{
    TempDir dir;
    std::string content(20000, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 7);
    dir.Write("f", content);
    OpenBuffer buffer(dir, "f", 0, 0);
    {
        FileFault fault(os::Op::FileRead, 0, 1000, 777);
        EXPECT_TRUE(Take(*buffer, 0, 20000) == content);
    }
    content.replace(5000, 10000, std::string(10000, 'x'));
    Put(*buffer, 5000, std::string(10000, 'x'));
    {
        FileFault fault(os::Op::FileWrite, 0, 1000, 999);
        buffer->Sync();
    }
    EXPECT_TRUE(dir.Read("f") == content);
}

TEST(FileBufferFaults, OutOfMemoryForABlockThrows)
{
    TempDir dir;
    dir.Write("f", "abc");
    OpenBuffer buffer(dir, "f", 0, 0);
    {
        FileFault fault(os::Op::Allocate, 0, 1);
        char byte = 0;
        EXPECT_QZ_THROW(buffer->Read(0, &byte, 1), QZExceptionCode::OutOfMemory);
    }
    EXPECT_EQ(buffer->GetMemorySizeUsed(), 0);
    EXPECT_EQ(Take(*buffer, 0, 3), "abc");
}

TEST(FileBufferFaults, TraceOfAFailedReadNamesGetBlockByOffset)
{
    TempDir dir;
    dir.Write("f", "abc");
    OpenBuffer buffer(dir, "f", 0, 0);
    FileFault fault(os::Op::FileRead, 0, 1);
    char byte = 0;
    const qztest::Thrown thrown = QZ_TEST_CATCH(buffer->Read(0, &byte, 1));
    EXPECT_NE(thrown.stackTrace.find("QZBuffer::GetBlockByOffset(QZInt64)"), std::string::npos);
    EXPECT_NE(thrown.argumentTrace.find("QZBuffer::GetBlockByOffset(0)"), std::string::npos);
}
