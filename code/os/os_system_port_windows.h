#ifndef QZLIB_OS_SYSTEM_PORT_WINDOWS_H
#define QZLIB_OS_SYSTEM_PORT_WINDOWS_H

/// What the Windows sources of the seam share about completion ports. Nothing else includes it.

#include "os/os_system.h"

namespace os
{

/// Forgets a socket that is about to be closed: the end of the receive that is outstanding on it, which the
/// system still tells, must not be taken for that of the next socket with this handle.
void PortDetach(QZInt64 socket);

}  // namespace os

#endif
