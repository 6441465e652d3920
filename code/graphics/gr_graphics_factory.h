#ifndef QZLIB_GRAPHICS_GRAPHICS_FACTORY_H
#define QZLIB_GRAPHICS_GRAPHICS_FACTORY_H

#include "sys/sys_types.h"

class QZArc;
class QZJsonObject;
class QZLine;
class QZObjectCache;
class QZPixelBlock;
class QZPoint;
class QZRay;
class QZRectangle;
class QZRectangleCollection;
class QZShape;
class QZSize;

/// Caches the value objects of the graphics toolkit. The caller owns an object from Create... until Recycle.
/// Any thread may call between QZLibInit and QZLibDispose.
class QZ_API QZGraphicsFactory
{
public:
    static QZShape* CreateShape();
    /// A real copy of the shape.
    static QZShape* CreateShape(QZShape* other);
    /// A block that was used before keeps its size; its pixels are 0.
    static QZPixelBlock* CreatePixelBlock();
    static QZRectangle* CreateRectangle();
    static QZRectangleCollection* CreateRectangleCollection();
    static QZSize* CreateSize();
    static QZArc* CreateArc();
    static QZLine* CreateLine();
    static QZPoint* CreatePoint();
    static QZRay* CreateRay();

    /// Clears the object, gives it back and clears the variable. A null in the variable is a
    /// QZLibAssert(false).
    /// @throws QZException 1280 for a locked object; the variable keeps its value
    static void Recycle(QZShape** shape);
    static void Recycle(QZPixelBlock** block);
    static void Recycle(QZRectangle** rectangle);
    static void Recycle(QZRectangleCollection** rectangles);
    static void Recycle(QZSize** size);
    static void Recycle(QZArc** arc);
    static void Recycle(QZLine** line);
    static void Recycle(QZPoint** point);
    static void Recycle(QZRay** ray);
    /// Takes back what GetStatus gave.
    static void Recycle(QZJsonObject** status);

    /// Collects the caches of shapes and pixel blocks only; see QZObjectCache::Collect. QZLibCollect does not
    /// call it.
    static void Collect(unsigned char partial);

    /// An addition: bounds what each cache keeps idle; see QZObjectCache::SetIdleLimit.
    static void SetIdleLimit(QZInt64 objects, QZInt64 bytes);

    /// A new object with the idle counts "Shape" and "PixelBlock"; given back with Recycle.
    static QZJsonObject* GetStatus();

    /// Bytes that idle shapes and pixel blocks own.
    static QZInt64 GetMemorySize();

private:
    friend struct QZGraphicsFactoryStart;

    static QZObjectCache* m_shapeCache;
    static QZObjectCache* m_pixelBlockCache;
    static QZObjectCache* m_rectangleCache;
    static QZObjectCache* m_rectangleCollectionCache;
    static QZObjectCache* m_sizeCache;
    static QZObjectCache* m_arcCache;
    static QZObjectCache* m_lineCache;
    static QZObjectCache* m_pointCache;
    static QZObjectCache* m_rayCache;
};

#endif
