#ifndef QZLIB_APPS_QZMON_JSON_WRITER_H
#define QZLIB_APPS_QZMON_JSON_WRITER_H

#include <vector>

#include "common/owned.h"
#include "text.h"

namespace qzmon
{

/// Builds a JSON value from left to right and writes it with QZJson, so that it can also stand in a page.
/// Texts are UTF-8; bytes that are no UTF-8 become U+FFFD. A number that is not finite is null. The outermost
/// value is an object or a list.
class JsonWriter
{
public:
    JsonWriter& Open(const char* name = nullptr);
    JsonWriter& OpenList(const char* name = nullptr);
    JsonWriter& Close() { return End(); }
    JsonWriter& CloseList() { return End(); }
    JsonWriter& Add(const char* name, std::string_view text);
    JsonWriter& Add(const char* name, const char* text) { return Add(name, std::string_view(text)); }
    JsonWriter& Add(const char* name, QZInt64 value);
    JsonWriter& Add(const char* name, int value) { return Add(name, static_cast<QZInt64>(value)); }
    JsonWriter& Add(const char* name, double value);
    JsonWriter& Add(const char* name, bool value);
    JsonWriter& Item(std::string_view text) { return Add(nullptr, text); }
    JsonWriter& Item(double value) { return Add(nullptr, value); }
    std::string Str() const;

private:
    /// Puts a value into the innermost open object, under the name, or list.
    void Put(const char* name, QZJsonValue* value);
    JsonWriter& Begin(const char* name, QZJsonValue* container);
    JsonWriter& End();

    qzapp::OwnedJson m_root;
    /// The objects and lists that are open.
    std::vector<QZJsonValue*> m_open;
};

}  // namespace qzmon

#endif
