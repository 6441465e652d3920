#ifndef QZLIB_NET_JSON_LIST_H
#define QZLIB_NET_JSON_LIST_H

#include "net/net_json.h"

/// The values of a JSON array, chained through their own link words and locked with a key of the array.
/// Internal.
///
/// An array keeps a single value itself. With a second one, and when the array is copied by value, they move
/// into a list, which copies share. What the operations throw, and its trace, is what QZContainer throws.
class JsonList
{
public:
    static QZInt64 Count(QZJsonValueCollection* array);
    static QZJsonValue* First(QZJsonValueCollection* array);
    static QZJsonValue* Last(QZJsonValueCollection* array);

    /// @param method  the name in the trace, one of QZContainer's operations
    /// @throws QZException 1792 for null, 1280 for a locked value
    static void AddLast(QZJsonValueCollection* array, QZJsonValue* value, const QZWChar* method);
    static void AddFirst(QZJsonValueCollection* array, QZJsonValue* value);

    /// Takes a value out; nothing happens for null and for a value that the array did not lock.
    static void Remove(QZJsonValueCollection* array, QZJsonValue* value);
    /// Takes a value of the array out, whoever locked it, and returns it; null for null.
    static QZJsonValue* TakeOut(QZJsonValueCollection* array, QZJsonValue* value);

    /// Shares the values of the other array, which is not this one, and gives up the own ones.
    static void Share(QZJsonValueCollection* array, const QZJsonValueCollection* other);
    /// Moves the values into a list, which keeps the key when the array gets the id of another one.
    static void KeepKey(QZJsonValueCollection* array);
    /// Gives up the values; the last owner deletes those that nobody else has locked.
    static void End(QZJsonValueCollection* array);

private:
    struct Shared;

    static void* PartOf(const QZJsonValueCollection* array);
    static void SetPart(const QZJsonValueCollection* array, void* part);
    static Shared* SharedOf(void* part);
    static QZJsonValue* SingleOf(void* part);
    static Shared* MakeShared(const QZJsonValueCollection* array);
    static QZUInt64 KeyOf(QZJsonValueCollection* array);
    static void Lock(QZJsonValueCollection* array, QZJsonValue* value, const QZWChar* method);
    static void Unlink(QZJsonValueCollection* array, QZJsonValue* value);
};

#endif
