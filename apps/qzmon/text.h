#ifndef QZLIB_APPS_QZMON_TEXT_H
#define QZLIB_APPS_QZMON_TEXT_H

#include <qzlib.h>

#include <string>
#include <string_view>

namespace qzmon
{

/// What the caller did wrong or cannot have, with the HTTP status that says so.
struct Failure
{
    int status;
    std::string text;
};

std::string Utf8(QZString* text);
QZString Text(std::string_view utf8);

/// The message of an exception as one line; the exception is given back.
std::string TakeMessage(QZException* exception);

/// "2024-05-06 07:08:09.123" and "07:08:09" of a timestamp of the library.
std::string TimeText(QZInt64 timestamp);
std::string ClockText(QZInt64 timestamp);

/// The shortest digits that make the number; "0" for what is no number.
std::string NumberText(double value);
/// With so many digits behind the point.
std::string FixedText(double value, int digits);
/// "12.3 MB".
std::string SizeText(QZInt64 bytes);

/// A number that fills the whole text; false otherwise.
bool ParseNumber(const std::string& text, double* value);
bool ParseInteger(const std::string& text, QZInt64* value);

/// Text between the tags of a page.
std::string HtmlText(std::string_view text);

/// JSON text, put together from left to right.
class Json
{
public:
    Json& Open(const char* name = nullptr) { return Begin('{', name); }
    Json& Close() { return End('}'); }
    Json& OpenList(const char* name = nullptr) { return Begin('[', name); }
    Json& CloseList() { return End(']'); }
    Json& Add(const char* name, std::string_view text);
    Json& Add(const char* name, const char* text) { return Add(name, std::string_view(text)); }
    Json& Add(const char* name, QZInt64 value);
    Json& Add(const char* name, int value) { return Add(name, static_cast<QZInt64>(value)); }
    Json& Add(const char* name, double value);
    Json& Add(const char* name, bool value);
    Json& Item(std::string_view text) { return Add(nullptr, text); }
    Json& Item(double value) { return Add(nullptr, value); }
    const std::string& Str() const { return m_text; }

private:
    void Name(const char* name);
    void Quote(std::string_view text);
    Json& Begin(char bracket, const char* name);
    Json& End(char bracket);

    std::string m_text;
    bool m_first = true;
};

}  // namespace qzmon

#endif
