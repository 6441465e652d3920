#ifndef QZLIB_TESTS_ABI_NEIGHBOUR_H
#define QZLIB_TESTS_ABI_NEIGHBOUR_H

/// Returns the number of calls of the classes in neighbour.cpp so far.
int NeighbourCalls();

/// Calls an operation of each class of neighbour.cpp.
void UseNeighbour();

#endif
