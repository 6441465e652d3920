#include <initializer_list>
#include <iterator>
#include <vector>

#include "fw/fw_exception.h"
#include "fw/fw_library.h"
#include "fw/fw_lock.h"
#include "fw/fw_string.h"
#include "fw/fw_string_factory.h"
#include "fw/fw_table.h"
#include "fw/internal/fw_collect.h"
#include "fw/internal/fw_number_text.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_scoped.h"
#include "fw/internal/fw_start.h"
#include "fw/internal/fw_status.h"
#include "net/internal/net_json_access.h"

QZCriticalSection* QZJsonFactory::m_section = nullptr;
QZObjectCache* QZJsonFactory::m_valueCache = nullptr;
QZObjectCache* QZJsonFactory::m_decimalCache = nullptr;
QZObjectCache* QZJsonFactory::m_boolCache = nullptr;
QZObjectCache* QZJsonFactory::m_objectCache = nullptr;
QZObjectCache* QZJsonFactory::m_nullCache = nullptr;
QZObjectCache* QZJsonFactory::m_stringCache = nullptr;
QZObjectCache* QZJsonFactory::m_collectionCache = nullptr;

namespace
{
[[maybe_unused]] const bool kCollected = QZCollectInstall(QZCollector::Json, QZJsonFactory::Collect);

/// Fills a new value. When that fails, the value goes back to its cache.
template <typename T, typename Fill>
T* Filled(T* value, Fill fill)
{
    try
    {
        fill(value);
    }
    catch (QZException*)
    {
        QZJsonFactory::Recycle(&value);
        throw;
    }
    return value;
}

/// Recycle for the single value classes.
template <typename T>
void RecycleAs(T** variable)
{
    QZJsonValue* value = *variable;
    QZJsonFactory::Recycle(&value);
    *variable = nullptr;
}

bool IsContainer(QZJsonValue* value)
{
    const QZInt64 type = value->GetType();
    return type == QZJsonObject::Type || type == QZJsonValueCollection::Type;
}

QZJsonObject* MakeStatus(const QZStatusFigure* figures, int count)
{
    QZJsonObject* status = QZJsonFactory::CreateObject();
    for (int i = 0; i < count; ++i)
    {
        QZJsonAccess::SetAttr(status, figures[i].Name,
                              QZJsonFactory::CreateDecimal(static_cast<double>(figures[i].Cache->Count())));
    }
    return status;
}

void RecycleStatus(QZJsonObject** status) { QZJsonFactory::Recycle(status); }

constexpr QZStatusForm kStatusForm = {MakeStatus, RecycleStatus};
[[maybe_unused]] const bool kStatusInstalled = QZStatusInstall(&kStatusForm);
}  // namespace

QZJsonValue* QZJsonFactory::CreateValue() { return QZTake<QZJsonValue>(m_valueCache); }

QZJsonDecimal* QZJsonFactory::CreateDecimal(double value)
{
    QZWChar digits[number::kBufferUnits];
    const QZInt64 count = number::WriteDouble(digits, value);
    return Filled(QZTake<QZJsonDecimal>(m_decimalCache), [&](QZJsonValue* decimal) {
        QZJsonAccess::SetText(decimal, {digits, static_cast<std::size_t>(count)});
    });
}

QZJsonBool* QZJsonFactory::CreateBool(QZBool value)
{
    return Filled(QZTake<QZJsonBool>(m_boolCache), [=](QZJsonBool* boolean) { boolean->Val(value); });
}

QZJsonString* QZJsonFactory::CreateString(const char* text)
{
    return Filled(QZTake<QZJsonString>(m_stringCache), [=](QZJsonValue* value) { value->Val()->Set(text); });
}

QZJsonString* QZJsonFactory::CreateString(const QZWChar* text)
{
    return Filled(QZTake<QZJsonString>(m_stringCache), [=](QZJsonValue* value) { value->Val()->Set(text); });
}

QZJsonString* QZJsonFactory::CreateString(QZString* text)
{
    return Filled(QZTake<QZJsonString>(m_stringCache), [=](QZJsonValue* value) { value->Val()->Set(text); });
}

QZJsonObject* QZJsonFactory::CreateObject() { return QZTake<QZJsonObject>(m_objectCache); }
QZJsonNull* QZJsonFactory::CreateNull() { return QZTake<QZJsonNull>(m_nullCache); }

QZJsonValueCollection* QZJsonFactory::CreateValueCollection()
{
    return QZTake<QZJsonValueCollection>(m_collectionCache);
}

QZJsonValue* QZJsonFactory::Clone(QZJsonValue* value)
{
    const QZScopedString text(SerializeObject(value));
    return DeserializeObject(text.Get());
}

void QZJsonFactory::Recycle(QZString** text) { QZStringFactory::Recycle(text); }

void QZJsonFactory::Recycle(QZDataTable** table)
{
    if (*table == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    delete *table;
    *table = nullptr;
}

QZObjectCache* QZJsonFactory::CacheOf(QZJsonValue* value)
{
    switch (value->GetType())
    {
        case QZJsonValue::Type: return m_valueCache;
        case QZJsonDecimal::Type: return m_decimalCache;
        case QZJsonBool::Type: return m_boolCache;
        case QZJsonObject::Type: return m_objectCache;
        case QZJsonNull::Type: return m_nullCache;
        case QZJsonString::Type: return m_stringCache;
        case QZJsonValueCollection::Type: return m_collectionCache;
        default: break;
    }
    QZRaise(QZExceptionCode::ArgumentOutOfRange, QZ_W("QZJsonFactory"), QZ_W("Recycle"))
        .Argument(QZ_W("QZJsonValue*"), value->GetType())
        .Throw();
}

void QZJsonFactory::GiveBack(QZJsonValue* value)
{
    QZObjectCache* cache = CacheOf(value);
    // The cache refuses a locked value, which keeps its text.
    if (value->IsDisposable()) QZJsonAccess::ClearText(value);
    QZObject* object = value;
    cache->In(&object);
}

void QZJsonFactory::Recycle(QZJsonValue** value)
{
    if (*value == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    if (!IsContainer(*value))
    {
        GiveBack(*value);
        *value = nullptr;
        return;
    }
    // Innermost values go first. There is no recursion, because a tree may be as deep as its text was long.
    std::vector<QZJsonValue*> open{*value};
    while (!open.empty())
    {
        QZJsonValue* inner = QZJsonAccess::TakeLast(open.back());
        if (inner != nullptr && IsContainer(inner))
        {
            open.push_back(inner);
            continue;
        }
        GiveBack(inner != nullptr ? inner : open.back());
        if (inner == nullptr) open.pop_back();
    }
    *value = nullptr;
}

void QZJsonFactory::Recycle(QZJsonDecimal** value) { RecycleAs(value); }
void QZJsonFactory::Recycle(QZJsonBool** value) { RecycleAs(value); }
void QZJsonFactory::Recycle(QZJsonString** value) { RecycleAs(value); }
void QZJsonFactory::Recycle(QZJsonObject** value) { RecycleAs(value); }
void QZJsonFactory::Recycle(QZJsonNull** value) { RecycleAs(value); }
void QZJsonFactory::Recycle(QZJsonValueCollection** value) { RecycleAs(value); }

void QZJsonFactory::Collect(QZBool partial)
{
    if (m_section == nullptr) return;
    // Only one thread collects at a time: two threads would halve each other's low marks.
    const QZCriticalGuard guard(m_section);
    for (QZObjectCache* cache : {m_valueCache, m_decimalCache, m_boolCache, m_objectCache, m_nullCache,
                                 m_stringCache, m_collectionCache})
        cache->Collect(partial);
}

void QZJsonFactory::SetIdleLimit(QZInt64 objects, QZInt64 bytes)
{
    if (m_section == nullptr) return;
    const QZCriticalGuard guard(m_section);
    for (QZObjectCache* cache : {m_valueCache, m_decimalCache, m_boolCache, m_objectCache, m_nullCache,
                                 m_stringCache, m_collectionCache})
        cache->SetIdleLimit(objects, bytes);
}

QZInt64 QZJsonFactory::GetMemorySize()
{
    if (m_section == nullptr) return 0;
    QZInt64 sum = 0;
    for (QZObjectCache* cache : {m_valueCache, m_decimalCache, m_boolCache, m_objectCache, m_nullCache,
                                 m_stringCache, m_collectionCache})
        sum += cache->GetMemorySize();
    return sum;
}

QZJsonObject* QZJsonFactory::GetStatus()
{
    const QZStatusFigure figures[] = {{QZ_W("JsonValueCache"), m_valueCache},
                                      {QZ_W("JsonDecimalCache"), m_decimalCache},
                                      {QZ_W("JsonBoolCache"), m_boolCache},
                                      {QZ_W("JsonStringCache"), m_stringCache},
                                      {QZ_W("JsonObjectCache"), m_objectCache},
                                      {QZ_W("JsonNullCache"), m_nullCache},
                                      {QZ_W("JsonValueCollectionCache"), m_collectionCache}};
    return MakeStatus(figures, static_cast<int>(std::size(figures)));
}
