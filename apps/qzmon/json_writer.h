#ifndef QZLIB_APPS_QZMON_JSON_WRITER_H
#define QZLIB_APPS_QZMON_JSON_WRITER_H

#include "text.h"

namespace qzmon
{

/// Writes a JSON text from left to right. Texts are UTF-8. Everything in them is escaped that a reader could
/// take for something else: quotes, backslashes, control characters, line separators, and what begins or ends
/// a tag or an entity of a page. Bytes that are no UTF-8 become U+FFFD. A number that is not finite is null.
class JsonWriter
{
public:
    JsonWriter& Open(const char* name = nullptr) { return Begin('{', name); }
    JsonWriter& Close() { return End('}'); }
    JsonWriter& OpenList(const char* name = nullptr) { return Begin('[', name); }
    JsonWriter& CloseList() { return End(']'); }
    JsonWriter& Add(const char* name, std::string_view text);
    JsonWriter& Add(const char* name, const char* text) { return Add(name, std::string_view(text)); }
    JsonWriter& Add(const char* name, QZInt64 value);
    JsonWriter& Add(const char* name, int value) { return Add(name, static_cast<QZInt64>(value)); }
    JsonWriter& Add(const char* name, double value);
    JsonWriter& Add(const char* name, bool value);
    JsonWriter& Item(std::string_view text) { return Add(nullptr, text); }
    JsonWriter& Item(double value) { return Add(nullptr, value); }
    const std::string& Str() const { return m_text; }

private:
    void Name(const char* name);
    void Quote(std::string_view text);
    void Escape(unsigned unit);
    JsonWriter& Begin(char bracket, const char* name);
    JsonWriter& End(char bracket);

    std::string m_text;
    bool m_first = true;
};

}  // namespace qzmon

#endif
