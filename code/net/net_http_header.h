#ifndef QZLIB_NET_HTTP_HEADER_H
#define QZLIB_NET_HTTP_HEADER_H

#include "fw/fw_keyed.h"
#include "fw/fw_named_cache.h"

/// One header of a message: a name and a value.
///
/// Comes from QZHttpFactory and goes back there. Both strings belong to the header and are locked with its
/// object id. One thread at a time.
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

    /// Takes a line apart at its first colon; both sides are trimmed. A line without a colon, or with one at
    /// its very start, leaves the header as it was.
    void Set(QZString* line);

    /// Empties name and value.
    void Clear();

    /// Gives a string back. For the header's own strings only the variable is cleared.
    void Recycle(QZString** text);

protected:
    QZHttpHeader();

    static QZObject* NewObject();
    static void DeleteObject(QZObject* header);

private:
    QZString m_name;
    QZString m_value;
};

/// Headers by position; a name may stand in it more than once.
///
/// The collection does not own what a host pushes. Headers that a message took in are locked with the
/// collection's object id until Pop or RemoveElement by index takes them out. One thread at a time.
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

    /// The sizes of all names and values: bytes of wide text.
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
