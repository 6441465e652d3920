#ifndef QZLIB_NET_JSON_CELL_H
#define QZLIB_NET_JSON_CELL_H

#include <cstring>
#include <new>
#include <string_view>

#include "sys/sys_types.h"

using JsonView = std::basic_string_view<QZWChar>;

/// The 16 bytes of a JSON value that hold its text, or lead to what is in an array or object. Internal.
///
/// The last unit tells which it is. For a text of at most seven units it is seven less their number, so that
/// it is the zero behind a text of seven.
template <typename Cell>
struct JsonCell
{
    static constexpr std::size_t kShort = 7;
    static constexpr QZWChar kLong = static_cast<QZWChar>(0xFFFF);
    static constexpr QZWChar kParts = static_cast<QZWChar>(0xFFFE);

    static QZWChar& Tag(Cell& cell) { return cell.Units[kShort]; }
    static QZWChar Tag(const Cell& cell) { return cell.Units[kShort]; }
    static bool IsLong(const Cell& cell) { return Tag(cell) == kLong; }
    static bool HasParts(const Cell& cell) { return Tag(cell) == kParts; }

    /// An empty text.
    static void Begin(Cell* cell)
    {
        cell->Units[0] = 0;
        Tag(*cell) = static_cast<QZWChar>(kShort);
    }

    /// The text; empty for a cell with parts. A zero is behind it.
    static JsonView View(const Cell& cell)
    {
        if (IsLong(cell))
        {
            const Long* text = static_cast<const Long*>(cell.Part);
            return {UnitsOf(text), text->length};
        }
        if (HasParts(cell)) return {};
        return {cell.Units, kShort - static_cast<std::size_t>(Tag(cell))};
    }

    /// How many units fit without new memory.
    static std::size_t Capacity(const Cell& cell)
    {
        return IsLong(cell) ? static_cast<const Long*>(cell.Part)->capacity : kShort;
    }

    /// Copies a text, which may be a part of the cell's own; not for a cell with parts.
    static void Assign(Cell* cell, JsonView text)
    {
        const std::size_t capacity = Capacity(*cell);
        if (text.size() > capacity)
        {
            const std::size_t room = text.size() < 2 * capacity ? 2 * capacity : text.size();
            Long* made = static_cast<Long*>(::operator new(sizeof(Long) + (room + 1) * sizeof(QZWChar)));
            made->capacity = room;
            std::memcpy(UnitsOf(made), text.data(), text.size() * sizeof(QZWChar));
            End(cell);
            cell->Part = made;
            Tag(*cell) = kLong;
        }
        else
        {
            QZWChar* units = IsLong(*cell) ? UnitsOf(static_cast<Long*>(cell->Part)) : cell->Units;
            if (!text.empty()) std::memmove(units, text.data(), text.size() * sizeof(QZWChar));
        }
        SetLength(cell, text.size());
    }

    /// Empties the text; the memory of a long one stays.
    static void Clear(Cell* cell)
    {
        if (!HasParts(*cell)) SetLength(cell, 0);
    }

    /// Frees the memory of a long text.
    static void End(Cell* cell)
    {
        if (IsLong(*cell)) ::operator delete(cell->Part);
    }

private:
    struct Long
    {
        std::size_t length;
        std::size_t capacity;
    };

    static QZWChar* UnitsOf(Long* text) { return reinterpret_cast<QZWChar*>(text + 1); }
    static const QZWChar* UnitsOf(const Long* text) { return reinterpret_cast<const QZWChar*>(text + 1); }

    static void SetLength(Cell* cell, std::size_t length)
    {
        if (IsLong(*cell))
        {
            Long* text = static_cast<Long*>(cell->Part);
            text->length = length;
            UnitsOf(text)[length] = 0;
            return;
        }
        // For seven units both writes are the same.
        cell->Units[length] = 0;
        Tag(*cell) = static_cast<QZWChar>(kShort - length);
    }
};

#endif
