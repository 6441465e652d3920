#ifndef QZLIB_GRAPHICS_START_H
#define QZLIB_GRAPHICS_START_H

/// Start and stop of the graphics factory, for QZLibInit and QZLibDispose. Internal.

/// Makes the caches of QZGraphicsFactory. A second call does nothing.
void QZGraphicsFactoryInit();

/// Deletes the caches with all idle objects. A second call does nothing.
void QZGraphicsFactoryEnd();

#endif
