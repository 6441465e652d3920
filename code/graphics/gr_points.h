#ifndef QZLIB_GRAPHICS_POINTS_H
#define QZLIB_GRAPHICS_POINTS_H

#include <concepts>

#include "fw/fw_collection.h"
#include "graphics/gr_geometry.h"

/// A list of points: packed words, x in the low 32 bits and y in the high 32 bits, each signed.
///
/// Indices count points from 0; a bad index throws QZException 1024 if nothing else is said. "Not found" is
/// -1. The caller gives new objects back with Recycle. One thread at a time.
class QZ_API QZPointCollection : public QZCollection
{
public:
    static const QZInt64 Type = 0x81FFFF0;

    QZInt64 GetType() override;
    QZUInt64* GetPointer() override;

    /// Adds a point. @return false when duplicates are not allowed and the list has the point
    QZBool Add(int x, int y);
    QZBool Add(QZUInt64 point);
    template <std::integral T>
    QZBool Add(T point)
    {
        return Add(static_cast<QZUInt64>(point));
    }
    QZBool Add(const QZPoint* point);

    /// Adds all points of an array in the form of GetPointer, or of another list.
    QZBool Append(const QZUInt64* words) override;
    QZBool Append(QZPointCollection* other);
    using QZCollection::Append;

    QZBool SetElement(QZInt64 index, int x, int y);
    QZBool SetElement(QZInt64 index, QZUInt64 point) override;
    template <std::integral T>
    QZBool SetElement(QZInt64 index, T point)
    {
        return SetElement(index, static_cast<QZUInt64>(point));
    }
    QZBool SetElement(QZInt64 index, const QZPoint* point);

    QZUInt64 GetElementUInt64(QZInt64 index);
    int GetElementX(QZInt64 index);
    int GetElementY(QZInt64 index);

    /// The first index of the point, which is stored; the next index after the stored one.
    QZInt64 FindElement(int x, int y);
    QZInt64 FindElement(QZUInt64 point) override;
    template <std::integral T>
    QZInt64 FindElement(T point)
    {
        return FindElement(static_cast<QZUInt64>(point));
    }
    QZInt64 FindElement(const QZPoint* point);
    QZInt64 FindNextElement(int x, int y);
    QZInt64 FindNextElement(QZUInt64 point) override;
    template <std::integral T>
    QZInt64 FindNextElement(T point)
    {
        return FindNextElement(static_cast<QZUInt64>(point));
    }
    QZInt64 FindNextElement(const QZPoint* point);

    /// Removes every occurrence of the point, or of each point of another list. @return the number of removed
    /// points
    QZInt64 RemoveElementByValue(int x, int y);
    QZInt64 RemoveElementByValue(QZUInt64 point);
    template <std::integral T>
    QZInt64 RemoveElementByValue(T point)
    {
        return RemoveElementByValue(static_cast<QZUInt64>(point));
    }
    QZInt64 RemoveElementByValue(QZPointCollection* others);

    /// The nearest point, the one with the highest index of several; (0, 0) for an empty list.
    QZUInt64 MinDistance(QZUInt64 point);
    template <std::integral T>
    QZUInt64 MinDistance(T point)
    {
        return MinDistance(static_cast<QZUInt64>(point));
    }
    QZPoint* MinDistance(const QZPoint* point);

    /// The points of a, then those of b.
    static QZPointCollection* Union(QZPointCollection* a, QZPointCollection* b);
    static void Union(QZPointCollection* target, QZPointCollection* a, QZPointCollection* b);

    /// The points of a that are also in b, in a's order.
    static QZPointCollection* Intersection(QZPointCollection* a, QZPointCollection* b);
    static void Intersection(QZPointCollection* target, QZPointCollection* a, QZPointCollection* b);

    /// The nearest pair, a's point and then b's; nothing when one of the lists is empty.
    static QZPointCollection* MinDistance(QZPointCollection* a, QZPointCollection* b);
    static void MinDistance(QZPointCollection* target, QZPointCollection* a, QZPointCollection* b);

    /// Deletes the object and clears the variable. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZPointCollection** points);
    static void Recycle(QZPoint** point);

private:
    friend class QZShape;

    void CheckPlace(QZInt64 index, const QZWChar* method);
};

/// A list of rectangles, two words each: the location (x low, y high), then the size (width low, height
/// high).
///
/// Indices count rectangles. By default every rectangle stays as it was added; the lists of changed areas of
/// a layer merge instead: a new rectangle that touches one of theirs makes that one larger. One thread at a
/// time.
class QZ_API QZRectangleCollection : public QZCollection
{
public:
    static const QZInt64 Type = 0x81FFFF2;

    QZRectangleCollection() = default;
    /// A copy, with the rectangles of the other. Its GetLength is one and a half times the other's; the
    /// elements that it does not have read as 0 until SetElement writes them.
    explicit QZRectangleCollection(QZRectangleCollection* other);

    QZInt64 GetType() override;
    void Clear() override;

    /// The number of rectangles.
    QZInt64 GetLength() const { return m_length; }

    /// Adds a rectangle. @return false for a negative width or height
    QZBool Add(int x, int y, int width, int height);
    QZBool Add(QZUInt64 location, QZUInt64 size);
    QZBool Add(const QZRectangle* rectangle);
    /// Adds the rectangles of the other. Where they do not merge, GetLength grows by half of them only.
    /// @return false always where they merge
    QZBool Add(QZRectangleCollection* other);

    /// 0 for a bad index.
    int GetElementX(QZInt64 index);
    int GetElementY(QZInt64 index);
    int GetElementWidth(QZInt64 index);
    int GetElementHeight(QZInt64 index);
    QZUInt64 GetElementLocation(QZInt64 index);
    QZUInt64 GetElementSize(QZInt64 index);

    /// @return false for a bad index
    QZBool SetElement(int index, int x, int y, int width, int height);
    QZBool SetElement(int index, QZUInt64 location, QZUInt64 size);

    /// One of the rectangles overlaps the given one or touches it.
    QZBool Intersects(const QZRectangle* rectangle);
    QZBool Intersects(int x, int y, int width, int height);

protected:
    /// 0: rectangles that meet are merged.
    QZByte m_overlap = 1;

private:
    friend class QZGraphics;
    friend class QZGraphicsCollection;
    friend class QZGraphicsFactory;

    using QZCollection::SetElement;
    QZBool Add(const QZUInt64* words);
    QZUInt64 GetElement(QZInt64 index) override;
    /// The highest index of a rectangle that overlaps the given one or touches it, or -1.
    QZInt64 FindMeeting(int x, int y, int width, int height);
    /// The two words of a rectangle that has storage, else null.
    QZUInt64* Element(QZInt64 index);
    /// Gives a rectangle that is counted only its storage, filled with 0.
    void MakeRoom(QZInt64 index);
    /// How many rectangles the storage has room for.
    QZInt64 Stored() { return (GetSize() / 8 - 1) / 2; }

    QZInt32 m_length = 0;
};

#endif
