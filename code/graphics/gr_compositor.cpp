#include "graphics/gr_compositor.h"

#include "fw/fw_convert.h"
#include "fw/fw_environment.h"
#include "fw/fw_keyed.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_trace.h"
#include "graphics/internal/gr_parts.h"

const QZInt64 QZGraphicsCollection::Type;

namespace
{
const QZWChar* const kClass = QZ_W("QZGraphicsCollection");

constexpr int kNumberPlace = 10;
constexpr unsigned int kNumberColor = 16755993;
constexpr unsigned int kLayerColor = 0xFFFFFFFF;
constexpr unsigned int kMarkColor = 0xFF00FF00;

QZUInt64 Second() { return QZEnvironment::GetTickCount() / 1000; }

QZRectangle ElementOf(QZRectangleCollection* areas, QZInt64 index)
{
    return {areas->GetElementX(index), areas->GetElementY(index), areas->GetElementWidth(index),
            areas->GetElementHeight(index)};
}

/// The outline one pixel outside a rectangle.
void AddOutline(QZShape* shape, int x, int y, int width, int height, unsigned int color)
{
    const QZRectangle outline(x - 1, y - 1, width + 2, height + 2);
    shape->Add(&outline, color);
}
}  // namespace

QZGraphicsCollection::QZGraphicsCollection(int width, int height)
    : m_pending(new QZShape()),
      m_areas(new QZShape()),
      m_layers(new QZKeyValueCollection()),
      m_key(new QZString()),
      m_background(new QZGraphics(width, height)),
      m_width(width),
      m_height(height),
      m_second(Second())
{
    m_editedLayer = m_background;
    m_key->SetDisposable(GetObjectID(), 0);
}

QZGraphicsCollection::~QZGraphicsCollection()
{
    while (m_layers->Count() > 0)
    {
        QZGraphics* layer = Layer(0);
        m_layers->RemoveElement(0);
        delete layer;
    }
    delete m_layers;
    delete m_background;
    m_key->SetDisposable(GetObjectID(), 1);
    delete m_key;
    delete m_areas;
    delete m_pending;
}

QZInt64 QZGraphicsCollection::GetType() { return 0x81FFFF6; }

QZBool QZGraphicsCollection::SetKey(QZString* key)
{
    auto* copy = new QZString(key);
    m_key->SetDisposable(GetObjectID(), 1);
    delete m_key;
    m_key = copy;
    m_key->SetDisposable(GetObjectID(), 0);
    return 1;
}

QZGraphics* QZGraphicsCollection::Layer(QZInt64 index)
{
    return static_cast<QZGraphics*>(m_layers->GetElement(index));
}

void QZGraphicsCollection::FillBickColor()
{
    m_background->Fill(m_backColor);
    m_background->m_cleared->Add(0, 0, m_width - 1, m_height - 1);
}

void QZGraphicsCollection::Refersh() { m_background->m_updated->Add(0, 0, m_width, m_height); }

void QZGraphicsCollection::Refersh(const QZRectangle* area)
{
    if (area != nullptr) m_background->m_updated->Add(area);
}

void QZGraphicsCollection::Refersh(QZRectangleCollection* areas)
{
    if (areas != nullptr) m_background->m_updated->Add(areas);
}

void QZGraphicsCollection::NewSize(int width, int height)
{
    if (width == m_width && height == m_height) return;
    m_background->NewSize(width, height);
    m_width = width;
    m_height = height;
    for (QZInt64 i = 0; i < m_layers->Count(); ++i) Layer(i)->NewSize(width, height);
}

QZGraphics* QZGraphicsCollection::Add(QZString* key)
{
    auto* layer = new QZGraphics(m_width, m_height, key);
    try
    {
        return Add(layer);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("Add")).Argument(QZ_W("QZString*"), key);
        delete layer;
        throw;
    }
}

QZGraphics* QZGraphicsCollection::Add(const char* key)
{
    QZString wide(key);
    QZGraphics* layer = Add(&wide);
    // Only this form marks the new layer as changed, all of it.
    layer->Fill(0U);
    return layer;
}

QZGraphics* QZGraphicsCollection::Add(QZGraphics* layer)
{
    layer->NewSize(m_width, m_height);
    m_layers->Add(layer->GetKey(), layer);
    return layer;
}

QZGraphics* QZGraphicsCollection::GetElement(const char* key)
{
    return static_cast<QZGraphics*>(m_layers->GetElement(key));
}
QZGraphics* QZGraphicsCollection::GetElement(const QZWChar* key)
{
    return static_cast<QZGraphics*>(m_layers->GetElement(key));
}
QZGraphics* QZGraphicsCollection::GetElement(QZString* key)
{
    return static_cast<QZGraphics*>(m_layers->GetElement(key));
}

void QZGraphicsCollection::SetElement(QZGraphics* layer)
{
    if (layer->GetKey()->GetLength() == 0)
        throw QZTrace(QZExceptionFactory::CreateException(QZExceptionCode::ArgumentOutOfRange), kClass,
                      QZ_W("SetElement"))
            .Argument(QZ_W("QZGraphics*"), layer->GetKey())
            .Exception();
    m_layers->RemoveElement(layer->GetKey());
    m_layers->Add(layer->GetKey(), layer);
}

QZInt64 QZGraphicsCollection::GetElementIndex(QZGraphics* layer)
{
    QZInt64 index = m_layers->Count() - 1;
    while (index >= 0 && Layer(index) != layer) --index;
    return index;
}
QZInt64 QZGraphicsCollection::GetElementIndex(QZString* key) { return m_layers->GetIndex(key); }
QZInt64 QZGraphicsCollection::GetElementIndex(const char* key) { return m_layers->GetIndex(key); }
QZInt64 QZGraphicsCollection::GetElementIndex(const QZWChar* key) { return m_layers->GetIndex(key); }

QZBool QZGraphicsCollection::RemoveElement(QZGraphics* layer) { return m_layers->RemoveElement(layer); }
QZBool QZGraphicsCollection::RemoveElement(const char* key) { return m_layers->RemoveElement(key); }
QZBool QZGraphicsCollection::RemoveElement(const QZWChar* key) { return m_layers->RemoveElement(key); }
QZBool QZGraphicsCollection::RemoveElement(QZString* key) { return m_layers->RemoveElement(key); }

template <typename Key>
void QZGraphicsCollection::Move(Key key, QZInt64 distance)
{
    m_layers->MoveElement(GetElementIndex(key), distance);
}

void QZGraphicsCollection::MoveElement(QZGraphics* layer, QZInt64 distance) { Move(layer, distance); }
void QZGraphicsCollection::MoveElement(const char* key, QZInt64 distance) { Move(key, distance); }
void QZGraphicsCollection::MoveElement(const QZWChar* key, QZInt64 distance) { Move(key, distance); }
void QZGraphicsCollection::MoveElement(QZString* key, QZInt64 distance) { Move(key, distance); }

// Top and bottom describe a list whose first entry is at the top. Layers are painted in list order, so the
// "bottom" layer is in front.
template <typename Key>
void QZGraphicsCollection::MoveToTheBottom(Key key)
{
    const QZInt64 index = GetElementIndex(key);
    m_layers->MoveElement(index, m_layers->Count() - index);
}

template <typename Key>
void QZGraphicsCollection::MoveToTheTop(Key key)
{
    const QZInt64 index = GetElementIndex(key);
    m_layers->MoveElement(index, -index);
}

void QZGraphicsCollection::MoveElementToTheBottom(QZGraphics* layer) { MoveToTheBottom(layer); }
void QZGraphicsCollection::MoveElementToTheBottom(const char* key) { MoveToTheBottom(key); }
void QZGraphicsCollection::MoveElementToTheBottom(const QZWChar* key) { MoveToTheBottom(key); }
void QZGraphicsCollection::MoveElementToTheBottom(QZString* key) { MoveToTheBottom(key); }
void QZGraphicsCollection::MoveElementToTheTop(QZGraphics* layer) { MoveToTheTop(layer); }
void QZGraphicsCollection::MoveElementToTheTop(const char* key) { MoveToTheTop(key); }
void QZGraphicsCollection::MoveElementToTheTop(const QZWChar* key) { MoveToTheTop(key); }
void QZGraphicsCollection::MoveElementToTheTop(QZString* key) { MoveToTheTop(key); }

QZInt64 QZGraphicsCollection::Count() { return m_layers->Count(); }

/// The edited layer if it is the background or in the stack: a removed layer may have been deleted.
QZGraphics* QZGraphicsCollection::EditedLayer()
{
    return m_editedLayer == m_background || GetElementIndex(m_editedLayer) >= 0 ? m_editedLayer : nullptr;
}

QZBool QZGraphicsCollection::LayerEdit(QZString* key)
{
    m_editedLayer = GetElement(key);
    return m_editedLayer != nullptr;
}

QZBool QZGraphicsCollection::MarkEdit(QZString* key)
{
    QZGraphics* layer = EditedLayer();
    if (layer == nullptr) return 0;
    m_editedMark = layer->MarkGet(key);
    return m_editedMark != nullptr;
}

void QZGraphicsCollection::Recycle(QZGraphics** layer) { QZDeleteAndClear(layer); }

void QZGraphicsCollection::Update() { Update(1); }

void QZGraphicsCollection::Update(unsigned char full)
{
    if (full)
    {
        QZRectangleCollection changes;
        TakeChanges(&changes);
        if (changes.GetLength() > 0) Repaint(&changes);
    }
    CountFrames();
    if (m_showFps) AddNumber();
    if (full)
    {
        m_pending->Add(m_areas);
        AddEdited();
    }
    if (HasOverlay()) DrawOverlay();
    if (full) m_background->m_updated->Clear();
    ++m_frames;
}

/// Puts the overlay of the frame before back and collects what has changed, merged, from the background and
/// all layers, hidden ones too.
void QZGraphicsCollection::TakeChanges(QZRectangleCollection* changes)
{
    QZRectangleCollection* updated = m_background->m_updated;
    changes->Add(updated);
    if (HasOverlay())
    {
        m_background->Draw(m_pending);
        m_pending->Clear();
    }
    // The overlay's area is not repainted: its pixels were restored one by one.
    updated->Clear();
    updated->Add(changes);
    changes->Clear();
    changes->m_overlap = 0;
    changes->Add(updated);
    updated->Clear();
    for (QZInt64 i = 0; i < m_layers->Count(); ++i)
    {
        QZGraphics* layer = Layer(i);
        layer->Update();
        changes->Add(layer->m_updated);
        layer->m_updated->Clear();
    }
}

void QZGraphicsCollection::Repaint(QZRectangleCollection* changes)
{
    m_areas->Clear();
    for (QZInt64 i = 0; i < changes->GetLength(); ++i)
    {
        const QZRectangle area = ElementOf(changes, i);
        m_background->Fill(&area, m_backColor);
        PaintLayers(&area);
        if (m_showAreas) m_areas->Add(&area, m_background->SetColorRound());
    }
}

void QZGraphicsCollection::PaintLayers(const QZRectangle* area)
{
    for (QZInt64 i = 0; i < m_layers->Count(); ++i)
    {
        QZGraphics* layer = Layer(i);
        if (!layer->m_visible || !layer->m_cleared->Intersects(area)) continue;
        const QZSize size(layer->GetWidth(), layer->GetHeight());
        m_background->Paste(area, &size, layer->GetPointer(), m_overwrite);
    }
}

void QZGraphicsCollection::CountFrames()
{
    const QZUInt64 second = Second();
    if (second <= m_second) return;
    const QZUInt64 elapsed = second - m_second;
    m_framesPerSecond = m_frames > elapsed ? m_frames / elapsed : 0;
    m_frames = 0;
    m_second = second;
}

void QZGraphicsCollection::AddNumber()
{
    QZString* text = QZConvert::UInt64ToString(m_framesPerSecond);
    QZShape number;
    number.Add(kNumberPlace, kNumberPlace, text, kNumberColor);
    QZStringFactory::Recycle(&text);
    m_pending->Add(&number);
}

void QZGraphicsCollection::AddEdited()
{
    QZGraphics* layer = EditedLayer();
    if (!m_showEdited || !HasOverlay() || layer == nullptr) return;
    AddOutline(m_pending, 0, 0, layer->GetWidth(), layer->GetHeight(), kLayerColor);
    // A removed mark may have been deleted.
    const QZRectangle* area = layer->MarkToKey(m_editedMark) != nullptr ? m_editedMark->GetArea() : nullptr;
    if (area != nullptr)
        AddOutline(m_pending, area->GetX(), area->GetY(), area->GetWidth(), area->GetHeight(), kMarkColor);
}

/// Draws the pending shape and replaces its colours by the pixels that were below it, so that drawing it
/// again removes it.
void QZGraphicsCollection::DrawOverlay()
{
    QZPointCollection* points = m_pending->GetPoints();
    QZCollection below;
    for (QZInt64 i = 0; i < points->Count(); ++i)
        below.Push(m_background->GetPixel(points->GetElementX(i), points->GetElementY(i)));
    m_background->Draw(m_pending);
    m_pending->GetColors()->Set(&below);
}
