#include <fcntl.h>
#include <unistd.h>

#include "common/private_files.h"
#include "tool.h"

namespace
{

/// Makes the standard streams binary where the C library distinguishes text from binary streams, so that
/// bytes pass unchanged.
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
    qzapp::KeepFilesPrivate();
    QZLibInit();
    // Nobody else writes the file meanwhile, and it keeps the state of the last sync when the process is
    // killed at any moment.
    QZFileBuffer::Exclusive = 1;
    // A failed operation is told and leaves the database usable for all threads.
    QZDatabase::UnlockOnRaise = 1;
    const qzdb::Console console{stdin, stdout, stderr, isatty(2) != 0};
    const int code = qzdb::RunTool(qzdb::Arguments(argv + 1, argv + argc), console);
    QZLibDispose();
    return code;
}
