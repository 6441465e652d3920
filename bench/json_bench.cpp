/// JSON read and written beside nlohmann/json and RapidJSON: status records of 1, 10 and 100 KiB. Each
/// library reads and writes its own text form: UTF-16 for ours, UTF-8 for the peers.

#include <string>

#include "bench_support.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "net/net_json.h"
#ifdef QZ_HAVE_NLOHMANN
#include <nlohmann/json.hpp>
#endif
#ifdef QZ_HAVE_RAPIDJSON
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#endif

namespace
{
/// An array of records of some 130 characters each.
std::string Document(std::size_t size)
{
    std::string text = "[";
    for (int i = 0; text.size() + 130 < size; ++i)
    {
        const std::string number = std::to_string(i);
        if (i > 0) text += ',';
        text += R"({"id":)" + number + R"(,"name":"channel )" + number + R"(","value":)" +
                std::to_string(i % 100) + R"(.25,"limits":[-)" + number + R"(,)" + number +
                R"(],"on":true,"unit":"mV","note":null,)" + R"("device":{"model":"QZ-)" + number +
                R"(","slot":7}})";
    }
    return text + "]";
}

void Count(benchmark::State& state, std::size_t size, std::uint64_t before)
{
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
    state.counters["allocations"] =
        static_cast<double>(qzbench::Allocations() - before) / static_cast<double>(state.iterations());
}

void Read(benchmark::State& state)
{
    const std::string document = Document(static_cast<std::size_t>(state.range(0)));
    QZString text(document.c_str());
    const std::uint64_t before = qzbench::Allocations();
    for (auto _ : state)
    {
        QZJsonValue* value = QZJsonFactory::DeserializeObject(&text);
        benchmark::DoNotOptimize(value);
        QZJsonFactory::Recycle(&value);
    }
    Count(state, document.size(), before);
}

void Write(benchmark::State& state)
{
    const std::string document = Document(static_cast<std::size_t>(state.range(0)));
    QZString text(document.c_str());
    QZJsonValue* value = QZJsonFactory::DeserializeObject(&text);
    const std::uint64_t before = qzbench::Allocations();
    for (auto _ : state)
    {
        QZString* written = QZJsonFactory::SerializeObject(value);
        benchmark::DoNotOptimize(written);
        QZStringFactory::Recycle(&written);
    }
    Count(state, document.size(), before);
    QZJsonFactory::Recycle(&value);
}

#ifdef QZ_HAVE_NLOHMANN
void NlohmannRead(benchmark::State& state)
{
    const std::string document = Document(static_cast<std::size_t>(state.range(0)));
    const std::uint64_t before = qzbench::Allocations();
    for (auto _ : state)
    {
        nlohmann::json value = nlohmann::json::parse(document);
        benchmark::DoNotOptimize(value);
    }
    Count(state, document.size(), before);
}

void NlohmannWrite(benchmark::State& state)
{
    const std::string document = Document(static_cast<std::size_t>(state.range(0)));
    const nlohmann::json value = nlohmann::json::parse(document);
    const std::uint64_t before = qzbench::Allocations();
    for (auto _ : state)
    {
        std::string written = value.dump();
        benchmark::DoNotOptimize(written);
    }
    Count(state, document.size(), before);
}
#endif

#ifdef QZ_HAVE_RAPIDJSON
void RapidRead(benchmark::State& state)
{
    const std::string document = Document(static_cast<std::size_t>(state.range(0)));
    const std::uint64_t before = qzbench::Allocations();
    for (auto _ : state)
    {
        rapidjson::Document value;
        value.Parse(document.c_str(), document.size());
        benchmark::DoNotOptimize(value);
    }
    Count(state, document.size(), before);
}

void RapidWrite(benchmark::State& state)
{
    const std::string document = Document(static_cast<std::size_t>(state.range(0)));
    rapidjson::Document value;
    value.Parse(document.c_str(), document.size());
    const std::uint64_t before = qzbench::Allocations();
    for (auto _ : state)
    {
        rapidjson::StringBuffer written;
        rapidjson::Writer<rapidjson::StringBuffer> writer(written);
        value.Accept(writer);
        benchmark::DoNotOptimize(written.GetString());
    }
    Count(state, document.size(), before);
}
#endif

void Register(const std::string& name, void (*run)(benchmark::State&))
{
    for (const std::int64_t size : {1 << 10, 10 << 10, 100 << 10})
        benchmark::RegisterBenchmark(name.c_str(), run)->Arg(size);
}
}  // namespace

int main(int argc, char** argv)
{
    Register("json read", Read);
    Register("json write", Write);
#ifdef QZ_HAVE_NLOHMANN
    Register("nlohmann read", NlohmannRead);
    Register("nlohmann write", NlohmannWrite);
#endif
#ifdef QZ_HAVE_RAPIDJSON
    Register("rapidjson read", RapidRead);
    Register("rapidjson write", RapidWrite);
#endif
    for (const char* direction : {"read", "write"})
    {
        for (const int size : {1 << 10, 10 << 10, 100 << 10})
        {
            const std::string job = std::string(direction) + "/" + std::to_string(size);
            const std::string label =
                "JSON " + std::string(direction) + ", " + std::to_string(size >> 10) + " KiB";
            qzbench::Compare(label + " (nlohmann)", "json " + job, "nlohmann " + job, 1);
            qzbench::Compare(label + " (RapidJSON)", "json " + job, "rapidjson " + job);
        }
        const std::string both = std::string("json ") + direction + "/";
        qzbench::Growth(std::string("JSON ") + direction + ", 100 KiB by 1 KiB", both + "1024",
                        both + "102400", 160);
    }
    return qzbench::Main(argc, argv);
}
