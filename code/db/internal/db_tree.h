#ifndef QZLIB_DB_DB_TREE_H
#define QZLIB_DB_DB_TREE_H

#include "sys/sys_types.h"

class OBJECTS;
class QZCollection;

/// Walks over lists and trees of the database file. Internal; the caller holds the database lock.

/// The records of the list of an HD, in list order. The walk is bounded by the file.
void TreeCollectRecords(OBJECTS* objects, QZInt64 hd, QZCollection* output);

/// The PDs below an HD, level by level.
/// @throws QZException 1024 for every list that is not empty, see the source
void TreeGatherPDs(OBJECTS* objects, QZInt64 hd, QZCollection* output);

#endif
