#ifndef QZLIB_GRAPHICS_PALETTE_H
#define QZLIB_GRAPHICS_PALETTE_H

#include <memory>

#include "graphics/gr_geometry.h"

class QZCollection;
class QZGraphics;

/// Colours on a gradient: anchors, evenly spaced along the longer side of a rectangle, and straight lines
/// between them. What is passed in is copied; C++ copies share the parts. One thread at a time.
class QZ_API QZColorPalette : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFF7;

    /// The location is the point with x and y exchanged.
    QZColorPalette(QZCollection* colors, const QZPoint* location, const QZSize* size);
    /// The same. The height comes before the width.
    QZColorPalette(QZCollection* colors, int x, int y, int height, int width);

    QZInt64 GetType() override;

    /// The colour at a position on the longer side: the first colour before it, the last one after its end.
    /// Always opaque.
    unsigned int GetColor(int index);

    /// Draws the gradient on the layer: one line across the shorter side for each position.
    void Draw(QZGraphics* graphics);

private:
    void Start(QZCollection* colors, int x, int y, int width, int height);
    bool IsWide() const;
    int Length() const;

    std::shared_ptr<QZSize> m_size;
    std::shared_ptr<QZPoint> m_location;
    std::shared_ptr<QZCollection> m_colors;
};

#endif
