#include "fw/fw_string_factory.h"

#include "fw/fw_keyed.h"
#include "fw/fw_library.h"
#include "fw/fw_object_cache.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_collect.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_start.h"
#include "fw/internal/fw_status.h"
#include "fw/internal/fw_string_lists.h"

QZObjectCache* QZStringFactory::m_stringCache = nullptr;
QZObjectCache* QZStringFactory::m_stringCollectionCache = nullptr;

namespace
{
[[maybe_unused]] const bool kCollected = QZCollectInstall(QZCollector::String, QZStringFactory::Collect);

/// Fills a string from the cache. When that fails the string is recycled and the exception gets a frame.
template <typename Fill, typename Describe>
QZString* Filled(QZString* text, Fill fill, Describe describe)
{
    try
    {
        fill(text);
    }
    catch (...)
    {
        QZStringFactory::Recycle(&text);
        describe(QZPassOn(QZ_W("QZStringFactory"), QZ_W("CreateString")));
        throw;
    }
    return text;
}
}  // namespace

QZString* QZStringFactory::CreateString()
{
    // Exceptions need texts before the cache exists and after it has been deleted.
    return m_stringCache != nullptr ? static_cast<QZString*>(m_stringCache->Out()) : new QZString();
}

QZString* QZStringFactory::CreateString(const char* text)
{
    return Filled(
        CreateString(), [=](QZString* s) { s->Set(text); },
        [=](QZPassOn trace) { trace.Argument(QZ_W("QZChar*"), text); });
}

QZString* QZStringFactory::CreateString(const QZWChar* text)
{
    return Filled(
        CreateString(), [=](QZString* s) { s->Set(text); },
        [=](QZPassOn trace) { trace.Argument(QZ_W("QZWChar*"), text); });
}

QZString* QZStringFactory::CreateString(const char* text, QZInt64 size)
{
    return Filled(
        CreateString(), [=](QZString* s) { s->Set(text, size); },
        [=](QZPassOn trace) {
            trace.Argument(QZ_W("QZChar*"), text, size > 0 ? size : 0).Argument(QZ_W("QZInt64"), size);
        });
}

QZString* QZStringFactory::CreateString(const QZWChar* text, QZInt64 size)
{
    return Filled(
        CreateString(), [=](QZString* s) { s->Set(text, size); },
        [=](QZPassOn trace) {
            trace.Argument(QZ_W("QZWChar*"), text, size > 0 ? size : 0).Argument(QZ_W("QZInt64"), size);
        });
}

QZString* QZStringFactory::CreateString(QZString* text)
{
    return Filled(
        CreateString(), [=](QZString* s) { s->Set(text); },
        [=](QZPassOn trace) { trace.Argument(QZ_W("QZString*"), text); });
}

QZStringCollection* QZStringFactory::CreateStringCollection()
{
    return static_cast<QZStringCollection*>(m_stringCollectionCache->Out());
}

void QZStringFactory::Recycle(QZString** text)
{
    if (*text == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    (*text)->Clear();
    QZObject* object = *text;
    if (m_stringCache != nullptr)
        m_stringCache->In(&object);
    else
        delete object;
    *text = nullptr;
}

void QZStringFactory::Recycle(QZStringCollection** collection)
{
    if (*collection == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    while ((*collection)->Count() > 0)
    {
        QZString* text = (*collection)->Pop();
        if (text != nullptr) Recycle(&text);
    }
    QZObject* object = *collection;
    m_stringCollectionCache->In(&object);
    *collection = nullptr;
}

void QZStringFactory::Collect(QZBool partial)
{
    if (m_stringCache == nullptr) return;
    m_stringCache->Collect(partial);
    m_stringCollectionCache->Collect(partial);
}

void QZStringFactory::SetIdleLimit(QZInt64 objects, QZInt64 bytes)
{
    m_stringCache->SetIdleLimit(objects, bytes);
    m_stringCollectionCache->SetIdleLimit(objects, bytes);
}

QZInt64 QZStringFactory::GetMemorySize()
{
    return m_stringCache->GetMemorySize() + m_stringCollectionCache->GetMemorySize();
}

struct QZStringFactoryStart
{
    static void Init();
    static void End();
    static QZStringCollection* TakeList();
    static void GiveList(QZStringCollection* list);
};

void QZStringFactoryStart::Init()
{
    if (QZStringFactory::m_stringCache != nullptr) return;
    QZStringFactory::m_stringCache = new QZCache<QZString>(-1, -1);
    QZStringFactory::m_stringCollectionCache = new QZCache<QZStringCollection>(-1, -1);
}

void QZStringFactoryInit() { QZStringFactoryStart::Init(); }

void QZStringFactoryStart::End()
{
    if (QZStringFactory::m_stringCache == nullptr) return;
    QZStringFactory::Collect(0);
    delete QZStringFactory::m_stringCache;
    delete QZStringFactory::m_stringCollectionCache;
    QZStringFactory::m_stringCache = nullptr;
    QZStringFactory::m_stringCollectionCache = nullptr;
}

void QZStringFactoryEnd() { QZStringFactoryStart::End(); }

QZStringCollection* QZStringFactoryStart::TakeList()
{
    QZObjectCache* cache = QZStringFactory::m_stringCollectionCache;
    return cache != nullptr && cache->Count() > 0 ? QZTake<QZStringCollection>(cache) : nullptr;
}

void QZStringFactoryStart::GiveList(QZStringCollection* list)
{
    QZObjectCache* cache = QZStringFactory::m_stringCollectionCache;
    if (cache == nullptr)
    {
        delete list;
        return;
    }
    // Every list takes kilobytes.
    constexpr QZInt64 kEnoughIdle = 256;
    if (list == nullptr && cache->Count() >= kEnoughIdle) return;
    QZObject* object = list != nullptr ? list : new QZStringCollection();
    cache->In(&object);
}

QZStringCollection* QZStringListTake() { return QZStringFactoryStart::TakeList(); }
void QZStringListGive(QZStringCollection* list) { QZStringFactoryStart::GiveList(list); }

QZJsonObject* QZStringFactory::GetStatus()
{
    const QZStatusFigure figures[] = {{QZ_W("String"), m_stringCache},
                                      {QZ_W("StringCollection"), m_stringCollectionCache}};
    return QZStatusMake(figures, 2);
}

void QZStringFactory::Recycle(QZJsonObject** status) { QZStatusRecycle(status); }
