#ifndef QZLIB_GRAPHICS_LATTICE_H
#define QZLIB_GRAPHICS_LATTICE_H

#include <memory>

#include "graphics/gr_geometry.h"

class QZData;

/// Starts the font: makes the table and fills it from the file at `path`, or, when there is no such file,
/// with the built-in glyphs, which are then written to a new file there. A null path keeps everything in
/// memory. The pointer is kept, not the text: leave it where it is until QZLatticeDispose, and pass the same
/// one again, since another pointer starts the font anew. Without this call the font starts by itself, with
/// null, when it is first needed.
/// @throws QZException 4352 without memory for the table; QZIOException as QZFile does
QZ_API void QZLatticeInit(const QZWChar* path);

/// Frees the table. Glyphs that were saved without a file are gone.
QZ_API void QZLatticeDispose();

/// One character of the dot-matrix font: a glyph at a place.
///
/// All glyphs live in one process-wide table of 65536 slots, one for each UTF-16 unit, see docs/graphics.md.
/// The objects own their place and size and look their dots up in the table; C++ copies share place and size.
/// Objects are read by one thread at a time. Reading the table takes no lock, so a host saves glyphs on one
/// thread and while nobody draws.
class QZ_API QZLattice : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFD0;

    /// The glyph of a UTF-16 unit at a place. Unit 0 and units without a glyph show the fallback glyph,
    /// 41253.
    QZLattice(int x, int y, unsigned short code);

    QZInt64 GetType() override;

    /// Another place and glyph; the baseline stays.
    void Set(int x, int y, unsigned short code);

    /// The object's own place and size in dots.
    QZPoint* GetLocation() const { return m_location.get(); }
    QZSize* GetSize() const { return m_size.get(); }
    /// The unit whose glyph is shown: 41253 where it is the fallback.
    unsigned int GetCode() const { return m_code; }
    /// The row of the screen that runs through the middle of the glyph, or 0: the location counts.
    int GetBaseline() const { return m_baseline; }
    void SetBaseline(int baseline) { m_baseline = baseline; }

    /// The packed dots in the table, 126 bytes: row after row, eight to a byte, first dot in the highest bit.
    /// Null when the font has ended meanwhile.
    const unsigned char* GetGlyph() const;

    /// Bytes of an unpacked glyph at most: width, height, then one byte a dot.
    static const QZInt64 GlyphSize = 1026;

    /// Stores a glyph: width, height, then one byte a dot, 0 for clear, row after row. A width or height
    /// above 31 becomes 31, in the caller's object as well; the dots are taken as they lie, not laid out
    /// anew, and missing ones are clear. Sync follows, unless `sync` is 0: for many glyphs call it once at
    /// the end.
    /// @throws QZException 1792 for null; QZIOException as Sync
    static void Save(unsigned short code, QZData* glyph);
    static void Save(unsigned short code, QZData* glyph, unsigned char sync);

    /// The glyph of a unit, unpacked, in a new buffer of GlyphSize bytes; given back with Recycle. A unit
    /// without a glyph gives width and height 0.
    static QZData* Load(unsigned short code);
    /// The same into a buffer of GlyphSize bytes, of which only what the glyph takes is written; null is
    /// allowed.
    /// @return GlyphSize
    static QZInt64 Load(unsigned char* buffer, unsigned short code);

    /// Deletes the object and clears the variable. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZData** data);

    /// Writes the table to the font's file, if it has one.
    /// @throws QZIOException as QZFile does
    static void Sync();

private:
    std::shared_ptr<QZPoint> m_location;
    std::shared_ptr<QZSize> m_size;
    QZUInt32 m_code = 0;
    QZInt32 m_baseline = 0;
};

#endif
