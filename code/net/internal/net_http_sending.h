#ifndef QZLIB_NET_HTTP_SENDING_H
#define QZLIB_NET_HTTP_SENDING_H

/// How SendResponse learns that the client wants a head without its body. Internal.
namespace http
{
/// While it lives, SendResponse on this thread sends heads only. The operation is virtual and hosts override
/// it, so the wish cannot be an argument.
class HeadOnly
{
public:
    explicit HeadOnly(bool wanted);
    ~HeadOnly();
    HeadOnly(const HeadOnly&) = delete;
    HeadOnly& operator=(const HeadOnly&) = delete;

    static bool IsWanted();

private:
    bool m_before;
};
}  // namespace http

#endif
