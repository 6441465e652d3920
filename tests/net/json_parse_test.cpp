// What DeserializeObject accepts, and what it refuses.

#include <string>

#include "json_support.h"

using qztest::Parse;
using qztest::ParseAs;
using qztest::Reread;

namespace
{
TEST(JsonParse, BlankTextAndNullReturnNull)
{
    EXPECT_EQ(QZJsonFactory::DeserializeObject(nullptr), nullptr);
    EXPECT_EQ(Parse(""), nullptr);
    EXPECT_EQ(Parse(" \t\r\n\v\f"), nullptr);
    EXPECT_EQ(Parse("null"), nullptr);
    EXPECT_EQ(Parse("NuLL"), nullptr);
}

TEST(JsonParse, EmptyArraysAndObjects)
{
    EXPECT_EQ(Reread("[]"), "[]");
    EXPECT_EQ(Reread("[ ]"), "[]");
    EXPECT_EQ(Reread("[ \t\r\n]"), "[]");
    EXPECT_EQ(Reread("{}"), "{}");
    EXPECT_EQ(Reread("{ \r\n }"), "{}");
    EXPECT_EQ(Reread("[[],{},[ ]]"), "[[],{},[]]");
}

TEST(JsonParse, EveryKindOfValue)
{
    auto* object = ParseAs<QZJsonObject>(
        R"( { "s" : "text" , "n" : 12.5, "t" : true, "f":false, "z":null, "a":[1,"2"], "o":{"x":{}} } )");
    ASSERT_EQ(object->AttrCount(), 7);
    const QZInt64 types[] = {QZJsonString::Type, QZJsonDecimal::Type, QZJsonBool::Type,
                             QZJsonBool::Type,   QZJsonNull::Type,    QZJsonValueCollection::Type,
                             QZJsonObject::Type};
    const char* names[] = {"s", "n", "t", "f", "z", "a", "o"};
    const char* vals[] = {"text", "12.5", "true", "false", "", "", ""};
    for (int i = 0; i < 7; ++i)
    {
        EXPECT_EQ(object->GetAttrValue(i)->GetType(), types[i]) << i;
        EXPECT_QZ_TEXT(object->GetAttrName(i), names[i]);
        EXPECT_QZ_TEXT(object->GetAttrValue(i)->Val(), vals[i]);
    }
    EXPECT_EQ(qztest::Taken(object->ToString()),
              R"({"s":"text","n":12.5,"t":true,"f":false,"z":null,"a":[1,"2"],"o":{"x":{}}})");
    QZJsonFactory::Recycle(&object);
    EXPECT_EQ(object, nullptr);
}

TEST(JsonParse, WordsAreReadInAnyCase) { EXPECT_EQ(Reread("[TRUE,False,nULL]"), "[true,false,null]"); }

TEST(JsonParse, LastOfEqualNamesWinsAtThePositionOfTheFirst)
{
    auto* object = ParseAs<QZJsonObject>(R"({"a":1,"a":2})");
    EXPECT_EQ(object->AttrCount(), 1);
    EXPECT_QZ_TEXT(object->GetAttrValue(0)->Val(), "2");
    QZJsonFactory::Recycle(&object);
    EXPECT_EQ(Reread(R"({"Key":1,"b":2,"kEY":[3]})"), R"({"Key":[3],"b":2})");
}

TEST(JsonParse, ManyNamesKeepOrderAndCase)
{
    std::string json = "{";
    for (int i = 0; i < 500; ++i) json += "\"Name" + std::to_string(i) + "\":" + std::to_string(i) + ",";
    std::string again = json;
    for (int i = 0; i < 500; i += 7) again += "\"nAME" + std::to_string(i) + "\":" + std::to_string(i) + ",";
    again += "\"name3\":3,\"\xC3\x84\":1,\"\xC3\xA4\":2}";
    // Letters outside A to Z differ by case.
    EXPECT_EQ(Reread(again), json + "\"\xC3\x84\":1,\"\xC3\xA4\":2}");
}

TEST(JsonParse, NumbersAreReadByTheRulesOfTheLibrary)
{
    EXPECT_EQ(Reread("[0,-1,007,2.50,-0.5,1234567890123]"), "[0,-1,7,2.5,0.5,1234567890123]");
    // A character that is no digit counts by its distance from "0".
    EXPECT_EQ(Reread("[1e5]"), "[635]");
    EXPECT_EQ(Reread("[0x1F]"), "[31]");
    EXPECT_EQ(Reread("[ 5 ]"), "[5]");
}

TEST(JsonParse, EscapesInStringsAreNotDecoded)
{
    EXPECT_EQ(Reread(R"({"a":"b\nc\\"})"), R"({"a":"b\nc\\"})");
    auto* object = ParseAs<QZJsonObject>(R"({"a\t":"\u0041"})");
    EXPECT_QZ_TEXT(object->GetAttrName(0), "a\\t");
    EXPECT_QZ_TEXT(object->GetAttrValue(0)->Val(), "\\u0041");
    QZJsonFactory::Recycle(&object);
}

TEST(JsonParse, LastStringMayContainQuotationMarks)
{
    // A string ends at the last character when that is a quotation mark, otherwise at the next quotation
    // mark.
    EXPECT_EQ(Reread(R"([1,"a"x"b"])"), R"x([1,"a"x"b"])x");
    EXPECT_EQ(Reread(R"({"k":1,"a":"x"y"z" })"), R"({"k":1,"a":"x"})");
    EXPECT_EQ(Reread(R"({"k":1,"a":"x"y"z"})"), R"({"k":1,"a":"x"y"z"})");
    EXPECT_EQ(Reread("[\" blanks \" ]"), "[\" blanks \"]");
    EXPECT_EQ(Reread("[\"\"]"), "[\"\"]");
}

TEST(JsonParse, CommaInAStringOfAnArraySplitsTheString)
{
    EXPECT_JSON_THROW(R"(["a,b"])", 512, " JsonFormatException");
}

TEST(JsonParse, CommaAndColonInAStringOfAnObjectAreText)
{
    EXPECT_EQ(Reread(R"({"a,b":"c,d:e","f":1})"), R"({"a,b":"c,d:e","f":1})");
}

TEST(JsonParse, BracketsInStringsCountAsBrackets)
{
    EXPECT_JSON_THROW(R"({"a":"}"})", 1024, " UnexpectedSymbols at index 8");
    EXPECT_JSON_THROW(R"({"a":"["})", 512, " JsonFormatException");
    // Balanced brackets in strings cause no error.
    EXPECT_EQ(Reread(R"({"a":"[x]","b":"{}"})"), R"({"a":"[x]","b":"{}"})");
    EXPECT_EQ(Reread(R"({"a":"[","b":"]"})"), R"({"a":"[","b":"]"})");
    EXPECT_EQ(Reread(R"(["[", "]"])"), R"x(["[", "]"])x");
}

TEST(JsonParse, BraceMayCloseASquareBracket)
{
    EXPECT_EQ(Reread("[1,2}"), "[1,2]");
    EXPECT_EQ(Reread(R"({"a":[1}])"), R"({"a":[1]})");
}

TEST(JsonParse, OnlyTheLastBracketPairIsRead)
{
    EXPECT_EQ(Reread("junk {\"a\":1} junk"), "{\"a\":1}");
    EXPECT_EQ(Reread("{\"a\":1}{\"b\":2}"), "{\"b\":2}");
    EXPECT_EQ(Reread("[1] [2] 3"), "[2]");
}

TEST(JsonParse, NestedValueEndsAtItsBracket)
{
    EXPECT_EQ(Reread(R"({"a":[1] x,"b":{"c":2} y})"), R"({"a":[1],"b":{"c":2}})");
    EXPECT_EQ(Reread("[[1] 2,3]"), "[[1],3]");
}

TEST(JsonParse, EveryColonBetweenCommasMakesAPair)
{
    EXPECT_EQ(Reread(R"({"a":1:2})"), R"({"a":2})");
    EXPECT_EQ(Reread(R"({"a":[1]:{"b":2}})"), R"({"a":{"b":2}})");
    EXPECT_EQ(Reread(R"({"a":"x":true,"b":1})"), R"({"a":true,"b":1})");
}

TEST(JsonParse, TextWithoutAColonIsSkipped)
{
    EXPECT_EQ(Reread(R"({"a"})"), "{}");
    EXPECT_EQ(Reread(R"({x})"), "{}");
    EXPECT_EQ(Reread(R"({,,"a":1,,"b",})"), R"({"a":1})");
}

TEST(JsonParse, NameIsTheTextBetweenTheFirstTwoQuotationMarks)
{
    EXPECT_EQ(Reread(R"({x " a " y:1})"), R"({" a ":1})");
    EXPECT_EQ(Reread(R"({"c":2,"a""b":1})"), R"({"c":2,"a":1})");
}

TEST(JsonParse, BadValuesAreOfUnknownType)
{
    EXPECT_JSON_THROW(R"({"a":tru})", 768, " UnknwonDataType");
    EXPECT_JSON_THROW(R"({"a":truex})", 768, " UnknwonDataType");
    EXPECT_JSON_THROW(R"({"a":})", 768, " UnknwonDataType");
    EXPECT_JSON_THROW("[1,]", 768, " UnknwonDataType");
    EXPECT_JSON_THROW("[1,,2]", 768, " UnknwonDataType");
    EXPECT_JSON_THROW("[-]", 768, " UnknwonDataType");
    EXPECT_JSON_THROW("[- 1]", 768, " UnknwonDataType");
    EXPECT_JSON_THROW("[+1]", 768, " UnknwonDataType");
    EXPECT_JSON_THROW("[.5]", 768, " UnknwonDataType");
    // White space other than blanks, tabs and line ends is no empty array.
    EXPECT_JSON_THROW("[\v]", 768, " UnknwonDataType");
}

TEST(JsonParse, NamesWithoutQuotationMarksAreFormatErrors)
{
    EXPECT_JSON_THROW("{1:2}", 512, " JsonFormatException");
    EXPECT_JSON_THROW("{a:2}", 512, " JsonFormatException");
    EXPECT_JSON_THROW("{:2}", 512, " JsonFormatException");
}

TEST(JsonParse, UnclosedStringIsAFormatError)
{
    EXPECT_JSON_THROW(R"({"a":"})", 512, " JsonFormatException");
    EXPECT_JSON_THROW(R"(["abc])", 512, " JsonFormatException");
}

TEST(JsonParse, EmptyNameIsABadKey) { EXPECT_QZ_THROW_MESSAGE(Reread(R"({"":1})"), 2048, " KeyIsBad"); }

TEST(JsonParse, StringAfterAStringIsRefusedUntilTheFirstComma)
{
    EXPECT_JSON_THROW(R"(["a" "b"])", 1024, " UnexpectedSymbols at index 5");
    EXPECT_JSON_THROW(R"({"a":"b" "c":1})", 1024, " UnexpectedSymbols at index 9");
    EXPECT_JSON_THROW(R"("a" "b")", 1024, " UnexpectedSymbols at index 4");
    // The first comma turns this check off for the rest of the text.
    EXPECT_EQ(Reread(R"([1,"a" "b"])"), R"x([1,"a" "b"])x");
    // A brace between the strings avoids the check, too.
    EXPECT_EQ(Reread(R"(["a"{"b":1}])"), R"(["a"])");
}

TEST(JsonParse, ClosingBracketWithoutAnOpeningOneIsRefused)
{
    EXPECT_JSON_THROW("]", 1024, " UnexpectedSymbols at index 0");
    EXPECT_JSON_THROW("[1]}", 1024, " UnexpectedSymbols at index 3");
}

TEST(JsonParse, UnclosedBracketIsReportedAfterParsing)
{
    EXPECT_JSON_THROW("[1,[2]", 1024, " UnexpectedSymbols at index 0");
    EXPECT_JSON_THROW("x[{[1]", 1024, " UnexpectedSymbols at index 1");
    // An error inside the last pair is reported first.
    EXPECT_JSON_THROW("[1,[x]", 768, " UnknwonDataType");
}

TEST(JsonParse, TextWithoutABracketPairThrowsMemoryInaccessible)
{
    for (const char* json : {"5", "\"a\"", "true", " null ", "[", "{\"a\":1"})
    {
        const qztest::Thrown thrown = qztest::Catch([json] { Reread(json); });
        EXPECT_EQ(thrown.code, 1024) << json;
        EXPECT_EQ(thrown.type, QZException::Type) << json;
        EXPECT_EQ(thrown.message, " MemoryInaccessible") << json;
    }
}

TEST(JsonParse, DeepNestingIsParsedWrittenAndRecycled)
{
    const int depth = 30000;
    std::string json;
    for (int i = 0; i < depth; ++i) json += i % 2 ? "{\"a\":" : "[";
    json += "1";
    for (int i = depth - 1; i >= 0; --i) json += i % 2 ? "}" : "]";
    QZJsonValue* value = Parse(json);
    EXPECT_EQ(qztest::Taken(value->ToString()), json);
    EXPECT_GT(value->GetMemorySize(), depth);
    QZJsonFactory::Recycle(&value);
    // An error deep inside deletes the values parsed so far.
    json[json.find('1')] = 'x';
    EXPECT_QZ_THROW(Parse(json), 768);
    QZJsonFactory::Collect(0);
}

TEST(JsonParse, ValuesOfARefusedTextAreNotRecycled)
{
    QZJsonFactory::Collect(0);
    auto* ten = ParseAs<QZJsonValueCollection>("[1,2,3,4,5,6,7,8,9,10]");
    QZJsonFactory::Recycle(&ten);
    EXPECT_QZ_THROW(Parse("[1,2,3,x]"), 768);
    QZJsonObject* status = QZJsonFactory::GetStatus();
    EXPECT_QZ_TEXT(status->GetAttrName(1), "JsonDecimalCache");
    // Seven were idle; one of them is used in the status object for the previous count.
    EXPECT_QZ_TEXT(status->GetAttrValue(1)->Val(), "6");
    EXPECT_QZ_TEXT(status->GetAttrValue(6)->Val(), "0");
    QZJsonFactory::Recycle(&status);
}

TEST(JsonParse, ExceptionNamesTheOperation)
{
    const qztest::Thrown thrown = qztest::Catch([] { Reread("[x]"); });
    EXPECT_EQ(thrown.stackTrace, "QZJsonFactory::DeserializeObject()");
}
}  // namespace
