// The parts of the monitor except its page, which tests/browser tests.

#include <cmath>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <system_error>
#include <thread>

#include "qzmon/access.h"
#include "qzmon/device.h"
#include "qzmon/json_reader.h"
#include "qzmon/json_writer.h"
#include "qzmon/pictures.h"
#include "qzmon/settings.h"
#include "qzmon/store.h"
#include "support/qz_test.h"
#include "sys/internal/sys_hooks.h"

namespace
{

using qzmon::Correction;
using qzmon::Failure;
using qzmon::Sample;
using qzmon::Snapshot;
using qzmon::Store;
using qztest::TempDir;

Sample At(QZInt64 time, double first) { return {time, {first, first + 0.5}}; }

std::vector<double> Firsts(const std::vector<Sample>& samples)
{
    std::vector<double> firsts;
    for (const Sample& sample : samples) firsts.push_back(sample.values.at(0));
    return firsts;
}

int StatusOf(const std::function<void()>& work)
{
    try
    {
        work();
    }
    catch (const Failure& failure)
    {
        return failure.status;
    }
    return 0;
}

/// Lets all operations of one kind fail, on all threads, for the time of a scope.
class Failing
{
public:
    Failing(os::Op operation, QZUInt32 error) : m_operation(operation), m_error(error)
    {
        os::SetTestHooks(&m_hooks);
    }
    ~Failing() { os::SetTestHooks(nullptr); }
    Failing(const Failing&) = delete;
    Failing& operator=(const Failing&) = delete;

private:
    static bool Gate(void* self, os::Op operation, QZInt64*, QZUInt32* error)
    {
        const Failing* failing = static_cast<Failing*>(self);
        *error = failing->m_error;
        return operation != failing->m_operation;
    }

    os::Op m_operation;
    QZUInt32 m_error;
    os::TestHooks m_hooks{this, nullptr, Gate, nullptr};
};

/// A number that both systems have a text for.
constexpr QZUInt32 kRefused = 5;

class MonitorStore : public testing::Test
{
protected:
    std::string Path() const { return m_dir.NarrowName("m.qzd"); }
    std::string Reopen()
    {
        m_store.reset();
        m_store = std::make_unique<Store>(Path());
        return m_store->Open(2);
    }

    TempDir m_dir;
    std::unique_ptr<Store> m_store;
};

}  // namespace

TEST(MonitorText, NumbersHaveTheDigitsThatMakeThem)
{
    EXPECT_EQ(qzmon::NumberText(0.1), "0.1");
    EXPECT_EQ(qzmon::NumberText(22.5), "22.5");
    EXPECT_EQ(qzmon::NumberText(std::nan("")), "nan");
    EXPECT_EQ(qzmon::NumberText(100000), "100000");
    EXPECT_EQ(qzmon::NumberText(1e300), "1e+300");
    EXPECT_EQ(qzmon::SizeText(1023), "1023 B");
    EXPECT_EQ(qzmon::SizeText(1536), "1.50 KB");
    double value = 0;
    EXPECT_TRUE(qzmon::ParseFinite("-2.5", &value));
    EXPECT_EQ(value, -2.5);
    EXPECT_TRUE(qzmon::ParseFinite("-0.5", &value));
    EXPECT_EQ(value, -0.5);
    EXPECT_FALSE(qzmon::ParseFinite("2.5x", &value));
    EXPECT_FALSE(qzmon::ParseFinite("inf", &value));
    EXPECT_FALSE(qzmon::ParseFinite("", &value));
}

TEST(MonitorText, JsonAndPagesCarryAnyText)
{
    const std::string json = qzmon::JsonWriter()
                                 .Open()
                                 .Add("a\"", "b\\\n")
                                 .OpenList("l")
                                 .Item(1.5)
                                 .CloseList()
                                 .Add("t", true)
                                 .Close()
                                 .Str();
    EXPECT_EQ(json, "{\"a\\\"\":\"b\\\\\\n\",\"l\":[1.5],\"t\":true}");
    EXPECT_EQ(qzmon::HtmlText("<a href='x'>&\""), "&lt;a href=&#39;x&#39;&gt;&amp;&quot;");
}

TEST(MonitorText, JsonEscapesWhatAReaderCouldTakeForSomethingElse)
{
    const auto json = [](const std::string& text) {
        return qzmon::JsonWriter().Open().Add("t", text).Close().Str();
    };
    EXPECT_EQ(json("]}\"\\"), "{\"t\":\"]}\\\"\\\\\"}");
    EXPECT_EQ(json("</script>&"), "{\"t\":\"\\u003C/script\\u003E\\u0026\"}");
    EXPECT_EQ(json(std::string("\r\n\t\0\x7F", 5)), "{\"t\":\"\\r\\n\\t\\u0000\x7F\"}");
    EXPECT_EQ(json("\xE2\x80\xA8\xC2\x85"), "{\"t\":\"\\u2028\xC2\x85\"}");
    EXPECT_EQ(json("\xF0\x9F\x98\x80\xC3\xA4"), "{\"t\":\"\xF0\x9F\x98\x80\xC3\xA4\"}");
    EXPECT_EQ(json("a\xC3"), "{\"t\":\"a\xEF\xBF\xBD\"}");
    EXPECT_EQ(json("\xED\xA0\x80"), "{\"t\":\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\"}");
    EXPECT_EQ(qzmon::JsonWriter().OpenList().Item(std::nan("")).Item(-0.5).CloseList().Str(), "[null,-0.5]");
}

TEST(MonitorText, ARequestIsReadAsItIsWrittenOrRefused)
{
    const qzmon::Fields fields = qzmon::ReadJsonObject(
        " {\"offset\" : "
        "-0.5,\"a\":\"]}\\\"\\\\\\/\\r\\n<script>\\u0001\\ud83d\\ude00\xF0\x9F\x98\x80\\u00e4\","
        "\"t\":true,\"n\":null,\"e\":1.5E+3}\r\n");
    EXPECT_EQ(fields.size(), 4u);
    EXPECT_EQ(fields.at("offset"), "-0.5");
    EXPECT_EQ(fields.at("a"), "]}\"\\/\r\n<script>\x01\xF0\x9F\x98\x80\xF0\x9F\x98\x80\xC3\xA4");
    EXPECT_EQ(fields.at("t"), "true");
    EXPECT_EQ(fields.at("e"), "1500");
    EXPECT_TRUE(qzmon::ReadJsonObject("{}").empty());
    for (const char* bad : {"",
                            "{",
                            "[]",
                            "null",
                            "{}x",
                            "{\"a\"}",
                            "{\"a\":}",
                            "{\"a\":1,}",
                            "{\"a\":01}",
                            "{\"a\":+1}",
                            "{\"a\":.5}",
                            "{\"a\":1.}",
                            "{\"a\":NaN}",
                            "{\"a\":[1]}",
                            "{\"a\":{}}",
                            "{\"a\":\"\n\"}",
                            "{\"a\":\"\\x\"}",
                            "{\"a\":\"\\u12\"}",
                            "{\"a\":\"\\ud83d\"}",
                            "{\"a\":\"\\ude00\"}",
                            "{\"a\":\"\xC3\"}",
                            "{\"a\":\"",
                            "{\"a\":1,\"a\":2}",
                            "{a:1}"})
        EXPECT_EQ(StatusOf([&] { qzmon::ReadJsonObject(bad); }), 400) << bad;
    try
    {
        qzmon::ReadJsonObject("{\"offset\":--1}");
        ADD_FAILURE();
    }
    catch (const Failure& failure)
    {
        EXPECT_NE(failure.text.find("at byte 11, "), std::string::npos) << failure.text;
    }
}

/// A request of the page itself at 127.0.0.1:8650, to be changed by a test.
qzmon::Visitor OwnPage(const std::string& method, const std::string& path)
{
    qzmon::Visitor visitor;
    visitor.method = method;
    visitor.path = path;
    visitor.host = "127.0.0.1:8650";
    visitor.origin = method == "POST" ? "http://127.0.0.1:8650" : "";
    visitor.fetchSite = "same-origin";
    visitor.fetchMode = "cors";
    visitor.writeToken = "w";
    return visitor;
}

int Answered(qzmon::Access* access, const qzmon::Visitor& visitor)
{
    return StatusOf([&] { access->Check(visitor, 8650); });
}

TEST(MonitorAccess, OnlyAnExactHostIsAnswered)
{
    qzmon::Access access("127.0.0.1", "", "w");
    const auto with = [&](const std::string& host) {
        qzmon::Visitor visitor = OwnPage("GET", "/api/status");
        visitor.host = host;
        return Answered(&access, visitor);
    };
    EXPECT_EQ(with("127.0.0.1:8650"), 0);
    EXPECT_EQ(with("localhost:8650"), 0);
    EXPECT_EQ(with("LocalHost:8650"), 0);
    for (const char* host :
         {"", "127.0.0.1", "localhost", "127.0.0.1:80", "127.0.0.1:86500", "127.attacker.example:8650",
          "127.0.0.1.nip.io:8650", "localhost:x@evil.com", "localhost:8650@evil.com", "127.0.0.2:8650",
          "127.0.0.1:8650 ", "evil.example:8650", "[::1]:8650"})
        EXPECT_EQ(with(host), 403) << host;
    qzmon::Access other("127.0.0.2", "", "w");
    qzmon::Visitor visitor = OwnPage("GET", "/");
    visitor.host = "127.0.0.2:8650";
    EXPECT_EQ(Answered(&other, visitor), 0);
}

TEST(MonitorAccess, PagesOfOtherSitesGetNothingButALinkToThePage)
{
    qzmon::Access access("127.0.0.1", "", "w");
    const auto from = [&](const std::string& path, const std::string& origin, const std::string& site,
                          const std::string& mode) {
        qzmon::Visitor visitor = OwnPage("GET", path);
        visitor.origin = origin;
        visitor.fetchSite = site;
        visitor.fetchMode = mode;
        return Answered(&access, visitor);
    };
    EXPECT_EQ(from("/api/status", "", "", ""), 0);
    EXPECT_EQ(from("/", "", "none", "navigate"), 0);
    EXPECT_EQ(from("/", "", "cross-site", "navigate"), 0);
    EXPECT_EQ(from("/", "", "cross-site", "no-cors"), 403);
    EXPECT_EQ(from("/api/status", "", "cross-site", "navigate"), 403);
    EXPECT_EQ(from("/api/status", "", "same-site", "cors"), 403);
    EXPECT_EQ(from("/api/status", "http://evil.example", "", ""), 403);
    EXPECT_EQ(from("/api/status", "null", "", ""), 403);
    EXPECT_EQ(from("/api/status", "http://127.0.0.1:8651", "", ""), 403);
}

TEST(MonitorAccess, AChangeNeedsTheTokenOfTheStart)
{
    qzmon::Access access("127.0.0.1", "", "0123456789abcdef");
    for (const char* path : {"/api/parameters", "/api/settings", "/api/restore", "/none"})
    {
        qzmon::Visitor visitor = OwnPage("POST", path);
        visitor.writeToken = "0123456789abcdef";
        EXPECT_EQ(Answered(&access, visitor), 0) << path;
        for (const char* token : {"", "1", "page", "0123456789abcdeF", "0123456789abcdef0"})
        {
            visitor.writeToken = token;
            EXPECT_EQ(Answered(&access, visitor), 403) << path << ' ' << token;
        }
        visitor.writeToken = "0123456789abcdef";
        visitor.origin = "http://evil.example";
        EXPECT_EQ(Answered(&access, visitor), 403) << path;
    }
    // A preview copies the whole database.
    qzmon::Visitor preview = OwnPage("GET", "/api/preview");
    EXPECT_EQ(Answered(&access, preview), 403);
    preview.writeToken = "0123456789abcdef";
    EXPECT_EQ(Answered(&access, preview), 0);
}

TEST(MonitorAccess, WrongTokensAreAnsweredSlowlyOneAtATime)
{
    qzmon::Access access("0.0.0.0", "abcdabcdabcdabcd", "w");
    qzmon::Visitor visitor = OwnPage("GET", "/");
    visitor.host = "lab.example";
    EXPECT_EQ(Answered(&access, visitor), 401);
    visitor.accessTokens = {"", "abcdabcdabcdabcd"};
    EXPECT_EQ(Answered(&access, visitor), 0);
    const QZUInt64 start = QZEnvironment::GetTickCount();
    visitor.accessTokens = {"abcdabcdabcdabce"};
    int first = 0;
    std::thread other([&] { first = Answered(&access, visitor); });
    const int second = Answered(&access, visitor);
    other.join();
    EXPECT_GE(QZEnvironment::GetTickCount() - start, 190u);
    // Whichever came while the other one waited was refused at once.
    EXPECT_TRUE((first == 401 && second == 429) || (first == 429 && second == 401)) << first << ' ' << second;
}

TEST(MonitorSettings, AChangeLeavesCommentsAndOrderAlone)
{
    TempDir dir;
    const std::string path = dir.NarrowName("m.ini");
    dir.Write("m.ini", "; mine\r\nsample-ms=500; as asked\r\nchart-seconds=60; x\r\n");
    {
        qzmon::Settings settings(path);
        EXPECT_EQ(settings.Number("sample-ms"), 500);
        settings.Change("sample-ms", "250");
        EXPECT_EQ(settings.Number("sample-ms"), 250);
    }
    EXPECT_EQ(dir.Read("m.ini"), "; mine\r\nsample-ms=250; as asked\r\nchart-seconds=60; x\r\n");
}

TEST(MonitorSettings, AMissingFileIsMadeWithAComment)
{
    TempDir dir;
    qzmon::Settings settings(dir.NarrowName("m.ini"));
    EXPECT_NE(dir.Read("m.ini").find("http-port=8650; where the page is served"), std::string::npos);
    EXPECT_EQ(settings.Number("http-port"), 8650);
    EXPECT_EQ(settings.Get("serial-line"), "");
    EXPECT_EQ(settings.Get("http-bind"), "127.0.0.1");
}

TEST(MonitorSettings, WhatThePageMayNotSetIsRefused)
{
    TempDir dir;
    qzmon::Settings settings(dir.NarrowName("m.ini"));
    EXPECT_EQ(StatusOf([&] { settings.Change("http-bind", "0.0.0.0"); }), 400);
    EXPECT_EQ(StatusOf([&] { settings.Change("nothing", "1"); }), 400);
    EXPECT_EQ(StatusOf([&] { settings.Change("sample-ms", "1"); }), 400);
    EXPECT_EQ(StatusOf([&] { settings.Change("sample-ms", "100; x"); }), 400);
    EXPECT_EQ(StatusOf([&] { settings.Change("sample-ms", "100"); }), 0);
    EXPECT_EQ(settings.Get("sample-ms"), "100");
}

TEST(MonitorSettings, AValueOutOfItsRangeReadsAsTheInitialOne)
{
    TempDir dir;
    dir.Write("m.ini", "sample-ms=5;\r\nchart-seconds=many;\r\n");
    qzmon::Settings settings(dir.NarrowName("m.ini"));
    EXPECT_EQ(settings.Number("sample-ms"), 1000);
    EXPECT_EQ(settings.Number("chart-seconds"), 120);
}

TEST(MonitorSettings, ABadNumberIsNamed)
{
    TempDir dir;
    dir.Write("m.ini", "sample-ms=-0.5;\r\nchart-seconds=60;\r\nbaud=1e5;\r\n");
    qzmon::Settings settings(dir.NarrowName("m.ini"));
    EXPECT_EQ(
        settings.Complaints(),
        (std::vector<std::string>{
            "qzmon.ini: \"sample-ms\" takes a whole number from 20 to 3600000, not \"-0.5\"; 1000 is used",
            "qzmon.ini: \"baud\" takes a whole number from 2400 to 2000000, not \"1e5\"; 115200 is used"}));
}

TEST(MonitorSettings, TheFileIsForItsUserAlone)
{
    if (std::filesystem::path::preferred_separator != '/')
        GTEST_SKIP() << "a file has the rights of its folder here";
    TempDir dir;
    const auto rights = [&](const char* name) {
        return static_cast<int>(std::filesystem::status(dir.Path(name)).permissions()) & 0777;
    };
    qzmon::Settings settings(dir.NarrowName("new.ini"));
    EXPECT_EQ(rights("new.ini"), 0600);
    dir.Write("old.ini", "sample-ms=500;\r\n");
    std::filesystem::permissions(dir.Path("old.ini"), static_cast<std::filesystem::perms>(0644));
    qzmon::Settings old(dir.NarrowName("old.ini"));
    old.Put("http-token", "0123456789abcdef");
    EXPECT_EQ(rights("old.ini"), 0600);
}

TEST_F(MonitorStore, SamplesAreThereAfterAReopeningAndTheLineSaysSo)
{
    EXPECT_EQ(Reopen(), "m.qzd: a new database");
    QZDateTime date(2024, 5, 6, 7, 8, 9, 10);
    const QZInt64 time = date.ToTimestamp();
    for (int i = 0; i < 5; ++i) m_store->Append(At(time + i, i));
    m_store->Sync();
    EXPECT_EQ(Reopen(), "m.qzd: checks clean, 5 samples, the last of 2024-05-06T07:08:09.014, 0 snapshots");
    EXPECT_EQ(Firsts(m_store->Last(3)), (std::vector<double>{2, 3, 4}));

    const qzmon::TablePage page = m_store->Rows("samples", 1, 2);
    EXPECT_EQ(page.count, 5);
    EXPECT_EQ(page.fields, (std::vector<std::string>{"time", "channel 1", "channel 2"}));
    ASSERT_EQ(page.rows.size(), 2u);
    EXPECT_EQ(page.rows[0], (std::vector<std::string>{"2024-05-06T07:08:09.012", "2", "2.5"}));
    EXPECT_TRUE(m_store->Rows("samples", 9, 2).rows.empty());
    EXPECT_EQ(StatusOf([&] { m_store->Rows("other", 0, 1); }), 404);
}

TEST_F(MonitorStore, ARestoreGoesBackAndCanBeTakenBack)
{
    Reopen();
    m_store->SetCorrections({"A", "B"}, {{0, 1}, {0, 1}});
    m_store->Append(At(1000, 1));
    const Snapshot first = m_store->TakeSnapshot("first \"one\"");
    m_store->Append(At(2000, 2));
    m_store->SetCorrections({"A", "B"}, {{5, 2}, {0, 1}});

    const qzmon::Preview preview = m_store->Look(first.id, 10);
    EXPECT_EQ(preview.samples.count, 1);
    EXPECT_EQ(preview.parameters.rows.at(1), (std::vector<std::string>{"A", "0", "1"}));
    EXPECT_EQ(m_store->Last(10).size(), 2u);
    EXPECT_FALSE(m_dir.Exists("m.qzd.preview"));

    m_store->Restore(first.id);
    EXPECT_EQ(Firsts(m_store->Last(10)), (std::vector<double>{1}));
    EXPECT_EQ(m_store->Corrections().at(0).offset, 0);
    m_store->Append(At(3000, 3));
    EXPECT_EQ(Firsts(m_store->Last(10)), (std::vector<double>{1, 3}));

    Reopen();
    const std::vector<Snapshot> all = m_store->Snapshots();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].label, "first \"one\"");
    EXPECT_EQ(all[1].label.find("before the restore of "), 0u);
    m_store->Restore(all[1].id);
    EXPECT_EQ(Firsts(m_store->Last(10)), (std::vector<double>{1, 2}));
    EXPECT_EQ(m_store->Corrections().at(0).offset, 5);
    EXPECT_EQ(m_store->Corrections().at(0).gain, 2);
    EXPECT_EQ(StatusOf([&] { m_store->Restore(12345); }), 404);
    EXPECT_EQ(StatusOf([&] { m_store->Look(12345, 1); }), 404);
}

TEST_F(MonitorStore, ALabelNamesOneSnapshot)
{
    Reopen();
    m_store->SetCorrections({"A", "B"}, {{0, 1}, {0, 1}});
    const std::string label = "]}\"\\<script>\r\n\xF0\x9F\x98\x80";
    const Snapshot first = m_store->TakeSnapshot(label);
    EXPECT_EQ(StatusOf([&] { m_store->TakeSnapshot(label); }), 409);
    try
    {
        m_store->TakeSnapshot(label);
    }
    catch (const Failure& failure)
    {
        EXPECT_EQ(failure.text,
                  "There is a snapshot \"]}\"\\<script>\\x0D\\x0A\xF0\x9F\x98\x80\" already; choose "
                  "another label.");
    }
    m_store->TakeSnapshot("");
    m_store->TakeSnapshot("");
    m_store->Restore(first.id);
    m_store->Restore(first.id);
    const std::vector<Snapshot> all = m_store->Snapshots();
    ASSERT_EQ(all.size(), 5u);
    EXPECT_EQ(all[0].label, label);
    EXPECT_EQ(all[4].label, all[3].label + " (2)");
    Reopen();
    EXPECT_EQ(StatusOf([&] { m_store->TakeSnapshot(label); }), 409);
}

TEST_F(MonitorStore, ARowWithoutItsTimeIsTakenOutAtTheStart)
{
    Reopen();
    m_store->Append(At(1000, 1));
    m_store->Close();
    m_store.reset();
    QZString path(Path().c_str());
    QZChannel* channel = QZChannel::Open(QZChannel::MODE_FILE, &path);
    QZDbTable* table = QZDbTable::Open(channel, "samples");
    table->DataAdd();
    QZDbTable::Close(&table);
    QZChannel::Close(&channel);

    EXPECT_EQ(Reopen().find("m.qzd: 1 incomplete samples were taken out, 1 samples"), 0u);
    EXPECT_EQ(Reopen().find("m.qzd: checks clean, 1 samples"), 0u);
}

TEST_F(MonitorStore, AFileThatIsNoDatabaseIsPutAside)
{
    m_dir.Write("m.qzd", std::string(500, 'x'));
    const std::string line = Reopen();
    EXPECT_NE(line.find("was put aside as m-damaged-"), std::string::npos) << line;
    EXPECT_NE(line.find("a new database"), std::string::npos) << line;
    m_store->Append(At(1000, 1));
    EXPECT_EQ(m_store->Last(5).size(), 1u);
}

TEST_F(MonitorStore, AFullFileIsPutAsideAndItsParametersStay)
{
    Reopen();
    m_store->SetCorrections({"A", "B"}, {{5, 2}, {0, 1}});
    m_store->Append(At(1000, 1));
    m_store->Sync();
    EXPECT_FALSE(m_store->Rotate(1 << 30));
    EXPECT_TRUE(m_store->Rotate(1000));
    EXPECT_TRUE(m_store->Last(5).empty());
    EXPECT_EQ(m_store->Corrections().at(0).offset, 5);
    m_store->Append(At(2000, 2));
    EXPECT_EQ(Reopen().find("m.qzd: checks clean, 1 samples"), 0u);
}

TEST_F(MonitorStore, WhileNothingCanBeWrittenSamplesWaitAndNoneIsLost)
{
    Reopen();
    m_store->Append(At(1000, 1));
    m_store->Sync();
    EXPECT_EQ(m_store->GetState().trouble, "");
    EXPECT_EQ(m_store->GetState().stored, 1);
    {
        const Failing writes(os::Op::FileWrite, kRefused);
        m_store->Append(At(2000, 2));
        m_store->Sync();
        EXPECT_EQ(m_store->GetState().trouble, std::error_code(kRefused, std::system_category()).message());
        for (int i = 3; i <= 50; ++i) m_store->Append(At(i * 1000, i));
        m_store->Sync();
        const qzmon::StoreState state = m_store->GetState();
        EXPECT_NE(state.trouble, "");
        EXPECT_EQ(state.stored, 1);
        EXPECT_EQ(state.atRisk, 49);
        EXPECT_EQ(state.lost, 0);
        EXPECT_EQ(m_store->Rows("samples", 0, 10).count, 2);
    }
    m_store->Sync();
    EXPECT_EQ(m_store->GetState().trouble, "");
    EXPECT_EQ(m_store->GetState().stored, 50);
    EXPECT_EQ(m_store->GetState().atRisk, 0);
    EXPECT_EQ(Reopen().find("m.qzd: checks clean, 50 samples"), 0u);
    const std::vector<double> firsts = Firsts(m_store->Last(100));
    ASSERT_EQ(firsts.size(), 50u);
    for (int i = 0; i < 50; ++i) EXPECT_EQ(firsts[static_cast<std::size_t>(i)], i + 1);
}

TEST_F(MonitorStore, MemoryHoldsSoManySamplesAndTheRestIsCounted)
{
    Reopen();
    const Failing writes(os::Op::FileWrite, kRefused);
    m_store->Append(At(1, 1));
    m_store->Sync();
    const QZInt64 most = static_cast<QZInt64>(Store::kHeldMax);
    for (QZInt64 i = 0; i < most + 7; ++i) m_store->Append(At(i + 2, 2));
    m_store->Sync();
    EXPECT_EQ(m_store->GetState().lost, 7);
    // One sample is a row that no sync has written.
    EXPECT_EQ(m_store->GetState().atRisk, most + 1);
}

TEST_F(MonitorStore, AFileThatCannotBePutAsideStaysInUse)
{
    Reopen();
    m_store->Append(At(1000, 1));
    m_store->Sync();
    {
        const Failing names(os::Op::FileName, kRefused);
        EXPECT_EQ(StatusOf([&] { m_store->Rotate(1000); }), 500);
    }
    EXPECT_NE(m_store->GetState().notice.find("cannot be put aside"), std::string::npos);
    // It is tried again after a minute.
    EXPECT_FALSE(m_store->Rotate(1000));
    m_store->Append(At(2000, 2));
    m_store->Sync();
    EXPECT_EQ(m_store->GetState().stored, 2);
    EXPECT_EQ(m_store->Rows("samples", 0, 10).count, 2);
    EXPECT_EQ(Reopen().find("m.qzd: checks clean, 2 samples"), 0u);
}

TEST_F(MonitorStore, ASnapshotOnAFullDiskIsTakenAndWrittenLater)
{
    Reopen();
    m_store->Append(At(1000, 1));
    m_store->Sync();
    {
        const Failing writes(os::Op::FileWrite, kRefused);
        EXPECT_EQ(m_store->TakeSnapshot("full").label, "full");
        EXPECT_NE(m_store->GetState().trouble, "");
    }
    m_store->Sync();
    Reopen();
    ASSERT_EQ(m_store->Snapshots().size(), 1u);
    EXPECT_EQ(m_store->Snapshots()[0].label, "full");
}

TEST_F(MonitorStore, AFileThatDisappearsIsToldAndEndsNothing)
{
    Reopen();
    m_store->Append(At(1000, 1));
    m_store->Sync();
    std::error_code refused;
    if (!std::filesystem::remove(m_dir.Path("m.qzd"), refused)) GTEST_SKIP() << "an open file stays here";
    m_store->Append(At(2000, 2));
    m_store->Sync();
    EXPECT_NE(m_store->GetState().trouble, "");
    EXPECT_EQ(m_store->GetState().stored, 1);
}

TEST_F(MonitorStore, AFullFileThatHasNoSuccessorIsMadeAgainWhenThereIsRoom)
{
    Reopen();
    m_store->Append(At(1000, 1));
    m_store->Sync();
    {
        // The old file has nothing left to write: the first write is that of the new one.
        const Failing writes(os::Op::FileWrite, kRefused);
        EXPECT_EQ(StatusOf([&] { m_store->Rotate(1000); }), 503);
        m_store->Append(At(2000, 2));
        m_store->Sync();
        EXPECT_EQ(m_store->GetState().atRisk, 1);
        EXPECT_EQ(StatusOf([&] { m_store->Rows("samples", 0, 10); }), 503);
    }
    m_store->Sync();
    EXPECT_EQ(m_store->GetState().trouble, "");
    EXPECT_EQ(Reopen().find("m.qzd: checks clean, 1 samples"), 0u);
}

TEST_F(MonitorStore, AFileThatCannotBeOpenedIsNotTakenForADamagedOne)
{
    Reopen();
    m_store->Append(At(1000, 1));
    m_store.reset();
    {
        const Failing opens(os::Op::FileOpen, kRefused);
        EXPECT_TRUE(QZ_TEST_CATCH(Reopen()).thrown);
    }
    EXPECT_EQ(Reopen().find("m.qzd: checks clean, 1 samples"), 0u);
}

TEST(MonitorPictures, AChartHasItsSizeAndTheColoursOfItsLines)
{
    qzmon::ChartRequest request;
    request.width = 300;
    request.height = 160;
    request.now = 1000000;
    request.seconds = 60;
    request.names = {"A", "B"};
    const auto count = [](const std::string& bitmap, QZUInt32 color) {
        int found = 0;
        for (std::size_t i = 54; i + 4 <= bitmap.size(); i += 4)
        {
            QZUInt32 pixel = 0;
            std::memcpy(&pixel, bitmap.data() + i, 4);
            found += (pixel & 0xFFFFFF) == color;
        }
        return found;
    };
    const QZUInt32 blue = static_cast<QZUInt32>(std::stoul(qzmon::ChannelColor(0).substr(1), nullptr, 16));
    const std::string empty = qzmon::DrawChart(request, {});
    EXPECT_EQ(empty.size(), 54u + 300 * 160 * 4);
    EXPECT_EQ(empty.substr(0, 2), "BM");
    std::vector<Sample> samples;
    for (int i = 0; i < 30; ++i) samples.push_back(At(request.now - 60000 + i * 2000, i % 5));
    const std::string full = qzmon::DrawChart(request, samples);
    EXPECT_GT(count(full, blue), count(empty, blue) + 100);
    // Samples that are too far apart are points without a line between them.
    request.gap = 1000;
    EXPECT_LT(count(qzmon::DrawChart(request, samples), blue), count(full, blue) / 2);
}

TEST(MonitorDevice, TheSimulatorIsReadWrittenUnpluggedAndPlugged)
{
    qzmon::Simulator simulator({{10, 2}});
    if (simulator.PortName().empty()) GTEST_SKIP() << "no pseudo-terminals here";
    qzmon::Device device(3);
    EXPECT_EQ(StatusOf([&] { device.Read(); }), 503);
    device.Connect(simulator.PortName(), 115200);
    EXPECT_EQ(device.Names(), (std::vector<std::string>{"TEMP", "PRES", "FLOW"}));
    EXPECT_EQ(device.ReadCorrections().at(0).offset, 10);
    EXPECT_EQ(device.ReadCorrections().at(0).gain, 2);
    EXPECT_EQ(device.Write(0, {-0.5, -1}), (Correction{-0.5, -1}));
    EXPECT_EQ(device.ReadCorrections().at(0), (Correction{-0.5, -1}));
    // A device has floats: what it answers is not always what it was asked for.
    EXPECT_EQ(device.Write(0, {16777217, 0.123456789}), (Correction{16777216, 0.12345679}));
    EXPECT_EQ(device.Write(0, {1.1, 3}), (Correction{1.1, 3}));
    EXPECT_EQ(device.ReadCorrections().at(0).offset, 1.1);
    EXPECT_EQ(device.Read().size(), 3u);

    simulator.Plug(false);
    EXPECT_FALSE(simulator.IsPlugged());
    bool lost = false;
    try
    {
        device.Read();
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        lost = true;
    }
    EXPECT_TRUE(lost);
    EXPECT_FALSE(device.IsConnected());
    simulator.Plug(true);
    device.Connect(simulator.PortName(), 115200);
    EXPECT_EQ(device.ReadCorrections().at(0).offset, 1.1);
}

TEST(MonitorDevice, ASetTellsWhatTheDeviceHas)
{
    EXPECT_EQ(qzmon::SetMessage("TEMP", {-0.5, 1}, {-0.5, 1}),
              "TEMP: offset -0.5, gain 1, read back from the device.");
    EXPECT_EQ(qzmon::SetMessage("TEMP", {16777217, 1}, {16777216, 1}),
              "TEMP: asked for offset 16777217, gain 1, but the device has offset 16777216, gain 1.");
}

TEST(MonitorDevice, TheSimulatedSignalStaysWhereInstrumentsWould)
{
    for (int second = 0; second < 700; ++second)
    {
        EXPECT_NEAR(qzmon::Simulator::Raw(0, second, 0), 21.7, 2.1);
        EXPECT_NEAR(qzmon::Simulator::Raw(1, second, 0), 2.2, 1.3);
        EXPECT_NEAR(qzmon::Simulator::Raw(2, second, 0), 6.25, 6.3);
        EXPECT_NEAR(qzmon::Simulator::Raw(3, second, 0), 23.83, 0.25);
    }
}

TEST_F(MonitorStore, AListWithoutAnEndIsPutAside)
{
    Reopen();
    for (int i = 0; i < 10; ++i) m_store->Append({i * 1000, {1.0, 2.0}});
    m_store->TakeSnapshot("m");
    m_store.reset();
    const std::string good = m_dir.Read("m.qzd");
    QZInt64 rowEnd = 0;
    QZInt64 row = 0;
    QZInt64 markEnd = 0;
    QZInt64 mark = 0;
    {
        QZChannel* channel = QZChannel::Open(QZChannel::MODE_FILE, Path().c_str());
        QZString name("samples");
        QZDbTable* table = QZDbTable::Open(channel, &name);
        row = table->DataGet(3);
        rowEnd = channel->G_A(table->DataGet(7), QZDatabaseInfo::DATA_END);
        QZDbTable::Close(&table);
        QZCollection marks;
        channel->G_AL(QZDatabaseInfo::ADDRESSARRAYCOPY_SHNAPSHOTS, 0, &marks);
        mark = static_cast<QZInt64>(marks.GetElement(0));
        markEnd = channel->G_A(mark, QZDatabaseInfo::DATA_END);
        QZChannel::Close(&channel);
    }
    const QZInt64 links[][2] = {{rowEnd, row}, {markEnd, mark}};
    for (const auto& [end, to] : links)
    {
        std::string bytes = good;
        for (int i = 0; i < 8; ++i)
            bytes[static_cast<std::size_t>(end) - 8 + static_cast<std::size_t>(i)] =
                static_cast<char>(to >> (8 * i) & 0xFF);
        m_dir.Write("m.qzd", bytes);
        const std::string line = Reopen();
        EXPECT_NE(line.find("has no end) and was put aside as"), std::string::npos) << line;
        m_store.reset();
    }
}
