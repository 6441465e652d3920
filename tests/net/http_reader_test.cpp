// The reader of the strict server, without a server.

#include "net/internal/net_http_reader.h"

#include <random>

#include "net/http_smuggling.h"
#include "support/qz_test.h"

namespace
{

using http::ReaderLimits;
using http::RequestReader;
using Stage = http::RequestReader::Stage;

/// What a reader makes of bytes that arrive in pieces.
struct Outcome
{
    std::string text;
    std::size_t taken = 0;

    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome)
{
    return out << outcome.text << " after " << outcome.taken << " bytes";
}

std::string TextOf(const RequestReader& reader)
{
    std::string text = std::string(reader.Method()) + " " + reader.Path() + " 1." +
                       std::to_string(reader.MinorVersion()) + (reader.KeepsAlive() ? " keep" : " close");
    for (std::size_t i = 0; i < reader.FieldCount(); ++i)
        text += "|" + std::string(reader.FieldAt(i).name) + "=" + std::string(reader.FieldAt(i).value);
    return text + "|" + reader.BodyBytes() + "\n";
}

/// @param next  the size of the next piece
template <typename Next>
Outcome Read(const std::string& bytes, const ReaderLimits& limits, Next next)
{
    RequestReader reader;
    reader.Start(limits);
    Outcome outcome;
    std::string_view rest = bytes;
    while (!rest.empty() && reader.At() != Stage::Refused)
    {
        const std::string piece(rest.substr(0, next()));
        std::size_t taken = 0;
        while (taken < piece.size() && reader.At() != Stage::Refused)
        {
            taken += reader.Read(piece.data() + taken, piece.size() - taken);
            if (reader.At() != Stage::Complete) continue;
            outcome.text += TextOf(reader);
            if (!reader.KeepsAlive()) return outcome.taken += taken, outcome;
            reader.Next();
        }
        outcome.taken += taken;
        rest.remove_prefix(piece.size());
    }
    if (reader.At() == Stage::Refused)
        outcome.text += std::to_string(reader.Status());
    else if (reader.At() != Stage::Start)
        outcome.text += reader.At() == Stage::Head ? "half a head" : "half a body";
    return outcome;
}

Outcome ReadWhole(const std::string& bytes, const ReaderLimits& limits = {})
{
    return Read(bytes, limits, [&] { return bytes.size(); });
}

std::string ReadText(const std::string& bytes, const ReaderLimits& limits = {})
{
    return ReadWhole(bytes, limits).text;
}

ReaderLimits Usual()
{
    ReaderLimits limits;
    limits.body = 16 << 20;
    return limits;
}

std::string Get(const std::string& target) { return "GET " + target + " HTTP/1.1\r\nHost: h\r\n\r\n"; }

TEST(HttpReader, RequestsAreReadOneAfterAnother)
{
    EXPECT_EQ(ReadText("GET /a HTTP/1.1\r\nHost: h\r\nX-Note:\t one \r\n\r\nPOST /b HTTP/1.0\r\nConnection: "
                       "x, Keep-Alive\r\ncontent-LENGTH: 3\r\n\r\nxyzDELETE /c HTTP/1.1\r\nHost: "
                       "h\r\nTransfer-Encoding: chunked\r\n\r\n2;x=y\r\nab\r\nA\r\n0123456789\r\n0\r\nX: "
                       "y\r\n\r\n"),
              "GET /a 1.1 keep|Host=h|X-Note=one|\n"
              "POST /b 1.0 keep|Connection=x, Keep-Alive|content-LENGTH=3|xyz\n"
              "DELETE /c 1.1 keep|Host=h|Transfer-Encoding=chunked|ab0123456789\n");
}

TEST(HttpReader, ShapesGiveTheSameHoweverTheyAreCut)
{
    std::minstd_rand random(5);
    const std::vector<qztest::Shape> shapes = qztest::Shapes();
    ASSERT_GE(shapes.size(), 60u);
    for (const qztest::Shape& shape : shapes)
    {
        const Outcome whole = ReadWhole(shape.bytes, Usual());
        EXPECT_EQ(Read(shape.bytes, Usual(), [] { return 1; }), whole) << shape.name;
        for (int i = 0; i < 50; ++i)
            ASSERT_EQ(Read(shape.bytes, Usual(), [&] { return 1 + random() % 20; }), whole) << shape.name;
    }
}

TEST(HttpReader, SmuggledRequestsAreBodiesOrRequestsOfTheirOwn)
{
    for (const qztest::Shape& shape : qztest::Shapes())
    {
        const std::string text = ReadText(shape.bytes, Usual());
        const bool ran = text.find("GET /smuggled 1.1") != std::string::npos;
        // The table names a status for every request: only where the last one is a success after another one,
        // the second request stands on its own.
        const bool expected = shape.statuses.find(" 200") != std::string::npos &&
                              shape.bytes.find("/smuggled") != std::string::npos;
        EXPECT_EQ(ran, expected) << shape.name << ": " << text;
    }
}

TEST(HttpReader, HeadMayHaveItsLimitAndNoMore)
{
    ReaderLimits limits;
    limits.head = 100;
    const auto request = [](std::size_t size) {
        std::string head = "GET /x HTTP/1.1\r\nHost: h\r\nX: ";
        head.append(size - head.size(), 'f');
        return head + "\r\n\r\n";
    };
    EXPECT_EQ(ReadWhole(request(100), limits).taken, 104u);
    EXPECT_EQ(ReadText(request(101), limits), "431");
    EXPECT_EQ(ReadText("GET /" + std::string(200, 'x'), limits), "414");
    EXPECT_EQ(ReadWhole("GET /" + std::string(200, 'x'), limits).taken, 104u);
    limits.head = 0;
    EXPECT_EQ(ReadWhole(request(100000), limits).taken, 100004u);
}

TEST(HttpReader, CountOfHeadersHasALimit)
{
    ReaderLimits limits;
    limits.fields = 3;
    EXPECT_EQ(ReadText("GET / HTTP/1.1\r\nHost: h\r\nA: 1\r\nB: 2\r\n\r\n", limits),
              "GET / 1.1 keep|Host=h|A=1|B=2|\n");
    EXPECT_EQ(ReadText("GET / HTTP/1.1\r\nHost: h\r\nA: 1\r\nB: 2\r\nC: 3\r\n\r\n", limits), "431");
    const std::string chunked = "PUT / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n";
    EXPECT_EQ(ReadText(chunked + "A: 1\r\nB: 2\r\nC: 3\r\n\r\n", limits).substr(0, 3), "PUT");
    EXPECT_EQ(ReadText(chunked + "A: 1\r\nB: 2\r\nC: 3\r\nD: 4\r\n\r\n", limits), "431");
    limits.fields = 100;
    limits.head = 64;
    EXPECT_EQ(ReadText(chunked + "A: " + std::string(70, 'x') + "\r\n\r\n", limits), "431");
}

TEST(HttpReader, BodyMayHaveItsLimitAndNoMore)
{
    ReaderLimits limits;
    limits.body = 10;
    const std::string head = "PUT / HTTP/1.1\r\nHost: h\r\n";
    EXPECT_EQ(ReadText(head + "Content-Length: 10\r\n\r\n0123456789", limits),
              "PUT / 1.1 keep|Host=h|Content-Length=10|0123456789\n");
    // The refusal comes before the body.
    EXPECT_EQ(ReadText(head + "Content-Length: 11\r\n\r\n", limits), "413");
    const std::string chunked = head + "Transfer-Encoding: chunked\r\n\r\n";
    EXPECT_EQ(ReadText(chunked + "5\r\n01234\r\n5\r\n56789\r\n0\r\n\r\n", limits).substr(0, 3), "PUT");
    EXPECT_EQ(ReadText(chunked + "5\r\n01234\r\n6\r\n", limits), "413");
    limits.body = 0;
    EXPECT_EQ(ReadText(head + "Content-Length: 999999999999999999\r\n\r\n", limits), "half a body");
    EXPECT_EQ(ReadText(head + "Content-Length: 1000000000000000000\r\n\r\n", limits), "413");
}

TEST(HttpReader, EmptyLinesBeforeARequestAreFew)
{
    EXPECT_EQ(ReadText("\r\n\r\n\r\n\r\n" + Get("/")), "GET / 1.1 keep|Host=h|\n");
    EXPECT_EQ(ReadText("\r\n\r\n\r\n\r\n\r\n" + Get("/")), "400");
}

TEST(HttpReader, ProxyLineNeedsItsSwitchAndComesFirst)
{
    const std::string line = "PROXY TCP4 1.2.3.4 5.6.7.8 100 80\r\n";
    EXPECT_EQ(ReadText(line + Get("/")), "400");
    ReaderLimits limits;
    limits.proxyLine = true;
    EXPECT_EQ(ReadText(line + Get("/") + Get("/b"), limits),
              "GET / 1.1 keep|Host=h|\nGET /b 1.1 keep|Host=h|\n");
    EXPECT_EQ(ReadText(Get("/") + line + Get("/b"), limits), "GET / 1.1 keep|Host=h|\n400");
    EXPECT_EQ(ReadText(line + line + Get("/"), limits), "400");
    EXPECT_EQ(ReadText("PROXY UNKNOWN\r\n" + Get("/"), limits), "GET / 1.1 keep|Host=h|\n");
    EXPECT_EQ(ReadText("PROXY TCP4 1.2.3.4\r\n" + Get("/"), limits), "400");

    RequestReader reader;
    reader.Start(limits);
    const std::string six = "PROXY TCP6 2001:db8::1 ::1 100 80\r\n" + Get("/");
    reader.Read(six.data(), six.size());
    EXPECT_EQ(reader.ProxyAddress(), "2001:db8::1");
}

TEST(HttpReader, PathsAreDecoded)
{
    EXPECT_EQ(ReadText(Get("/a%20b/%C3%A4?x=%20")), "GET /a b/\xC3\xA4 1.1 keep|Host=h|\n");
    EXPECT_EQ(ReadText(Get("//a///b/")), "GET /a/b/ 1.1 keep|Host=h|\n");
    EXPECT_EQ(ReadText(Get("/a..b/.c/..d")), "GET /a..b/.c/..d 1.1 keep|Host=h|\n");
    EXPECT_EQ(ReadText(Get("http://other:81?q")), "GET / 1.1 keep|Host=h|\n");
    // 1F600 is four bytes; the same with an unneeded fifth bit, a surrogate, and a number above the last one.
    EXPECT_EQ(ReadText(Get("/%F0%9F%98%80")), "GET /\xF0\x9F\x98\x80 1.1 keep|Host=h|\n");
    for (const char* path :
         {"/%00", "/%1f", "/%7f", "/%", "/%4", "/%g0", "/%C0%AF", "/%C1%81", "/%E0%80%AF", "/%F0%80%80%AF",
          "/%ED%A0%80", "/%F4%90%80%80", "/%F8%88%80%80%80", "/%80", "/%C3", "/%C3/%A4", "/../%00"})
        EXPECT_EQ(ReadText(Get(path)), "400") << path;
}

TEST(HttpReader, PathsThatLeadElsewhereAreForbidden)
{
    for (const char* path : {"/..", "/.", "/a/..", "/a/%2e./b", "/...", "/%20.", "/%2E%2E/", "/a%2Fb", "/%5C",
                             "/a\\b", "/a/../b", "http://h/../x"})
    {
        RequestReader reader;
        reader.Start({});
        const std::string request = Get(path);
        reader.Read(request.data(), request.size());
        EXPECT_EQ(reader.At(), Stage::Complete) << path;
        EXPECT_TRUE(reader.IsForbidden()) << path;
        EXPECT_EQ(reader.Path(), "") << path;
    }
}

TEST(HttpReader, ContinueIsExpectedUntilTheBodyBegins)
{
    RequestReader reader;
    reader.Start({});
    const std::string head = "PUT / HTTP/1.1\r\nHost: h\r\nContent-Length: 2\r\nExpect: 100-Continue\r\n\r\n";
    reader.Read(head.data(), head.size());
    EXPECT_TRUE(reader.ExpectsContinue());
    reader.Read("x", 1);
    EXPECT_FALSE(reader.ExpectsContinue());
    reader.Read("y", 1);
    EXPECT_EQ(reader.At(), Stage::Complete);
    EXPECT_EQ(reader.BodyBytes(), "xy");
    const std::string old = "PUT / HTTP/1.0\r\nContent-Length: 2\r\nExpect: cake\r\n\r\n";
    reader.Start({});
    reader.Read(old.data(), old.size());
    EXPECT_EQ(reader.At(), Stage::Body);
    EXPECT_FALSE(reader.ExpectsContinue());
}

TEST(HttpTarget, WideTextKeepsCharactersAndBytes)
{
    EXPECT_EQ(http::WideOf("a\xC3\xA4\xF0\x9F\x98\x80"),
              (std::basic_string<QZWChar>(QZ_W("a\u00E4\U0001F600"))));
    EXPECT_EQ(http::WideOf("a\xE4"), (std::basic_string<QZWChar>(QZ_W("a\u00E4"))));
}

}  // namespace
