#ifndef QZLIB_DB_A_GO_H
#define QZLIB_DB_A_GO_H

#include "db/internal/db_objects.h"

/// The place of the search by value in the engine. There is no such search: a search finds nothing.
class QZ_API A_GO : public QZObject
{
public:
    explicit A_GO(OBJECTS* objects) : m_objects(objects) {}

    OBJECTS* Objects() const { return m_objects; }

private:
    OBJECTS* m_objects;
};

#endif
