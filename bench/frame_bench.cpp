/// The frame's containers and text: object cache beside new and delete, QZData beside std::vector, QZString
/// beside std::u16string, conversions beside ICU.

#include <deque>
#include <string>
#include <vector>

#include "bench_support.h"
#include "fw/fw_data.h"
#include "fw/fw_encoding.h"
#include "fw/fw_object_cache.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#ifdef QZ_HAVE_ICU
#include <unicode/ustring.h>
#endif

namespace
{
void Count(benchmark::State& state, QZInt64 perIteration, std::uint64_t allocationsBefore)
{
    const std::uint64_t allocations = qzbench::Allocations() - allocationsBefore;
    state.SetItemsProcessed(state.iterations() * perIteration);
    state.counters["allocations"] =
        static_cast<double>(allocations) /
        (static_cast<double>(state.iterations()) * static_cast<double>(perIteration));
}

// ---- Objects

void CacheOutIn(benchmark::State& state)
{
    QZCache<QZString> cache(-1, -1);
    QZObject* warm = cache.Out();
    cache.In(&warm);
    const std::uint64_t before = qzbench::Allocations();
    for (auto _ : state)
    {
        QZObject* object = cache.Out();
        benchmark::DoNotOptimize(object);
        cache.In(&object);
    }
    Count(state, 1, before);
}

void NewDelete(benchmark::State& state)
{
    const std::uint64_t before = qzbench::Allocations();
    for (auto _ : state)
    {
        auto* object = new QZString();
        benchmark::DoNotOptimize(object);
        delete object;
    }
    Count(state, 1, before);
}

/// An object that owns no storage, the cheapest one that new can create.
void NewDeleteSmall(benchmark::State& state)
{
    for (auto _ : state)
    {
        auto* object = new QZObject();
        benchmark::DoNotOptimize(object);
        delete object;
    }
    state.SetItemsProcessed(state.iterations());
}

void FactoryString(benchmark::State& state)
{
    const std::uint64_t before = qzbench::Allocations();
    for (auto _ : state)
    {
        QZString* text = QZStringFactory::CreateString(QZ_W("a text of thirty-two characters."));
        benchmark::DoNotOptimize(text);
        QZStringFactory::Recycle(&text);
    }
    Count(state, 1, before);
}

void StdString(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::u16string text(u"a text of thirty-two characters.");
        benchmark::DoNotOptimize(text.data());
    }
    state.SetItemsProcessed(state.iterations());
}

// ---- Bytes. One iteration builds a buffer of range(0) bytes from pieces of 16. Our object is cleared and
// used again, as an object from a factory is.

constexpr char kPiece[17] = "sixteen letters.";

void DataAppend(benchmark::State& state)
{
    const QZInt64 pieces = state.range(0) / 16;
    for (auto _ : state)
    {
        QZData data;
        for (QZInt64 i = 0; i < pieces; ++i) data.Append(kPiece, 16);
        benchmark::DoNotOptimize(data.GetPointer());
    }
    state.SetItemsProcessed(state.iterations() * pieces);
}

void DataAppendReused(benchmark::State& state)
{
    const QZInt64 pieces = state.range(0) / 16;
    QZData data;
    for (auto _ : state)
    {
        data.Clear();
        for (QZInt64 i = 0; i < pieces; ++i) data.Append(kPiece, 16);
        benchmark::DoNotOptimize(data.GetPointer());
    }
    state.SetItemsProcessed(state.iterations() * pieces);
}

void VectorAppend(benchmark::State& state)
{
    const QZInt64 pieces = state.range(0) / 16;
    for (auto _ : state)
    {
        std::vector<char> data;
        for (QZInt64 i = 0; i < pieces; ++i) data.insert(data.end(), kPiece, kPiece + 16);
        benchmark::DoNotOptimize(data.data());
    }
    state.SetItemsProcessed(state.iterations() * pieces);
}

void VectorAppendReused(benchmark::State& state)
{
    const QZInt64 pieces = state.range(0) / 16;
    std::vector<char> data;
    for (auto _ : state)
    {
        data.clear();
        for (QZInt64 i = 0; i < pieces; ++i) data.insert(data.end(), kPiece, kPiece + 16);
        benchmark::DoNotOptimize(data.data());
    }
    state.SetItemsProcessed(state.iterations() * pieces);
}

/// Prepends four bytes, such as the head of a message, to a content of range(0) bytes, once for each content.
void DataPrepend(benchmark::State& state)
{
    QZData data(state.range(0));
    const QZInt64 offset = data.GetOffset();
    for (auto _ : state)
    {
        data.Prepend(kPiece, 4);
        data.SetOffset(offset);
        benchmark::DoNotOptimize(data.GetPointer());
    }
    state.SetItemsProcessed(state.iterations());
}

void VectorPrepend(benchmark::State& state)
{
    std::vector<char> data(static_cast<std::size_t>(state.range(0)) + 16);
    data.resize(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
    {
        data.insert(data.begin(), kPiece, kPiece + 4);
        data.resize(static_cast<std::size_t>(state.range(0)));
        benchmark::DoNotOptimize(data.data());
    }
    state.SetItemsProcessed(state.iterations());
}

// ---- Text

void StringAppend(benchmark::State& state)
{
    const QZInt64 pieces = state.range(0) / 16;
    QZString text;
    for (auto _ : state)
    {
        text.Clear();
        for (QZInt64 i = 0; i < pieces; ++i) text.Append(QZ_W("sixteen letters."));
        benchmark::DoNotOptimize(text.GetPointer());
    }
    state.SetItemsProcessed(state.iterations() * pieces);
}

void StdStringAppend(benchmark::State& state)
{
    const QZInt64 pieces = state.range(0) / 16;
    std::u16string text;
    for (auto _ : state)
    {
        text.clear();
        for (QZInt64 i = 0; i < pieces; ++i) text.append(u"sixteen letters.");
        benchmark::DoNotOptimize(text.data());
    }
    state.SetItemsProcessed(state.iterations() * pieces);
}

/// A long text that has the wanted words at its end only. One operation is one unit searched.
std::u16string Hay(QZInt64 units)
{
    std::u16string hay;
    while (static_cast<QZInt64>(hay.size()) < units) hay += u"the needle is not in this bundle of hay, nor ";
    hay.resize(static_cast<std::size_t>(units));
    return hay + u"needles here";
}

void StringFind(benchmark::State& state)
{
    const std::u16string hay = Hay(state.range(0));
    QZString text(reinterpret_cast<const QZWChar*>(hay.c_str()));
    QZString needle(QZ_W("needles here"));
    for (auto _ : state)
    {
        if (text.IndexOf(&needle) != state.range(0)) state.SkipWithError("not found");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void StdStringFind(benchmark::State& state)
{
    const std::u16string text = Hay(state.range(0));
    const std::u16string needle = u"needles here";
    for (auto _ : state)
    {
        if (static_cast<QZInt64>(text.find(needle)) != state.range(0)) state.SkipWithError("not found");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// Mixed text: mostly ASCII, some two-byte, three-byte and four-byte characters. One operation is one byte of
/// UTF-8.
std::string Mixed(QZInt64 bytes)
{
    std::string text;
    while (static_cast<QZInt64>(text.size()) < bytes)
        text +=
            "plain words and gr\xC3\xBC\xC3\x9F"
            "e, \xE4\xB8\xAD\xE6\x96\x87, \xF0\x9F\x98\x80 ";
    return text;
}

void FromUtf8(benchmark::State& state)
{
    const std::string source = Mixed(state.range(0));
    std::u16string target(source.size(), u'\0');
    for (auto _ : state)
    {
        const QZInt64 size = QZEncoding::Convert(QZEncodingType::UTF8, source.data(),
                                                 static_cast<QZInt64>(source.size()), QZEncodingType::UTF16LE,
                                                 target.data(), static_cast<QZInt64>(target.size()) * 2);
        if (size <= 0) state.SkipWithError("no conversion");
        benchmark::DoNotOptimize(target.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<QZInt64>(source.size()));
}

std::u16string Wide(const std::string& source)
{
    std::u16string target(source.size(), u'\0');
    const QZInt64 size =
        QZEncoding::Convert(QZEncodingType::UTF8, source.data(), static_cast<QZInt64>(source.size()),
                            QZEncodingType::UTF16LE, target.data(), static_cast<QZInt64>(target.size()) * 2);
    target.resize(static_cast<std::size_t>(size / 2));
    return target;
}

void ToUtf8(benchmark::State& state)
{
    const std::u16string source = Wide(Mixed(state.range(0)));
    std::string target(source.size() * 3, '\0');
    QZInt64 size = 0;
    for (auto _ : state)
    {
        size = QZEncoding::Convert(QZEncodingType::UTF16LE, source.data(),
                                   static_cast<QZInt64>(source.size()) * 2, QZEncodingType::UTF8,
                                   target.data(), static_cast<QZInt64>(target.size()));
        benchmark::DoNotOptimize(target.data());
    }
    if (size < state.range(0)) state.SkipWithError("no conversion");
    state.SetItemsProcessed(state.iterations() * size);
}

#ifdef QZ_HAVE_ICU
void IcuFromUtf8(benchmark::State& state)
{
    const std::string source = Mixed(state.range(0));
    std::u16string target(source.size(), u'\0');
    for (auto _ : state)
    {
        UErrorCode error = U_ZERO_ERROR;
        int32_t length = 0;
        u_strFromUTF8(target.data(), static_cast<int32_t>(target.size()), &length, source.data(),
                      static_cast<int32_t>(source.size()), &error);
        if (U_FAILURE(error)) state.SkipWithError("no conversion");
        benchmark::DoNotOptimize(target.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<QZInt64>(source.size()));
}

void IcuToUtf8(benchmark::State& state)
{
    const std::u16string source = Wide(Mixed(state.range(0)));
    std::string target(source.size() * 3, '\0');
    int32_t length = 0;
    for (auto _ : state)
    {
        UErrorCode error = U_ZERO_ERROR;
        u_strToUTF8(target.data(), static_cast<int32_t>(target.size()), &length, source.data(),
                    static_cast<int32_t>(source.size()), &error);
        if (U_FAILURE(error)) state.SkipWithError("no conversion");
        benchmark::DoNotOptimize(target.data());
    }
    state.SetItemsProcessed(state.iterations() * length);
}
#endif

using Run = void (*)(benchmark::State&);

void Pair(const std::string& name, const char* ours, Run run, const char* peer, Run peerRun,
          const std::vector<QZInt64>& sizes)
{
    for (const QZInt64 size : sizes)
    {
        benchmark::RegisterBenchmark(ours, run)->Arg(size);
        if (peerRun != nullptr) benchmark::RegisterBenchmark(peer, peerRun)->Arg(size);
        const std::string at = "/" + std::to_string(size);
        qzbench::Compare(name + ", " + std::to_string(size), ours + at, peer + at);
    }
    const std::string first = "/" + std::to_string(sizes.front());
    const std::string last = "/" + std::to_string(sizes.back());
    if (sizes.size() > 1) qzbench::Growth(name + ": growth with size", ours + first, ours + last, 0);
}
}  // namespace

int main(int argc, char** argv)
{
    benchmark::RegisterBenchmark("CacheOutIn", CacheOutIn);
    benchmark::RegisterBenchmark("NewDelete", NewDelete);
    benchmark::RegisterBenchmark("NewDeleteSmall", NewDeleteSmall);
    benchmark::RegisterBenchmark("FactoryString", FactoryString);
    benchmark::RegisterBenchmark("StdString", StdString);
    qzbench::Compare("cache Out and In of a string / new and delete", "CacheOutIn", "NewDelete", 1);
    qzbench::Compare("cache Out and In / new and delete of a bare object", "CacheOutIn", "NewDeleteSmall");
    qzbench::Limit("cache Out and In: allocations", "CacheOutIn", "allocations", 0.001);
    qzbench::Compare("factory string of 32 units / std::u16string", "FactoryString", "StdString");
    qzbench::Limit("factory string: allocations", "FactoryString", "allocations", 0.001);

    const std::vector<QZInt64> sizes{1024, 65536, 1048576};
    Pair("QZData append 16 bytes, new, to / std::vector", "DataAppend", DataAppend, "VectorAppend",
         VectorAppend, sizes);
    Pair("QZData append 16 bytes, reused, to / std::vector", "DataAppendReused", DataAppendReused,
         "VectorAppendReused", VectorAppendReused, sizes);
    Pair("QZData prepend 4 bytes to / std::vector", "DataPrepend", DataPrepend, "VectorPrepend",
         VectorPrepend, sizes);
    Pair("QZString append 16 units to / std::u16string", "StringAppend", StringAppend, "StdStringAppend",
         StdStringAppend, sizes);
    Pair("QZString find, a unit of / std::u16string", "StringFind", StringFind, "StdStringFind",
         StdStringFind, {1000, 100000});
#ifdef QZ_HAVE_ICU
    const Run icuFrom = IcuFromUtf8;
    const Run icuTo = IcuToUtf8;
#else
    const Run icuFrom = nullptr;
    const Run icuTo = nullptr;
#endif
    Pair("UTF-8 to UTF-16, a byte of / ICU", "FromUtf8", FromUtf8, "IcuFromUtf8", icuFrom, {1000, 1000000});
    Pair("UTF-16 to UTF-8, a byte of / ICU", "ToUtf8", ToUtf8, "IcuToUtf8", icuTo, {1000, 1000000});
    return qzbench::Main(argc, argv);
}
