#ifndef QZLIB_NET_HTTP_REASON_H
#define QZLIB_NET_HTTP_REASON_H

#include "sys/sys_types.h"

/// The texts of all status codes. Internal.
namespace http
{
/// The text of QZHttpStatusCode, or in strict mode that of RFC 9110; null for a code without one.
const QZWChar* ReasonOf(int code);
}  // namespace http

#endif
