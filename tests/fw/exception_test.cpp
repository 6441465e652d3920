#include "fw/fw_exception.h"

#include <memory>

#include "fw/fw_library.h"
#include "fw/fw_report.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/internal/fw_trace.h"
#include "fw/without_memory.h"
#include "support/qz_test.h"
#include "sys/internal/sys_error.h"

namespace
{
/// Recycles its exception at the end of a test.
template <typename E>
class Held
{
public:
    explicit Held(E* exception) : m_exception(exception) {}
    ~Held()
    {
        QZException* base = m_exception;
        QZExceptionFactory::Recycle(&base);
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    E* operator->() const { return m_exception; }
    E* Get() const { return m_exception; }

private:
    E* m_exception;
};
template <typename E>
Held(E*) -> Held<E>;

std::string MessageOf(QZException* exception)
{
    std::string text = qztest::Utf8(exception->GetMsg());
    QZExceptionFactory::Recycle(&exception);
    return text;
}

using F = QZExceptionFactory;

TEST(Exception, MessageOfACodeAloneStartsWithABlank)
{
    Held e(F::CreateException(256));
    EXPECT_EQ(e->GetCode(), 256);
    EXPECT_QZ_TEXT(e->GetMsg(), " ArgumentOutOfRange");
}

TEST(Exception, TextAndCode)
{
    Held e(F::CreateException(QZ_W("Bad"), 1792));
    EXPECT_EQ(e->GetCode(), 1792);
    EXPECT_QZ_TEXT(e->GetMsg(), "Bad NullPointer");
}

TEST(Exception, EveryCreateFunctionOfTheFactory)
{
    QZString text(QZ_W("Told"));
    EXPECT_EQ(MessageOf(F::CreateException()), "");
    EXPECT_EQ(MessageOf(F::CreateException("narrow")), "narrow");
    EXPECT_EQ(MessageOf(F::CreateException("narrow", 0x600)), "narrow CodingError");
    EXPECT_EQ(MessageOf(F::CreateException(QZ_W("wide"))), "wide");
    EXPECT_EQ(MessageOf(F::CreateException(&text)), "Told");
    EXPECT_EQ(MessageOf(F::CreateException(&text, 0x2100)), "Told The operation has time out.");
    EXPECT_EQ(MessageOf(F::CreateIOException(0x1000)), " File Not Found");
    EXPECT_EQ(MessageOf(F::CreateIOException(QZ_W("a.txt"), 0x300)), "a.txt Can Not Open File");
    EXPECT_EQ(MessageOf(F::CreateTaskException(256)), " TaskSchedulerUnexpectedStatus");
    EXPECT_EQ(MessageOf(F::CreateTaskException(512)), " unknown error");
    EXPECT_EQ(MessageOf(F::CreateDatabaseException()), "");
    EXPECT_EQ(MessageOf(F::CreateDatabaseException(0x3030000)), " BadStruct");
    EXPECT_EQ(MessageOf(F::CreateSocketException(0x100)), " socket close");
    EXPECT_EQ(MessageOf(F::CreateHttpException(0x221)), " Host name not resolved");
    EXPECT_EQ(MessageOf(F::CreateHttpException("GET", 0x224)), "GET Unknown Method");
    EXPECT_EQ(MessageOf(F::CreateHttpException(QZ_W("GET"), 0x224)), "GET Unknown Method");
    EXPECT_EQ(MessageOf(F::CreateHttpException(&text)), "Told");
    EXPECT_EQ(MessageOf(F::CreateJsonException()), "");
    EXPECT_EQ(MessageOf(F::CreateJsonException(0x300)), " UnknwonDataType");
}

TEST(Exception, SystemErrorTextFollowsAfterABlank)
{
    // System error 2 is "file not found" on both platforms.
    std::string message = MessageOf(F::CreateException(0x10, 2));
    EXPECT_EQ(message.rfind(" SystemError ", 0), 0u) << message;
    EXPECT_GT(message.size(), 20u);
    std::string io = MessageOf(F::CreateIOException(QZ_W("a"), 0x1000, 2));
    EXPECT_EQ(io.rfind("a File Not Found ", 0), 0u) << io;
    std::string socket = MessageOf(F::CreateSocketException(0x700, 2));
    EXPECT_EQ(socket.rfind(" socket error on operation ", 0), 0u) << socket;
    std::string http = MessageOf(F::CreateHttpException(0x200, 2));
    EXPECT_EQ(http.rfind(" Time out ", 0), 0u) << http;
}

TEST(Exception, TheSystemsNumberCanBeAskedFor)
{
    QZException* exception = QZExceptionFactory::CreateIOException(QZIOExceptionCode::WriteFailed, 28);
    EXPECT_EQ(exception->GetSystemError(), 28);
    exception->Set(QZ_W("text"), 256, 0);
    EXPECT_EQ(exception->GetSystemError(), 0);
    exception->Set(QZ_W("text"), 256, 5);
    EXPECT_EQ(exception->GetSystemError(), 5);
    exception->Clear();
    EXPECT_EQ(exception->GetSystemError(), 0);
    QZExceptionFactory::Recycle(&exception);
    exception = QZExceptionFactory::CreateException(256);
    EXPECT_EQ(exception->GetSystemError(), 0);
    QZExceptionFactory::Recycle(&exception);
}

TEST(Exception, UnknownSystemErrorReadsFormatMessageError)
{
    std::string message = MessageOf(F::CreateException(0x10, 0x7FFF1234));
    EXPECT_EQ(message.rfind(" SystemError FormatMessage Error: ", 0), 0u) << message;
}

TEST(Exception, GenericTexts)
{
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0x10), "SystemError");
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0x200), "StructuralFailure");
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0x400), "MemoryInaccessible");
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0x500), "ObjectIsLocked");
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0x800), "KeyIsBad");
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0x900), "KeyIsExists");
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0x1100), "OutOfMemory");
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0x1300), "WrongFormat");
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0x1400), "InitFailed");
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0x1700), "UnknownType");
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0x1800), "OperationFailed");
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0x1900), "ObjectWasNotFound");
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0x2000), "Invalid Argument");
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0x1200), "unknown error");
    EXPECT_QZ_TEXT(QZException::ErrorCodeToMessage(0), "unknown error");
}

TEST(Exception, IoTextsFallBackToTheGenericOnes)
{
    EXPECT_EQ(MessageOf(F::CreateIOException(4608)), " unknown error");
    EXPECT_EQ(MessageOf(F::CreateIOException(4352)), " OutOfMemory");
    EXPECT_EQ(MessageOf(F::CreateIOException(0x1300)), " Path Is Too Long");
    EXPECT_EQ(MessageOf(F::CreateIOException(0x1500)), " Device Open Failed");
    EXPECT_EQ(MessageOf(F::CreateIOException(0x1600)), " Operation Failed");
    EXPECT_EQ(MessageOf(F::CreateIOException(0x1700)), " Operation Failed");
    EXPECT_EQ(MessageOf(F::CreateIOException(0x1800)), " Operation Timeout");
    EXPECT_EQ(MessageOf(F::CreateIOException(0x1900)), " File Exists Create Failed");
    EXPECT_EQ(MessageOf(F::CreateIOException(0x700)), " NullPointer");
}

TEST(Exception, DomainTexts)
{
    EXPECT_QZ_TEXT(QZDatabaseException::ErrorCodeToMessage(0x100), "ArgumentOutOfRange");
    EXPECT_QZ_TEXT(QZDatabaseException::ErrorCodeToMessage(0x200), "UnknownNodeType");
    EXPECT_QZ_TEXT(QZDatabaseException::ErrorCodeToMessage(0x300), "UnknownStringEncoding");
    EXPECT_QZ_TEXT(QZDatabaseException::ErrorCodeToMessage(0x400), "DataTypeException");
    EXPECT_QZ_TEXT(QZDatabaseException::ErrorCodeToMessage(0x500), "OperationFailed");
    EXPECT_QZ_TEXT(QZDatabaseException::ErrorCodeToMessage(0x600), "CreateFailedTableAlreadyExists");
    EXPECT_QZ_TEXT(QZDatabaseException::ErrorCodeToMessage(1), "Unknown Exception");
    EXPECT_QZ_TEXT(QZSocketException::ErrorCodeToMessage(0x200), "socket time out");
    EXPECT_QZ_TEXT(QZSocketException::ErrorCodeToMessage(0x500), "socket error invalid socket");
    EXPECT_QZ_TEXT(QZSocketException::ErrorCodeToMessage(0x510), "socket error not connect");
    EXPECT_QZ_TEXT(QZSocketException::ErrorCodeToMessage(0x600), "socket error connect failed");
    EXPECT_QZ_TEXT(QZSocketException::ErrorCodeToMessage(0x610), "socket error connect refused");
    EXPECT_QZ_TEXT(QZSocketException::ErrorCodeToMessage(0x620), "socket error connect reset");
    EXPECT_QZ_TEXT(QZSocketException::ErrorCodeToMessage(0x630), "socket connection aborted");
    EXPECT_QZ_TEXT(QZSocketException::ErrorCodeToMessage(0x800), "socket bind failed");
    EXPECT_QZ_TEXT(QZSocketException::ErrorCodeToMessage(0x1000), "socket error connection close");
    EXPECT_QZ_TEXT(QZSocketException::ErrorCodeToMessage(0x1200), "socket invalid protocol");
    // The system error has no text of its own.
    EXPECT_QZ_TEXT(QZSocketException::ErrorCodeToMessage(0x1100), "unknown socket error");
    EXPECT_QZ_TEXT(QZJsonException::ErrorCodeToMessage(0x100), "ArgumentOutOfRange");
    EXPECT_QZ_TEXT(QZJsonException::ErrorCodeToMessage(0x200), "JsonFormatException");
    EXPECT_QZ_TEXT(QZJsonException::ErrorCodeToMessage(0x400), "UnexpectedSymbols");
    EXPECT_QZ_TEXT(QZJsonException::ErrorCodeToMessage(9), "Unknown Exception");
    EXPECT_EQ(MessageOf(F::CreateHttpException(0x100)), " Bad chunk size");
    EXPECT_EQ(MessageOf(F::CreateHttpException(0x220)), " Url Error");
    EXPECT_EQ(MessageOf(F::CreateHttpException(0x222)), " Unconnected");
    EXPECT_EQ(MessageOf(F::CreateHttpException(0x223)), " Request Header Fields Too Large");
    EXPECT_EQ(MessageOf(F::CreateHttpException(0x310)), " Bad response data");
    EXPECT_EQ(MessageOf(F::CreateHttpException(0x320)), " Bad request data");
    EXPECT_EQ(MessageOf(F::CreateHttpException(0x999)), " Unknown error");
}

TEST(Exception, Types)
{
    auto typeOf = [](QZException* e) {
        QZInt64 type = e->GetType();
        F::Recycle(&e);
        return type;
    };
    EXPECT_EQ(typeOf(F::CreateException()), 0x81B0000);
    EXPECT_EQ(typeOf(F::CreateIOException(1)), 0x81B1000);
    EXPECT_EQ(typeOf(F::CreateTaskException(1)), 0x81FFF20);
    // The database class has no type of its own.
    EXPECT_EQ(typeOf(F::CreateDatabaseException(1)), QZException::Type);
    EXPECT_EQ(typeOf(F::CreateSocketException(1)), 0x8310005);
    EXPECT_EQ(typeOf(F::CreateHttpException(1)), 0x8310012);
    EXPECT_EQ(typeOf(F::CreateJsonException(1)), 0x8310027);
    EXPECT_EQ(typeOf(new QZSerialException(210)), 0x931003B);
}

TEST(Exception, SetWithCodeZeroKeepsTheOldCode)
{
    Held e(F::CreateException(QZ_W("first"), 256));
    e->Set(QZ_W("second"), 0, 0);
    EXPECT_QZ_TEXT(e->GetMsg(), "second");
    EXPECT_EQ(e->GetCode(), 256);
    e->Clear();
    EXPECT_EQ(e->GetCode(), 0);
    EXPECT_QZ_TEXT(e->GetMsg(), "");
}

TEST(Exception, SetOfADomainClassKeepsTheTraces)
{
    Held generic(F::CreateException());
    generic->ArgumentTraceAppend(QZ_W("x"));
    generic->Set(nullptr, 0, 0);
    EXPECT_QZ_TEXT(generic->GetArgumentTrace(), ")");

    Held domain(F::CreateIOException(0x300));
    domain->StackTraceBegin(QZ_W("QZFile"), QZ_W("Open"));
    domain->Set(nullptr, 0x1000, 0);
    EXPECT_QZ_TEXT(domain->GetStackTrace(), "QZFile::Open()");
    EXPECT_QZ_TEXT(domain->GetMsg(), " File Not Found");
}

TEST(Exception, EmptyTraceIsAClosingParenthesis)
{
    Held e(F::CreateException());
    EXPECT_QZ_TEXT(e->GetStackTrace(), ")");
    EXPECT_QZ_TEXT(e->GetStackTrace(), ")");
    EXPECT_QZ_TEXT(e->GetArgumentTrace(), ")");
}

TEST(Exception, TracesNameClassMethodAndParameters)
{
    const unsigned char find[] = {1, 2};
    const unsigned char with[] = {255};
    Held e(QZTrace(F::CreateException(256), QZ_W("QZData"), QZ_W("Replace"))
               .Argument(QZ_W("QZData*"), find, 2)
               .Argument(QZ_W("QZData*"), with, 1)
               .Exception());
    EXPECT_QZ_TEXT(e->GetStackTrace(), "QZData::Replace(QZData*, QZData*)");
    EXPECT_QZ_TEXT(e->GetArgumentTrace(), "QZData::Replace(<HEX>0102, <HEX>FF)");
}

TEST(Exception, EachFrameHasItsOwnLine)
{
    Held e(QZTrace(F::CreateException(256), QZ_W("A"), QZ_W("Inner"))
               .Argument(QZ_W("QZInt64"), QZInt64{-5})
               .Exception());
    QZTrace(e.Get(), QZ_W("B"), QZ_W("Outer"));
    QZTrace(e.Get(), QZ_W("C"), QZ_W("Outermost")).Argument(QZ_W("QZChar*"), "t");
    EXPECT_QZ_TEXT(e->GetStackTrace(), "A::Inner(QZInt64)\r\nB::Outer()\r\nC::Outermost(QZChar*)");
    EXPECT_QZ_TEXT(e->GetArgumentTrace(), "A::Inner(-5)\r\nB::Outer()\r\nC::Outermost(t)");
}

TEST(Exception, ArgumentValuesOfEveryKind)
{
    Held e(F::CreateException());
    e->StackTraceBegin(QZ_W("K"), QZ_W("F"));
    QZString text(QZ_W("object"));
    e->ArgumentTraceAppend("narrow");
    e->ArgumentTraceAppend(QZ_W("wide"));
    e->ArgumentTraceAppend(&text);
    e->ArgumentTraceAppend(static_cast<const void*>(text.GetStructPointer()));
    e->ArgumentTraceAppend(QZInt64{1234567890123});
    e->ArgumentTraceAppend(-7);
    e->ArgumentTraceAppend(0.25);
    e->ArgumentTraceAppend("\x0A\xbc", 2);
    EXPECT_QZ_TEXT(e->GetArgumentTrace(),
                   "K::F(narrow, wide, object, object, 1234567890123, -7, 0.25, <HEX>0ABC)");
}

TEST(Exception, BytesAreShownInFullLength)
{
    const std::string bytes(1000, '\xA5');
    for (const QZInt64 size : {0, 1, 127, 128, 129, 256, 1000, -1})
    {
        Held e(F::CreateException());
        e->StackTraceBegin(QZ_W("K"), QZ_W("F"));
        e->ArgumentTraceAppend(bytes.data(), size);
        std::string digits;
        for (QZInt64 i = 0; i < size; ++i) digits += "A5";
        EXPECT_QZ_TEXT(e->GetArgumentTrace(), "K::F(<HEX>" + digits + ")");
    }
}

TEST(Exception, NullTextsHaveASeparatorAndNullBytesHaveNone)
{
    Held e(F::CreateException());
    e->StackTraceBegin(QZ_W("K"), QZ_W("F"));
    e->ArgumentTraceAppend(static_cast<const char*>(nullptr));
    e->ArgumentTraceAppend(static_cast<const char*>(nullptr));
    e->ArgumentTraceAppend(static_cast<const QZWChar*>(nullptr));
    e->ArgumentTraceAppend(static_cast<QZString*>(nullptr));
    e->ArgumentTraceAppend(static_cast<const void*>(nullptr), 5);
    EXPECT_QZ_TEXT(e->GetArgumentTrace(), "K::F(<NULL>, <NULL>, <NULL>, <NULL><NULL>)");
}

TEST(Exception, DisabledTracingLeavesBothTracesEmpty)
{
    QZException::IsStackTrace = 0;
    Held e(QZTrace(F::CreateException(256), QZ_W("A"), QZ_W("B")).Argument(QZ_W("int"), 1).Exception());
    QZException::IsStackTrace = 1;
    EXPECT_QZ_TEXT(e->GetStackTrace(), ")");
    EXPECT_QZ_TEXT(e->GetArgumentTrace(), ")");
}

TEST(Exception, ThrownPointerIsCaughtAsItsOwnClass)
{
    bool caught = false;
    try
    {
        throw QZTrace(F::CreateSocketException(0x100), QZ_W("S"), QZ_W("F")).Exception();
    }
    catch (QZSocketException* e)
    {
        caught = true;
        F::Recycle(&e);
        EXPECT_EQ(e, nullptr);
    }
    EXPECT_TRUE(caught);
}

TEST(Exception, RecycleClearsTheVariableAndAssertsNotNull)
{
    static int asserts;
    asserts = 0;
    QZLibSetFunctionAssert([](QZBool condition) { asserts += condition ? 0 : 1; });
    QZException* e = F::CreateException(16);
    F::Recycle(&e);
    EXPECT_EQ(e, nullptr);
    F::Recycle(&e);
    EXPECT_EQ(asserts, 1);
    QZJsonException* json = F::CreateJsonException(0x200);
    F::Recycle(&json);
    EXPECT_EQ(json, nullptr);
}

class UnregisteredException : public QZJsonException
{
public:
    QZInt64 GetType() override { return 0x7654321; }
};

TEST(Exception, RecycleOfAnUnregisteredTypeThrowsUnknownType)
{
    QZException* unregistered = new UnregisteredException();
    QZException* kept = unregistered;
    EXPECT_QZ_THROW(F::Recycle(&kept), 5888);
    EXPECT_EQ(kept, unregistered);
    static int recycled;
    recycled = 0;
    auto count = [](QZObject* object) {
        ++recycled;
        delete object;
    };
    F::RegisterRecycleFunction(0x7654321, count);
    // A second registration of a type is ignored.
    F::RegisterRecycleFunction(0x7654321, [](QZObject*) { recycled += 100; });
    F::Recycle(&kept);
    EXPECT_EQ(recycled, 1);
    EXPECT_EQ(kept, nullptr);
}

TEST(Exception, RecycledExceptionsAreDeletedAndNotCached)
{
    QZException* e = F::CreateException(256);
    QZUInt64 id = e->GetObjectID();
    F::Recycle(&e);
    e = F::CreateException(256);
    EXPECT_NE(e->GetObjectID(), id);
    F::Recycle(&e);
}

TEST(Exception, StringsOfAnExceptionAreLocked)
{
    Held e(F::CreateException(QZ_W("mine"), 0));
    EXPECT_EQ(e->GetMsg()->IsDisposable(), 0);
    EXPECT_EQ(e->GetStackTrace()->IsDisposable(), 0);
    EXPECT_EQ(e->GetArgumentTrace()->IsDisposable(), 0);
}

TEST(Exception, SerialStatusTexts)
{
    const std::pair<int, const char*> kTexts[] = {{0, "OK"},
                                                  {210, "Verify failed"},
                                                  {224, "Init Failed"},
                                                  {225, "InvalidKey"},
                                                  {226, "InvalidStstus"},
                                                  {227, "InvalidCommandInDataBufferRead"},
                                                  {228, "DataBufferNotSupport"},
                                                  {241, "Param out of range"},
                                                  {242, "Verify failed inside"},
                                                  {243, "IC Exception"},
                                                  {244, "FailedFromOperationEEPROM"},
                                                  {250, "ConnectException"},
                                                  {251, "DataUnavailable"},
                                                  {99, "Unknown error"}};
    for (const auto& [code, text] : kTexts)
    {
        QZException* e = new QZSerialException(static_cast<QZByte>(code));
        EXPECT_EQ(e->GetCode(), code);
        EXPECT_QZ_TEXT(e->GetMsg(), text);
        F::Recycle(&e);
        EXPECT_EQ(e, nullptr);
    }
}

TEST(Exception, JsonExceptionsFromTheConstructorHaveNoLeadingBlank)
{
    QZJsonException byCode(0x400);
    EXPECT_QZ_TEXT(byCode.GetMsg(), "UnexpectedSymbols");
    EXPECT_EQ(byCode.GetCode(), 0x400);
    QZJsonException empty;
    EXPECT_QZ_TEXT(empty.GetMsg(), "");
}

TEST(Exception, CreateWithTextCodeAndSystemError)
{
    QZString text(QZ_W("Told"));
    EXPECT_EQ(MessageOf(F::CreateException(static_cast<const char*>(nullptr), 0x600)), " CodingError");
    EXPECT_EQ(MessageOf(F::CreateException(static_cast<const QZWChar*>(nullptr))), "");
    EXPECT_EQ(MessageOf(F::CreateException(static_cast<QZString*>(nullptr), 0x700)), " NullPointer");
    EXPECT_EQ(MessageOf(F::CreateException(&text, 0)), "Told");
    EXPECT_EQ(MessageOf(F::CreateException(QZInt64{0})), "");
    EXPECT_EQ(MessageOf(F::CreateException(9)), " unknown error");
    EXPECT_EQ(MessageOf(F::CreateException("narrow", -1)), "narrow unknown error");
    // Without a code the message is only the system's text.
    std::string system = MessageOf(F::CreateException(QZInt64{0}, 2));
    ASSERT_FALSE(system.empty());
    EXPECT_EQ(MessageOf(F::CreateException(0x10, 2)), " SystemError" + system);
    EXPECT_EQ(MessageOf(F::CreateIOException(0x300, 2)), " Can Not Open File" + system);
    EXPECT_EQ(MessageOf(F::CreateIOException(nullptr, 0x300, 2)), " Can Not Open File" + system);
}

TEST(Exception, CodesWithoutTextKeepTheirValues)
{
    EXPECT_EQ(QZIOExceptionCode::WriteFailed, 0x1100);
    EXPECT_EQ(QZIOExceptionCode::ReadFailed, 0x1200);
    EXPECT_EQ(QZSocketExceptionCode::SystemError, 0x1100);
}

TEST(Exception, GetLastErrorReturnsTheSystemsLastError)
{
    os::SetLastError(5);
    EXPECT_EQ(QZException::GetLastError(), 5);
}

TEST(Exception, RecycleOfAnUnregisteredTypeAddsItsFrame)
{
    class Other : public QZJsonException
    {
    public:
        QZInt64 GetType() override { return 0x7654322; }
    };
    Other* other = new Other();
    QZException* base = other;
    qztest::Thrown thrown = QZ_TEST_CATCH(F::Recycle(&base));
    EXPECT_EQ(thrown.message, " UnknownType");
    EXPECT_EQ(thrown.stackTrace, "QZExceptionFactory::Recycle(QZException**)");
    EXPECT_EQ(base, other);
    delete other;
}

TEST(Exception, FailedTextConversionLeaksNoException)
{
    const QZInt64 idle = [] {
        QZStringFactory::Collect(0);
        return QZStringFactory::GetMemorySize();
    }();
    EXPECT_TRUE(qztest::WithoutMemory([] { F::CreateException("narrow"); }).thrown);
    QZStringFactory::Collect(0);
    EXPECT_EQ(QZStringFactory::GetMemorySize(), idle);
    QZLastError = 0;
}

TEST(Exception, ClearEmptiesAllThreeTexts)
{
    Held e(QZTrace(F::CreateException(QZ_W("m"), 256), QZ_W("A"), QZ_W("B"))
               .Argument(QZ_W("int"), 1)
               .Exception());
    e->Clear();
    EXPECT_QZ_TEXT(e->GetMsg(), "");
    EXPECT_EQ(e->GetCode(), 0);
    EXPECT_QZ_TEXT(e->GetStackTrace(), ")");
    EXPECT_QZ_TEXT(e->GetArgumentTrace(), ")");
}

TEST(Exception, FrameAfterAReadTraceStartsANewLine)
{
    Held e(F::CreateException(256));
    EXPECT_QZ_TEXT(e->GetStackTrace(), ")");
    QZTrace(e.Get(), QZ_W("A"), QZ_W("B"));
    EXPECT_QZ_TEXT(e->GetStackTrace(), ")\r\nA::B()");
    EXPECT_QZ_TEXT(e->GetArgumentTrace(), "A::B()");
    // A value that ends with an opening parenthesis gets no separator after it.
    Held open(F::CreateException());
    open->StackTraceBegin(QZ_W("A"), QZ_W("B"));
    open->ArgumentTraceAppend("(");
    open->ArgumentTraceAppend(1);
    EXPECT_QZ_TEXT(open->GetArgumentTrace(), "A::B((1)");
}

TEST(Report, OperationsDoNothingUntilAHostOverridesThem)
{
    class Host : public QZErrorReport
    {
    public:
        int count = 0;
        void Report(QZException*) override { ++count; }
    };
    QZErrorReport plain;
    plain.Report(QZ_W("text"));
    plain.Report("text");
    plain.Report(static_cast<QZString*>(nullptr));
    plain.Report(static_cast<QZException*>(nullptr));
    EXPECT_EQ(plain.GetType(), 0x81FFFFB);
    QZReport base;
    EXPECT_EQ(base.GetType(), 0x81FFFFA);
    Host host;
    static_cast<QZErrorReport&>(host).Report(static_cast<QZException*>(nullptr));
    EXPECT_EQ(host.count, 1);
}
}  // namespace
