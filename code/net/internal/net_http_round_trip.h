#ifndef QZLIB_NET_HTTP_ROUND_TRIP_H
#define QZLIB_NET_HTTP_ROUND_TRIP_H

#include "fw/fw_data.h"
#include "sys/sys_types.h"

class QZHttpRequest;
class QZHttpResponse;
class QZSocketClient;

namespace http
{
/// Sends one request over a socket and receives the response. Internal.
class RoundTrip
{
public:
    explicit RoundTrip(QZSocketClient* socket) : m_socket(socket) {}
    ~RoundTrip();
    RoundTrip(const RoundTrip&) = delete;
    RoundTrip& operator=(const RoundTrip&) = delete;

    void Send(QZHttpRequest* request);

    /// A new response, which belongs to the caller. It is complete when its head states the length or chunks;
    /// otherwise it ends with the first bytes received after the head.
    /// @throws QZException for a head that contains the name "Transfer-Encoding" outside a header of that
    ///         name; what socket and response throw
    QZHttpResponse* Receive();

private:
    enum class Reading
    {
        Continues,
        Complete,
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
