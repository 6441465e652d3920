// Writing JSON by RFC 8259.

#include <cmath>
#include <string>
#include <vector>

#include "fw/fw_convert.h"
#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_text_builder.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_json_access.h"
#include "net/net_json_strict.h"

namespace
{
[[noreturn]] void Refuse(const QZWChar* reason)
{
    QZJsonException* exception =
        QZTrace(QZExceptionFactory::CreateJsonException(QZJsonExceptionCode::ArgumentOutOfRange),
                QZ_W("QZJson"), QZ_W("Write"))
            .Exception();
    exception->GetMsg()->Append(QZ_W(": "));
    exception->GetMsg()->Append(reason);
    throw exception;
}

bool IsHighSurrogate(unsigned unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(unsigned unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

/// The text with its units as characters; empty when a unit is no ASCII character.
std::string Narrow(JsonView text)
{
    std::string narrow;
    for (const QZWChar unit : text)
    {
        if (unit == 0 || unit > 0x7F) return {};
        narrow.push_back(static_cast<char>(unit));
    }
    return narrow;
}

/// An array or object that is being written, and its next item.
struct Level
{
    QZJsonValueCollection* list;
    QZJsonObject* object;
    QZObject* item;
    QZInt64 index;
    QZInt64 count;
};

class Writer
{
public:
    explicit Writer(const QZJsonWriteOptions& options)
        : m_options(options), m_text(QZ_W("QZJson"), QZ_W("Write"))
    {}

    const TextBuilder& Write(QZJsonValue* root)
    {
        WriteValue(root);
        while (!m_levels.empty()) Step();
        return m_text;
    }

private:
    /// Appends a value, or opens an array or object.
    void WriteValue(QZJsonValue* value)
    {
        if (As<QZJsonString>(value) != nullptr)
        {
            WriteString(QZJsonAccess::TextOf(value));
        }
        else if (As<QZJsonDecimal>(value) != nullptr)
        {
            WriteNumber(QZJsonAccess::TextOf(value));
        }
        else if (As<QZJsonBool>(value) != nullptr)
        {
            WriteBool(QZJsonAccess::TextOf(value));
        }
        else if (As<QZJsonNull>(value) != nullptr)
        {
            m_text.Append(QZ_W("null"));
        }
        else if (auto* object = As<QZJsonObject>(value))
        {
            m_text.Append('{');
            m_levels.push_back({nullptr, object, nullptr, 0, object->AttrCount()});
        }
        else if (auto* list = As<QZJsonValueCollection>(value))
        {
            m_text.Append('[');
            m_levels.push_back({list, nullptr, list->GetFirst(), 0, list->Count()});
        }
        else if (As<QZJsonValue>(value) != nullptr)
        {
            Refuse(QZ_W("a plain QZJsonValue has no JSON text"));
        }
        else
        {
            WriteOwn(value);
        }
    }

    /// The next item of the innermost array or object, or its end.
    void Step()
    {
        Level& level = m_levels.back();
        if (level.index == level.count)
        {
            if (level.count > 0) StartLine(m_levels.size() - 1);
            m_text.Append(level.object != nullptr ? '}' : ']');
            m_levels.pop_back();
            return;
        }
        if (level.index > 0) m_text.Append(',');
        StartLine(m_levels.size());
        const QZInt64 index = level.index++;
        if (level.object == nullptr)
        {
            QZObject* item = level.item;
            level.item = item->LinkNext();
            WriteValue(static_cast<QZJsonValue*>(item));
            return;
        }
        QZJsonObject* object = level.object;
        WriteString(QZJsonAccess::AttributesOf(object)->NameAt(index));
        m_text.Append(':');
        if (m_options.Indent > 0) m_text.Append(' ');
        WriteValue(object->GetAttrValue(index));
    }

    /// A line end and the blanks of a level, where the text is indented.
    void StartLine(std::size_t depth)
    {
        if (m_options.Indent <= 0) return;
        m_text.Append('\n');
        for (QZInt64 i = static_cast<QZInt64>(depth) * m_options.Indent; i > 0; --i) m_text.Append(' ');
    }

    void WriteNumber(JsonView text)
    {
        const std::string number = Narrow(text);
        QZInt64 whole = 0;
        QZUInt64 positive = 0;
        double value = 0;
        // Minus zero has its sign as a double only.
        if (number != "-0" && QZConvert::ParseInt64(number.c_str(), &whole))
            AppendTaken(QZConvert::Int64ToString(whole));
        else if (QZConvert::ParseUInt64(number.c_str(), &positive))
            AppendTaken(QZConvert::UInt64ToString(positive));
        else if (!QZConvert::ParseDouble(number.c_str(), &value))
            Refuse(QZ_W("the text of a QZJsonDecimal is no number"));
        else if (std::isfinite(value))
            AppendTaken(QZConvert::FormatDouble(value));
        else if (m_options.NotFiniteAsNull)
            m_text.Append(QZ_W("null"));
        else
            Refuse(QZ_W("a number is not finite"));
    }

    void WriteBool(JsonView text)
    {
        if (JsonSameName(text, QZ_W("true")))
            m_text.Append(QZ_W("true"));
        else if (JsonSameName(text, QZ_W("false")))
            m_text.Append(QZ_W("false"));
        else
            Refuse(QZ_W("the text of a QZJsonBool is neither true nor false"));
    }

    /// A value of a host's own class writes itself, when that is JSON.
    void WriteOwn(QZJsonValue* value)
    {
        QZString* own = value->ToString();
        QZJsonReadOptions options;
        options.MaxDepth = -1;
        options.Duplicates = QZJsonDuplicates::KeepAll;
        QZJsonValue* parsed = nullptr;
        const bool isJson = QZJson::TryParse(own, &parsed, nullptr, options) != 0;
        if (isJson)
        {
            QZJsonFactory::Recycle(&parsed);
            m_text.Append(own);
        }
        value->Recycle(&own);
        if (!isJson) Refuse(QZ_W("the text of a value of another class is no JSON"));
    }

    void AppendTaken(QZString* text)
    {
        m_text.Append(text);
        QZStringFactory::Recycle(&text);
    }

    // ---- Strings

    void WriteString(JsonView text)
    {
        m_text.Append('"');
        std::size_t written = 0;
        for (std::size_t i = 0; i < text.size(); ++i)
        {
            const unsigned unit = static_cast<unsigned>(text[i]);
            if (IsHighSurrogate(unit) && i + 1 < text.size() &&
                IsLowSurrogate(static_cast<unsigned>(text[i + 1])))
            {
                ++i;
                continue;
            }
            if (!IsSpecial(unit)) continue;
            m_text.Append(text.substr(written, i - written));
            WriteSpecial(unit);
            written = i + 1;
        }
        m_text.Append(text.substr(written));
        m_text.Append('"');
    }

    /// True for a unit that does not stand for itself; the halves of a pair do.
    bool IsSpecial(unsigned unit) const
    {
        if (unit < 0x20 || unit == '"' || unit == '\\') return true;
        if (IsHighSurrogate(unit) || IsLowSurrogate(unit)) return true;
        return m_options.HtmlSafe != 0 &&
               (unit == '<' || unit == '>' || unit == '&' || unit == 0x2028 || unit == 0x2029);
    }

    void WriteSpecial(unsigned unit)
    {
        if (IsHighSurrogate(unit) || IsLowSurrogate(unit)) return WriteLoneSurrogate(unit);
        switch (unit)
        {
            case '"': return m_text.Append(QZ_W("\\\""));
            case '\\': return m_text.Append(QZ_W("\\\\"));
            case '\b': return m_text.Append(QZ_W("\\b"));
            case '\f': return m_text.Append(QZ_W("\\f"));
            case '\n': return m_text.Append(QZ_W("\\n"));
            case '\r': return m_text.Append(QZ_W("\\r"));
            case '\t': return m_text.Append(QZ_W("\\t"));
            default: return WriteEscape(unit);
        }
    }

    void WriteLoneSurrogate(unsigned unit)
    {
        switch (m_options.LoneSurrogates)
        {
            case QZJsonLoneSurrogates::Replace: return m_text.Append(static_cast<QZWChar>(0xFFFD));
            case QZJsonLoneSurrogates::Escape: return WriteEscape(unit);
            case QZJsonLoneSurrogates::Refuse: break;
        }
        Refuse(QZ_W("a surrogate stands alone"));
    }

    void WriteEscape(unsigned unit)
    {
        m_text.Append(QZ_W("\\u"));
        for (int shift = 12; shift >= 0; shift -= 4)
            m_text.Append(static_cast<QZWChar>("0123456789ABCDEF"[unit >> shift & 15]));
    }

    const QZJsonWriteOptions m_options;
    TextBuilder m_text;
    std::vector<Level> m_levels;
};

/// Puts the text as UTF-8 behind the bytes. All surrogates of the text are pairs. QZEncoding does not know
/// the pairs that begin with U+D800, which is its kept behaviour.
void AppendUtf8(const TextBuilder& text, std::string* bytes)
{
    auto append = [bytes](unsigned byte) { bytes->push_back(static_cast<char>(byte)); };
    for (QZInt64 i = 0; i < text.Count(); ++i)
    {
        unsigned character = static_cast<unsigned>(text.Units()[i]);
        if (IsHighSurrogate(character))
        {
            const unsigned low = static_cast<unsigned>(text.Units()[++i]);
            character = 0x10000 + ((character - 0xD800) << 10) + (low - 0xDC00);
        }
        if (character < 0x80)
        {
            append(character);
            continue;
        }
        if (character < 0x800)
        {
            append(0xC0 | (character >> 6));
        }
        else
        {
            if (character < 0x10000)
            {
                append(0xE0 | (character >> 12));
            }
            else
            {
                append(0xF0 | (character >> 18));
                append(0x80 | ((character >> 12) & 0x3F));
            }
            append(0x80 | ((character >> 6) & 0x3F));
        }
        append(0x80 | (character & 0x3F));
    }
}

void CheckValue(QZJsonValue* value, const QZWChar* method)
{
    if (value != nullptr) return;
    throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::NullPointer), QZ_W("QZJson"), method)
        .Argument(QZ_W("QZJsonValue*"), static_cast<const char*>(nullptr))
        .Exception();
}
}  // namespace

QZString* QZJson::Write(QZJsonValue* value, const QZJsonWriteOptions& options)
{
    CheckValue(value, QZ_W("Write"));
    return Writer(options).Write(value).ToString();
}

QZData* QZJson::WriteUtf8(QZJsonValue* value, const QZJsonWriteOptions& options)
{
    CheckValue(value, QZ_W("WriteUtf8"));
    Writer writer(options);
    const TextBuilder& text = writer.Write(value);
    std::string bytes;
    AppendUtf8(text, &bytes);
    QZData* utf8 = QZDataFactory::CreateData();
    try
    {
        utf8->Set(bytes.data(), static_cast<QZInt64>(bytes.size()));
    }
    catch (QZException*)
    {
        QZDataFactory::Recycle(&utf8);
        throw;
    }
    return utf8;
}

QZJsonDecimal* QZJson::CreateNumber(double value)
{
    QZJsonDecimal* number = QZJsonFactory::CreateDecimal(0);
    number->SetDouble(value);
    return number;
}

QZJsonDecimal* QZJson::CreateInt64(QZInt64 value)
{
    QZJsonDecimal* number = QZJsonFactory::CreateDecimal(0);
    number->SetInt64(value);
    return number;
}

QZJsonDecimal* QZJson::CreateUInt64(QZUInt64 value)
{
    QZJsonDecimal* number = QZJsonFactory::CreateDecimal(0);
    number->SetUInt64(value);
    return number;
}
