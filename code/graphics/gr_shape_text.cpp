#include <algorithm>

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "fw/internal/fw_scoped.h"
#include "graphics/gr_lattice.h"
#include "graphics/gr_shape.h"
#include "graphics/internal/gr_figure.h"
#include "sys/sys_bytes.h"

namespace
{

/// The UTF-16 units of a text.
class Units
{
public:
    explicit Units(QZString* text) : m_data(QZEncoding::GetData(QZEncodingType::UTF16LE, text)) {}

    QZInt64 Count() const { return m_data->GetSize() / 2; }
    QZUInt16 At(QZInt64 index) const { return QZLoad<QZUInt16>(QZAt(m_data->GetPointer(), index * 2)); }
    bool LineEndsAt(QZInt64 index) const
    {
        return index + 1 < Count() && At(index) == '\r' && At(index + 1) == '\n';
    }

private:
    QZScopedData m_data;
};

/// The height of the tallest glyph from each unit to the end of the text.
class Heights
{
public:
    Heights(const Units& units, QZLattice* lattice) : m_tallest(units.Count() + 1)
    {
        auto* tallest = static_cast<unsigned char*>(m_tallest.GetPointer());
        tallest[units.Count()] = 0;
        for (QZInt64 i = units.Count() - 1; i >= 0; --i)
            tallest[i] = std::max(tallest[i + 1], HeightOf(units.At(i), lattice));
    }

    int From(QZInt64 index) const { return static_cast<const unsigned char*>(m_tallest.GetPointer())[index]; }

    static unsigned char HeightOf(QZUInt16 unit, QZLattice* lattice)
    {
        lattice->Set(0, 0, unit);
        return static_cast<unsigned char>(lattice->GetSize()->GetHeight());
    }

private:
    QZData m_tallest;
};

}  // namespace

void QZShape::Add(const QZLattice* lattice)
{
    constexpr int kGlyphBytes = 126;
    const int width = lattice->GetSize()->GetWidth();
    const int height = lattice->GetSize()->GetHeight();
    if (width < 1 || width > 32 || height < 1 || height > 32) return;
    const int x = lattice->GetLocation()->GetX();
    int y = lattice->GetLocation()->GetY();
    AreaInclude(x, y);
    AreaInclude(word::Add(x, width), word::Add(y, height));
    // The area stays at the location; only the dots follow the baseline.
    if (lattice->GetBaseline() != 0) y = word::Subtract(lattice->GetBaseline(), height >> 1);
    const unsigned char* dots = lattice->GetGlyph();
    if (dots == nullptr) return;
    const int count = std::min(width * height, kGlyphBytes * 8);
    figure::Scratch points(count);
    for (int dot = count - 1; dot >= 0; --dot)
    {
        if (!(dots[dot / 8] >> (7 - dot % 8) & 1)) continue;
        points.Add(word::Add(x, dot % width + 1), word::Add(y, dot / width + 1));
    }
    m_points->Append(points.Words());
}

void QZShape::Add(const QZLattice* lattice, unsigned int color)
{
    Colored(color, [&] { Add(lattice); });
}

void QZShape::Add(int x, int y, QZString* text)
{
    const Units units(text);
    if (units.Count() == 0) return;
    m_points->m_duplicatesAllowed = 1;
    QZLattice lattice(x, y, units.At(0));
    const Heights tallest(units, &lattice);
    int height = 0;
    for (QZInt64 i = 0; i < units.Count() && !units.LineEndsAt(i); ++i)
        height = std::max<int>(height, Heights::HeightOf(units.At(i), &lattice));
    int cursor = x;
    for (QZInt64 i = 0; i < units.Count(); ++i)
    {
        if (units.LineEndsAt(i))
        {
            y = word::Add(y, height + 3);
            // The height of the next line is that of all glyphs after this unit, including the two fallback
            // glyphs of the line end.
            height = tallest.From(i);
            cursor = x;
            ++i;
            continue;
        }
        lattice.Set(cursor, y, units.At(i));
        lattice.SetBaseline(word::Add(height >> 1, y));
        cursor = word::Add(cursor, lattice.GetSize()->GetWidth() + 1);
        Add(&lattice);
    }
}

void QZShape::Add(int x, int y, QZString* text, unsigned int color)
{
    Colored(color, [&] { Add(x, y, text); });
}

void QZShape::Add(QZString* text) { Add(0, 0, text); }
void QZShape::Add(QZString* text, unsigned int color) { Add(0, 0, text, color); }
