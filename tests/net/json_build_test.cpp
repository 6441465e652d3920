// Arrays and objects that hosts build and change.

#include "net/json_strict_support.h"

using qztest::ReadStrict;
using qztest::Taken;

namespace
{
QZJsonObject* Object(std::string_view text) { return static_cast<QZJsonObject*>(ReadStrict(text)); }
QZJsonValueCollection* Array(std::string_view text)
{
    return static_cast<QZJsonValueCollection*>(ReadStrict(text));
}

/// Recycles after writing.
template <typename T>
std::string Done(T* value)
{
    return qztest::Written(value);
}
}  // namespace

TEST(JsonBuild, SetFindAndRemoveByEveryKindOfName)
{
    QZJsonObject* object = QZJsonFactory::CreateObject();
    QZString third(QZ_W("third"));
    object->Set("first", QZJson::CreateNumber(1));
    object->Set(QZ_W("second"), QZJson::CreateNumber(2));
    object->Set(&third, QZJson::CreateNumber(3));
    EXPECT_EQ(Taken(QZJson::Write(object)), R"({"first":1,"second":2,"third":3})");
    EXPECT_EQ(object->Find(QZ_W("first")), object->GetAttrValue(0));
    EXPECT_EQ(object->Find("second"), object->GetAttrValue(1));
    EXPECT_EQ(object->Find(&third), object->GetAttrValue(2));
    EXPECT_EQ(object->Find("fourth"), nullptr);
    EXPECT_EQ(object->Remove("second"), 1);
    EXPECT_EQ(object->Remove(QZ_W("second")), 0);
    EXPECT_EQ(object->Remove(&third), 1);
    EXPECT_EQ(Done(object), R"({"first":1})");
}

TEST(JsonBuild, AnEmptyObjectHasNothing)
{
    // With empty caches, reading makes an object that has no room for attributes yet.
    QZJsonFactory::Collect(0);
    for (QZJsonObject* object : {Object("{}"), QZJsonFactory::CreateObject()})
    {
        EXPECT_EQ(object->AttrCount(), 0);
        EXPECT_EQ(object->Find("a"), nullptr);
        EXPECT_EQ(object->Remove("a"), 0);
        EXPECT_EQ(object->Take("a"), nullptr);
        EXPECT_EQ(object->RemoveAttr("a"), nullptr);
        EXPECT_EQ(object->RemoveAttr(QZ_W("a")), nullptr);
        EXPECT_EQ(object->RemoveAttr(0), nullptr);
        EXPECT_EQ(object->GetAttrValue(0), nullptr);
        EXPECT_EQ(object->GetAttrName(0), nullptr);
        EXPECT_GT(object->GetMemorySize(), 0);
        EXPECT_EQ(Taken(QZJsonFactory::SerializeObject(object)), "{}");
        object->Set("a", QZJsonFactory::CreateNull());
        EXPECT_EQ(object->AttrCount(), 1);
        EXPECT_EQ(object->Remove("a"), 1);
        EXPECT_EQ(Done(object), "{}");
    }
}

TEST(JsonBuild, NamesAreComparedExactly)
{
    QZJsonObject* object = Object(R"({"a":1,"A":2,"":3})");
    QZString zero(QZ_W("a\0b"), 6);
    object->Set(&zero, QZJson::CreateNumber(4));
    object->Set("A", QZJson::CreateNumber(5));
    object->Set("", QZJson::CreateNumber(6));
    EXPECT_EQ(object->Find("B"), nullptr);
    EXPECT_EQ(Taken(QZJson::Write(object)), R"({"a":1,"A":5,"":6,"a\u0000b":4})");
    EXPECT_EQ(object->Remove(&zero), 1);
    EXPECT_EQ(object->Remove("A"), 1);
    EXPECT_EQ(Done(object), R"({"a":1,"":6})");
}

TEST(JsonBuild, SetAndRemoveRecycle)
{
    QZJsonObject* object = Object(R"({"a":[1],"b":0})");
    QZJsonValue* inner = static_cast<QZJsonValueCollection*>(object->Find("a"))->At(0);
    object->Set("a", QZJsonFactory::CreateNull());
    // A cache hands out first what came back last.
    QZJsonDecimal* next = QZJsonFactory::CreateDecimal(7);
    EXPECT_EQ(next, inner);
    QZJsonFactory::Recycle(&next);
    QZJsonValue* second = object->Find("b");
    EXPECT_EQ(object->Remove("b"), 1);
    next = QZJsonFactory::CreateDecimal(7);
    EXPECT_EQ(next, second);
    QZJsonFactory::Recycle(&next);
    EXPECT_EQ(Done(object), R"({"a":null})");
}

TEST(JsonBuild, EmptyNamesBesideOthers)
{
    QZJsonObject* object = Object(R"({"aa":1,"":2,"bb":3,"cc":4})");
    EXPECT_EQ(object->Remove("cc"), 1);
    EXPECT_EQ(object->Remove("bb"), 1);
    EXPECT_EQ(object->Remove("aa"), 1);
    EXPECT_EQ(qztest::Utf8(object->GetAttrName(0)), "");
    object->Set("dd", QZJson::CreateNumber(5));
    EXPECT_EQ(object->Remove(""), 1);
    EXPECT_EQ(Done(object), R"({"dd":5})");
}

TEST(JsonBuild, AValueStandsInOnePlace)
{
    QZJsonObject* object = Object(R"({"a":1})");
    QZJsonValue* value = object->Find("a");
    EXPECT_QZ_THROW(object->Set("b", value), QZExceptionCode::ObjectIsLocked);
    EXPECT_QZ_THROW(object->Set("a", value), QZExceptionCode::ObjectIsLocked);
    QZJsonValueCollection* list = Array("[2]");
    EXPECT_QZ_THROW(list->Add(value), QZExceptionCode::ObjectIsLocked);
    EXPECT_QZ_THROW(list->Insert(0, value), QZExceptionCode::ObjectIsLocked);
    EXPECT_EQ(Done(list), "[2]");
    EXPECT_EQ(Taken(QZJson::Write(object)), R"({"a":1})");

    // A value that replaced another is locked like one that was added.
    QZJsonValue* second = QZJson::CreateNumber(2);
    object->Set("a", second);
    EXPECT_FALSE(second->IsDisposable());
    EXPECT_EQ(object->Take("a"), second);
    EXPECT_TRUE(second->IsDisposable());
    EXPECT_EQ(object->Take("a"), nullptr);
    QZJsonFactory::Recycle(&second);
    EXPECT_EQ(Done(object), "{}");
}

TEST(JsonBuild, NullNamesAndValues)
{
    QZJsonObject* object = Object(R"({"a":1})");
    EXPECT_QZ_THROW(object->Find(static_cast<const char*>(nullptr)), QZExceptionCode::NullPointer);
    EXPECT_QZ_THROW(object->Find(static_cast<const QZWChar*>(nullptr)), QZExceptionCode::NullPointer);
    EXPECT_QZ_THROW(object->Find(static_cast<QZString*>(nullptr)), QZExceptionCode::NullPointer);
    EXPECT_QZ_THROW(object->Remove(static_cast<const char*>(nullptr)), QZExceptionCode::NullPointer);
    EXPECT_QZ_THROW(object->Set("a", nullptr), QZExceptionCode::NullPointer);
    QZJsonValueCollection* list = Array("[]");
    EXPECT_QZ_THROW(list->Add(nullptr), QZExceptionCode::NullPointer);
    EXPECT_QZ_THROW(list->Insert(0, nullptr), QZExceptionCode::NullPointer);
    EXPECT_EQ(list->Next(nullptr), nullptr);
    EXPECT_EQ(Done(list), "[]");
    EXPECT_EQ(Done(object), R"({"a":1})");
}

TEST(JsonBuild, TheKeptOperationsSeeTheSameObject)
{
    QZJsonObject* object = QZJsonFactory::CreateObject();
    object->Set("Name", QZJson::CreateNumber(QZInt64{9007199254740993}));
    EXPECT_EQ(Taken(QZJsonFactory::SerializeObject(object)), R"({"Name":9007199254740993})");
    QZJsonValue* value = object->RemoveAttr("nAME");
    ASSERT_NE(value, nullptr);
    QZJsonFactory::Recycle(&value);
    EXPECT_EQ(Done(object), "{}");
}

TEST(JsonBuild, ArraysGrowAndShrinkAnywhere)
{
    QZJsonValueCollection* list = QZJsonFactory::CreateValueCollection();
    list->Add(QZJson::CreateNumber(1));
    list->Insert(0, QZJson::CreateNumber(0));
    list->Insert(2, QZJson::CreateNumber(3));
    list->Insert(2, QZJson::CreateNumber(2));
    list->Add(QZJson::CreateNumber(4));
    EXPECT_EQ(Taken(QZJson::Write(list)), "[0,1,2,3,4]");
    EXPECT_QZ_THROW(list->Insert(6, nullptr), QZExceptionCode::ArgumentOutOfRange);
    EXPECT_QZ_THROW(list->Insert(-1, nullptr), QZExceptionCode::ArgumentOutOfRange);
    EXPECT_EQ(list->At(-1), nullptr);
    EXPECT_EQ(list->At(5), nullptr);
    EXPECT_EQ(list->At(4), list->GetLast());
    EXPECT_EQ(list->RemoveAt(5), 0);
    EXPECT_EQ(list->RemoveAt(-1), 0);
    EXPECT_EQ(list->RemoveAt(2), 1);
    EXPECT_EQ(list->RemoveAt(3), 1);
    QZJsonValue* first = list->TakeAt(0);
    EXPECT_TRUE(first->IsDisposable());
    QZJsonFactory::Recycle(&first);
    EXPECT_EQ(list->TakeAt(2), nullptr);
    QZInt64 sum = 0;
    for (QZJsonValue* item = list->GetFirst(); item != nullptr; item = list->Next(item))
    {
        QZInt64 number = 0;
        EXPECT_EQ(static_cast<QZJsonDecimal*>(item)->GetInt64(&number), 1);
        sum += number;
    }
    EXPECT_EQ(sum, 4);
    EXPECT_EQ(Done(list), "[1,3]");
}

TEST(JsonBuild, NumbersAndTruthValues)
{
    QZJsonDecimal* number = QZJsonFactory::CreateDecimal(1);
    QZInt64 whole = 0;
    double real = 0;
    number->SetDouble(1e300);
    EXPECT_EQ(number->GetInt64(&whole), 0);
    EXPECT_EQ(number->GetDouble(&real), 1);
    EXPECT_EQ(real, 1e300);
    number->SetInt64(-5);
    EXPECT_EQ(number->GetInt64(&whole), 1);
    EXPECT_EQ(whole, -5);
    QZString zero(QZ_W("5\0"), 4);
    number->Val(&zero);
    EXPECT_EQ(number->GetInt64(&whole), 0);
    QZJsonFactory::Recycle(&number);
    QZJsonBool* truth = QZJsonFactory::CreateBool(1);
    EXPECT_EQ(truth->IsTrue(), 1);
    truth->Val(QZBool{0});
    EXPECT_EQ(truth->IsTrue(), 0);
    QZJsonFactory::Recycle(&truth);
}

TEST(JsonBuild, AnExampleWithEveryKindOfValue)
{
    QZJsonObject* device = QZJsonFactory::CreateObject();
    device->Set("label", QZJsonFactory::CreateString(QZ_W("\x00E9\x4E2D \"quoted\"")));
    device->Set("serial", QZJson::CreateNumber(18446744073709551615u));
    device->Set("ready", QZJsonFactory::CreateBool(1));
    QZJsonValueCollection* levels = QZJsonFactory::CreateValueCollection();
    for (const double level : {0.5, 0.25}) levels->Add(QZJson::CreateNumber(level));
    device->Set("levels", levels);
    EXPECT_EQ(Done(device),
              "{\"label\":\"\xC3\xA9\xE4\xB8\xAD \\\"quoted\\\"\",\"serial\":18446744073709551615,"
              "\"ready\":true,\"levels\":[0.5,0.25]}");
}
