#ifndef QZLIB_GRAPHICS_PARTS_H
#define QZLIB_GRAPHICS_PARTS_H

/// Objects that belong to an object of the toolkit. Internal.

#include <memory>

#include "fw/fw_library.h"
#include "fw/fw_object.h"

/// Takes ownership of a part and locks it with the owner's id; the last holder unlocks and deletes it.
template <typename Part>
std::shared_ptr<Part> QZHoldLocked(Part* part, QZUInt64 owner)
{
    part->SetDisposable(owner, 0);
    return std::shared_ptr<Part>(part, [owner](Part* held) {
        held->SetDisposable(owner, 1);
        delete held;
    });
}

/// Deletes the object and clears the variable. A null in the variable is a QZLibAssert(false).
template <typename Object>
void QZDeleteAndClear(Object** object)
{
    if (*object == nullptr)
    {
        QZLibAssert(0);
        return;
    }
    delete *object;
    *object = nullptr;
}

#endif
