#ifndef QZLIB_FW_EXCEPTION_CODE_H
#define QZLIB_FW_EXCEPTION_CODE_H

#include "sys/sys_types.h"

/// Codes of QZException and of QZLastError.
class QZ_API QZExceptionCode
{
public:
    static const QZInt64 SystemError = 0x10;
    static const QZInt64 ArgumentOutOfRange = 0x100;
    static const QZInt64 StructuralFailure = 0x200;
    static const QZInt64 MemoryInaccessible = 0x400;
    static const QZInt64 ObjectIsLocked = 0x500;
    static const QZInt64 CodingError = 0x600;
    static const QZInt64 NullPointer = 0x700;
    static const QZInt64 KeyIsBad = 0x800;
    static const QZInt64 KeyIsExists = 0x900;
    static const QZInt64 OutOfMemory = 0x1100;
    static const QZInt64 WrongFormat = 0x1300;
    static const QZInt64 InitFailed = 0x1400;
    static const QZInt64 UnknownType = 0x1700;
    static const QZInt64 OperationFailed = 0x1800;
    static const QZInt64 ObjectWasNotFound = 0x1900;
    static const QZInt64 InvalidArgument = 0x2000;
    static const QZInt64 OperationTimeOut = 0x2100;
};

/// Codes of QZIOException.
class QZ_API QZIOExceptionCode
{
public:
    static const QZInt64 CanNotOpenFile = 0x300;
    static const QZInt64 FileNotFound = 0x1000;
    static const QZInt64 WriteFailed = 0x1100;
    static const QZInt64 ReadFailed = 0x1200;
    static const QZInt64 PathIsTooLong = 0x1300;
    static const QZInt64 DeviceOpenFailed = 0x1500;
    static const QZInt64 DeviceOperationFailed = 0x1600;
    static const QZInt64 OperationFailed = 0x1700;
    static const QZInt64 OperationTimeout = 0x1800;
    static const QZInt64 FileExistsCreateFailed = 0x1900;
    /// Another process, or another handle of this one, has the file open. Thrown by QZFileBuffer::Open.
    static const QZInt64 FileInUse = 0x1A00;
};

/// Codes of QZDatabaseException.
class QZ_API QZDatabaseExceptionCode
{
public:
    static const QZInt64 ArgumentOutOfRange = 0x100;
    static const QZInt64 UnknownNodeType = 0x200;
    static const QZInt64 UnknownStringEncoding = 0x300;
    static const QZInt64 DataTypeException = 0x400;
    static const QZInt64 OperationFailed = 0x500;
    static const QZInt64 CreateFailedTableAlreadyExists = 0x600;
    static const QZInt64 BadStruct = 0x3030000;
};

/// Codes of QZSocketException.
class QZ_API QZSocketExceptionCode
{
public:
    static const QZInt64 SocketClose = 0x100;
    static const QZInt64 SocketErrorTimeout = 0x200;
    static const QZInt64 SocketErrorOnStartup = 0x400;
    static const QZInt64 SocketErrorInvalidSocket = 0x500;
    static const QZInt64 SocketErrorNotConnect = 0x510;
    static const QZInt64 SocketConnectFailed = 0x600;
    static const QZInt64 SocketConnectRefused = 0x610;
    static const QZInt64 SocketConnectReset = 0x620;
    static const QZInt64 SocketConnectAborted = 0x630;
    static const QZInt64 SocketErrorOnOperation = 0x700;
    static const QZInt64 SocketBindFailed = 0x800;
    static const QZInt64 SocketErrorConnectionClose = 0x1000;
    static const QZInt64 SystemError = 0x1100;
    static const QZInt64 SocketErrorInvalidProtocol = 0x1200;
};

/// Codes of QZHttpException.
class QZ_API QZHttpExceptionCode
{
public:
    static const QZInt64 ChunkBadSize = 0x100;
    static const QZInt64 Timeout = 0x200;
    static const QZInt64 UrlError = 0x220;
    static const QZInt64 NameNotResolved = 0x221;
    static const QZInt64 Unconnected = 0x222;
    static const QZInt64 RequestHeaderFieldsTooLarge = 0x223;
    static const QZInt64 UnknownMethod = 0x224;
    static const QZInt64 BadResponseData = 0x310;
    static const QZInt64 BadRequestData = 0x320;
};

/// Codes of QZJsonException.
class QZ_API QZJsonExceptionCode
{
public:
    static const QZInt64 ArgumentOutOfRange = 0x100;
    static const QZInt64 JsonFormatException = 0x200;
    static const QZInt64 UnknwonDataType = 0x300;
    static const QZInt64 UnexpectedSymbols = 0x400;
};

#endif
