#include "fw/fw_data.h"

#include <limits>
#include <string>

#include "fw/assert_watch.h"
#include "fw/without_memory.h"
#include "support/qz_test.h"

namespace
{

std::string Text(const QZData& data)
{
    return std::string(static_cast<const char*>(data.GetPointer()), static_cast<std::size_t>(data.GetSize()));
}

}  // namespace

TEST(Data, FreshObjectIsEmptyWithHeadRoom)
{
    QZData data;
    EXPECT_EQ(data.GetSize(), 0);
    EXPECT_EQ(data.GetOffset(), 64);
    EXPECT_EQ(data.GetStructSize(), 112);
    EXPECT_TRUE(data.Check());
    EXPECT_EQ(data.GetType(), 0x2000000);
    EXPECT_EQ(QZData::Type, 0x2000000);
    EXPECT_EQ(data.GetMemorySize(), 4096 + 8);
}

TEST(Data, BlockHasTheDocumentedBytes)
{
    QZData data("\x11\x22\x33", 3);
    EXPECT_BYTES(data.GetStructPointer(), 40,
                 "FF FF 00 00 00 00 00 00"
                 "00 00 00 FF 00 00 00 00"
                 "03 00 00 00 00 00 00 00"
                 "40 00 00 00 00 00 00 00"
                 "00 00 00 00 00 00 00 00");
    EXPECT_EQ(data.GetPointer(), QZAt(data.GetStructPointer(), 104));
    EXPECT_BYTES(data.GetPointer(), 16, "11 22 33 00 00 00 00 00 00 00 00 00 00 00 FF FF");
    EXPECT_EQ(data.GetStructSize(), 120);
}

TEST(Data, ConstructorTakesASizeOfEveryIntegerType)
{
    EXPECT_EQ(QZData(10).GetSize(), 10);
    EXPECT_EQ(QZData(0).GetSize(), 0);
    EXPECT_EQ(QZData(10u).GetSize(), 10);
    EXPECT_EQ(QZData(static_cast<std::size_t>(10)).GetSize(), 10);
    EXPECT_EQ(QZData(static_cast<QZInt64>(10)).GetSize(), 10);
}

TEST(Data, NewBufferIsZero)
{
    QZData data(9);
    EXPECT_BYTES(data.GetPointer(), 9, "00 00 00 00 00 00 00 00 00");
}

TEST(Data, NegativeSizeThrowsTheLastErrorOrOutOfMemory)
{
    QZLastError = 0;
    EXPECT_QZ_THROW(QZData(-1), 4352);
    EXPECT_QZ_THROW(QZData("abc", -1), 4352);
    QZLastError = 512;
    EXPECT_QZ_THROW(QZData(-1), 512);
    QZData data(4);
    EXPECT_QZ_THROW(data.NewSize(-1), 512);
    QZLastError = 0;
    EXPECT_QZ_THROW(data.NewSize(-1), 4352);
    EXPECT_QZ_THROW(data.Set("abc", -1), 4352);
    EXPECT_EQ(data.GetSize(), 4);
}

TEST(Data, ImpossibleGrowthThrowsAndKeepsTheData)
{
    QZLastError = 0;
    QZData data("abc", 3);
    EXPECT_QZ_THROW(data.NewSize(std::numeric_limits<QZInt64>::max()), 4352);
    EXPECT_EQ(Text(data), "abc");
    EXPECT_TRUE(data.Check());
    QZLastError = 0;
}

TEST(Data, ConstructorFromABlockCopiesTypeAndHeadRoom)
{
    QZData source("abcdef", 6);
    source.SetOffset(66);
    QZStore<QZInt64>(QZAt(source.GetStructPointer(), 8), 0x2010200);
    QZData copy(source.GetStructPointer());
    EXPECT_EQ(Text(copy), "cdef");
    EXPECT_EQ(copy.GetOffset(), 66);
    EXPECT_EQ(copy.GetValueByte(-1), 'b');
    EXPECT_EQ(QZLoad<QZInt64>(QZAt(copy.GetStructPointer(), 8)), 0x2010200);
    EXPECT_NE(copy.GetStructPointer(), source.GetStructPointer());
    EXPECT_TRUE(copy.Check());
}

TEST(Data, ConstructorFromANullBlockThrowsWithoutACode)
{
    EXPECT_QZ_THROW(QZData(static_cast<void*>(nullptr)), 0);
    EXPECT_QZ_THROW(QZData(static_cast<QZData*>(nullptr)), 0);
}

TEST(Data, CopiesAreDeep)
{
    QZData source("abcdef", 6);
    source.SetOffset(65);
    QZData fromPointer(&source);
    QZData byValue(source);
    QZData assigned(2000);
    assigned = source;
    static_cast<char*>(source.GetPointer())[0] = 'X';
    EXPECT_EQ(Text(fromPointer), "bcdef");
    EXPECT_EQ(Text(byValue), "bcdef");
    EXPECT_EQ(Text(assigned), "bcdef");
    EXPECT_EQ(fromPointer.GetOffset(), 65);
    EXPECT_EQ(byValue.GetOffset(), 65);
    EXPECT_EQ(assigned.GetOffset(), 65);
    const QZData& self = assigned;
    assigned = self;
    EXPECT_EQ(Text(assigned), "bcdef");
}

TEST(Data, ValueCopyKeepsTheObjectId)
{
    QZData source("a", 1);
    QZData byValue(source);
    QZData fromPointer(&source);
    EXPECT_EQ(byValue.GetObjectID(), source.GetObjectID());
    EXPECT_NE(fromPointer.GetObjectID(), source.GetObjectID());
}

// ---- Damage

TEST(Data, PaddingBeforeTheGuardIsNotChecked)
{
    QZData data("abc", 3);
    auto* p = static_cast<unsigned char*>(data.GetPointer());
    for (int i = 3; i < 8; ++i) p[i] = 0xEE;
    EXPECT_TRUE(data.Check());
}

TEST(Data, OverwrittenGuardFailsTheCheckAndIsReportedAtDestruction)
{
    void* raw = nullptr;
    {
        qztest::AssertWatch watch;
        QZLastError = 0;
        {
            QZData data("abc", 3);
            raw = data.GetStructPointer();
            static_cast<unsigned char*>(data.GetPointer())[8] = 1;
            EXPECT_FALSE(data.Check());
        }
        EXPECT_EQ(watch.Count(), 1);
        EXPECT_EQ(QZLastError, 512);
    }
    // The damaged block was not freed: once repaired, it can be.
    block::WriteGuard(raw);
    QZLastError = 0;
    EXPECT_TRUE(block::Free(raw));
}

TEST(Data, OverwrittenMarkerIsReportedAtDestruction)
{
    void* raw = nullptr;
    {
        qztest::AssertWatch watch;
        QZLastError = 0;
        {
            QZData data("abc", 3);
            raw = data.GetStructPointer();
            QZStore<QZInt64>(raw, 65534);
            EXPECT_FALSE(data.Check());
        }
        EXPECT_EQ(watch.Count(), 1);
        EXPECT_EQ(QZLastError, 512);
    }
    QZStore<QZInt64>(raw, 65535);
    QZLastError = 0;
    EXPECT_TRUE(block::Free(raw));
}

TEST(Data, OverwrittenBufferGuardIsReportedAtDestruction)
{
    unsigned char* raw = nullptr;
    {
        qztest::AssertWatch watch;
        QZLastError = 0;
        {
            QZData data("abc", 3);
            raw = static_cast<unsigned char*>(data.GetStructPointer());
            raw[512] = 1;
            EXPECT_TRUE(data.Check());
        }
        EXPECT_EQ(watch.Count(), 1);
        EXPECT_EQ(QZLastError, 512);
    }
    raw[512] = 0;
    QZLastError = 0;
    EXPECT_TRUE(block::Free(raw));
}

// ---- Size and offset

TEST(Data, NewSizeKeepsLeadingBytesAndNeverShrinksTheBlock)
{
    QZData data("abcdef", 6);
    data.NewSize(3);
    EXPECT_EQ(Text(data), "abc");
    data.NewSize(6);
    EXPECT_EQ(Text(data), "abcdef");
    data.NewSize(100000);
    EXPECT_EQ(std::string(static_cast<char*>(data.GetPointer()), 6), "abcdef");
    const void* place = data.GetStructPointer();
    data.NewSize(1);
    data.NewSize(100000);
    EXPECT_EQ(data.GetStructPointer(), place);
    EXPECT_TRUE(data.Check());
}

TEST(Data, NewSizeWithAByteFillsNewBytes)
{
    QZData data("ab", 2);
    data.NewSize(12, '.');
    EXPECT_EQ(Text(data), "ab..........");
    data.NewSize(1, '!');
    EXPECT_EQ(Text(data), "a");
    EXPECT_TRUE(data.Check());
}

TEST(Data, LargerOffsetDropsBytesFromTheFront)
{
    QZData data("abcdefgh", 8);
    data.SetOffset(67);
    EXPECT_EQ(Text(data), "defgh");
    EXPECT_EQ(data.GetOffset(), 67);
    EXPECT_EQ(data.GetOffset() + data.GetSize(), 72);
    data.SetOffset(65);
    EXPECT_EQ(Text(data), "bcdefgh");
    EXPECT_TRUE(data.Check());
}

TEST(Data, OffsetZeroAddsTheWholeHeadRoomToTheData)
{
    QZData data("ab", 2);
    data.SetOffset(0);
    EXPECT_EQ(data.GetSize(), 66);
    EXPECT_EQ(Text(data).substr(64), "ab");
    EXPECT_TRUE(data.Check());
}

TEST(Data, NegativeOffsetIsIgnored)
{
    QZData data("ab", 2);
    data.SetOffset(-1);
    EXPECT_EQ(data.GetOffset(), 64);
    EXPECT_EQ(data.GetSize(), 2);
}

TEST(Data, OffsetFarPastTheEndStopsAtTheCapacity)
{
    QZData data("abc", 3);
    data.SetOffset(1000000);
    EXPECT_EQ(data.GetSize(), 0);
    EXPECT_EQ(data.GetOffset(), 512);
    EXPECT_TRUE(data.Check());
    data.Append("xyz", 3);
    EXPECT_EQ(Text(data), "xyz");
    data.Prepend("uvw", 3);
    EXPECT_EQ(Text(data), "uvwxyz");
    EXPECT_EQ(data.GetOffset(), 509);
    data.SetOffset(64);
    EXPECT_EQ(data.GetSize(), 512 + 3 - 64);
    EXPECT_EQ(Text(data).substr(0, 3), "abc");
    EXPECT_TRUE(data.Check());
}

TEST(Data, OffsetAtOrPastTheEndLeavesNoData)
{
    QZData data("abc", 3);
    data.SetOffset(67);
    EXPECT_EQ(data.GetSize(), 0);
    data.SetOffset(100);
    EXPECT_EQ(data.GetSize(), 0);
    EXPECT_EQ(data.GetOffset(), 100);
    EXPECT_TRUE(data.Check());
}

TEST(Data, ClearLeavesAnEmptyBlockWithFullHeadRoom)
{
    QZData longer("abcdef", 6);
    longer.SetOffset(3);
    longer.Clear();
    EXPECT_EQ(longer.GetSize(), 0);
    EXPECT_EQ(longer.GetOffset(), 64);
    QZData data;
    data.SetOffset(10);
    data.NewSize(5);
    data.Clear();
    EXPECT_EQ(data.GetSize(), 0);
    EXPECT_EQ(data.GetOffset(), 64);
    EXPECT_TRUE(data.Check());
    QZData far;
    far.SetOffset(1000);
    far.Clear();
    EXPECT_EQ(far.GetOffset(), 64);
    EXPECT_EQ(far.GetSize(), 0);
    EXPECT_TRUE(far.Check());
}

// ---- Comparing and filling

TEST(Data, EqualsComparesTypeSizeAndBytes)
{
    QZData a("abc", 3);
    QZData b("abc", 3);
    EXPECT_TRUE(a.Equals(&b));
    QZStore<QZInt64>(QZAt(b.GetStructPointer(), 8), 0x2010200);
    EXPECT_FALSE(a.Equals(&b));
    EXPECT_TRUE(a.Equals(b.GetPointer(), b.GetSize()));
    EXPECT_FALSE(a.Equals("abd", 3));
    EXPECT_FALSE(a.Equals("ab", 2));
    EXPECT_FALSE(a.Equals(static_cast<QZData*>(nullptr)));
    QZData empty;
    EXPECT_TRUE(empty.Equals("", 0));
}

TEST(Data, FillRepeatsFourBytesAndEndsWithTheLowOnes)
{
    QZData data(11);
    data.Fill(0x44332211);
    EXPECT_BYTES(data.GetPointer(), 11, "11 22 33 44 11 22 33 44 11 22 33");
    data.Fill(static_cast<unsigned char>(0xAB));
    EXPECT_BYTES(data.GetPointer(), 11, "AB AB AB AB AB AB AB AB AB AB AB");
    QZData small(3);
    small.Fill(-2);
    EXPECT_BYTES(small.GetPointer(), 3, "FE FF FF");
    EXPECT_TRUE(data.Check());
    EXPECT_TRUE(small.Check());
}

// ---- Append and prepend

TEST(Data, AppendAddsAfterTheData)
{
    QZData data("abc", 3);
    QZData more("def", 3);
    data.Append(&more);
    data.Append(more);
    data.Append("ghi", 3);
    data.Append("ghi", 0);
    EXPECT_EQ(Text(data), "abcdefdefghi");
    EXPECT_EQ(Text(more), "def");
    EXPECT_TRUE(data.Check());
}

TEST(Data, AppendToItselfDoubles)
{
    QZData data("abc", 3);
    data.Append(&data);
    EXPECT_EQ(Text(data), "abcabc");
    std::string expected = "abcabc";
    for (int i = 0; i < 12; ++i)
    {
        data.Append(&data);
        expected += expected;
    }
    EXPECT_EQ(Text(data), expected);
    data.Set("0123456789", 10);
    data.Append(QZAt(data.GetPointer(), 4), 3);
    EXPECT_EQ(Text(data), "0123456789456");
    EXPECT_TRUE(data.Check());
}

TEST(Data, NegativeSizesAreRefused)
{
    QZData data("abc", 3);
    EXPECT_QZ_THROW(data.Append("x", -1), 256);
    EXPECT_QZ_THROW(data.Prepend("x", -1), 256);
    EXPECT_EQ(Text(data), "abc");
}

TEST(Data, PrependOf63BytesFitsIntoTheHeadRoom)
{
    const std::string front(63, 'f');
    QZData data("abc", 3);
    const void* block = data.GetStructPointer();
    const void* old = data.GetPointer();
    data.Prepend(front.data(), 63);
    EXPECT_EQ(data.GetStructPointer(), block);
    EXPECT_EQ(data.GetOffset(), 1);
    EXPECT_EQ(QZAt(data.GetPointer(), 63), old);
    EXPECT_EQ(Text(data), front + "abc");
    EXPECT_TRUE(data.Check());
}

TEST(Data, PrependOf64BytesMovesTheDataAndKeepsTheOffset)
{
    const std::string front(64, 'f');
    QZData data("abc", 3);
    data.Prepend(front.data(), 64);
    EXPECT_EQ(data.GetOffset(), 64);
    EXPECT_EQ(Text(data), front + "abc");
    EXPECT_TRUE(data.Check());
}

TEST(Data, PrependAddsBeforeTheDataAndTakesItself)
{
    QZData data("abc", 3);
    QZData more("def", 3);
    data.Prepend(&more);
    data.Prepend(more);
    EXPECT_EQ(Text(data), "defdefabc");
    data.Prepend(&data);
    EXPECT_EQ(Text(data), "defdefabcdefdefabc");
    std::string expected = Text(data);
    for (int i = 0; i < 8; ++i)
    {
        data.Prepend(&data);
        expected += expected;
    }
    EXPECT_EQ(Text(data), expected);
    data.Prepend("", 0);
    EXPECT_EQ(Text(data), expected);
}

// ---- Set

TEST(Data, SetCopiesTheBytesAndKeepsTypeAndHeadRoom)
{
    QZData source("abcdef", 6);
    source.SetOffset(66);
    QZStore<QZInt64>(QZAt(source.GetStructPointer(), 8), 0x2010200);
    QZData data;
    data.Set(&source);
    EXPECT_EQ(Text(data), "cdef");
    EXPECT_EQ(data.GetOffset(), 64);
    EXPECT_EQ(QZLoad<QZInt64>(QZAt(data.GetStructPointer(), 8)), 0xFF000000);
    QZData other;
    other.Set(source.GetStructPointer());
    EXPECT_EQ(Text(other), "cdef");
    other.Set("xy", 2);
    EXPECT_EQ(Text(other), "xy");
}

TEST(Data, SetFromItselfChangesNothing)
{
    QZData data("abcabc", 6);
    QZData pattern("abc", 3);
    EXPECT_EQ(data.Find(&pattern), 0);
    data.Set(&data);
    data.Set(data.GetStructPointer());
    EXPECT_EQ(Text(data), "abcabc");
    EXPECT_EQ(data.FindNext(&pattern), 3);
}

TEST(Data, SetTakesAPartOfItself)
{
    QZData data("0123456789ABCDEFGHIJ", 20);
    data.Set(QZAt(data.GetPointer(), 8), 8);
    EXPECT_EQ(Text(data), "89ABCDEF");
    EXPECT_TRUE(data.Check());
}

// ---- Elements

TEST(Data, ElementIndicesCountInElementWidthsLittleEndian)
{
    QZData data(16);
    data.SetValueInt64(1, 0x1122334455667788);
    EXPECT_BYTES(data.GetPointer(), 16, "00 00 00 00 00 00 00 00 88 77 66 55 44 33 22 11");
    EXPECT_EQ(data.GetValueInt64(1), 0x1122334455667788);
    EXPECT_EQ(data.GetValueUInt64(1), 0x1122334455667788u);
    EXPECT_EQ(data.GetValueInt32(2), 0x55667788);
    EXPECT_EQ(data.GetValueUInt32(3), 0x11223344u);
    EXPECT_EQ(data.GetValueInt16(4), 0x7788);
    EXPECT_EQ(data.GetValueUInt16(7), 0x1122);
    EXPECT_EQ(data.GetValueByte(8), 0x88);
    data.SetValueUInt64(0, 0xFFFFFFFFFFFFFFFFull);
    EXPECT_EQ(data.GetValueInt64(0), -1);
    data.SetValueInt32(0, -2);
    data.SetValueUInt32(1, 0x80000000u);
    data.SetValueInt16(4, -3);
    data.SetValueUInt16(5, 0xFFFE);
    data.SetValueByte(15, 0x7F);
    EXPECT_BYTES(data.GetPointer(), 16, "FE FF FF FF 00 00 00 80 FD FF FE FF 44 33 22 7F");
    EXPECT_EQ(data.GetValueInt16(4), -3);
    data.SetValueDouble(1, -0.5);
    EXPECT_EQ(data.GetValueDouble(1), -0.5);
    EXPECT_BYTES(QZAt(data.GetPointer(), 8), 8, "00 00 00 00 00 00 E0 BF");
}

TEST(Data, ElementOutsideTheDataThrows)
{
    QZData data(15);
    EXPECT_QZ_NO_THROW(data.GetValueInt64(0));
    EXPECT_QZ_THROW(data.GetValueInt64(1), 1024);
    EXPECT_QZ_THROW(data.GetValueInt32(3), 1024);
    EXPECT_QZ_THROW(data.GetValueInt16(7), 1024);
    EXPECT_QZ_THROW(data.GetValueByte(15), 1024);
    EXPECT_QZ_THROW(data.GetValueByte(-2), 1024);
    EXPECT_QZ_THROW(data.GetValueDouble(2), 1024);
    EXPECT_QZ_THROW(data.SetValueByte(15, 1), 1024);
    EXPECT_QZ_THROW(data.SetValueInt64(1, 1), 1024);
    QZData empty;
    EXPECT_QZ_THROW(empty.GetValueByte(0), 1024);
}

TEST(Data, IndexMinusOneReadsTheLastElementOfTheHeadRoom)
{
    QZData data("abcd", 4);
    data.SetOffset(66);
    EXPECT_EQ(data.GetValueByte(-1), 'b');
    EXPECT_EQ(data.GetValueUInt16(-1), 'a' + 256 * 'b');
    EXPECT_EQ(data.GetValueUInt32(-1), 0x62610000u);
    QZData empty;
    EXPECT_EQ(empty.GetValueInt64(-1), 0);
    empty.SetValueInt32(-1, 0x01020304);
    empty.SetOffset(60);
    EXPECT_BYTES(empty.GetPointer(), 4, "04 03 02 01");
}

TEST(Data, IndexMinusOneWithoutHeadRoomStaysInsideTheBlock)
{
    QZData data("abcd", 4);
    data.SetOffset(0);
    EXPECT_EQ(data.GetValueInt64(-1), 0);
    data.SetValueInt64(-1, -1);
    EXPECT_TRUE(data.Check());
    EXPECT_EQ(data.GetPointer(), QZAt(data.GetStructPointer(), 40));
    data.SetOffset(3);
    data.SetValueInt64(-1, -1);
    EXPECT_TRUE(data.Check());
    data.SetOffset(0);
    EXPECT_BYTES(data.GetPointer(), 4, "FF FF FF 00");
}

TEST(Data, IndicesThatWrapIn32BitsThrow)
{
    QZData data(64);
    EXPECT_QZ_THROW(data.GetValueByte(0xFFFFFFFF), 1024);
    EXPECT_QZ_THROW(data.GetValueByte(0x100000003), 1024);
    EXPECT_QZ_THROW(data.GetValueInt64(0x1FFFFFFF), 1024);
    EXPECT_QZ_THROW(data.GetValueByte(-0x100000001), 1024);
    EXPECT_QZ_THROW(data.GetValueByte(std::numeric_limits<QZInt64>::max()), 1024);
    EXPECT_QZ_THROW(data.SetValueByte(std::numeric_limits<QZInt64>::min(), 1), 1024);
}

TEST(Data, FailedElementReadNamesMethodAndIndex)
{
    QZData data(4);
    const qztest::Thrown thrown = qztest::Catch([&] { data.GetValueInt32(7); });
    EXPECT_EQ(thrown.message, " MemoryInaccessible");
    EXPECT_EQ(thrown.stackTrace, "QZData::GetValueInt32(QZInt64)");
    EXPECT_EQ(thrown.argumentTrace, "QZData::GetValueInt32(7)");
}

TEST(Data, FailedElementWriteNamesTheValueToo)
{
    QZData data(4);
    qztest::Thrown thrown = qztest::Catch([&] { data.SetValueInt16(7, -3); });
    EXPECT_EQ(thrown.stackTrace, "QZData::SetValueInt16(QZInt64, QZInt16)");
    EXPECT_EQ(thrown.argumentTrace, "QZData::SetValueInt16(7, -3)");
    thrown = qztest::Catch([&] { data.SetValueDouble(0, 0.5); });
    EXPECT_EQ(thrown.argumentTrace, "QZData::SetValueDouble(0, 0.5)");
}

// ---- Out of memory

TEST(Data, GrowthWithoutMemoryThrowsAndKeepsTheData)
{
    using qztest::WithoutMemory;
    QZData data("abc", 3);
    QZData other("xyz", 3);
    other.NewSize(20000, '.');
    QZLastError = 0;
    EXPECT_EQ(WithoutMemory([&] { data.NewSize(20000); }).code, 4352);
    EXPECT_EQ(QZLastError, 4352);
    EXPECT_EQ(WithoutMemory([&] { data.Append(&other); }).code, 4352);
    EXPECT_EQ(WithoutMemory([&] { data.Prepend(&other); }).code, 4352);
    EXPECT_EQ(WithoutMemory([&] { data.Set(&other); }).code, 4352);
    EXPECT_EQ(WithoutMemory([&] { QZData fresh(20000); }).code, 4352);
    EXPECT_EQ(WithoutMemory([&] { QZData copy(&other); }).code, 4352);
    EXPECT_EQ(WithoutMemory([&] { data = other; }).code, 4352);
    EXPECT_EQ(WithoutMemory([&] { other.Append(&other); }).code, 4352);
    EXPECT_EQ(Text(data), "abc");
    EXPECT_TRUE(data.Check());
    EXPECT_EQ(other.GetSize(), 20000);
    QZLastError = 0;
}

TEST(Data, NegativeSizeThrowsAnEarlierLastError)
{
    QZLastError = 256;
    EXPECT_QZ_THROW(QZData(-1), 256);
    QZLastError = 0;
}

// ---- Hooks

TEST(Data, CopiesGoThroughTheCopyHook)
{
    static QZInt64 copied;
    copied = 0;
    QZData data("abc", 3);
    QZLibSetFunctionMemCopy([](void* to, void* from, QZInt64 size) {
        copied += size;
        std::memcpy(to, from, static_cast<std::size_t>(size));
    });
    data.Append("defgh", 5);
    QZLibSetFunctionMemCopy(
        [](void* to, void* from, QZInt64 size) { std::memmove(to, from, static_cast<std::size_t>(size)); });
    EXPECT_EQ(copied, 5);
    EXPECT_EQ(Text(data), "abcdefgh");
}

// ---- Arguments at the edges

TEST(Data, RepeatedFarOffsetsStopAtTheSamePosition)
{
    QZData data("abc", 3);
    data.SetOffset(1000000);
    data.SetOffset(std::numeric_limits<QZInt64>::max());
    EXPECT_EQ(data.GetOffset(), 512);
    EXPECT_EQ(data.GetStructSize(), 560);
    data.SetOffset(64);
    EXPECT_EQ(data.GetSize(), 448);
    data.Fill(static_cast<QZByte>(0x5A));
    data.SetOffset(1000000);
    EXPECT_EQ(data.GetOffset(), 512);
    EXPECT_EQ(data.GetSize(), 0);
    EXPECT_TRUE(data.Check());
}

TEST(Data, OverflowingSizesThrowOutOfMemory)
{
    QZData data("abc", 3);
    QZLastError = 0;
    EXPECT_QZ_THROW(data.Append("x", std::numeric_limits<QZInt64>::max()), 4352);
    EXPECT_QZ_THROW(data.Prepend("x", std::numeric_limits<QZInt64>::max()), 4352);
    EXPECT_QZ_THROW(data.Append(data.GetPointer(), std::numeric_limits<QZInt64>::max()), 4352);
    EXPECT_QZ_THROW(data.NewSize(std::numeric_limits<QZInt64>::max(), 1), 4352);
    EXPECT_EQ(QZLastError, 4352);
    EXPECT_EQ(Text(data), "abc");
    EXPECT_TRUE(data.Check());
    QZLastError = 0;
}

TEST(Data, FailuresNameMethodAndArguments)
{
    QZLastError = 0;
    qztest::Thrown thrown = qztest::Catch([] { QZData data(-1); });
    EXPECT_EQ(thrown.stackTrace, "QZData::QZData(QZInt64)");
    EXPECT_EQ(thrown.argumentTrace, "QZData::QZData(-1)");
    thrown = qztest::Catch([] { QZData data("abc", -1); });
    EXPECT_EQ(thrown.code, 4352);
    EXPECT_EQ(thrown.stackTrace, "QZData::QZData(QZPVoid, QZInt64)");
    EXPECT_EQ(thrown.argumentTrace, "QZData::QZData(<HEX>, -1)");
    thrown = qztest::Catch([] { QZData data(static_cast<void*>(nullptr), 4); });
    EXPECT_EQ(thrown.code, 256);
    EXPECT_EQ(thrown.argumentTrace, "QZData::QZData(<NULL>, 4)");
    thrown = qztest::Catch([] { QZData data(static_cast<void*>(nullptr)); });
    EXPECT_EQ(thrown.message, "");
    EXPECT_EQ(thrown.stackTrace, "QZData::QZData(QZPVoid)");
    EXPECT_EQ(thrown.argumentTrace, "QZData::QZData(<NULL>)");
    QZData data("abc", 3);
    thrown = qztest::Catch([&] { data.Append("x", -2); });
    EXPECT_EQ(thrown.message, " ArgumentOutOfRange");
    EXPECT_EQ(thrown.stackTrace, "QZData::Append(QZPVoid, QZInt64)");
    thrown = qztest::Catch([&] { data.NewSize(-7); });
    EXPECT_EQ(thrown.stackTrace, "QZData::NewSize(QZInt64)");
    EXPECT_EQ(thrown.argumentTrace, "QZData::NewSize(-7)");
}

TEST(Data, PrependAsLongAsTheHeadRoomMovesTheData)
{
    QZData data("abc", 3);
    data.SetOffset(10);
    data.NewSize(3);
    data.SetOffset(10);
    const std::string before = Text(data);
    data.Prepend("0123456789", 10);
    EXPECT_EQ(data.GetOffset(), 10);
    EXPECT_EQ(Text(data), "0123456789" + before);
    data.Prepend("012345678", 9);
    EXPECT_EQ(data.GetOffset(), 1);
    data.Prepend("x", 1);
    EXPECT_EQ(data.GetOffset(), 1);
    EXPECT_EQ(Text(data), "x0123456780123456789" + before);
    EXPECT_TRUE(data.Check());
}

TEST(Data, EqualsWithNullIsFalseAndSetsTheLastError)
{
    QZData empty;
    QZLastError = 0;
    EXPECT_FALSE(empty.Equals(static_cast<const void*>(nullptr), 0));
    EXPECT_EQ(QZLastError, 256);
    QZLastError = 0;
}

TEST(Data, MovesAndClearsGoThroughTheirHooks)
{
    static QZInt64 moved;
    static QZInt64 cleaned;
    moved = cleaned = 0;
    QZData data("abc", 3);
    QZLibSetFunctionMemMove([](void* to, void* from, QZInt64 size) {
        moved += size;
        std::memmove(to, from, static_cast<std::size_t>(size));
    });
    QZLibSetFunctionMemClean([](void* to, QZInt64 size) {
        cleaned += size;
        std::memset(to, 0, static_cast<std::size_t>(size));
    });
    data.Prepend(std::string(64, '.').data(), 64);
    EXPECT_EQ(moved, 3);
    QZData fresh(10);
    EXPECT_EQ(cleaned, 4096);
}
