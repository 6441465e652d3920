/// The staged codec beside zlib at level 1 and LZ4, on 32-bit bitmaps as instrument programs have them.
/// Rates are bytes of the bitmap per second. The size row is the size of the bitmap divided by the compressed
/// size.
///
/// Three bitmaps are generated: a desktop with windows and text, a photograph, a plot of traces on a grid.
/// Binary PPM files in the folder QZ_BENCH_IMAGES are measured as well.

#ifdef QZ_HAVE_ZLIB
#include <zlib.h>
#endif
#ifdef QZ_HAVE_LZ4
#include <lz4.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "codec/cod_compression.h"
#include "fw/fw_exception_factory.h"
#include "fw/fw_library.h"
#include "qzlib.h"

namespace
{
struct Bitmap
{
    std::string name;
    int width;
    int height;
    std::vector<QZUInt32> pixels;

    std::size_t Bytes() const { return pixels.size() * sizeof(QZUInt32); }
    void Fill(int x, int y, int w, int h, QZUInt32 colour)
    {
        for (int j = std::max(y, 0); j < std::min(y + h, height); ++j)
            for (int i = std::max(x, 0); i < std::min(x + w, width); ++i)
                pixels[static_cast<std::size_t>(j * width + i)] = colour;
    }
};

constexpr QZUInt32 Grey(int value) { return 0xFF000000u | static_cast<QZUInt32>(value) * 0x010101u; }

Bitmap Blank(const char* name, int width, int height, QZUInt32 colour)
{
    return {name, width, height, std::vector<QZUInt32>(static_cast<std::size_t>(width * height), colour)};
}

/// Lines of small symbols that look like text.
void Write(Bitmap* bitmap, int x, int y, int signs, QZUInt32 colour, std::mt19937* random)
{
    for (int i = 0; i < signs; ++i)
    {
        const unsigned dots = (*random)();
        if (dots % 6 == 0) continue;
        for (int dot = 0; dot < 32; ++dot)
            if (dots >> dot & 1) bitmap->Fill(x + i * 7 + dot % 5, y + dot / 5, 1, 1, colour);
    }
}

Bitmap Desktop()
{
    std::mt19937 random(1);
    Bitmap bitmap = Blank("desktop", 1280, 800, 0);
    for (int y = 0; y < bitmap.height; ++y)
        bitmap.Fill(0, y, bitmap.width, 1, 0xFF103050u + static_cast<QZUInt32>(y / 8));
    const int windows[3][4] = {{60, 40, 700, 500}, {400, 200, 820, 540}, {30, 560, 340, 200}};
    for (const auto& [x, y, w, h] : windows)
    {
        bitmap.Fill(x, y, w, h, Grey(0x60));
        bitmap.Fill(x + 1, y + 1, w - 2, 22, 0xFF2060A0);
        Write(&bitmap, x + 10, y + 8, 30, Grey(0xFF), &random);
        bitmap.Fill(x + 1, y + 24, w - 2, h - 25, Grey(0xFA));
        for (int line = y + 34; line < y + h - 12; line += 14)
            Write(&bitmap, x + 10, line, static_cast<int>(random() % static_cast<unsigned>(w / 7 - 4)),
                  Grey(0x20), &random);
        for (int icon = 0; icon < 4; ++icon)
            for (int i = 0; i < 24 * 24; ++i)
                bitmap.Fill(
                    x + w - 40 * (icon + 1) + i % 24, y + 40 + i / 24, 1, 1,
                    0xFF000000u | static_cast<QZUInt32>((i % 24 * 10) << 16 | (i / 24 * 9) << 8 | icon * 40));
    }
    return bitmap;
}

/// Smooth noise between the points of a coarse net.
class Net
{
public:
    Net(int step, std::mt19937* random) : m_step(step)
    {
        for (float& value : m_values) value = static_cast<float>((*random)() % 1000) / 1000;
    }
    float At(int x, int y) const
    {
        const int i = x / m_step;
        const int j = y / m_step;
        const float u = Soft(static_cast<float>(x % m_step) / static_cast<float>(m_step));
        const float v = Soft(static_cast<float>(y % m_step) / static_cast<float>(m_step));
        return (Value(i, j) * (1 - u) + Value(i + 1, j) * u) * (1 - v) +
               (Value(i, j + 1) * (1 - u) + Value(i + 1, j + 1) * u) * v;
    }

private:
    static float Soft(float t) { return t * t * (3 - 2 * t); }
    float Value(int i, int j) const { return m_values[(i * 37 + j * 101) & 4095]; }

    int m_step;
    float m_values[4096];
};

Bitmap Photograph()
{
    std::mt19937 random(2);
    std::normal_distribution<float> grain(0, 1.6f);
    Bitmap bitmap = Blank("photograph", 1024, 768, 0);
    std::vector<Net> nets;
    for (const int step : {256, 96, 40, 16, 6}) nets.emplace_back(step, &random);
    const Net tint(300, &random);
    for (int y = 0; y < bitmap.height; ++y)
        for (int x = 0; x < bitmap.width; ++x)
        {
            float light = 0;
            float weight = 110;
            for (const Net& net : nets)
            {
                light += net.At(x, y) * weight;
                weight /= 2.1f;
            }
            const float warm = tint.At(x, y) * 40;
            const auto channel = [&](float value) {
                return static_cast<QZUInt32>(std::clamp(value + grain(random), 0.0f, 255.0f));
            };
            bitmap.pixels[static_cast<std::size_t>(y * bitmap.width + x)] =
                0xFF000000u | channel(light + warm) << 16 | channel(light + 10) << 8 |
                channel(light - warm + 30);
        }
    return bitmap;
}

Bitmap Plot()
{
    std::mt19937 random(3);
    std::normal_distribution<float> noise(0, 4);
    Bitmap bitmap = Blank("plot", 1280, 720, 0xFF101418);
    for (int x = 0; x < bitmap.width; x += 64) bitmap.Fill(x, 0, 1, bitmap.height, 0xFF303840);
    for (int y = 0; y < bitmap.height; y += 60) bitmap.Fill(0, y, bitmap.width, 1, 0xFF303840);
    const QZUInt32 colours[3] = {0xFF40FF60, 0xFFFFC030, 0xFF50A0FF};
    for (int trace = 0; trace < 3; ++trace)
    {
        int before = 360;
        for (int x = 0; x < bitmap.width; ++x)
        {
            const float phase = static_cast<float>(x * (trace + 1)) * 0.013f;
            const int y = static_cast<int>(160.0f + static_cast<float>(trace) * 200.0f +
                                           90.0f * std::sin(phase) + noise(random));
            bitmap.Fill(x, std::min(y, before), 1, std::abs(y - before) + 1, colours[trace]);
            before = y;
        }
    }
    for (int y = 6; y < bitmap.height; y += 60) Write(&bitmap, 6, y, 8, Grey(0xC0), &random);
    return bitmap;
}

/// Reads a binary PPM file. A file of another kind gives a bitmap without pixels.
Bitmap Load(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string kind;
    int width = 0;
    int height = 0;
    int most = 0;
    file >> kind >> width >> height >> most;
    file.get();
    if (!file || kind != "P6" || most != 255) return {};
    Bitmap bitmap = Blank("", width, height, 0);
    bitmap.name = path.stem().string();
    for (QZUInt32& pixel : bitmap.pixels)
    {
        unsigned char rgb[3] = {};
        file.read(reinterpret_cast<char*>(rgb), 3);
        pixel =
            0xFF000000u | static_cast<QZUInt32>(rgb[0]) << 16 | static_cast<QZUInt32>(rgb[1]) << 8 | rgb[2];
    }
    return bitmap;
}

const std::vector<Bitmap>& Bitmaps()
{
    static const std::vector<Bitmap> bitmaps = [] {
        std::vector<Bitmap> all{Desktop(), Photograph(), Plot()};
        if (const char* folder = std::getenv("QZ_BENCH_IMAGES"))
        {
            for (const auto& entry : std::filesystem::directory_iterator(folder))
            {
                Bitmap bitmap = Load(entry.path());
                if (!bitmap.pixels.empty()) all.push_back(std::move(bitmap));
            }
        }
        return all;
    }();
    return bitmaps;
}

const Bitmap& Of(const benchmark::State& state)
{
    return Bitmaps()[static_cast<std::size_t>(state.range(0))];
}

void Finish(benchmark::State* state, std::size_t source, std::size_t coded)
{
    state->SetItemsProcessed(state->iterations());
    state->SetBytesProcessed(state->iterations() * static_cast<std::int64_t>(source));
    state->counters["size"] = static_cast<double>(source) / static_cast<double>(coded);
}

// ---- Ours. Compression and decompression work in place, so the source is copied first. Our time includes
// the copy.

std::vector<unsigned char> Room(const Bitmap& bitmap)
{
    return std::vector<unsigned char>(2 * bitmap.Bytes() + 65536 * 2);
}

template <bool Tiled>
void OursCompress(benchmark::State& state)
{
    const Bitmap& bitmap = Of(state);
    std::vector<unsigned char> buffer = Room(bitmap);
    QZCompression codec;
    QZULong length = 0;
    for (auto _ : state)
    {
        std::memcpy(buffer.data(), bitmap.pixels.data(), bitmap.Bytes());
        length = codec.BitmapBitsCompress32(bitmap.width, bitmap.height, buffer.data(), Tiled);
        benchmark::ClobberMemory();
    }
    Finish(&state, bitmap.Bytes(), length);
}

template <bool Tiled>
void OursDecompress(benchmark::State& state)
{
    const Bitmap& bitmap = Of(state);
    std::vector<unsigned char> coded = Room(bitmap);
    std::memcpy(coded.data(), bitmap.pixels.data(), bitmap.Bytes());
    QZCompression codec;
    const QZULong length = codec.BitmapBitsCompress32(bitmap.width, bitmap.height, coded.data(), Tiled);
    std::vector<unsigned char> buffer = Room(bitmap);
    for (auto _ : state)
    {
        std::memcpy(buffer.data(), coded.data(), length);
        codec.BitmapBitsDecompress32(buffer.data(), length);
        benchmark::ClobberMemory();
    }
    Finish(&state, bitmap.Bytes(), length);
}

/// The codec refuses to decompress some tiled images. Their rows are left out.
bool ComesBack(const Bitmap& bitmap, bool tiled)
{
    std::vector<unsigned char> buffer = Room(bitmap);
    std::memcpy(buffer.data(), bitmap.pixels.data(), bitmap.Bytes());
    QZCompression codec;
    try
    {
        codec.BitmapBitsDecompress32(
            buffer.data(), codec.BitmapBitsCompress32(bitmap.width, bitmap.height, buffer.data(), tiled));
        return true;
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        return false;
    }
}

// ---- The peers

#ifdef QZ_HAVE_ZLIB
void ZlibCompress(benchmark::State& state)
{
    const Bitmap& bitmap = Of(state);
    std::vector<unsigned char> buffer(compressBound(bitmap.Bytes()));
    uLongf length = 0;
    for (auto _ : state)
    {
        length = buffer.size();
        compress2(buffer.data(), &length, reinterpret_cast<const Bytef*>(bitmap.pixels.data()),
                  bitmap.Bytes(), 1);
        benchmark::ClobberMemory();
    }
    Finish(&state, bitmap.Bytes(), length);
}

void ZlibDecompress(benchmark::State& state)
{
    const Bitmap& bitmap = Of(state);
    std::vector<unsigned char> coded(compressBound(bitmap.Bytes()));
    uLongf length = coded.size();
    compress2(coded.data(), &length, reinterpret_cast<const Bytef*>(bitmap.pixels.data()), bitmap.Bytes(), 1);
    std::vector<unsigned char> buffer(bitmap.Bytes());
    for (auto _ : state)
    {
        uLongf size = buffer.size();
        uncompress(buffer.data(), &size, coded.data(), length);
        benchmark::ClobberMemory();
    }
    Finish(&state, bitmap.Bytes(), length);
}
#endif

#ifdef QZ_HAVE_LZ4
void Lz4Compress(benchmark::State& state)
{
    const Bitmap& bitmap = Of(state);
    const int size = static_cast<int>(bitmap.Bytes());
    std::vector<char> buffer(static_cast<std::size_t>(LZ4_compressBound(size)));
    int length = 0;
    for (auto _ : state)
    {
        length = LZ4_compress_default(reinterpret_cast<const char*>(bitmap.pixels.data()), buffer.data(),
                                      size, static_cast<int>(buffer.size()));
        benchmark::ClobberMemory();
    }
    Finish(&state, bitmap.Bytes(), static_cast<std::size_t>(length));
}

void Lz4Decompress(benchmark::State& state)
{
    const Bitmap& bitmap = Of(state);
    const int size = static_cast<int>(bitmap.Bytes());
    std::vector<char> coded(static_cast<std::size_t>(LZ4_compressBound(size)));
    const int length = LZ4_compress_default(reinterpret_cast<const char*>(bitmap.pixels.data()), coded.data(),
                                            size, static_cast<int>(coded.size()));
    std::vector<char> buffer(bitmap.Bytes());
    for (auto _ : state)
    {
        LZ4_decompress_safe(coded.data(), buffer.data(), length, size);
        benchmark::ClobberMemory();
    }
    Finish(&state, bitmap.Bytes(), static_cast<std::size_t>(length));
}
#endif
}  // namespace

int main(int argc, char** argv)
{
    QZLibInit();
    for (std::size_t i = 0; i < Bitmaps().size(); ++i)
    {
        const auto add = [&](const char* name, void (*run)(benchmark::State&)) {
            benchmark::RegisterBenchmark(name, run)->Arg(static_cast<std::int64_t>(i));
        };
        add("OursCompress", OursCompress<false>);
        if (ComesBack(Bitmaps()[i], false)) add("OursDecompress", OursDecompress<false>);
        add("TiledCompress", OursCompress<true>);
        if (ComesBack(Bitmaps()[i], true)) add("TiledDecompress", OursDecompress<true>);
#ifdef QZ_HAVE_ZLIB
        add("ZlibCompress", ZlibCompress);
        add("ZlibDecompress", ZlibDecompress);
#endif
#ifdef QZ_HAVE_LZ4
        add("Lz4Compress", Lz4Compress);
        add("Lz4Decompress", Lz4Decompress);
#endif
        const std::string at = "/" + std::to_string(i);
        const std::string name = Bitmaps()[i].name + ": ";
        const char* rate = "bytes_per_second";
        for (const char* way : {"Compress", "Decompress"})
        {
            const std::string what = name + (way[0] == 'C' ? "compress" : "decompress") + ", bytes/s / ";
            qzbench::Rate(what + "zlib 1", rate, std::string("Ours") + way + at,
                          std::string("Zlib") + way + at, 1);
            qzbench::Rate(what + "LZ4", rate, std::string("Ours") + way + at, std::string("Lz4") + way + at);
            qzbench::Rate(what + "zlib 1, tiled", rate, std::string("Tiled") + way + at,
                          std::string("Zlib") + way + at, 1);
        }
        qzbench::Rate(name + "size, source by coded / zlib 1", "size", "OursCompress" + at,
                      "ZlibCompress" + at);
        qzbench::Rate(name + "size / LZ4", "size", "OursCompress" + at, "Lz4Compress" + at);
        qzbench::Rate(name + "size, tiled / zlib 1", "size", "TiledCompress" + at, "ZlibCompress" + at);
    }
    QZLibDispose();
    return qzbench::Main(argc, argv);
}
