/// Graphics: fills, transfers, filters, turns, shapes, text, conversions and the compositor's frame, beside
/// memset and memcpy as the limit, pixman where it does the same, and plain loops elsewhere.
///
/// Times are per 1000 pixels; for shapes per point, for text per character, for frames per frame.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bench_support.h"
#include "graphics/gr_compositor.h"
#include "graphics/gr_image.h"
#include "graphics/gr_pixels.h"
#include "graphics/gr_shape.h"
#ifdef QZ_HAVE_PIXMAN
#include <pixman.h>
#endif

namespace
{
using Pixels = std::vector<QZUInt32>;
using State = benchmark::State;

struct Picture
{
    const char* name;
    int width;
    int height;

    std::size_t Count() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};

const Picture kPictures[] = {{"256x256", 256, 256}, {"1920x1080", 1920, 1080}, {"3840x2160", 3840, 2160}};

constexpr QZUInt32 kColor = 0xFF336699;

enum class Alpha
{
    Mixed,
    Opaque,
    None
};

/// Premultiplied pixels, whose colours are not above their alpha. They are made once, because making them
/// takes longer than what is measured.
const Pixels& Noise(std::size_t count, Alpha kind = Alpha::Mixed)
{
    static std::map<std::pair<std::size_t, Alpha>, Pixels> made;
    Pixels& pixels = made[{count, kind}];
    if (!pixels.empty()) return pixels;
    pixels.resize(count);
    std::minstd_rand random(7);
    for (QZUInt32& pixel : pixels)
    {
        const auto bits = static_cast<QZUInt32>(random() >> 3);
        const QZUInt32 alpha = kind == Alpha::Mixed ? bits >> 20 : kind == Alpha::Opaque ? 255 : 0;
        pixel = alpha << 24;
        for (int shift = 0; shift < 24; shift += 8)
            pixel |= ((bits >> (shift / 4)) & 0xFF) * alpha / 255 << shift;
    }
    return pixels;
}

std::unique_ptr<QZPixelBlock> BlockOf(const Picture& picture, const Pixels& pixels)
{
    auto block = std::make_unique<QZPixelBlock>(picture.width, picture.height);
    std::memcpy(block->GetPointer(), pixels.data(), pixels.size() * 4);
    return block;
}

/// Repeats one operation that handles so many items. The table shows the time per item.
template <typename Operation>
void Repeat(State& state, double things, Operation operation)
{
    double done = 0;
    for (auto _ : state)
    {
        operation();
        benchmark::ClobberMemory();
        done += things;
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(done));
}

double Thousands(std::size_t pixels) { return static_cast<double>(pixels) / 1000; }

// ---- Fill and paste

void Fill(State& state, const Picture& picture)
{
    QZPixelBlock block(picture.width, picture.height);
    Repeat(state, Thousands(picture.Count()), [&] { block.Fill(kColor); });
}

void MemSet(State& state, const Picture& picture)
{
    Pixels pixels(picture.Count());
    Repeat(state, Thousands(picture.Count()), [&] { std::memset(pixels.data(), 0x33, pixels.size() * 4); });
}

void FillArea(State& state, const Picture& picture)
{
    QZPixelBlock block(picture.width, picture.height);
    const int w = picture.width / 2;
    const int h = picture.height / 2;
    Repeat(state, Thousands(picture.Count()) / 4, [&] { block.Fill(w / 2, h / 2, w, h, kColor); });
}

void Paste(State& state, const Picture& picture, Alpha alpha, unsigned char overwrite)
{
    const auto source = BlockOf(picture, Noise(picture.Count(), alpha));
    const auto target = BlockOf(picture, Noise(picture.Count()));
    Repeat(state, Thousands(picture.Count()), [&] { target->Paste(0, 0, source.get(), overwrite); });
}

/// Source and target begin at page borders: at some other places the C library's copy is ten times slower.
void MemCpy(State& state, const Picture& picture)
{
    auto pages = [&picture] {
        return std::unique_ptr<void, void (*)(void*)>(std::aligned_alloc(4096, picture.Count() * 4),
                                                      std::free);
    };
    const auto source = pages();
    const auto target = pages();
    for (void* side : {source.get(), target.get()}) std::memset(side, 1, picture.Count() * 4);
    Repeat(state, Thousands(picture.Count()),
           [&] { std::memcpy(target.get(), source.get(), picture.Count() * 4); });
}

#ifdef QZ_HAVE_PIXMAN
void PixmanFill(State& state, const Picture& picture)
{
    Pixels pixels(picture.Count());
    Repeat(state, Thousands(picture.Count()), [&] {
        pixman_fill(pixels.data(), picture.width, 32, 0, 0, picture.width, picture.height, kColor);
    });
}

void PixmanFillArea(State& state, const Picture& picture)
{
    Pixels pixels(picture.Count());
    const int w = picture.width / 2;
    const int h = picture.height / 2;
    Repeat(state, Thousands(picture.Count()) / 4,
           [&] { pixman_fill(pixels.data(), picture.width, 32, w / 2, h / 2, w, h, kColor); });
}

class PixmanImage
{
public:
    PixmanImage(const Picture& picture, Pixels pixels)
        : m_pixels(std::move(pixels)),
          m_image(pixman_image_create_bits(PIXMAN_a8r8g8b8, picture.width, picture.height, m_pixels.data(),
                                           picture.width * 4))
    {}
    PixmanImage(const PixmanImage&) = delete;
    PixmanImage& operator=(const PixmanImage&) = delete;
    ~PixmanImage() { pixman_image_unref(m_image); }

    pixman_image_t* Get() const { return m_image; }

private:
    Pixels m_pixels;
    pixman_image_t* m_image;
};

void PixmanComposite(State& state, const Picture& picture, Alpha alpha, pixman_op_t operation)
{
    const PixmanImage source(picture, Noise(picture.Count(), alpha));
    const PixmanImage target(picture, Noise(picture.Count()));
    Repeat(state, Thousands(picture.Count()), [&] {
        pixman_image_composite32(operation, source.Get(), nullptr, target.Get(), 0, 0, 0, 0, 0, 0,
                                 picture.width, picture.height);
    });
}
#endif

// ---- Filters and turns, beside plain loops over rows of pixels

void Mosaic(State& state, const Picture& picture)
{
    const auto block = BlockOf(picture, Noise(picture.Count()));
    Repeat(state, Thousands(picture.Count()), [&] { block->Mosaic(8); });
}

void PlainMosaic(State& state, const Picture& picture)
{
    Pixels pixels = Noise(picture.Count());
    const int width = picture.width;
    auto cell = [&](int left, int top) {
        const int right = std::min(left + 8, width);
        const int bottom = std::min(top + 8, picture.height);
        QZUInt32 sums[4] = {};
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x)
                for (int i = 0; i < 4; ++i) sums[i] += pixels[y * width + x] >> (8 * i) & 0xFF;
        const auto count = static_cast<QZUInt32>((right - left) * (bottom - top));
        QZUInt32 mean = 0;
        for (int i = 0; i < 4; ++i) mean |= sums[i] / count << (8 * i);
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x) pixels[y * width + x] = mean;
    };
    Repeat(state, Thousands(picture.Count()), [&] {
        for (int y = 0; y < picture.height; y += 8)
            for (int x = 0; x < width; x += 8) cell(x, y);
    });
}

/// Every round starts from the same noise, so both sides copy it first.
void Smooth(State& state, const Picture& picture)
{
    const Pixels noise = Noise(picture.Count());
    const auto block = BlockOf(picture, noise);
    Repeat(state, Thousands(picture.Count()), [&] {
        std::memcpy(block->GetPointer(), noise.data(), noise.size() * 4);
        block->Smooth(16, 4);
    });
}

void PlainSmooth(State& state, const Picture& picture)
{
    const Pixels noise = Noise(picture.Count());
    Pixels pixels = noise;
    const int stride = picture.width * 4;
    auto around = [stride](unsigned char* center) {
        for (unsigned char* neighbor : {center - 4, center + 4, center - stride, center + stride})
        {
            for (int i = 0; i < 3; ++i)
            {
                const int n = neighbor[i];
                const int c = center[i];
                if (std::abs(n - c) <= 16) continue;
                if (n <= c && n < 251) neighbor[i] = static_cast<unsigned char>(n + 4);
                if (n > c && n > 4) neighbor[i] = static_cast<unsigned char>(n - 4);
            }
        }
    };
    Repeat(state, Thousands(picture.Count()), [&] {
        std::memcpy(pixels.data(), noise.data(), noise.size() * 4);
        auto* bytes = reinterpret_cast<unsigned char*>(pixels.data());
        for (int y = 1; y < picture.height - 1; ++y)
            for (int x = 1; x < picture.width; ++x) around(bytes + y * stride + x * 4);
    });
}

void Rotate(State& state, const Picture& picture, float degrees)
{
    const auto block = BlockOf(picture, Noise(picture.Count()));
    Repeat(state, Thousands(picture.Count()), [&] {
        QZPixelBlock* turned = block->Rotate(degrees);
        benchmark::DoNotOptimize(turned->GetPointer());
        QZPixelBlock::Recycle(&turned);
    });
}

void PlainQuarter(State& state, const Picture& picture)
{
    const Pixels pixels = Noise(picture.Count());
    Repeat(state, Thousands(picture.Count()), [&] {
        std::unique_ptr<QZUInt32[]> turned(new QZUInt32[picture.Count()]);
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x)
                turned[(picture.width - 1 - x) * picture.height + y] = pixels[y * picture.width + x];
        benchmark::DoNotOptimize(turned.get());
    });
}

/// The usual inverse mapping. Sine and cosine are computed once.
void PlainRotate(State& state, const Picture& picture)
{
    const Pixels pixels = Noise(picture.Count());
    const double s = std::sin(30 * 3.14159265358979 / 180);
    const double c = std::cos(30 * 3.14159265358979 / 180);
    const int width = static_cast<int>(picture.width * c + picture.height * s);
    const int height = static_cast<int>(picture.height * c + picture.width * s);
    Repeat(state, Thousands(picture.Count()), [&] {
        std::unique_ptr<QZUInt32[]> turned(new QZUInt32[static_cast<std::size_t>(width) * height]);
        for (int y = 0; y < height; ++y)
        {
            for (int x = 0; x < width; ++x)
            {
                const double dx = x - width / 2;
                const double dy = y - height / 2;
                const double fromX = dx * c - dy * s + picture.width / 2;
                const double fromY = dx * s + dy * c + picture.height / 2;
                const bool inside =
                    fromX >= 0 && fromX < picture.width && fromY >= 0 && fromY < picture.height;
                turned[y * width + x] =
                    inside ? pixels[static_cast<int>(fromY) * picture.width + static_cast<int>(fromX)] : 0;
            }
        }
        benchmark::DoNotOptimize(turned.get());
    });
}

void Thumbnail(State& state, const Picture& picture)
{
    const auto block = BlockOf(picture, Noise(picture.Count()));
    Repeat(state, Thousands(picture.Count()), [&] {
        QZPixelBlock* small = block->Thumbnail(picture.width / 2, picture.height / 2);
        benchmark::DoNotOptimize(small->GetPointer());
        QZPixelBlock::Recycle(&small);
    });
}

/// The mean of four pixels.
void PlainThumbnail(State& state, const Picture& picture)
{
    const Pixels pixels = Noise(picture.Count());
    const int width = picture.width / 2;
    const int height = picture.height / 2;
    Repeat(state, Thousands(picture.Count()), [&] {
        std::unique_ptr<QZUInt32[]> small(new QZUInt32[static_cast<std::size_t>(width) * height]);
        for (int y = 0; y < height; ++y)
        {
            for (int x = 0; x < width; ++x)
            {
                const QZUInt32* p = pixels.data() + 2 * y * picture.width + 2 * x;
                QZUInt32 mean = 0;
                for (int shift = 0; shift < 32; shift += 8)
                {
                    const QZUInt32 sum = (p[0] >> shift & 0xFF) + (p[1] >> shift & 0xFF) +
                                         (p[picture.width] >> shift & 0xFF) +
                                         (p[picture.width + 1] >> shift & 0xFF);
                    mean |= sum / 4 << shift;
                }
                small[y * width + x] = mean;
            }
        }
        benchmark::DoNotOptimize(small.get());
    });
}

// ---- Shapes and text

constexpr int kLines = 64;

struct Ends
{
    int x1, y1, x2, y2;
};

std::vector<Ends> Lines(const Picture& picture)
{
    std::mt19937 random(7);
    auto below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    std::vector<Ends> lines;
    for (int i = 0; i < kLines; ++i)
        lines.push_back(
            {below(picture.width), below(picture.height), below(picture.width), below(picture.height)});
    return lines;
}

double PointCount(const std::vector<Ends>& lines)
{
    double count = 0;
    for (const Ends& l : lines) count += std::max(std::abs(l.x2 - l.x1), std::abs(l.y2 - l.y1)) + 1;
    return count;
}

void AddLines(QZShape* shape, const std::vector<Ends>& lines)
{
    for (const Ends& l : lines)
    {
        const QZLine line(l.x1, l.y1, l.x2, l.y2);
        shape->Add(&line);
    }
}

/// Lines are turned into points and drawn.
void DrawLines(State& state, const Picture& picture)
{
    QZPixelBlock block(picture.width, picture.height);
    block.SetColor(kColor);
    const std::vector<Ends> lines = Lines(picture);
    Repeat(state, PointCount(lines), [&] {
        QZShape shape;
        AddLines(&shape, lines);
        block.Draw(&shape);
    });
}

/// Draws lines that are points already.
void DrawPoints(State& state, const Picture& picture)
{
    QZPixelBlock block(picture.width, picture.height);
    block.SetColor(kColor);
    const std::vector<Ends> lines = Lines(picture);
    QZShape shape;
    AddLines(&shape, lines);
    Repeat(state, PointCount(lines), [&] { block.Draw(&shape); });
}

void PlainLine(Pixels* pixels, int width, const Ends& l)
{
    const int dx = std::abs(l.x2 - l.x1);
    const int dy = -std::abs(l.y2 - l.y1);
    const int stepX = l.x1 < l.x2 ? 1 : -1;
    const int stepY = l.y1 < l.y2 ? 1 : -1;
    int x = l.x1;
    int y = l.y1;
    for (int error = dx + dy;;)
    {
        (*pixels)[static_cast<std::size_t>(y * width + x)] = kColor;
        if (x == l.x2 && y == l.y2) return;
        const int twice = 2 * error;
        if (twice >= dy)
        {
            error += dy;
            x += stepX;
        }
        if (twice <= dx)
        {
            error += dx;
            y += stepY;
        }
    }
}

void PlainLines(State& state, const Picture& picture)
{
    Pixels pixels(picture.Count());
    const std::vector<Ends> lines = Lines(picture);
    Repeat(state, PointCount(lines), [&] {
        for (const Ends& line : lines) PlainLine(&pixels, picture.width, line);
    });
}

const char* const kText = "The quick brown fox 0123456789.";

void Text(State& state, const Picture& picture)
{
    QZGraphics layer(picture.width, picture.height);
    int y = 0;
    Repeat(state, static_cast<double>(std::strlen(kText)), [&] {
        layer.Draw(8, y = (y + 9) % 200, kText);
        // A compositor clears the lists of changes once per frame. Without this they grow.
        layer.GetUpdatedAreas()->Clear();
        layer.GetClearedAreas()->Clear();
    });
}

/// Characters of 5 by 8 dots from a table. About half of the dots are set.
void PlainText(State& state, const Picture& picture)
{
    Pixels pixels(picture.Count());
    unsigned char dots[128][8];
    std::mt19937 random(7);
    for (auto& glyph : dots)
        for (unsigned char& row : glyph) row = static_cast<unsigned char>(random() & 31);
    int top = 0;
    Repeat(state, static_cast<double>(std::strlen(kText)), [&] {
        top = (top + 9) % 200;
        int left = 8;
        for (const char* c = kText; *c; ++c, left += 6)
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 5; ++x)
                    if (dots[static_cast<int>(*c)][y] >> x & 1)
                        pixels[static_cast<std::size_t>((top + y) * picture.width + left + x)] = kColor;
    });
}

// ---- Conversions

using Conversion = QZInt64 (*)(void* target, const void* source, QZInt64 size);

/// The source has `width` bytes per pixel. The target has room for four.
void Convert(State& state, const Picture& picture, Conversion conversion, int width)
{
    const Pixels source = Noise(picture.Count());
    Pixels target(picture.Count());
    const auto size = static_cast<QZInt64>(picture.Count()) * width;
    Repeat(state, Thousands(picture.Count()), [&] { conversion(target.data(), source.data(), size); });
}

using Bytes = unsigned char;

QZInt64 PlainYuyv(void* target, const void* source, QZInt64 size)
{
    const auto* from = static_cast<const Bytes*>(source);
    auto* to = static_cast<QZUInt32*>(target);
    auto byte = [](int v) { return static_cast<QZUInt32>(std::clamp(v >> 10, 0, 255)); };
    for (QZInt64 i = 0; i < size; i += 4, from += 4)
    {
        const int u = from[1] - 128;
        const int v = from[3] - 128;
        for (int second = 0; second < 2; ++second)
        {
            const int y = (from[2 * second] - 16) * 1192;
            *to++ =
                0xFF000000 | byte(y + v * 1634) << 16 | byte(y - v * 833 - u * 403) << 8 | byte(y + u * 2066);
        }
    }
    return 0;
}

QZInt64 PlainSwap(void* target, const void* source, QZInt64 size)
{
    const auto* from = static_cast<const Bytes*>(source);
    auto* to = static_cast<Bytes*>(target);
    for (QZInt64 i = 0; i < size; i += 4)
    {
        const Bytes first = from[i];
        to[i] = from[i + 2];
        to[i + 1] = from[i + 1];
        to[i + 2] = first;
        to[i + 3] = from[i + 3];
    }
    return 0;
}

QZInt64 PlainWiden(void* target, const void* source, QZInt64 size)
{
    const auto* from = static_cast<const Bytes*>(source);
    auto* to = static_cast<QZUInt32*>(target);
    for (QZInt64 i = 0; i + 2 < size; i += 3)
        *to++ = 0xFF000000 | static_cast<QZUInt32>(from[i] | from[i + 1] << 8 | from[i + 2] << 16);
    return 0;
}

QZInt64 PlainNarrow(void* target, const void* source, QZInt64 size)
{
    const auto* from = static_cast<const Bytes*>(source);
    auto* to = static_cast<Bytes*>(target);
    for (QZInt64 i = 0; i < size; i += 4)
    {
        *to++ = from[i];
        *to++ = from[i + 1];
        *to++ = from[i + 2];
    }
    return 0;
}

QZInt64 PlainTo565(void* target, const void* source, QZInt64 size)
{
    const auto* from = static_cast<const Bytes*>(source);
    auto* to = static_cast<QZUInt16*>(target);
    for (QZInt64 i = 0; i < size; i += 4)
        *to++ = static_cast<QZUInt16>(from[i + 2] >> 3 << 11 | from[i + 1] >> 2 << 5 | from[i] >> 3);
    return 0;
}

QZInt64 PlainFrom565(void* target, const void* source, QZInt64 size)
{
    const auto* from = static_cast<const QZUInt16*>(source);
    auto* to = static_cast<QZUInt32*>(target);
    for (QZInt64 i = 0; i < size / 2; ++i)
        *to++ = 0xFF000000 | static_cast<QZUInt32>((from[i] >> 11) << 19 | (from[i] >> 5 & 63) << 10 |
                                                   (from[i] & 31) << 3);
    return 0;
}

QZInt64 PlainToGray(void* target, const void* source, QZInt64 size)
{
    const auto* from = static_cast<const Bytes*>(source);
    auto* to = static_cast<Bytes*>(target);
    for (QZInt64 i = 0; i < size; i += 4)
        *to++ = static_cast<Bytes>((from[i] + 2 * from[i + 1] + from[i + 2]) / 4);
    return 0;
}

QZInt64 PlainFromGray(void* target, const void* source, QZInt64 size)
{
    const auto* from = static_cast<const Bytes*>(source);
    auto* to = static_cast<QZUInt32*>(target);
    for (QZInt64 i = 0; i < size; ++i)
        *to++ = 0xFF000000 | static_cast<QZUInt32>(from[i] << 16 | from[i] << 8 | from[i]);
    return 0;
}

// ---- The compositor

/// A stack of three layers, each drawn completely. `part` is the side of the changed rectangle divided by the
/// side of the picture.
void Frame(State& state, const Picture& picture, int part)
{
    QZGraphicsCollection stack(picture.width, picture.height);
    QZGraphics* layers[3] = {stack.Add("low"), stack.Add("middle"), stack.Add("high")};
    for (QZGraphics* layer : layers)
    {
        layer->Fill(0U);
        const auto noise = BlockOf(picture, Noise(picture.Count()));
        layer->Paste(0, 0, noise.get(), 1);
    }
    stack.Update();
    const int width = picture.width / part;
    const int height = picture.height / part;
    int round = 0;
    Repeat(state, 1, [&] {
        ++round;
        const QZRectangle area(round % part * width, round / part % part * height, width, height);
        layers[1]->Fill(&area, 0x80336699U + static_cast<unsigned int>(round % 16));
        stack.Update();
    });
}

// ---- What is run and compared

using Run = std::function<void(State&, const Picture&)>;

void Add(const std::string& name, const Run& run)
{
    for (const Picture& picture : kPictures)
        benchmark::RegisterBenchmark((name + "/" + picture.name).c_str(),
                                     [run, &picture](State& state) { run(state, picture); });
}

void CompareAll(const std::string& what, const std::string& ours, const std::string& peer, double goal = 0)
{
    for (const Picture& picture : kPictures)
        qzbench::Compare(what + ", " + picture.name, ours + "/" + picture.name, peer + "/" + picture.name,
                         goal);
}

void Grows(const std::string& what, const std::string& ours)
{
    qzbench::Growth(what + ": growth with size", ours + "/" + kPictures[0].name,
                    ours + "/" + kPictures[2].name, 0);
}

void AddFills()
{
    Add("Fill", Fill);
    Add("FillArea", FillArea);
    Add("MemSet", MemSet);
    Add("MemCpy", MemCpy);
    auto paste = [](Alpha alpha, unsigned char overwrite) -> Run {
        return [alpha, overwrite](State& s, const Picture& p) { Paste(s, p, alpha, overwrite); };
    };
    Add("Overwrite", paste(Alpha::Mixed, 1));
    Add("Blend", paste(Alpha::Mixed, 0));
    Add("BlendOpaque", paste(Alpha::Opaque, 0));
    Add("BlendNone", paste(Alpha::None, 0));
#ifdef QZ_HAVE_PIXMAN
    auto composite = [](Alpha alpha, pixman_op_t operation) -> Run {
        return [alpha, operation](State& s, const Picture& p) { PixmanComposite(s, p, alpha, operation); };
    };
    Add("PixmanFill", PixmanFill);
    Add("PixmanFillArea", PixmanFillArea);
    Add("PixmanSource", composite(Alpha::Mixed, PIXMAN_OP_SRC));
    Add("PixmanOver", composite(Alpha::Mixed, PIXMAN_OP_OVER));
    Add("PixmanOverOpaque", composite(Alpha::Opaque, PIXMAN_OP_OVER));
    Add("PixmanOverNone", composite(Alpha::None, PIXMAN_OP_OVER));
#else
    std::printf("pixman is not installed: its rows have no peer\n");
#endif
    CompareAll("fill / memset", "Fill", "MemSet", 0.8);
    CompareAll("fill / pixman", "Fill", "PixmanFill");
    CompareAll("fill of a quarter / pixman", "FillArea", "PixmanFillArea");
    CompareAll("overwrite paste / memcpy", "Overwrite", "MemCpy", 0.8);
    CompareAll("overwrite paste / pixman SRC", "Overwrite", "PixmanSource");
    CompareAll("blended paste / pixman OVER", "Blend", "PixmanOver", 1);
    CompareAll("blended paste / memcpy", "Blend", "MemCpy");
    CompareAll("blended paste, all opaque / pixman OVER", "BlendOpaque", "PixmanOverOpaque");
    CompareAll("blended paste, all transparent / pixman OVER", "BlendNone", "PixmanOverNone");
    Grows("fill", "Fill");
    Grows("overwrite paste", "Overwrite");
    Grows("blended paste", "Blend");
}

void AddPair(const std::string& what, const std::string& name, const Run& ours, const Run& plain)
{
    Add(name, ours);
    Add("Plain" + name, plain);
    CompareAll(what, name, "Plain" + name);
    Grows(what, name);
}

void AddConversions()
{
    auto add = [](const char* what, Conversion ours, Conversion plain, int width) {
        const std::string name = what;
        AddPair(
            name + " / plain loop", name,
            [ours, width](State& s, const Picture& p) { Convert(s, p, ours, width); },
            [plain, width](State& s, const Picture& p) { Convert(s, p, plain, width); });
    };
    add("YUYV2ARGB", QZImage::YUYV2ARGB, PlainYuyv, 2);
    add("ARGB2ABGR", QZImage::ARGB2ABGR, PlainSwap, 4);
    add("BMP24ToBMP32", QZImage::BMP24ToBMP32, PlainWiden, 3);
    add("BMP32ToBMP24", QZImage::BMP32ToBMP24, PlainNarrow, 4);
    add("ARGBToRGB565", QZImage::ARGBToRGB565, PlainTo565, 4);
    add("RGB565ToARGB", QZImage::RGB565ToARGB, PlainFrom565, 2);
    add("ARGB2GRAY", QZImage::ARGB2GRAY, PlainToGray, 4);
    add("GRAY2ARGB", QZImage::GRAY2ARGB, PlainFromGray, 1);
}
}  // namespace

int main(int argc, char** argv)
{
    AddFills();
    AddPair("mosaic of 8 / plain loop", "Mosaic", Mosaic, PlainMosaic);
    AddPair("smooth / plain loop", "Smooth", Smooth, PlainSmooth);
    AddPair(
        "rotate by 90 degrees / plain loop", "Quarter", [](State& s, const Picture& p) { Rotate(s, p, 90); },
        PlainQuarter);
    AddPair(
        "rotate by 30 degrees / plain loop", "Rotate", [](State& s, const Picture& p) { Rotate(s, p, 30); },
        PlainRotate);
    AddPair("thumbnail of half the size / plain mean", "Thumbnail", Thumbnail, PlainThumbnail);
    AddPair("lines, a point / plain Bresenham", "Lines", DrawLines, PlainLines);
    Add("DrawPoints", DrawPoints);
    CompareAll("lines that are points already / plain Bresenham", "DrawPoints", "PlainLines");
    AddPair("text, a character / plain dots", "Text", Text, PlainText);
    AddConversions();
    Add("FrameFull", [](State& s, const Picture& p) { Frame(s, p, 1); });
    Add("FramePart", [](State& s, const Picture& p) { Frame(s, p, 10); });
    // At most 3 % of a full frame.
    CompareAll("frame with 1 % changed / with 100 %", "FramePart", "FrameFull", 100.0 / 3);
    Grows("full frame", "FrameFull");
    return qzbench::Main(argc, argv);
}
