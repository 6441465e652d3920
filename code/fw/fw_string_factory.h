#ifndef QZLIB_FW_STRING_FACTORY_H
#define QZLIB_FW_STRING_FACTORY_H

#include "sys/sys_types.h"

class QZJsonObject;
class QZObjectCache;
class QZString;
class QZStringCollection;

/// Makes strings and string collections from caches and takes them back. The result of Create... belongs to
/// the caller until Recycle. May be called from any thread between QZLibInit and QZLibDispose.
class QZ_API QZStringFactory
{
public:
    static QZString* CreateString();
    /// Null text makes an empty string; sizes are in bytes, see the constructors of QZString for what throws.
    static QZString* CreateString(const char* text);
    static QZString* CreateString(const QZWChar* text);
    static QZString* CreateString(const char* text, QZInt64 size);
    static QZString* CreateString(const QZWChar* text, QZInt64 size);
    static QZString* CreateString(QZString* text);

    static QZStringCollection* CreateStringCollection();

    /// Clears the object, returns it to its cache and clears the variable; the collection's strings are
    /// recycled too. A null in the variable is a QZLibAssert(false).
    /// @throws QZException 1280 for a locked object; the variable keeps its value
    static void Recycle(QZString** text);
    static void Recycle(QZStringCollection** collection);
    /// Takes back what GetStatus gave.
    static void Recycle(QZJsonObject** status);

    /// Collects both caches; see QZObjectCache::Collect.
    static void Collect(QZBool partial);

    /// An addition: bounds what each of both caches keeps idle; see QZObjectCache::SetIdleLimit.
    static void SetIdleLimit(QZInt64 objects, QZInt64 bytes);

    /// A new object with the idle counts "String" and "StringCollection"; given back with Recycle.
    static QZJsonObject* GetStatus();

    /// Bytes that idle objects own.
    static QZInt64 GetMemorySize();

private:
    friend struct QZStringFactoryStart;

    static QZObjectCache* m_stringCache;
    static QZObjectCache* m_stringCollectionCache;
};

#endif
