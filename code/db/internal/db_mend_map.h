#ifndef QZLIB_DB_MEND_MAP_H
#define QZLIB_DB_MEND_MAP_H

#include <memory>
#include <vector>

#include "db/internal/db_layout.h"
#include "sys/sys_types.h"

/// Where the records of one file are in another: an address for an address.
///
/// It takes 8 bytes for each entry and about one percent of the size of the file. Only addresses at which a
/// record can begin have a place in it.
class QZDbAddressMap
{
public:
    explicit QZDbAddressMap(QZInt64 fileSize) : m_pages(static_cast<std::size_t>(fileSize / kPageBytes + 1))
    {}

    /// The address for an address, 0 for none.
    QZInt64 Get(QZInt64 address) const
    {
        const Page* page = PageOf(address);
        if (page == nullptr || !page->Has(Unit(address))) return 0;
        return page->values[page->Rank(Unit(address))];
    }

    /// Sets the address for an address at which a record can begin.
    void Set(QZInt64 address, QZInt64 value);

private:
    static constexpr QZInt64 kUnits = 512;
    static constexpr QZInt64 kPageBytes = kUnits * layout::kAlignment;
    static constexpr std::size_t kGrowth = 16;

    struct Page
    {
        QZUInt64 bits[kUnits / 64] = {};
        std::vector<QZInt64> values;

        bool Has(std::size_t unit) const { return (bits[unit / 64] >> (unit % 64) & 1) != 0; }
        /// How many entries are before the unit.
        std::size_t Rank(std::size_t unit) const;
    };

    static std::size_t Unit(QZInt64 address)
    {
        return static_cast<std::size_t>(address / layout::kAlignment % kUnits);
    }
    bool HasPlace(QZInt64 address) const
    {
        return address > 0 && address % layout::kAlignment == layout::kAlignment - 1 &&
               address / kPageBytes < static_cast<QZInt64>(m_pages.size());
    }
    const Page* PageOf(QZInt64 address) const
    {
        return HasPlace(address) ? m_pages[static_cast<std::size_t>(address / kPageBytes)].get() : nullptr;
    }

    std::vector<std::unique_ptr<Page>> m_pages;
};

/// The records that a walk has met: one bit for each address at which a record can begin.
class QZDbMet
{
public:
    explicit QZDbMet(QZInt64 fileSize)
        : m_bits(static_cast<std::size_t>(fileSize / (64 * layout::kAlignment) + 1), 0)
    {}

    bool Has(QZInt64 address) const
    {
        const QZUInt64 unit = static_cast<QZUInt64>(address) / layout::kAlignment;
        return unit / 64 < m_bits.size() && (m_bits[unit / 64] >> (unit % 64) & 1) != 0;
    }

    /// Notes an address of the file. False when it was noted before.
    bool Enter(QZInt64 address)
    {
        if (Has(address)) return false;
        const QZUInt64 unit = static_cast<QZUInt64>(address) / layout::kAlignment;
        if (unit / 64 < m_bits.size()) m_bits[unit / 64] |= static_cast<QZUInt64>(1) << (unit % 64);
        return true;
    }

private:
    std::vector<QZUInt64> m_bits;
};

#endif
