#include <qzlib.h>

#include <cstdio>

int main()
{
    QZLibInit();
    QZString* text = QZStringFactory::CreateString("hello");
    std::printf("text of %d units\n", static_cast<int>(text->GetLength()));
    QZStringFactory::Recycle(&text);
    QZLibDispose();
    return 0;
}
