#include "fw/fw_keyed.h"

#include <vector>

#include "fw/fw_data_factory.h"
#include "fw/fw_library.h"
#include "fw/fw_string_factory.h"
#include "fw/without_memory.h"
#include "support/qz_test.h"

// ---- Object collections

TEST(ObjectCollection, HoldsPointersByPosition)
{
    QZObject a, b, c;
    QZObjectCollection collection;
    EXPECT_EQ(collection.GetType(), 0x81F6000);
    EXPECT_TRUE(collection.Push(&a));
    EXPECT_TRUE(collection.Push(&b));
    EXPECT_TRUE(collection.Push(&a));
    EXPECT_EQ(collection.Count(), 3);
    EXPECT_EQ(collection.GetElement(1), &b);
    EXPECT_TRUE(collection.SetElement(1, &c));
    EXPECT_EQ(collection.GetElement(1), &c);
    EXPECT_TRUE(a.IsDisposable());
    EXPECT_EQ(collection.Pop(), &a);
    EXPECT_TRUE(collection.RemoveElement(0));
    EXPECT_EQ(collection.GetElement(0), &c);
    collection.Clear();
    EXPECT_EQ(collection.Count(), 0);
}

TEST(ObjectCollection, BadIndicesThrow)
{
    QZObject a;
    QZObjectCollection collection;
    EXPECT_QZ_THROW(collection.Pop(), 1024);
    collection.Push(&a);
    EXPECT_QZ_THROW(collection.GetElement(1), 1024);
    EXPECT_QZ_THROW(collection.GetElement(-1), 1024);
    EXPECT_QZ_THROW(collection.SetElement(1, &a), 1024);
    EXPECT_QZ_THROW(collection.RemoveElement(1), 1024);
}

TEST(ObjectCollection, RemoveElementRemovesEveryOccurrence)
{
    QZObject a, b;
    QZObjectCollection collection;
    collection.Push(&a);
    collection.Push(&b);
    collection.Push(&a);
    EXPECT_TRUE(collection.RemoveElement(&a));
    EXPECT_EQ(collection.Count(), 1);
    EXPECT_FALSE(collection.RemoveElement(&a));
}

TEST(ObjectCollection, AppendToItselfCopiesFirst)
{
    QZObject a, b;
    QZObjectCollection collection;
    collection.Push(&a);
    collection.Push(&b);
    EXPECT_TRUE(collection.Append(&collection));
    ASSERT_EQ(collection.Count(), 4);
    EXPECT_EQ(collection.GetElement(2), &a);
    EXPECT_EQ(collection.GetElement(3), &b);
    QZObjectCollection other;
    other.Append(&collection);
    EXPECT_EQ(other.Count(), 4);
}

TEST(ObjectCollection, CopyFromAPointerIsADeepCopy)
{
    QZObject a;
    QZObjectCollection collection;
    collection.Push(&a);
    QZObjectCollection copy(&collection);
    collection.Clear();
    EXPECT_EQ(copy.Count(), 1);
    EXPECT_EQ(copy.GetElement(0), &a);
}

TEST(ObjectCollection, CopyByValueSharesTheList)
{
    QZObject a;
    QZObjectCollection collection;
    {
        QZObjectCollection copy(collection);
        copy.Push(&a);
    }
    EXPECT_EQ(collection.Count(), 1);
}

TEST(ObjectCollection, MemorySizeIsEightPlusTheSumOfTheElements)
{
    QZObject a;
    QZData b;
    QZObjectCollection collection;
    EXPECT_EQ(collection.GetMemorySize(), 8);
    collection.Push(&a);
    collection.Push(&b);
    EXPECT_EQ(collection.GetMemorySize(), 8 + 8 + 4104);
}

TEST(DataCollection, ReturnsTypedElements)
{
    QZData a("a", 1), b("b", 1);
    QZDataCollection collection;
    EXPECT_EQ(collection.GetType(), 0x81F9000);
    collection.Push(&a);
    collection.Push(&b);
    QZDataCollection copy(&collection);
    EXPECT_EQ(collection.GetElement(0)->GetSize(), 1);
    EXPECT_EQ(collection.Pop(), &b);
    EXPECT_TRUE(copy.Append(&copy));
    EXPECT_EQ(copy.Count(), 4);
    EXPECT_EQ(copy.GetElement(3), &b);
}

TEST(StringCollection, ReturnsTypedElements)
{
    QZString a("a"), b("b");
    QZStringCollection collection;
    EXPECT_EQ(collection.GetType(), 0x81FA000);
    collection.Push(&a);
    collection.Push(&b);
    QZStringCollection copy(&collection);
    EXPECT_QZ_TEXT(collection.GetElement(0), "a");
    EXPECT_EQ(collection.Pop(), &b);
    EXPECT_TRUE(collection.Append(&copy));
    EXPECT_EQ(collection.Count(), 3);
}

// ---- Pair

TEST(KeyValue, HoldsTwoStringsLockedWithItsOwnId)
{
    QZKeyValue pair;
    EXPECT_EQ(pair.GetType(), 0x81F1000);
    EXPECT_QZ_TEXT(pair.GetKey(), "");
    pair.SetKey("name");
    pair.SetValue(QZ_W("wide"));
    EXPECT_QZ_TEXT(pair.GetKey(), "name");
    EXPECT_QZ_TEXT(pair.GetValue(), "wide");
    QZString text("text");
    pair.SetKey(&text);
    pair.SetValue(&text);
    EXPECT_QZ_TEXT(pair.GetKey(), "text");
    pair.SetValue("v");
    pair.SetKey(QZ_W("k"));
    EXPECT_QZ_TEXT(pair.GetKey(), "k");
    EXPECT_QZ_TEXT(pair.GetValue(), "v");
    EXPECT_FALSE(pair.GetKey()->IsDisposable());
    EXPECT_FALSE(pair.GetValue()->SetDisposable(pair.GetObjectID() + 256, 1));
    EXPECT_FALSE(pair.GetValue()->IsDisposable());
}

TEST(KeyValue, SetKeyToItsOwnKeyEmptiesIt)
{
    QZKeyValue pair;
    pair.SetKey("name");
    pair.SetKey(pair.GetKey());
    EXPECT_QZ_TEXT(pair.GetKey(), "");
}

TEST(KeyValue, CopiesByValueShareTheStrings)
{
    QZKeyValue pair;
    pair.SetKey("name");
    {
        QZKeyValue copy(pair);
        copy.SetKey("other");
    }
    EXPECT_QZ_TEXT(pair.GetKey(), "other");
}

// ---- Callbacks

TEST(CallbackCollection, KeepsPointersInOrder)
{
    int first = 0;
    int second = 0;
    QZCallbackCollection collection;
    EXPECT_EQ(collection.GetType(), 0x81F2000);
    collection.Add(&first);
    collection.Add(&second);
    collection.Add(&first);
    EXPECT_EQ(collection.Count(), 3);
    EXPECT_EQ(collection.GetElement(0), &first);
    EXPECT_EQ(collection.GetElement(1), &second);
    EXPECT_EQ(collection.GetElement(2), &first);
    EXPECT_QZ_THROW(collection.GetElement(3), 1024);
}

// ---- Dictionary

namespace
{

class KeyValueCollection : public ::testing::Test
{
protected:
    void AddThree()
    {
        map.Add("one", &a);
        map.Add("two", &b);
        map.Add("three", &c);
    }

    /// Returns the keys in order, each with the name of its object.
    std::string Order()
    {
        std::string all;
        for (QZInt64 i = 0; i < map.Count(); ++i)
        {
            QZObject* object = map.GetElement(i);
            all += (i ? " " : "") + qztest::Utf8(map.ToKey(i)) + ":" +
                   (object == &a   ? "a"
                    : object == &b ? "b"
                    : object == &c ? "c"
                                   : "?");
        }
        return all;
    }

    QZObject a, b, c;
    QZKeyValueCollection map;
};

}  // namespace

TEST_F(KeyValueCollection, FindsByEveryKindOfKeyWithoutCase)
{
    AddThree();
    QZString key("TWO");
    EXPECT_EQ(map.GetType(), 0x81F8000);
    EXPECT_EQ(map.GetIndex("Two"), 1);
    EXPECT_EQ(map.GetIndex(QZ_W("tWO")), 1);
    EXPECT_EQ(map.GetIndex(&key), 1);
    EXPECT_EQ(map.GetIndex("four"), -1);
    EXPECT_EQ(map.GetIndex("on"), -1);
    EXPECT_EQ(map.GetIndex("ones"), -1);
    EXPECT_EQ(map.GetIndex(""), -1);
    EXPECT_TRUE(map.IsExists(&key));
    EXPECT_EQ(map.GetElement("ONE"), &a);
    EXPECT_EQ(map.GetElement(QZ_W("three")), &c);
    EXPECT_EQ(map.GetElement(&key), &b);
    EXPECT_EQ(map.GetElement("none"), nullptr);
    EXPECT_EQ(map.GetLength(), 3);
    EXPECT_EQ(map.Count(), 3);
}

TEST_F(KeyValueCollection, OnlyAsciiLettersFold)
{
    // "[" and "{", "@" and "`" differ by 32 as letters do; U+00C4 and U+00E4 are letters outside ASCII.
    map.Add(QZ_W("[@\u00C4"), &a);
    EXPECT_EQ(map.GetIndex(QZ_W("[@\u00C4")), 0);
    EXPECT_EQ(map.GetIndex(QZ_W("{@\u00C4")), -1);
    EXPECT_EQ(map.GetIndex(QZ_W("[`\u00C4")), -1);
    EXPECT_EQ(map.GetIndex(QZ_W("[@\u00E4")), -1);
}

TEST_F(KeyValueCollection, NarrowKeysOutsideAsciiAreConverted)
{
    // Both conversions of the bytes use the same ANSI code page and give the same text.
    QZString key("k\xC3\xA4se");
    map.Add(&key, &a);
    EXPECT_EQ(map.GetIndex("K\xC3\xA4SE"), 0);
    EXPECT_EQ(map.GetIndex("K\xC3\xA4S"), -1);
}

TEST_F(KeyValueCollection, KeyInAnotherCaseIsTheSameKey)
{
    map.Add("Key", &a);
    EXPECT_QZ_THROW(map.Add("KEY", &b), 2304);
    EXPECT_QZ_THROW(map.Add(QZ_W("key"), &b), 2304);
    EXPECT_TRUE(b.IsDisposable());
    EXPECT_EQ(map.Count(), 1);
    EXPECT_QZ_TEXT(map.ToKey(0), "Key");
}

TEST_F(KeyValueCollection, EmptyAndNullKeysAreBad)
{
    QZString empty;
    EXPECT_QZ_THROW(map.Add("", &a), 2048);
    EXPECT_QZ_THROW(map.Add(QZ_W(""), &a), 2048);
    EXPECT_QZ_THROW(map.Add(&empty, &a), 2048);
    EXPECT_QZ_THROW(map.Add(static_cast<char*>(nullptr), &a), 2048);
    EXPECT_QZ_THROW(map.Add(static_cast<QZWChar*>(nullptr), &a), 2048);
    EXPECT_QZ_THROW(map.Add(static_cast<QZString*>(nullptr), &a), 2048);
    EXPECT_TRUE(a.IsDisposable());
    EXPECT_EQ(map.Count(), 0);
}

TEST_F(KeyValueCollection, LookUpOfANullKeyThrows)
{
    EXPECT_QZ_THROW(map.GetIndex(static_cast<char*>(nullptr)), 1792);
    EXPECT_QZ_THROW(map.GetIndex(static_cast<QZWChar*>(nullptr)), 1792);
    EXPECT_QZ_THROW(map.GetIndex(static_cast<QZString*>(nullptr)), 1792);
    EXPECT_QZ_THROW(map.GetElement(static_cast<char*>(nullptr)), 1792);
    EXPECT_QZ_THROW(map.IsExists(nullptr), 1792);
}

TEST_F(KeyValueCollection, FailuresNameTheKey)
{
    map.Add("Key", &a);
    const qztest::Thrown thrown = qztest::Catch([&] { map.Add("KEY", &b); });
    EXPECT_EQ(thrown.message, " KeyIsExists");
    EXPECT_EQ(thrown.stackTrace, "QZKeyValueCollection::AddToCollection(QZString*)");
    EXPECT_EQ(thrown.argumentTrace, "QZKeyValueCollection::AddToCollection(KEY)");
}

TEST_F(KeyValueCollection, NullKeyIsRefusedAsAnEmptyKey)
{
    const qztest::Thrown thrown = qztest::Catch([&] { map.Add(static_cast<char*>(nullptr), &a); });
    EXPECT_EQ(thrown.message, " KeyIsBad");
    EXPECT_EQ(thrown.stackTrace, "QZKeyValueCollection::AddToCollection(QZString*)");
    EXPECT_EQ(thrown.argumentTrace, "QZKeyValueCollection::AddToCollection()");
}

TEST_F(KeyValueCollection, AddWithoutMemoryAddsNothingAndUnlocksTheObject)
{
    constexpr QZInt64 kMany = 1000;
    for (const bool keysFail : {false, true})
    {
        QZKeyValueCollection full;
        std::vector<QZObject> objects(kMany);
        // The string cache is filled, so that only the two lists allocate. When the list of objects has room,
        // the list of keys is the one that fails.
        QZStringCollection* waiting = QZStringFactory::CreateStringCollection();
        for (QZInt64 i = 0; i < kMany; ++i) waiting->Push(QZStringFactory::CreateString());
        QZStringFactory::Recycle(&waiting);
        for (QZInt64 i = 0; keysFail && i < kMany; ++i) full.GetObjectCollection()->Push(&a);
        full.GetObjectCollection()->Clear();

        QZString key;
        QZInt64 next = 0;
        QZLastError = 0;
        const qztest::Thrown thrown = qztest::WithoutMemory([&] {
            for (; next < kMany; ++next)
            {
                key.Clear();
                key.Append(next);
                full.Add(&key, &objects[next]);
            }
        });
        QZLastError = 0;
        EXPECT_EQ(thrown.code, 4352);
        ASSERT_GT(next, 0);
        ASSERT_LT(next, kMany);
        EXPECT_EQ(full.Count(), next);
        EXPECT_EQ(full.GetObjectCollection()->Count(), next);
        EXPECT_EQ(full.GetKeyCollection()->Count(), next);
        EXPECT_TRUE(objects[next].IsDisposable());
        EXPECT_FALSE(objects[next - 1].IsDisposable());
        EXPECT_TRUE(full.Add("now", &objects[next]));
        EXPECT_EQ(full.GetElement("now"), &objects[next]);
        full.Clear();
    }
}

TEST_F(KeyValueCollection, ObjectBelongsToOneKeyedCollectionOnly)
{
    map.Add("one", &a);
    QZKeyValueCollection other;
    EXPECT_QZ_THROW(other.Add("one", &a), 1280);
    EXPECT_QZ_THROW(map.Add("again", &a), 1280);
    EXPECT_EQ(other.Count(), 0);
    EXPECT_EQ(map.Count(), 1);
    EXPECT_FALSE(a.IsDisposable());
}

TEST_F(KeyValueCollection, KeysAreCopies)
{
    QZString key("one");
    map.Add(&key, &a);
    key.Append("more");
    EXPECT_EQ(map.GetIndex("one"), 0);
    EXPECT_NE(map.ToKey(0), &key);
}

TEST_F(KeyValueCollection, OutOfRangeIsNull)
{
    AddThree();
    EXPECT_EQ(map.GetElement(-1), nullptr);
    EXPECT_EQ(map.GetElement(3), nullptr);
    EXPECT_EQ(map.GetElement(0), &a);
    EXPECT_EQ(map.ToKey(3), nullptr);
    EXPECT_EQ(map.ToKey(-1), nullptr);
}

TEST_F(KeyValueCollection, ToKeyFindsTheObjectByPointer)
{
    AddThree();
    QZObject stranger;
    EXPECT_QZ_TEXT(map.ToKey(&b), "two");
    EXPECT_EQ(map.ToKey(&b), map.ToKey(1));
    EXPECT_EQ(map.ToKey(&b), map.GetKeyCollection()->GetElement(1));
    EXPECT_EQ(map.ToKey(&stranger), nullptr);
}

TEST_F(KeyValueCollection, ElementTypeByKeyAndByIndex)
{
    QZString text;
    map.Add("text", &text);
    map.Add("object", &a);
    QZString key("OBJECT");
    QZString absent("absent");
    EXPECT_EQ(map.GetElementType(&key), 0x8100000);
    EXPECT_EQ(map.GetElementType(&absent), 0);
    EXPECT_EQ(map.GetElementType(0), 0x8130000);
    EXPECT_QZ_THROW(map.GetElementType(2), 1024);
    map.Clear();
}

TEST_F(KeyValueCollection, SetElementUnlocksTheOldAndDoesNotLockTheNew)
{
    map.Add("one", &a);
    EXPECT_TRUE(map.SetElement("ONE", &b));
    EXPECT_TRUE(a.IsDisposable());
    EXPECT_TRUE(b.IsDisposable());
    EXPECT_EQ(map.GetElement(0), &b);
    EXPECT_TRUE(map.SetElement(0, &c));
    EXPECT_TRUE(map.SetElement(QZ_W("one"), &a));
    QZString key("one");
    EXPECT_TRUE(map.SetElement(&key, &b));
    EXPECT_EQ(map.GetElement("one"), &b);
    EXPECT_FALSE(map.SetElement("two", &c));
    EXPECT_FALSE(map.SetElement(1, &c));
    EXPECT_FALSE(map.SetElement(-1, &c));
    EXPECT_QZ_NO_THROW(map.Clear());
}

TEST_F(KeyValueCollection, ClearSkipsAnObjectLockedElsewhereAfterSetElement)
{
    map.Add("one", &a);
    map.SetElement(0, &b);
    b.SetDisposable(5, 0);
    EXPECT_QZ_NO_THROW(map.Clear());
    EXPECT_FALSE(b.IsDisposable());
    b.SetDisposable(5, 1);
}

TEST_F(KeyValueCollection, SetElementKeyAllowsDuplicates)
{
    AddThree();
    QZString* old = map.ToKey(1);
    QZString key("ONE");
    EXPECT_TRUE(map.SetElementKey(1, &key));
    EXPECT_EQ(Order(), "one:a ONE:b three:c");
    EXPECT_EQ(map.GetIndex("one"), 0);
    EXPECT_NE(map.ToKey(1), &key);
    // The old key is not recycled: the caller of ToKey owns it now.
    EXPECT_QZ_TEXT(old, "two");
    QZStringFactory::Recycle(&old);
    EXPECT_FALSE(map.SetElementKey(3, &key));
    EXPECT_FALSE(map.SetElementKey(-1, &key));
}

TEST_F(KeyValueCollection, RemoveElementUnlocksTheObject)
{
    AddThree();
    EXPECT_TRUE(map.RemoveElement("TWO"));
    EXPECT_EQ(Order(), "one:a three:c");
    EXPECT_TRUE(b.IsDisposable());
    EXPECT_TRUE(map.RemoveElement(0));
    EXPECT_EQ(Order(), "three:c");
    EXPECT_FALSE(map.RemoveElement("two"));
    EXPECT_FALSE(map.RemoveElement(1));
    EXPECT_FALSE(map.RemoveElement(-1));
    EXPECT_FALSE(map.RemoveElement(&a));
    EXPECT_TRUE(map.RemoveElement(&c));
    EXPECT_EQ(map.Count(), 0);
    QZString key("one");
    EXPECT_TRUE(map.Add(&key, &a));
    EXPECT_TRUE(map.RemoveElement(&key));
    EXPECT_FALSE(map.RemoveElement(QZ_W("one")));
}

TEST_F(KeyValueCollection, MoveElementStopsAtTheEnds)
{
    AddThree();
    EXPECT_TRUE(map.MoveElement(1, 100));
    EXPECT_EQ(Order(), "one:a three:c two:b");
    EXPECT_TRUE(map.MoveElement(2, -1));
    EXPECT_EQ(Order(), "one:a two:b three:c");
    QZString key("THREE");
    EXPECT_TRUE(map.MoveElement(&key, -100));
    EXPECT_EQ(Order(), "three:c one:a two:b");
    EXPECT_TRUE(map.MoveElement(0, 0));
    EXPECT_TRUE(map.MoveElement(0, 1));
    EXPECT_EQ(Order(), "one:a three:c two:b");
    EXPECT_FALSE(map.MoveElement(3, 1));
    EXPECT_FALSE(map.MoveElement(-1, 0));
    QZString absent("absent");
    EXPECT_FALSE(map.MoveElement(&absent, 1));
    EXPECT_EQ(map.GetIndex("three"), 1);
}

TEST_F(KeyValueCollection, ChangeElementIndexSwaps)
{
    AddThree();
    EXPECT_TRUE(map.ChangeElementIndex(0, 2));
    EXPECT_EQ(Order(), "three:c two:b one:a");
    EXPECT_TRUE(map.ChangeElementIndex(1, 1));
    EXPECT_FALSE(map.ChangeElementIndex(0, 3));
    EXPECT_FALSE(map.ChangeElementIndex(-1, 0));
    EXPECT_EQ(Order(), "three:c two:b one:a");
}

TEST_F(KeyValueCollection, ObjectsCanBeDeletedAfterClear)
{
    auto* object = new QZObject();
    map.Add("object", object);
    EXPECT_FALSE(object->IsDisposable());
    map.Clear();
    EXPECT_EQ(map.Count(), 0);
    EXPECT_EQ(map.GetKeyCollection()->Count(), 0);
    EXPECT_EQ(map.GetObjectCollection()->Count(), 0);
    EXPECT_TRUE(object->IsDisposable());
    delete object;
}

TEST_F(KeyValueCollection, DestructionUnlocksTheObjects)
{
    {
        QZKeyValueCollection shortLived;
        shortLived.Add("a", &a);
    }
    EXPECT_TRUE(a.IsDisposable());
}

TEST_F(KeyValueCollection, KeysAreRecycled)
{
    map.Add("text that is given back", &a);
    QZString* key = map.ToKey(0);
    map.Clear();
    QZString* next = QZStringFactory::CreateString();
    EXPECT_EQ(next, key);
    QZStringFactory::Recycle(&next);
}

TEST_F(KeyValueCollection, KeyComparerComparesOrderAndCase)
{
    QZObject d, e;
    QZKeyValueCollection other;
    EXPECT_TRUE(map.KeyComparer(&other));
    map.Add("one", &a);
    map.Add("two", &b);
    other.Add("one", &d);
    EXPECT_FALSE(map.KeyComparer(&other));
    other.Add("two", &e);
    EXPECT_TRUE(map.KeyComparer(&other));
    other.ChangeElementIndex(0, 1);
    EXPECT_FALSE(map.KeyComparer(&other));
    other.Clear();
    other.Add("one", &d);
    other.Add("TWO", &e);
    EXPECT_FALSE(map.KeyComparer(&other));
}

TEST_F(KeyValueCollection, CopiesByValueShareTheLists)
{
    AddThree();
    {
        QZKeyValueCollection copy(map);
        EXPECT_EQ(copy.GetIndex("two"), 1);
        EXPECT_EQ(copy.GetKeyCollection(), map.GetKeyCollection());
    }
    // The copy has the id of its source, so its destructor unlocked and removed the entries of both.
    EXPECT_TRUE(a.IsDisposable());
    EXPECT_EQ(map.GetIndex("two"), -1);
    EXPECT_QZ_NO_THROW(map.Clear());
}
