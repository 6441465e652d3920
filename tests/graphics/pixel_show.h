#ifndef QZLIB_TESTS_GRAPHICS_PIXEL_SHOW_H
#define QZLIB_TESTS_GRAPHICS_PIXEL_SHOW_H

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "graphics/gr_pixels.h"

namespace qztest
{

using Rows = std::vector<std::vector<unsigned int>>;

/// The pixels as rows, read directly from the buffer of the block.
inline Rows PixelsOf(const QZPixelBlock& block)
{
    const auto* pixel = static_cast<const unsigned int*>(block.GetPointer());
    Rows rows;
    for (int y = 0; y < block.GetHeight(); ++y, pixel += block.GetWidth())
        rows.emplace_back(pixel, pixel + block.GetWidth());
    return rows;
}

inline Rows PixelsOf(const std::unique_ptr<QZPixelBlock>& block) { return PixelsOf(*block); }

/// A block with these pixels.
inline std::unique_ptr<QZPixelBlock> BlockOf(const Rows& rows)
{
    auto block =
        std::make_unique<QZPixelBlock>(static_cast<int>(rows.at(0).size()), static_cast<int>(rows.size()));
    auto* pixel = static_cast<unsigned int*>(block->GetPointer());
    for (const auto& row : rows)
        for (unsigned int value : row) *pixel++ = value;
    return block;
}

inline std::unique_ptr<QZPixelBlock> Own(QZPixelBlock* block) { return std::unique_ptr<QZPixelBlock>(block); }

}  // namespace qztest

#endif
