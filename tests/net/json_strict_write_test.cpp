// QZJson writes what RFC 8259 allows, and what it reads comes back equal.

#include <limits>

#include "net/json_strict_support.h"

using qztest::IsAccepted;
using qztest::JsonGenerator;
using qztest::ReadStrict;
using qztest::SameValue;
using qztest::Taken;
using qztest::Verdict;
using qztest::Written;

namespace
{
QZJsonString* String(const qztest::Text& text)
{
    QZString string(text.data(), static_cast<QZInt64>(text.size()) * 2);
    return QZJsonFactory::CreateString(&string);
}

/// A host's own class of value, which writes itself.
class OwnValue : public QZJsonValue
{
public:
    explicit OwnValue(const QZWChar* text) : m_own(text) {}
    QZInt64 GetType() override { return 0x7001; }
    QZString* ToString() override { return QZStringFactory::CreateString(m_own); }

private:
    const QZWChar* m_own;
};
}  // namespace

TEST(JsonStrictWrite, EscapesWhatHasToBeEscaped)
{
    qztest::Text all;
    for (QZWChar unit = 0; unit < 0x80; ++unit) all += unit;
    EXPECT_EQ(
        Written(String(all)),
        "\"\\u0000\\u0001\\u0002\\u0003\\u0004\\u0005\\u0006\\u0007\\b\\t\\n\\u000B\\f\\r\\u000E\\u000F"
        "\\u0010\\u0011\\u0012\\u0013\\u0014\\u0015\\u0016\\u0017\\u0018\\u0019\\u001A\\u001B\\u001C\\u001D"
        "\\u001E\\u001F !\\\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\\\]^_`"
        "abcdefghijklmnopqrstuvwxyz{|}~\x7F\"");
    EXPECT_EQ(Written(String({0xE9, 0x20AC, 0xD83D, 0xDE00})), "\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\"");
}

TEST(JsonStrictWrite, NamesAreEscapedToo)
{
    QZJsonObject* object = QZJsonFactory::CreateObject();
    object->Set(QZ_W("a\"\\\n"), QZJsonFactory::CreateNull());
    EXPECT_EQ(Written(object), R"({"a\"\\\n":null})");
}

TEST(JsonStrictWrite, LoneSurrogatesByOption)
{
    const qztest::Text text{'a', 0xD83D, 'b', 0xDE00, 0xDE00, 0xD83D};
    EXPECT_EQ(Written(String(text)),
              "\"a\xEF\xBF\xBD"
              "b\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\"");
    EXPECT_EQ(Written(String(text), {.LoneSurrogates = QZJsonLoneSurrogates::Escape}),
              R"("a\uD83Db\uDE00\uDE00\uD83D")");
    QZJsonValue* value = String(text);
    EXPECT_QZ_THROW(QZJson::Write(value, {.LoneSurrogates = QZJsonLoneSurrogates::Refuse}),
                    QZJsonExceptionCode::ArgumentOutOfRange);
    QZJsonFactory::Recycle(&value);
}

TEST(JsonStrictWrite, HtmlByOption)
{
    const qztest::Text text{'<', '/', 'a', '>', '&', 0x2028, 0x2029};
    EXPECT_EQ(Written(String(text)), "\"</a>&\xE2\x80\xA8\xE2\x80\xA9\"");
    const std::string safe = Written(String(text), {.HtmlSafe = 1});
    EXPECT_EQ(safe, R"("\u003C/a\u003E\u0026\u2028\u2029")");
    EXPECT_EQ(Verdict(safe), "\"</a>&\xE2\x80\xA8\xE2\x80\xA9\"");
}

TEST(JsonStrictWrite, IndentByOption)
{
    QZJsonValue* value = ReadStrict(R"({"a":[1,[],{}],"b":{"c":null},"d":[[2]]})");
    EXPECT_EQ(Written(value, {.Indent = 2}),
              "{\n"
              "  \"a\": [\n"
              "    1,\n"
              "    [],\n"
              "    {}\n"
              "  ],\n"
              "  \"b\": {\n"
              "    \"c\": null\n"
              "  },\n"
              "  \"d\": [\n"
              "    [\n"
              "      2\n"
              "    ]\n"
              "  ]\n"
              "}");
    EXPECT_EQ(Written(ReadStrict("[]"), {.Indent = 4}), "[]");
    EXPECT_EQ(Written(ReadStrict("1"), {.Indent = 4}), "1");
}

TEST(JsonStrictWrite, Numbers)
{
    EXPECT_EQ(Written(QZJson::CreateNumber(0.1)), "0.1");
    EXPECT_EQ(Written(QZJson::CreateNumber(-0.5)), "-0.5");
    EXPECT_EQ(Written(QZJson::CreateNumber(-0.0)), "-0");
    EXPECT_EQ(Written(QZJson::CreateNumber(5e-324)), "5e-324");
    EXPECT_EQ(Written(QZJson::CreateNumber(42)), "42");
    EXPECT_EQ(Written(QZJson::CreateNumber(std::numeric_limits<QZInt64>::min())), "-9223372036854775808");
    EXPECT_EQ(Written(QZJson::CreateNumber(std::numeric_limits<QZUInt64>::max())), "18446744073709551615");
    // The kept texts of numbers.
    EXPECT_EQ(Written(QZJsonFactory::CreateDecimal(2.5)), "2.5");
    EXPECT_EQ(Written(QZJsonFactory::CreateDecimal(-3)), "-3");
}

TEST(JsonStrictWrite, NumbersThatAreNotFinite)
{
    for (const double number :
         {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
          std::numeric_limits<double>::quiet_NaN()})
    {
        QZJsonValue* value = QZJson::CreateNumber(number);
        EXPECT_QZ_THROW(QZJson::Write(value), QZJsonExceptionCode::ArgumentOutOfRange);
        EXPECT_EQ(Written(value, {.NotFiniteAsNull = 1}), "null");
    }
}

TEST(JsonStrictWrite, TextsThatAreNoValue)
{
    QZString odd(QZ_W("12 apples"));
    QZString loose(QZ_W("+007"));
    QZString upper(QZ_W("TRUE"));
    QZJsonValue* number = QZJsonFactory::CreateDecimal(1);
    number->Val(&odd);
    EXPECT_QZ_THROW(QZJson::Write(number), QZJsonExceptionCode::ArgumentOutOfRange);
    number->Val(&loose);
    EXPECT_EQ(Written(number), "7");
    QZJsonValue* truth = QZJsonFactory::CreateBool(1);
    truth->Val(&odd);
    EXPECT_QZ_THROW(QZJson::Write(truth), QZJsonExceptionCode::ArgumentOutOfRange);
    truth->Val(&upper);
    EXPECT_EQ(Written(truth), "true");
    QZJsonValue* plain = QZJsonFactory::CreateValue();
    EXPECT_QZ_THROW(QZJson::Write(plain), QZJsonExceptionCode::ArgumentOutOfRange);
    QZJsonFactory::Recycle(&plain);
    EXPECT_QZ_THROW(QZJson::Write(nullptr), QZExceptionCode::NullPointer);
    EXPECT_QZ_THROW(QZJson::WriteUtf8(nullptr), QZExceptionCode::NullPointer);
}

TEST(JsonStrictWrite, ValuesOfAHostsOwnClass)
{
    OwnValue good(QZ_W("{\"own\":[1, 2]}"));
    OwnValue bad(QZ_W("{own}"));
    QZJsonValueCollection* list = QZJsonFactory::CreateValueCollection();
    list->Add(&good);
    EXPECT_EQ(Taken(QZJson::Write(list)), "[{\"own\":[1, 2]}]");
    EXPECT_EQ(list->TakeAt(0), &good);
    list->Add(&bad);
    EXPECT_QZ_THROW(QZJson::Write(list), QZJsonExceptionCode::ArgumentOutOfRange);
    EXPECT_EQ(list->TakeAt(0), &bad);
    QZJsonFactory::Recycle(&list);
}

TEST(JsonStrictWrite, Utf8)
{
    QZJsonValue* value = ReadStrict("[\"\xC3\xA9\xF0\x9F\x98\x80\\u0000\"]");
    QZData* utf8 = QZJson::WriteUtf8(value);
    EXPECT_EQ(
        std::string(static_cast<const char*>(utf8->GetPointer()), static_cast<std::size_t>(utf8->GetSize())),
        "[\"\xC3\xA9\xF0\x9F\x98\x80\\u0000\"]");
    EXPECT_TRUE(utf8->Check());
    QZJsonValue* again = QZJson::Parse(utf8);
    EXPECT_TRUE(SameValue(value, again));
    QZDataFactory::Recycle(&utf8);
    QZJsonFactory::Recycle(&again);
    QZJsonFactory::Recycle(&value);
}

TEST(JsonStrictWrite, GeneratedDocumentsComeBackEqual)
{
    JsonGenerator generator(20240117);
    const QZJsonWriteOptions forms[] = {
        {}, {.Indent = 3}, {.HtmlSafe = 1}, {.LoneSurrogates = QZJsonLoneSurrogates::Refuse}};
    for (int i = 0; i < 3000; ++i)
    {
        const std::string text = generator.Document();
        ASSERT_TRUE(IsAccepted(text)) << text;
        QZJsonValue* value = ReadStrict(text);
        for (const QZJsonWriteOptions& form : forms)
        {
            QZString* written = QZJson::Write(value, form);
            QZJsonValue* again = QZJson::Parse(written);
            ASSERT_TRUE(SameValue(value, again)) << text << "\n" << qztest::Utf8(written);
            QZStringFactory::Recycle(&written);
            QZJsonFactory::Recycle(&again);
        }
        QZData* utf8 = QZJson::WriteUtf8(value);
        QZJsonValue* again = QZJson::Parse(utf8);
        ASSERT_TRUE(SameValue(value, again)) << text;
        QZDataFactory::Recycle(&utf8);
        QZJsonFactory::Recycle(&again);
        QZJsonFactory::Recycle(&value);
    }
}

TEST(JsonStrictWrite, DamagedDocumentsAreReadOrRefused)
{
    JsonGenerator generator(77);
    int accepted = 0;
    int refused = 0;
    for (int i = 0; i < 20000; ++i)
    {
        std::string text = generator.Document();
        for (unsigned damage = 1 + generator.Pick(3); damage > 0 && !text.empty(); --damage)
        {
            const std::size_t place = generator.Pick(static_cast<unsigned>(text.size()));
            switch (generator.Pick(4))
            {
                case 0: text[place] = static_cast<char>(generator.Pick(256)); break;
                case 1: text.erase(place, 1); break;
                case 2: text.insert(place, 1, "{}[],:\"\\0-.eu \n"[generator.Pick(15)]); break;
                default: text.resize(place); break;
            }
        }
        QZJsonValue* value = nullptr;
        QZJsonError error;
        if (!QZJson::TryParse(text.data(), static_cast<QZInt64>(text.size()), &value, &error))
        {
            ++refused;
            ASSERT_GE(error.Offset, 0);
            ASSERT_LE(error.Offset, static_cast<QZInt64>(text.size()));
            ASSERT_NE(error.Code, QZJsonErrorCode::None);
            ASSERT_GE(error.Line, 1);
            ASSERT_GE(error.Column, 1);
            continue;
        }
        ++accepted;
        QZString* written = QZJson::Write(value);
        QZJsonValue* again = QZJson::Parse(written);
        ASSERT_TRUE(SameValue(value, again)) << text;
        QZStringFactory::Recycle(&written);
        QZJsonFactory::Recycle(&again);
        QZJsonFactory::Recycle(&value);
    }
    EXPECT_GT(accepted, 500);
    EXPECT_GT(refused, 5000);
}
