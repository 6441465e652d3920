#ifndef QZLIB_NET_NET_HTTP_EXCHANGE_H
#define QZLIB_NET_NET_HTTP_EXCHANGE_H

#include "fw/fw_data.h"
#include "sys/sys_types.h"

class QZHttpRequest;
class QZHttpResponse;
class QZSocketClient;

namespace http
{
/// Tries after the first one, and the milliseconds of the pauses before them. Tests shorten the pauses.
inline constexpr int kRetries = 3;
extern int g_retryPauses[kRetries];

/// One request and its response over a socket. Internal.
class Exchange
{
public:
    explicit Exchange(QZSocketClient* socket) : m_socket(socket) {}
    ~Exchange();
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    void Send(QZHttpRequest* request);

    /// The response, complete as far as its head tells how long it is; the caller's from here on.
    /// @throws QZException for a head that names a transfer encoding in another place than its header, and
    ///         what socket and response throw
    QZHttpResponse* Receive();

private:
    enum class Reading
    {
        Goes,
        Ends,
        Chunked,
    };

    Reading TakeHead(const unsigned char* bytes, QZInt64 count);
    bool IsChunked();
    void Reserve(QZInt64 size);
    void ReceiveChunks(unsigned char* buffer);

    QZSocketClient* m_socket;
    QZHttpResponse* m_response = nullptr;
    QZData m_head;
    QZInt64 m_headEnd = -1;
    QZInt64 m_expected = -1;
};
}  // namespace http

#endif
