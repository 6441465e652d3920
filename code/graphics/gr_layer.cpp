#include "graphics/gr_layer.h"

#include <algorithm>

#include "fw/fw_convert.h"
#include "fw/fw_keyed.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_trace.h"
#include "graphics/internal/gr_pixels_transfer.h"

const QZInt64 QZGraphics::Type;

namespace
{
const QZWChar* const kClass = QZ_W("QZGraphics");

constexpr int kCrossSize = 5;
constexpr unsigned int kRed = 0xFFFF0000;
constexpr unsigned int kGreen = 0xFF00FF00;
constexpr unsigned int kBlue = 0xFF0000FF;

void Release(QZRectangleCollection* areas, QZUInt64 key)
{
    areas->SetDisposable(key, 1);
    delete areas;
}
}  // namespace

QZGraphics::QZGraphics(int width, int height) : QZGraphics(width, height, nullptr) {}

QZGraphics::QZGraphics(int width, int height, QZString* key)
    : QZPixelBlock(width, height),
      m_cleared(new QZRectangleCollection()),
      m_updated(new QZRectangleCollection()),
      m_key(new QZString(key)),
      m_marks(new QZKeyValueCollection())
{
    m_color = 0xFFFFFFFF;
    for (QZRectangleCollection* areas : {m_cleared, m_updated})
    {
        areas->m_overlap = 0;
        areas->SetDisposable(GetObjectID(), 0);
    }
}

QZGraphics::~QZGraphics()
{
    Release(m_cleared, GetObjectID());
    Release(m_updated, GetObjectID());
    while (m_marks->Count() > 0)
    {
        QZObject* shape = m_marks->GetElement(0);
        m_marks->RemoveElement(0);
        delete shape;
    }
    delete m_marks;
    delete m_key;
}

QZInt64 QZGraphics::GetType() { return 0x81FFFF5; }

QZBool QZGraphics::SetKey(QZString* key)
{
    auto* copy = new QZString(key);
    delete m_key;
    m_key = copy;
    return 1;
}

QZBool QZGraphics::SetKey(const QZWChar* key)
{
    QZString copy(key);
    return SetKey(&copy);
}

QZSize* QZGraphics::GetSize() const { return new QZSize(m_width, m_height); }

QZBool QZGraphics::NewSize(int width, int height)
{
    m_cleared->Clear();
    m_updated->Clear();
    // The pixels are left as they fall; a resample is what QZPixelBlock::NewSize is for.
    const bool real = width >= 0 && height >= 0 && width < 0x7FFFFFFF && height < 0x7FFFFFFF;
    QZData::NewSize(real ? pixels::BufferSize(width + 1, height + 1) : -1);
    m_width = width;
    m_height = height;
    AddrArrayInit();
    return 1;
}

QZInt64 QZGraphics::GetPointerInt64() const { return reinterpret_cast<QZInt64>(GetPointer()); }
QZInt64 QZGraphics::GetPointerIntPtr() const { return GetPointerInt64(); }

QZInt32 QZGraphics::GetPointerQZInt32() const
{
    return GetDataSize() > 0 ? static_cast<QZInt32>(m_pixels[0]) : 0;
}

void QZGraphics::UpdateAreaInclude(int x, int y, int width, int height)
{
    if (width >= 1 && height >= 1)
    {
        pixels::Area area{x, y, width, height};
        pixels::Clip(&area, m_width, m_height);
        m_updated->Add(area.x, area.y, area.width, area.height);
        m_cleared->Add(area.x, area.y, area.width, area.height);
        return;
    }
    if (width != 0 && height != 0)
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange), kClass,
                      QZ_W("UpdateAreaInclude"))
            .Argument(QZ_W("QZInt32"), x)
            .Argument(QZ_W("QZInt32"), y)
            .Argument(QZ_W("QZInt32"), width)
            .Argument(QZ_W("QZInt32"), height)
            .Exception();
}

void QZGraphics::Update()
{
    if (m_updated->GetLength() == 0) return;
    for (QZInt64 i = 0; i < m_marks->Count(); ++i)
    {
        auto* shape = static_cast<QZShape*>(m_marks->GetElement(i));
        if (shape->IsDrawn()) Draw(shape);
    }
}

void QZGraphics::Clear()
{
    // From the first to the last: Fill adds to the list, and rectangles merged in the meantime are filled in
    // their new form.
    for (QZInt64 i = 0; i < m_cleared->GetLength(); ++i)
    {
        const QZRectangle area(m_cleared->GetElementX(i), m_cleared->GetElementY(i),
                               m_cleared->GetElementWidth(i), m_cleared->GetElementHeight(i));
        Fill(&area, m_clearColor);
    }
    m_cleared->Clear();
}

void QZGraphics::SetPixel(int x, int y, unsigned int color)
{
    UpdateAreaInclude(x, y, 1, 1);
    QZPixelBlock::SetPixel(x, y, color);
}

void QZGraphics::SetPixel(int x, int y)
{
    UpdateAreaInclude(x, y, 1, 1);
    QZPixelBlock::SetPixel(x, y);
}

void QZGraphics::SetPixel(const QZPoint* point) { SetPixel(point->GetX(), point->GetY()); }

unsigned int QZGraphics::GetPixel(int x, int y) { return QZPixelBlock::GetPixel(x, y); }

void QZGraphics::Fill(unsigned int color)
{
    UpdateAreaInclude(0, 0, m_width, m_height);
    QZPixelBlock::Fill(color);
}

void QZGraphics::Fill(unsigned char red, unsigned char green, unsigned char blue)
{
    Fill(QZColor(red, green, blue).GetValue());
}

void QZGraphics::Fill(const QZRectangle* area, unsigned int color)
{
    if (area == nullptr) return;
    UpdateAreaInclude(area->GetX(), area->GetY(), area->GetWidth(), area->GetHeight());
    QZPixelBlock::Fill(area->GetX(), area->GetY(), area->GetWidth(), area->GetHeight(), color);
}

void QZGraphics::Fill(QZRectangleCollection* areas, unsigned int color)
{
    if (areas == nullptr) return;
    for (QZInt64 i = 0; i < areas->GetLength(); ++i)
    {
        const QZRectangle area(areas->GetElementX(i), areas->GetElementY(i), areas->GetElementWidth(i),
                               areas->GetElementHeight(i));
        Fill(&area, color);
    }
}

unsigned int QZGraphics::SetColorRound()
{
    static constexpr unsigned int kColors[] = {kRed, kGreen, kBlue};
    SetColor(kColors[m_round++ % 3]);
    return GetColor();
}

QZBool QZGraphics::MarkAdd(QZString* key, QZShape* shape) { return m_marks->Add(key, shape); }
QZBool QZGraphics::MarkAdd(const QZWChar* key, QZShape* shape) { return m_marks->Add(key, shape); }

template <typename Key>
QZBool QZGraphics::SetMark(Key key, QZShape* shape)
{
    if (m_marks->GetIndex(key) >= 0 && !m_marks->RemoveElement(key))
        throw QZTrace(QZExceptionFactory::CreateException(), kClass, QZ_W("MarkSet"))
            .Argument(QZ_W("QZString*"), key)
            .Exception();
    return m_marks->Add(key, shape);
}

QZBool QZGraphics::MarkSet(QZString* key, QZShape* shape) { return SetMark(key, shape); }
QZBool QZGraphics::MarkSet(const QZWChar* key, QZShape* shape) { return SetMark(key, shape); }

QZShape* QZGraphics::MarkGet(QZString* key) { return static_cast<QZShape*>(m_marks->GetElement(key)); }
QZShape* QZGraphics::MarkGet(const QZWChar* key) { return static_cast<QZShape*>(m_marks->GetElement(key)); }

QZShape* QZGraphics::MarkGet(int x, int y)
{
    for (QZInt64 i = 0; i < m_marks->Count(); ++i)
    {
        auto* shape = static_cast<QZShape*>(m_marks->GetElement(i));
        if (shape->GetArea() != nullptr && shape->GetArea()->Intersects(x, y)) return shape;
    }
    return nullptr;
}

QZShape* QZGraphics::MarkGet(const QZPoint* point) { return MarkGet(point->GetX(), point->GetY()); }

// The shape is not deleted: hosts that take a mark out go on with its shape.
QZBool QZGraphics::MarkRemove(QZString* key) { return m_marks->RemoveElement(key); }
QZBool QZGraphics::MarkRemove(const QZWChar* key) { return m_marks->RemoveElement(key); }

QZBool QZGraphics::MarkMoveUp(QZString* key) { return m_marks->MoveElement(m_marks->GetIndex(key), 1); }
QZBool QZGraphics::MarkMoveUp(const QZWChar* key) { return m_marks->MoveElement(m_marks->GetIndex(key), 1); }
QZBool QZGraphics::MarkMoveDown(QZString* key) { return m_marks->MoveElement(m_marks->GetIndex(key), -1); }
QZBool QZGraphics::MarkMoveDown(const QZWChar* key)
{
    return m_marks->MoveElement(m_marks->GetIndex(key), -1);
}

template <typename Key>
QZBool QZGraphics::MoveMarkLater(Key key)
{
    // The index is the distance, and it counts toward the end: a first mark stays, the others go up.
    const QZInt64 index = m_marks->GetIndex(key);
    return m_marks->MoveElement(index, index);
}

QZBool QZGraphics::MarkMoveFirst(QZString* key) { return MoveMarkLater(key); }
QZBool QZGraphics::MarkMoveFirst(const QZWChar* key) { return MoveMarkLater(key); }

template <typename Key>
QZBool QZGraphics::MoveMarkToEnd(Key key)
{
    const QZInt64 index = m_marks->GetIndex(key);
    return m_marks->MoveElement(index, m_marks->Count() - index - 1);
}

QZBool QZGraphics::MarkMoveLast(QZString* key) { return MoveMarkToEnd(key); }
QZBool QZGraphics::MarkMoveLast(const QZWChar* key) { return MoveMarkToEnd(key); }

QZInt64 QZGraphics::MarkCount() { return m_marks->Count(); }
QZString* QZGraphics::MarkToKey(QZShape* shape) { return m_marks->ToKey(shape); }
QZStringCollection* QZGraphics::MarkGetKeys() { return m_marks->GetKeyCollection(); }
QZInt64 QZGraphics::GetIndex(QZString* key) { return m_marks->GetIndex(key); }

void QZGraphics::Draw(QZShape* shape)
{
    if (const QZRectangle* area = shape->GetArea())
        UpdateAreaInclude(area->GetX(), area->GetY(), area->GetWidth(), area->GetHeight());
    QZPixelBlock::Draw(shape);
}

/// Draws what `add` puts into a shape for the time being.
template <typename Figure>
void QZGraphics::DrawFigure(Figure add)
{
    QZShape shape;
    add(&shape);
    Draw(&shape);
}

void QZGraphics::Draw(const QZCircle* circle)
{
    DrawFigure([=](QZShape* shape) { shape->Add(circle); });
}

void QZGraphics::Draw(const QZLine* line)
{
    DrawFigure([=](QZShape* shape) { shape->Add(line); });
}

void QZGraphics::Draw(const QZRectangle* rectangle)
{
    DrawFigure([=](QZShape* shape) { shape->Add(rectangle); });
}

void QZGraphics::Draw(const QZCrossMark* mark)
{
    DrawFigure([=](QZShape* shape) { shape->Add(mark); });
}

void QZGraphics::Draw(QZRectangles* grid)
{
    for (int row = 0; row < grid->GetHeight(); ++row)
        for (int column = 0; column < grid->GetWidth(); ++column) Draw(grid->GetRect(column, row));
}

void QZGraphics::Draw(int x, int y, QZShape* shape)
{
    QZShape copy(shape);
    copy.MoveTo(x, y);
    Draw(&copy);
}

void QZGraphics::Draw(int x, int y, QZInt64 number)
{
    QZString* text = QZConvert::Int64ToString(number);
    try
    {
        Draw(x, y, text);
    }
    catch (QZException*)
    {
        QZStringFactory::Recycle(&text);
        throw;
    }
    QZStringFactory::Recycle(&text);
}

void QZGraphics::Draw(int x, int y, QZString* text)
{
    DrawFigure([=](QZShape* shape) { shape->Add(x, y, text); });
}

void QZGraphics::Draw(const QZPoint* location, QZString* text)
{
    Draw(location->GetX(), location->GetY(), text);
}

void QZGraphics::Draw(int x, int y, const char* text)
{
    QZString wide(text);
    Draw(x, y, &wide);
}

void QZGraphics::DrawCross(int x, int y)
{
    const QZCrossMark mark(x, y, kCrossSize);
    Draw(&mark);
}

void QZGraphics::DrawCross(int x, int y, unsigned int color)
{
    const QZCrossMark mark(x, y, kCrossSize);
    DrawFigure([&](QZShape* shape) { shape->Add(&mark, color); });
}

void QZGraphics::DrawCross(int x, int y, float degrees)
{
    const QZCrossMark mark(x, y, kCrossSize, degrees);
    Draw(&mark);
}

void QZGraphics::DrawCrossRed(int x, int y) { DrawCross(x, y, kRed); }
void QZGraphics::DrawCrossGreen(int x, int y) { DrawCross(x, y, kGreen); }
void QZGraphics::DrawCrossBlue(int x, int y) { DrawCross(x, y, kBlue); }

void QZGraphics::DrawLine(int x1, int y1, int x2, int y2)
{
    const QZLine line(x1, y1, x2, y2);
    Draw(&line);
}

QZBool QZGraphics::Paste(const QZRectangle* area, const QZSize* sourceSize, const void* sourcePixels,
                         unsigned char overwrite)
{
    UpdateAreaInclude(area->GetX(), area->GetY(), area->GetWidth(), area->GetHeight());
    return QZPixelBlock::Paste(area, sourceSize, sourcePixels, overwrite);
}

QZBool QZGraphics::Paste(int x, int y, const QZPixelBlock* source, unsigned char overwrite)
{
    UpdateAreaInclude(x, y, source->GetWidth(), source->GetHeight());
    return QZPixelBlock::Paste(x, y, source, overwrite);
}
