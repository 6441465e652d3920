#include <algorithm>
#include <memory>

#include "fw/fw_convert.h"
#include "fw/fw_string.h"
#include "graphics/gr_display.h"
#include "graphics/internal/gr_geometry_word.h"

const QZInt64 QZLinearGraph::Type;

namespace
{

constexpr unsigned int kShown = 0xCFFFFFFF;
constexpr unsigned int kFaded = 0x0FFFFFFF;
/// Addresses end below this.
constexpr QZUInt32 kAddressEnd = 0xFF000000;

const QZWChar* const kSelected = QZ_W("SelectedAddr");
const QZWChar* const kMouse = QZ_W("Mouse");
const QZWChar* const kBegin = QZ_W("Begin");
const QZWChar* const kEnd = QZ_W("End");
const QZWChar* const kMouseInfo = QZ_W("MousePointInfo");

/// "0x" and the number in hexadecimal digits.
QZString Address(QZUInt32 number)
{
    QZWChar digits[16];
    const QZInt64 size = QZConvert::UInt64ToStringHex(number, digits);
    QZString text(QZ_W("0x"));
    text.Append(digits, size);
    return text;
}

QZUInt32 Whole(double value) { return static_cast<QZUInt32>(static_cast<QZInt64>(value)); }

/// A clear layer of the collection's; the collection owns it.
QZGraphics* NewLayer(QZGraphicsCollection* collection, const QZWChar* key)
{
    QZString text(key);
    QZGraphics* layer = collection->Add(&text);
    layer->SetClearColor(0);
    layer->Fill(0);
    return layer;
}

}  // namespace

QZLinearGraph::QZLinearGraph(QZGraphicsCollection* collection, unsigned int begin, unsigned int length)
    : m_collection(collection),
      m_place(new QZPoint(collection->GetWidth() / 8, collection->GetHeight() / 5 * 2)),
      m_size(new QZSize(collection->GetWidth() / 8 * 6, collection->GetHeight() / 5)),
      m_info(new QZString())
{
    m_drawing = NewLayer(collection, QZ_W("DwLayer"));
    m_marks = NewLayer(collection, QZ_W("Marks"));
    AddMarks();
    SetBegin(begin);
    SetLength(length);
    Reset();
}

QZLinearGraph::~QZLinearGraph()
{
    delete m_place;
    delete m_size;
    delete m_info;
}

QZInt64 QZLinearGraph::GetType() { return 0x81FFFF9; }

void QZLinearGraph::AddMarks()
{
    auto selected = std::make_unique<QZShape>();
    selected->Fill(m_selectionColor);
    m_marks->MarkAdd(kSelected, selected.release());
    m_marks->MarkMoveFirst(kSelected);
    // A column inside the bar. The marks' locations count from the left end of the ruler.
    const QZLine column(1, 1, 1, m_size->GetHeight() - 2);
    QZShape cursor;
    cursor.Add(&column, 0xFF00FF00);
    cursor.MoveTo(m_place);
    cursor.SetLocation(0, 0);
    for (const QZWChar* key : {kMouse, kBegin, kEnd}) m_marks->MarkAdd(key, new QZShape(&cursor));
}

/// A mark by its name: hosts may have put another shape in its place.
QZShape* QZLinearGraph::MarkOf(const QZWChar* key) const { return m_marks->MarkGet(key); }

unsigned int QZLinearGraph::PixelToLength(unsigned int pixel) const
{
    const int width = m_size->GetWidth();
    return width == 0 ? 0 : Whole(static_cast<double>(m_length) / width * pixel);
}

unsigned int QZLinearGraph::LengthToPixel(unsigned int length) const
{
    return m_length == 0 ? 0 : Whole(static_cast<double>(m_size->GetWidth()) * length / m_length);
}

int QZLinearGraph::ViewToPixel(QZInt64 distance) const
{
    if (m_viewLength == 0) return 0;
    const double place = static_cast<double>(m_size->GetWidth()) * static_cast<double>(distance);
    return word::Truncate(place / m_viewLength);
}

/// Moves an end mark to its address, or fades it where the view does not have that.
void QZLinearGraph::Place(const QZWChar* key, QZInt64 address)
{
    QZShape* mark = MarkOf(key);
    if (mark == nullptr) return;
    const QZInt64 distance = address - m_viewBegin;
    if (distance < 0 || distance > m_viewLength)
    {
        mark->Fill(kFaded);
        return;
    }
    mark->MoveTo(ViewToPixel(distance), mark->GetLocation()->GetY());
    mark->Fill(kShown);
}

void QZLinearGraph::Select(const QZRectangle* area)
{
    QZShape* selected = MarkOf(kSelected);
    if (selected == nullptr) return;
    selected->Clear();
    if (area != nullptr) selected->Add(area, m_selectionColor, 1);
}

void QZLinearGraph::SetBegin(unsigned int begin)
{
    Place(kBegin, begin);
    m_marks->m_changed = 1;
    if (const QZShape* mark = MarkOf(kBegin)) Select(mark->GetArea());
    m_begin = begin;
}

void QZLinearGraph::SetLength(unsigned int length)
{
    if (length <= kAddressEnd - m_begin) m_length = length;
    Place(kEnd, QZInt64{m_begin} + m_length);
    m_marks->m_changed = 1;
    const QZShape* first = MarkOf(kBegin);
    const QZShape* last = MarkOf(kEnd);
    if (first == nullptr || last == nullptr || first->GetArea() == nullptr || (last->GetArea() == nullptr))
        return;
    QZRectangle range(first->GetArea());
    range.Include(last->GetArea());
    Select(&range);
}

void QZLinearGraph::SetMousePoint(int x)
{
    const int left = m_place->GetX();
    const int width = m_size->GetWidth();
    x = std::clamp(x, left, left + width);
    if (QZShape* mouse = MarkOf(kMouse))
    {
        mouse->MoveTo(x - left, mouse->GetLocation()->GetY());
        mouse->Fill(kShown);
    }
    const double part = width == 0 ? 0 : static_cast<double>(x - left) / width;
    m_mouseAddress = m_viewBegin + Whole(part * m_viewLength);
    QZString text = Address(m_mouseAddress);
    QZShape address(&text);
    address.MoveTo(x, m_place->GetY() - 11);
    address.Fill(0xDF00FF00);
    QZShape info;
    info.Add(m_collection->GetWidth() / 8, m_place->GetY() + m_size->GetHeight() + 20, m_info);
    info.Fill(0xFF000000);
    auto both = std::make_unique<QZShape>();
    both->Add(&address);
    both->Add(&info);
    QZString key(kMouseInfo);
    ReplaceMark(&key, both.release());
}

/// Puts the shape, which is the layer's from here on, in the place of a mark, which is deleted.
void QZLinearGraph::ReplaceMark(QZString* key, QZShape* shape)
{
    std::unique_ptr<QZShape> fresh(shape);
    QZShape* old = m_marks->MarkGet(key);
    m_marks->MarkSet(key, shape);
    static_cast<void>(fresh.release());
    delete old;
}

void QZLinearGraph::Update()
{
    const QZRectangle ruler(m_place->GetX(), m_place->GetY(), m_size->GetWidth(), m_size->GetHeight());
    // The flags stay set, so that the next call also clears the old mouse mark.
    if (m_drawing->m_changed) m_collection->Refersh(&ruler);
    if (m_marks->m_changed) m_marks->Clear();
}

/// An address below the bar, in the pen colour.
void QZLinearGraph::AddNumber(int x, QZUInt32 number)
{
    QZString text = Address(number);
    m_drawing->Draw(x, m_place->GetY() + m_size->GetHeight() + 3, &text);
}

void QZLinearGraph::Reset()
{
    const int left = m_place->GetX();
    const QZRectangle ruler(left, m_place->GetY(), m_size->GetWidth(), m_size->GetHeight());
    m_drawing->Clear();
    m_drawing->SetColor(0xFF000000);
    m_drawing->Draw(&ruler);
    AddNumber(left, m_begin);
    AddNumber(left + m_size->GetWidth(), m_begin + m_length);
    for (const QZWChar* key : {kBegin, kEnd, kMouse})
        if (QZShape* mark = MarkOf(key)) mark->Fill(0);
    m_viewBegin = m_begin;
    m_viewLength = m_length;
    Select(nullptr);
}

/// Fills a part of the bar and returns it.
QZRectangle QZLinearGraph::DrawMark(unsigned int at, int width, unsigned int color)
{
    const int x = word::Add(word::Add(m_place->GetX(), static_cast<int>(LengthToPixel(at))), 1);
    const QZRectangle area(x, m_place->GetY() + 1, std::max(width, 1), m_collection->GetHeight() / 5 - 3);
    // What would only be cut off right of the layer is not drawn in the first place.
    const QZInt64 room = std::max<QZInt64>(QZInt64{m_drawing->GetWidth()} - x + 1, 1);
    QZRectangle drawn(&area);
    drawn.SetSize(static_cast<int>(std::min<QZInt64>(area.GetWidth(), room)), area.GetHeight());
    QZShape shape;
    shape.Add(&drawn, color, 1);
    m_drawing->Draw(&shape);
    m_drawing->m_changed = 1;
    m_marks->m_changed = 1;
    return area;
}

void QZLinearGraph::Label(int x, QZString* key, QZString* text, unsigned int color)
{
    auto label = std::make_unique<QZShape>();
    label->Add(x, m_place->GetY() - 10, text);
    label->Fill(color);
    ReplaceMark(key, label.release());
}

void QZLinearGraph::Mark(unsigned int at, unsigned int span, unsigned int color, QZString* text)
{
    const QZRectangle area = DrawMark(at, static_cast<int>(LengthToPixel(span)), color);
    QZString label(text);
    label.Append(QZInt64{at} + span);
    Label(word::Add(area.GetX(), area.GetWidth()), text, &label, color);
}

void QZLinearGraph::Mark(unsigned int at, unsigned int span, unsigned int color)
{
    DrawMark(at, static_cast<int>(LengthToPixel(span)), color);
}

void QZLinearGraph::Mark(unsigned int at, unsigned int color, QZString* text)
{
    const QZRectangle area = DrawMark(at, 1, color);
    QZString label(text);
    label.Append(text);
    label.Append(QZInt64{at});
    Label(word::Add(area.GetX(), area.GetWidth()), text, &label, color);
}
