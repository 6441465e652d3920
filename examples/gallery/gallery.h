#ifndef QZLIB_EXAMPLES_GALLERY_GALLERY_H
#define QZLIB_EXAMPLES_GALLERY_GALLERY_H

#include <qzlib.h>

#include <memory>
#include <vector>

/// The pictures of the gallery: what the graphics toolkit draws, one subject a picture.
namespace gallery
{

struct Picture
{
    const char* name;
    int width;
    int height;
    unsigned int background;
    /// Draws on a canvas of that size, which is filled with the background.
    void (*paint)(QZGraphics& canvas);
};

std::vector<Picture> ShapePictures();
std::vector<Picture> PixelPictures();
std::vector<Picture> DisplayPictures();

constexpr unsigned int kBlack = 0xFF000000;
constexpr unsigned int kWhite = 0xFFFFFFFF;
constexpr unsigned int kRed = 0xFFE03030;
constexpr unsigned int kGreen = 0xFF20A040;
constexpr unsigned int kBlue = 0xFF3060E0;
constexpr unsigned int kYellow = 0xFFE0C020;
constexpr unsigned int kGray = 0xFF808080;

/// Text in one colour.
void Label(QZGraphics& canvas, int x, int y, const char* text, unsigned int color);

/// Returns blocks that the library made to the library.
struct Recycler
{
    void operator()(QZPixelBlock* block) const { QZPixelBlock::Recycle(&block); }
};
using Block = std::unique_ptr<QZPixelBlock, Recycler>;

/// A small landscape with hard edges, gradients and text, to show filters and rotations on.
Block Landscape(int width, int height);

}  // namespace gallery

#endif
