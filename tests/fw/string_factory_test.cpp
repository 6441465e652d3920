#include "fw/fw_string_factory.h"

#include "fw/fw_encoding.h"
#include "fw/fw_environment.h"
#include "fw/fw_keyed.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "support/qz_test.h"

namespace
{
int g_asserts = 0;
void CountAssert(QZBool condition) { g_asserts += condition == 0; }
void AbortOnFalse(QZBool condition)
{
    if (!condition) std::abort();
}

std::string Taken(QZString* text)
{
    std::string result = qztest::Utf8(text);
    QZStringFactory::Recycle(&text);
    EXPECT_EQ(text, nullptr);
    return result;
}
}  // namespace

TEST(StringFactory, CreatesFromEveryKindOfText)
{
    QZString source(QZ_W("source"));
    EXPECT_EQ(Taken(QZStringFactory::CreateString()), "");
    EXPECT_EQ(Taken(QZStringFactory::CreateString("narrow")), "narrow");
    EXPECT_EQ(Taken(QZStringFactory::CreateString(QZ_W("wide"))), "wide");
    EXPECT_EQ(Taken(QZStringFactory::CreateString("narrow", 3)), "nar");
    EXPECT_EQ(Taken(QZStringFactory::CreateString(QZ_W("wide"), 4)), "wi");
    EXPECT_EQ(Taken(QZStringFactory::CreateString(&source)), "source");
    EXPECT_EQ(Taken(QZStringFactory::CreateString(static_cast<QZString*>(nullptr))), "");
}

TEST(StringFactory, RecycledStringIsReusedEmptyWithItsStorage)
{
    QZString* text = QZStringFactory::CreateString();
    for (int i = 0; i < 3000; ++i) text->Append(QZ_W("x"));
    QZString* first = text;
    QZInt64 memory = text->GetMemorySize();
    QZStringFactory::Recycle(&text);
    EXPECT_EQ(text, nullptr);
    QZString* again = QZStringFactory::CreateString();
    EXPECT_EQ(again, first);
    EXPECT_EQ(again->GetLength(), 0);
    EXPECT_EQ(again->GetMemorySize(), memory);
    QZStringFactory::Recycle(&again);
}

TEST(StringFactory, FailedCreationRecyclesTheString)
{
    QZStringFactory::Collect(0);
    EXPECT_EQ(QZStringFactory::GetMemorySize(), 16);
    // The string is recycled at once, the three strings of the exception together with the exception.
    EXPECT_QZ_THROW(QZStringFactory::CreateString(static_cast<const QZWChar*>(nullptr), 2), 256);
    EXPECT_GE(QZStringFactory::GetMemorySize(), 16 + 4 * (4096 + 8));
}

TEST(StringFactory, FailedCreationAddsItsFrame)
{
    qztest::Thrown thrown =
        QZ_TEST_CATCH(QZStringFactory::CreateString(static_cast<const QZWChar*>(nullptr), 2));
    EXPECT_EQ(thrown.stackTrace,
              "QZString::Set(QZWChar*, QZInt64)\r\nQZStringFactory::CreateString(QZWChar*, QZInt64)");
    EXPECT_EQ(thrown.argumentTrace, "QZString::Set(<NULL>, 2)\r\nQZStringFactory::CreateString(<NULL>, 2)");
}

TEST(StringFactory, RecycledCollectionRecyclesItsStrings)
{
    QZStringCollection* pieces = QZStringFactory::CreateStringCollection();
    pieces->Push(QZStringFactory::CreateString("a"));
    pieces->Push(QZStringFactory::CreateString("b"));
    QZStringFactory::Collect(0);
    QZStringFactory::Recycle(&pieces);
    EXPECT_EQ(pieces, nullptr);
    EXPECT_GE(QZStringFactory::GetMemorySize(), 16 + 2 * (4096 + 8));
    QZStringCollection* again = QZStringFactory::CreateStringCollection();
    EXPECT_EQ(again->Count(), 0);
    QZStringFactory::Recycle(&again);
}

TEST(StringFactory, LockedStringIsRefused)
{
    QZString* text = QZStringFactory::CreateString("x");
    text->SetDisposable(7, 0);
    EXPECT_QZ_THROW(QZStringFactory::Recycle(&text), 1280);
    ASSERT_NE(text, nullptr);
    text->SetDisposable(7, 1);
    QZStringFactory::Recycle(&text);
}

TEST(StringFactory, RecycleOfNullFailsAnAssertion)
{
    QZString* noText = nullptr;
    QZStringCollection* noCollection = nullptr;
    QZLibSetFunctionAssert(CountAssert);
    g_asserts = 0;
    QZStringFactory::Recycle(&noText);
    QZStringFactory::Recycle(&noCollection);
    QZEncoding::Recycle(&noText);
    QZEnvironment::Recycle(&noText);
    QZLibSetFunctionAssert(AbortOnFalse);
    EXPECT_EQ(g_asserts, 4);
}

TEST(Environment, NewLineIsCarriageReturnLineFeed)
{
    EXPECT_BYTES(QZEnvironment::NewLine->GetPointer(), 6, "0D00 0A00 0000");
    EXPECT_EQ(QZEnvironment::UseMemPoolCache, 0);
}

TEST(Environment, HasTheEncodingsOfTheCharacterTypes)
{
    EXPECT_EQ(QZEnvironment::CurrentCharacterEncodingType, 0x2010100);
    EXPECT_EQ(QZEnvironment::CurrentWideCharacterEncodingType, 0x2010200);
    EXPECT_TRUE(QZEnvironment::IsCharacterEncodingType(QZEncodingType::ANSI));
    EXPECT_FALSE(QZEnvironment::IsCharacterEncodingType(QZEncodingType::UTF8));
    EXPECT_TRUE(QZEnvironment::IsWideCharacterEncodingType(QZEncodingType::UTF16LE));
    EXPECT_FALSE(QZEnvironment::IsWideCharacterEncodingType(QZEncodingType::UTF16BE));
}
