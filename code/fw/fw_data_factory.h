#ifndef QZLIB_FW_DATA_FACTORY_H
#define QZLIB_FW_DATA_FACTORY_H

#include <concepts>

#include "sys/sys_types.h"

class QZCollection;
class QZData;
class QZDataBool;
class QZDataByte;
class QZDataCollection;
class QZDataDatetime;
class QZDataDouble;
class QZDataFloat;
class QZDataInt16;
class QZDataInt32;
class QZDataInt64;
class QZDataInt8;
class QZDataTimestamp;
class QZDateTime;
class QZJsonObject;
class QZObjectCache;

/// Makes and takes back buffers, typed values and collections through caches. The result of a Create...
/// belongs to the caller until Recycle takes it back and clears the caller's variable. Any thread.
class QZ_API QZDataFactory
{
public:
    static QZData* CreateData();

    /// A copy of the source's bytes in an object of the type's own class, or a plain QZData for a type of
    /// QZDataType that has no class. The size is that of the source for every type.
    /// @throws QZException 256 for a null source, else with QZLastError when there is no memory
    static QZData* CreateData(QZInt64 type, QZData* source);

    static QZDataCollection* CreateDataCollection();
    static QZCollection* CreateCollection();

    static QZDataDatetime* CreateDateTime(QZDateTime* time);
    /// @param timestamp  milliseconds from the start of year 1
    static QZDataDatetime* CreateDateTime(QZInt64 timestamp);
    template <std::integral T>
    static QZDataDatetime* CreateDateTime(T timestamp)
    {
        return CreateDateTime(static_cast<QZInt64>(timestamp));
    }
    static QZDataTimestamp* CreateTimestamp(QZInt64 timestamp);
    static QZDataDouble* CreateDouble(double value);
    static QZDataFloat* CreateFloat(float value);
    static QZDataInt64* CreateInt64(QZInt64 value);
    static QZDataInt32* CreateInt32(QZInt32 value);
    static QZDataInt16* CreateInt16(QZInt16 value);
    static QZDataInt8* CreateInt8(char value);
    static QZDataBool* CreateBool(QZBool value);
    static QZDataByte* CreateByte(QZByte value);

    /// Empties the object, returns it to its cache and clears the variable. A null in the variable is a
    /// QZLibAssert(false). The form for QZData selects the cache by GetType. A data collection only forgets
    /// its elements; QZData::Recycle recycles them too.
    /// @throws QZException 1280 for a locked object, without a code for a type that has no cache; the
    /// variable stays
    static void Recycle(QZData** data);
    static void Recycle(QZDataDatetime** data);
    static void Recycle(QZDataTimestamp** data);
    static void Recycle(QZDataDouble** data);
    static void Recycle(QZDataFloat** data);
    static void Recycle(QZDataInt64** data);
    static void Recycle(QZDataInt32** data);
    static void Recycle(QZDataInt16** data);
    static void Recycle(QZDataInt8** data);
    static void Recycle(QZDataBool** data);
    static void Recycle(QZDataByte** data);
    static void Recycle(QZDataCollection** collection);
    static void Recycle(QZCollection** collection);
    /// Takes back what GetStatus gave.
    static void Recycle(QZJsonObject** status);

    /// Collects the caches; see QZObjectCache::Collect.
    static void Collect(QZBool partial);

    /// An addition: bounds what each cache keeps idle; see QZObjectCache::SetIdleLimit.
    static void SetIdleLimit(QZInt64 objects, QZInt64 bytes);

    /// A new object with the idle count of each cache: "Data", "DataDatetime", "DataTimestamp", "DataDouble",
    /// "DataFloat", "DataInt64", "DataInt32", "DataInt16", "DataInt8", "DataBool", "DataByte",
    /// "DataCollection" and "Collection". Given back with Recycle.
    static QZJsonObject* GetStatus();

    /// Bytes that idle objects own.
    static QZInt64 GetMemorySize();

private:
    friend struct QZDataFactoryStart;

    /// The caches in the order in which they are made and collected.
    enum Cache
    {
        kData,
        kDatetime,
        kTimestamp,
        kDouble,
        kFloat,
        kInt64,
        kInt32,
        kInt16,
        kInt8,
        kBool,
        kByte,
        kDataCollection,
        kCollection,
        kCaches
    };
    static Cache CacheOf(QZInt64 type);
    template <typename T>
    static T* Take(Cache cache);
    template <typename T, typename V>
    static T* TakeValue(Cache cache, V value);
    template <typename T>
    static void GiveBack(Cache cache, T** variable);

    static QZObjectCache* m_caches[kCaches];
};

#endif
