#include "db/internal/db_objects.h"

#include "db/internal/db_a_go.h"
#include "db/internal/db_chars.h"
#include "db/internal/db_data.h"
#include "db/internal/db_link.h"
#include "db/internal/db_read.h"
#include "db/internal/db_repair.h"
#include "db/internal/db_rollback.h"

OBJECTS::OBJECTS()
    : m_console(new CONSOLE(this)),
      m_binary(new BINARY(this)),
      m_address(new ADDRESS(this)),
      m_read(new READ(this)),
      m_chars(new CHARS(this)),
      m_data(new DATA(this)),
      m_repair(new REPAIR(this)),
      m_link(new LINK(this)),
      m_aGo(new A_GO(this)),
      m_rollback(new ROLLBACK(this))
{}

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
