#ifndef QZLIB_GRAPHICS_LATTICE_TABLE_H
#define QZLIB_GRAPHICS_LATTICE_TABLE_H

#include "sys/sys_types.h"

/// The layout of the font table and the glyphs that are built in. Internal.
namespace lattice
{
constexpr QZInt64 kSlotSize = 128;
constexpr QZInt64 kDotsOffset = 2;
constexpr QZInt64 kDotsSize = kSlotSize - kDotsOffset;
constexpr QZInt64 kSlots = 65536;
constexpr QZInt64 kTableSize = kSlots * kSlotSize;
constexpr unsigned short kFallbackCode = 41253;
constexpr int kSideLimit = 31;

/// Packs an unpacked glyph of `size` bytes into a slot. Missing dots are clear; slot bytes after the packed
/// ones do not change.
void Pack(unsigned char* slot, const unsigned char* glyph, QZInt64 size);

/// Unpacks a slot: width, height and one byte a dot, rounded up to whole bytes of the slot, at most 1010
/// bytes. A slot whose sides promise more than any glyph has leaves the target alone.
/// @return the bytes of the unpacked glyph by its sides, or kFallbackCode for such a slot
QZInt64 Unpack(unsigned char* glyph, const unsigned char* slot);

/// Expands the packed dots of a slot into one byte a dot.
/// @param count  dots to write; those behind the slot's end are clear
void ExpandDots(unsigned char* dots, QZInt64 count, const unsigned char* packed);

/// Packs every built-in glyph into its slot of the table.
void PackBuiltIn(unsigned char* table);
}  // namespace lattice

#endif
