#ifndef QZLIB_NET_HTTP_ELEMENTS_H
#define QZLIB_NET_HTTP_ELEMENTS_H

#include "net/internal/net_ownership.h"

/// What the collections of headers and of cookies do with their elements. Internal.
namespace http
{
/// Unlocks an element that leaves the collection with this object id. Null stays null.
template <typename Element>
Element* Unlocked(Element* element, QZUInt64 owner)
{
    if (element != nullptr) Disown(element, owner);
    return element;
}

/// The sum of the sizes of all names and values.
template <typename Collection>
QZInt64 SizeOfTexts(Collection* collection)
{
    QZInt64 size = 0;
    for (QZInt64 i = collection->Count() - 1; i >= 0; --i)
    {
        auto* element = collection->GetElement(i);
        size += element->GetName()->GetSize() + element->GetValue()->GetSize();
    }
    return size;
}
}  // namespace http

#endif
