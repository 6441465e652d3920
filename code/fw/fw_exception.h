#ifndef QZLIB_FW_EXCEPTION_H
#define QZLIB_FW_EXCEPTION_H

#include "fw/fw_exception_code.h"
#include "fw/fw_object.h"

class QZString;

/// The root of the library's one exception family.
///
/// A failing operation throws a pointer that comes from QZExceptionFactory. Whoever catches it owns it and
/// gives it back with QZExceptionFactory::Recycle. It carries a code, a message and two traces: class, method
/// and parameter types in one, class, method and argument values in the other. The three strings belong to
/// the exception.
class QZ_API QZException : public QZObject
{
public:
    static const QZInt64 Type = 0x81B0000;

    /// Not 0 (the default): exceptions collect their traces.
    static QZBool IsStackTrace;

    ~QZException() override;
    QZInt64 GetType() override;

    /// The code, 0 when there is none.
    QZInt64 GetCode();

    /// An addition: the system's number of the failure, for a file errno or the result of GetLastError; 0
    /// when the failure has none.
    QZInt64 GetSystemError();

    /// The message, owned by the exception.
    QZString* GetMsg();

    /// The traces, owned by the exception. Reading a trace closes it: ")" is appended unless it ends with
    /// one, so that an empty trace reads ")".
    QZString* GetStackTrace();
    QZString* GetArgumentTrace();

    /// Empties message and traces and sets the code and the system's number to 0.
    void Clear();

    /// Builds the message: the text (null for none), a blank and the code's text (unless the code is 0, which
    /// leaves the code that was there), a blank and the system's text (unless lastError is 0).
    void Set(const QZWChar* message, QZUInt64 code, QZInt64 lastError);

    /// Adds the value of an argument to the argument trace; ", " goes before it unless the trace ends with
    /// "(". Null texts read "<NULL>".
    void ArgumentTraceAppend(const char* text);
    void ArgumentTraceAppend(const QZWChar* text);
    void ArgumentTraceAppend(QZString* text);
    /// @param block  a raw string block, as QZString::GetStructPointer gives it
    void ArgumentTraceAppend(const void* block);
    void ArgumentTraceAppend(QZInt64 value);
    void ArgumentTraceAppend(int value);
    void ArgumentTraceAppend(double value);
    /// Bytes as "<HEX>" and their digits; a null pointer as "<NULL>" without a separator.
    void ArgumentTraceAppend(const void* bytes, QZInt64 size);

    /// The text of a code, a static text.
    static const QZWChar* ErrorCodeToMessage(QZInt64 code);

    /// The calling thread's last system error number.
    static QZInt64 GetLastError();

    /// Opens a frame in both traces; adds a parameter type to the open frame of the stack trace.
    void StackTraceBegin(const QZWChar* className, const QZWChar* method);
    void StackTraceParameter(const QZWChar* type);

protected:
    QZException();
    explicit QZException(QZInt64 code);
    QZException(QZInt64 code, QZInt64 lastError);

    static QZObject* NewObject();
    static void DeleteObject(QZObject* exception);

    /// Deletes the string when it is disposable; clears the variable in any case.
    void Recycle(QZString** text);

    /// A new string with the system's text of an error number.
    QZString* LastErrorToMessage(QZInt64 code);

    /// Set of the derived classes: clears only the message, and uses the given text of the code.
    void SetMessage(const QZWChar* message, QZUInt64 code, const QZWChar* codeText, QZInt64 lastError);

    /// The constructors' text: like Set, without a leading blank.
    void ConstructMessage(QZInt64 code, const QZWChar* codeText, QZInt64 lastError);

private:
    friend class QZExceptionFactory;

    void Init();
    void AppendCode(const QZWChar* message, QZUInt64 code, const QZWChar* codeText, QZInt64 lastError);
    void ReleaseText(QZString** text);
    void ArgumentSeparator();

    QZInt64 m_code = 0;
    QZInt64 m_systemError = 0;
    QZString* m_message = nullptr;
    QZString* m_stackTrace = nullptr;
    QZString* m_argumentTrace = nullptr;
};

/// Failures of files, devices and the like.
class QZ_API QZIOException : public QZException
{
public:
    static const QZInt64 Type = 0x81B1000;
    QZInt64 GetType() override;
    void Set(const QZWChar* message, QZUInt64 code, QZInt64 lastError);
    /// Codes outside this class's table have the texts of QZException: WriteFailed is "OutOfMemory" and
    /// ReadFailed is "unknown error".
    const QZWChar* ErrorCodeToMessage(QZInt64 code);

protected:
    friend class QZExceptionFactory;
    QZIOException();
    explicit QZIOException(QZInt64 code);
    QZIOException(QZInt64 code, QZInt64 lastError);
    static QZObject* NewObject();
    static void DeleteObject(QZObject* exception);
};

/// Failures of the task scheduler.
class QZ_API QZTaskException : public QZException
{
public:
    static const QZInt64 Type = 0x81FFF20;
    QZInt64 GetType() override;
    void Set(const QZWChar* message, QZUInt64 code, QZInt64 lastError);
    static const QZWChar* ErrorCodeToMessage(QZInt64 code);

protected:
    friend class QZExceptionFactory;
    QZTaskException();
    explicit QZTaskException(QZInt64 code);
    QZTaskException(QZInt64 code, QZInt64 lastError);
    static QZObject* NewObject();
    static void DeleteObject(QZObject* exception);
};

/// Failures of the embedded database. It has no Type of its own: its GetType is QZException's.
class QZ_API QZDatabaseException : public QZException
{
public:
    void Set(const QZWChar* message, QZUInt64 code, QZInt64 lastError);
    static const QZWChar* ErrorCodeToMessage(QZInt64 code);

protected:
    friend class QZExceptionFactory;
    QZDatabaseException();
    explicit QZDatabaseException(QZInt64 code);
    QZDatabaseException(QZInt64 code, QZInt64 lastError);
    static QZObject* NewObject();
    static void DeleteObject(QZObject* exception);
};

/// Failures of sockets.
class QZ_API QZSocketException : public QZException
{
public:
    static const QZInt64 Type = 0x8310005;
    QZInt64 GetType() override;
    void Set(const QZWChar* message, QZUInt64 code, QZInt64 lastError);
    static const QZWChar* ErrorCodeToMessage(QZInt64 code);

protected:
    friend class QZExceptionFactory;
    QZSocketException();
    explicit QZSocketException(QZInt64 code);
    /// The message is the system's text alone, without the code's.
    QZSocketException(QZInt64 code, QZInt64 lastError);
    static QZObject* NewObject();
    static void DeleteObject(QZObject* exception);
};

/// Failures of HTTP messages, client and server.
class QZ_API QZHttpException : public QZException
{
public:
    static const QZInt64 Type = 0x8310012;
    QZInt64 GetType() override;
    void Set(const QZWChar* message, QZUInt64 code, QZInt64 lastError);

protected:
    friend class QZExceptionFactory;
    QZHttpException();
    explicit QZHttpException(QZInt64 code);
    /// The message is the system's text alone, without the code's.
    QZHttpException(QZInt64 code, QZInt64 lastError);
    static QZObject* NewObject();
    static void DeleteObject(QZObject* exception);

private:
    static const QZWChar* ErrorCodeToMessage(QZInt64 code);
};

/// Failures of JSON parsing and writing.
class QZ_API QZJsonException : public QZException
{
public:
    static const QZInt64 Type = 0x8310027;
    QZJsonException();
    explicit QZJsonException(QZInt64 code);
    QZJsonException(QZInt64 code, QZInt64 lastError);
    QZInt64 GetType() override;
    void Set(const QZWChar* message, QZUInt64 code, QZInt64 lastError);
    static const QZWChar* ErrorCodeToMessage(QZInt64 code);

protected:
    friend class QZExceptionFactory;
    static QZObject* NewObject();
    static void DeleteObject(QZObject* exception);
};

/// Status codes of the instrument controller. Made with new; the first one registers its class with
/// QZExceptionFactory, which then takes it back like any other.
class QZ_API QZSerialException : public QZException
{
public:
    static const QZInt64 Type = 0x931003B;
    /// @param code  the device's status byte
    explicit QZSerialException(QZByte code);
    QZInt64 GetType() override;

protected:
    static void DeleteObject(QZObject* exception);

private:
    static const QZWChar* ErrorCodeToMessage(QZInt64 code);
};

#endif
