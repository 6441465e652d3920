#include "db/internal/db_objects.h"

#include "db/internal/db_console.h"
#include "db/internal/db_rollback.h"

// The constructors of these two take the container, which alone knows where their components are.

REPAIR::REPAIR(OBJECTS* objects)
    : m_file(objects->Console()),
      m_binary(objects->Binary()),
      m_address(objects->Address()),
      m_read(objects->Read())
{}

ROLLBACK::ROLLBACK(OBJECTS* objects)
    : m_addressLength(0),
      m_file(objects->Console()),
      m_address(objects->Address()),
      m_read(objects->Read()),
      m_data(objects->Data()),
      m_link(objects->Link()),
      m_root(0),
      m_writePosition(0),
      m_base(0),
      m_marks(0)
{}

OBJECTS::OBJECTS()
    : m_console(new CONSOLE(this)),
      m_binary(new BINARY(m_console)),
      m_address(new ADDRESS(m_console, m_binary)),
      m_read(new READ(m_console, m_binary, m_address)),
      m_chars(new CHARS(m_console, m_binary, m_address)),
      m_data(new DATA(m_binary, m_address, m_read, m_chars)),
      m_repair(new REPAIR(this)),
      m_link(new LINK(m_console, m_address, m_read, m_data, m_repair)),
      m_aGo(new A_GO),
      m_rollback(new ROLLBACK(this))
{
    m_address->SetLog(m_rollback);
    m_console->Connect(m_binary, m_address, m_data, m_repair, m_rollback);
}

OBJECTS::~OBJECTS()
{
    delete m_console;
    delete m_binary;
    delete m_address;
    delete m_read;
    delete m_chars;
    delete m_data;
    delete m_repair;
    delete m_link;
    delete m_aGo;
    delete m_rollback;
}

bool OBJECTS::Initialise(QZInt64 addressMode)
{
    const bool ready = m_address->SetMode(addressMode);
    m_rollback->NoteAddressLength();
    return ready;
}
