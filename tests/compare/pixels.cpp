// Pixel blocks: points, fills, drawing, pasting, turning, resampling, smoothing, bitmaps; and image
// conversions.

#include <cstring>
#include <memory>

#include "compare.h"

namespace compare
{
namespace
{
const char* const kFile = "case.bmp";

void Release(QZPixelBlock* block) { QZPixelBlock::Recycle(&block); }

std::string Show(Case& c, QZPixelBlock& block)
{
    return std::to_string(block.GetWidth()) + "x" + std::to_string(block.GetHeight()) + " " +
           c.Bytes(block.GetPointer(), block.GetDataSize());
}

std::string ShowNew(Case& c, QZPixelBlock* block)
{
    if (block == nullptr) return "<null>";
    std::string text = Show(c, *block);
    Release(block);
    return text;
}

unsigned int Color(Random& r)
{
    switch (r.Below(4))
    {
        case 0: return 0xFF000000u | static_cast<unsigned int>(r.Below(1 << 24));
        case 1: return r.Pick({0u, 0xFFFFFFFFu, 0xFF0000FFu, 0x80FFFFFFu});
        default: return static_cast<unsigned int>(r.Next());
    }
}

/// Noise, slopes or areas.
void Paint(Random& r, QZPixelBlock& block)
{
    const QZInt64 kind = r.Below(3);
    auto* pixels = static_cast<unsigned char*>(block.GetPointer());
    const int width = block.GetWidth();
    for (QZInt64 i = 0; i < QZInt64{width} * block.GetHeight(); ++i)
    {
        auto value = static_cast<QZUInt32>(r.Next());
        if (kind == 1)
            value = 0xFF000000u | static_cast<QZUInt32>(i % width * 5) |
                    static_cast<QZUInt32>(i / width * 5) << 8;
        if (kind == 2) value = i % width < width / 2 ? 0xFF202020u : 0x80F0A010u;
        std::memcpy(pixels + 4 * i, &value, 4);
    }
}

std::unique_ptr<QZPixelBlock> Block(Random& r, int most)
{
    auto block = std::make_unique<QZPixelBlock>(r.Int(r.Chance(5) ? 0 : 1, most), r.Int(1, most));
    Paint(r, *block);
    return block;
}

std::unique_ptr<QZShape> Figure(Random& r)
{
    auto shape = std::make_unique<QZShape>();
    const auto at = [&] { return r.Int(-5, 45); };
    for (QZInt64 i = r.Range(1, 3); i > 0; --i)
    {
        switch (r.Below(3))
        {
            case 0:
            {
                QZLine line(at(), at(), at(), at());
                shape->Add(&line, Color(r));
                break;
            }
            case 1:
            {
                QZRectangle area(at(), at(), r.Int(0, 20), r.Int(0, 20));
                area.Fill = static_cast<QZBool>(r.Below(2));
                shape->Add(&area);
                break;
            }
            default:
            {
                QZCircle circle(at(), at(), r.Int(0, 12));
                circle.Fill = static_cast<QZBool>(r.Below(2));
                shape->Add(&circle, Color(r));
                break;
            }
        }
    }
    return shape;
}

void Simple(Case& c, QZPixelBlock& block)
{
    Random& r = c.random;
    const int x = r.Int(-3, block.GetWidth() + 3);
    const int y = r.Int(-3, block.GetHeight() + 3);
    const int w = r.Int(0, 25);
    const int h = r.Int(0, 25);
    switch (r.Below(11))
    {
        case 0: c.Do("SetPixel", [&] { block.SetPixel(x, y, Color(r)); }); break;
        case 1:
            c.Do("SetPixel pen", [&] {
                block.SetColor(Color(r));
                block.SetPixel(x, y);
                return block.GetColor();
            });
            break;
        case 2: c.Do("GetPixel", [&] { return block.GetPixel(x, y); }); break;
        case 3: c.Do("Fill", [&] { block.Fill(Color(r)); }); break;
        case 4:
        case 5: c.Do("Fill area", [&] { block.Fill(x, y, w, h, Color(r)); }); break;
        case 6: c.Do("Bright", [&] { block.Bright(); }); break;
        case 7: c.Do("SetAlpha", [&] { block.SetAlpha(static_cast<unsigned char>(r.Next())); }); break;
        case 8:
            c.Do("SetColorToAlpha", [&] { block.SetColorToAlpha(r.Pick({0xFFu, 0xFF00u, 0xFF0000u})); });
            break;
        case 9:
            c.Do("pen", [&] {
                block.SetColor(1, 2, static_cast<unsigned char>(r.Next()));
                return block.GetColor();
            });
            break;
        default: c.Do("Draw", [&] { block.Draw(Figure(r).get()); }); break;
    }
}

void Effects(Case& c, QZPixelBlock& block)
{
    Random& r = c.random;
    const int width = block.GetWidth();
    const int height = block.GetHeight();
    QZRectangle area(r.Int(0, 5), r.Int(0, 5), r.Int(0, width), r.Int(0, height));
    const float angle =
        r.Chance(50) ? static_cast<float>(90 * r.Int(-5, 5)) : static_cast<float>(r.Int(-4000, 4000)) / 10;
    switch (r.Below(13))
    {
        case 0:
            c.Do("Smooth", [&] {
                block.Smooth(static_cast<unsigned int>(r.Below(80)), static_cast<unsigned char>(r.Below(40)));
            });
            break;
        case 1: c.Do("Mosaic", [&] { block.Mosaic(r.Int(-1, 9)); }); break;
        case 2: c.Do("Mosaic area", [&] { block.Mosaic(&area, r.Int(0, 7)); }); break;
        case 3:
            c.Do("Copy", [&] {
                return ShowNew(c, block.Copy(r.Int(0, width - 1), r.Int(0, height - 1), r.Int(0, width),
                                             r.Int(0, height)));
            });
            break;
        case 4: c.Do("Copy area", [&] { return ShowNew(c, block.Copy(&area)); }); break;
        case 5:
            c.Do("Thumbnail", [&] { return ShowNew(c, block.Thumbnail(r.Int(1, 50), r.Int(1, 50))); });
            break;
        case 6:
            c.Do("FrostedEffect",
                 [&] { return ShowNew(c, block.FrostedEffect(r.Int(0, 3), r.Int(0, 5), r.Int(0, 6))); });
            break;
        case 7: c.Do("Rotate", [&] { return ShowNew(c, block.Rotate(angle)); }); break;
        case 8: c.Do("RotateThis", [&] { block.RotateThis(static_cast<float>(90 * r.Int(-4, 4))); }); break;
        case 9: c.Do("FlipVertical", [&] { return ShowNew(c, block.FlipVertical()); }); break;
        case 10: c.Do("NewSize", [&] { block.NewSize(r.Int(1, 45), r.Int(1, 45)); }); break;
        case 11: c.Do("Set", [&] { block.Set(Block(r, 30).get()); }); break;
        default: c.Do("Image::Rotate", [&] { return ShowNew(c, QZImage::Rotate(&block, angle)); }); break;
    }
}

void Paste(Case& c, QZPixelBlock& block)
{
    Random& r = c.random;
    const auto source = Block(r, 30);
    const auto overwrite = static_cast<unsigned char>(r.Below(2));
    const int x = r.Int(-6, block.GetWidth() + 3);
    const int y = r.Int(-6, block.GetHeight() - 1);
    if (r.Chance(60))
    {
        c.Do("Paste", [&] { return block.Paste(x, y, source.get(), overwrite); });
        return;
    }
    QZRectangle area(r.Int(0, 20), r.Int(0, 20), r.Int(0, 30), r.Int(0, 30));
    c.Do("Paste area",
         [&] { return block.Paste(&area, source->GetSize(), source->GetPointer(), overwrite); });
}

void Files(Case& c, QZPixelBlock& block)
{
    QZString path(kFile);
    DeleteFile(kFile);
    const bool bitmap = c.random.Chance(50);
    c.Do("ToFileBitmap", [&] { return Own(block.ToFileBitmap()); });
    c.Do("to file",
         [&] { return bitmap ? QZInt64{block.ToFileBitmap(&path)} : QZInt64{block.ToFileBin(&path)}; });
    c.File("file", kFile);
    c.Do("from file", [&] {
        return ShowNew(c, bitmap ? QZPixelBlock::FromFileBitmap32(&path) : QZPixelBlock::FromFileBin(&path));
    });
    c.Do("again", [&] { return block.ToFileBin(&path); });
    DeleteFile(kFile);
    c.Do("missing", [&] { return ShowNew(c, QZPixelBlock::FromFileBin(&path)); });
}

using Conversion = QZInt64 (*)(void*, const void*, QZInt64);

void Convert(Case& c)
{
    Random& r = c.random;
    static const struct
    {
        const char* name;
        Conversion convert;
    } conversions[] = {{"ARGB2ABGR", QZImage::ARGB2ABGR},       {"ABGR2ARGB", QZImage::ABGR2ARGB},
                       {"ABGR2RGBA", QZImage::ABGR2RGBA},       {"ABGR2BGRA", QZImage::ABGR2BGRA},
                       {"RGB2ABGR", QZImage::RGB2ABGR},         {"ABGR2RGB", QZImage::ABGR2RGB},
                       {"BMP32ToBMP24", QZImage::BMP32ToBMP24}, {"BMP24ToBMP32", QZImage::BMP24ToBMP32},
                       {"ARGBToRGB555", QZImage::ARGBToRGB555}, {"ARGBToRGB565", QZImage::ARGBToRGB565},
                       {"RGB555ToARGB", QZImage::RGB555ToARGB}, {"RGB565ToARGB", QZImage::RGB565ToARGB},
                       {"YUYV2ARGB", QZImage::YUYV2ARGB},       {"YUYV2GRAY", QZImage::YUYV2GRAY},
                       {"GRAY2ARGB", QZImage::GRAY2ARGB},       {"ARGB2GRAY", QZImage::ARGB2GRAY},
                       {"GRAY2YUYV", QZImage::GRAY2YUYV}};
    for (const auto& conversion : conversions)
    {
        const std::string source = r.Bytes(r.Below(300));
        std::string target(source.size() * 4 + 64, '.');
        c.Do(conversion.name, [&] {
            const QZInt64 size = conversion.convert(r.Chance(5) ? nullptr : target.data(), source.data(),
                                                    static_cast<QZInt64>(source.size()));
            return std::to_string(size) + " " + c.Bytes(target.data(), static_cast<QZInt64>(target.size()));
        });
    }
    std::string place = r.Bytes(400);
    c.Do("in place", [&] {
        return QZImage::BMP32ToBMP24(place.data(), r.Below(400)) +
               QZImage::BMP24ToBMP32(place.data(), r.Below(290));
    });
    c.Line(c.Bytes(place.data(), 400));
    const unsigned int pixel = Color(r);
    c.Line(std::to_string(QZImage::ARGB2ABGR(pixel)) + " " + std::to_string(QZImage::ARGBToRGB555(pixel)) +
           " " + std::to_string(QZImage::ARGBToRGB565(pixel)) + " " +
           std::to_string(QZImage::RGB555ToARGB(static_cast<unsigned short>(pixel))) + " " +
           std::to_string(QZImage::RGB565ToARGB(static_cast<unsigned short>(pixel))));
}
}  // namespace

void RunPixels(Case& c)
{
    Random& r = c.random;
    QZException::IsStackTrace = static_cast<QZBool>(r.Chance(80));
    if (r.Chance(10)) return Convert(c);
    const auto block = Block(r, r.Chance(10) ? 150 : 40);
    for (QZInt64 steps = r.Range(3, 14); steps > 0; --steps)
    {
        if (block->GetWidth() < 1 || block->GetHeight() < 1) break;
        switch (r.Below(8))
        {
            case 0:
            case 1:
            case 2: Simple(c, *block); break;
            case 3:
            case 4: Paste(c, *block); break;
            case 5:
                if (r.Chance(30)) Files(c, *block);
                break;
            default: Effects(c, *block); break;
        }
        c.Line(Show(c, *block));
    }
    QZPixelBlock copy(*block);
    QZPixelBlock other(block.get());
    other = copy;
    c.Line(Show(c, copy) + Show(c, other));
    if (r.Chance(20))
        c.Do("Clear", [&] {
            copy.Clear();
            return copy.GetPixel(1, 1);
        });
}

}  // namespace compare
