// QZJson and an independent reader agree about which texts are JSON, and about their values.

#include "net/json_strict_support.h"

#if __has_include(<nlohmann/json.hpp>)
#include <nlohmann/json.hpp>

using qztest::JsonGenerator;

namespace
{
using Peer = nlohmann::ordered_json;

/// The peer reads every depth, skips byte order marks, and lets the last of several equal names win.
constexpr QZJsonReadOptions kAsPeer = {
    .MaxDepth = -1, .MaxLength = -1, .Duplicates = QZJsonDuplicates::LastWins, .ByteOrderMark = 1};

bool SameAsPeer(QZJsonValue* value, const Peer& peer)
{
    switch (value->GetType())
    {
        case QZJsonNull::Type: return peer.is_null();
        case QZJsonBool::Type:
            return peer.is_boolean() && peer.get<bool>() == (static_cast<QZJsonBool*>(value)->IsTrue() != 0);
        case QZJsonString::Type:
            return peer.is_string() && peer.get<std::string>() == qztest::Utf8(value->Val());
        case QZJsonDecimal::Type:
        {
            auto* number = static_cast<QZJsonDecimal*>(value);
            double real = 0;
            QZUInt64 positive = 0;
            QZInt64 whole = 0;
            if (peer.is_number_unsigned())
                return number->GetUInt64(&positive) && positive == peer.get<QZUInt64>();
            if (peer.is_number_integer()) return number->GetInt64(&whole) && whole == peer.get<QZInt64>();
            return number->GetDouble(&real) && real == peer.get<double>();
        }
        case QZJsonValueCollection::Type:
        {
            auto* list = static_cast<QZJsonValueCollection*>(value);
            if (!peer.is_array() || list->Count() != static_cast<QZInt64>(peer.size())) return false;
            std::size_t index = 0;
            for (QZJsonValue* item = list->GetFirst(); item != nullptr; item = list->Next(item))
                if (!SameAsPeer(item, peer[index++])) return false;
            return true;
        }
        default: break;
    }
    auto* object = static_cast<QZJsonObject*>(value);
    if (!peer.is_object() || object->AttrCount() != static_cast<QZInt64>(peer.size())) return false;
    QZInt64 index = 0;
    for (const auto& [name, inner] : peer.items())
    {
        if (qztest::Utf8(object->GetAttrName(index)) != name) return false;
        if (!SameAsPeer(object->GetAttrValue(index++), inner)) return false;
    }
    return true;
}

testing::AssertionResult AgreesWithPeer(const std::string& text)
{
    QZJsonValue* value = nullptr;
    QZJsonError error;
    const bool isAccepted =
        QZJson::TryParse(text.data(), static_cast<QZInt64>(text.size()), &value, &error, kAsPeer) != 0;
    const Peer peer = Peer::parse(text, nullptr, false);
    // The peer refuses numbers that are too large, too.
    if (isAccepted == peer.is_discarded())
        return testing::AssertionFailure() << (isAccepted ? "accepted, by the peer refused: "
                                                          : "refused, by the peer "
                                                            "accepted: ")
                                           << text;
    if (!isAccepted) return testing::AssertionSuccess();
    const bool isSame = SameAsPeer(value, peer);
    const std::string written = qztest::Written(value);
    if (!isSame) return testing::AssertionFailure() << "read as " << written << ": " << text;
    if (Peer::parse(written, nullptr, false) != peer)
        return testing::AssertionFailure() << "written as " << written << ": " << text;
    return testing::AssertionSuccess();
}
}  // namespace

TEST(JsonPeer, GeneratedDocuments)
{
    JsonGenerator generator(4711);
    for (int i = 0; i < 2000; ++i) ASSERT_TRUE(AgreesWithPeer(generator.Document()));
}

TEST(JsonPeer, DamagedDocuments)
{
    JsonGenerator generator(815);
    for (int i = 0; i < 10000; ++i)
    {
        std::string text = generator.Document();
        const std::size_t place = generator.Pick(static_cast<unsigned>(text.size()));
        switch (generator.Pick(4))
        {
            case 0: text[place] = static_cast<char>(generator.Pick(256)); break;
            case 1: text.erase(place, 1); break;
            case 2: text.insert(place, 1, "{}[],:\"\\0-.eu \n"[generator.Pick(15)]); break;
            default: text.resize(place); break;
        }
        // The peer takes a byte of 0 for the end of the text.
        if (text.find('\0') != std::string::npos) continue;
        ASSERT_TRUE(AgreesWithPeer(text));
    }
}

TEST(JsonPeer, ShortTexts)
{
    const std::string characters = "{}[],:\"\\u01-e.t ";
    for (std::size_t length = 0; length <= 4; ++length)
    {
        std::size_t count = 1;
        for (std::size_t i = 0; i < length; ++i) count *= characters.size();
        for (std::size_t number = 0; number < count; ++number)
        {
            std::string text;
            for (std::size_t i = 0, rest = number; i < length; ++i, rest /= characters.size())
                text += characters[rest % characters.size()];
            ASSERT_TRUE(AgreesWithPeer(text));
        }
    }
}

#else

TEST(JsonPeer, GeneratedDocuments) { GTEST_SKIP() << "nlohmann/json.hpp is not there"; }

#endif
