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
class A_GO;
class ROLLBACK;

/// The container of the engine's ten components, which know each other through it.
///
/// Makes the components and deletes them in the order in which it holds them. One database, one container;
/// whoever uses it holds the database's lock.
class QZ_API OBJECTS : public QZObject
{
public:
    OBJECTS();
    ~OBJECTS() override;

    OBJECTS(const OBJECTS&) = delete;
    OBJECTS& operator=(const OBJECTS&) = delete;

    /// Readies the components, in container order, for files of this address mode. An unknown mode is counted
    /// as BAD_PARAMETER and does not stop the rest.
    /// @return whether every component is ready
    bool Initialise(QZInt64 addressMode);

    CONSOLE* Console() const { return m_console; }
    BINARY* Binary() const { return m_binary; }
    ADDRESS* Address() const { return m_address; }
    READ* Read() const { return m_read; }
    CHARS* Chars() const { return m_chars; }
    DATA* Data() const { return m_data; }
    REPAIR* Repair() const { return m_repair; }
    LINK* Link() const { return m_link; }
    A_GO* AGo() const { return m_aGo; }
    ROLLBACK* Rollback() const { return m_rollback; }

private:
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
