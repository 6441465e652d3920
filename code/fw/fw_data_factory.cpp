#include "fw/fw_data_factory.h"

#include "fw/fw_collection.h"
#include "fw/fw_data.h"
#include "fw/fw_keyed.h"
#include "fw/fw_library.h"
#include "fw/fw_object_cache.h"
#include "fw/fw_trace.h"

QZObjectCache* QZDataFactory::m_dataCache;
QZObjectCache* QZDataFactory::m_dataCollectionCache;
QZObjectCache* QZDataFactory::m_collectionCache;

namespace
{

/// Gives the object back to its cache and clears the variable.
template <typename T>
void GiveBack(QZObjectCache* cache, T** variable)
{
    QZObject* object = *variable;
    cache->In(&object);
    *variable = nullptr;
}

/// A null in the variable of a Recycle is a broken promise of the caller.
template <typename T>
bool IsNull(T** variable)
{
    if (*variable) return false;
    QZLibAssert(0);
    return true;
}

}  // namespace

QZData* QZDataFactory::CreateData() { return static_cast<QZData*>(m_dataCache->Out()); }

QZDataCollection* QZDataFactory::CreateDataCollection()
{
    return static_cast<QZDataCollection*>(m_dataCollectionCache->Out());
}

QZCollection* QZDataFactory::CreateCollection()
{
    return static_cast<QZCollection*>(m_collectionCache->Out());
}

void QZDataFactory::Recycle(QZData** data)
{
    if (IsNull(data)) return;
    (*data)->NewSize(0);
    (*data)->Clear();
    const QZInt64 type = (*data)->GetType();
    if (type == QZData::Type) return GiveBack(m_dataCache, data);
    if (type == QZCollection::Type) return GiveBack(m_collectionCache, data);
    throw QZTrace(QZExceptionFactory::CreateException(), QZ_W("QZDataFactory"), QZ_W("Recycle"))
        .Argument(QZ_W("QZData**"), type)
        .Exception();
}

void QZDataFactory::Recycle(QZDataCollection** collection)
{
    if (IsNull(collection)) return;
    (*collection)->Clear();
    GiveBack(m_dataCollectionCache, collection);
}

void QZDataFactory::Recycle(QZCollection** collection)
{
    if (IsNull(collection)) return;
    (*collection)->Clear();
    GiveBack(m_collectionCache, collection);
}

void QZDataFactory::Collect(QZBool partial)
{
    if (!m_dataCache) return;
    m_dataCache->Collect(partial);
    m_dataCollectionCache->Collect(partial);
    m_collectionCache->Collect(partial);
}

QZInt64 QZDataFactory::GetMemorySize()
{
    return m_dataCache->GetMemorySize() + m_dataCollectionCache->GetMemorySize() +
           m_collectionCache->GetMemorySize();
}

void QZDataFactoryInit()
{
    if (QZDataFactory::m_dataCache) return;
    QZDataFactory::m_dataCache = new QZCache<QZData>(-1, -1);
    QZDataFactory::m_dataCollectionCache = new QZCache<QZDataCollection>(-1, -1);
    QZDataFactory::m_collectionCache = new QZCache<QZCollection>(-1, -1);
}

void QZDataFactoryEnd()
{
    if (!QZDataFactory::m_dataCache) return;
    QZObjectCache** const caches[] = {&QZDataFactory::m_dataCache, &QZDataFactory::m_dataCollectionCache,
                                      &QZDataFactory::m_collectionCache};
    for (QZObjectCache** cache : caches)
    {
        (*cache)->Collect(0);
        delete *cache;
        *cache = nullptr;
    }
}
