#ifndef QZLIB_NET_HTTP_HEAD_H
#define QZLIB_NET_HTTP_HEAD_H

#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_text_builder.h"
#include "fw/internal/fw_trace.h"
#include "net/internal/net_http_fields.h"
#include "net/net_http_constant.h"
#include "net/net_http_context.h"
#include "net/net_http_factory.h"

/// Reading and writing what requests and responses have in common: a head of lines, an empty line, the
/// content. The classes hand in what differs. Internal.
namespace http
{
/// A head under construction.
class HeadBuilder : public TextBuilder
{
public:
    // JSON text and heads share one builder, and hosts see these names in the trace when it has no memory to
    // grow.
    HeadBuilder() : TextBuilder(QZ_W("QZJsonFactory"), QZ_W("SerializeObject")) {}

    /// "Name: value" and a line end for each header.
    void AppendHeaders(QZHttpHeaderCollection* headers);
};

/// A new data object with the head as UTF-8 and the content after it.
QZData* ToBytes(const TextBuilder& head, QZData* content);

/// What GetHead of a message returns.
/// @param append  void(HeadBuilder*, Message*): appends the whole head with its empty line
template <typename Message, typename Append>
QZString* HeadToString(Message* message, Append append)
{
    HeadBuilder head;
    append(&head, message);
    return head.ToString();
}

/// What ToData of a message returns. Sets the header "Content-Length".
template <typename Message, typename Append>
QZData* MessageToData(Message* message, Append append)
{
    QZData* content = message->GetContent();
    SetHeaderValue(message->GetHeaders(), QZHttpConstant::HeaderNameContentLengthString, content->GetSize());
    HeadBuilder head;
    append(&head, message);
    return ToBytes(head, content);
}

/// Calls read(); an exception gets the trace of the class's Set with the data.
template <typename Read>
void TraceSet(const QZWChar* className, QZData* data, Read read)
{
    try
    {
        read();
    }
    catch (QZException* e)
    {
        QZTrace(e, className, QZ_W("Set")).Argument(QZ_W("QZData*"), data->GetPointer(), data->GetSize());
        throw;
    }
}

/// Reads a message with an empty line at the position `end`: its head with readHead(QZString*), and then the
/// bytes after the empty line as content.
template <typename ReadHead>
void ReadMessage(QZData* data, QZInt64 end, QZData* content, ReadHead readHead)
{
    const auto* bytes = static_cast<const unsigned char*>(data->GetPointer());
    const QZScopedString head(QZEncoding::GetString(QZEncodingType::UTF8, bytes, end));
    readHead(head.Get());
    const QZInt64 start = end + QZHttpConstant::EmptyLine->GetSize();
    content->Set(bytes + start, data->GetSize() - start);
}

/// What SetHead of a message does. It reads a copy: the text may be one of the message's own strings, all of
/// which change while the head is read.
template <typename ReadHead>
void SetHead(QZString* head, ReadHead readHead)
{
    const QZScopedString copy(QZStringFactory::CreateString(head));
    readHead(copy.Get());
}

/// Calls parse(head); an exception gets the trace of the class's SetHead with the text.
template <typename Parse>
void TraceSetHead(const QZWChar* className, QZString* head, Parse parse)
{
    try
    {
        parse(head);
    }
    catch (QZException* e)
    {
        const Text text(head);
        QZTrace(e, className, QZ_W("SetHead")).Argument(QZ_W("QZString*"), text.units, text.count * 2);
        throw;
    }
}

/// Replaces the headers and cookies of a message by those of the remaining lines, up to an empty one.
/// @param parseLine  void(Text): takes a trimmed line
template <typename ParseLine>
void ReadLines(Pieces* lines, QZHttpHeaderCollection* headers, QZHttpCookieCollection* cookies,
               ParseLine parseLine)
{
    QZHttpFactory::Clear(cookies);
    QZHttpFactory::Clear(headers);
    Text line(nullptr, 0);
    while (lines->Next(&line))
    {
        line = line.Trimmed();
        if (line.IsEmpty()) break;
        parseLine(line);
    }
}
}  // namespace http

#endif
