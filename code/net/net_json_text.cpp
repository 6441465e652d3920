#include <algorithm>
#include <vector>

#include "fw/fw_exception_code.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_json_internal.h"

// Writing: values to text, and the two operations on JSON text that do not parse it.

JsonText::~JsonText()
{
    if (m_units != m_inline) MemoryFree(m_units);
}

void JsonText::Grow(QZInt64 count)
{
    const QZInt64 capacity = std::max(m_capacity * 2, m_count + count);
    void* units = m_units == m_inline ? MemoryAllocate(capacity * 2) : MemoryResize(m_units, capacity * 2);
    if (!units)
        throw QZTrace(QZExceptionFactory::CreateException(QZLastErrorOr(QZExceptionCode::OutOfMemory)),
                      QZ_W("QZJsonFactory"), QZ_W("SerializeObject"))
            .Exception();
    if (m_units == m_inline) QZMemCopy(units, m_inline, m_count * 2);
    m_units = static_cast<QZWChar*>(units);
    m_capacity = capacity;
}

QZString* JsonText::ToString() const { return QZStringFactory::CreateString(m_units, m_count * 2); }

namespace
{
bool IsBlank(JsonView text)
{
    return std::all_of(text.begin(), text.end(), [](QZWChar unit) {
        return unit == 0 || unit == ' ' || (unit >= '\t' && unit <= '\r');
    });
}

/// One array or object on its way out, with the place that comes next.
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
    /// @param blankIsNothing  a text of white space alone is left out
    void WriteValue(QZJsonValue* value, bool blankIsNothing)
    {
        if (auto* text = As<QZJsonString>(value))
        {
            m_text.Append('"');
            m_text.Append(QZJsonAccess::TextOf(text));
            m_text.Append('"');
        }
        else if (As<QZJsonDecimal>(value) || As<QZJsonBool>(value))
        {
            WriteText(QZJsonAccess::TextOf(value), blankIsNothing);
        }
        else if (auto* object = As<QZJsonObject>(value))
        {
            m_text.Append('{');
            m_levels.push_back({nullptr, object, nullptr, 0, object->AttrCount()});
        }
        else if (auto* list = As<QZJsonValueCollection>(value))
        {
            m_text.Append('[');
            m_levels.push_back({list, nullptr, QZJsonAccess::ListOf(list)->GetFirst(), 0, list->Count()});
        }
        else if (As<QZJsonNull>(value))
        {
            m_text.Append(QZ_W("null"), 4);
        }
        else if (!As<QZJsonValue>(value))
        {
            // A class of the host's own writes itself.
            QZString* own = value->ToString();
            WriteText({own->GetPointer(), static_cast<std::size_t>(own->GetLength())}, blankIsNothing);
            value->Recycle(&own);
        }
    }

    void WriteText(JsonView text, bool blankIsNothing)
    {
        if (!blankIsNothing || !IsBlank(text)) m_text.Append(text);
    }

    /// The next value of the innermost array or object, or its end.
    void Step()
    {
        Level& level = m_levels.back();
        if (level.index == level.count)
        {
            m_text.Append(level.object ? '}' : ']');
            m_levels.pop_back();
            return;
        }
        if (level.index > 0) m_text.Append(',');
        const QZInt64 index = level.index++;
        if (!level.object)
        {
            QZObject* item = level.item;
            level.item = item->LinkNext();
            WriteValue(static_cast<QZJsonValue*>(item), false);
            return;
        }
        QZJsonObject* object = level.object;
        m_text.Append('"');
        m_text.Append(QZJsonAccess::AttributesOf(object)->NameAt(index));
        m_text.Append(QZ_W("\":"), 2);
        WriteValue(object->GetAttrValue(index), true);
    }

    JsonText m_text;
    std::vector<Level> m_levels;
};

[[noreturn]] void ThrowNull(const QZWChar* method, const QZWChar* type)
{
    throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::NullPointer), QZ_W("QZJsonFactory"),
                  method)
        .Argument(type, static_cast<const char*>(nullptr))
        .Exception();
}

bool IsOpening(QZWChar unit) { return unit == '{' || unit == '['; }
bool IsClosing(QZWChar unit) { return unit == '}' || unit == ']'; }
}  // namespace

QZString* JsonToText(QZJsonValue* value) { return Writer().Write(value); }

QZString* QZJsonFactory::SerializeObject(QZJsonValue* value)
{
    if (!value) ThrowNull(QZ_W("SerializeObject"), QZ_W("QZJsonValue*"));
    return value->ToString();
}

QZString* QZJsonFactory::Format(QZString* text)
{
    if (!text) ThrowNull(QZ_W("Format"), QZ_W("QZString*"));
    QZString* lines = QZStringFactory::CreateString(text);
    try
    {
        lines->ReplaceThis(QZ_W("{"), QZ_W("{\r\n"));
        lines->ReplaceThis(QZ_W("["), QZ_W("[\r\n"));
        lines->ReplaceThis(QZ_W(","), QZ_W(",\r\n"));
        lines->ReplaceThis(QZ_W("}"), QZ_W("\r\n}"));
        lines->ReplaceThis(QZ_W("]"), QZ_W("\r\n]"));
        // Empty arrays and arrays of objects come together again.
        lines->ReplaceThis(QZ_W("[\r\n\r\n]"), QZ_W("[]"));
        lines->ReplaceThis(QZ_W("[\r\n{"), QZ_W("[{"));
        lines->ReplaceThis(QZ_W(",\r\n{"), QZ_W(",{"));

        JsonText indented;
        const QZWChar* units = lines->GetPointer();
        const QZInt64 length = lines->GetLength();
        QZInt64 depth = 1;
        for (QZInt64 i = 0; i < length; ++i)
        {
            if (IsOpening(units[i])) ++depth;
            // The string's terminator stands behind the last unit.
            if (IsClosing(units[i + 1])) --depth;
            indented.Append(units[i]);
            if (units[i] != '\n') continue;
            for (QZInt64 tab = 1; tab < depth; ++tab) indented.Append('\t');
        }
        QZString* result = indented.ToString();
        QZStringFactory::Recycle(&lines);
        return result;
    }
    catch (QZException*)
    {
        QZStringFactory::Recycle(&lines);
        throw;
    }
}

QZString* QZJsonFactory::Minify(QZString* text)
{
    if (!text) ThrowNull(QZ_W("Minify"), QZ_W("QZString*"));
    JsonText result;
    const QZWChar* units = text->GetPointer();
    const QZInt64 length = text->GetLength();
    // Once on it stays on, and strings are not looked at: their blanks go as well.
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
