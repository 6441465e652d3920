// JSON texts that are meant to cost time or memory: both stay in proportion to the text.

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>

#include "net/json_support.h"
#include "net/net_json_strict.h"

namespace
{
using qztest::Parse;
using qztest::ParseAs;
using qztest::Taken;

double SecondsOf(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::string Repeated(std::string_view part, std::size_t size)
{
    std::string text;
    while (text.size() < size) text += part;
    return text;
}

/// The text that is read back from a text.
std::string ValueOf(std::string_view json)
{
    QZJsonValue* value = Parse(json);
    std::string text = Taken(QZJsonFactory::SerializeObject(value));
    QZJsonFactory::Recycle(&value);
    return text;
}

/// Reads a text of 200 KB and one of 2 MB. The second may take ten times as long as the first, and some more
/// on a busy machine; with time in the square of the length it takes a hundred times as long.
void ExpectLinear(std::string_view open, std::string_view part, std::string_view close,
                  std::string_view expected)
{
    const auto text = [&](std::size_t size) {
        return std::string(open) + Repeated(part, size) + std::string(close);
    };
    const std::string shorter = text(200000);
    const std::string longer = text(2000000);
    const double shortTime = SecondsOf([&] { EXPECT_EQ(ValueOf(shorter), expected); });
    const double longTime = SecondsOf([&] { EXPECT_EQ(ValueOf(longer), expected); });
    EXPECT_LT(longTime, 40 * shortTime + 1) << open << part << close;
}

TEST(JsonLimits, PairsWithoutCommasAreReadInLinearTime)
{
    ExpectLinear("{", R"("a":1:)", "1}", R"({"a":1})");
    ExpectLinear("{", R"("a":"b":)", R"("c"})", R"({"a":"c"})");
    ExpectLinear(R"({"a":)", R"([2]:)", "[3]}", R"({"a":[3]})");
}

TEST(JsonLimits, BlanksAndBracketsAroundPairsAreReadOnce)
{
    const std::string blanks(200000, ' ');
    const std::string pairs = Repeated("1:", 200000);
    EXPECT_LT(SecondsOf([&] { EXPECT_EQ(ValueOf(R"({"a":)" + pairs + "2" + blanks + "}"), R"({"a":2})"); }),
              5);
    const std::string brackets = Repeated("[]", 200000);
    EXPECT_LT(SecondsOf([&] { EXPECT_EQ(ValueOf("{" + brackets + R"("a":)" + pairs + "2}"), R"({"a":2})"); }),
              5);
}

TEST(JsonLimits, AFaultInAnEarlierPairIsFound)
{
    EXPECT_JSON_THROW(R"({"a":x:1})", 768, " UnknwonDataType");
    EXPECT_JSON_THROW(R"({"a":[x]:1})", 768, " UnknwonDataType");
    EXPECT_JSON_THROW(R"({"a":":1})", 512, " JsonFormatException");
    EXPECT_EQ(ValueOf(R"({"a":1:2:3,"b":-1x:4})"), R"({"a":3,"b":4})");
}

/// The place of a name in a table of 4096 slots, as the reader finds it.
std::size_t PlaceOf(std::string_view name)
{
    unsigned long long hash = 14695981039346656037ull;
    for (const char unit : name) hash = (hash ^ static_cast<unsigned char>(unit)) * 1099511628211ull;
    return (hash ^ (hash >> 32)) & 4095;
}

TEST(JsonLimits, NamesThatMeetInTheTableAreAllFound)
{
    std::string text = "{";
    std::string reversed;
    int count = 0;
    for (int i = 0; count < 600; ++i)
    {
        const std::string name = "n" + std::to_string(i);
        if (PlaceOf(name) != 77) continue;
        text += "\"" + name + "\":1,";
        std::string upper = name;
        upper[0] = 'N';
        reversed += ",\"" + upper + "\":" + std::to_string(count++);
    }
    text += "\"end\":0" + reversed + "}";
    auto* object = ParseAs<QZJsonObject>(text);
    ASSERT_EQ(object->AttrCount(), 601);
    EXPECT_QZ_TEXT(object->GetAttrValue(0)->Val(), "0");
    EXPECT_QZ_TEXT(object->GetAttrValue(599)->Val(), "599");
    EXPECT_QZ_TEXT(object->GetAttrName(600), "end");
    QZJsonFactory::Recycle(&object);
}

TEST(JsonLimits, FormatOfDeepTextEndsAtOnce)
{
    QZString text(std::string(1000000, '[').c_str());
    EXPECT_LT(SecondsOf([&] { EXPECT_QZ_THROW(QZJsonFactory::Format(&text), 4352); }), 10);
    QZString pairs((Repeated("{\"a\":", 500000) + std::string(100000, '}')).c_str());
    EXPECT_QZ_THROW(QZJsonFactory::Format(&pairs), 4352);
    QZString* result = nullptr;
    EXPECT_FALSE(QZJsonFactory::TryFormat(&text, 1 << 24, &result));
    EXPECT_EQ(result, nullptr);
}

TEST(JsonLimits, TryFormatBuildsAtMostTheLimit)
{
    QZString text("{\"a\":[1,{\"b\":[]},{}]}");
    QZString* expected = QZJsonFactory::Format(&text);
    const QZInt64 length = expected->GetLength();
    QZString* result = nullptr;
    EXPECT_FALSE(QZJsonFactory::TryFormat(&text, length - 1, &result));
    EXPECT_FALSE(QZJsonFactory::TryFormat(&text, -1, &result));
    EXPECT_EQ(result, nullptr);
    ASSERT_TRUE(QZJsonFactory::TryFormat(&text, length, &result));
    EXPECT_EQ(Taken(result), Taken(expected));
    EXPECT_QZ_THROW(QZJsonFactory::TryFormat(nullptr, 1, &result), 1792);
}

struct Shape
{
    std::string_view open;
    std::string_view item;
    std::string_view close;
};

constexpr std::size_t kMegabyte = 1 << 20;

/// One megabyte of the items, with commas between them.
std::string ListOf(const Shape& shape)
{
    std::string text(shape.open);
    text += shape.item;
    const std::string next = "," + std::string(shape.item);
    while (text.size() + next.size() + shape.close.size() <= kMegabyte) text += next;
    return text + std::string(shape.close);
}

/// One megabyte of items inside each other.
std::string NestOf(const Shape& shape)
{
    const std::size_t depth = (kMegabyte - shape.item.size()) / (shape.open.size() + shape.close.size());
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) text += shape.open;
    text += shape.item;
    for (std::size_t i = 0; i < depth; ++i) text += shape.close;
    return text;
}

constexpr long long kMost = 64ll << 20;

void ExpectSmall(const std::string& text)
{
    const long long strict = qztest::PeakMemoryOf([&] {
        QZJsonReadOptions options;
        options.MaxDepth = -1;
        QZJson::Parse(text.data(), static_cast<QZInt64>(text.size()), options);
    });
    const long long kept = qztest::PeakMemoryOf([&] { Parse(text); });
    EXPECT_LT(strict, kMost) << text.substr(0, 40);
    EXPECT_LT(kept, kMost) << text.substr(0, 40);
}

TEST(JsonLimits, AMegabyteOfTextTakesLessThanSixtyFour)
{
    if (qztest::PeakMemoryOf([] {}) < 0) GTEST_SKIP() << "the memory of a process is not measured here";
    for (const std::string_view item :
         {"[]", "{}", "[1]", "1", "true", "\"\"", "\"abcdefgh\"", "[1,1]", "[[],[]]", "{\"a\":1}",
          "{\"a\":{}}", "{\"a\":[]}", "{\"a\":1,\"b\":2,\"c\":3}", "[[[[[[[[]]]]]]]]"})
        ExpectSmall(ListOf({"[", item, "]"}));
    for (const Shape& shape : {Shape{"[", "", "]"}, Shape{"{\"a\":", "1", "}"}, Shape{"[{\"a\":", "1", "}]"}})
        ExpectSmall(NestOf(shape));
}

TEST(JsonLimits, CachesGiveBackWhatIsAboveTheLimit)
{
    QZJsonFactory::Collect(0);
    QZJsonFactory::SetIdleLimit(100, -1);
    const std::string text = ListOf({"[", "1", "]"});
    QZJsonValue* value = Parse(text);
    QZJsonFactory::Recycle(&value);
    QZJsonObject* status = QZJsonFactory::GetStatus();
    EXPECT_QZ_TEXT(status->Find("JsonDecimalCache")->Val(), "99");
    QZJsonFactory::Recycle(&status);
    QZJsonFactory::SetIdleLimit(-1, 20000);
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_LE(QZJsonFactory::GetMemorySize(), 7 * 20008);
        value = Parse(text);
        QZJsonFactory::Recycle(&value);
    }
    QZJsonFactory::SetIdleLimit(0, 0);
    EXPECT_EQ(QZJsonFactory::GetMemorySize(), 7 * 8);
    QZJsonFactory::SetIdleLimit(-1, -1);
    value = Parse("[1,2,3]");
    QZJsonFactory::Recycle(&value);
    EXPECT_GT(QZJsonFactory::GetMemorySize(), 7 * 8);
}

/// Parses as QZJson does, so that no value comes with more than it needs.
QZJsonValueCollection* ArrayOf(std::string_view json)
{
    return static_cast<QZJsonValueCollection*>(QZJson::Parse(json.data(), static_cast<QZInt64>(json.size())));
}

TEST(JsonValueParts, CopiesOfArraysShareOneValueToo)
{
    for (const char* json : {"[]", "[1]", "[1,2]"})
    {
        QZJsonValueCollection* array = ArrayOf(json);
        {
            QZJsonValueCollection copy(*array);
            EXPECT_EQ(copy.GetFirst(), array->GetFirst());
            copy.Add(QZJson::CreateInt64(7));
            EXPECT_EQ(array->Count(), copy.Count());
            EXPECT_EQ(array->GetLast(), copy.GetLast());
            QZJsonValueCollection other(*array);
            other = copy;
            other = *static_cast<QZJsonValueCollection*>(&other);
        }
        EXPECT_QZ_TEXT(array->GetLast()->Val(), "7");
        QZJsonFactory::Recycle(&array);
    }
}

TEST(JsonValueParts, AnAssignedArrayGivesUpItsValues)
{
    for (const char* json : {"[]", "[1]", "[1,2]"})
    {
        QZJsonValueCollection* source = ArrayOf(R"(["x"])");
        QZJsonValueCollection* target = ArrayOf(json);
        {
            QZJsonValueCollection copy(*source);
            copy = *target;
            EXPECT_EQ(copy.Count(), target->Count());
        }
        EXPECT_EQ(Taken(source->ToString()), R"(["x"])");
        EXPECT_EQ(Taken(target->ToString()), json);
        QZJsonFactory::Recycle(&source);
        QZJsonFactory::Recycle(&target);
    }
}

TEST(JsonValueParts, ObjectsThatAreCopiedShareTheirAttributes)
{
    for (QZJsonObject* object : {QZJsonFactory::CreateObject(), ParseAs<QZJsonObject>("{\"a\":1}")})
    {
        {
            QZJsonObject copy(*object);
            copy.Set("new", QZJson::CreateInt64(7));
            EXPECT_EQ(copy.AttrCount(), object->AttrCount());
            QZJsonObject other(copy);
            other = *object;
        }
        ASSERT_NE(object->Find("new"), nullptr);
        QZJsonFactory::Recycle(&object);
    }
}

TEST(JsonValueParts, ArraysAndObjectsKeepATextThatIsSet)
{
    QZJsonValueCollection* array = ArrayOf("[1]");
    QZString text("a text of more than seven units");
    EXPECT_QZ_TEXT(array->Val(), "");
    static_cast<QZJsonValue*>(array)->Val(&text);
    EXPECT_EQ(array->Count(), 1);
    {
        QZJsonValueCollection copy(*array);
        EXPECT_QZ_TEXT(copy.Val(), "a text of more than seven units");
        EXPECT_EQ(copy.Count(), 1);
    }
    QZJsonFactory::Recycle(&array);
}

TEST(JsonValueParts, TextsAroundTheLengthThatFits)
{
    for (std::size_t length = 0; length < 20; ++length)
    {
        const std::string text(length, 'x');
        const std::string json = "[\"" + text + "\",\"" + text + "\"]";
        QZJsonValueCollection* array = ArrayOf(json);
        EXPECT_EQ(Taken(array->ToString()), json);
        // A copy of a value that is in an array would be locked as that is.
        auto* first = static_cast<QZJsonString*>(array->Pop());
        auto* second = static_cast<QZJsonString*>(array->Pop());
        {
            QZJsonString copy(*first);
            EXPECT_EQ(Taken(copy.ToString()), "\"" + text + "\"");
            QZJsonString other(*second);
            other = copy;
            EXPECT_EQ(qztest::Utf8(other.Val()), text);
        }
        EXPECT_EQ(qztest::Utf8(first->Val()), text);
        QZJsonFactory::Recycle(&first);
        QZJsonFactory::Recycle(&second);
        QZJsonFactory::Recycle(&array);
    }
}

TEST(JsonValueParts, ErrorsOfArraysAreThoseOfAContainer)
{
    QZJsonValueCollection* array = ArrayOf("[1]");
    EXPECT_QZ_THROW(array->Push(nullptr), 1792);
    EXPECT_QZ_THROW(array->AddFirst(nullptr), 1792);
    EXPECT_QZ_THROW(array->EnQueue(array->GetFirst()), 1280);
    EXPECT_QZ_THROW(array->GetElement(1), 256);
    EXPECT_QZ_THROW(array->GetElement(-1), 256);
    EXPECT_EQ(Taken(array->ToString()), "[1]");
    QZJsonValue* value = array->Pop();
    EXPECT_TRUE(value->IsDisposable());
    EXPECT_EQ(array->Pop(), nullptr);
    EXPECT_EQ(array->DeQueue(), nullptr);
    EXPECT_EQ(array->GetFirst(), nullptr);
    array->AddFirst(value);
    EXPECT_EQ(array->GetLast(), value);
    QZJsonFactory::Recycle(&array);
}
}  // namespace
