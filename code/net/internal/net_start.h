#ifndef QZLIB_NET_START_H
#define QZLIB_NET_START_H

/// Start and end of this folder's factories and shared texts. QZLibInit and QZLibDispose call these
/// functions; a second call of each has no effect. Internal.

void QZJsonFactoryInit();
void QZJsonFactoryEnd();
void QZHttpConstantInit();
void QZHttpConstantEnd();
void QZHttpFactoryInit();
void QZHttpFactoryEnd();

#endif
