#include "graphics/gr_graphics_factory.h"

#include "fw/fw_exception.h"
#include "fw/fw_library.h"
#include "fw/internal/fw_start.h"
#include "fw/internal/fw_status.h"
#include "graphics/gr_pixels.h"
#include "graphics/gr_points.h"
#include "graphics/gr_shape.h"
#include "graphics/internal/gr_start.h"

QZObjectCache* QZGraphicsFactory::m_shapeCache = nullptr;
QZObjectCache* QZGraphicsFactory::m_pixelBlockCache = nullptr;
QZObjectCache* QZGraphicsFactory::m_rectangleCache = nullptr;
QZObjectCache* QZGraphicsFactory::m_rectangleCollectionCache = nullptr;
QZObjectCache* QZGraphicsFactory::m_sizeCache = nullptr;
QZObjectCache* QZGraphicsFactory::m_arcCache = nullptr;
QZObjectCache* QZGraphicsFactory::m_lineCache = nullptr;
QZObjectCache* QZGraphicsFactory::m_pointCache = nullptr;
QZObjectCache* QZGraphicsFactory::m_rayCache = nullptr;

namespace
{
/// Clears the object and gives it back. A locked one is left as it is.
template <typename T, typename Reset>
void GiveBack(QZObjectCache* cache, T** variable, Reset reset)
{
    if (*variable == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    if ((*variable)->IsDisposable()) reset(*variable);
    QZObject* object = *variable;
    cache->In(&object);
    *variable = nullptr;
}
}  // namespace

QZShape* QZGraphicsFactory::CreateShape() { return QZTake<QZShape>(m_shapeCache); }

QZShape* QZGraphicsFactory::CreateShape(QZShape* other)
{
    QZShape* shape = CreateShape();
    try
    {
        shape->Copy(other);
    }
    catch (QZException*)
    {
        Recycle(&shape);
        throw;
    }
    return shape;
}

QZPixelBlock* QZGraphicsFactory::CreatePixelBlock() { return QZTake<QZPixelBlock>(m_pixelBlockCache); }
QZRectangle* QZGraphicsFactory::CreateRectangle() { return QZTake<QZRectangle>(m_rectangleCache); }
QZRectangleCollection* QZGraphicsFactory::CreateRectangleCollection()
{
    return QZTake<QZRectangleCollection>(m_rectangleCollectionCache);
}
QZSize* QZGraphicsFactory::CreateSize() { return QZTake<QZSize>(m_sizeCache); }
QZArc* QZGraphicsFactory::CreateArc() { return QZTake<QZArc>(m_arcCache); }
QZLine* QZGraphicsFactory::CreateLine() { return QZTake<QZLine>(m_lineCache); }
QZPoint* QZGraphicsFactory::CreatePoint() { return QZTake<QZPoint>(m_pointCache); }
QZRay* QZGraphicsFactory::CreateRay() { return QZTake<QZRay>(m_rayCache); }

void QZGraphicsFactory::Recycle(QZShape** shape)
{
    GiveBack(m_shapeCache, shape, [](QZShape* object) { object->Clear(); });
}

void QZGraphicsFactory::Recycle(QZPixelBlock** block)
{
    GiveBack(m_pixelBlockCache, block, [](QZPixelBlock* object) { object->Clear(); });
}

void QZGraphicsFactory::Recycle(QZRectangle** rectangle)
{
    GiveBack(m_rectangleCache, rectangle, [](QZRectangle* object) {
        object->Set(0, 0, 0, 0);
        object->Fill = 0;
    });
}

void QZGraphicsFactory::Recycle(QZRectangleCollection** rectangles)
{
    GiveBack(m_rectangleCollectionCache, rectangles, [](QZRectangleCollection* object) { object->Clear(); });
}

void QZGraphicsFactory::Recycle(QZSize** size)
{
    GiveBack(m_sizeCache, size, [](QZSize* object) { object->Set(0, 0); });
}

void QZGraphicsFactory::Recycle(QZArc** arc)
{
    const QZPoint origin;
    GiveBack(m_arcCache, arc, [&](QZArc* object) { object->Set(&origin, 0); });
}

void QZGraphicsFactory::Recycle(QZLine** line)
{
    GiveBack(m_lineCache, line, [](QZLine* object) { object->Set(0, 0, 0, 0); });
}

void QZGraphicsFactory::Recycle(QZPoint** point)
{
    GiveBack(m_pointCache, point, [](QZPoint* object) { object->Set(0, 0); });
}

void QZGraphicsFactory::Recycle(QZRay** ray)
{
    // A ray has no operations, so there is nothing to set back.
    GiveBack(m_rayCache, ray, [](QZRay*) {});
}

void QZGraphicsFactory::Collect(unsigned char partial)
{
    if (m_shapeCache == nullptr) return;
    m_shapeCache->Collect(partial);
    m_pixelBlockCache->Collect(partial);
}

void QZGraphicsFactory::SetIdleLimit(QZInt64 objects, QZInt64 bytes)
{
    if (m_shapeCache == nullptr) return;
    for (QZObjectCache* cache :
         {m_shapeCache, m_pixelBlockCache, m_rectangleCache, m_rectangleCollectionCache, m_sizeCache,
          m_arcCache, m_lineCache, m_pointCache, m_rayCache})
        cache->SetIdleLimit(objects, bytes);
}

QZInt64 QZGraphicsFactory::GetMemorySize()
{
    return m_shapeCache != nullptr ? m_shapeCache->GetMemorySize() + m_pixelBlockCache->GetMemorySize() : 0;
}

struct QZGraphicsFactoryStart
{
    static void Init();
    static void End();
};

void QZGraphicsFactoryStart::Init()
{
    using F = QZGraphicsFactory;
    if (F::m_shapeCache != nullptr) return;
    F::m_shapeCache = new QZCache<QZShape>(-1, -1);
    F::m_pixelBlockCache = new QZCache<QZPixelBlock>(-1, -1);
    F::m_rectangleCache = new QZCache<QZRectangle>(-1, -1);
    F::m_rectangleCollectionCache = new QZCache<QZRectangleCollection>(-1, -1);
    F::m_sizeCache = new QZCache<QZSize>(-1, -1);
    F::m_arcCache = new QZCache<QZArc>(-1, -1);
    F::m_lineCache = new QZCache<QZLine>(-1, -1);
    F::m_pointCache = new QZCache<QZPoint>(-1, -1);
    F::m_rayCache = new QZCache<QZRay>(-1, -1);
}

void QZGraphicsFactoryInit() { QZGraphicsFactoryStart::Init(); }

void QZGraphicsFactoryStart::End()
{
    using F = QZGraphicsFactory;
    if (F::m_shapeCache == nullptr) return;
    // The other seven caches are collected by their destructors.
    F::Collect(0);
    for (QZObjectCache** cache :
         {&F::m_shapeCache, &F::m_pixelBlockCache, &F::m_rectangleCache, &F::m_rectangleCollectionCache,
          &F::m_sizeCache, &F::m_arcCache, &F::m_lineCache, &F::m_pointCache, &F::m_rayCache})
        QZEndCache(cache);
}

void QZGraphicsFactoryEnd() { QZGraphicsFactoryStart::End(); }

QZJsonObject* QZGraphicsFactory::GetStatus()
{
    const QZStatusFigure figures[] = {{QZ_W("Shape"), m_shapeCache}, {QZ_W("PixelBlock"), m_pixelBlockCache}};
    return QZStatusMake(figures, 2);
}

void QZGraphicsFactory::Recycle(QZJsonObject** status) { QZStatusRecycle(status); }
