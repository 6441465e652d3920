#ifndef QZLIB_NET_HTTP_APPEND_RESULT_H
#define QZLIB_NET_HTTP_APPEND_RESULT_H

#include "sys/sys_types.h"

/// Results of QZHttpConnect::AppendRequestData. Internal.
namespace http
{
inline constexpr QZInt64 kNoError = 0;
inline constexpr QZInt64 kBadFirstByte = 512;
inline constexpr QZInt64 kHeadTooLarge = 547;
}  // namespace http

#endif
