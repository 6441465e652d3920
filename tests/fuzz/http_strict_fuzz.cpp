// Any bytes as the input of a connection of the strict server: its reader gives the same requests, the same
// refusal and takes the same number of bytes however the input is cut; it keeps its limits; its paths are
// UTF-8 and stay below their folder; the requests it read mean the same when they are written in the plainest
// form.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "net/internal/net_http_reader.h"

namespace
{
using http::ReaderLimits;
using http::RequestReader;
using Stage = http::RequestReader::Stage;

constexpr QZInt64 kHead = 300;
constexpr QZInt64 kFields = 8;
constexpr QZInt64 kBody = 200;

void Require(bool condition)
{
    if (!condition) std::abort();
}

struct Outcome
{
    std::vector<std::string> requests;
    int status = 0;
    std::size_t taken = 0;

    bool operator==(const Outcome&) const = default;
};

bool Frames(std::string_view name)
{
    return http::IsWord(name, "content-length") || http::IsWord(name, "transfer-encoding") ||
           http::IsWord(name, "expect");
}

void RequireSound(const RequestReader& reader, const ReaderLimits& limits)
{
    Require(http::IsToken(reader.Method()));
    Require(http::IsUtf8(reader.Path()));
    Require(reader.Path().find('\\') == std::string::npos && reader.Path().find('\0') == std::string::npos);
    Require((reader.Path() + "/").find("/../") == std::string::npos);
    Require(static_cast<QZInt64>(reader.HeadBytes().size()) <= limits.head + 4);
    Require(static_cast<QZInt64>(reader.FieldCount()) <= limits.fields);
    Require(static_cast<QZInt64>(reader.BodyBytes().size()) <= limits.body);
    for (std::size_t i = 0; i < reader.FieldCount(); ++i)
    {
        Require(http::IsToken(reader.FieldAt(i).name));
        Require(reader.FieldAt(i).value.find_first_of(std::string_view("\r\n\0", 3)) ==
                std::string_view::npos);
    }
}

/// The request in its plainest form, with the length of its body.
std::string Plain(const RequestReader& reader)
{
    std::string text = std::string(reader.Method()) + " " + std::string(reader.TargetText()) + " HTTP/1." +
                       std::to_string(reader.MinorVersion()) + "\r\n";
    for (std::size_t i = 0; i < reader.FieldCount(); ++i)
        if (!Frames(reader.FieldAt(i).name))
            text +=
                std::string(reader.FieldAt(i).name) + ": " + std::string(reader.FieldAt(i).value) + "\r\n";
    text += "Content-Length: " + std::to_string(reader.BodyBytes().size()) + "\r\n\r\n";
    return text + reader.BodyBytes();
}

/// @param steps  the sizes of the pieces, again and again; empty for one piece
Outcome ReadAll(std::string_view bytes, const ReaderLimits& limits, std::string_view steps)
{
    RequestReader reader;
    reader.Start(limits);
    Outcome outcome;
    std::size_t step = 0;
    while (!bytes.empty())
    {
        const std::size_t size =
            steps.empty() ? bytes.size() : 1 + static_cast<unsigned char>(steps[step++ % steps.size()]) % 32;
        // A copy of its own, so that reading past its end is found.
        const std::vector<char> piece(bytes.begin(),
                                      bytes.begin() + static_cast<long>(std::min(size, bytes.size())));
        bytes.remove_prefix(piece.size());
        for (std::size_t at = 0; at < piece.size();)
        {
            const std::size_t taken = reader.Read(piece.data() + at, piece.size() - at);
            at += taken;
            outcome.taken += taken;
            if (reader.At() == Stage::Refused)
            {
                outcome.status = reader.Status();
                Require(outcome.status >= 400 && outcome.status <= 505);
                return outcome;
            }
            if (reader.At() != Stage::Complete)
            {
                Require(at == piece.size());
                continue;
            }
            RequireSound(reader, limits);
            outcome.requests.push_back(Plain(reader));
            if (!reader.KeepsAlive()) return outcome;
            reader.Next();
        }
    }
    return outcome;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2) return 0;
    const std::string_view all(reinterpret_cast<const char*>(data), size);
    ReaderLimits limits;
    limits.head = kHead;
    limits.fields = kFields;
    limits.body = kBody;
    limits.proxyLine = (data[0] & 1) != 0;
    const std::string_view bytes = all.substr(1);
    const Outcome whole = ReadAll(bytes, limits, {});
    Require(ReadAll(bytes, limits, std::string_view("\0", 1)) == whole);
    Require(ReadAll(bytes, limits, all.substr(size - std::min<std::size_t>(size, 5))) == whole);

    // The line of the length may be one more.
    ReaderLimits wide = limits;
    wide.head += 100;
    wide.fields += 1;
    wide.proxyLine = false;
    for (const std::string& request : whole.requests)
    {
        const Outcome again = ReadAll(request, wide, {});
        Require(again.status == 0 && again.requests.size() == 1 && again.requests[0] == request);
    }
    return 0;
}
