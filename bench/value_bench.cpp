/// Values: lookup by key beside std::map and std::unordered_map, dates beside strptime and strftime, Base64
/// beside OpenSSL.

#include <ctime>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "bench_support.h"
#include "codec/cod_base64.h"
#include "fw/fw_convert.h"
#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_keyed.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_time.h"
#ifdef QZ_HAVE_OPENSSL
#include <openssl/evp.h>
#endif

namespace
{
// ---- Keys

/// Names of one length that differ in their last characters, as names in one collection do.
std::string KeyText(QZInt64 number)
{
    char text[32];
    std::snprintf(text, sizeof text, "field-name-%06lld", number);
    return text;
}

/// The keys in random order, so that caches do not help.
std::vector<QZInt64> Order(QZInt64 count)
{
    std::vector<QZInt64> order(static_cast<std::size_t>(count));
    std::mt19937 random(7);
    for (QZInt64& number : order) number = static_cast<QZInt64>(random() % static_cast<QZUInt64>(count));
    return order;
}

void KeyedLookup(benchmark::State& state)
{
    QZKeyValueCollection collection;
    QZString value(QZ_W("v"));
    std::vector<std::unique_ptr<QZString>> values;
    std::vector<std::unique_ptr<QZString>> keys;
    for (QZInt64 i = 0; i < state.range(0); ++i)
    {
        keys.push_back(std::make_unique<QZString>(KeyText(i).c_str()));
        values.push_back(std::make_unique<QZString>(&value));
        collection.Add(keys.back().get(), values.back().get());
    }
    const std::vector<QZInt64> order = Order(state.range(0));
    std::size_t next = 0;
    for (auto _ : state)
    {
        const QZInt64 number = order[next];
        if (collection.GetElement(keys[static_cast<std::size_t>(number)].get()) !=
            values[static_cast<std::size_t>(number)].get())
            state.SkipWithError("another element");
        if (++next == order.size()) next = 0;
    }
    state.SetItemsProcessed(state.iterations());
    // The collection unlocks the values, so it is deleted before them.
    collection.Clear();
}

template <typename Map>
void MapLookup(benchmark::State& state)
{
    Map map;
    std::vector<std::u16string> keys;
    for (QZInt64 i = 0; i < state.range(0); ++i)
    {
        const std::string text = KeyText(i);
        keys.emplace_back(text.begin(), text.end());
        map[keys.back()] = i;
    }
    const std::vector<QZInt64> order = Order(state.range(0));
    std::size_t next = 0;
    for (auto _ : state)
    {
        const QZInt64 number = order[next];
        if (map.find(keys[static_cast<std::size_t>(number)])->second != number)
            state.SkipWithError("another element");
        if (++next == order.size()) next = 0;
    }
    state.SetItemsProcessed(state.iterations());
}

// ---- Dates

/// 64 dates over some years.
std::vector<std::string> DateTexts()
{
    std::vector<std::string> texts;
    for (int i = 0; i < 64; ++i)
    {
        char text[64];
        std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", 1990 + i, i % 12 + 1, i % 28 + 1,
                      i % 24, i % 60, 59 - i % 60);
        texts.push_back(text);
    }
    return texts;
}

void DateParse(benchmark::State& state)
{
    std::vector<std::unique_ptr<QZString>> texts;
    for (const std::string& text : DateTexts()) texts.push_back(std::make_unique<QZString>(text.c_str()));
    std::size_t next = 0;
    for (auto _ : state)
    {
        QZDateTime* time = QZConvert::StringToDateTime(texts[next % 64].get());
        benchmark::DoNotOptimize(time->ToTimestamp());
        QZConvert::Recycle(&time);
        ++next;
    }
    state.SetItemsProcessed(state.iterations());
}

void DatePrint(benchmark::State& state)
{
    std::vector<QZInt64> stamps;
    for (const std::string& text : DateTexts())
    {
        QZDateTime* time = QZConvert::StringToDateTime(text.c_str());
        stamps.push_back(time->ToTimestamp());
        QZConvert::Recycle(&time);
    }
    std::size_t next = 0;
    for (auto _ : state)
    {
        QZDateTime time(stamps[next++ % 64]);
        QZString* text = QZConvert::DateTimeToString(&time);
        benchmark::DoNotOptimize(text);
        QZStringFactory::Recycle(&text);
    }
    state.SetItemsProcessed(state.iterations());
}

void StrpTime(benchmark::State& state)
{
    const std::vector<std::string> texts = DateTexts();
    std::size_t next = 0;
    for (auto _ : state)
    {
        std::tm fields{};
        if (!strptime(texts[next++ % 64].c_str(), "%Y-%m-%d %H:%M:%S", &fields))
            state.SkipWithError("no date");
        benchmark::DoNotOptimize(timegm(&fields));
    }
    state.SetItemsProcessed(state.iterations());
}

void StrfTime(benchmark::State& state)
{
    std::vector<std::time_t> stamps;
    for (const std::string& text : DateTexts())
    {
        std::tm fields{};
        strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &fields);
        stamps.push_back(timegm(&fields));
    }
    std::size_t next = 0;
    for (auto _ : state)
    {
        std::tm fields{};
        gmtime_r(&stamps[next++ % 64], &fields);
        char text[32];
        benchmark::DoNotOptimize(std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &fields));
        benchmark::DoNotOptimize(text);
    }
    state.SetItemsProcessed(state.iterations());
}

// ---- Base64. The time is for one byte of the data.

std::string Bytes(QZInt64 size)
{
    std::string bytes(static_cast<std::size_t>(size), '\0');
    std::mt19937 random(7);
    for (char& byte : bytes) byte = static_cast<char>(random());
    return bytes;
}

void Encode(benchmark::State& state)
{
    const std::string bytes = Bytes(state.range(0));
    QZData data(bytes.data(), state.range(0));
    for (auto _ : state)
    {
        QZString* text = QZBase64::EnCode(&data);
        benchmark::DoNotOptimize(text);
        QZBase64::Recycle(&text);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Decode(benchmark::State& state)
{
    const std::string bytes = Bytes(state.range(0));
    QZData data(bytes.data(), state.range(0));
    QZString* text = QZBase64::EnCode(&data);
    for (auto _ : state)
    {
        QZData* back = QZBase64::DeCode(text);
        if (back->GetSize() != state.range(0)) state.SkipWithError("another size");
        QZBase64::Recycle(&back);
    }
    QZBase64::Recycle(&text);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

#ifdef QZ_HAVE_OPENSSL
std::string OpensslText(const std::string& bytes)
{
    std::string text(bytes.size() / 3 * 4 + 8, '\0');
    const int size =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                        reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(size));
    return text;
}

void OpensslEncode(benchmark::State& state)
{
    const std::string bytes = Bytes(state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(OpensslText(bytes).data());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void OpensslDecode(benchmark::State& state)
{
    const std::string text = OpensslText(Bytes(state.range(0)));
    for (auto _ : state)
    {
        std::string bytes(text.size(), '\0');
        const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                         reinterpret_cast<const unsigned char*>(text.data()),
                                         static_cast<int>(text.size()));
        if (size < state.range(0)) state.SkipWithError("another size");
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
#endif

using Run = void (*)(benchmark::State&);

void Add(const char* name, Run run, const std::vector<QZInt64>& sizes)
{
    for (const QZInt64 size : sizes) benchmark::RegisterBenchmark(name, run)->Arg(size);
}

void CompareAt(const std::string& what, const std::string& ours, const std::string& peer,
               const std::vector<QZInt64>& sizes, double goal)
{
    for (const QZInt64 size : sizes)
    {
        const std::string at = "/" + std::to_string(size);
        qzbench::Compare(what + ", " + std::to_string(size), ours + at, peer + at, goal);
    }
    qzbench::Growth(what + ": growth with size", ours + "/" + std::to_string(sizes.front()),
                    ours + "/" + std::to_string(sizes.back()), 0);
}
}  // namespace

int main(int argc, char** argv)
{
    const std::vector<QZInt64> counts{4, 16, 64, 256, 1024, 4096};
    Add("KeyedLookup", KeyedLookup, counts);
    Add("HashLookup", MapLookup<std::unordered_map<std::u16string, QZInt64>>, counts);
    Add("TreeLookup", MapLookup<std::map<std::u16string, QZInt64>>, counts);
    CompareAt("QZKeyValueCollection lookup / std::unordered_map, keys", "KeyedLookup", "HashLookup", counts,
              0);
    CompareAt("QZKeyValueCollection lookup / std::map, keys", "KeyedLookup", "TreeLookup", {16, 1024}, 0);

    benchmark::RegisterBenchmark("DateParse", DateParse);
    benchmark::RegisterBenchmark("DatePrint", DatePrint);
    benchmark::RegisterBenchmark("StrpTime", StrpTime);
    benchmark::RegisterBenchmark("StrfTime", StrfTime);
    qzbench::Compare("date and time parse / strptime and timegm", "DateParse", "StrpTime");
    qzbench::Compare("date and time print / gmtime_r and strftime", "DatePrint", "StrfTime");

    const std::vector<QZInt64> sizes{1000, 64000, 1000000};
    Add("Encode", Encode, sizes);
    Add("Decode", Decode, sizes);
#ifdef QZ_HAVE_OPENSSL
    Add("OpensslEncode", OpensslEncode, sizes);
    Add("OpensslDecode", OpensslDecode, sizes);
#endif
    CompareAt("Base64 encode, a byte of / OpenSSL", "Encode", "OpensslEncode", sizes, 0.5);
    CompareAt("Base64 decode, a byte of / OpenSSL", "Decode", "OpensslDecode", sizes, 0.5);
    return qzbench::Main(argc, argv);
}
