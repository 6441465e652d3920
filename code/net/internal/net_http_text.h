#ifndef QZLIB_NET_HTTP_TEXT_H
#define QZLIB_NET_HTTP_TEXT_H

#include <string_view>

#include "fw/internal/fw_string_internal.h"

/// Reading of the text in a message's head, without the message classes. Internal.
namespace http
{
/// Text of any kind that is read and not kept: a string object, wide text or a part of either.
struct Text : text::View
{
    Text(QZString* string) : View(text::ViewOf(string)) {}
    Text(const QZWChar* wide) : View(text::ViewOf(wide)) {}
    Text(const QZWChar* start, QZInt64 length) : View{start, length} {}

    bool IsEmpty() const { return count == 0; }
    Text From(QZInt64 start) const { return {units + start, count - start}; }
    Text Front(QZInt64 length) const { return {units, length}; }

    /// The first position of the unit, or -1.
    QZInt64 Find(char unit) const;
    bool Contains(std::string_view ascii) const;
    /// Equality that ignores the case of A to Z.
    bool Is(Text other) const;
    /// True when the text begins with lower-case ASCII text, ignoring its own case.
    bool StartsWith(std::string_view ascii) const;
    /// What QZString::Trim leaves.
    Text Trimmed() const;
};

/// The pieces of a text between separators, one after another. The text after the last separator is the last
/// piece, even when it is empty.
class Pieces
{
public:
    /// @param separator  one unit; '\n' stands for the line end CR LF
    Pieces(Text text, char separator) : m_rest(text), m_separator(separator) {}

    /// False when there is no further piece.
    bool Next(Text* piece);

private:
    Text m_rest;
    char m_separator;
    bool m_done = false;
};

inline void Assign(QZString* target, Text text) { target->Set(text.units, text.count * 2); }

/// Splits a header line at its first colon and trims both sides. A line without a colon, or with one at its
/// start, leaves both strings as they were.
void ReadHeader(QZString* name, QZString* value, Text line);

/// The strings of one cookie.
struct CookieStrings
{
    QZString* name;
    QZString* value;
    QZString* domain;
    QZString* path;
    QZString* expires;
};

/// Reads "name=value; path=...; domain=...; expires=...". Pieces without an equals sign and all other
/// attributes are ignored. Strings that the text does not mention stay as they were.
void ReadCookie(const CookieStrings& cookie, Text text);
}  // namespace http

#endif
