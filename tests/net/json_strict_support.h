#ifndef QZLIB_TESTS_NET_JSON_STRICT_SUPPORT_H
#define QZLIB_TESTS_NET_JSON_STRICT_SUPPORT_H

#include <cmath>
#include <random>
#include <string>
#include <string_view>

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_string_factory.h"
#include "net/json_support.h"
#include "net/net_json_strict.h"
#include "support/qz_test.h"

namespace qztest
{

inline std::string_view CodeName(QZJsonErrorCode code)
{
    switch (code)
    {
        case QZJsonErrorCode::None: return "None";
        case QZJsonErrorCode::UnexpectedEnd: return "UnexpectedEnd";
        case QZJsonErrorCode::Syntax: return "Syntax";
        case QZJsonErrorCode::Trailing: return "Trailing";
        case QZJsonErrorCode::Number: return "Number";
        case QZJsonErrorCode::String: return "String";
        case QZJsonErrorCode::Escape: return "Escape";
        case QZJsonErrorCode::Encoding: return "Encoding";
        case QZJsonErrorCode::DuplicateName: return "DuplicateName";
        case QZJsonErrorCode::Depth: return "Depth";
        case QZJsonErrorCode::Length: return "Length";
        case QZJsonErrorCode::ByteOrderMark: return "ByteOrderMark";
    }
    return "?";
}

/// Writes the value on one line and recycles it.
inline std::string Written(QZJsonValue* value, const QZJsonWriteOptions& options = {})
{
    std::string text = Taken(QZJson::Write(value, options));
    QZJsonFactory::Recycle(&value);
    return text;
}

/// The text as QZJson writes it after reading, or "<code> at <offset>".
inline std::string Verdict(std::string_view utf8, const QZJsonReadOptions& options = {})
{
    QZJsonValue* value = nullptr;
    QZJsonError error;
    if (QZJson::TryParse(utf8.data(), static_cast<QZInt64>(utf8.size()), &value, &error, options))
        return Written(value);
    EXPECT_EQ(value, nullptr);
    EXPECT_NE(error.Reason[0], 0) << utf8;
    return std::string(CodeName(error.Code)) + " at " + std::to_string(error.Offset);
}

inline bool IsAccepted(std::string_view utf8, const QZJsonReadOptions& options = {})
{
    QZJsonValue* value = nullptr;
    if (!QZJson::TryParse(utf8.data(), static_cast<QZInt64>(utf8.size()), &value, nullptr, options))
        return false;
    QZJsonFactory::Recycle(&value);
    return true;
}

/// Reads a text that has to be accepted; the caller recycles the value.
inline QZJsonValue* ReadStrict(std::string_view utf8, const QZJsonReadOptions& options = {})
{
    return QZJson::Parse(utf8.data(), static_cast<QZInt64>(utf8.size()), options);
}

inline bool SameNumber(QZJsonDecimal* a, QZJsonDecimal* b)
{
    QZInt64 wholeA = 0;
    QZInt64 wholeB = 0;
    if (a->GetInt64(&wholeA) && b->GetInt64(&wholeB) && wholeA != 0) return wholeA == wholeB;
    QZUInt64 positiveA = 0;
    QZUInt64 positiveB = 0;
    if (a->GetUInt64(&positiveA) && b->GetUInt64(&positiveB) && positiveA != 0) return positiveA == positiveB;
    double realA = 0;
    double realB = 0;
    if (!a->GetDouble(&realA) || !b->GetDouble(&realB)) return false;
    return realA == realB && std::signbit(realA) == std::signbit(realB);
}

/// Same classes, names, order and contents. For trees that are not deep.
inline bool SameValue(QZJsonValue* a, QZJsonValue* b)
{
    if (a == nullptr || b == nullptr || a->GetType() != b->GetType()) return false;
    if (a->GetType() == QZJsonDecimal::Type)
        return SameNumber(static_cast<QZJsonDecimal*>(a), static_cast<QZJsonDecimal*>(b));
    if (a->GetType() == QZJsonValueCollection::Type)
    {
        auto* listA = static_cast<QZJsonValueCollection*>(a);
        auto* listB = static_cast<QZJsonValueCollection*>(b);
        if (listA->Count() != listB->Count()) return false;
        QZJsonValue* itemB = listB->GetFirst();
        for (QZJsonValue* item = listA->GetFirst(); item != nullptr; item = listA->Next(item))
        {
            if (!SameValue(item, itemB)) return false;
            itemB = listB->Next(itemB);
        }
        return true;
    }
    if (a->GetType() != QZJsonObject::Type) return a->Val()->Equals(b->Val()) != 0;
    auto* objectA = static_cast<QZJsonObject*>(a);
    auto* objectB = static_cast<QZJsonObject*>(b);
    if (objectA->AttrCount() != objectB->AttrCount()) return false;
    for (QZInt64 i = 0; i < objectA->AttrCount(); ++i)
    {
        if (!objectA->GetAttrName(i)->Equals(objectB->GetAttrName(i))) return false;
        if (!SameValue(objectA->GetAttrValue(i), objectB->GetAttrValue(i))) return false;
    }
    return true;
}

/// Makes random JSON texts by the grammar of RFC 8259, names in one object distinct.
class JsonGenerator
{
public:
    explicit JsonGenerator(unsigned seed) : m_random(seed) {}

    std::string Document()
    {
        m_budget = 60;
        return Blank() + Value(0) + Blank();
    }

    /// A number from 0 to limit - 1.
    unsigned Pick(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

private:
    std::string Blank()
    {
        std::string text;
        while (Pick(6) == 0) text += " \t\r\n"[Pick(4)];
        return text;
    }

    std::string Value(int depth)
    {
        if (--m_budget < 0) return "0";
        switch (Pick(depth < 6 ? 9 : 5))
        {
            case 0: return "null";
            case 1: return Pick(2) ? "true" : "false";
            case 2: return String();
            case 3:
            case 4: return Number();
            case 5:
            case 6: return Array(depth);
            default: return Object(depth);
        }
    }

    std::string Array(int depth)
    {
        std::string text = "[" + Blank();
        for (unsigned i = 0, count = Pick(6); i < count; ++i)
            text += (i > 0 ? "," : "") + Blank() + Value(depth + 1) + Blank();
        return text + "]";
    }

    std::string Object(int depth)
    {
        std::string text = "{" + Blank();
        for (unsigned i = 0, count = Pick(6); i < count; ++i)
        {
            // The number in front keeps the names apart.
            const std::string name = String();
            text += (i > 0 ? "," : "") + Blank() + "\"" + std::to_string(i) + name.substr(1);
            text += Blank() + ":" + Blank() + Value(depth + 1) + Blank();
        }
        return text + "}";
    }

    std::string Digits(unsigned most)
    {
        std::string text;
        for (unsigned i = 0, count = 1 + Pick(most); i < count; ++i)
            text += static_cast<char>('0' + Pick(10));
        return text;
    }

    std::string Number()
    {
        std::string text = Pick(3) == 0 ? "-" : "";
        text += Pick(4) == 0 ? "0" : static_cast<char>('1' + Pick(9)) + (Pick(2) ? Digits(19) : "");
        if (Pick(3) == 0) text += "." + Digits(17);
        if (Pick(4) == 0)
        {
            text += Pick(2) ? "e" : "E";
            text += std::string_view("+-").substr(Pick(2), Pick(2));
            text += std::to_string(Pick(250));
        }
        return text;
    }

    std::string String()
    {
        static constexpr std::string_view kPieces[] = {"a",
                                                       "B",
                                                       " ",
                                                       "/",
                                                       "\\\"",
                                                       "\\\\",
                                                       "\\/",
                                                       "\\b",
                                                       "\\f",
                                                       "\\n",
                                                       "\\r",
                                                       "\\t",
                                                       "\\u0000",
                                                       "\\u001f",
                                                       "\\u00E9",
                                                       "\\uFFFF",
                                                       "\\uD83D\\uDE00",
                                                       "\xC3\xA9",
                                                       "\xE2\x82\xAC",
                                                       "\xF0\x9F\x98\x80",
                                                       "\xEF\xBF\xBF",
                                                       "\x7F",
                                                       "</",
                                                       "[{,:"};
        std::string text = "\"";
        for (unsigned i = 0, count = Pick(8); i < count; ++i) text += kPieces[Pick(std::size(kPieces))];
        return text + "\"";
    }

    std::mt19937 m_random;
    int m_budget = 0;
};

}  // namespace qztest

#endif
