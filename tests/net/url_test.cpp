#include "net/net_url.h"

#include "fw/fw_string_factory.h"
#include "support/qz_test.h"

namespace
{
std::string Taken(QZString* text)
{
    std::string utf8 = qztest::Utf8(text);
    QZUrl::Recycle(&text);
    return utf8;
}

std::string Encode(std::string_view utf8)
{
    const qztest::Text wide = qztest::Wide(utf8);
    QZString text(wide.data(), static_cast<QZInt64>(wide.size() * 2));
    return Taken(QZUrl::Encode(&text));
}

std::string Decode(const char* narrow)
{
    QZString text(narrow);
    return Taken(QZUrl::Decode(&text));
}

struct Expected
{
    const char* url;
    const char* protocol;
    const char* host;
    int port;
    const char* path;
    const char* params;
};

void ExpectUrl(const Expected& e)
{
    QZUrl url(e.url);
    EXPECT_QZ_TEXT(url.GetUrl(), e.url);
    EXPECT_QZ_TEXT(url.GetProtocol(), e.protocol) << e.url;
    EXPECT_QZ_TEXT(url.GetHost(), e.host) << e.url;
    EXPECT_EQ(url.GetPort(), e.port) << e.url;
    EXPECT_QZ_TEXT(url.GetPath(), e.path) << e.url;
    EXPECT_EQ(Taken(url.GetParamString()), e.params) << e.url;
}

TEST(Url, IsParsedIntoItsParts)
{
    const Expected cases[] = {
        {"http://a.b:8080/x/y?k=v&k=w#f", "http", "a.b", 8080, "/x/y", "k=v"},
        {"/index?x=1", "", "", 80, "/index", "x=1"},
        {"", "", "", 80, "/", ""},
        {"https://a.b", "https", "a.b", 443, "/", ""},
        {"HTTP://a", "http", "a", 80, "/", ""},
        {"HtTpS://a:81", "https", "a", 81, "/", ""},
        {"//a.b/c", "", "a.b", 80, "/c", ""},
        {"a.b/c", "", "a.b", 80, "/c", ""},
        {"index.html", "", "index.html", 80, "/", ""},
        {"http://a?x=1", "http", "a", 80, "/", "x=1"},
        {"http://a#x?y=1", "http", "a", 80, "/", ""},
        {"http://a/b#x?y=1", "http", "a", 80, "/b", ""},
        {"http://a/b?", "http", "a", 80, "/b", ""},
        {"http://a/b?#x=1", "http", "a", 80, "/b", ""},
        {"http://a//b///c//", "http", "a", 80, "/b//c/", ""},
        {"///x", "", "", 80, "/x", ""},
        {"http:///x", "http", "", 80, "/x", ""},
        {"http://:90/x", "http", "", 90, "/x", ""},
    };
    for (const Expected& e : cases) ExpectUrl(e);
}

TEST(Url, UnknownProtocolIsReadAsAHostWithoutAPort)
{
    EXPECT_QZ_THROW(QZUrl("ftp://a/b"), 256);
    EXPECT_QZ_THROW(QZUrl("http://a:/b"), 256);
}

TEST(Url, BadPortIsReadByTheRulesOfNumbers)
{
    EXPECT_EQ(QZUrl("http://a:65537/").GetPort(), 1);
    EXPECT_EQ(QZUrl("http://a:-1/").GetPort(), 65535);
    EXPECT_EQ(QZUrl("http://a:0x50/").GetPort(), 80);
    // "a" is 49 characters after "0": 10 + 49.
    EXPECT_EQ(QZUrl("http://a:1a/").GetPort(), 59);
}

TEST(Url, PortInTheUrlOverridesTheDefaultOfHttps)
{
    EXPECT_EQ(QZUrl("https://a:80/").GetPort(), 80);
    EXPECT_EQ(QZUrl("//a").GetPort(), 80);
}

TEST(Url, ConstructorsTakeThreeKindsOfText)
{
    QZString text("http://h/p");
    QZUrl fromString(&text);
    QZUrl fromWide(QZ_W("http://h/p"));
    QZUrl fromNothing(static_cast<const char*>(nullptr));
    EXPECT_QZ_TEXT(fromString.GetHost(), "h");
    EXPECT_QZ_TEXT(fromWide.GetPath(), "/p");
    EXPECT_QZ_TEXT(fromNothing.GetPath(), "/");
    EXPECT_EQ(fromWide.GetType(), 0x8310010);
    EXPECT_EQ(QZUrl::Type, 0x8310010);
    EXPECT_FALSE(fromString.GetHost()->IsDisposable());
}

TEST(Url, ParametersAreTrimmedAndTheFirstOfEqualKeysIsKept)
{
    QZUrl url("/p? a = 1 &b=x=y&c=&=d&e&A=2&f=%20+&&");
    EXPECT_QZ_TEXT(url.GetParam("a"), "1");
    EXPECT_QZ_TEXT(url.GetParam(QZ_W("B")), "x");
    QZString key("c");
    EXPECT_QZ_TEXT(url.GetParam(&key), "");
    EXPECT_EQ(url.GetParam("e"), nullptr);
    // Values are not decoded.
    EXPECT_QZ_TEXT(url.GetParam("f"), "%20+");
    EXPECT_EQ(Taken(url.GetParamString()), "a=1&b=x&c=&f=%20+");
    EXPECT_QZ_THROW(url.GetParam(static_cast<QZString*>(nullptr)), 1792);
}

TEST(Url, SetKeepsTheProtocolWhenTheTextHasNone)
{
    QZUrl url("https://a.b:8443/x?k=v");
    QZString bare("/y?m=n");
    url.Set(&bare);
    EXPECT_QZ_TEXT(url.GetUrl(), "/y?m=n");
    EXPECT_QZ_TEXT(url.GetProtocol(), "https");
    EXPECT_QZ_TEXT(url.GetHost(), "");
    EXPECT_EQ(url.GetPort(), 443);
    EXPECT_QZ_TEXT(url.GetPath(), "/y");
    EXPECT_EQ(url.GetParam("k"), nullptr);
    EXPECT_QZ_TEXT(url.GetParam("m"), "n");
    QZString slashes("//c");
    url.Set(&slashes);
    EXPECT_QZ_TEXT(url.GetProtocol(), "");
    EXPECT_QZ_TEXT(url.GetHost(), "c");
    EXPECT_EQ(url.GetPort(), 80);
    EXPECT_EQ(Taken(url.GetParamString()), "");
}

TEST(Url, PathEndsAtANul)
{
    QZString text(QZ_W("/a\0b?c=d"), 16);
    QZUrl url(&text);
    EXPECT_QZ_TEXT(url.GetPath(), "/a");
    EXPECT_EQ(url.GetParam("c"), nullptr);
}

TEST(Url, CopiesShareTheirParts)
{
    QZUrl url("http://a/b?c=d");
    QZUrl copy(url);
    EXPECT_EQ(copy.GetObjectID(), url.GetObjectID());
    EXPECT_QZ_TEXT(copy.GetParam("c"), "d");
}

TEST(UrlEncode, KeepsCharactersAllowedInQueries)
{
    EXPECT_EQ(Encode("a b"), "a+b");
    EXPECT_EQ(Encode("AZaz09!()*-._"), "AZaz09!()*-._");
    EXPECT_EQ(Encode("~'/?&=+%"), "%7E%27%2F%3F%26%3D%2B%25");
    EXPECT_EQ(Encode("\xE4\xB8\xAD"), "%E4%B8%AD");
    EXPECT_EQ(Encode(""), "");
    EXPECT_EQ(Taken(QZUrl::Encode(nullptr)), "");
}

TEST(UrlEncode, ByteBelow16RepeatsADigitOfTheEscapeBefore)
{
    EXPECT_EQ(Encode("\n"), "%A");
    EXPECT_EQ(Encode("\xE4\xB8\xAD\n"), "%E4%B8%AD%AD");
    EXPECT_EQ(Encode("/\t\n"), "%2F%9F%AF");
    // The next text starts without an old digit.
    EXPECT_EQ(Encode("\t"), "%9");
}

TEST(UrlDecode, DecodesEscapesAndPlus)
{
    EXPECT_EQ(Decode("a%20b+c"), "a b c");
    EXPECT_EQ(Decode("%E4%b8%aD"), "\xE4\xB8\xAD");
    EXPECT_EQ(Decode(""), "");
    EXPECT_EQ(Decode("%41%2B"), "A+");
}

TEST(UrlDecode, DropsInvalidEscapes)
{
    EXPECT_EQ(Decode("a%"), "a");
    EXPECT_EQ(Decode("a%4"), "a");
    EXPECT_EQ(Decode("a%zzb"), "ab");
    EXPECT_EQ(Decode("a%4gb"), "ab");
}

TEST(UrlDecode, UsesTheLowByteOfNonAsciiCharacters)
{
    QZString text(QZ_W("\u0141\u4E42"));
    EXPECT_EQ(Taken(QZUrl::Decode(&text)), "AB");
}
}  // namespace
