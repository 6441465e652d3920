#ifndef QZLIB_NET_HTTP_GUARD_H
#define QZLIB_NET_HTTP_GUARD_H

#include "net/internal/net_http_text.h"

/// The refusal of texts that would split a message. Internal.
namespace http
{
/// Names the switch of the strict mode; the engine does so before anything else runs. Without a call the mode
/// is off.
bool WatchStrictMode(const QZByte* flag);

/// True when the host has set QZHttpServerEngine::Strict.
bool IsStrict();

/// True when the text has a carriage return, a line feed or a unit of 0.
bool SplitsMessage(Text text);

/// In strict mode refuses a text that would split the message it becomes a part of. In the other mode it does
/// nothing.
/// @throws QZException InvalidArgument
void RequireOneLine(const QZWChar* className, const QZWChar* method, Text text);
void RequireOneLine(const QZWChar* className, const QZWChar* method, const char* text);
}  // namespace http

#endif
