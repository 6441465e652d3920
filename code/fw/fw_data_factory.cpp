#include "fw/fw_data_factory.h"

#include "fw/fw_collection.h"
#include "fw/fw_data.h"
#include "fw/fw_data_type.h"
#include "fw/fw_keyed.h"
#include "fw/fw_library.h"
#include "fw/fw_object_cache.h"
#include "fw/fw_time.h"
#include "fw/fw_value.h"
#include "fw/internal/fw_collect.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_start.h"
#include "fw/internal/fw_status.h"

namespace
{
[[maybe_unused]] const bool kCollected = QZCollectInstall(QZCollector::Data, QZDataFactory::Collect);

}  // namespace

QZObjectCache* QZDataFactory::m_caches[kCaches];

QZDataFactory::Cache QZDataFactory::CacheOf(QZInt64 type)
{
    switch (type)
    {
        case QZDataType::BOOL: return kBool;
        case QZDataType::INT8: return kInt8;
        case QZDataType::INT16: return kInt16;
        case QZDataType::INT32: return kInt32;
        case QZDataType::INT64: return kInt64;
        case QZDataType::DOUBLE: return kDouble;
        case QZDataType::TIMESTAMP: return kTimestamp;
        case QZDataType::DATETIME: return kDatetime;
        case QZDataType::BYTE: return kByte;
        case QZDataType::FLOAT: return kFloat;
        default: return kData;
    }
}

template <typename T>
T* QZDataFactory::Take(Cache cache)
{
    return static_cast<T*>(m_caches[cache]->Out());
}

template <typename T, typename V>
T* QZDataFactory::TakeValue(Cache cache, V value)
{
    T* data = Take<T>(cache);
    try
    {
        data->SetValue(value);
    }
    catch (...)
    {
        GiveBack(cache, &data);
        throw;
    }
    return data;
}

/// Empties the object, gives it back to its cache and clears the variable.
template <typename T>
void QZDataFactory::GiveBack(Cache cache, T** variable)
{
    if (*variable == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    (*variable)->Clear();
    QZObject* object = *variable;
    m_caches[cache]->In(&object);
    *variable = nullptr;
}

QZData* QZDataFactory::CreateData() { return Take<QZData>(kData); }

QZData* QZDataFactory::CreateData(QZInt64 type, QZData* source)
{
    const Cache cache = CacheOf(type);
    QZData* data = Take<QZData>(cache);
    try
    {
        data->Set(source);
    }
    catch (...)
    {
        GiveBack(cache, &data);
        QZPassOn trace(QZ_W("QZDataFactory"), QZ_W("CreateData"));
        trace.Argument(QZ_W("QZInt64"), type);
        if (source != nullptr)
            trace.Argument(QZ_W("QZData*"), source->GetPointer(), source->GetSize());
        else
            trace.Argument(QZ_W("QZData*"), static_cast<const QZWChar*>(nullptr));
        throw;
    }
    return data;
}

QZDataCollection* QZDataFactory::CreateDataCollection() { return Take<QZDataCollection>(kDataCollection); }
QZCollection* QZDataFactory::CreateCollection() { return Take<QZCollection>(kCollection); }

QZDataDatetime* QZDataFactory::CreateDateTime(QZDateTime* time)
{
    return TakeValue<QZDataDatetime>(kDatetime, time);
}

QZDataDatetime* QZDataFactory::CreateDateTime(QZInt64 timestamp)
{
    return TakeValue<QZDataDatetime>(kDatetime, timestamp);
}

QZDataTimestamp* QZDataFactory::CreateTimestamp(QZInt64 timestamp)
{
    return TakeValue<QZDataTimestamp>(kTimestamp, timestamp);
}

QZDataDouble* QZDataFactory::CreateDouble(double value) { return TakeValue<QZDataDouble>(kDouble, value); }
QZDataFloat* QZDataFactory::CreateFloat(float value) { return TakeValue<QZDataFloat>(kFloat, value); }
QZDataInt64* QZDataFactory::CreateInt64(QZInt64 value) { return TakeValue<QZDataInt64>(kInt64, value); }
QZDataInt32* QZDataFactory::CreateInt32(QZInt32 value) { return TakeValue<QZDataInt32>(kInt32, value); }
QZDataInt16* QZDataFactory::CreateInt16(QZInt16 value) { return TakeValue<QZDataInt16>(kInt16, value); }
QZDataInt8* QZDataFactory::CreateInt8(char value) { return TakeValue<QZDataInt8>(kInt8, value); }
QZDataBool* QZDataFactory::CreateBool(QZBool value) { return TakeValue<QZDataBool>(kBool, value); }
QZDataByte* QZDataFactory::CreateByte(QZByte value) { return TakeValue<QZDataByte>(kByte, value); }

void QZDataFactory::Recycle(QZData** data)
{
    if (*data == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    (*data)->NewSize(0);
    (*data)->Clear();
    const QZInt64 type = (*data)->GetType();
    if (type == QZCollection::Type) return GiveBack(kCollection, data);
    const Cache cache = CacheOf(type);
    if (cache != kData || type == QZData::Type) return GiveBack(cache, data);
    QZRaise(0, QZ_W("QZDataFactory"), QZ_W("Recycle")).Argument(QZ_W("QZData**"), type).Throw();
}

void QZDataFactory::Recycle(QZDataDatetime** data) { GiveBack(kDatetime, data); }
void QZDataFactory::Recycle(QZDataTimestamp** data) { GiveBack(kTimestamp, data); }
void QZDataFactory::Recycle(QZDataDouble** data) { GiveBack(kDouble, data); }
void QZDataFactory::Recycle(QZDataFloat** data) { GiveBack(kFloat, data); }
void QZDataFactory::Recycle(QZDataInt64** data) { GiveBack(kInt64, data); }
void QZDataFactory::Recycle(QZDataInt32** data) { GiveBack(kInt32, data); }
void QZDataFactory::Recycle(QZDataInt16** data) { GiveBack(kInt16, data); }
void QZDataFactory::Recycle(QZDataInt8** data) { GiveBack(kInt8, data); }
void QZDataFactory::Recycle(QZDataBool** data) { GiveBack(kBool, data); }
void QZDataFactory::Recycle(QZDataByte** data) { GiveBack(kByte, data); }
void QZDataFactory::Recycle(QZDataCollection** collection) { GiveBack(kDataCollection, collection); }
void QZDataFactory::Recycle(QZCollection** collection) { GiveBack(kCollection, collection); }

void QZDataFactory::Collect(QZBool partial)
{
    if (m_caches[kData] == nullptr) return;
    for (QZObjectCache* cache : m_caches) cache->Collect(partial);
}

void QZDataFactory::SetIdleLimit(QZInt64 objects, QZInt64 bytes)
{
    for (QZObjectCache* cache : m_caches) cache->SetIdleLimit(objects, bytes);
}

QZInt64 QZDataFactory::GetMemorySize()
{
    QZInt64 size = 0;
    for (QZObjectCache* cache : m_caches) size += cache->GetMemorySize();
    return size;
}

struct QZDataFactoryStart
{
    static void Init();
    static void End();
};

void QZDataFactoryStart::Init()
{
    using Factory = QZDataFactory;
    if (Factory::m_caches[Factory::kData] != nullptr) return;
    Factory::m_caches[Factory::kData] = new QZCache<QZData>(-1, -1);
    Factory::m_caches[Factory::kDatetime] = new QZCache<QZDataDatetime>(-1, -1);
    Factory::m_caches[Factory::kTimestamp] = new QZCache<QZDataTimestamp>(-1, -1);
    Factory::m_caches[Factory::kDouble] = new QZCache<QZDataDouble>(-1, -1);
    Factory::m_caches[Factory::kFloat] = new QZCache<QZDataFloat>(-1, -1);
    Factory::m_caches[Factory::kInt64] = new QZCache<QZDataInt64>(-1, -1);
    Factory::m_caches[Factory::kInt32] = new QZCache<QZDataInt32>(-1, -1);
    Factory::m_caches[Factory::kInt16] = new QZCache<QZDataInt16>(-1, -1);
    Factory::m_caches[Factory::kInt8] = new QZCache<QZDataInt8>(-1, -1);
    Factory::m_caches[Factory::kBool] = new QZCache<QZDataBool>(-1, -1);
    Factory::m_caches[Factory::kByte] = new QZCache<QZDataByte>(-1, -1);
    Factory::m_caches[Factory::kDataCollection] = new QZCache<QZDataCollection>(-1, -1);
    Factory::m_caches[Factory::kCollection] = new QZCache<QZCollection>(-1, -1);
}

void QZDataFactoryInit() { QZDataFactoryStart::Init(); }

void QZDataFactoryStart::End()
{
    for (QZObjectCache*& cache : QZDataFactory::m_caches)
    {
        if (cache == nullptr) continue;
        cache->Collect(0);
        delete cache;
        cache = nullptr;
    }
}

void QZDataFactoryEnd() { QZDataFactoryStart::End(); }

QZJsonObject* QZDataFactory::GetStatus()
{
    static constexpr const QZWChar* kNames[kCaches] = {
        QZ_W("Data"),      QZ_W("DataDatetime"), QZ_W("DataTimestamp"), QZ_W("DataDouble"),
        QZ_W("DataFloat"), QZ_W("DataInt64"),    QZ_W("DataInt32"),     QZ_W("DataInt16"),
        QZ_W("DataInt8"),  QZ_W("DataBool"),     QZ_W("DataByte"),      QZ_W("DataCollection"),
        QZ_W("Collection")};
    QZStatusFigure figures[kCaches];
    for (int i = 0; i < kCaches; ++i) figures[i] = {kNames[i], m_caches[i]};
    return QZStatusMake(figures, kCaches);
}

void QZDataFactory::Recycle(QZJsonObject** status) { QZStatusRecycle(status); }
