#ifndef QZLIB_GRAPHICS_LATTICE_H
#define QZLIB_GRAPHICS_LATTICE_H

#include <memory>

#include "graphics/gr_geometry.h"

class QZData;

/// Starts the font: makes the table and fills it from the file at `path`. When the file does not exist, the
/// built-in glyphs are used and written to a new file. With a null path the font is only in memory. The
/// pointer is stored, not the text: the text must stay until QZLatticeDispose. A call with the same pointer
/// does nothing, a call with another pointer starts the font again. Without this call the font starts with
/// null at its first use. For a file from strangers call QZLattice::Check first: no slot is tested here.
/// @throws QZException 4352 without memory for the table; QZIOException as QZFile does
QZ_API void QZLatticeInit(const QZWChar* path);

/// Frees the table. Glyphs saved without a file are lost.
QZ_API void QZLatticeDispose();

/// One character of the dot-matrix font: a glyph at a place.
///
/// All glyphs live in one process-wide table of 65536 slots, one for each UTF-16 unit, see docs/graphics.md.
/// An object owns its location and size and finds its dots in the table; C++ copies share location and size.
/// One thread at a time reads an object. The table is read without a lock, so hosts save glyphs on one thread
/// while no thread draws.
class QZ_API QZLattice : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFD0;

    /// The glyph of a UTF-16 unit at a place. Unit 0 and units without a glyph show the fallback glyph,
    /// 41253.
    QZLattice(int x, int y, unsigned short code);

    QZInt64 GetType() override;

    /// Sets location and glyph. The baseline does not change.
    void Set(int x, int y, unsigned short code);

    /// Location and size in dots. The object owns them.
    QZPoint* GetLocation() const { return m_location.get(); }
    QZSize* GetSize() const { return m_size.get(); }
    /// The unit whose glyph is shown, 41253 for the fallback.
    unsigned int GetCode() const { return m_code; }
    /// The row of pixels through the middle of the glyph; 0: the location is used.
    int GetBaseline() const { return m_baseline; }
    void SetBaseline(int baseline) { m_baseline = baseline; }

    /// The packed dots in the table, 126 bytes: row after row, eight dots in a byte, the first dot in the
    /// highest bit. Null after QZLatticeDispose.
    const unsigned char* GetGlyph() const;

    /// The largest size of an unpacked glyph in bytes: width, height, then one byte for each dot.
    static const QZInt64 GlyphSize = 1026;

    /// Stores a glyph: width, height, then one byte for each dot, 0 for clear, row after row. A width or
    /// height above 31 becomes 31, also in the caller's object; the dots keep their order and are not
    /// rearranged; missing dots are clear. Calls Sync unless `sync` is 0; for many glyphs, call it once at
    /// the end.
    /// @throws QZException 1792 for null; QZIOException as Sync
    static void Save(unsigned short code, QZData* glyph);
    static void Save(unsigned short code, QZData* glyph, unsigned char sync);

    /// The unpacked glyph of a unit in a new buffer of GlyphSize bytes; give it back with Recycle. A unit
    /// without a glyph has width and height 0.
    static QZData* Load(unsigned short code);
    /// The same into a buffer of GlyphSize bytes; only the bytes of the glyph are written. Null is allowed.
    /// @return GlyphSize
    static QZInt64 Load(unsigned char* buffer, unsigned short code);

    /// Deletes the object and clears the variable. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZData** data);

    /// An addition: true when the file, or the bytes, are a font table: of exactly 8388608 bytes, each slot
    /// empty or with sides of 1 to 31 dots. It reads only, and a file of another size is not read at all.
    /// Null bytes are no table.
    /// @throws QZIOException 4096 for a missing file, else as QZFile::Open and QZFile::Read do
    /// @throws QZException 1792 for a null path
    static QZBool Check(const QZWChar* path);
    static QZBool Check(const void* table, QZInt64 size);

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
