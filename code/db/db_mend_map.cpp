#include "db/internal/db_mend_map.h"

#include <bit>

std::size_t QZDbAddressMap::Page::Rank(std::size_t unit) const
{
    std::size_t rank = 0;
    for (std::size_t i = 0; i < unit / 64; ++i) rank += static_cast<std::size_t>(std::popcount(bits[i]));
    const QZUInt64 before = (static_cast<QZUInt64>(1) << (unit % 64)) - 1;
    return rank + static_cast<std::size_t>(std::popcount(bits[unit / 64] & before));
}

void QZDbAddressMap::Set(QZInt64 address, QZInt64 value)
{
    if (!HasPlace(address)) return;
    std::unique_ptr<Page>& page = m_pages[static_cast<std::size_t>(address / kPageBytes)];
    if (page == nullptr) page = std::make_unique<Page>();
    const std::size_t unit = Unit(address);
    const auto place = page->values.begin() + static_cast<std::ptrdiff_t>(page->Rank(unit));
    if (page->Has(unit))
    {
        *place = value;
        return;
    }
    const auto rank = place - page->values.begin();
    // Small steps instead of doubling: the map is most of the memory that a copy takes.
    if (page->values.size() == page->values.capacity()) page->values.reserve(page->values.size() + kGrowth);
    page->values.insert(page->values.begin() + rank, value);
    page->bits[unit / 64] |= static_cast<QZUInt64>(1) << (unit % 64);
}
