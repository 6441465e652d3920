#ifndef QZLIB_NET_HTTP_HEADER_H
#define QZLIB_NET_HTTP_HEADER_H

#include "fw/fw_keyed.h"
#include "fw/fw_object_cache.h"

/// One header of a message: a name and a value.
///
/// Headers come from QZHttpFactory and go back there. Both strings belong to the header and are locked with
/// its object id. One thread at a time.
class QZ_API QZHttpHeader : public QZObject
{
public:
    static const QZInt64 Type = 0x8310015;

    QZHttpHeader(const QZHttpHeader&) = delete;
    QZHttpHeader& operator=(const QZHttpHeader&) = delete;
    ~QZHttpHeader() override;

    QZInt64 GetType() override;

    QZString* GetName();
    QZString* GetValue();

    /// Splits a line at its first colon and trims both sides. A line without a colon, or with one at its
    /// start, leaves the header as it was.
    /// @throws QZException InvalidArgument in strict mode for a line with a line end or a NUL in it
    void Set(QZString* line);

    /// Empties name and value.
    void Clear();

    /// Gives a string back to QZStringFactory. For the header's own strings only the variable is cleared.
    void Recycle(QZString** text);

protected:
    QZHttpHeader();

    static QZObject* NewObject();
    static void DeleteObject(QZObject* header);

private:
    QZString m_name;
    QZString m_value;
};

/// Headers by position; several headers may have the same name.
///
/// The collection does not own the headers that a host pushes. The headers that a message adds are locked
/// with the collection's object id until Pop or RemoveElement by index takes them out. One thread at a time.
class QZ_API QZHttpHeaderCollection : public QZObjectCollection
{
public:
    static const QZInt64 Type = 0x8310016;

    QZHttpHeaderCollection(const QZHttpHeaderCollection&) = delete;
    QZHttpHeaderCollection& operator=(const QZHttpHeaderCollection&) = delete;
    ~QZHttpHeaderCollection() override;

    QZInt64 GetType() override;

    using QZObjectCollection::Push;
    using QZObjectCollection::RemoveElement;
    QZHttpHeader* GetElement(QZInt64 index) override;
    QZHttpHeader* Pop() override;
    QZBool RemoveElement(QZInt64 index) override;
    QZBool Push(QZHttpHeader* header);

    /// The sum of the sizes of all names and values, in bytes of wide text.
    QZInt64 GetHeadersSize();

protected:
    QZHttpHeaderCollection();

    static QZObject* NewObject();
    static void DeleteObject(QZObject* collection);

private:
    friend class QZHttpContext;
};

// The factory keeps one cache of each class; a host may have its own.
QZLIB_NAMED_CACHE(QZHttpHeaderCache, QZHttpHeader);
QZLIB_NAMED_CACHE(QZHttpHeaderCollectionCache, QZHttpHeaderCollection);

#endif
