#include "fw/fw_exception_factory.h"

#include <initializer_list>

#include "fw/fw_collection.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_collect.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_start.h"

QZCollection* QZExceptionFactory::m_types = nullptr;
QZCollection* QZExceptionFactory::m_functions = nullptr;
QZObjectCache* QZExceptionFactory::m_exceptionCache = nullptr;
QZObjectCache* QZExceptionFactory::m_ioExceptionCache = nullptr;
QZObjectCache* QZExceptionFactory::m_taskExceptionCache = nullptr;
QZObjectCache* QZExceptionFactory::m_databaseExceptionCache = nullptr;
QZObjectCache* QZExceptionFactory::m_socketExceptionCache = nullptr;
QZObjectCache* QZExceptionFactory::m_httpExceptionCache = nullptr;
QZObjectCache* QZExceptionFactory::m_jsonExceptionCache = nullptr;

namespace
{
[[maybe_unused]] const bool kCollected =
    QZCollectInstall(QZCollector::Exception, QZExceptionFactory::Collect);

bool g_initialised = false;

/// Works without a cache too: a failure before the factory has started, such as that of the socket layer,
/// needs an exception.
template <typename E, typename Make>
E* Take(QZObjectCache* cache, Make make)
{
    return static_cast<E*>(cache ? cache->Out() : make());
}

template <typename E>
E* WithText(E* exception, const QZWChar* message, QZInt64 code, QZInt64 lastError)
{
    exception->Set(message, static_cast<QZUInt64>(code), lastError);
    return exception;
}

template <typename E>
E* WithText(E* exception, const char* message, QZInt64 code, QZInt64 lastError)
{
    try
    {
        QZString text(message);
        return WithText(exception, text.GetPointer(), code, lastError);
    }
    catch (...)
    {
        QZException* unused = exception;
        QZExceptionFactory::Recycle(&unused);
        throw;
    }
}

template <typename E>
E* WithText(E* exception, QZString* message, QZInt64 code, QZInt64 lastError)
{
    const QZWChar* text = message ? message->GetPointer() : nullptr;
    return WithText(exception, text, code, lastError);
}

constexpr const QZWChar* kNoText = nullptr;

template <typename E>
void RecycleAs(E** exception)
{
    QZException* base = *exception;
    QZExceptionFactory::Recycle(&base);
    *exception = static_cast<E*>(base);
}
}  // namespace

QZException* QZExceptionFactory::CreateException()
{
    return Take<QZException>(m_exceptionCache, &QZException::NewObject);
}

QZException* QZExceptionFactory::CreateException(const char* message)
{
    return WithText(CreateException(), message, 0, 0);
}

QZException* QZExceptionFactory::CreateException(const char* message, QZInt64 code)
{
    return WithText(CreateException(), message, code, 0);
}

QZException* QZExceptionFactory::CreateException(const QZWChar* message)
{
    return WithText(CreateException(), message, 0, 0);
}

QZException* QZExceptionFactory::CreateException(const QZWChar* message, QZInt64 code)
{
    return WithText(CreateException(), message, code, 0);
}

QZException* QZExceptionFactory::CreateException(QZInt64 code)
{
    return WithText(CreateException(), kNoText, code, 0);
}

QZException* QZExceptionFactory::CreateException(QZInt64 code, QZInt64 lastError)
{
    return WithText(CreateException(), kNoText, code, lastError);
}

QZException* QZExceptionFactory::CreateException(QZString* message)
{
    return WithText(CreateException(), message, 0, 0);
}

QZException* QZExceptionFactory::CreateException(QZString* message, QZInt64 code)
{
    return WithText(CreateException(), message, code, 0);
}

QZIOException* QZExceptionFactory::CreateIOException(const QZWChar* message, QZInt64 code, QZInt64 lastError)
{
    return WithText(Take<QZIOException>(m_ioExceptionCache, &QZIOException::NewObject), message, code,
                    lastError);
}

QZIOException* QZExceptionFactory::CreateIOException(QZInt64 code)
{
    return CreateIOException(kNoText, code, 0);
}

QZIOException* QZExceptionFactory::CreateIOException(QZInt64 code, QZInt64 lastError)
{
    return CreateIOException(kNoText, code, lastError);
}

QZIOException* QZExceptionFactory::CreateIOException(const QZWChar* message, QZInt64 code)
{
    return CreateIOException(message, code, 0);
}

QZTaskException* QZExceptionFactory::CreateTaskException(QZInt64 code)
{
    return WithText(Take<QZTaskException>(m_taskExceptionCache, &QZTaskException::NewObject), kNoText, code,
                    0);
}

QZDatabaseException* QZExceptionFactory::CreateDatabaseException() { return CreateDatabaseException(0); }

QZDatabaseException* QZExceptionFactory::CreateDatabaseException(QZInt64 code)
{
    return WithText(Take<QZDatabaseException>(m_databaseExceptionCache, &QZDatabaseException::NewObject),
                    kNoText, code, 0);
}

QZSocketException* QZExceptionFactory::CreateSocketException(QZInt64 code)
{
    return CreateSocketException(code, 0);
}

QZSocketException* QZExceptionFactory::CreateSocketException(QZInt64 code, QZInt64 lastError)
{
    return WithText(Take<QZSocketException>(m_socketExceptionCache, &QZSocketException::NewObject), kNoText,
                    code, lastError);
}

QZHttpException* QZExceptionFactory::CreateHttpException(QZInt64 code)
{
    return CreateHttpException(code, 0);
}

QZHttpException* QZExceptionFactory::CreateHttpException(const char* message, QZInt64 code)
{
    return WithText(Take<QZHttpException>(m_httpExceptionCache, &QZHttpException::NewObject), message, code,
                    0);
}

QZHttpException* QZExceptionFactory::CreateHttpException(const QZWChar* message, QZInt64 code)
{
    return WithText(Take<QZHttpException>(m_httpExceptionCache, &QZHttpException::NewObject), message, code,
                    0);
}

QZHttpException* QZExceptionFactory::CreateHttpException(QZString* message)
{
    return WithText(Take<QZHttpException>(m_httpExceptionCache, &QZHttpException::NewObject), message, 0, 0);
}

QZHttpException* QZExceptionFactory::CreateHttpException(QZInt64 code, QZInt64 lastError)
{
    return WithText(Take<QZHttpException>(m_httpExceptionCache, &QZHttpException::NewObject), kNoText, code,
                    lastError);
}

QZJsonException* QZExceptionFactory::CreateJsonException() { return CreateJsonException(0); }

QZJsonException* QZExceptionFactory::CreateJsonException(QZInt64 code)
{
    return WithText(Take<QZJsonException>(m_jsonExceptionCache, &QZJsonException::NewObject), kNoText, code,
                    0);
}

void QZExceptionFactory::Recycle(QZException** exception)
{
    if (*exception == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    if (m_types == nullptr)
    {
        // The exception of a start that failed before the registry existed.
        delete *exception;
        *exception = nullptr;
        return;
    }
    QZInt64 type = (*exception)->GetType();
    QZInt64 count = m_types->Count();
    for (QZInt64 i = 0; i < count; ++i)
    {
        if (static_cast<QZInt64>(m_types->GetElement(i)) != type) continue;
        auto function =
            reinterpret_cast<void (*)(QZObject*)>(static_cast<std::uintptr_t>(m_functions->GetElement(i)));
        function(*exception);
        *exception = nullptr;
        return;
    }
    QZRaise(QZExceptionCode::UnknownType, QZ_W("QZExceptionFactory"), QZ_W("Recycle"))
        .Argument(QZ_W("QZException**"), type)
        .Throw();
}

void QZExceptionFactory::Recycle(QZIOException** exception) { RecycleAs(exception); }
void QZExceptionFactory::Recycle(QZTaskException** exception) { RecycleAs(exception); }
void QZExceptionFactory::Recycle(QZDatabaseException** exception) { RecycleAs(exception); }
void QZExceptionFactory::Recycle(QZSocketException** exception) { RecycleAs(exception); }
void QZExceptionFactory::Recycle(QZHttpException** exception) { RecycleAs(exception); }
void QZExceptionFactory::Recycle(QZJsonException** exception) { RecycleAs(exception); }

void QZExceptionFactory::RegisterRecycleFunction(QZInt64 type, void (*function)(QZObject* exception))
{
    if (m_types == nullptr || m_types->FindElement(static_cast<QZUInt64>(type)) >= 0) return;
    // The function is added first: a reader never finds a type without a function.
    m_functions->Push(static_cast<QZUInt64>(reinterpret_cast<std::uintptr_t>(function)));
    m_types->Push(static_cast<QZUInt64>(type));
}

void QZExceptionFactory::Collect(QZBool partial)
{
    if (!g_initialised) return;
    for (QZObjectCache* cache :
         {m_exceptionCache, m_ioExceptionCache, m_taskExceptionCache, m_databaseExceptionCache,
          m_socketExceptionCache, m_httpExceptionCache, m_jsonExceptionCache})
        cache->Collect(partial);
}

QZInt64 QZExceptionFactory::GetMemorySize()
{
    if (!g_initialised) return 0;
    QZInt64 sum = 0;
    for (QZObjectCache* cache :
         {m_exceptionCache, m_ioExceptionCache, m_taskExceptionCache, m_databaseExceptionCache,
          m_socketExceptionCache, m_httpExceptionCache, m_jsonExceptionCache})
        sum += cache->GetMemorySize();
    return sum;
}

void QZExceptionFactory::RegisterAll()
{
    RegisterRecycleFunction(QZException::Type, &QZException::DeleteObject);
    RegisterRecycleFunction(QZIOException::Type, &QZIOException::DeleteObject);
    RegisterRecycleFunction(QZTaskException::Type, &QZTaskException::DeleteObject);
    // The database class has QZException's type, so this registration is ignored. The virtual destructor
    // makes that correct.
    RegisterRecycleFunction(QZException::Type, &QZDatabaseException::DeleteObject);
    RegisterRecycleFunction(QZSocketException::Type, &QZSocketException::DeleteObject);
    RegisterRecycleFunction(QZHttpException::Type, &QZHttpException::DeleteObject);
    RegisterRecycleFunction(QZJsonException::Type, &QZJsonException::DeleteObject);
}

struct QZExceptionFactoryStart
{
    static void Init();
    static void End();
};

void QZExceptionFactoryStart::Init()
{
    if (g_initialised) return;
    using F = QZExceptionFactory;
    F::m_types = new QZCollection();
    F::m_functions = new QZCollection();
    F::m_exceptionCache = new QZExceptionCache(-1, -1);
    F::m_ioExceptionCache = new QZIOExceptionCache(-1, -1);
    F::m_taskExceptionCache = new QZTaskExceptionCache(-1, -1);
    F::m_databaseExceptionCache = new QZDatabaseExceptionCache(-1, -1);
    F::m_socketExceptionCache = new QZSocketExceptionCache(-1, -1);
    F::m_httpExceptionCache = new QZHttpExceptionCache(-1, -1);
    F::m_jsonExceptionCache = new QZJsonExceptionCache(-1, -1);
    F::RegisterAll();
    g_initialised = true;
}

void QZExceptionFactoryInit() { QZExceptionFactoryStart::Init(); }

void QZExceptionFactoryStart::End()
{
    if (!g_initialised) return;
    using F = QZExceptionFactory;
    for (QZObjectCache** cache : {&F::m_exceptionCache, &F::m_ioExceptionCache, &F::m_taskExceptionCache,
                                  &F::m_databaseExceptionCache, &F::m_socketExceptionCache,
                                  &F::m_httpExceptionCache, &F::m_jsonExceptionCache})
        QZEndCache(cache);
    delete F::m_types;
    delete F::m_functions;
    F::m_types = nullptr;
    F::m_functions = nullptr;
    g_initialised = false;
}

void QZExceptionFactoryEnd() { QZExceptionFactoryStart::End(); }
