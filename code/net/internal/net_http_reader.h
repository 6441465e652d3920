#ifndef QZLIB_NET_HTTP_READER_H
#define QZLIB_NET_HTTP_READER_H

#include <string>
#include <string_view>
#include <vector>

#include "net/internal/net_http_target.h"
#include "sys/sys_types.h"

/// The reader of the strict server. Internal.
namespace http
{
/// What a reader accepts; 0 or less stands for no limit.
struct ReaderLimits
{
    /// Bytes of a head before its empty line, or of the trailers of a body in chunks.
    QZInt64 head = 4096;
    /// Header lines of a head, and of the trailers.
    QZInt64 fields = 100;
    /// Bytes of a body.
    QZInt64 body = 0;
    /// The first line of a connection may be a PROXY line.
    bool proxyLine = false;
};

/// Reads the requests of one connection from bytes in any pieces, by the rules of RFC 9112.
///
/// Read takes bytes until a request is complete or refused. Next makes the reader ready for the following
/// request. What comes out depends on the bytes alone, not on how they are cut into pieces. The reader does
/// no input or output and knows no time.
class RequestReader
{
public:
    /// Where the reader stands.
    enum class Stage
    {
        Start,     ///< no byte of the request has arrived
        Head,      ///< part of the head, or of the lines before it
        Body,      ///< the head is complete, the body is not
        Complete,  ///< the request is complete
        Refused,   ///< the request breaks a rule; nothing after it is read
    };

    struct Field
    {
        std::string_view name;
        std::string_view value;
    };

    RequestReader() = default;
    RequestReader(const RequestReader&) = delete;
    RequestReader& operator=(const RequestReader&) = delete;

    /// Makes the reader ready for the first request of a connection.
    void Start(const ReaderLimits& limits);
    /// Makes the reader ready for the request after a complete one.
    void Next();

    /// Takes bytes and returns how many it took: all, unless the request is complete or refused.
    std::size_t Read(const char* bytes, std::size_t size);

    Stage At() const { return m_stage; }
    /// The status of a refused request; 0 before.
    int Status() const { return m_status; }

    // The following are valid when the stage is Body or Complete, until Next or Start.

    std::string_view Method() const { return Part(m_method); }
    std::string_view TargetText() const { return Part(m_targetText); }
    const Target& RequestTarget() const { return m_target; }
    /// The path in UTF-8; "*" for the asterisk form, and empty for the authority form and a forbidden path.
    const std::string& Path() const { return m_path; }
    /// True for a request that is whole but asks for a path that no page may see.
    bool IsForbidden() const { return m_verdict == PathVerdict::Forbidden; }
    /// 1 for HTTP/1.1, 0 for HTTP/1.0.
    int MinorVersion() const { return m_minor; }
    std::size_t FieldCount() const { return m_fields.size(); }
    Field FieldAt(std::size_t index) const;
    /// The head with its empty line.
    std::string_view HeadBytes() const { return m_head; }
    /// The body, without the framing of chunks.
    const std::string& BodyBytes() const { return m_body; }
    /// True when the client waits for the status 100 before it sends the body.
    bool ExpectsContinue() const
    {
        return m_continue && m_stage == Stage::Body && m_body.empty() && !m_begun;
    }
    /// True when the client keeps the connection open after the response.
    bool KeepsAlive() const { return m_keepAlive; }
    /// The client's address in the PROXY line of the connection; empty without one.
    const std::string& ProxyAddress() const { return m_proxyAddress; }

private:
    /// What the next byte belongs to.
    enum class Expected
    {
        RequestLine,
        FieldLine,
        Data,       ///< of a body with a length, or of a chunk
        ChunkSize,  ///< a size line
        ChunkEnd,   ///< the line end after a chunk
        Trailer,
    };

    /// A part of the head.
    struct Span
    {
        std::size_t at = 0;
        std::size_t size = 0;
    };

    std::string_view Part(Span span) const { return std::string_view(m_head).substr(span.at, span.size); }
    void Clear();
    void Refuse(int status);

    std::size_t ReadLine(std::string_view bytes);
    std::size_t LineLimit() const;
    int LineTooLong() const;
    void EndLine(std::string_view line);
    void EndRequestLine(std::string_view line);
    void EndProxyLine(std::string_view line);
    bool SplitRequestLine(std::string_view line);
    bool SplitField(std::string_view line, Span* name, Span* value) const;
    void EndField(std::string_view line);
    void EndTrailer(std::string_view line);
    void EndChunkSize(std::string_view line);
    std::size_t ReadData(std::string_view bytes);

    void EndHead();
    int Judge();
    int JudgeHost();
    int JudgeTarget();
    int JudgeFraming();
    int JudgeLength(std::string_view value);
    int JudgeExpect();
    void BeginBody();
    std::size_t CountOf(std::string_view lower, std::string_view* value) const;

    ReaderLimits m_limits;
    Stage m_stage = Stage::Start;
    Expected m_expected = Expected::RequestLine;
    int m_status = 0;
    /// The lines of the head. Lines before the request line are taken out again.
    std::string m_head;
    /// Where the current line of the head begins.
    std::size_t m_lineStart = 0;
    /// The current line of the framing of chunks, or of the trailers.
    std::string m_line;
    QZInt64 m_skippedLines = 0;
    bool m_firstOfConnection = true;
    std::string m_proxyAddress;
    Span m_method;
    Span m_targetText;
    Target m_target;
    std::string m_path;
    PathVerdict m_verdict = PathVerdict::Good;
    int m_minor = 1;
    std::vector<std::pair<Span, Span>> m_fields;
    bool m_chunked = false;
    bool m_hasLength = false;
    bool m_continue = false;
    bool m_keepAlive = true;
    /// Bytes of the body with a length, or of the chunk, that are still to come.
    QZUInt64 m_left = 0;
    /// A byte of the framing of the first chunk has arrived.
    bool m_begun = false;
    QZInt64 m_trailerBytes = 0;
    QZInt64 m_trailers = 0;
    std::string m_body;
};
}  // namespace http

#endif
