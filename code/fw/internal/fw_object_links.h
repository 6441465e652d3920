#ifndef QZLIB_FW_OBJECT_LINKS_H
#define QZLIB_FW_OBJECT_LINKS_H

#include "fw/fw_object.h"

/// The link words of objects, for chains that are no QZContainer. Internal.
struct QZObjectLinks
{
    static void SetPrevious(QZObject* object, QZObject* previous) { object->m_previous = previous; }
    static void SetNext(QZObject* object, QZObject* next) { object->m_next = next; }
};

#endif
