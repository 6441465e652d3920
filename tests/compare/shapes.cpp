// Geometry, points, rectangles, shapes, layers, the compositor, display, the dot-matrix font, palettes.

#include <memory>

#include "compare.h"

namespace compare
{
namespace
{
int At(Random& r) { return r.Int(-6, 70); }
unsigned int Color(Random& r)
{
    return r.Chance(70) ? 0xFF000000u | static_cast<unsigned int>(r.Below(1 << 24))
                        : static_cast<unsigned int>(r.Next());
}

std::string Area(const QZRectangle* a)
{
    if (a == nullptr) return "<null>";
    return std::to_string(a->GetX()) + "," + std::to_string(a->GetY()) + " " + std::to_string(a->GetWidth()) +
           "x" + std::to_string(a->GetHeight());
}

std::string Picture(Case& c, QZGraphics* layer) { return c.Bytes(layer->GetPointer(), layer->GetDataSize()); }

void Geometry(Case& c)
{
    Random& r = c.random;
    for (int i = 0; i < 6; ++i)
    {
        QZRectangle a(At(r), At(r), r.Int(0, 20), r.Int(0, 20));
        QZRectangle b(At(r), At(r), r.Int(0, 20), r.Int(0, 20));
        const int x = At(r);
        const int y = At(r);
        QZPoint p(x, y);
        QZSize size(r.Int(-3, 9), r.Int(-3, 9));
        c.Line(Area(&a) + " | " + Area(&b) + " | " + std::to_string(p.GetUInt64()) + " " +
               std::to_string(size.GetUInt64()) + " " + std::to_string(size.GetWidth() * size.GetHeight()));
        c.Value("meets", a.Intersects(x, y) + 2 * a.Intersects(&p) + 4 * a.Intersects(&b) +
                             8 * QZRectangle::Intersects(x, y, 5, 5, At(r), At(r)) + 16 * a.Equals(&b));
        QZRectangle grown(&a);
        grown.Include(&p);
        c.Line(Area(&grown));
        grown.Include(&b);
        grown.SetLocation(b.GetLocationUInt64());
        c.Line(Area(&grown));
        QZCrossMark mark(x, y, r.Int(0, 9), static_cast<float>(r.Int(-720, 720)));
        c.Line(std::to_string(mark.GetTop()->GetUInt64()) + " " +
               std::to_string(mark.GetLeft()->GetUInt64()) + " " +
               std::to_string(mark.GetRight()->GetUInt64()) + " " +
               std::to_string(mark.GetBottom()->GetUInt64()) + " " +
               std::to_string(mark.GetLine1()->GetX1()) + " " + std::to_string(mark.GetLine2()->GetY2()));
        QZColor color(Color(r));
        color.SetGreen(static_cast<unsigned char>(r.Next()));
        c.Value("color", color.GetValue() + color.GetAlpha());
        QZRectangles grid(r.Int(0, 9), r.Int(0, 9), r.Int(1, 6), r.Int(1, 6), r.Int(1, 9));
        const int column = r.Int(-1, 6);
        const int row = r.Int(-1, 6);
        c.Do("grid", [&] {
            return Area(grid.GetRect(column, row)) + " " + Area(grid.GetRect(&p)) + " " +
                   std::to_string(grid.Select(&p)) + Area(grid.GetSelected());
        });
        c.Do("CreateKey", [&] { return Own(grid.CreateKey(column, row)); });
    }
}

void Points(Case& c)
{
    Random& r = c.random;
    QZPointCollection a;
    QZPointCollection b;
    const auto at = [&] { return r.Int(-2, 5); };
    for (QZInt64 i = r.Below(9); i > 0; --i) b.Add(at(), at());
    for (QZInt64 steps = r.Range(5, 25); steps > 0; --steps)
    {
        const int x = at();
        const int y = at();
        QZPoint p(x, y);
        const QZInt64 index = r.Range(-1, a.Count());
        switch (r.Below(13))
        {
            case 0:
            case 1: c.Do("Add", [&] { return a.Add(x, y); }); break;
            case 2: c.Do("Add point", [&] { return r.Chance(50) ? a.Add(&p) : a.Add(p.GetUInt64()); }); break;
            case 3: c.Do("Append", [&] { return a.Count() < 200 ? a.Append(&b) : QZBool{0}; }); break;
            case 4:
                c.Do("SetElement",
                     [&] { return r.Chance(50) ? a.SetElement(index, x, y) : a.SetElement(index, &p); });
                break;
            case 5:
                c.Do("GetElement", [&] { return a.GetElementX(index) * 1000 + a.GetElementY(index); });
                break;
            case 6:
                c.Do("FindElement", [&] { return r.Chance(50) ? a.FindElement(x, y) : a.FindElement(&p); });
                break;
            case 7:
                c.Do("FindNextElement",
                     [&] { return r.Chance(50) ? a.FindNextElement(x, y) : a.FindNextElement(&p); });
                break;
            case 8:
                c.Do("RemoveElementByValue", [&] {
                    return r.Chance(80) ? a.RemoveElementByValue(x, y) : a.RemoveElementByValue(&b);
                });
                break;
            case 9: c.Do("MinDistance", [&] { return a.MinDistance(p.GetUInt64()); }); break;
            default:
            {
                QZPointCollection result;
                c.Do("sets", [&] {
                    const QZInt64 kind = r.Below(3);
                    if (kind == 0) QZPointCollection::Union(&result, &a, &b);
                    if (kind == 1) QZPointCollection::Intersection(&result, &a, &b);
                    if (kind == 2) QZPointCollection::MinDistance(&result, &a, &b);
                    return static_cast<QZCollection*>(&result);
                });
                break;
            }
        }
        c.Value("points", static_cast<QZCollection*>(&a));
    }
    QZRectangleCollection areas;
    for (QZInt64 i = r.Below(9); i > 0; --i)
        c.Do("Add area", [&] { return areas.Add(At(r), At(r), r.Int(-1, 20), r.Int(-1, 20)); });
    c.Do("SetElement", [&] { return areas.SetElement(r.Int(-1, 5), At(r), At(r), 3, 4); });
    c.Do("Intersects", [&] { return areas.Intersects(At(r), At(r), 9, 9); });
    QZRectangleCollection copy(&areas);
    copy.Add(&areas);
    for (QZInt64 i = -1; i < copy.GetLength(); ++i)
        c.Value("area", copy.GetElementLocation(i) * 31 + copy.GetElementSize(i));
}

/// Adds one figure in one of its forms.
void AddFigure(Case& c, QZShape& shape)
{
    Random& r = c.random;
    const unsigned int color = Color(r);
    const bool colored = r.Chance(50);
    QZPoint p(At(r), At(r));
    QZLine line(At(r), At(r), At(r), At(r));
    QZRectangle area(At(r), At(r), r.Int(0, 20), r.Int(0, 20));
    QZCircle circle(At(r), At(r), r.Int(0, 15));
    QZCrossMark mark(At(r), At(r), r.Int(0, 9), static_cast<float>(r.Int(-90, 90)));
    area.Fill = circle.Fill = static_cast<QZBool>(r.Below(2));
    QZString text((r.Chance(70) ? r.Ascii(5) : r.Text(3)).c_str());
    switch (r.Below(9))
    {
        case 0: c.Do("point", [&] { colored ? shape.Add(&p, color) : shape.Add(&p); }); break;
        case 1: c.Do("line", [&] { colored ? shape.Add(&line, color) : shape.Add(&line); }); break;
        case 2: c.Do("rectangle", [&] { colored ? shape.Add(&area, color) : shape.Add(&area); }); break;
        case 3:
            c.Do("rectangle filled",
                 [&] { shape.Add(&area, color, static_cast<unsigned char>(r.Below(2))); });
            break;
        case 4: c.Do("circle", [&] { colored ? shape.Add(&circle, color) : shape.Add(&circle); }); break;
        case 5: c.Do("cross", [&] { colored ? shape.Add(&mark, color) : shape.Add(&mark); }); break;
        case 6:
            c.Do("glyph", [&] {
                QZLattice glyph(
                    r.Int(0, 60), r.Int(0, 60),
                    static_cast<unsigned short>(r.Chance(80) ? r.Range(32, 126) : r.Below(65536)));
                if (r.Chance(30)) glyph.SetBaseline(r.Int(0, 60));
                c.Line(std::to_string(glyph.GetCode()) + " " + std::to_string(glyph.GetSize()->GetUInt64()));
                colored ? shape.Add(&glyph, color) : shape.Add(&glyph);
            });
            break;
        case 7:
            c.Do("text",
                 [&] { colored ? shape.Add(r.Int(0, 50), r.Int(0, 50), &text, color) : shape.Add(&text); });
            break;
        default:
            if (shape.GetPoints()->Count() < 3000) c.Do("itself", [&] { shape.Add(&shape); });
            break;
    }
}

void ShowShape(Case& c, QZShape& shape)
{
    QZPointCollection* points = shape.GetPoints();
    QZCollection* colors = shape.GetColors();
    c.Line("  area " + Area(shape.GetArea()) + " at " + std::to_string(shape.GetLocation()->GetUInt64()) +
           " drawn " + std::to_string(shape.IsDrawn()) + " points " +
           c.Bytes(points->GetPointer(), (points->Count() + 1) * 8) + " colors " +
           c.Bytes(colors->GetPointer(), (colors->Count() + 1) * 8));
}

void Shape(Case& c)
{
    Random& r = c.random;
    QZShape shape(static_cast<unsigned char>(r.Below(2)));
    QZShape other;
    AddFigure(c, other);
    for (QZInt64 steps = r.Range(3, 14); steps > 0; --steps)
    {
        QZRectangle frame(At(r), At(r), r.Int(1, 60), r.Int(1, 60));
        QZPoint p(At(r), At(r));
        switch (r.Below(12))
        {
            case 0: c.Do("Fill", [&] { shape.Fill(Color(r)); }); break;
            case 1: c.Do("RemovePoint", [&] { shape.RemovePoint(r.Range(-1, 9)); }); break;
            case 2: c.Do("MoveTo", [&] { shape.MoveTo(At(r), At(r)); }); break;
            case 3: c.Do("SetLocation", [&] { shape.SetLocation(&p); }); break;
            case 4:
                c.Do("center", [&] { r.Chance(50) ? shape.MoveToCenterOf(&frame) : shape.Center(&frame); });
                break;
            case 5: c.Do("MinDistancePoint", [&] { return shape.MinDistancePoint(&p); }); break;
            case 6:
            {
                QZShape* made =
                    r.Chance(50) ? QZShape::Intersection(&shape, &other) : QZShape::Union(&shape, &other);
                ShowShape(c, *made);
                QZShape::Recycle(&made);
                break;
            }
            case 7: c.Do("Add shape", [&] { shape.Add(&other); }); break;
            default: AddFigure(c, shape); break;
        }
        ShowShape(c, shape);
    }
    QZShape copy(&shape);
    ShowShape(c, copy);
    QZPixelBlock block(64, 64);
    c.Do("Draw", [&] {
        block.SetColor(0xFFABCDEFu);
        block.Draw(&shape);
    });
    c.Line(c.Bytes(block.GetPointer(), block.GetDataSize()));
}

void DrawOn(Case& c, QZGraphics* layer)
{
    Random& r = c.random;
    QZShape shape;
    QZRectangle area(At(r), At(r), r.Int(0, 20), r.Int(0, 20));
    QZCircle circle(At(r), At(r), r.Int(0, 9));
    QZLine line(At(r), At(r), At(r), At(r));
    QZString text(r.Ascii(5).c_str());
    switch (r.Below(16))
    {
        case 0: c.Do("Clear", [&] { layer->Clear(); }); break;
        case 1: c.Do("SetPixel", [&] { layer->SetPixel(At(r), At(r), Color(r)); }); break;
        case 2: c.Do("Fill", [&] { layer->Fill(&area, Color(r)); }); break;
        case 3:
            AddFigure(c, shape);
            c.Do("Draw", [&] { layer->Draw(&shape); });
            break;
        case 4: c.Do("Draw circle", [&] { layer->Draw(&circle); }); break;
        case 5: c.Do("Draw line", [&] { layer->Draw(&line); }); break;
        case 6: c.Do("Draw rectangle", [&] { layer->Draw(&area); }); break;
        case 7: c.Do("Draw text", [&] { layer->Draw(r.Int(0, 60), r.Int(0, 60), &text); }); break;
        case 8:
            c.Do("Draw number", [&] { layer->Draw(r.Int(0, 40), r.Int(0, 40), r.Range(-99, 9999)); });
            break;
        case 9:
            c.Do("DrawCross", [&] {
                r.Chance(50) ? layer->DrawCross(At(r), At(r))
                             : layer->DrawCross(At(r), At(r), static_cast<float>(r.Int(0, 90)));
            });
            break;
        case 10: c.Do("DrawLine", [&] { layer->DrawLine(At(r), At(r), At(r), At(r)); }); break;
        case 11: c.Do("SetColorRound", [&] { return layer->SetColorRound(); }); break;
        case 12: c.Do("SetClearColor", [&] { layer->SetClearColor(Color(r)); }); break;
        case 13:
        {
            QZPixelBlock block(r.Int(1, 20), r.Int(1, 20));
            block.Fill(Color(r));
            c.Do("Paste", [&] {
                return layer->Paste(r.Int(0, 50), r.Int(0, 50), &block,
                                    static_cast<unsigned char>(r.Below(2)));
            });
            break;
        }
        case 14:
            c.Do("DrawCross colors", [&] {
                layer->DrawCrossRed(At(r), At(r));
                layer->DrawCrossGreen(At(r), At(r));
                layer->DrawCrossBlue(At(r), At(r));
            });
            break;
        default:
        {
            const Wide key = r.Name(1);
            QZRectangles grid(0, 0, 4, 3, 7);
            switch (r.Below(5))
            {
                case 0:
                case 1:
                {
                    auto* made = new QZShape();
                    AddFigure(c, *made);
                    if (!c.Do("MarkAdd", [&] { return layer->MarkAdd(key.c_str(), made); })) delete made;
                    break;
                }
                case 2:
                    c.Do("MarkMove", [&] {
                        return layer->MarkMoveUp(key.c_str()) + 2 * layer->MarkMoveFirst(key.c_str());
                    });
                    break;
                case 3: c.Do("MarkGetKeys", [&] { return layer->MarkGetKeys(); }); break;
                default: c.Do("grid", [&] { layer->Draw(&grid); }); break;
            }
            break;
        }
    }
    for (QZInt64 i = 0; i < layer->GetUpdatedAreas()->GetLength(); ++i)
        c.Line("  updated " + std::to_string(layer->GetUpdatedAreas()->GetElementLocation(i)) + " " +
               std::to_string(layer->GetUpdatedAreas()->GetElementSize(i)));
}

/// The row table may have grown over pixels, which hold addresses then: all is filled anew.
void Resize(Case& c, QZGraphicsCollection& view)
{
    c.Do("NewSize", [&] { view.NewSize(c.random.Int(20, 70), c.random.Int(20, 70)); });
    view.FillBickColor();
    for (const char* key : {"a", "b", "c", "d"})
        if (QZGraphics* layer = view.GetElement(key)) layer->Fill(0u);
}

void Compositor(Case& c)
{
    Random& r = c.random;
    QZGraphicsCollection view(r.Int(20, 70), r.Int(20, 70));
    view.FillBickColor();
    static const char* const keys[] = {"a", "b", "c", "d"};
    for (const char* key : {"a", "b"})
        if (r.Chance(90)) view.Add(key);
    for (QZInt64 steps = r.Range(5, 25); steps > 0; --steps)
    {
        const Wide key = ToWide(r.Pick(keys));
        QZRectangle area(At(r), At(r), r.Int(0, 20), r.Int(0, 20));
        QZString text(key.c_str());
        switch (r.Below(15))
        {
            case 0:
                c.Do("Add", [&] {
                    return r.Chance(50) ? view.Add(&text) != nullptr : view.Add(Utf8(key).c_str()) != nullptr;
                });
                break;
            case 1:
                c.Do("MoveElement",
                     [&] { InAnyForm(c, key, [&](auto* k) { view.MoveElement(k, r.Range(-2, 2)); }); });
                break;
            case 2:
                c.Do("top or bottom", [&] {
                    InAnyForm(c, key, [&](auto* k) {
                        r.Chance(50) ? view.MoveElementToTheTop(k) : view.MoveElementToTheBottom(k);
                    });
                });
                break;
            case 3:
                c.Do("GetElementIndex",
                     [&] { return InAnyForm(c, key, [&](auto* k) { return view.GetElementIndex(k); }); });
                break;
            case 4:
                c.Do("switches", [&] {
                    view.ShowAreas(static_cast<unsigned char>(r.Chance(30)));
                    view.ShowEdited(static_cast<unsigned char>(r.Chance(30)));
                    view.SetOverwrite(static_cast<unsigned char>(r.Chance(20)));
                });
                break;
            case 5: c.Do("edit", [&] { return view.LayerEdit(&text) + 2 * view.MarkEdit(&text); }); break;
            case 6: c.Do("Refersh", [&] { r.Chance(50) ? view.Refersh() : view.Refersh(&area); }); break;
            case 7: c.Do("SetBackColor", [&] { view.SetBackColor(Color(r)); }); break;
            case 8:
                c.Do("RemoveElement", [&] {
                    QZGraphics* layer = InAnyForm(c, key, [&](auto* k) { return view.GetElement(k); });
                    if (layer == nullptr || r.Chance(70)) return QZBool{9};
                    const QZBool done = view.RemoveElement(layer);
                    QZGraphicsCollection::Recycle(&layer);
                    return done;
                });
                break;
            case 9:
                if (r.Chance(30)) Resize(c, view);
                break;
            default:
                if (QZGraphics* layer = view.GetElement(&text)) DrawOn(c, layer);
                break;
        }
        if (r.Chance(40))
            c.Do("Update",
                 [&] { r.Chance(80) ? view.Update() : view.Update(static_cast<unsigned char>(r.Below(2))); });
        c.Line(std::to_string(view.Count()) + " fps " + std::to_string(view.GetFPS()) + " " +
               Picture(c, view.GetBackground()));
    }
}

void Display(Case& c)
{
    Random& r = c.random;
    QZGraphicsCollection view(120, 80);
    view.FillBickColor();
    QZGraphics* layer = view.Add("data");
    QZCollection colors;
    for (QZInt64 i = r.Range(1, 5); i > 0; --i) colors.Push(Color(r));
    QZColorPalette palette(&colors, r.Int(0, 9), r.Int(0, 9), r.Int(1, 40), r.Int(1, 60));
    std::string all;
    for (int i = -1; i < 60; i += 7) all += std::to_string(palette.GetColor(i)) + " ";
    c.Line(all);
    if (r.Chance(50)) c.Do("Draw palette", [&] { palette.Draw(layer); });
    QZHistogram bars(layer, r.Int(0, 20), r.Int(40, 79));
    const std::string bytes = r.Bytes(r.Below(130));
    QZData data(bytes.data(), static_cast<QZInt64>(bytes.size()));
    for (int i = 0; i < 5; ++i)
    {
        switch (r.Below(7))
        {
            case 0:
                c.Do("DrawData", [&] { bars.DrawData(&data, static_cast<unsigned char>(r.Below(2))); });
                break;
            case 1: c.Do("DrawData palette", [&] { bars.DrawData(&data, &palette); }); break;
            case 2: c.Do("DrawTable", [&] { bars.DrawTable(); }); break;
            case 3:
                c.Do("GetPoint", [&] {
                    bars.GetPoint(layer, r.Int(0, 119), r.Int(0, 79), static_cast<float>(r.Int(1, 4)));
                });
                break;
            case 4: c.Do("GetValue", [&] { bars.GetValue(r.Int(0, 119), r.Int(0, 79)); }); break;
            case 5:
                c.Do("Scale", [&] {
                    QZPoint p(9, 50);
                    bars.Scale(&p, r.Int(5, 20), static_cast<unsigned char>(r.Below(2)),
                               static_cast<unsigned char>(r.Below(2)));
                });
                break;
            default: c.Do("Grid", [&] { bars.Grid(r.Int(4, 20), Color(r)); }); break;
        }
        c.Line(Picture(c, layer));
    }
    QZLinearGraph ruler(&view, static_cast<unsigned int>(r.Below(1 << 20)),
                        static_cast<unsigned int>(r.Below(1 << 16)));
    for (int i = 0; i < 5; ++i)
    {
        QZString text(r.Ascii(4).c_str());
        const auto at = static_cast<unsigned int>(r.Below(1 << 20));
        switch (r.Below(6))
        {
            case 0:
                c.Do("SetBegin", [&] {
                    ruler.SetBegin(at);
                    return ruler.GetBegin();
                });
                break;
            case 1:
                c.Do("SetLength", [&] {
                    ruler.SetLength(at);
                    return ruler.GetLength();
                });
                break;
            case 2:
                c.Do("SetMousePoint", [&] {
                    ruler.SetMousePoint(r.Int(-5, 130));
                    return ruler.GetMouseAddress();
                });
                break;
            case 3:
                c.Do("Mark",
                     [&] { ruler.Mark(at, static_cast<unsigned int>(r.Below(5000)), Color(r), &text); });
                break;
            case 4: c.Do("Reset", [&] { ruler.Reset(); }); break;
            default:
                c.Do("lengths", [&] {
                    return ruler.PixelToLength(static_cast<unsigned int>(r.Below(120))) * 7ULL +
                           ruler.LengthToPixel(static_cast<unsigned int>(r.Below(60000)));
                });
                break;
        }
        ruler.Update();
        view.Update();
        c.Line(Picture(c, view.GetBackground()));
    }
}

void Font(Case& c)
{
    Random& r = c.random;
    const auto code = static_cast<unsigned short>(r.Chance(60) ? r.Range(32, 126) : r.Below(65536));
    c.Do("Load", [&] { return Own(QZLattice::Load(code)); });
    const QZInt64 width = r.Range(0, 40);
    const QZInt64 height = r.Range(0, 40);
    QZData glyph(2 + r.Below(width * height + 1));
    glyph.SetValueByte(0, static_cast<QZByte>(width));
    glyph.SetValueByte(1, static_cast<QZByte>(height));
    for (QZInt64 i = 2; i < glyph.GetSize(); ++i) glyph.SetValueByte(i, static_cast<QZByte>(r.Below(2)));
    c.Do("Save", [&] {
        QZLattice::Save(code, r.Chance(4) ? nullptr : &glyph);
        return &glyph;
    });
    c.Do("Load again", [&] { return Own(QZLattice::Load(code)); });
    QZLattice lattice(3, 4, code);
    if (lattice.GetGlyph() != nullptr) c.Line(c.Bytes(lattice.GetGlyph(), 126));
    QZShape shape;
    shape.Add(&lattice);
    ShowShape(c, shape);
    // The table is the process's: the next case begins with the built-in glyphs again.
    QZLatticeDispose();
}
}  // namespace

void RunShapes(Case& c)
{
    QZException::IsStackTrace = static_cast<QZBool>(c.random.Chance(80));
    switch (c.random.Below(8))
    {
        case 0: Geometry(c); break;
        case 1: Points(c); break;
        case 2: Font(c); break;
        case 3: Display(c); break;
        case 4:
        case 5: Compositor(c); break;
        default: Shape(c); break;
    }
}

}  // namespace compare
