#ifndef QZLIB_DB_OBJECTS_H
#define QZLIB_DB_OBJECTS_H

#include "fw/fw_object.h"

class CONSOLE;
class BINARY;
class ADDRESS;
class READ;
class CHARS;
class DATA;
class REPAIR;
class LINK;
class ROLLBACK;

/// Holds the place of a search by value among the components. The engine has no such search.
class QZ_API A_GO : public QZObject
{};

/// The container of the engine's ten components: it makes them, connects them and deletes them.
///
/// A component gets the components that it needs when it is made and does not know the container. One
/// database has one container; callers hold the database lock.
class QZ_API OBJECTS : public QZObject
{
public:
    OBJECTS();
    ~OBJECTS() override;

    OBJECTS(const OBJECTS&) = delete;
    OBJECTS& operator=(const OBJECTS&) = delete;

    /// Prepares the components for files of this address mode. An unknown mode is recorded as BAD_PARAMETER
    /// and does not stop the rest.
    /// @return always true
    bool Initialise(QZInt64 addressMode);

    CONSOLE* Console() const { return m_console; }
    BINARY* Binary() const { return m_binary; }
    ADDRESS* Address() const { return m_address; }
    READ* Read() const { return m_read; }
    CHARS* Chars() const { return m_chars; }
    DATA* Data() const { return m_data; }
    REPAIR* Repair() const { return m_repair; }
    LINK* Link() const { return m_link; }
    ROLLBACK* Rollback() const { return m_rollback; }

private:
    // In the order in which they are made and deleted.
    CONSOLE* m_console;
    BINARY* m_binary;
    ADDRESS* m_address;
    READ* m_read;
    CHARS* m_chars;
    DATA* m_data;
    REPAIR* m_repair;
    LINK* m_link;
    A_GO* m_aGo;
    ROLLBACK* m_rollback;
};

#endif
