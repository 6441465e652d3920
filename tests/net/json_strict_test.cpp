// QZJson reads exactly what RFC 8259 allows, and tells where and why it refuses the rest.

#include <cctype>
#include <cstring>
#include <regex>
#include <utility>

#include "net/json_strict_support.h"

using qztest::Catch;
using qztest::IsAccepted;
using qztest::ReadStrict;
using qztest::Thrown;
using qztest::Verdict;

namespace
{
std::string Nested(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }
}  // namespace

TEST(JsonStrict, ValuesOfEveryKind)
{
    EXPECT_EQ(Verdict("null"), "null");
    EXPECT_EQ(Verdict("true"), "true");
    EXPECT_EQ(Verdict("false"), "false");
    EXPECT_EQ(Verdict("0"), "0");
    EXPECT_EQ(Verdict("\"\""), "\"\"");
    EXPECT_EQ(Verdict("[]"), "[]");
    EXPECT_EQ(Verdict("{}"), "{}");
    EXPECT_EQ(Verdict(" [ 1 , [ ] , { } , \"x\" , null ] "), "[1,[],{},\"x\",null]");
    EXPECT_EQ(Verdict("{\"b\":1,\"a\":{\"\":[true,false]}}"), "{\"b\":1,\"a\":{\"\":[true,false]}}");
}

TEST(JsonStrict, ValuesHaveTheClassesOfTheModel)
{
    const std::pair<const char*, QZInt64> cases[] = {
        {"null", QZJsonNull::Type},   {"true", QZJsonBool::Type}, {"1", QZJsonDecimal::Type},
        {"\"\"", QZJsonString::Type}, {"{}", QZJsonObject::Type}, {"[]", QZJsonValueCollection::Type}};
    for (const auto& [text, type] : cases)
    {
        QZJsonValue* value = ReadStrict(text);
        EXPECT_EQ(value->GetType(), type) << text;
        QZJsonFactory::Recycle(&value);
    }
}

TEST(JsonStrict, WhiteSpaceIsOfFourKinds)
{
    for (const char blank : {' ', '\t', '\n', '\r'})
    {
        const std::string b(2, blank);
        EXPECT_EQ(Verdict(b + "{" + b + "\"a\"" + b + ":" + b + "[" + b + "1" + b + "," + b + "2" + b + "]" +
                          b + "," + b + "\"b\"" + b + ":" + b + "null" + b + "}" + b),
                  "{\"a\":[1,2],\"b\":null}");
    }
    for (const std::string_view other :
         {std::string_view("\v"), std::string_view("\f"), std::string_view("\0", 1),
          std::string_view("\xC2\xA0"), std::string_view("\xE2\x80\xA8"), std::string_view("\x1F"),
          std::string_view("\xEF\xBB\xBF")})
    {
        EXPECT_EQ(Verdict("[" + std::string(other) + "1]"), "Syntax at 1") << qztest::Hex(other);
        EXPECT_EQ(Verdict("[1" + std::string(other) + "]"), "Syntax at 2") << qztest::Hex(other);
        EXPECT_EQ(Verdict("1" + std::string(other)), "Trailing at 1") << qztest::Hex(other);
    }
}

TEST(JsonStrict, EveryByteInEveryPlace)
{
    const std::string blanks = " \t\r\n";
    for (int i = 0; i < 256; ++i)
    {
        const char byte = static_cast<char>(i);
        const bool isDigit = byte >= '0' && byte <= '9';
        const bool isBlank = blanks.find(byte) != std::string::npos;
        const std::string text(1, byte);
        EXPECT_EQ(IsAccepted(text), isDigit) << i;
        EXPECT_EQ(IsAccepted("[" + text + "]"), isDigit || isBlank) << i;
        EXPECT_EQ(IsAccepted("[1" + text + "1]"),
                  isDigit || (byte != 0 && std::strchr(",.eE", byte) != nullptr))
            << i;
        EXPECT_EQ(IsAccepted("{" + text + "}"), isBlank) << i;
        EXPECT_EQ(IsAccepted("{\"a\"" + text + "1}"), byte == ':') << i;
        EXPECT_EQ(IsAccepted("[]" + text), isBlank) << i;
        EXPECT_EQ(IsAccepted("\"" + text + "\""), i >= 0x20 && i < 0x80 && byte != '"' && byte != '\\') << i;
        EXPECT_EQ(IsAccepted("\"\\" + text + "\""), byte != 0 && std::strchr("\"\\/bfnrt", byte) != nullptr)
            << i;
        EXPECT_EQ(IsAccepted("\"\\u00" + text + "0\""), std::isxdigit(static_cast<unsigned char>(byte)) != 0)
            << i;
    }
}

TEST(JsonStrict, WordsAreLowerCaseAndWhole)
{
    for (const char* text : {"True", "NULL", "fals", "truee", "nul", "nil", "undefined", "NaN", "Infinity",
                             "-Infinity", "t", "tru e"})
        EXPECT_FALSE(IsAccepted(text)) << text;
    EXPECT_EQ(Verdict("[tru]"), "Syntax at 1");
    EXPECT_EQ(Verdict("tru"), "UnexpectedEnd at 3");
    EXPECT_EQ(Verdict("truex"), "Trailing at 4");
}

TEST(JsonStrict, NumbersOfTheGrammar)
{
    EXPECT_EQ(Verdict("-0"), "-0");
    EXPECT_EQ(Verdict("-0.0"), "-0");
    EXPECT_EQ(Verdict("0.5"), "0.5");
    EXPECT_EQ(Verdict("-0.5"), "-0.5");
    EXPECT_EQ(Verdict("1e5"), "1e+05");
    EXPECT_EQ(Verdict("1E+2"), "100");
    EXPECT_EQ(Verdict("25e-1"), "2.5");
    EXPECT_EQ(Verdict("1e-400"), "0");
    EXPECT_EQ(Verdict("-1e-400"), "-0");
    EXPECT_EQ(Verdict("0e999999999999"), "0");
    EXPECT_EQ(Verdict("1.7976931348623157e308"), "1.7976931348623157e+308");
    EXPECT_EQ(Verdict("1e309"), "Number at 0");
    EXPECT_EQ(Verdict("[-1e309]"), "Number at 1");

    EXPECT_EQ(Verdict("01"), "Number at 0");
    EXPECT_EQ(Verdict("-01"), "Number at 0");
    EXPECT_EQ(Verdict("00"), "Number at 0");
    EXPECT_EQ(Verdict("[5.]"), "Number at 3");
    EXPECT_EQ(Verdict("5."), "UnexpectedEnd at 2");
    EXPECT_EQ(Verdict(".5"), "Syntax at 0");
    EXPECT_EQ(Verdict("+1"), "Syntax at 0");
    EXPECT_EQ(Verdict("1e"), "UnexpectedEnd at 2");
    EXPECT_EQ(Verdict("1e+"), "UnexpectedEnd at 3");
    EXPECT_EQ(Verdict("[1e+]"), "Number at 4");
    EXPECT_EQ(Verdict("-"), "UnexpectedEnd at 1");
    EXPECT_EQ(Verdict("--1"), "Number at 1");
    EXPECT_EQ(Verdict("1.e5"), "Number at 2");
    EXPECT_EQ(Verdict("0x10"), "Trailing at 1");
    EXPECT_EQ(Verdict("1 2"), "Trailing at 2");
    EXPECT_EQ(Verdict("1_000"), "Trailing at 1");
}

TEST(JsonStrict, EveryShortTextOfNumberCharacters)
{
    const std::regex grammar("-?(0|[1-9][0-9]*)(\\.[0-9]+)?([eE][+-]?[0-9]+)?");
    const std::string characters = "-+.01eE";
    for (std::size_t length = 1; length <= 5; ++length)
    {
        std::size_t count = 1;
        for (std::size_t i = 0; i < length; ++i) count *= characters.size();
        for (std::size_t number = 0; number < count; ++number)
        {
            std::string text;
            for (std::size_t i = 0, rest = number; i < length; ++i, rest /= characters.size())
                text += characters[rest % characters.size()];
            ASSERT_EQ(IsAccepted(text), std::regex_match(text, grammar)) << text;
        }
    }
}

TEST(JsonStrict, WholeNumbersKeepTheirDigits)
{
    for (const char* text : {"9223372036854775807", "-9223372036854775808", "18446744073709551615",
                             "9007199254740993", "9223372036854775808", "0", "-1"})
        EXPECT_EQ(Verdict(text), text);
    // The next ones are doubles.
    EXPECT_EQ(Verdict("18446744073709551616"), "18446744073709551616");
    EXPECT_EQ(Verdict("-9223372036854775809"), "-9223372036854775808");
}

TEST(JsonStrict, NumbersOfTheModel)
{
    auto* number = static_cast<QZJsonDecimal*>(ReadStrict("18446744073709551615"));
    QZInt64 whole = 7;
    QZUInt64 positive = 0;
    double real = 0;
    EXPECT_EQ(number->GetInt64(&whole), 0);
    EXPECT_EQ(whole, 7);
    EXPECT_EQ(number->GetUInt64(&positive), 1);
    EXPECT_EQ(positive, 18446744073709551615u);
    EXPECT_EQ(number->GetDouble(&real), 1);
    EXPECT_EQ(real, 18446744073709551616.0);
    EXPECT_EQ(qztest::Utf8(number->Val()), "18446744073709551615");
    QZJsonFactory::Recycle(&number);

    number = static_cast<QZJsonDecimal*>(ReadStrict("1.5"));
    EXPECT_EQ(number->GetInt64(&whole), 0);
    EXPECT_EQ(number->GetDouble(&real), 1);
    EXPECT_EQ(real, 1.5);
    QZJsonFactory::Recycle(&number);
}

TEST(JsonStrict, LongNumbersHaveALimit)
{
    EXPECT_EQ(Verdict("0." + std::string(4094, '0')), "0");
    EXPECT_EQ(Verdict("0." + std::string(4095, '0')), "Number at 0");
}

TEST(JsonStrict, Escapes)
{
    EXPECT_EQ(Verdict(R"("\"\\\/\b\f\n\r\t")"), R"("\"\\/\b\f\n\r\t")");
    EXPECT_EQ(Verdict(R"("\u0041\u00e9\u00E9")"), "\"A\xC3\xA9\xC3\xA9\"");
    EXPECT_EQ(Verdict(R"("\u0000x")"), R"("\u0000x")");
    EXPECT_EQ(Verdict(R"("\uD83D\uDE00")"), "\"\xF0\x9F\x98\x80\"");
    EXPECT_EQ(Verdict(R"("\uDBFF\uDFFF")"), "\"\xF4\x8F\xBF\xBF\"");

    EXPECT_EQ(Verdict(R"("a\x")"), "Escape at 2");
    EXPECT_EQ(Verdict(R"("\U0041")"), "Escape at 1");
    EXPECT_EQ(Verdict(R"("\u004")"), "Escape at 6");
    EXPECT_EQ(Verdict(R"("\u00g0")"), "Escape at 5");
    EXPECT_EQ(Verdict(R"("\uD83D")"), "Escape at 1");
    EXPECT_EQ(Verdict(R"("\uD83Dx")"), "Escape at 1");
    EXPECT_EQ(Verdict(R"("\uD83D\n")"), "Escape at 1");
    EXPECT_EQ(Verdict(R"("\uD83D\uD83D")"), "Escape at 1");
    EXPECT_EQ(Verdict(R"("x\uDE00")"), "Escape at 2");
    EXPECT_EQ(Verdict("\"\\"), "UnexpectedEnd at 2");
    EXPECT_EQ(Verdict("\"\\u12"), "UnexpectedEnd at 5");
    EXPECT_EQ(Verdict("\"a\nb\""), "String at 2");
    EXPECT_EQ(Verdict("\"abc"), "UnexpectedEnd at 4");
}

TEST(JsonStrict, EveryCharacterInUtf8AndUtf16)
{
    for (unsigned character = 0x80; character < 0x110000; character += character < 0x1000 ? 1 : 37)
    {
        if (character >= 0xD800 && character < 0xE000) continue;
        std::string utf8;
        if (character < 0x800)
            utf8 = {static_cast<char>(0xC0 | character >> 6)};
        else if (character < 0x10000)
            utf8 = {static_cast<char>(0xE0 | character >> 12),
                    static_cast<char>(0x80 | (character >> 6 & 0x3F))};
        else
            utf8 = {static_cast<char>(0xF0 | character >> 18),
                    static_cast<char>(0x80 | (character >> 12 & 0x3F)),
                    static_cast<char>(0x80 | (character >> 6 & 0x3F))};
        utf8 = "\"" + utf8 + static_cast<char>(0x80 | (character & 0x3F)) + "\"";
        ASSERT_EQ(Verdict(utf8), utf8) << character;
        const qztest::Text wide = qztest::Wide(utf8);
        QZJsonValue* value = QZJson::Parse(wide.data(), static_cast<QZInt64>(wide.size()));
        QZData* written = QZJson::WriteUtf8(value);
        ASSERT_EQ(std::string(static_cast<const char*>(written->GetPointer()),
                              static_cast<std::size_t>(written->GetSize())),
                  utf8)
            << character;
        QZDataFactory::Recycle(&written);
        ASSERT_EQ(qztest::Written(value), utf8) << character;
    }
}

TEST(JsonStrict, InvalidUtf8OfEveryClass)
{
    for (const char* bytes :
         {"80",          "BF",                                   // a byte that only continues
          "C3",          "E2 82",       "F0 9F 98",       "E2",  // cut short
          "C3 28",       "E2 28 A1",    "E2 82 28",       "F0 28 8C BC", "F0 90 28 BC",
          "F0 90 8C 28",  // wrong continuation
          "C0 80",       "C1 BF",       "E0 80 80",       "E0 9F BF",    "F0 80 80 80",
          "F0 8F BF BF",                                                                       // too long
          "ED A0 80",    "ED AF BF",    "ED B0 80",       "ED BF BF",    "ED A0 BD ED B8 80",  // surrogates
          "F4 90 80 80", "F5 80 80 80", "F8 88 80 80 80", "FE",          "FF"})                // too large
    {
        EXPECT_EQ(Verdict("\"a" + qztest::Bytes(bytes) + "\""), "Encoding at 2") << bytes;
        EXPECT_EQ(Verdict("\"a" + qztest::Bytes(bytes)), "Encoding at 2") << bytes;
    }
}

TEST(JsonStrict, Utf16WithALoneSurrogate)
{
    for (const qztest::Text& text : {qztest::Text{'"', 0xD83D, '"'}, qztest::Text{'"', 0xDE00, '"'},
                                     qztest::Text{'"', 0xD83D, 0xD83D, '"'}, qztest::Text{'"', 0xD83D}})
    {
        QZJsonValue* value = nullptr;
        QZJsonError error;
        EXPECT_EQ(QZJson::TryParse(text.data(), static_cast<QZInt64>(text.size()), &value, &error), 0);
        EXPECT_EQ(error.Code, QZJsonErrorCode::Encoding);
        EXPECT_EQ(error.Offset, 1);
    }
}

TEST(JsonStrict, StructureOfArrays)
{
    EXPECT_EQ(Verdict(""), "UnexpectedEnd at 0");
    EXPECT_EQ(Verdict(" \n"), "UnexpectedEnd at 2");
    EXPECT_EQ(Verdict("[1,]"), "Syntax at 3");
    EXPECT_EQ(Verdict("[,1]"), "Syntax at 1");
    EXPECT_EQ(Verdict("[1,,2]"), "Syntax at 3");
    EXPECT_EQ(Verdict("[1 2]"), "Syntax at 3");
    EXPECT_EQ(Verdict("[1:2]"), "Syntax at 2");
    EXPECT_EQ(Verdict("[1}"), "Syntax at 2");
    EXPECT_EQ(Verdict("[1"), "UnexpectedEnd at 2");
    EXPECT_EQ(Verdict("[1,"), "UnexpectedEnd at 3");
    EXPECT_EQ(Verdict("["), "UnexpectedEnd at 1");
    EXPECT_EQ(Verdict("]"), "Syntax at 0");
    EXPECT_EQ(Verdict("[]]"), "Trailing at 2");
    EXPECT_EQ(Verdict("[] []"), "Trailing at 3");
    EXPECT_EQ(Verdict("[1] // end"), "Trailing at 4");
    EXPECT_EQ(Verdict("/**/1"), "Syntax at 0");
    EXPECT_EQ(Verdict("['a']"), "Syntax at 1");
}

TEST(JsonStrict, StructureOfObjects)
{
    EXPECT_EQ(Verdict("{\"a\":1,}"), "Syntax at 7");
    EXPECT_EQ(Verdict("{,}"), "Syntax at 1");
    EXPECT_EQ(Verdict("{\"a\" 1}"), "Syntax at 5");
    EXPECT_EQ(Verdict("{\"a\"}"), "Syntax at 4");
    EXPECT_EQ(Verdict("{\"a\":}"), "Syntax at 5");
    EXPECT_EQ(Verdict("{\"a\":1 \"b\":2}"), "Syntax at 7");
    EXPECT_EQ(Verdict("{\"a\":1]"), "Syntax at 6");
    EXPECT_EQ(Verdict("{a:1}"), "Syntax at 1");
    EXPECT_EQ(Verdict("{1:1}"), "Syntax at 1");
    EXPECT_EQ(Verdict("{null:1}"), "Syntax at 1");
    EXPECT_EQ(Verdict("{\"a\"::1}"), "Syntax at 5");
    EXPECT_EQ(Verdict("{"), "UnexpectedEnd at 1");
    EXPECT_EQ(Verdict("{\"a\""), "UnexpectedEnd at 4");
    EXPECT_EQ(Verdict("{\"a\":"), "UnexpectedEnd at 5");
    EXPECT_EQ(Verdict("{\"a\":1"), "UnexpectedEnd at 6");
    EXPECT_EQ(Verdict("{\"a\":1,"), "UnexpectedEnd at 7");
}

TEST(JsonStrict, EveryBeginningOfATextEndsTooEarly)
{
    const std::string text = R"({"a":[1,-2.5e+3,true,false,null,"x\n\u00e9"],"b":{"c":[]}})";
    for (std::size_t length = 0; length < text.size(); ++length)
    {
        const std::string verdict = Verdict(text.substr(0, length));
        EXPECT_EQ(verdict, "UnexpectedEnd at " + std::to_string(length)) << text.substr(0, length);
    }
    EXPECT_TRUE(IsAccepted(text));
}

TEST(JsonStrict, DepthHasALimit)
{
    EXPECT_EQ(Verdict(Nested(128)), Nested(128));
    EXPECT_EQ(Verdict(Nested(129)), "Depth at 128");
    EXPECT_EQ(Verdict("[[1],[2],{\"a\":[3]}]", {.MaxDepth = 3}), "[[1],[2],{\"a\":[3]}]");
    EXPECT_EQ(Verdict("[[1],[2],{\"a\":[3]}]", {.MaxDepth = 2}), "Depth at 14");
    EXPECT_EQ(Verdict("1", {.MaxDepth = 0}), "1");
    EXPECT_EQ(Verdict("[]", {.MaxDepth = 0}), "Depth at 0");
    EXPECT_EQ(Verdict("{}", {.MaxDepth = 0}), "Depth at 0");
}

TEST(JsonStrict, DepthWithoutALimitTakesNoRecursion)
{
    constexpr std::size_t kDepth = 200000;
    EXPECT_EQ(Verdict(Nested(kDepth), {.MaxDepth = -1}), Nested(kDepth));
    EXPECT_EQ(Verdict(std::string(kDepth, '['), {.MaxDepth = -1}), "UnexpectedEnd at 200000");
    std::string objects;
    for (std::size_t i = 0; i < kDepth; ++i) objects += "{\"a\":";
    EXPECT_EQ(Verdict(objects + "x", {.MaxDepth = -1}), "Syntax at 1000000");
}

TEST(JsonStrict, LengthHasALimit)
{
    EXPECT_EQ(Verdict("[1]", {.MaxLength = 3}), "[1]");
    EXPECT_EQ(Verdict("[1] ", {.MaxLength = 3}), "Length at 0");
    EXPECT_EQ(Verdict("1", {.MaxLength = 0}), "Length at 0");
}

TEST(JsonStrict, ByteOrderMarkByOption)
{
    const std::string mark = "\xEF\xBB\xBF";
    EXPECT_EQ(Verdict(mark + "1"), "ByteOrderMark at 0");
    EXPECT_EQ(Verdict(mark + "1", {.ByteOrderMark = 1}), "1");
    EXPECT_EQ(Verdict(mark + mark + "1", {.ByteOrderMark = 1}), "Syntax at 3");
    EXPECT_EQ(Verdict("1" + mark, {.ByteOrderMark = 1}), "Trailing at 1");
    EXPECT_EQ(Verdict(mark, {.ByteOrderMark = 1}), "UnexpectedEnd at 3");
    EXPECT_EQ(Verdict("\xEF\xBB", {.ByteOrderMark = 1}), "Syntax at 0");

    const QZWChar wide[] = {0xFEFF, '1'};
    QZJsonValue* value = nullptr;
    QZJsonError error;
    EXPECT_EQ(QZJson::TryParse(wide, 2, &value, &error), 0);
    EXPECT_EQ(error.Code, QZJsonErrorCode::ByteOrderMark);
    EXPECT_EQ(QZJson::TryParse(wide, 2, &value, &error, {.ByteOrderMark = 1}), 1);
    EXPECT_EQ(qztest::Written(value), "1");
}

TEST(JsonStrict, DuplicateNamesByOption)
{
    const std::string text = R"({"a":1,"b":[2],"a":{"c":3},"\u0061":4})";
    EXPECT_EQ(Verdict(text), "DuplicateName at 15");
    EXPECT_EQ(Verdict(text, {.Duplicates = QZJsonDuplicates::LastWins}), R"({"a":4,"b":[2]})");
    EXPECT_EQ(Verdict(text, {.Duplicates = QZJsonDuplicates::KeepAll}),
              R"({"a":1,"b":[2],"a":{"c":3},"a":4})");
    EXPECT_EQ(Verdict(R"({"a":1,"A":2,"":3})"), R"({"a":1,"A":2,"":3})");
    EXPECT_EQ(Verdict(R"({"":1,"":2})"), "DuplicateName at 6");
    EXPECT_EQ(Verdict(R"([{"a":1},{"a":2}])"), R"([{"a":1},{"a":2}])");
}

TEST(JsonStrict, ManyNames)
{
    std::string pairs;
    for (int i = 0; i < 20000; ++i) pairs += "\"n" + std::to_string(i) + "\":" + std::to_string(i) + ",";
    const std::string text = "{" + pairs + "\"last\":0}";
    EXPECT_EQ(Verdict(text), text);
    EXPECT_EQ(Verdict("{" + pairs + "\"n7\":0}"), "DuplicateName at " + std::to_string(pairs.size() + 1));
    const std::string wins =
        Verdict("{" + pairs + "\"n7\":\"x\"}", {.Duplicates = QZJsonDuplicates::LastWins});
    EXPECT_NE(wins.find("\"n7\":\"x\",\"n8\":8"), std::string::npos);
}

TEST(JsonStrict, PositionsInLinesAndCharacters)
{
    struct Case
    {
        const char* text;
        QZInt64 offset, line, column;
    };
    for (const Case& c : {Case{"x", 0, 1, 1}, Case{"[\n  1,\n  x]", 9, 3, 3}, Case{"[\r\n1,\r\nx]", 7, 3, 1},
                          Case{"[\r1,\rx]", 5, 3, 1}, Case{"[\"\xC3\xA9\xF0\x9F\x98\x80\",x]", 10, 1, 7},
                          Case{"[\n\n", 3, 3, 1}})
    {
        QZJsonValue* value = nullptr;
        QZJsonError error;
        EXPECT_EQ(QZJson::TryParse(c.text, static_cast<QZInt64>(std::strlen(c.text)), &value, &error), 0);
        EXPECT_EQ(error.Offset, c.offset) << c.text;
        EXPECT_EQ(error.Line, c.line) << c.text;
        EXPECT_EQ(error.Column, c.column) << c.text;
        // Lines and columns are the same in UTF-16.
        const qztest::Text wide = qztest::Wide(c.text);
        EXPECT_EQ(QZJson::TryParse(wide.data(), static_cast<QZInt64>(wide.size()), &value, &error), 0);
        EXPECT_EQ(error.Line, c.line) << c.text;
        EXPECT_EQ(error.Column, c.column) << c.text;
    }
}

TEST(JsonStrict, ParseThrowsWithPositionAndReason)
{
    const Thrown thrown = Catch([] { ReadStrict("[1,\n 2"); });
    EXPECT_EQ(thrown.code, QZJsonExceptionCode::JsonFormatException);
    EXPECT_EQ(thrown.type, QZJsonException::Type);
    EXPECT_NE(thrown.message.find(" at line 2, column 3 (offset 6): the text ends inside an array"),
              std::string::npos)
        << thrown.message;
    EXPECT_QZ_THROW(QZJson::Parse("1", -1), QZExceptionCode::ArgumentOutOfRange);
    EXPECT_QZ_THROW(QZJson::Parse(QZ_W("1"), -1), QZExceptionCode::ArgumentOutOfRange);
}

TEST(JsonStrict, EveryFormOfText)
{
    QZString string(QZ_W("[\"x\"]"));
    QZData data("[\"x\"]", 5);
    EXPECT_EQ(qztest::Written(QZJson::Parse(&string)), "[\"x\"]");
    EXPECT_EQ(qztest::Written(QZJson::Parse(&data)), "[\"x\"]");
    EXPECT_EQ(qztest::Written(QZJson::Parse(QZ_W("[\"x\"]"), 5)), "[\"x\"]");
    EXPECT_EQ(qztest::Written(QZJson::Parse("[\"x\"]", 5)), "[\"x\"]");
    QZJsonValue* value = nullptr;
    EXPECT_EQ(QZJson::TryParse(&string, &value), 1);
    QZJsonFactory::Recycle(&value);
    EXPECT_EQ(QZJson::TryParse(&data, &value), 1);
    QZJsonFactory::Recycle(&value);
    // Null is an empty text.
    QZJsonError error;
    EXPECT_EQ(QZJson::TryParse(static_cast<QZString*>(nullptr), &value, &error), 0);
    EXPECT_EQ(error.Code, QZJsonErrorCode::UnexpectedEnd);
    EXPECT_EQ(QZJson::TryParse(static_cast<QZData*>(nullptr), &value, &error), 0);
    EXPECT_EQ(QZJson::TryParse(static_cast<const char*>(nullptr), 5, &value, &error), 0);
    EXPECT_EQ(value, nullptr);
}
