#ifndef QZLIB_DB_LINK_H
#define QZLIB_DB_LINK_H

#include "db/internal/db_data.h"
#include "db/internal/db_repair.h"

/// The component that removes records from lists and moves them.
///
/// Only links change, and every change is logged; the records keep their positions in the file. Walks end in
/// damaged files too.
class QZ_API LINK : public QZObject
{
public:
    LINK(QZDbFile* file, ADDRESS* address, READ* read, DATA* data, REPAIR* repair)
        : m_file(file), m_address(address), m_read(read), m_data(data), m_repair(repair)
    {}

    /// Makes `right` follow `left`.
    /// @param left   the END of a record or the THIS of an HD
    /// @param right  the THIS of a record, or 0 for the end of the list
    void Join(QZInt64 left, QZInt64 right);

    /// Empties the list of an HD. The bare code 256 is recorded when its closing mark is not found.
    void ResetHD(QZInt64 hd);

    /// Removes a record from its list. Its own fields keep their values.
    void Unlink(QZInt64 record);

    /// Clears PD_HD_A of the PD that owns the HD. The HD stays as it is.
    void RemoveChild(QZInt64 hd);

    /// Removes a PD from its list, and the AD that refers to it from its LD's list for the tree of the PD.
    void RemovePD(QZInt64 pd);

    /// Removes an LD from its list, and every PD that its three tree lists refer to.
    void RemoveLD(QZInt64 ld);

    /// Makes a record the last of the list of `hd`. Returns the record.
    QZInt64 MoveToHD(QZInt64 record, QZInt64 hd);

    /// Move a record by places towards the front or the end of its list, as far as it goes.
    void MoveUp(QZInt64 record, QZInt64 steps);
    void MoveDown(QZInt64 record, QZInt64 steps);

private:
    void EndList(QZInt64 left);

    QZDbFile* m_file;
    ADDRESS* m_address;
    READ* m_read;
    DATA* m_data;
    REPAIR* m_repair;
};

#endif
