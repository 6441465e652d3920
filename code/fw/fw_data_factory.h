#ifndef QZLIB_FW_DATA_FACTORY_H
#define QZLIB_FW_DATA_FACTORY_H

#include "fw/fw_types.h"

class QZData;
class QZDataCollection;
class QZCollection;
class QZObjectCache;

/// Makes and takes back buffers and collections through caches. What a Create... returns is the caller's
/// until a Recycle takes it back and clears the caller's variable. Any thread.
class QZ_API QZDataFactory
{
public:
    static QZData* CreateData();
    static QZDataCollection* CreateDataCollection();
    static QZCollection* CreateCollection();

    /// Empties the object, gives it back and clears the variable. A null in the variable is a
    /// QZLibAssert(false). The form for QZData sorts by GetType; a data collection only forgets its elements,
    /// QZData::Recycle gives them back as well.
    /// @throws QZException 1280 for a locked object, without a code for a type that has no cache; the
    /// variable stays
    static void Recycle(QZData** data);
    static void Recycle(QZDataCollection** collection);
    static void Recycle(QZCollection** collection);

    /// Collects the caches; see QZObjectCache::Collect.
    static void Collect(QZBool partial);

    /// Bytes that idle objects own.
    static QZInt64 GetMemorySize();

private:
    friend void QZDataFactoryInit();
    friend void QZDataFactoryEnd();

    static QZObjectCache* m_dataCache;
    static QZObjectCache* m_dataCollectionCache;
    static QZObjectCache* m_collectionCache;
};

/// Start and end, called by QZLibInit and QZLibDispose. Not exported.
void QZDataFactoryInit();
void QZDataFactoryEnd();

#endif
