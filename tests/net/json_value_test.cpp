// The value classes, and the factory.

#include <limits>

#include "fw/fw_data_factory.h"
#include "fw/fw_keyed.h"
#include "fw/fw_library.h"
#include "fw/fw_table.h"
#include "json_support.h"
#include "net/internal/net_json_access.h"

using qztest::ParseAs;
using qztest::Taken;

namespace
{
int g_asserts = 0;

/// While it lives, counts failed assertions instead of ending the process.
class AssertCount
{
public:
    AssertCount()
    {
        g_asserts = 0;
        QZLibSetFunctionAssert([](QZBool condition) { g_asserts += condition ? 0 : 1; });
    }
    ~AssertCount()
    {
        QZLibSetFunctionAssert([](QZBool) {});
    }
    int Count() const { return g_asserts; }
};

template <typename T>
void ExpectClass(T* value, QZInt64 type, const char* text)
{
    EXPECT_EQ(value->GetType(), type);
    EXPECT_EQ(T::Type, type);
    EXPECT_EQ(Taken(value->ToString()), text);
    EXPECT_EQ(Taken(QZJsonFactory::SerializeObject(value)), text);
    EXPECT_FALSE(value->Val()->IsDisposable());
    QZJsonFactory::Recycle(&value);
    EXPECT_EQ(value, nullptr);
}

TEST(JsonValue, TypesAndTexts)
{
    ExpectClass(QZJsonFactory::CreateValue(), 134283264, "");
    ExpectClass(QZJsonFactory::CreateBool(1), 134283280, "true");
    ExpectClass(QZJsonFactory::CreateBool(0), 134283280, "false");
    ExpectClass(QZJsonFactory::CreateDecimal(0.25), 134283296, "0.25");
    ExpectClass(QZJsonFactory::CreateDecimal(-3), 134283296, "-3");
    ExpectClass(QZJsonFactory::CreateString("a"), 134283312, "\"a\"");
    ExpectClass(QZJsonFactory::CreateString(QZ_W("\u4E2D")), 134283312, "\"\xE4\xB8\xAD\"");
    ExpectClass(QZJsonFactory::CreateValueCollection(), 134283328, "[]");
    ExpectClass(QZJsonFactory::CreateObject(), 134283344, "{}");
    ExpectClass(QZJsonFactory::CreateNull(), 134283360, "null");
}

TEST(JsonValue, StringsFromAStringAreCopies)
{
    QZString text(QZ_W("before"));
    QZJsonString* value = QZJsonFactory::CreateString(&text);
    text.Set(QZ_W("after"));
    EXPECT_QZ_TEXT(value->Val(), "before");
    value->Val(&text);
    text.Clear();
    EXPECT_QZ_TEXT(value->Val(), "after");
    value->Val(static_cast<QZString*>(nullptr));
    EXPECT_EQ(Taken(value->ToString()), "\"\"");
    QZJsonFactory::Recycle(&value);
    value = QZJsonFactory::CreateString(static_cast<const char*>(nullptr));
    EXPECT_QZ_TEXT(value->Val(), "");
    QZJsonFactory::Recycle(&value);
}

TEST(JsonValue, BoolTakesANewValue)
{
    QZJsonBool* value = QZJsonFactory::CreateBool(0);
    value->Val(static_cast<QZBool>(7));
    EXPECT_QZ_TEXT(value->Val(), "true");
    value->Val(static_cast<QZBool>(0));
    EXPECT_EQ(Taken(value->ToString()), "false");
    QZJsonFactory::Recycle(&value);
}

TEST(JsonValue, QuotationMarkInAStringIsNotEscaped)
{
    QZJsonString* value = QZJsonFactory::CreateString("a\"b\\");
    EXPECT_EQ(Taken(value->ToString()), "\"a\"b\\\"");
    QZJsonFactory::Recycle(&value);
}

TEST(JsonValue, BlankValuesAreOmittedInObjectsAndKeptInArrays)
{
    QZString blank(QZ_W(" \t"));
    QZJsonObject* object = QZJsonFactory::CreateObject();
    QZJsonAccess::SetAttr(object, QZ_W("empty"), QZJsonFactory::CreateValue());
    QZJsonDecimal* decimal = QZJsonFactory::CreateDecimal(1);
    decimal->Val(&blank);
    QZJsonAccess::SetAttr(object, QZ_W("blank"), decimal);
    QZJsonAccess::SetAttr(object, QZ_W("text"), QZJsonFactory::CreateString(&blank));
    EXPECT_EQ(Taken(object->ToString()), "{\"empty\":,\"blank\":,\"text\":\" \t\"}");
    QZJsonFactory::Recycle(&object);

    QZJsonValueCollection* list = QZJsonFactory::CreateValueCollection();
    list->Push(QZJsonFactory::CreateValue());
    decimal = QZJsonFactory::CreateDecimal(1);
    decimal->Val(&blank);
    list->Push(decimal);
    EXPECT_EQ(Taken(list->ToString()), "[, \t]");
    QZJsonFactory::Recycle(&list);
}

TEST(JsonValue, CollectionsHaveTheOperationsOfAList)
{
    QZJsonValueCollection* list = QZJsonFactory::CreateValueCollection();
    EXPECT_EQ(list->Pop(), nullptr);
    EXPECT_EQ(list->DeQueue(), nullptr);
    EXPECT_EQ(list->GetFirst(), nullptr);
    list->Push(QZJsonFactory::CreateDecimal(2));
    list->EnQueue(QZJsonFactory::CreateDecimal(3));
    list->AddLast(QZJsonFactory::CreateDecimal(4));
    list->AddFirst(QZJsonFactory::CreateDecimal(1));
    EXPECT_EQ(list->Count(), 4);
    EXPECT_EQ(Taken(list->ToString()), "[1,2,3,4]");
    EXPECT_QZ_TEXT(list->GetElement(2)->Val(), "3");
    EXPECT_QZ_TEXT(list->GetFirst()->Val(), "1");
    EXPECT_QZ_TEXT(list->GetLast()->Val(), "4");
    EXPECT_QZ_THROW(list->GetElement(4), 256);
    EXPECT_QZ_THROW(list->GetElement(-1), 256);
    EXPECT_QZ_THROW(list->Push(nullptr), 1792);
    EXPECT_QZ_THROW(list->Push(list->GetFirst()), 1280);
    QZJsonValue* last = list->Pop();
    QZJsonValue* first = list->DeQueue();
    EXPECT_QZ_TEXT(last->Val(), "4");
    EXPECT_QZ_TEXT(first->Val(), "1");
    QZJsonFactory::Recycle(&last);
    QZJsonFactory::Recycle(&first);
    QZJsonFactory::Recycle(&list);
}

TEST(JsonValue, ObjectsReturnAndRemoveTheirAttributes)
{
    auto* object = ParseAs<QZJsonObject>(R"({"a":1,"b":2,"c":3,"d":4})");
    EXPECT_QZ_TEXT(object->GetAttrName(0), "a");
    EXPECT_EQ(object->GetAttrName(4), nullptr);
    EXPECT_EQ(object->GetAttrValue(-1), nullptr);
    QZString name(QZ_W("B"));
    QZJsonValue* taken[] = {object->RemoveAttr(&name), object->RemoveAttr("a"), object->RemoveAttr(QZ_W("D")),
                            object->RemoveAttr(0)};
    const char* vals[] = {"2", "1", "4", "3"};
    for (int i = 0; i < 4; ++i)
    {
        ASSERT_NE(taken[i], nullptr);
        EXPECT_TRUE(taken[i]->IsDisposable());
        EXPECT_QZ_TEXT(taken[i]->Val(), vals[i]);
        object->Recycle(&taken[i]);
        EXPECT_EQ(taken[i], nullptr);
    }
    EXPECT_EQ(object->RemoveAttr("a"), nullptr);
    EXPECT_EQ(object->RemoveAttr(0), nullptr);
    EXPECT_QZ_THROW(object->RemoveAttr(static_cast<QZString*>(nullptr)), 1792);
    EXPECT_EQ(object->AttrCount(), 0);
    QZJsonFactory::Recycle(&object);
}

TEST(JsonValue, RecycleOfAValueTakesTheStringOfToString)
{
    QZJsonString* text = QZJsonFactory::CreateString("x");
    QZString* own = text->Val();
    text->Recycle(&own);
    EXPECT_EQ(own, nullptr);
    EXPECT_QZ_TEXT(text->Val(), "x");
    QZString* given = text->ToString();
    text->Recycle(&given);
    EXPECT_EQ(given, nullptr);

    QZJsonBool* boolean = QZJsonFactory::CreateBool(1);
    given = boolean->ToString();
    boolean->Recycle(&given);
    EXPECT_EQ(given, nullptr);
    own = boolean->Val();
    boolean->Recycle(&own);
    EXPECT_EQ(own, boolean->Val());

    QZJsonNull* null = QZJsonFactory::CreateNull();
    own = null->Val();
    null->Recycle(&own);
    EXPECT_EQ(own, null->Val());
    given = null->ToString();
    null->Recycle(&given);
    EXPECT_EQ(given, nullptr);
    QZJsonFactory::Recycle(&text);
    QZJsonFactory::Recycle(&boolean);
    QZJsonFactory::Recycle(&null);
}

TEST(JsonValue, CopiesShareTheirParts)
{
    auto* object = ParseAs<QZJsonObject>(R"({"a":[1]})");
    {
        QZJsonObject copy(*object);
        EXPECT_EQ(copy.GetObjectID(), object->GetObjectID());
        EXPECT_EQ(Taken(copy.ToString()), R"({"a":[1]})");
    }
    EXPECT_EQ(Taken(object->ToString()), R"({"a":[1]})");
    QZJsonFactory::Recycle(&object);
}

TEST(JsonValue, AssignedValueKeepsItsStringLocked)
{
    AssertCount asserts;
    QZJsonString* source = QZJsonFactory::CreateString("new");
    QZJsonString* target = QZJsonFactory::CreateString("old");
    {
        QZJsonString copy(*target);
        QZString* own = copy.Val();
        copy = *source;
        EXPECT_EQ(copy.Val(), own);
        EXPECT_QZ_TEXT(own, "new");
        EXPECT_FALSE(own->IsDisposable());
    }
    EXPECT_EQ(asserts.Count(), 0);
    QZJsonFactory::Recycle(&source);
    QZJsonFactory::Recycle(&target);
}

TEST(JsonFactory, RecycleOfTheRootRecyclesTheWholeTree)
{
    QZJsonFactory::Collect(0);
    auto* root = ParseAs<QZJsonObject>(R"({"a":[1,2,{"b":"x","c":null}],"d":true,"e":{}})");
    QZJsonValue* value = root;
    QZJsonFactory::Recycle(&value);
    EXPECT_EQ(value, nullptr);
    QZJsonObject* status = QZJsonFactory::GetStatus();
    // The status object itself is taken from the caches, one object and its decimals, while they are counted.
    EXPECT_EQ(Taken(status->ToString()),
              "{\"JsonValueCache\":0,\"JsonDecimalCache\":1,\"JsonBoolCache\":1,\"JsonStringCache\":1,"
              "\"JsonObjectCache\":2,\"JsonNullCache\":1,\"JsonValueCollectionCache\":1}");
    QZJsonFactory::Recycle(&status);
    QZJsonFactory::Collect(0);
    EXPECT_EQ(QZJsonFactory::GetMemorySize(), 7 * 8);
}

TEST(JsonFactory, RecycledValueIsReusedEmpty)
{
    QZJsonString* text = QZJsonFactory::CreateString("old");
    QZJsonString* same = text;
    QZJsonFactory::Recycle(&text);
    text = QZJsonFactory::CreateString("");
    EXPECT_EQ(text, same);
    EXPECT_QZ_TEXT(text->Val(), "");
    QZJsonFactory::Recycle(&text);
}

TEST(JsonFactory, LockedValueIsRefused)
{
    QZJsonValueCollection* list = QZJsonFactory::CreateValueCollection();
    QZJsonDecimal* inside = QZJsonFactory::CreateDecimal(1);
    list->Push(inside);
    EXPECT_QZ_THROW(QZJsonFactory::Recycle(&inside), 1280);
    EXPECT_NE(inside, nullptr);
    EXPECT_EQ(Taken(list->ToString()), "[1]");
    QZJsonFactory::Recycle(&list);
}

TEST(JsonFactory, RecycleOfNullFailsAnAssertion)
{
    AssertCount asserts;
    QZJsonValue* value = nullptr;
    QZJsonObject* object = nullptr;
    QZDataTable* table = nullptr;
    QZString* text = nullptr;
    QZJsonFactory::Recycle(&value);
    QZJsonFactory::Recycle(&object);
    QZJsonFactory::Recycle(&table);
    QZJsonFactory::Recycle(&text);
    EXPECT_EQ(asserts.Count(), 4);
}

/// A value of a host's own class.
class HostValue : public QZJsonValue
{
public:
    QZInt64 GetType() override { return 1; }
    QZString* ToString() override { return QZStringFactory::CreateString(m_text); }
    const char* m_text = "host";
};

TEST(JsonFactory, ValueOfAnUnknownTypeIsRefused)
{
    HostValue host;
    QZJsonValue* value = &host;
    EXPECT_QZ_THROW_MESSAGE(QZJsonFactory::Recycle(&value), 256, " ArgumentOutOfRange");
    EXPECT_EQ(value, &host);
}

TEST(JsonFactory, ValueOfAHostsClassWritesItself)
{
    QZJsonObject* object = QZJsonFactory::CreateObject();
    HostValue host;
    HostValue blank;
    blank.m_text = " ";
    QZJsonAccess::SetAttr(object, QZ_W("a"), &host);
    QZJsonAccess::SetAttr(object, QZ_W("b"), &blank);
    EXPECT_EQ(Taken(object->ToString()), "{\"a\":host,\"b\":}");
    object->RemoveAttr("a");
    object->RemoveAttr("b");
    QZJsonFactory::Recycle(&object);
}

TEST(JsonFactory, CloneSerializesAndParses)
{
    auto* object = ParseAs<QZJsonObject>(R"({"a":[1,{"b":"c"}]})");
    QZJsonValue* copy = QZJsonFactory::Clone(object);
    QZJsonFactory::Recycle(&object);
    EXPECT_EQ(Taken(copy->ToString()), R"({"a":[1,{"b":"c"}]})");
    QZJsonFactory::Recycle(&copy);

    QZJsonNull* null = QZJsonFactory::CreateNull();
    EXPECT_EQ(QZJsonFactory::Clone(null), nullptr);
    QZJsonFactory::Recycle(&null);
    // A number alone has no bracket pair, so it cannot be parsed.
    QZJsonDecimal* decimal = QZJsonFactory::CreateDecimal(1);
    EXPECT_QZ_THROW(QZJsonFactory::Clone(decimal), 1024);
    QZJsonFactory::Recycle(&decimal);
    EXPECT_QZ_THROW(QZJsonFactory::Clone(nullptr), 1792);
}

TEST(JsonFactory, ReplacedAttributeIsRecycledAndTheNewOneIsNotLocked)
{
    QZJsonObject* object = QZJsonFactory::CreateObject();
    QZJsonAccess::SetAttr(object, QZ_W("a"), QZJsonFactory::CreateDecimal(1));
    EXPECT_FALSE(object->GetAttrValue(0)->IsDisposable());
    QZJsonDecimal* first = static_cast<QZJsonDecimal*>(object->GetAttrValue(0));
    QZJsonAccess::SetAttr(object, QZ_W("A"), QZJsonFactory::CreateBool(1));
    EXPECT_TRUE(object->GetAttrValue(0)->IsDisposable());
    QZJsonDecimal* next = QZJsonFactory::CreateDecimal(2);
    EXPECT_EQ(next, first);
    QZJsonFactory::Recycle(&next);
    EXPECT_EQ(Taken(object->ToString()), "{\"a\":true}");
    QZJsonFactory::Recycle(&object);
}

TEST(FactoryStatus, StringsAndTheirCollections)
{
    QZStringFactory::Collect(0);
    QZString* one = QZStringFactory::CreateString("a,b");
    QZStringCollection* pieces = one->Split(",");
    QZStringFactory::Recycle(&pieces);
    QZStringFactory::Recycle(&one);
    QZJsonObject* status = QZStringFactory::GetStatus();
    ASSERT_EQ(status->AttrCount(), 2);
    EXPECT_QZ_TEXT(status->GetAttrName(0), "String");
    EXPECT_QZ_TEXT(status->GetAttrName(1), "StringCollection");
    EXPECT_EQ(status->GetAttrValue(0)->GetType(), QZJsonDecimal::Type);
    EXPECT_QZ_TEXT(status->GetAttrValue(1)->Val(), "1");
    QZStringFactory::Recycle(&status);
    EXPECT_EQ(status, nullptr);
}

TEST(FactoryStatus, DataInTheOrderOfItsCaches)
{
    QZDataFactory::Collect(0);
    QZData* data = QZDataFactory::CreateData();
    QZDataFactory::Recycle(&data);
    QZJsonObject* status = QZDataFactory::GetStatus();
    EXPECT_EQ(Taken(status->ToString()),
              "{\"Data\":1,\"DataDatetime\":0,\"DataTimestamp\":0,\"DataDouble\":0,\"DataFloat\":0,"
              "\"DataInt64\":0,\"DataInt32\":0,\"DataInt16\":0,\"DataInt8\":0,\"DataBool\":0,"
              "\"DataByte\":0,\"DataCollection\":0,\"Collection\":0}");
    QZDataFactory::Recycle(&status);
    EXPECT_EQ(status, nullptr);
}
}  // namespace
