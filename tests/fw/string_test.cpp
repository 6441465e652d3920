#include "fw/fw_string.h"

#include <cstring>

#include "fw/fw_encoding.h"
#include "fw/fw_library.h"
#include "fw/fw_memory.h"
#include "fw/fw_string_factory.h"
#include "support/qz_test.h"
#include "sys/internal/sys_hooks.h"
#include "sys/sys_bytes.h"

namespace
{
QZInt64 Word(void* block, QZInt64 position) { return QZLoad<QZInt64>(QZAt(block, position)); }

/// While it lives, makes the next allocation from the process heap fail.
class NoMemory
{
public:
    NoMemory() : m_hooks{this, nullptr, Gate, nullptr} { os::SetTestHooks(&m_hooks); }
    ~NoMemory() { os::SetTestHooks(nullptr); }

private:
    static bool Gate(void* context, os::Op operation, QZInt64*, QZUInt32*)
    {
        NoMemory* self = static_cast<NoMemory*>(context);
        if (operation != os::Op::Allocate || self->m_failed) return true;
        self->m_failed = true;
        return false;
    }

    os::TestHooks m_hooks;
    bool m_failed = false;
};

QZInt64 g_copied = 0;
void PlainCopy(void* to, void* from, QZInt64 size) { std::memcpy(to, from, static_cast<std::size_t>(size)); }
void CountingCopy(void* to, void* from, QZInt64 size)
{
    g_copied += size;
    PlainCopy(to, from, size);
}

int g_asserts = 0;
void CountAssert(QZBool condition) { g_asserts += condition == 0; }
void AbortOnFalse(QZBool condition)
{
    if (!condition) std::abort();
}
}  // namespace

TEST(String, EmptyStringHoldsATerminator)
{
    QZString text;
    EXPECT_EQ(text.GetSize(), 0);
    EXPECT_EQ(text.GetLength(), 0);
    EXPECT_EQ(text.GetPointer()[0], 0);
    EXPECT_TRUE(text.Check());
    EXPECT_EQ(text.GetType(), 0x8130000);
    EXPECT_EQ(text.GetMemorySize(), 4096 + 8);
}

TEST(String, BlockHasTheEncodingAndCountsTheTerminator)
{
    QZString text(QZ_W("ab"));
    void* block = text.GetStructPointer();
    EXPECT_EQ(Word(block, 0), 65535);
    EXPECT_EQ(Word(block, 8), 0x2010200);
    EXPECT_EQ(Word(block, 16), 6);
    EXPECT_EQ(Word(block, 24), 64);
    EXPECT_EQ(Word(block, 32), 0);
    EXPECT_EQ(static_cast<void*>(text.GetPointer()), QZAt(block, 104));
    EXPECT_BYTES(text.GetPointer(), 6, "61 00 62 00 00 00");
}

TEST(String, SurrogatePairCountsAsTwo)
{
    QZString text(QZ_W("\U0001F600"));
    EXPECT_EQ(text.GetLength(), 2);
    EXPECT_EQ(text.GetSize(), 4);
}

TEST(String, ConstructorsTakeEveryKindOfText)
{
    QZString wide(QZ_W("abc"));
    EXPECT_QZ_TEXT(QZString("abc").GetPointer(), "abc");
    EXPECT_QZ_TEXT(wide, "abc");
    EXPECT_QZ_TEXT(QZString(&wide).GetPointer(), "abc");
    EXPECT_QZ_TEXT(QZString("abcdef", 3).GetPointer(), "abc");
    EXPECT_QZ_TEXT(QZString(QZ_W("abcdef"), 4).GetPointer(), "ab");
    EXPECT_QZ_TEXT(QZString(wide.GetStructPointer()).GetPointer(), "abc");
}

TEST(String, NullTextMakesAnEmptyString)
{
    EXPECT_EQ(QZString(static_cast<const char*>(nullptr)).GetLength(), 0);
    EXPECT_EQ(QZString(static_cast<const QZWChar*>(nullptr)).GetLength(), 0);
    EXPECT_EQ(QZString(static_cast<QZString*>(nullptr)).GetLength(), 0);
    EXPECT_EQ(QZString(static_cast<void*>(nullptr)).GetLength(), 0);
    EXPECT_EQ(QZString(static_cast<const char*>(nullptr), 0).GetLength(), 0);
    EXPECT_EQ(QZString(static_cast<const QZWChar*>(nullptr), 0).GetLength(), 0);
}

TEST(String, EmptyTextIsNoFailure)
{
    EXPECT_EQ(QZString("").GetLength(), 0);
    EXPECT_EQ(QZString(QZ_W("")).GetLength(), 0);
    EXPECT_EQ(QZString("x", 0).GetLength(), 0);
}

TEST(String, NullTextWithASizeThrows256)
{
    EXPECT_QZ_THROW(QZString(static_cast<const QZWChar*>(nullptr), 4), 256);
    EXPECT_EQ(QZLastError, 256);
    EXPECT_QZ_THROW(QZString(static_cast<const char*>(nullptr), 4), 256);
    EXPECT_QZ_THROW(QZString(QZ_W("ab"), -2), 256);
    EXPECT_QZ_THROW(QZString("ab", -1), 256);
}

TEST(String, SizesOfWideTextCountInWholeUnits)
{
    EXPECT_EQ(QZString(QZ_W("abc"), 5).GetSize(), 4);
    QZString text(QZ_W("x"));
    text.Append(QZ_W("abc"), 3);
    EXPECT_QZ_TEXT(text, "xa");
    text.Prepend(QZ_W("abc"), 1);
    EXPECT_QZ_TEXT(text, "xa");
}

TEST(String, CopiesAreDeepAndKeepTheIdentity)
{
    QZString first(QZ_W("abc"));
    QZString copy(first);
    EXPECT_EQ(copy.GetObjectID(), first.GetObjectID());
    copy.GetPointer()[0] = 'X';
    EXPECT_QZ_TEXT(first, "abc");
    EXPECT_QZ_TEXT(copy, "Xbc");

    QZString assigned;
    assigned = first;
    EXPECT_QZ_TEXT(assigned, "abc");
    EXPECT_NE(assigned.GetPointer(), first.GetPointer());
    QZString& same = assigned;
    assigned = same;
    EXPECT_QZ_TEXT(assigned, "abc");
}

TEST(String, BlockCopyKeepsItsHeadRoom)
{
    QZString text(QZ_W("bc"));
    text.Prepend(QZ_W("a"));
    QZString copy(text.GetStructPointer());
    EXPECT_QZ_TEXT(copy, "abc");
    EXPECT_EQ(Word(copy.GetStructPointer(), 24), 62);
}

TEST(String, ClearKeepsTheStorageAndRestoresTheHeadRoom)
{
    QZString text;
    for (int i = 0; i < 4000; ++i) text.Append(QZ_W("x"));
    text.Prepend(QZ_W("y"));
    QZInt64 memory = text.GetMemorySize();
    EXPECT_GT(memory, 4096 + 8);
    text.Clear();
    EXPECT_EQ(text.GetLength(), 0);
    EXPECT_EQ(text.GetPointer()[0], 0);
    EXPECT_EQ(Word(text.GetStructPointer(), 24), 64);
    EXPECT_EQ(text.GetMemorySize(), memory);
    EXPECT_TRUE(text.Check());
}

TEST(String, SetReplacesTheText)
{
    QZString text(QZ_W("before"));
    text.Set("n");
    EXPECT_QZ_TEXT(text, "n");
    text.Set(QZ_W("wide"));
    EXPECT_QZ_TEXT(text, "wide");
    text.Set("narrow", 2);
    EXPECT_QZ_TEXT(text, "na");
    text.Set(QZ_W("abc"), 4);
    EXPECT_QZ_TEXT(text, "ab");
    QZString other(QZ_W("other"));
    text.Set(&other);
    EXPECT_QZ_TEXT(text, "other");
    QZString block(QZ_W("block"));
    text.Set(block.GetStructPointer());
    EXPECT_QZ_TEXT(text, "block");
}

TEST(String, SetOfNullEmptiesTheString)
{
    QZString text(QZ_W("abc"));
    text.Set(static_cast<const char*>(nullptr));
    EXPECT_EQ(text.GetLength(), 0);
    text.Set(QZ_W("abc"));
    text.Set(static_cast<const QZWChar*>(nullptr));
    EXPECT_EQ(text.GetLength(), 0);
    text.Set(QZ_W("abc"));
    text.Set(static_cast<QZString*>(nullptr));
    EXPECT_EQ(text.GetLength(), 0);
    text.Set(QZ_W("abc"));
    text.Set(static_cast<void*>(nullptr));
    EXPECT_EQ(text.GetLength(), 0);
    EXPECT_QZ_THROW(text.Set(static_cast<const QZWChar*>(nullptr), 2), 256);
    EXPECT_QZ_THROW(text.Set(static_cast<const char*>(nullptr), 2), 256);
}

TEST(String, SetTakesItsOwnText)
{
    QZString text(QZ_W("abcdef"));
    text.Set(&text);
    EXPECT_QZ_TEXT(text, "abcdef");
    text.Set(text.GetStructPointer());
    EXPECT_QZ_TEXT(text, "abcdef");
    text.Set(text.GetPointer() + 2);
    EXPECT_QZ_TEXT(text, "cdef");
    text.Set(text.GetPointer() + 1, 4);
    EXPECT_QZ_TEXT(text, "de");
}

TEST(String, CharAtReadsUnitsAndTheTerminator)
{
    QZString text(QZ_W("ab"));
    EXPECT_EQ(text.CharAt(0), 'a');
    EXPECT_EQ(text.CharAt(1), 'b');
    EXPECT_EQ(text.CharAt(2), 0);
}

TEST(String, CharAtOutsideTheTextDoesNotThrow)
{
    QZString text(QZ_W("bc"));
    EXPECT_EQ(text.CharAt(-1), 0);
    text.Prepend(QZ_W("a"));
    text.SubStringThis(0, 1);
    EXPECT_EQ(text.CharAt(2), 'c');  // the old unit after the shortened text
    EXPECT_EQ(text.CharAt(1000000000), 0);
    EXPECT_EQ(text.CharAt(-1000000000), 0);
    EXPECT_EQ(text.CharAt(0x7FFFFFFFFFFFFFFF), 0);
}

TEST(String, CopiesGoThroughTheHook)
{
    QZString text;
    QZLibSetFunctionMemCopy(CountingCopy);
    g_copied = 0;
    text.Append(QZ_W("abc"));
    EXPECT_EQ(g_copied, 6);
    text.Prepend(QZ_W("xy"));
    EXPECT_EQ(g_copied, 10);
    text.Insert(1, QZ_W("-"));
    EXPECT_EQ(g_copied, 12);
    QZLibSetFunctionMemCopy(PlainCopy);
    EXPECT_QZ_TEXT(text, "x-yabc");
}

TEST(String, GrowthWithoutMemoryThrowsAndKeepsTheText)
{
    QZString text(QZ_W("ab"));
    qztest::Text longer(5000, 'x');
    QZLastError = 0;
    qztest::Thrown thrown;
    {
        NoMemory none;
        thrown = QZ_TEST_CATCH(text.Append(longer.c_str()));
    }
    EXPECT_EQ(thrown.code, 4352);
    EXPECT_EQ(QZLastError, 4352);
    EXPECT_EQ(thrown.message, " OutOfMemory");
    EXPECT_EQ(thrown.stackTrace, "QZString::Append(QZWChar*)");
    EXPECT_EQ(thrown.argumentTrace.substr(0, 33), "QZString::Append(<HEX>78007800780");
    EXPECT_QZ_TEXT(text, "ab");
    EXPECT_TRUE(text.Check());
}

TEST(String, GrowthWithoutMemoryShowsTheBytesOfTheNumber)
{
    // The longest text that fits a block of 4096 bytes: 4032 less header, head room, terminator and guard.
    QZString text;
    while (text.GetMemorySize() == 4096 + 8) text.Append(QZ_W("x"));
    QZInt64 length = text.GetLength() - 1;
    QZString full;
    for (QZInt64 i = 0; i < length; ++i) full.Append(QZ_W("x"));
    ASSERT_EQ(full.GetMemorySize(), 4096 + 8);
    QZLastError = 0;
    qztest::Thrown thrown;
    {
        NoMemory none;
        thrown = QZ_TEST_CATCH(full.Append(static_cast<QZInt64>(258)));
    }
    EXPECT_EQ(thrown.code, 4352);
    EXPECT_EQ(thrown.stackTrace, "QZString::Append(QZInt64)");
    EXPECT_EQ(thrown.argumentTrace, "QZString::Append(<HEX>0201000000000000)");
    EXPECT_EQ(full.GetLength(), length);
}

TEST(String, DamagedStringIsReportedAtDestruction)
{
    QZLibSetFunctionAssert(CountAssert);
    g_asserts = 0;
    QZString* text = new QZString(QZ_W("abc"));
    // The text ends after 40 + 64 + 8 bytes of the block; the guard follows.
    unsigned char* guard = QZAt(text->GetStructPointer(), 112);
    QZUInt64 kept = QZLoad<QZUInt64>(guard);
    EXPECT_EQ(kept, 0xFFFF000000000000ull);
    QZStore<QZUInt64>(guard, 0);
    EXPECT_FALSE(text->Check());
    void* block = text->GetStructPointer();
    QZLastError = 0;
    delete text;
    EXPECT_EQ(g_asserts, 1);
    EXPECT_EQ(QZLastError, 512);
    QZLibSetFunctionAssert(AbortOnFalse);
    // The damaged block was not freed: once repaired, it can be.
    QZStore<QZUInt64>(QZAt(block, 112), kept);
    QZString heir(block);
    EXPECT_QZ_TEXT(heir, "abc");
    QZMemory::RecycleBuffer(block);
}

TEST(String, RecycleReturnsTheStringToTheFactory)
{
    QZString* text = QZStringFactory::CreateString(QZ_W("x"));
    QZString* sameText = text;
    QZString::Recycle(&text);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(QZStringFactory::CreateString(), sameText);
    QZStringFactory::Recycle(&sameText);
}
