// gallery FOLDER
//
// Writes what the graphics toolkit draws into the folder, one 32-bit bitmap for each subject, and prints the
// names. Files of the same names are replaced.

#include <cstdio>
#include <string>

#include "gallery.h"

namespace
{

std::vector<gallery::Picture> AllPictures()
{
    std::vector<gallery::Picture> all;
    for (const auto& group : {gallery::ShapePictures(), gallery::PixelPictures(), gallery::DisplayPictures()})
        all.insert(all.end(), group.begin(), group.end());
    return all;
}

void Write(const gallery::Picture& picture, const std::string& folder)
{
    QZGraphics canvas(picture.width, picture.height);
    canvas.Fill(picture.background);
    picture.paint(canvas);
    // Blending changes the alpha of the canvas. Some viewers use it, so it is set to opaque.
    canvas.SetAlpha(255);
    QZString path((folder + "/" + picture.name + ".bmp").c_str());
    if (QZFile::Exists(&path)) QZFile::Delete(&path);
    const int size = canvas.ToFileBitmap(&path);
    std::printf("%s.bmp  %d x %d  %d bytes\n", picture.name, picture.width, picture.height, size);
}

int Run(const std::string& folder)
{
    try
    {
        for (const gallery::Picture& picture : AllPictures()) Write(picture, folder);
        return 0;
    }
    catch (QZException* e)
    {
        std::fprintf(stderr, "gallery: failure %lld in %s\n", static_cast<long long>(e->GetCode()),
                     folder.c_str());
        QZExceptionFactory::Recycle(&e);
        return 1;
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fprintf(stderr, "usage: gallery FOLDER\n");
        return 2;
    }
    QZLibInit();
    const int code = Run(argv[1]);
    QZLibDispose();
    return code;
}
