// Writing JSON: values as text, and the two operations on JSON text that do not parse it.

#include <algorithm>
#include <vector>

#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_text_builder.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_characters.h"
#include "net/internal/net_json_access.h"
#include "net/internal/net_json_list.h"

namespace
{
/// JSON text under construction. Format and Minify give the same trace as SerializeObject when there is no
/// memory.
class JsonBuilder : public TextBuilder
{
public:
    JsonBuilder() : TextBuilder(QZ_W("QZJsonFactory"), QZ_W("SerializeObject")) {}
};

bool IsBlank(JsonView text) { return std::all_of(text.begin(), text.end(), net::IsWhiteSpace); }

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
    QZString* Write(QZJsonValue* root)
    {
        WriteValue(root, false);
        while (!m_levels.empty()) Step();
        return m_text.ToString();
    }

private:
    /// Appends a leaf, or opens an array or object.
    /// @param skipBlank  a text of white space alone is not written
    void WriteValue(QZJsonValue* value, bool skipBlank)
    {
        if (auto* text = As<QZJsonString>(value))
        {
            m_text.Append('"');
            m_text.Append(QZJsonAccess::TextOf(text));
            m_text.Append('"');
        }
        else if (As<QZJsonDecimal>(value) || As<QZJsonBool>(value))
        {
            WriteText(QZJsonAccess::TextOf(value), skipBlank);
        }
        else if (auto* object = As<QZJsonObject>(value))
        {
            m_text.Append('{');
            m_levels.push_back({nullptr, object, nullptr, 0, object->AttrCount()});
        }
        else if (auto* list = As<QZJsonValueCollection>(value))
        {
            m_text.Append('[');
            m_levels.push_back({list, nullptr, JsonList::First(list), 0, list->Count()});
        }
        else if (As<QZJsonNull>(value))
        {
            m_text.Append(QZ_W("null"));
        }
        else if (As<QZJsonValue>(value) == nullptr)
        {
            // A host's own class writes itself.
            QZString* own = value->ToString();
            WriteText(JsonViewOf(own), skipBlank);
            value->Recycle(&own);
        }
    }

    void WriteText(JsonView text, bool skipBlank)
    {
        if (!skipBlank || !IsBlank(text)) m_text.Append(text);
    }

    /// Writes the next value of the innermost array or object, or its end.
    void Step()
    {
        Level& level = m_levels.back();
        if (level.index == level.count)
        {
            m_text.Append(level.object != nullptr ? '}' : ']');
            m_levels.pop_back();
            return;
        }
        if (level.index > 0) m_text.Append(',');
        const QZInt64 index = level.index++;
        if (level.object == nullptr)
        {
            QZObject* item = level.item;
            level.item = item->LinkNext();
            WriteValue(static_cast<QZJsonValue*>(item), false);
            return;
        }
        QZJsonObject* object = level.object;
        m_text.Append('"');
        m_text.Append(QZJsonAccess::AttributesOf(object)->NameAt(index));
        m_text.Append(QZ_W("\":"));
        WriteValue(object->GetAttrValue(index), true);
    }

    JsonBuilder m_text;
    std::vector<Level> m_levels;
};

[[noreturn]] void ThrowNull(const QZWChar* method, const QZWChar* type)
{
    QZRaise(QZExceptionCode::NullPointer, QZ_W("QZJsonFactory"), method)
        .Argument(type, static_cast<const char*>(nullptr))
        .Throw();
}

bool IsOpening(QZWChar unit) { return unit == '{' || unit == '['; }
bool IsClosing(QZWChar unit) { return unit == '}' || unit == ']'; }
}  // namespace

QZString* JsonToText(QZJsonValue* value) { return Writer().Write(value); }

QZString* QZJsonFactory::SerializeObject(QZJsonValue* value)
{
    if (value == nullptr) ThrowNull(QZ_W("SerializeObject"), QZ_W("QZJsonValue*"));
    return value->ToString();
}

namespace
{
/// A copy of the text with its line ends, without its tabs.
QZString* BrokenIntoLines(QZString* text)
{
    QZScopedString lines(QZStringFactory::CreateString(text));
    lines->ReplaceThis(QZ_W("{"), QZ_W("{\r\n"));
    lines->ReplaceThis(QZ_W("["), QZ_W("[\r\n"));
    lines->ReplaceThis(QZ_W(","), QZ_W(",\r\n"));
    lines->ReplaceThis(QZ_W("}"), QZ_W("\r\n}"));
    lines->ReplaceThis(QZ_W("]"), QZ_W("\r\n]"));
    // Empty arrays and arrays of objects get no line end.
    lines->ReplaceThis(QZ_W("[\r\n\r\n]"), QZ_W("[]"));
    lines->ReplaceThis(QZ_W("[\r\n{"), QZ_W("[{"));
    lines->ReplaceThis(QZ_W(",\r\n{"), QZ_W(",{"));

    return lines.Release();
}

/// Calls visit for every unit of the lines, with the number of tabs behind it.
template <typename Visit>
void VisitLines(QZString* lines, Visit visit)
{
    const QZWChar* units = lines->GetPointer();
    const QZInt64 length = lines->GetLength();
    QZInt64 depth = 1;
    for (QZInt64 i = 0; i < length; ++i)
    {
        if (IsOpening(units[i])) ++depth;
        // After the last unit stands the terminator of the string.
        if (IsClosing(units[i + 1])) --depth;
        visit(units[i], units[i] == '\n' && depth > 1 ? depth - 1 : 0);
    }
}

/// The formatted text; null when it would have more units than that. Its length is known before it is built,
/// since the tabs of a deeply nested text would fill any memory.
QZString* Formatted(QZString* text, QZInt64 longest)
{
    const QZScopedString lines(BrokenIntoLines(text));
    QZInt64 length = 0;
    VisitLines(lines.Get(), [&](QZWChar, QZInt64 tabs) {
        if (length <= longest) length += 1 + tabs;
    });
    if (length > longest) return nullptr;
    JsonBuilder indented;
    VisitLines(lines.Get(), [&](QZWChar unit, QZInt64 tabs) {
        indented.Append(unit);
        for (; tabs > 0; --tabs) indented.Append('\t');
    });
    return indented.ToString();
}
}  // namespace

QZString* QZJsonFactory::Format(QZString* text)
{
    if (text == nullptr) ThrowNull(QZ_W("Format"), QZ_W("QZString*"));
    constexpr QZInt64 kLongest = QZInt64{1} << 30;
    QZString* formatted = Formatted(text, kLongest);
    if (formatted == nullptr)
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::OutOfMemory),
                      QZ_W("QZJsonFactory"), QZ_W("SerializeObject"))
            .Exception();
    return formatted;
}

QZBool QZJsonFactory::TryFormat(QZString* text, QZInt64 longest, QZString** result)
{
    if (text == nullptr) ThrowNull(QZ_W("TryFormat"), QZ_W("QZString*"));
    QZString* formatted = Formatted(text, longest);
    if (formatted == nullptr) return 0;
    *result = formatted;
    return 1;
}

QZString* QZJsonFactory::Minify(QZString* text)
{
    if (text == nullptr) ThrowNull(QZ_W("Minify"), QZ_W("QZString*"));
    JsonBuilder result;
    const QZWChar* units = text->GetPointer();
    const QZInt64 length = text->GetLength();
    // From the first such unit to the end of the text. Strings are not recognised, so their blanks go too.
    bool dropBlanks = false;
    for (QZInt64 i = 0; i < length; ++i)
    {
        const QZWChar unit = units[i];
        const bool lineEnd = unit == '\r' || unit == '\n';
        if (lineEnd || IsOpening(unit) || IsClosing(unit) || unit == ',') dropBlanks = true;
        if (lineEnd || (dropBlanks && (unit == ' ' || unit == '\t'))) continue;
        result.Append(unit);
    }
    return result.ToString();
}
