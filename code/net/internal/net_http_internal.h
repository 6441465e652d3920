#ifndef QZLIB_NET_NET_HTTP_INTERNAL_H
#define QZLIB_NET_NET_HTTP_INTERNAL_H

#include <string_view>

#include "fw/fw_library.h"
#include "fw/internal/fw_string_internal.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_json_internal.h"
#include "net/net_http_context.h"
#include "net/net_http_factory.h"

/// What the library's own sources do with HTTP messages and hosts do not. Internal.
namespace http
{
/// Text of any kind that is looked at and not kept: a string object, wide text or a part of either.
struct Text : text::View
{
    Text(QZString* string) : View(text::ViewOf(string)) {}
    Text(const QZWChar* wide) : View(text::ViewOf(wide)) {}
    Text(const QZWChar* start, QZInt64 length) : View{start, length} {}

    bool IsEmpty() const { return count == 0; }
    Text From(QZInt64 start) const { return {units + start, count - start}; }
    Text Front(QZInt64 length) const { return {units, length}; }

    /// The first place of the unit, or -1.
    QZInt64 Find(char unit) const;
    bool Contains(std::string_view ascii) const;
    /// Ignoring the case of A to Z.
    bool Is(Text other) const;
    bool StartsWith(std::string_view ascii) const;
    /// What QZString::Trim leaves over.
    Text Trimmed() const;
};

/// The pieces of a text between separators, one after the other. What follows the last separator is the last
/// piece, even when it is empty.
class Pieces
{
public:
    /// @param separator  one unit, or CR LF for '\n'
    Pieces(Text text, char separator) : m_rest(text), m_separator(separator) {}

    /// False when there is no further piece.
    bool Next(Text* piece);

private:
    Text m_rest;
    char m_separator;
    bool m_done = false;
};

inline void Assign(QZString* target, Text text) { target->Set(text.units, text.count * 2); }

/// What QZHttpHeader::Set and QZHttpCookie::Set do with their texts.
void ReadHeader(QZHttpHeader* header, Text line);
void ReadCookie(QZHttpCookie* cookie, Text text);

/// Makes a header or cookie of a text and keeps it locked at the collection's end. Headers without a name are
/// dropped, cookies without one unless they are wanted.
void AddHeader(QZHttpHeaderCollection* headers, Text line);
void AddCookie(QZHttpCookieCollection* cookies, Text text, bool nameless);

/// The first header of the name, ignoring the case of A to Z; null when there is none.
QZHttpHeader* FindHeader(QZHttpHeaderCollection* headers, Text name);
bool HasHeader(QZHttpHeaderCollection* headers, Text name);

/// Takes the first header of the name out and gives it back to the factory; whether there was one.
bool RemoveHeader(QZHttpHeaderCollection* headers, Text name);

/// Gives the first header of the name its value, or adds a locked header at the end. Numbers go in as decimal
/// text.
void SetHeaderValue(QZHttpHeaderCollection* headers, Text name, Text value);
void SetHeaderValue(QZHttpHeaderCollection* headers, Text name, QZInt64 value);

/// The same for cookies, by name.
QZHttpCookie* FindCookie(QZHttpCookieCollection* cookies, Text name);
void SetCookieValue(QZHttpCookieCollection* cookies, Text name, Text value);
void SetCookieValue(QZHttpCookieCollection* cookies, Text name, QZInt64 value);

/// The times of a message, to be filled by whoever serves it.
QZHttpStamps& StampsOf(QZHttpContext* context);

inline void Put(JsonText* to, QZString* text) { to->Append(text->GetPointer(), text->GetLength()); }

template <std::size_t N>
void Put(JsonText* to, const QZWChar (&literal)[N])
{
    to->Append(literal, static_cast<QZInt64>(N - 1));
}

/// "Name: value" and a line end for each header.
void PutHeaders(JsonText* to, QZHttpHeaderCollection* headers);

/// Head text as UTF-8 with the content behind it, new data.
QZData* ToBytes(const JsonText& head, QZData* content);

/// Gives back what is neither a part of the caller nor locked by somebody else; clears the variable in any
/// case.
template <typename T, typename GiveBack>
void RecycleForeign(T** variable, bool own, GiveBack giveBack)
{
    if (*variable && (own || !(*variable)->IsDisposable()))
        *variable = nullptr;
    else
        giveBack(variable);
}

/// For what no factory takes back. A null in the variable is a QZLibAssert(false).
template <typename T>
void Delete(T** variable)
{
    if (!*variable) QZLibAssert(0);
    delete *variable;
    *variable = nullptr;
}

/// Locks a part for the time of its owner's life.
inline void Own(QZObject* part, QZUInt64 owner) { part->SetDisposable(owner, 0); }
inline void Disown(QZObject* part, QZUInt64 owner) { part->SetDisposable(owner, 1); }

/// The cache of connections, made with the factory's other caches.
QZObjectCache* NewConnectCache(QZInt64 limit);
}  // namespace http

/// The library's way to a message's times.
struct QZHttpAccess
{
    static QZHttpStamps& Stamps(QZHttpContext* context) { return context->m_stamps; }
};

#endif
