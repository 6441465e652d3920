#include <fcntl.h>
#include <unistd.h>

#include "tool.h"

namespace
{

/// Where the C library tells text from binary streams, ours are binary: what goes in comes out again.
void UseBinaryStreams()
{
#ifdef O_BINARY
    setmode(0, O_BINARY);
    setmode(1, O_BINARY);
#endif
}

}  // namespace

int main(int argc, char** argv)
{
    UseBinaryStreams();
    QZLibInit();
    // Killed at any moment, a file keeps what the last sync left.
    QZFileBuffer::AtomicSync = 1;
    const qzdb::Console console{stdin, stdout, stderr, isatty(2) != 0};
    const int code = qzdb::RunTool(qzdb::Arguments(argv + 1, argv + argc), console);
    QZLibDispose();
    return code;
}
