#ifndef QZLIB_NET_HTTP_RETRY_H
#define QZLIB_NET_HTTP_RETRY_H

/// How QZHttpClient tries a failed request again. Internal.
namespace http
{
/// The number of further attempts.
inline constexpr int kRetries = 3;
/// The pause before each of them, in milliseconds. Tests shorten the pauses.
inline int g_retryPauses[kRetries] = {1000, 3000, 5000};
}  // namespace http

#endif
