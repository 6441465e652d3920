// Formatting and minifying JSON text.

#include "json_support.h"

using qztest::Taken;

namespace
{
std::string Format(const char* json)
{
    QZString text(json);
    return Taken(QZJsonFactory::Format(&text));
}

std::string Minify(const char* json)
{
    QZString text(json);
    return Taken(QZJsonFactory::Minify(&text));
}

TEST(JsonFormat, EachValueOfAnObjectHasItsOwnLine)
{
    EXPECT_EQ(Format(R"({"a":1,"b":{"c":2}})"), "{\r\n\t\"a\":1,\r\n\t\"b\":{\r\n\t\t\"c\":2\r\n\t}\r\n}");
}

TEST(JsonFormat, EachNumberOfAnArrayHasItsOwnLine)
{
    EXPECT_EQ(Format(R"({"a":[1,2]})"), "{\r\n\t\"a\":[\r\n\t\t1,\r\n\t\t2\r\n\t]\r\n}");
}

TEST(JsonFormat, ArraysOfObjectsKeepTheirBracketsOnOneLine)
{
    EXPECT_EQ(Format(R"([{"a":1},{"b":2}])"), "[{\r\n\t\t\"a\":1\r\n\t},{\r\n\t\t\"b\":2\r\n\t}\r\n]");
}

TEST(JsonFormat, EmptyArraysStayTogetherAndEmptyObjectsDoNot)
{
    EXPECT_EQ(Format("[]"), "[]");
    EXPECT_EQ(Format("{}"), "{\r\n\t\r\n}");
    EXPECT_EQ(Format(R"({"a":[],"b":{}})"), "{\r\n\t\"a\":[],\r\n\t\"b\":{\r\n\t\t\r\n\t}\r\n}");
}

TEST(JsonFormat, SymbolsInStringsCountToo)
{
    EXPECT_EQ(Format("[\"a,b\"]"), "[\r\n\t\"a,\r\n\tb\"\r\n]");
    EXPECT_EQ(Format("x}"), "x\r\n}");
    EXPECT_EQ(Format("}}\n,"), "\r\n}\r\n}\n,\r\n");
}

TEST(JsonFormat, TextWithoutSymbolsIsNotChanged)
{
    EXPECT_EQ(Format(""), "");
    EXPECT_EQ(Format("12 "), "12 ");
    EXPECT_QZ_THROW(QZJsonFactory::Format(nullptr), 1792);
}

TEST(JsonMinify, BlanksInStringsAreRemovedToo)
{
    EXPECT_EQ(Minify(R"({"a": "b c"})"), R"({"a":"bc"})");
    EXPECT_EQ(Minify("{\r\n\t\"a\" : [ 1 ,\t2 ]\r\n}"), "{\"a\":[1,2]}");
}

TEST(JsonMinify, BlanksBeforeTheFirstSymbolAreKept)
{
    EXPECT_EQ(Minify(" \"a b\" : 1 , 2"), " \"a b\" : 1 ,2");
    EXPECT_EQ(Minify(" a\nb c"), " abc");
    EXPECT_EQ(Minify(" a] b"), " a]b");
    // A colon is not one of the symbols.
    EXPECT_EQ(Minify("a : b"), "a : b");
    EXPECT_EQ(Minify(""), "");
    EXPECT_QZ_THROW(QZJsonFactory::Minify(nullptr), 1792);
}

TEST(JsonMinify, UndoesFormat)
{
    const char* json = R"({"a":[1,2,{"b":[]}],"c":{"d":"e"}})";
    EXPECT_EQ(Minify(Format(json).c_str()), json);
}
}  // namespace
