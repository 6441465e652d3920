#ifndef QZLIB_FW_RAISE_H
#define QZLIB_FW_RAISE_H

#include "fw/fw_exception_code.h"
#include "sys/sys_types.h"

/// Throwing in one statement, without the headers of the exceptions, their factory or the strings. The
/// functions are implemented by the exception classes, in fw_exception_raise.cpp.
///
/// Throwing:
///     QZRaise(QZExceptionCode::ArgumentOutOfRange, QZ_W("QZString"), QZ_W("SubString"))
///         .Argument(QZ_W("QZInt64"), start)
///         .Throw();
///     QZRaise(QZIOFailure(QZIOExceptionCode::ReadFailed, number), QZ_W("QZFile"), QZ_W("Read")).Throw();
///
/// Passing on, after cleaning up:
///     catch (...)
///     {
///         QZPassOn(QZ_W("QZFile"), QZ_W("Read")).Argument(QZ_W("QZInt64"), offset);
///         throw;
///     }
///
/// Both add a frame to the traces of the exception: the class, the method and the arguments in order. With
/// QZException::IsStackTrace off no frame is added.

class QZException;
class QZString;

/// The classes of exceptions: QZException itself and those derived from it.
enum class QZFamily
{
    General,
    IO,
    Task,
    Database,
    Socket,
    Http,
    Json,
};

/// What an exception says: its class, its code and the message that QZException::Set builds.
struct QZFailure
{
    QZFamily family;
    /// 0: no code.
    QZInt64 code;
    /// The system's error number, whose text ends the message. 0: none.
    QZInt64 systemNumber = 0;
    /// The text that begins the message. Both null: none. At most one of the two is set; it need not outlive
    /// the statement.
    const QZWChar* message = nullptr;
    const char* narrowMessage = nullptr;

    /// The same failure with a text at the start of the message. A null text is no text.
    QZFailure With(const QZWChar* text) const { return {family, code, systemNumber, text, nullptr}; }
    QZFailure With(const char* text) const { return {family, code, systemNumber, nullptr, text}; }
    QZFailure With(QZString* text) const;
};

inline QZFailure QZGeneralFailure(QZInt64 code, QZInt64 systemNumber = 0)
{
    return {QZFamily::General, code, systemNumber};
}
inline QZFailure QZIOFailure(QZInt64 code, QZInt64 systemNumber = 0)
{
    return {QZFamily::IO, code, systemNumber};
}
inline QZFailure QZTaskFailure(QZInt64 code) { return {QZFamily::Task, code}; }
inline QZFailure QZDatabaseFailure(QZInt64 code) { return {QZFamily::Database, code}; }
inline QZFailure QZSocketFailure(QZInt64 code, QZInt64 systemNumber = 0)
{
    return {QZFamily::Socket, code, systemNumber};
}
inline QZFailure QZHttpFailure(QZInt64 code, QZInt64 systemNumber = 0)
{
    return {QZFamily::Http, code, systemNumber};
}
inline QZFailure QZJsonFailure(QZInt64 code) { return {QZFamily::Json, code}; }

/// One frame of an exception's traces. QZRaise and QZPassOn open it.
class QZFrame
{
public:
    /// Opens a frame in the exception. A null exception takes no frame.
    QZFrame(QZException* exception, const QZWChar* className, const QZWChar* method);
    /// No frame.
    QZFrame() = default;

    /// Adds a parameter: the name of its type and its value. A null text reads "<NULL>"; a `const void*` is a
    /// raw string block.
    void Argument(const QZWChar* type, const char* value);
    void Argument(const QZWChar* type, const QZWChar* value);
    void Argument(const QZWChar* type, QZString* value);
    void Argument(const QZWChar* type, const void* value);
    void Argument(const QZWChar* type, QZInt64 value);
    void Argument(const QZWChar* type, int value);
    void Argument(const QZWChar* type, double value);
    /// The value as the hexadecimal text of `size` bytes.
    void Argument(const QZWChar* type, const void* bytes, QZInt64 size);

private:
    QZException* m_exception = nullptr;
};

/// An exception that is about to be thrown.
class QZRaise
{
public:
    /// Makes a QZException with one frame.
    QZRaise(QZInt64 code, const QZWChar* className, const QZWChar* method);
    /// Makes an exception of any class, with one frame.
    QZRaise(const QZFailure& failure, const QZWChar* className, const QZWChar* method);
    /// Makes an exception without a frame.
    explicit QZRaise(const QZFailure& failure);
    /// Hands the exception over, so that a function can return it.
    QZRaise(QZRaise&& other) noexcept;
    /// Recycles an exception that was not thrown.
    ~QZRaise();
    QZRaise(const QZRaise&) = delete;
    QZRaise& operator=(const QZRaise&) = delete;

    /// Adds a parameter to the frame; see QZFrame::Argument.
    template <typename V>
    QZRaise& Argument(const QZWChar* type, V value)
    {
        m_frame.Argument(type, value);
        return *this;
    }
    QZRaise& Argument(const QZWChar* type, const void* bytes, QZInt64 size)
    {
        m_frame.Argument(type, bytes, size);
        return *this;
    }

    /// Throws the exception as a pointer to its own class: QZIOException* for QZFamily::IO.
    [[noreturn]] void Throw();

private:
    QZFamily m_family;
    QZException* m_exception;
    QZFrame m_frame;
};

/// Adds a frame to the exception that the current handler caught. The handler passes it on with `throw;`,
/// which keeps the static type. An exception that is no QZException gets no frame. Only for use within a
/// handler.
class QZPassOn
{
public:
    QZPassOn(const QZWChar* className, const QZWChar* method);

    /// Adds a parameter to the frame; see QZFrame::Argument.
    template <typename V>
    QZPassOn& Argument(const QZWChar* type, V value)
    {
        m_frame.Argument(type, value);
        return *this;
    }
    QZPassOn& Argument(const QZWChar* type, const void* bytes, QZInt64 size)
    {
        m_frame.Argument(type, bytes, size);
        return *this;
    }

private:
    QZFrame m_frame;
};

#endif
