#include "fw/fw_collection.h"

#include <algorithm>
#include <initializer_list>
#include <vector>

#include "fw/fw_library.h"
#include "fw/without_memory.h"
#include "support/qz_test.h"

namespace
{

using Words = std::vector<QZUInt64>;

Words ElementsOf(QZCollection& collection)
{
    Words all;
    for (QZInt64 i = 0; i < collection.Count(); ++i) all.push_back(collection.GetElement(i));
    return all;
}

void Fill(QZCollection& collection, std::initializer_list<QZUInt64> values)
{
    collection.Clear();
    for (const QZUInt64 value : values) collection.Push(value);
}

/// A collection that refuses duplicates, by overriding Push.
class Set : public QZCollection
{
public:
    Set() { m_duplicatesAllowed = 0; }
};

/// Records the lengths that the collection requests room for.
class Watched : public QZCollection
{
public:
    std::vector<QZInt64> asked;
    QZInt64 countSeen = -1;

protected:
    void LengthMax(QZInt64 length) override
    {
        asked.push_back(length);
        countSeen = Count();
        QZCollection::LengthMax(length);
    }
};

}  // namespace

// ---- Stack

TEST(Stack, NewStackHoldsOnlyTheCount)
{
    QZStack stack;
    EXPECT_EQ(stack.GetType(), 0x8111000);
    EXPECT_EQ(stack.GetSize(), 8);
    EXPECT_EQ(stack.Count(), 0);
    EXPECT_EQ(stack.GetPointer()[0], 0u);
    EXPECT_EQ(static_cast<void*>(stack.GetPointer()), static_cast<QZData&>(stack).GetPointer());
}

TEST(Stack, WordZeroIsTheCountAndTheElementsFollow)
{
    QZStack stack;
    EXPECT_TRUE(stack.Push(11));
    EXPECT_TRUE(stack.Push(22));
    EXPECT_EQ(stack.GetPointer()[0], 2u);
    EXPECT_EQ(stack.GetPointer()[1], 11u);
    EXPECT_EQ(stack.GetPointer()[2], 22u);
    EXPECT_EQ(stack.GetSize(), 24);
    EXPECT_TRUE(stack.Check());
}

TEST(Stack, PopsInReverseAndThrowsWhenEmpty)
{
    QZStack stack;
    for (QZUInt64 i = 0; i < 1000; ++i) stack.Push(i * 3);
    for (QZUInt64 i = 1000; i-- > 0;) ASSERT_EQ(stack.Pop(), i * 3);
    EXPECT_QZ_THROW(stack.Pop(), 1024);
    EXPECT_EQ(stack.Count(), 0);
    EXPECT_TRUE(stack.Check());
}

TEST(Stack, ClearKeepsTheStorage)
{
    QZStack stack;
    for (QZUInt64 i = 0; i < 10; ++i) stack.Push(i);
    stack.Clear();
    EXPECT_EQ(stack.Count(), 0);
    EXPECT_EQ(stack.GetSize(), 88);
}

TEST(Stack, SetTakesACopyOfTheWords)
{
    QZStack source;
    source.Push(5);
    source.Push(6);
    QZStack stack;
    for (QZUInt64 i = 0; i < 2000; ++i) stack.Push(i);
    stack.Set(&source);
    stack.Set(&stack);
    source.Push(7);
    EXPECT_EQ(stack.Count(), 2);
    EXPECT_EQ(stack.Pop(), 6u);
    EXPECT_EQ(stack.Pop(), 5u);
}

TEST(Stack, CopiesAreDeep)
{
    QZStack source;
    source.Push(5);
    QZStack byValue(source);
    QZStack fromPointer(&source);
    QZStack assigned;
    assigned = source;
    source.Pop();
    source.Push(9);
    EXPECT_EQ(byValue.Pop(), 5u);
    EXPECT_EQ(fromPointer.Pop(), 5u);
    EXPECT_EQ(assigned.Pop(), 5u);
}

TEST(Stack, FollowsABlockThatItsBaseClassMoved)
{
    QZStack stack;
    stack.Push(5);
    QZData& data = stack;
    data.NewSize(1000000);
    EXPECT_EQ(stack.Count(), 1);
    stack.Push(6);
    EXPECT_EQ(stack.Pop(), 6u);
    EXPECT_EQ(stack.Pop(), 5u);
    EXPECT_EQ(static_cast<void*>(stack.GetPointer()), data.GetPointer());
}

TEST(Stack, ClearRestoresTheCountAfterNewSizeZero)
{
    QZStack stack;
    stack.Push(5);
    stack.NewSize(0);
    stack.Clear();
    EXPECT_EQ(stack.Count(), 0);
    EXPECT_TRUE(stack.Check());
    stack.Push(6);
    EXPECT_EQ(stack.Pop(), 6u);
}

// ---- Collection: adding and removing

TEST(Collection, TypeAndCopyConstructor)
{
    QZCollection collection;
    EXPECT_EQ(collection.GetType(), 0x8111100);
    Fill(collection, {1, 2, 2});
    QZCollection copy(&collection);
    collection.Clear();
    EXPECT_EQ(ElementsOf(copy), (Words{1, 2, 2}));
    EXPECT_TRUE(copy.Push(2));
}

TEST(Collection, PushRequestsRoomFromTheVirtualLengthMax)
{
    Watched collection;
    collection.Push(5);
    EXPECT_EQ(collection.countSeen, 1);
    collection.Push(6);
    EXPECT_EQ(collection.countSeen, 2);
    EXPECT_EQ(collection.asked, (std::vector<QZInt64>{1, 2}));
    EXPECT_EQ(collection.GetSize(), 24);
}

TEST(Collection, SetRefusesDuplicates)
{
    Set set;
    EXPECT_TRUE(set.Push(1));
    EXPECT_TRUE(set.Push(2));
    EXPECT_FALSE(set.Push(1));
    EXPECT_EQ(ElementsOf(set), (Words{1, 2}));
    QZCollection copy(&set);
    EXPECT_FALSE(copy.Push(2));
}

TEST(Collection, AppendTakesAnArrayWithItsCount)
{
    QZCollection collection;
    Fill(collection, {1});
    const QZUInt64 words[] = {3, 7, 8, 9};
    EXPECT_TRUE(collection.Append(words));
    EXPECT_EQ(ElementsOf(collection), (Words{1, 7, 8, 9}));
    const QZUInt64 none[] = {0};
    EXPECT_TRUE(collection.Append(none));
    EXPECT_EQ(collection.Count(), 4);
}

TEST(Collection, AppendRequestsRoomOnce)
{
    Watched collection;
    const QZUInt64 words[] = {3, 7, 8, 9};
    collection.Append(words);
    EXPECT_EQ(collection.asked, (std::vector<QZInt64>{3}));
}

TEST(Collection, AppendToASetReturnsWhetherAllWereAdded)
{
    Set set;
    const QZUInt64 fresh[] = {2, 7, 8};
    EXPECT_TRUE(set.Append(fresh));
    const QZUInt64 mixed[] = {3, 9, 7, 10};
    EXPECT_FALSE(set.Append(mixed));
    EXPECT_EQ(ElementsOf(set), (Words{7, 8, 9, 10}));
    EXPECT_FALSE(set.Append(&set));
    EXPECT_EQ(set.Count(), 4);
}

TEST(Collection, AppendToItselfDoubles)
{
    QZCollection collection;
    Words expected;
    for (QZUInt64 i = 0; i < 600; ++i)
    {
        collection.Push(i);
        expected.push_back(i);
    }
    expected.insert(expected.end(), expected.begin(), expected.end());
    EXPECT_TRUE(collection.Append(&collection));
    EXPECT_EQ(ElementsOf(collection), expected);
    EXPECT_TRUE(collection.Check());
}

TEST(Collection, RemoveElementMovesTheOthersUp)
{
    QZCollection collection;
    Fill(collection, {1, 2, 3, 4});
    EXPECT_TRUE(collection.RemoveElement(1));
    EXPECT_EQ(ElementsOf(collection), (Words{1, 3, 4}));
    collection.RemoveElement(2);
    EXPECT_EQ(ElementsOf(collection), (Words{1, 3}));
    collection.RemoveElement(0);
    EXPECT_EQ(ElementsOf(collection), (Words{3}));
    EXPECT_QZ_THROW(collection.RemoveElement(1), 1024);
    EXPECT_QZ_THROW(collection.RemoveElement(-1), 1024);
}

TEST(Collection, RemoveByValueRemovesEveryOccurrence)
{
    QZCollection collection;
    Fill(collection, {5, 1, 5, 5, 2, 5});
    EXPECT_EQ(collection.RemoveByValue(5), 4);
    EXPECT_EQ(ElementsOf(collection), (Words{1, 2}));
    EXPECT_EQ(collection.RemoveByValue(5), 0);
    QZCollection empty;
    EXPECT_EQ(empty.RemoveByValue(0), 0);
}

TEST(Collection, BadIndicesThrow)
{
    QZCollection collection;
    Fill(collection, {1, 2});
    EXPECT_QZ_THROW(collection.GetElement(2), 1024);
    EXPECT_QZ_THROW(collection.GetElement(-1), 1024);
    EXPECT_QZ_THROW(collection.GetElement(0x7FFFFFFFFFFFFFFF), 1024);
    EXPECT_QZ_THROW(collection.SetElement(2, 1), 1024);
    collection.Clear();
    EXPECT_QZ_THROW(collection.Pop(), 1024);
    EXPECT_QZ_THROW(collection.GetElement(0), 1024);
}

TEST(Collection, SetElementReplaces)
{
    QZCollection collection;
    Fill(collection, {1, 2});
    EXPECT_TRUE(collection.SetElement(1, 9));
    EXPECT_EQ(ElementsOf(collection), (Words{1, 9}));
}

TEST(Collection, EqualsComparesCountAndElements)
{
    QZCollection a;
    QZCollection b;
    EXPECT_TRUE(a.Equals(&b));
    Fill(a, {1, 2});
    Fill(b, {1, 2, 3});
    EXPECT_FALSE(a.Equals(&b));
    b.Pop();
    EXPECT_TRUE(a.Equals(&b));
    b.SetElement(0, 7);
    EXPECT_FALSE(a.Equals(&b));
    EXPECT_FALSE(a.Equals(nullptr));
}

// ---- Collection: finding

TEST(Collection, FindNextElementContinuesAfterFindElement)
{
    QZCollection collection;
    Fill(collection, {4, 7, 4, 4});
    EXPECT_EQ(collection.FindElement(4), 0);
    EXPECT_EQ(collection.FindNextElement(4), 2);
    EXPECT_EQ(collection.FindNextElement(4), 3);
    EXPECT_EQ(collection.FindNextElement(4), -1);
    EXPECT_EQ(collection.FindNextElement(4), 0);
    EXPECT_EQ(collection.FindElement(99), -1);
    EXPECT_EQ(collection.FindElement(7), 1);
    EXPECT_EQ(collection.FindNextElement(4), 2);
}

TEST(Collection, ElementAndByteSearchShareTheirPosition)
{
    QZCollection collection;
    Fill(collection, {4, 4, 4, 4});
    EXPECT_EQ(collection.FindElement(4), 0);
    // The count is at byte 0, the first element at byte 8.
    QZData pattern("\x04\x00", 2);
    EXPECT_EQ(collection.QZData::FindNext(&pattern), 8);
    EXPECT_EQ(collection.FindNextElement(4), -1);
}

// ---- Collection: order

TEST(Collection, SortsAsSignedWords)
{
    QZCollection collection;
    Fill(collection, {5, 0, 0xFFFFFFFFFFFFFFFFull, 3, 3, 0x8000000000000000ull, 1});
    collection.MinToMax();
    EXPECT_EQ(ElementsOf(collection), (Words{0x8000000000000000ull, 0xFFFFFFFFFFFFFFFFull, 0, 1, 3, 3, 5}));
    collection.MaxToMin();
    EXPECT_EQ(ElementsOf(collection), (Words{5, 3, 3, 1, 0, 0xFFFFFFFFFFFFFFFFull, 0x8000000000000000ull}));
}

TEST(Collection, LargestIsUnsignedThoughTheSortIsSigned)
{
    QZCollection collection;
    Fill(collection, {0, 0xFFFFFFFFFFFFFFFFull, 7});
    collection.MinToMax();
    EXPECT_EQ(ElementsOf(collection), (Words{0xFFFFFFFFFFFFFFFFull, 0, 7}));
    EXPECT_EQ(static_cast<QZUInt64>(collection.GetMax()), 0xFFFFFFFFFFFFFFFFull);
    EXPECT_EQ(collection.GetMin(), 0);
}

TEST(Collection, LargestOfEmptyThrows)
{
    QZCollection collection;
    EXPECT_QZ_THROW(collection.GetMax(), 6400);
    EXPECT_QZ_THROW(collection.GetMin(), 6400);
    EXPECT_QZ_NO_THROW(collection.MinToMax());
    EXPECT_QZ_NO_THROW(collection.MaxToMin());
    QZCollection other;
    EXPECT_QZ_NO_THROW(collection.MinToMax(&other));
    EXPECT_QZ_NO_THROW(collection.MaxToMin(&other));
}

TEST(Collection, SortsLongLists)
{
    QZCollection collection;
    Words expected;
    QZUInt64 value = 12345;
    for (int i = 0; i < 3000; ++i)
    {
        value = value * 6364136223846793005ull + 1442695040888963407ull;
        collection.Push(value >> 1);
        expected.push_back(value >> 1);
    }
    std::sort(expected.begin(), expected.end());
    collection.MinToMax();
    EXPECT_EQ(ElementsOf(collection), expected);
}

TEST(Collection, KeyedSortMovesThePayloadWithTheKeys)
{
    QZCollection keys;
    QZCollection payload;
    Fill(keys, {30, 10, 20});
    Fill(payload, {300, 100, 200});
    keys.MinToMax(&payload);
    EXPECT_EQ(ElementsOf(keys), (Words{10, 20, 30}));
    EXPECT_EQ(ElementsOf(payload), (Words{100, 200, 300}));
    keys.MaxToMin(&payload);
    EXPECT_EQ(ElementsOf(keys), (Words{30, 20, 10}));
    EXPECT_EQ(ElementsOf(payload), (Words{300, 200, 100}));
}

TEST(Collection, KeyedSortIsNotStable)
{
    QZCollection keys;
    QZCollection payload;
    // 2a 2b 1c: 2a is swapped with 1c, so it follows 2b.
    Fill(keys, {2, 2, 1});
    Fill(payload, {0xA, 0xB, 0xC});
    keys.MinToMax(&payload);
    EXPECT_EQ(ElementsOf(payload), (Words{0xC, 0xB, 0xA}));
    // 3a 2b 3c 1d: swap a and b, then b and d (1d 3a 3c 2b), then a and b (1d 2b 3c 3a); 3c and 3a stay.
    Fill(keys, {3, 2, 3, 1});
    Fill(payload, {0xA, 0xB, 0xC, 0xD});
    keys.MinToMax(&payload);
    EXPECT_EQ(ElementsOf(keys), (Words{1, 2, 3, 3}));
    EXPECT_EQ(ElementsOf(payload), (Words{0xD, 0xB, 0xC, 0xA}));
}

TEST(Collection, KeyedSortIsSigned)
{
    QZCollection keys;
    QZCollection payload;
    Fill(keys, {0, 0xFFFFFFFFFFFFFFFFull});
    Fill(payload, {1, 2});
    keys.MinToMax(&payload);
    EXPECT_EQ(ElementsOf(payload), (Words{2, 1}));
    keys.MaxToMin(&payload);
    EXPECT_EQ(ElementsOf(payload), (Words{1, 2}));
}

TEST(Collection, KeyedSortFillsAShortPayloadWithZeros)
{
    QZCollection keys;
    QZCollection payload;
    Fill(keys, {3, 2, 1});
    Fill(payload, {30});
    keys.MinToMax(&payload);
    EXPECT_EQ(ElementsOf(payload), (Words{0, 0, 30}));
    Fill(keys, {2, 1});
    Fill(payload, {20, 10, 5});
    keys.MinToMax(&payload);
    EXPECT_EQ(ElementsOf(payload), (Words{10, 20, 5}));
}

TEST(Collection, KeyedSortWithItselfAsPayloadKeepsTheOrder)
{
    QZCollection keys;
    Fill(keys, {3, 1, 2});
    keys.MinToMax(&keys);
    EXPECT_EQ(ElementsOf(keys), (Words{3, 1, 2}));
}

#if GTEST_HAS_DEATH_TEST
TEST(CollectionDeathTest, KeyedMaxToMinAssertsThatThePayloadIsNotNull)
{
#ifdef QZ_TEST_EMULATED
    ::testing::FLAGS_gtest_death_test_style = "fast";
#else
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
#endif
    QZCollection keys;
    Fill(keys, {3, 1});
    EXPECT_DEATH(keys.MaxToMin(static_cast<QZCollection*>(nullptr)),
                 "POINTER != QZNull && POINTER_TAR != QZNull");
    EXPECT_DEATH(keys.MaxToMin(static_cast<QZCollection*>(nullptr)), "code/fw/fw_collection.*152");
}
#endif

TEST(Collection, KeyedMinToMaxThrowsForANullPayload)
{
    QZCollection keys;
    Fill(keys, {3, 1});
    EXPECT_QZ_THROW(keys.MinToMax(static_cast<QZCollection*>(nullptr)), 1792);
    EXPECT_EQ(ElementsOf(keys), (Words{3, 1}));
}

TEST(Collection, MoveElementRotatesThePartBetween)
{
    QZCollection collection;
    Fill(collection, {0, 1, 2, 3, 4});
    collection.MoveElement(1, 3);
    EXPECT_EQ(ElementsOf(collection), (Words{0, 2, 3, 1, 4}));
    collection.MoveElement(4, 0);
    EXPECT_EQ(ElementsOf(collection), (Words{4, 0, 2, 3, 1}));
    collection.MoveElement(2, 2);
    EXPECT_EQ(ElementsOf(collection), (Words{4, 0, 2, 3, 1}));
    collection.MoveElement(0, 1);
    EXPECT_EQ(ElementsOf(collection), (Words{0, 4, 2, 3, 1}));
}

TEST(Collection, MoveElementWithOneBadIndexDoesNotThrow)
{
    QZCollection collection;
    Fill(collection, {1, 2, 3});
    EXPECT_QZ_NO_THROW(collection.MoveElement(0, 99));
    EXPECT_QZ_NO_THROW(collection.MoveElement(-1, 1));
    EXPECT_EQ(ElementsOf(collection), (Words{1, 2, 3}));
    EXPECT_QZ_THROW(collection.MoveElement(3, -1), 256);
    EXPECT_QZ_THROW(collection.MoveElement(99, 99), 256);
    EXPECT_EQ(ElementsOf(collection), (Words{1, 2, 3}));
}

// ---- Collection: length

TEST(Collection, NewLengthFillsNewElementsAndNeverShrinksTheStorage)
{
    QZCollection collection;
    Fill(collection, {1, 2, 3});
    collection.NewLength(5, 9);
    EXPECT_EQ(ElementsOf(collection), (Words{1, 2, 3, 9, 9}));
    collection.NewLength(2, 7);
    EXPECT_EQ(ElementsOf(collection), (Words{1, 2}));
    EXPECT_EQ(collection.GetSize(), 48);
    collection.NewLength(4);
    EXPECT_EQ(ElementsOf(collection), (Words{1, 2, 0, 0}));
    collection.NewLength(2000);
    EXPECT_EQ(collection.Count(), 2000);
    EXPECT_EQ(collection.GetElement(1999), 0u);
    EXPECT_TRUE(collection.Check());
}

TEST(Collection, NegativeLengthIsStoredAndNoElementIsAccessible)
{
    QZCollection collection;
    Fill(collection, {1, 2, 3});
    collection.NewLength(-5);
    EXPECT_EQ(collection.Count(), -5);
    EXPECT_QZ_THROW(collection.GetElement(0), 1024);
    EXPECT_QZ_THROW(collection.Pop(), 1024);
    EXPECT_EQ(collection.FindElement(1), -1);
    collection.MinToMax();
    EXPECT_TRUE(collection.Push(8));
    EXPECT_EQ(collection.Count(), -4);
    EXPECT_TRUE(collection.Check());
    collection.Clear();
    collection.Push(8);
    EXPECT_EQ(ElementsOf(collection), (Words{8}));
}

TEST(Collection, TooLargeLengthsThrowOutOfMemoryAndKeepTheElements)
{
    QZLastError = 0;
    QZCollection collection;
    Fill(collection, {1, 2, 3});
    EXPECT_QZ_THROW(collection.NewLength(0x7FFFFFFFFFFFFFFF), 4352);
    QZLastError = 0;
    EXPECT_QZ_THROW(collection.NewLength(QZInt64{1} << 57), 4352);
    EXPECT_EQ(ElementsOf(collection), (Words{1, 2, 3}));
    QZLastError = 0;
}

TEST(Collection, PushWithoutMemoryKeepsElementsAndCount)
{
    QZCollection collection;
    for (QZUInt64 i = 0; i < 100; ++i) collection.Push(i);
    QZLastError = 0;
    EXPECT_EQ(qztest::WithoutMemory([&] { collection.NewLength(600); }).code, 4352);
    EXPECT_EQ(collection.Count(), 100);
    EXPECT_EQ(qztest::WithoutMemory([&] {
                  for (int i = 0; i < 1000; ++i) collection.Push(1000);
              }).code,
              4352);
    QZLastError = 0;
    EXPECT_LT(collection.Count(), 1000);
    EXPECT_EQ(collection.GetSize(), collection.Count() * 8 + 8);
    EXPECT_EQ(collection.GetElement(99), 99u);
    EXPECT_TRUE(collection.Check());
    EXPECT_TRUE(collection.Push(7));
    EXPECT_EQ(collection.Pop(), 7u);
}

TEST(Collection, ClearedCollectionIsReused)
{
    QZCollection collection;
    Fill(collection, {1, 2, 3});
    QZData& data = collection;
    data.Clear();
    EXPECT_EQ(collection.Count(), 0);
    Fill(collection, {4});
    EXPECT_EQ(ElementsOf(collection), (Words{4}));
}
