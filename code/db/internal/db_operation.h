#ifndef QZLIB_DB_OPERATION_H
#define QZLIB_DB_OPERATION_H

/// The section of a database for the time of one operation. Internal.

#include "db/db_database.h"

/// Enters the section of a database. The operation calls Leave at its end.
///
/// When an exception passes through the operation, the section stays entered, unless the host has set
/// QZDatabase::UnlockOnRaise.
class QZDatabase::Operation
{
public:
    explicit Operation(QZDatabase* database) : m_database(database) { database->Enter(); }
    ~Operation()
    {
        if (m_database != nullptr && UnlockOnRaise) m_database->Leave();
    }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

    void Leave()
    {
        m_database->Leave();
        m_database = nullptr;
    }

private:
    QZDatabase* m_database;
};

#endif
