#include <qzlib.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "common/private_files.h"
#include "tool.h"

namespace
{

std::atomic<bool> g_stop{false};

void Stop(int) { g_stop = true; }

}  // namespace

int main(int argc, char** argv)
{
    // The simulation ends in good order. Every other command ends at once, also while it asks or waits for
    // the device.
    if (argc > 1 && std::strcmp(argv[1], "simulate") == 0)
    {
        std::signal(SIGINT, Stop);
        std::signal(SIGTERM, Stop);
    }
    QZLibInit();
    qzapp::KeepFilesPrivate();
    // A question needs a person at both ends.
    const bool person = isatty(0) != 0 && isatty(2) != 0;
    const qzdevice::Console console{stdout, stderr, isatty(2) != 0, &g_stop, person ? stdin : nullptr};
    const int code = qzdevice::RunTool(qzdevice::Arguments(argv + 1, argv + argc), console);
    QZLibDispose();
    return code;
}
