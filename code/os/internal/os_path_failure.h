#ifndef QZLIB_OS_PATH_FAILURE_H
#define QZLIB_OS_PATH_FAILURE_H

#include "fw/fw_exception_code.h"
#include "fw/fw_exception_factory.h"

/// The exception for a path that is too long for an operation on files. The caller throws it.
inline QZIOException* PathTooLong()
{
    return QZExceptionFactory::CreateIOException(QZIOExceptionCode::PathIsTooLong);
}

#endif
