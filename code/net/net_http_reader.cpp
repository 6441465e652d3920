#include "net/internal/net_http_reader.h"

#include <algorithm>
#include <limits>

#include "net/internal/net_characters.h"

namespace http
{
namespace
{
constexpr int kBadRequest = 400;
constexpr int kLengthRequired = 411;
constexpr int kContentTooLarge = 413;
constexpr int kTargetTooLong = 414;
constexpr int kExpectationFailed = 417;
constexpr int kHeadTooLarge = 431;
constexpr int kNotImplemented = 501;
constexpr int kVersionNotSupported = 505;

/// Empty lines that may stand before a request line.
constexpr QZInt64 kMostEmptyLines = 4;
/// Bytes of the size line of a chunk with its extensions and its line end.
constexpr std::size_t kMostChunkLine = 258;
/// Digits of a chunk size, and of a length: more cannot be a size that is served.
constexpr std::size_t kMostChunkDigits = 15;
constexpr std::size_t kMostLengthDigits = 18;
/// The longest PROXY line with its line end.
constexpr std::size_t kMostProxyLine = 107;
/// A body buffer above this size is freed after its request.
constexpr std::size_t kKeptBody = std::size_t{1} << 20;
constexpr std::size_t kKeptHead = std::size_t{64} << 10;

bool IsDigits(std::string_view text)
{
    for (const char byte : text)
        if (!net::IsDigit(static_cast<unsigned char>(byte))) return false;
    return !text.empty();
}

/// True when the bytes of a line are visible characters, blanks, tabs or bytes above ASCII.
bool IsLineText(std::string_view line)
{
    for (const char unit : line)
    {
        const auto byte = static_cast<unsigned char>(unit);
        if ((byte < ' ' && byte != '\t') || byte == 0x7F) return false;
    }
    return true;
}

QZUInt64 HexOf(std::string_view digits)
{
    QZUInt64 value = 0;
    for (const char unit : digits)
    {
        const auto byte = static_cast<unsigned char>(unit);
        value = value << 4 | (net::IsDigit(byte) ? byte - QZUInt64{'0'} : (byte | 32u) - QZUInt64{'a'} + 10);
    }
    return value;
}

/// Requests with these methods carry a body, so they have to say where it ends.
bool NeedsLength(std::string_view method) { return method == "POST" || method == "PUT" || method == "PATCH"; }
}  // namespace

void RequestReader::Start(const ReaderLimits& limits)
{
    m_limits = limits;
    m_firstOfConnection = true;
    m_proxyAddress.clear();
    Clear();
}

void RequestReader::Next()
{
    m_firstOfConnection = false;
    Clear();
}

void RequestReader::Clear()
{
    m_stage = Stage::Start;
    m_expected = Expected::RequestLine;
    m_status = 0;
    m_head.clear();
    if (m_head.capacity() > kKeptHead) m_head.shrink_to_fit();
    m_lineStart = 0;
    m_line.clear();
    m_skippedLines = 0;
    m_method = m_targetText = {};
    m_target = {};
    m_path.clear();
    m_verdict = PathVerdict::Good;
    m_minor = 1;
    m_fields.clear();
    m_chunked = m_hasLength = m_continue = m_begun = false;
    m_keepAlive = true;
    m_left = 0;
    m_trailerBytes = m_trailers = 0;
    m_body.clear();
    if (m_body.capacity() > kKeptBody) m_body.shrink_to_fit();
}

void RequestReader::Refuse(int status)
{
    m_stage = Stage::Refused;
    m_status = status;
    m_keepAlive = false;
}

RequestReader::Field RequestReader::FieldAt(std::size_t index) const
{
    return {Part(m_fields[index].first), Part(m_fields[index].second)};
}

std::size_t RequestReader::Read(const char* bytes, std::size_t size)
{
    std::string_view rest(bytes, size);
    while (!rest.empty() && m_stage != Stage::Complete && m_stage != Stage::Refused)
        rest.remove_prefix(m_expected == Expected::Data ? ReadData(rest) : ReadLine(rest));
    return size - rest.size();
}

// ---- Lines

/// The bytes that the current line may have with its line end, those that have arrived among them.
std::size_t RequestReader::LineLimit() const
{
    constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max() / 2;
    switch (m_expected)
    {
        case Expected::ChunkSize: return kMostChunkLine;
        case Expected::ChunkEnd: return 2;
        default: break;
    }
    if (m_limits.head <= 0) return kNone;
    // The limit counts the bytes before the empty line, which ends the line before it.
    const std::size_t limit = static_cast<std::size_t>(m_limits.head) + 4;
    return m_expected == Expected::Trailer ? limit - static_cast<std::size_t>(m_trailerBytes)
                                           : limit - m_lineStart;
}

/// The status for a line that is longer than its limit.
int RequestReader::LineTooLong() const
{
    switch (m_expected)
    {
        case Expected::RequestLine: return kTargetTooLong;
        case Expected::FieldLine:
        case Expected::Trailer: return kHeadTooLarge;
        default: return kBadRequest;
    }
}

std::size_t RequestReader::ReadLine(std::string_view bytes)
{
    const bool inHead = m_expected == Expected::RequestLine || m_expected == Expected::FieldLine;
    std::string& store = inHead ? m_head : m_line;
    const std::size_t start = inHead ? m_lineStart : 0;
    if (m_stage == Stage::Start) m_stage = Stage::Head;
    m_begun = m_begun || m_expected == Expected::ChunkSize;
    // What cannot be the beginning of a request, TLS for example, is refused without waiting for a line end.
    const bool first = m_expected == Expected::RequestLine && store.size() == start;
    if (first && bytes[0] != '\r' && !IsTokenCharacter(static_cast<unsigned char>(bytes[0])))
        return Refuse(kBadRequest), std::size_t{1};

    const std::size_t room = LineLimit() - (store.size() - start);
    if (room == 0) return Refuse(LineTooLong()), std::size_t{0};
    const std::size_t feed = bytes.substr(0, room).find('\n');
    const std::size_t taken = feed == std::string_view::npos ? std::min(room, bytes.size()) : feed + 1;
    store.append(bytes.data(), taken);
    if (feed == std::string_view::npos) return taken;

    std::string_view line = std::string_view(store).substr(start);
    line.remove_suffix(1);
    if (line.empty() || line.back() != '\r') return Refuse(kBadRequest), taken;
    line.remove_suffix(1);
    if (!IsLineText(line)) return Refuse(kBadRequest), taken;
    EndLine(line);
    return taken;
}

void RequestReader::EndLine(std::string_view line)
{
    switch (m_expected)
    {
        case Expected::RequestLine: return EndRequestLine(line);
        case Expected::FieldLine: return line.empty() ? EndHead() : EndField(line);
        case Expected::ChunkSize: return EndChunkSize(line);
        case Expected::Trailer: return EndTrailer(line);
        case Expected::ChunkEnd:
            if (!line.empty()) return Refuse(kBadRequest);
            m_line.clear();
            m_expected = Expected::ChunkSize;
            return;
        case Expected::Data: return;
    }
}

void RequestReader::EndRequestLine(std::string_view line)
{
    if (line.empty())
    {
        m_head.clear();
        if (++m_skippedLines > kMostEmptyLines) Refuse(kBadRequest);
        return;
    }
    if (m_limits.proxyLine && m_firstOfConnection && m_skippedLines == 0 && m_proxyAddress.empty() &&
        line.substr(0, 6) == "PROXY ")
        return EndProxyLine(line);
    if (!SplitRequestLine(line)) return Refuse(m_status != 0 ? m_status : kBadRequest);
    m_lineStart = m_head.size();
    m_expected = Expected::FieldLine;
}

/// "PROXY TCP4 source destination port port", or TCP6, or "PROXY UNKNOWN" with anything after it.
void RequestReader::EndProxyLine(std::string_view line)
{
    if (line.size() + 2 > kMostProxyLine) return Refuse(kBadRequest);
    std::vector<std::string_view> words;
    for (std::string_view rest = line;;)
    {
        const std::size_t blank = rest.find(' ');
        words.push_back(rest.substr(0, blank));
        if (blank == std::string_view::npos) break;
        rest.remove_prefix(blank + 1);
    }
    if (words[1] == "UNKNOWN")
        m_proxyAddress = "unknown";
    else if (words.size() == 6 && (words[1] == "TCP4" || words[1] == "TCP6") && !words[2].empty())
        m_proxyAddress = words[2];
    else
        return Refuse(kBadRequest);
    m_head.clear();
}

/// Exactly three words with one blank between them. False for another line; m_status is then the status when
/// it is not 400.
bool RequestReader::SplitRequestLine(std::string_view line)
{
    const std::size_t first = line.find(' ');
    if (first == std::string_view::npos || !IsToken(line.substr(0, first))) return false;
    const std::size_t second = line.find(' ', first + 1);
    if (second == std::string_view::npos || second == first + 1) return false;
    const std::string_view version = line.substr(second + 1);
    const bool shaped = version.size() == 8 && version.substr(0, 5) == "HTTP/" && version[6] == '.' &&
                        net::IsDigit(static_cast<unsigned char>(version[5])) &&
                        net::IsDigit(static_cast<unsigned char>(version[7]));
    if (!shaped) return false;
    if (version != "HTTP/1.1" && version != "HTTP/1.0")
    {
        m_status = kVersionNotSupported;
        return false;
    }
    m_minor = version[7] - '0';
    m_method = {0, first};
    m_targetText = {first + 1, second - first - 1};
    return true;
}

/// A name without blanks around it, a colon, and a value. The line is a part of the head.
bool RequestReader::SplitField(std::string_view line, Span* name, Span* value) const
{
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos || !IsToken(line.substr(0, colon))) return false;
    const std::string_view text = Stripped(line.substr(colon + 1));
    const std::size_t start = static_cast<std::size_t>(line.data() - m_head.data());
    *name = {start, colon};
    *value = {start + static_cast<std::size_t>(text.data() - line.data()), text.size()};
    return true;
}

void RequestReader::EndField(std::string_view line)
{
    // A line that begins with a blank, which once continued the line before, has no name.
    Span name;
    Span value;
    if (!SplitField(line, &name, &value)) return Refuse(kBadRequest);
    m_fields.emplace_back(name, value);
    m_lineStart = m_head.size();
    if (m_limits.fields > 0 && static_cast<QZInt64>(m_fields.size()) > m_limits.fields) Refuse(kHeadTooLarge);
}

// ---- The end of a head

void RequestReader::EndHead()
{
    const int status = Judge();
    if (status != 0) return Refuse(status);
    BeginBody();
}

/// The status with which the head is refused, or 0.
int RequestReader::Judge()
{
    for (int (RequestReader::*rule)() : {&RequestReader::JudgeTarget, &RequestReader::JudgeHost,
                                         &RequestReader::JudgeFraming, &RequestReader::JudgeExpect})
        if (const int status = (this->*rule)(); status != 0) return status;
    bool close = false;
    bool keep = false;
    for (std::size_t i = 0; i < m_fields.size(); ++i)
    {
        const Field field = FieldAt(i);
        if (!IsWord(field.name, "connection")) continue;
        close = close || HasMember(field.value, "close");
        keep = keep || HasMember(field.value, "keep-alive");
    }
    // After CONNECT the client would speak to somebody else.
    m_keepAlive = m_target.form != Target::Form::Authority && !close && (m_minor == 1 || keep);
    return 0;
}

int RequestReader::JudgeTarget()
{
    if (!ReadTarget(Method(), TargetText(), &m_target)) return kBadRequest;
    if (m_target.form == Target::Form::Asterisk)
        m_path = "*";
    else if (m_target.form != Target::Form::Authority)
        m_verdict = DecodePath(m_target.path, &m_path);
    return m_verdict == PathVerdict::Malformed ? kBadRequest : 0;
}

int RequestReader::JudgeHost()
{
    std::string_view host;
    const std::size_t count = CountOf("host", &host);
    if (count > 1 || (count == 0 && m_minor == 1)) return kBadRequest;
    return count == 1 && !IsAuthority(host) ? kBadRequest : 0;
}

/// Decides how long the body is.
int RequestReader::JudgeFraming()
{
    std::string_view length;
    std::string_view coding;
    const std::size_t lengths = CountOf("content-length", &length);
    const std::size_t codings = CountOf("transfer-encoding", &coding);
    if (codings > 0)
    {
        // A message with both has two ends, and two servers may choose different ones.
        if (lengths > 0 || codings > 1 || m_minor == 0) return kBadRequest;
        if (!IsWord(coding, "chunked")) return kNotImplemented;
        m_chunked = true;
        return 0;
    }
    if (lengths > 1) return kBadRequest;
    m_hasLength = lengths == 1;
    if (m_hasLength) return JudgeLength(length);
    return NeedsLength(Method()) ? kLengthRequired : 0;
}

int RequestReader::JudgeLength(std::string_view value)
{
    if (!IsDigits(value)) return kBadRequest;
    if (value.size() > kMostLengthDigits) return kContentTooLarge;
    for (const char digit : value) m_left = m_left * 10 + static_cast<QZUInt64>(digit - '0');
    return m_limits.body > 0 && m_left > static_cast<QZUInt64>(m_limits.body) ? kContentTooLarge : 0;
}

int RequestReader::JudgeExpect()
{
    std::string_view value;
    const std::size_t count = CountOf("expect", &value);
    // A client of HTTP/1.0 does not know the status 100, so its expectation counts for nothing.
    if (count == 0 || m_minor == 0) return 0;
    if (count > 1 || !IsWord(value, "100-continue")) return kExpectationFailed;
    m_continue = true;
    return 0;
}

/// How many headers have the name; *value is the value of the last one.
std::size_t RequestReader::CountOf(std::string_view lower, std::string_view* value) const
{
    std::size_t count = 0;
    for (std::size_t i = 0; i < m_fields.size(); ++i)
    {
        const Field field = FieldAt(i);
        if (!IsWord(field.name, lower)) continue;
        *value = field.value;
        ++count;
    }
    return count;
}

// ---- Bodies

void RequestReader::BeginBody()
{
    m_stage = Stage::Body;
    if (m_chunked)
        m_expected = Expected::ChunkSize;
    else if (m_left > 0)
        m_expected = Expected::Data;
    else
        m_stage = Stage::Complete;
}

std::size_t RequestReader::ReadData(std::string_view bytes)
{
    const auto taken = static_cast<std::size_t>(std::min<QZUInt64>(m_left, bytes.size()));
    m_body.append(bytes.data(), taken);
    m_left -= taken;
    if (m_left > 0) return taken;
    if (m_chunked)
        m_expected = Expected::ChunkEnd;
    else
        m_stage = Stage::Complete;
    return taken;
}

/// Hexadecimal digits, then nothing or extensions, which begin with a semicolon.
void RequestReader::EndChunkSize(std::string_view line)
{
    std::size_t digits = 0;
    while (digits < line.size() && net::IsHexDigit(static_cast<unsigned char>(line[digits]))) ++digits;
    const std::string_view rest = line.substr(digits);
    const std::string_view extensions = Stripped(rest);
    if (digits == 0 || (!rest.empty() && (extensions.empty() || extensions[0] != ';')))
        return Refuse(kBadRequest);
    if (digits > kMostChunkDigits) return Refuse(kContentTooLarge);
    m_left = HexOf(line.substr(0, digits));
    m_line.clear();
    if (m_limits.body > 0 && m_left > static_cast<QZUInt64>(m_limits.body) - m_body.size())
        return Refuse(kContentTooLarge);
    m_expected = m_left > 0 ? Expected::Data : Expected::Trailer;
}

/// A trailer has to look like a header; it is then dropped.
void RequestReader::EndTrailer(std::string_view line)
{
    m_trailerBytes += static_cast<QZInt64>(m_line.size());
    if (line.empty())
    {
        m_line.clear();
        m_stage = Stage::Complete;
        return;
    }
    if (!IsToken(line.substr(0, line.find(':'))) || line.find(':') == std::string_view::npos)
        return Refuse(kBadRequest);
    m_line.clear();
    if (m_limits.fields > 0 && ++m_trailers > m_limits.fields) Refuse(kHeadTooLarge);
}
}  // namespace http
