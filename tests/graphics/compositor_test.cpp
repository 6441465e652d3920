#include "graphics/gr_compositor.h"

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "../fw/assert_watch.h"
#include "fw/fw_environment.h"
#include "fw/fw_keyed.h"
#include "fw/fw_string.h"
#include "graphics/pixel_show.h"
#include "os/os_thread.h"
#include "support/qz_test.h"

namespace
{

using qztest::PixelsOf;
using qztest::Rows;

constexpr unsigned int kBack = 0xFF000000;
constexpr unsigned int kRed = 0xFFFF0000;
constexpr unsigned int kGreen = 0xFF00FF00;
constexpr unsigned int kBlue = 0xFF0000FF;

unsigned int* WordsOf(QZGraphics* layer) { return static_cast<unsigned int*>(layer->GetPointer()); }

void FillBox(QZGraphics* layer, int x, int y, int width, int height, unsigned int color)
{
    const QZRectangle box(x, y, width, height);
    layer->Fill(&box, color);
}

/// Sets every pixel of the picture to a value that no update paints.
constexpr unsigned int kUntouched = 0x00ABCDEF;
void Poison(QZGraphicsCollection& stack)
{
    QZGraphics* picture = stack.GetBackground();
    std::fill_n(WordsOf(picture), picture->GetDataSize() / 4, kUntouched);
}

/// The number of pixels painted since Poison.
QZInt64 Painted(QZGraphicsCollection& stack)
{
    QZGraphics* picture = stack.GetBackground();
    const QZInt64 count = picture->GetDataSize() / 4;
    return count - std::count(WordsOf(picture), WordsOf(picture) + count, kUntouched);
}

unsigned int Blend(unsigned int below, unsigned int above)
{
    const int alpha = static_cast<int>(above >> 24);
    unsigned int result = 0;
    for (int shift : {0, 8, 16})
    {
        const int d = static_cast<int>(below >> shift & 255);
        const int s = static_cast<int>(above >> shift & 255);
        result |= (static_cast<unsigned int>((alpha * (s - d) + d * 256) >> 8) & 255) << shift;
    }
    return result | static_cast<unsigned int>(alpha + (((255 - alpha) * static_cast<int>(below >> 24)) >> 8))
                        << 24;
}

std::string Keys(QZGraphicsCollection& stack, const std::vector<std::string>& keys)
{
    std::string order(keys.size(), '?');
    for (const std::string& key : keys)
        order.at(static_cast<std::size_t>(stack.GetElementIndex(key.c_str()))) = key[0];
    return order;
}

TEST(Compositor, BeginsWithABackgroundAndNoLayers)
{
    QZGraphicsCollection stack(4, 3);
    EXPECT_EQ(stack.GetType(), 0x81FFFF6);
    EXPECT_EQ(QZGraphicsCollection::Type, 0x81FFFF6);
    EXPECT_EQ(stack.GetWidth(), 4);
    EXPECT_EQ(stack.GetHeight(), 3);
    EXPECT_EQ(stack.GetBackground()->GetWidth(), 4);
    EXPECT_EQ(stack.GetBackground()->GetHeight(), 3);
    EXPECT_EQ(stack.GetBackColor(), 0xFF000000u);
    EXPECT_QZ_TEXT(stack.GetKey(), "");
    EXPECT_FALSE(stack.GetKey()->IsDisposable());
    EXPECT_EQ(stack.Count(), 0);
    EXPECT_EQ(stack.GetFPS(), 0u);
    for (const auto& row : PixelsOf(*stack.GetBackground())) EXPECT_EQ(row, Rows::value_type(4, 0));
}

TEST(Compositor, KeepsACopyOfItsKeyLocked)
{
    QZGraphicsCollection stack(4, 3);
    QZString key(QZ_W("view"));
    stack.SetKey(&key);
    key.Set(QZ_W("x"));
    EXPECT_QZ_TEXT(stack.GetKey(), "view");
    EXPECT_FALSE(stack.GetKey()->IsDisposable());
    stack.SetKey(stack.GetKey());
    EXPECT_QZ_TEXT(stack.GetKey(), "view");
}

TEST(Compositor, FillBickColorFillsTheBackground)
{
    QZGraphicsCollection stack(4, 3);
    stack.SetBackColor(kBlue);
    stack.FillBickColor();
    for (const auto& row : PixelsOf(*stack.GetBackground())) EXPECT_EQ(row, Rows::value_type(4, kBlue));
    QZRectangleCollection* cleared = stack.GetBackground()->GetClearedAreas();
    ASSERT_EQ(cleared->GetLength(), 1);
    EXPECT_EQ(cleared->GetElementWidth(0), 4);
    EXPECT_EQ(cleared->GetElementHeight(0), 3);
    EXPECT_EQ(stack.GetBackground()->GetUpdatedAreas()->GetLength(), 1);
}

TEST(Compositor, AddWithNarrowTextMarksTheWholeLayerAsChanged)
{
    QZGraphicsCollection stack(4, 3);
    QZGraphics* layer = stack.Add("ink");
    EXPECT_QZ_TEXT(layer->GetKey(), "ink");
    EXPECT_EQ(layer->GetWidth(), 4);
    EXPECT_EQ(layer->GetHeight(), 3);
    ASSERT_EQ(layer->GetUpdatedAreas()->GetLength(), 1);
    EXPECT_EQ(layer->GetUpdatedAreas()->GetElementSize(0), 0x0000000300000004u);
    Poison(stack);
    stack.Update();
    EXPECT_EQ(Painted(stack), 12);
}

TEST(Compositor, AddWithAStringMarksNothing)
{
    QZGraphicsCollection stack(4, 3);
    QZString key(QZ_W("ink"));
    QZGraphics* layer = stack.Add(&key);
    EXPECT_QZ_TEXT(layer->GetKey(), "ink");
    EXPECT_EQ(layer->GetUpdatedAreas()->GetLength(), 0);
    EXPECT_FALSE(layer->IsDisposable());
    Poison(stack);
    stack.Update();
    EXPECT_EQ(Painted(stack), 0);
}

TEST(Compositor, AddOfALayerGivesItTheSizeOfTheStack)
{
    QZGraphicsCollection stack(4, 3);
    QZString key(QZ_W("ink"));
    auto* layer = new QZGraphics(2, 2, &key);
    layer->Fill(kRed);
    EXPECT_EQ(stack.Add(layer), layer);
    EXPECT_EQ(layer->GetWidth(), 4);
    EXPECT_EQ(layer->GetHeight(), 3);
    EXPECT_EQ(layer->GetUpdatedAreas()->GetLength(), 0);
    EXPECT_EQ(stack.GetElement("ink"), layer);
}

TEST(Compositor, AddRefusesEmptyAndUsedKeysAndLockedLayers)
{
    QZGraphicsCollection stack(4, 3);
    stack.Add("ink");
    QZString used(QZ_W("INK"));
    EXPECT_QZ_THROW(stack.Add(&used), 2304);
    EXPECT_QZ_THROW(stack.Add("ink"), 2304);
    EXPECT_QZ_THROW(stack.Add(""), 2048);
    QZGraphicsCollection other(4, 3);
    EXPECT_QZ_THROW(other.Add(stack.GetElement("ink")), 1280);
    EXPECT_EQ(stack.Count(), 1);
}

TEST(Compositor, FindsLayersByEveryKindOfKey)
{
    QZGraphicsCollection stack(4, 3);
    QZGraphics* a = stack.Add("a");
    QZGraphics* b = stack.Add("b");
    QZString key(QZ_W("B"));
    QZString none(QZ_W("none"));
    EXPECT_EQ(stack.GetElement("a"), a);
    EXPECT_EQ(stack.GetElement(QZ_W("a")), a);
    EXPECT_EQ(stack.GetElement(&key), b);
    EXPECT_EQ(stack.GetElement("none"), nullptr);
    EXPECT_EQ(stack.GetElementIndex(b), 1);
    EXPECT_EQ(stack.GetElementIndex(&key), 1);
    EXPECT_EQ(stack.GetElementIndex("a"), 0);
    EXPECT_EQ(stack.GetElementIndex(QZ_W("b")), 1);
    EXPECT_EQ(stack.GetElementIndex(&none), -1);
    EXPECT_EQ(stack.GetElementIndex("none"), -1);
    EXPECT_EQ(stack.GetElementIndex(QZ_W("none")), -1);
    EXPECT_EQ(stack.GetElementIndex(stack.GetBackground()), -1);
    EXPECT_EQ(stack.Count(), 2);
}

TEST(Compositor, RemovedLayerBelongsToTheCaller)
{
    QZGraphicsCollection stack(4, 3);
    QZString key(QZ_W("c"));
    std::vector<std::unique_ptr<QZGraphics>> layers;
    for (const char* name : {"a", "b", "c", "d"}) layers.emplace_back(stack.Add(name));
    EXPECT_EQ(stack.RemoveElement("a"), 1);
    EXPECT_EQ(stack.RemoveElement("a"), 0);
    EXPECT_EQ(stack.RemoveElement(QZ_W("b")), 1);
    EXPECT_EQ(stack.RemoveElement(QZ_W("b")), 0);
    EXPECT_EQ(stack.RemoveElement(&key), 1);
    EXPECT_EQ(stack.RemoveElement(&key), 0);
    EXPECT_EQ(stack.RemoveElement(layers[3].get()), 1);
    EXPECT_EQ(stack.RemoveElement(layers[3].get()), 0);
    EXPECT_EQ(stack.Count(), 0);
    for (const auto& layer : layers) EXPECT_TRUE(layer->IsDisposable());
    QZGraphics* last = layers[3].release();
    QZGraphicsCollection::Recycle(&last);
    EXPECT_EQ(last, nullptr);
    qztest::AssertWatch watch;
    QZGraphicsCollection::Recycle(&last);
    EXPECT_EQ(watch.Count(), 1);
}

TEST(Compositor, SetElementReplacesALayerOfTheSameKeyOnTop)
{
    QZGraphicsCollection stack(4, 3);
    std::unique_ptr<QZGraphics> old(stack.Add("a"));
    stack.Add("b");
    QZString key(QZ_W("A"));
    auto* fresh = new QZGraphics(2, 2, &key);
    stack.SetElement(fresh);
    EXPECT_EQ(stack.GetElementIndex(fresh), 1);
    EXPECT_EQ(stack.GetElementIndex("b"), 0);
    EXPECT_TRUE(old->IsDisposable());
    EXPECT_EQ(fresh->GetWidth(), 2);
    stack.SetElement(fresh);
    EXPECT_EQ(stack.Count(), 2);
    QZString other(QZ_W("c"));
    stack.SetElement(new QZGraphics(4, 3, &other));
    EXPECT_EQ(stack.GetElementIndex("c"), 2);
    QZGraphics nameless(4, 3);
    EXPECT_QZ_THROW(stack.SetElement(&nameless), 256);
    EXPECT_EQ(stack.Count(), 3);
}

class StackOrder : public ::testing::Test
{
protected:
    void SetUp() override
    {
        for (const std::string& key : m_keys) m_stack.Add(key.c_str());
    }
    std::string Order() { return Keys(m_stack, m_keys); }

    std::vector<std::string> m_keys{"a", "b", "c", "d", "e"};
    QZGraphicsCollection m_stack{2, 2};
};

TEST_F(StackOrder, MoveElementMovesByPositions)
{
    QZString c(QZ_W("c"));
    m_stack.MoveElement("a", 2);
    EXPECT_EQ(Order(), "bcade");
    m_stack.MoveElement(QZ_W("e"), -3);
    EXPECT_EQ(Order(), "becad");
    m_stack.MoveElement(&c, 1);
    EXPECT_EQ(Order(), "beacd");
    m_stack.MoveElement(m_stack.GetElement("b"), 100);
    EXPECT_EQ(Order(), "eacdb");
    m_stack.MoveElement("none", 1);
    m_stack.MoveElement(m_stack.GetBackground(), 1);
    EXPECT_EQ(Order(), "eacdb");
}

TEST_F(StackOrder, MoveElementToTheTopMovesToTheFirstPosition)
{
    QZString c(QZ_W("c"));
    m_stack.MoveElementToTheTop(&c);
    EXPECT_EQ(Order(), "cabde");
    m_stack.MoveElementToTheTop("e");
    m_stack.MoveElementToTheTop(QZ_W("e"));
    EXPECT_EQ(Order(), "ecabd");
    m_stack.MoveElementToTheTop(m_stack.GetElement("d"));
    EXPECT_EQ(Order(), "decab");
    m_stack.MoveElementToTheTop("none");
    EXPECT_EQ(Order(), "decab");
}

TEST_F(StackOrder, MoveElementToTheBottomMovesToTheLastPosition)
{
    QZString c(QZ_W("c"));
    m_stack.MoveElementToTheBottom(&c);
    EXPECT_EQ(Order(), "abdec");
    m_stack.MoveElementToTheBottom("a");
    m_stack.MoveElementToTheBottom(QZ_W("a"));
    EXPECT_EQ(Order(), "bdeca");
    m_stack.MoveElementToTheBottom(m_stack.GetElement("d"));
    EXPECT_EQ(Order(), "becad");
    m_stack.MoveElementToTheBottom("none");
    EXPECT_EQ(Order(), "becad");
}

TEST(Compositor, BlendsLayersInStackOrderOverTheBackColour)
{
    QZGraphicsCollection stack(3, 1);
    stack.SetBackColor(0xFF0000FF);
    QZGraphics* low = stack.Add("low");
    QZGraphics* high = stack.Add("high");
    FillBox(low, 0, 0, 2, 1, 0xFFFF0000);
    FillBox(high, 1, 0, 2, 1, 0x80FFFFFF);
    stack.Update();
    // Red with alpha 255 gives 255 * 255 >> 8 = 254. White with alpha 128 over that gives 254 for red and
    // 128 * 255 >> 8 = 127 for green and blue. Every transparent layer reduces the alpha by one.
    EXPECT_EQ(PixelsOf(*stack.GetBackground()), (Rows{{0xFEFE0000, 0xFEFE7F7F, 0xFE7F7FFF}}));
    stack.MoveElementToTheTop("high");
    stack.Refersh();
    stack.Update();
    EXPECT_EQ(PixelsOf(*stack.GetBackground()), (Rows{{0xFFFE0000, 0xFFFE0000, 0xFD7F7FFF}}));
}

TEST(Compositor, TransparentPartsOfADrawnAreaReduceTheAlpha)
{
    QZGraphicsCollection stack(40, 1);
    QZString key(QZ_W("near"));
    QZGraphics* layer = stack.Add(&key);
    stack.Refersh();
    stack.Update();
    EXPECT_EQ(stack.GetBackground()->GetPixel(0, 0), 0xFF000000u);
    FillBox(layer, 30, 0, 2, 1, 0xFFFFFFFF);
    // The layer has drawn something in this area, so the whole area is blended, including its transparent
    // part.
    const QZRectangle area(20, 0, 20, 1);
    stack.Refersh(&area);
    stack.Update();
    EXPECT_EQ(stack.GetBackground()->GetPixel(19, 0), 0xFF000000u);
    EXPECT_EQ(stack.GetBackground()->GetPixel(20, 0), 0xFE000000u);
    // 255 with alpha 255 over 0 gives 255 * 255 >> 8.
    EXPECT_EQ(stack.GetBackground()->GetPixel(30, 0), 0xFFFEFEFEu);
}

TEST(Compositor, ChangesOfAHiddenLayerRepaintTheAreaWithoutIt)
{
    QZGraphicsCollection stack(8, 2);
    QZGraphics* layer = stack.Add("ink");
    stack.Update();
    layer->SetVisable(0);
    FillBox(layer, 2, 0, 3, 2, 0xFFFFFFFF);
    Poison(stack);
    stack.Update();
    EXPECT_EQ(PixelsOf(*stack.GetBackground()),
              (Rows(2, {kUntouched, kUntouched, kBack, kBack, kBack, kUntouched, kUntouched, kUntouched})));
}

TEST(Compositor, UpdateOnAnUnchangedStackPaintsNothing)
{
    QZGraphicsCollection stack(30, 20);
    QZGraphics* layer = stack.Add("ink");
    auto* mark = new QZShape();
    const QZRectangle box(3, 3, 5, 5);
    mark->Add(&box);
    layer->MarkAdd(QZ_W("box"), mark);
    stack.Update();
    EXPECT_EQ(layer->GetUpdatedAreas()->GetLength(), 0);
    EXPECT_EQ(stack.GetBackground()->GetUpdatedAreas()->GetLength(), 0);
    EXPECT_EQ(stack.GetBackground()->GetPixel(3, 3), 0xFFFEFEFEu);
    Poison(stack);
    stack.Update();
    EXPECT_EQ(Painted(stack), 0);
    stack.SetBackColor(kBlue);
    stack.Update();
    EXPECT_EQ(Painted(stack), 0);
}

TEST(Compositor, ClearedLayerIsBlendedOnlyWhereItWasDrawn)
{
    QZGraphicsCollection stack(20, 1);
    QZGraphics* layer = stack.Add("ink");
    layer->SetClearColor(0xFFFFFFFF);
    layer->Clear();
    stack.Update();
    // Nothing was drawn on the layer after Clear, so its white is not blended.
    EXPECT_EQ(stack.GetBackground()->GetPixel(5, 0), kBack);
    layer->Fill(10, 0, 1, 1, kRed);
    layer->UpdateAreaInclude(10, 0, 1, 1);
    stack.Update();
    EXPECT_EQ(stack.GetBackground()->GetPixel(10, 0), 0xFFFE0000u);
    EXPECT_EQ(stack.GetBackground()->GetPixel(5, 0), kBack);
}

TEST(Compositor, RefershMarksTheWholePictureOrTheGivenAreas)
{
    QZGraphicsCollection stack(10, 10);
    Poison(stack);
    const QZRectangle area(1, 1, 2, 3);
    stack.Refersh(&area);
    stack.Refersh(static_cast<QZRectangle*>(nullptr));
    stack.Update();
    EXPECT_EQ(Painted(stack), 6);
    Poison(stack);
    QZRectangleCollection areas;
    areas.Add(0, 0, 2, 2);
    areas.Add(5, 5, 3, 1);
    areas.Add(9, 9, 1, 1);
    stack.Refersh(&areas);
    stack.Refersh(static_cast<QZRectangleCollection*>(nullptr));
    stack.Update();
    EXPECT_EQ(Painted(stack), 4 + 3 + 1);
    Poison(stack);
    stack.Refersh();
    stack.Update();
    EXPECT_EQ(Painted(stack), 100);
}

TEST(Compositor, AreasOutsideThePictureAreIgnored)
{
    QZGraphicsCollection stack(10, 10);
    stack.Add("ink");
    stack.Update();
    QZRectangleCollection areas;
    areas.Add(50, 2, 3, 3);
    areas.Add(-20, 2, 3, 3);
    areas.Add(2, 50, 3, 3);
    areas.Add(2, -50, 3, 3);
    areas.Add(8, 8, 100, 100);
    areas.Add(0, 0, 0, 0);
    areas.Add(10, 10, 0, 0);
    areas.Add(0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF);
    stack.Refersh(&areas);
    EXPECT_QZ_NO_THROW(stack.Update());
    EXPECT_EQ(stack.GetBackground()->GetPixel(9, 9), 0xFE000000u);
}

TEST(Compositor, UpdateWithoutFullKeepsTheChangesForLater)
{
    QZGraphicsCollection stack(10, 10);
    QZGraphics* layer = stack.Add("ink");
    Poison(stack);
    stack.Update(0);
    EXPECT_EQ(Painted(stack), 0);
    EXPECT_EQ(layer->GetUpdatedAreas()->GetLength(), 1);
    stack.Update(1);
    EXPECT_EQ(Painted(stack), 100);
}

TEST(Compositor, NewSizeResizesTheBackgroundAndAllLayers)
{
    QZGraphicsCollection stack(10, 10);
    QZGraphics* layer = stack.Add("ink");
    stack.NewSize(10, 10);
    EXPECT_EQ(layer->GetUpdatedAreas()->GetLength(), 1);
    stack.NewSize(6, 20);
    for (QZGraphics* each : {layer, stack.GetBackground()})
    {
        EXPECT_EQ(each->GetWidth(), 6);
        EXPECT_EQ(each->GetHeight(), 20);
        EXPECT_EQ(each->GetUpdatedAreas()->GetLength(), 0);
    }
    EXPECT_EQ(stack.GetWidth(), 6);
    EXPECT_EQ(stack.GetHeight(), 20);
    layer->Fill(kRed);
    stack.Update();
    for (const auto& row : PixelsOf(*stack.GetBackground())) EXPECT_EQ(row, Rows::value_type(6, 0xFFFE0000));
    QZLastError = 0;
    EXPECT_QZ_THROW(stack.NewSize(-1, 5), 4352);
    QZLastError = 0;
    EXPECT_EQ(stack.GetWidth(), 6);
}

TEST(Compositor, MarkEditUsesTheBackgroundUntilLayerEdit)
{
    QZGraphicsCollection stack(10, 10);
    QZGraphics* layer = stack.Add("ink");
    layer->MarkAdd(QZ_W("box"), new QZShape());
    stack.GetBackground()->MarkAdd(QZ_W("frame"), new QZShape());
    QZString ink(QZ_W("ink"));
    QZString box(QZ_W("box"));
    QZString frame(QZ_W("frame"));
    EXPECT_EQ(stack.MarkEdit(&frame), 1);
    EXPECT_EQ(stack.MarkEdit(&box), 0);
    EXPECT_EQ(stack.LayerEdit(&ink), 1);
    EXPECT_EQ(stack.MarkEdit(&box), 1);
    EXPECT_EQ(stack.MarkEdit(&frame), 0);
    EXPECT_EQ(stack.LayerEdit(&box), 0);
    EXPECT_EQ(stack.MarkEdit(&box), 0);
    EXPECT_EQ(stack.LayerEdit(&ink), 1);
    EXPECT_EQ(stack.RemoveElement(layer), 1);
    delete layer;
    EXPECT_EQ(stack.MarkEdit(&box), 0);
}

// ------------------------------------------------------------------------------------------------------------------
// Random drawings: the picture after an update must equal a picture that is painted completely.

class RandomStack
{
public:
    explicit RandomStack(unsigned int seed) : m_random(seed), m_stack(Pick(40, 90), Pick(20, 70))
    {
        m_stack.SetBackColor(0xFF000000 | static_cast<unsigned int>(m_random()));
        for (int i = Pick(1, 5); i > 0; --i)
        {
            QZGraphics* layer = m_stack.Add(("layer" + std::to_string(i)).c_str());
            for (int mark = Pick(0, 2); mark > 0; --mark)
            {
                const qztest::Text key = qztest::Wide("mark" + std::to_string(mark));
                layer->MarkAdd(key.c_str(), NewShape());
            }
            m_layers.push_back(layer);
        }
    }

    int Pick(int low, int high)
    {
        return low + static_cast<int>(m_random() % static_cast<unsigned int>(high - low + 1));
    }
    int X() { return Pick(-5, m_stack.GetWidth() + 5); }
    int Y() { return Pick(-5, m_stack.GetHeight() + 5); }
    unsigned int Color()
    {
        const unsigned int alphas[] = {0, 1, 127, 128, 254, 255};
        return (alphas[m_random() % 6] << 24) | (static_cast<unsigned int>(m_random()) & 0xFFFFFF);
    }
    QZGraphics* Layer() { return m_layers[m_random() % m_layers.size()]; }

    QZShape* NewShape()
    {
        auto* shape = new QZShape();
        const QZRectangle box(Pick(0, 50), Pick(0, 40), Pick(1, 9), Pick(1, 9));
        shape->Add(&box, Color(), static_cast<unsigned char>(Pick(0, 1)));
        return shape;
    }

    /// Makes one random drawing on one layer. With `clear` it may also call Clear.
    void Draw(bool clear)
    {
        QZGraphics* layer = Layer();
        layer->SetColor(Color());
        switch (Pick(0, clear ? 9 : 8))
        {
            case 0: FillBox(layer, X(), Y(), Pick(0, 30), Pick(0, 20), Color()); break;
            case 1: layer->SetPixel(X(), Y(), Color()); break;
            case 2: DrawLine(layer); break;
            case 3: layer->Draw(X(), Y(), "Value=\r\n255"); break;
            case 4: layer->DrawCross(X(), Y(), 45.0F * static_cast<float>(Pick(0, 1))); break;
            case 5:
            {
                // An outline also draws on the top row, outside the area that it marks as changed.
                QZCircle circle(X(), Y(), Pick(1, 9));
                circle.Fill = 1;
                layer->Draw(&circle);
                break;
            }
            case 6:
            {
                QZPixelBlock stamp(Pick(1, 12), Pick(1, 12));
                for (QZInt64 i = 0; i < stamp.GetDataSize() / 4; ++i)
                    static_cast<unsigned int*>(stamp.GetPointer())[i] = Color();
                layer->Paste(X(), Y(), &stamp, static_cast<unsigned char>(Pick(0, 1)));
                break;
            }
            case 7:
                if (layer->MarkCount() > 0)
                {
                    QZShape* mark = layer->MarkGet(QZ_W("mark1"));
                    const QZRectangle left(mark->GetArea());
                    mark->MoveTo(Pick(-20, 20), Pick(-20, 20));
                    FillBox(layer, std::max(left.GetX(), 0), std::max(left.GetY(), 0), left.GetWidth(),
                            left.GetHeight(), 0);
                }
                break;
            case 8: Rearrange(); break;
            default: layer->Clear(); break;
        }
    }

    /// Draws along a row, a column or a diagonal. Other slopes are rounded and may end one pixel outside the
    /// area that they mark as changed.
    void DrawLine(QZGraphics* layer)
    {
        const int x = Pick(0, 90);
        const int y = Pick(0, 70);
        const int length = Pick(0, 40);
        const int direction = Pick(0, 2);
        layer->DrawLine(x, y, direction == 0 ? x : x + length, direction == 1 ? y : y + length);
    }

    /// Makes a change that no layer records, so the host has to call Refersh.
    void Rearrange()
    {
        QZGraphics* layer = Layer();
        switch (Pick(0, 3))
        {
            case 0: layer->SetVisable(static_cast<unsigned char>(Pick(0, 1))); break;
            case 1: m_stack.MoveElement(layer, Pick(-2, 2)); break;
            case 2: m_stack.MoveElementToTheTop(layer); break;
            default: m_stack.SetBackColor(0xFF000000 | static_cast<unsigned int>(m_random())); break;
        }
        m_stack.Refersh();
    }

    /// Blends all visible layers over the back colour, pixel by pixel.
    std::vector<unsigned int> PaintedCompletely()
    {
        std::vector<unsigned int> picture(
            static_cast<std::size_t>(m_stack.GetBackground()->GetDataSize() / 4), m_stack.GetBackColor());
        std::vector<QZGraphics*> order(m_layers.size());
        for (QZGraphics* layer : m_layers)
            order.at(static_cast<std::size_t>(m_stack.GetElementIndex(layer))) = layer;
        for (QZGraphics* layer : order)
            for (std::size_t i = 0; layer->GetVisable() && i < picture.size(); ++i)
                picture[i] = Blend(picture[i], WordsOf(layer)[i]);
        return picture;
    }

    std::vector<unsigned int> Picture()
    {
        const unsigned int* words = WordsOf(m_stack.GetBackground());
        return {words, words + m_stack.GetBackground()->GetDataSize() / 4};
    }

    QZGraphicsCollection& Stack() { return m_stack; }

private:
    std::mt19937 m_random;
    QZGraphicsCollection m_stack;
    std::vector<QZGraphics*> m_layers;
};

TEST(Compositor, UpdateEqualsACompletelyPaintedPicture)
{
    for (unsigned int seed = 1; seed <= 60; ++seed)
    {
        RandomStack random(seed);
        for (int frame = 0; frame < 12; ++frame)
        {
            for (int i = random.Pick(0, 4); i > 0; --i) random.Draw(false);
            random.Stack().Update();
            ASSERT_EQ(random.Picture(), random.PaintedCompletely())
                << "stack " << seed << ", frame " << frame;
        }
    }
}

TEST(Compositor, UpdateWithClearedLayersHasTheColoursOfAPaintedPicture)
{
    // The alpha is ignored: it shows which layers were blended, not what is visible.
    auto colors = [](std::vector<unsigned int> words) {
        for (unsigned int& word : words) word &= 0xFFFFFF;
        return words;
    };
    for (unsigned int seed = 101; seed <= 160; ++seed)
    {
        RandomStack random(seed);
        for (int frame = 0; frame < 12; ++frame)
        {
            for (int i = random.Pick(0, 4); i > 0; --i) random.Draw(true);
            random.Stack().Update();
            ASSERT_EQ(colors(random.Picture()), colors(random.PaintedCompletely()))
                << "stack " << seed << ", frame " << frame;
        }
    }
}

TEST(Compositor, UpdatePaintsOnlyTheChangedHundredth)
{
    QZGraphicsCollection stack(500, 400);
    QZGraphics* layer = stack.Add("low");
    stack.Add("middle");
    stack.Add("high");
    stack.Update();
    Poison(stack);
    for (int i = 0; i < 10; ++i) FillBox(layer, 10 + 45 * i, 10 + 35 * i, 20, 10, kRed);
    stack.Update();
    EXPECT_EQ(Painted(stack), 2000);
    stack.Refersh();
    stack.Update();
    EXPECT_EQ(Painted(stack), 200000);
}

// ------------------------------------------------------------------------------------------------------------------
// Overlays.

QZUInt64 Second() { return QZEnvironment::GetTickCount() / 1000; }

/// Waits for the start of a second, so that the following code has a full second.
void WaitForASecond()
{
    for (const QZUInt64 now = Second(); Second() == now;) QZThread::Sleep(1);
}

/// Expects that the picture equals `plain` except for the dots of the number of frames at (10, 10).
void ExpectNumber(QZGraphicsCollection& stack, const std::vector<unsigned int>& plain)
{
    const int width = stack.GetWidth();
    std::vector<unsigned int> expected = plain;
    QZString digits(qztest::Wide(std::to_string(stack.GetFPS())).c_str());
    QZShape text;
    text.Add(10, 10, &digits);
    for (QZInt64 i = 0; i < text.GetPoints()->Count(); ++i)
        expected[static_cast<std::size_t>(text.GetPoints()->GetElementY(i) * width +
                                          text.GetPoints()->GetElementX(i))] = 0x00FFAD19;
    const unsigned int* words = WordsOf(stack.GetBackground());
    EXPECT_EQ(std::vector<unsigned int>(words, words + plain.size()), expected);
}

TEST(Compositor, CountsFramesOfAFullSecond)
{
    for (int attempt = 0;; ++attempt)
    {
        ASSERT_LT(attempt, 100);
        WaitForASecond();
        const QZUInt64 begin = Second();
        QZGraphicsCollection stack(40, 30);
        for (int i = 0; i < 50; ++i) stack.Update();
        if (Second() != begin) continue;
        EXPECT_EQ(stack.GetFPS(), 0u);
        WaitForASecond();
        const QZUInt64 elapsed = Second() - begin;
        stack.Update();
        if (Second() - begin != elapsed) continue;
        EXPECT_EQ(stack.GetFPS(), 50 / elapsed);
        // One frame per second or less is reported as 0.
        WaitForASecond();
        stack.Update(0);
        EXPECT_EQ(stack.GetFPS(), 0u);
        return;
    }
}

TEST(Compositor, FrameRateIsDrawnAndRemovedByTheNextUpdate)
{
    QZGraphicsCollection stack(60, 30);
    QZGraphics* layer = stack.Add("ink");
    for (int i = 0; i < 60 * 30; ++i) WordsOf(layer)[i] = 0xFF000000u + static_cast<unsigned int>(i);
    stack.Update();
    const unsigned int* words = WordsOf(stack.GetBackground());
    std::vector<unsigned int> plain(words, words + 60 * 30);
    stack.ShowFPS(1);
    stack.Update();
    ExpectNumber(stack, plain);
    WaitForASecond();
    for (int i = 0; i < 20; ++i) stack.Update();
    WaitForASecond();
    stack.Update();
    ExpectNumber(stack, plain);
    // Changes below the number are visible once the number moves.
    FillBox(layer, 5, 5, 20, 20, kGreen);
    stack.Update();
    for (int y = 5; y < 25; ++y)
        for (int x = 5; x < 25; ++x) plain[static_cast<std::size_t>(y * 60 + x)] = 0xFF00FE00;
    // Green with alpha 255 leaves 1/256 of the black below.
    ExpectNumber(stack, plain);
}

TEST(Compositor, FrameRateTurnedOffStaysUntilItsAreaIsRepainted)
{
    QZGraphicsCollection stack(60, 30);
    stack.Refersh();
    stack.ShowFPS(1);
    stack.Update();
    stack.ShowFPS(0);
    stack.Update();
    const unsigned int* words = WordsOf(stack.GetBackground());
    EXPECT_GT(std::count(words, words + 60 * 30, 0x00FFAD19u), 0);
    stack.Refersh();
    stack.Update();
    EXPECT_EQ(std::count(words, words + 60 * 30, 0x00FFAD19u), 0);
}

TEST(Compositor, ShowAreasOutlinesRepaintedAreasInChangingColours)
{
    QZGraphicsCollection stack(12, 5);
    stack.Refersh();
    stack.Update();
    stack.ShowAreas(1);
    QZRectangleCollection areas;
    areas.Add(0, 0, 3, 3);
    areas.Add(6, 1, 2, 2);
    stack.Refersh(&areas);
    stack.Update();
    const unsigned int o = kBack;
    const unsigned int r = kRed;
    const unsigned int g = kGreen;
    const Rows outlined = {{r, r, r, o, o, o, o, o, o, o, o, o},
                           {r, o, r, o, o, o, g, g, o, o, o, o},
                           {r, r, r, o, o, o, g, g, o, o, o, o},
                           {o, o, o, o, o, o, o, o, o, o, o, o},
                           {o, o, o, o, o, o, o, o, o, o, o, o}};
    EXPECT_EQ(PixelsOf(*stack.GetBackground()), outlined);
    // Without changes the outlines stay the same.
    stack.Update();
    EXPECT_EQ(PixelsOf(*stack.GetBackground()), outlined);
    const QZRectangle corner(11, 4, 1, 1);
    stack.Refersh(&corner);
    stack.Update();
    Rows moved(5, Rows::value_type(12, o));
    moved[4][11] = kBlue;
    EXPECT_EQ(PixelsOf(*stack.GetBackground()), moved);
}

TEST(Compositor, ShowEditedOutlinesTheEditedLayerAndMark)
{
    QZGraphicsCollection stack(6, 5);
    QZString key(QZ_W("ink"));
    QZGraphics* layer = stack.Add(&key);
    stack.Refersh();
    stack.Update();
    auto* mark = new QZShape();
    const QZPoint point(3, 3);
    mark->Add(&point);
    layer->MarkAdd(QZ_W("dot"), mark);
    QZString dot(QZ_W("dot"));
    stack.LayerEdit(&key);
    stack.MarkEdit(&dot);
    stack.ShowEdited(1);
    stack.Update();
    for (const auto& row : PixelsOf(*stack.GetBackground())) EXPECT_EQ(row, Rows::value_type(6, kBack));
    stack.ShowAreas(1);
    stack.Update();
    // The outline of the layer lies outside the picture; its left and top parts are drawn at 0.
    const unsigned int o = kBack;
    const unsigned int w = 0xFFFFFFFF;
    const unsigned int g = kGreen;
    EXPECT_EQ(PixelsOf(*stack.GetBackground()), (Rows{{w, w, w, w, w, w},
                                                      {w, o, o, o, o, o},
                                                      {w, o, g, g, g, o},
                                                      {w, o, g, o, g, o},
                                                      {w, o, g, g, g, o}}));
    layer->MarkRemove(&dot);
    delete mark;
    stack.Update();
    EXPECT_EQ(PixelsOf(*stack.GetBackground())[3], (Rows::value_type{w, o, o, o, o, o}));
    stack.RemoveElement(layer);
    delete layer;
    stack.Update();
    for (const auto& row : PixelsOf(*stack.GetBackground())) EXPECT_EQ(row, Rows::value_type(6, kBack));
}

TEST(Compositor, SetOverwriteReplacesThePixelsBelow)
{
    QZGraphicsCollection stack(3, 1);
    QZGraphics* layer = stack.Add("ink");
    FillBox(layer, 1, 0, 1, 1, 0x80FFFFFF);
    stack.SetOverwrite(1);
    stack.Update();
    EXPECT_EQ(PixelsOf(*stack.GetBackground()), (Rows{{0, 0x80FFFFFF, 0}}));
}

}  // namespace
