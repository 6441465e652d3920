#include "fw/fw_exception.h"

// The tables of texts, one per class, and the definitions of the codes.

namespace
{
struct CodeText
{
    QZInt64 code;
    const QZWChar* text;
};

template <std::size_t N>
const QZWChar* Find(const CodeText (&table)[N], QZInt64 code, const QZWChar* otherwise)
{
    for (const CodeText& entry : table)
        if (entry.code == code) return entry.text;
    return otherwise;
}

constexpr CodeText kGeneric[] = {
    {QZExceptionCode::SystemError, QZ_W("SystemError")},
    {QZExceptionCode::ArgumentOutOfRange, QZ_W("ArgumentOutOfRange")},
    {QZExceptionCode::StructuralFailure, QZ_W("StructuralFailure")},
    {QZExceptionCode::MemoryInaccessible, QZ_W("MemoryInaccessible")},
    {QZExceptionCode::ObjectIsLocked, QZ_W("ObjectIsLocked")},
    {QZExceptionCode::CodingError, QZ_W("CodingError")},
    {QZExceptionCode::NullPointer, QZ_W("NullPointer")},
    {QZExceptionCode::KeyIsBad, QZ_W("KeyIsBad")},
    {QZExceptionCode::KeyIsExists, QZ_W("KeyIsExists")},
    {QZExceptionCode::OutOfMemory, QZ_W("OutOfMemory")},
    {QZExceptionCode::WrongFormat, QZ_W("WrongFormat")},
    {QZExceptionCode::InitFailed, QZ_W("InitFailed")},
    {QZExceptionCode::UnknownType, QZ_W("UnknownType")},
    {QZExceptionCode::OperationFailed, QZ_W("OperationFailed")},
    {QZExceptionCode::ObjectWasNotFound, QZ_W("ObjectWasNotFound")},
    {QZExceptionCode::InvalidArgument, QZ_W("Invalid Argument")},
    {QZExceptionCode::OperationTimeOut, QZ_W("The operation has time out.")},
};

/// Codes that are missing here have the texts of QZException.
constexpr CodeText kIO[] = {
    {QZIOExceptionCode::CanNotOpenFile, QZ_W("Can Not Open File")},
    {QZIOExceptionCode::FileNotFound, QZ_W("File Not Found")},
    {QZIOExceptionCode::PathIsTooLong, QZ_W("Path Is Too Long")},
    {QZIOExceptionCode::DeviceOpenFailed, QZ_W("Device Open Failed")},
    {QZIOExceptionCode::DeviceOperationFailed, QZ_W("Operation Failed")},
    {QZIOExceptionCode::OperationFailed, QZ_W("Operation Failed")},
    {QZIOExceptionCode::OperationTimeout, QZ_W("Operation Timeout")},
    {QZIOExceptionCode::FileExistsCreateFailed, QZ_W("File Exists Create Failed")},
    {QZIOExceptionCode::FileInUse, QZ_W("File Is In Use By Another Process Or Handle")},
};

constexpr CodeText kTask[] = {
    {256, QZ_W("TaskSchedulerUnexpectedStatus")},
};

constexpr CodeText kDatabase[] = {
    {QZDatabaseExceptionCode::ArgumentOutOfRange, QZ_W("ArgumentOutOfRange")},
    {QZDatabaseExceptionCode::UnknownNodeType, QZ_W("UnknownNodeType")},
    {QZDatabaseExceptionCode::UnknownStringEncoding, QZ_W("UnknownStringEncoding")},
    {QZDatabaseExceptionCode::DataTypeException, QZ_W("DataTypeException")},
    {QZDatabaseExceptionCode::OperationFailed, QZ_W("OperationFailed")},
    {QZDatabaseExceptionCode::CreateFailedTableAlreadyExists, QZ_W("CreateFailedTableAlreadyExists")},
    {QZDatabaseExceptionCode::BadStruct, QZ_W("BadStruct")},
};

constexpr CodeText kSocket[] = {
    {QZSocketExceptionCode::SocketClose, QZ_W("socket close")},
    {QZSocketExceptionCode::SocketErrorTimeout, QZ_W("socket time out")},
    {QZSocketExceptionCode::SocketErrorOnStartup, QZ_W("socket error on startup")},
    {QZSocketExceptionCode::SocketErrorInvalidSocket, QZ_W("socket error invalid socket")},
    {QZSocketExceptionCode::SocketErrorNotConnect, QZ_W("socket error not connect")},
    {QZSocketExceptionCode::SocketConnectFailed, QZ_W("socket error connect failed")},
    {QZSocketExceptionCode::SocketConnectRefused, QZ_W("socket error connect refused")},
    {QZSocketExceptionCode::SocketConnectReset, QZ_W("socket error connect reset")},
    {QZSocketExceptionCode::SocketConnectAborted, QZ_W("socket connection aborted")},
    {QZSocketExceptionCode::SocketErrorOnOperation, QZ_W("socket error on operation")},
    {QZSocketExceptionCode::SocketBindFailed, QZ_W("socket bind failed")},
    {QZSocketExceptionCode::SocketErrorConnectionClose, QZ_W("socket error connection close")},
    {QZSocketExceptionCode::SocketErrorInvalidProtocol, QZ_W("socket invalid protocol")},
};

constexpr CodeText kHttp[] = {
    {QZHttpExceptionCode::ChunkBadSize, QZ_W("Bad chunk size")},
    {QZHttpExceptionCode::Timeout, QZ_W("Time out")},
    {QZHttpExceptionCode::UrlError, QZ_W("Url Error")},
    {QZHttpExceptionCode::NameNotResolved, QZ_W("Host name not resolved")},
    {QZHttpExceptionCode::Unconnected, QZ_W("Unconnected")},
    {QZHttpExceptionCode::RequestHeaderFieldsTooLarge, QZ_W("Request Header Fields Too Large")},
    {QZHttpExceptionCode::UnknownMethod, QZ_W("Unknown Method")},
    {QZHttpExceptionCode::BadResponseData, QZ_W("Bad response data")},
    {QZHttpExceptionCode::BadRequestData, QZ_W("Bad request data")},
};

constexpr CodeText kJson[] = {
    {QZJsonExceptionCode::ArgumentOutOfRange, QZ_W("ArgumentOutOfRange")},
    {QZJsonExceptionCode::JsonFormatException, QZ_W("JsonFormatException")},
    {QZJsonExceptionCode::UnknwonDataType, QZ_W("UnknwonDataType")},
    {QZJsonExceptionCode::UnexpectedSymbols, QZ_W("UnexpectedSymbols")},
};

/// Status bytes of the instrument controller.
constexpr CodeText kSerial[] = {
    {0, QZ_W("OK")},
    {210, QZ_W("Verify failed")},
    {224, QZ_W("Init Failed")},
    {225, QZ_W("InvalidKey")},
    {226, QZ_W("InvalidStstus")},
    {227, QZ_W("InvalidCommandInDataBufferRead")},
    {228, QZ_W("DataBufferNotSupport")},
    {241, QZ_W("Param out of range")},
    {242, QZ_W("Verify failed inside")},
    {243, QZ_W("IC Exception")},
    {244, QZ_W("FailedFromOperationEEPROM")},
    {250, QZ_W("ConnectException")},
    {251, QZ_W("DataUnavailable")},
};
}  // namespace

const QZWChar* QZException::ErrorCodeToMessage(QZInt64 code)
{
    return Find(kGeneric, code, QZ_W("unknown error"));
}

const QZWChar* QZIOException::ErrorCodeToMessage(QZInt64 code)
{
    return Find(kIO, code, QZException::ErrorCodeToMessage(code));
}

const QZWChar* QZTaskException::ErrorCodeToMessage(QZInt64 code)
{
    return Find(kTask, code, QZ_W("unknown error"));
}

const QZWChar* QZDatabaseException::ErrorCodeToMessage(QZInt64 code)
{
    return Find(kDatabase, code, QZ_W("Unknown Exception"));
}

const QZWChar* QZSocketException::ErrorCodeToMessage(QZInt64 code)
{
    return Find(kSocket, code, QZ_W("unknown socket error"));
}

const QZWChar* QZHttpException::ErrorCodeToMessage(QZInt64 code)
{
    return Find(kHttp, code, QZ_W("Unknown error"));
}

const QZWChar* QZJsonException::ErrorCodeToMessage(QZInt64 code)
{
    return Find(kJson, code, QZ_W("Unknown Exception"));
}

const QZWChar* QZSerialException::ErrorCodeToMessage(QZInt64 code)
{
    return Find(kSerial, code, QZ_W("Unknown error"));
}

const QZInt64 QZException::Type;
const QZInt64 QZIOException::Type;
const QZInt64 QZTaskException::Type;
const QZInt64 QZSocketException::Type;
const QZInt64 QZHttpException::Type;
const QZInt64 QZJsonException::Type;
const QZInt64 QZSerialException::Type;

const QZInt64 QZExceptionCode::SystemError;
const QZInt64 QZExceptionCode::ArgumentOutOfRange;
const QZInt64 QZExceptionCode::StructuralFailure;
const QZInt64 QZExceptionCode::MemoryInaccessible;
const QZInt64 QZExceptionCode::ObjectIsLocked;
const QZInt64 QZExceptionCode::CodingError;
const QZInt64 QZExceptionCode::NullPointer;
const QZInt64 QZExceptionCode::KeyIsBad;
const QZInt64 QZExceptionCode::KeyIsExists;
const QZInt64 QZExceptionCode::OutOfMemory;
const QZInt64 QZExceptionCode::WrongFormat;
const QZInt64 QZExceptionCode::InitFailed;
const QZInt64 QZExceptionCode::UnknownType;
const QZInt64 QZExceptionCode::OperationFailed;
const QZInt64 QZExceptionCode::ObjectWasNotFound;
const QZInt64 QZExceptionCode::InvalidArgument;
const QZInt64 QZExceptionCode::OperationTimeOut;

const QZInt64 QZIOExceptionCode::CanNotOpenFile;
const QZInt64 QZIOExceptionCode::FileNotFound;
const QZInt64 QZIOExceptionCode::WriteFailed;
const QZInt64 QZIOExceptionCode::ReadFailed;
const QZInt64 QZIOExceptionCode::PathIsTooLong;
const QZInt64 QZIOExceptionCode::DeviceOpenFailed;
const QZInt64 QZIOExceptionCode::DeviceOperationFailed;
const QZInt64 QZIOExceptionCode::OperationFailed;
const QZInt64 QZIOExceptionCode::OperationTimeout;
const QZInt64 QZIOExceptionCode::FileExistsCreateFailed;
const QZInt64 QZIOExceptionCode::FileInUse;

const QZInt64 QZDatabaseExceptionCode::ArgumentOutOfRange;
const QZInt64 QZDatabaseExceptionCode::UnknownNodeType;
const QZInt64 QZDatabaseExceptionCode::UnknownStringEncoding;
const QZInt64 QZDatabaseExceptionCode::DataTypeException;
const QZInt64 QZDatabaseExceptionCode::OperationFailed;
const QZInt64 QZDatabaseExceptionCode::CreateFailedTableAlreadyExists;
const QZInt64 QZDatabaseExceptionCode::BadStruct;

const QZInt64 QZSocketExceptionCode::SocketClose;
const QZInt64 QZSocketExceptionCode::SocketErrorTimeout;
const QZInt64 QZSocketExceptionCode::SocketErrorOnStartup;
const QZInt64 QZSocketExceptionCode::SocketErrorInvalidSocket;
const QZInt64 QZSocketExceptionCode::SocketErrorNotConnect;
const QZInt64 QZSocketExceptionCode::SocketConnectFailed;
const QZInt64 QZSocketExceptionCode::SocketConnectRefused;
const QZInt64 QZSocketExceptionCode::SocketConnectReset;
const QZInt64 QZSocketExceptionCode::SocketConnectAborted;
const QZInt64 QZSocketExceptionCode::SocketErrorOnOperation;
const QZInt64 QZSocketExceptionCode::SocketBindFailed;
const QZInt64 QZSocketExceptionCode::SocketErrorConnectionClose;
const QZInt64 QZSocketExceptionCode::SystemError;
const QZInt64 QZSocketExceptionCode::SocketErrorInvalidProtocol;

const QZInt64 QZHttpExceptionCode::ChunkBadSize;
const QZInt64 QZHttpExceptionCode::Timeout;
const QZInt64 QZHttpExceptionCode::UrlError;
const QZInt64 QZHttpExceptionCode::NameNotResolved;
const QZInt64 QZHttpExceptionCode::Unconnected;
const QZInt64 QZHttpExceptionCode::RequestHeaderFieldsTooLarge;
const QZInt64 QZHttpExceptionCode::UnknownMethod;
const QZInt64 QZHttpExceptionCode::BadResponseData;
const QZInt64 QZHttpExceptionCode::BadRequestData;

const QZInt64 QZJsonExceptionCode::ArgumentOutOfRange;
const QZInt64 QZJsonExceptionCode::JsonFormatException;
const QZInt64 QZJsonExceptionCode::UnknwonDataType;
const QZInt64 QZJsonExceptionCode::UnexpectedSymbols;
