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

/// The message of an exception without blanks and line ends around it. Returns the exception to the library.
std::string TakeMessage(QZException* e)
{
    std::string text;
    QZString* message = e->GetMsg();
    for (QZInt64 i = 0; i < message->GetLength(); ++i)
    {
        const QZWChar unit = message->GetPointer()[i];
        text.push_back(unit >= ' ' && unit < 0x7F ? static_cast<char>(unit) : ' ');
    }
    const std::size_t first = text.find_first_not_of(' ');
    const std::size_t last = text.find_last_not_of(' ');
    text = first == std::string::npos ? "error " + std::to_string(e->GetCode())
                                      : text.substr(first, last + 1 - first);
    QZExceptionFactory::Recycle(&e);
    return text;
}

void Write(const gallery::Picture& picture, const std::string& file)
{
    QZGraphics canvas(picture.width, picture.height);
    canvas.Fill(picture.background);
    picture.paint(canvas);
    // Blending changes the alpha of the canvas. Some viewers use it, so it is set to opaque.
    canvas.SetAlpha(255);
    QZString path(file.c_str());
    if (QZFile::Exists(&path)) QZFile::Delete(&path);
    const int size = canvas.ToFileBitmap(&path);
    std::printf("%s.bmp  %d x %d  %d bytes\n", picture.name, picture.width, picture.height, size);
}

int Run(const std::string& folder)
{
    for (const gallery::Picture& picture : AllPictures())
    {
        const std::string file = folder + "/" + picture.name + ".bmp";
        try
        {
            Write(picture, file);
        }
        catch (QZException* e)
        {
            std::fprintf(stderr, "gallery: cannot write %s: %s\n", file.c_str(), TakeMessage(e).c_str());
            return 1;
        }
    }
    return 0;
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
