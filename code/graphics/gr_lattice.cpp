#include "graphics/gr_lattice.h"

#include <algorithm>

#include "fw/fw_data.h"
#include "fw/fw_library.h"
#include "fw/fw_lock.h"
#include "fw/internal/fw_buffer.h"
#include "fw/internal/fw_hooks.h"
#include "fw/internal/fw_raise.h"
#include "fw/internal/fw_trace.h"
#include "graphics/internal/gr_lattice_table.h"
#include "graphics/internal/gr_parts.h"
#include "os/internal/os_opened_file.h"

const QZInt64 QZLattice::Type;
const QZInt64 QZLattice::GlyphSize;

namespace
{
const QZWChar* const kClass = QZ_W("QZLattice");

unsigned char* g_table = nullptr;
const QZWChar* g_path = nullptr;
bool g_initialised = false;
QZCriticalSection* g_section = nullptr;

void WriteTable()
{
    QZOpenedFile file(QZFile::Open(g_path, QZFileOptions::ShareReadWrite));
    file->Write(0, g_table, lattice::kTableSize);
}

void LoadTable(const QZWChar* path)
{
    g_path = path;
    QZMemClean(g_table, lattice::kTableSize);
    if (path != nullptr && QZFile::Exists(path))
    {
        // Read only, so that a host may install its font where it cannot write. A short file fills what it
        // has.
        QZOpenedFile file(QZFile::Open(g_path, QZFileOptions::Read | QZFileOptions::ShareRead));
        file->Read(0, g_table, lattice::kTableSize);
        return;
    }
    if (path != nullptr) QZFile::Create(path);
    lattice::PackBuiltIn(g_table);
    if (path != nullptr) WriteTable();
}

void EnsureInitialised()
{
    if (!g_initialised) QZLatticeInit(nullptr);
}

unsigned char* SlotOf(unsigned short code) { return g_table + code * lattice::kSlotSize; }

bool IsEmpty(unsigned short code) { return SlotOf(code)[0] == 0 || SlotOf(code)[1] == 0; }
}  // namespace

void QZLatticeInit(const QZWChar* path)
{
    if (g_initialised && g_path != path) QZLatticeDispose();
    if (g_initialised) return;
    if (g_table == nullptr) g_table = static_cast<unsigned char*>(MemoryAllocateClean(lattice::kTableSize));
    if (g_table == nullptr)
        QZRaise(QZLastErrorOr(QZExceptionCode::OutOfMemory), kClass, QZ_W("Init"))
            .Argument(QZ_W("QZWChar*"), path)
            .Throw();
    if (g_section == nullptr) g_section = new QZCriticalSection();
    try
    {
        LoadTable(path);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("Init")).Argument(QZ_W("QZWChar*"), path);
        throw;
    }
    g_initialised = true;
}

void QZLatticeDispose()
{
    if (!g_initialised) return;
    if (!MemoryFree(g_table)) QZLibAssert(0);
    g_table = nullptr;
    delete g_section;
    g_section = nullptr;
    g_initialised = false;
}

QZLattice::QZLattice(int x, int y, unsigned short code)
    : m_location(std::make_shared<QZPoint>()), m_size(std::make_shared<QZSize>())
{
    Set(x, y, code);
}

QZInt64 QZLattice::GetType() { return Type; }

void QZLattice::Set(int x, int y, unsigned short code)
{
    EnsureInitialised();
    if (code == 0 || IsEmpty(code)) code = lattice::kFallbackCode;
    const unsigned char* slot = SlotOf(code);
    m_location->Set(x, y);
    m_size->Set(slot[0], slot[1]);
    m_code = code;
}

const unsigned char* QZLattice::GetGlyph() const
{
    return g_table != nullptr ? SlotOf(static_cast<unsigned short>(m_code)) + lattice::kDotsOffset : nullptr;
}

void QZLattice::Save(unsigned short code, QZData* glyph) { Save(code, glyph, 1); }

void QZLattice::Save(unsigned short code, QZData* glyph, unsigned char sync)
{
    if (glyph == nullptr)
        QZRaise(QZExceptionCode::NullPointer, kClass, QZ_W("Save"))
            .Argument(QZ_W("QZUInt16"), QZInt64{code})
            .Throw();
    EnsureInitialised();
    // The sides are limited in the caller's object too. The dots keep their places although the rows become
    // shorter, so a glyph whose width was limited looks slanted.
    auto* bytes = static_cast<unsigned char*>(glyph->GetPointer());
    for (QZInt64 side = 0; side < std::min<QZInt64>(glyph->GetSize(), lattice::kDotsOffset); ++side)
        bytes[side] = std::min<unsigned char>(bytes[side], lattice::kSideLimit);
    lattice::Pack(SlotOf(code), bytes, glyph->GetSize());
    if (sync) Sync();
}

QZData* QZLattice::Load(unsigned short code)
{
    EnsureInitialised();
    QZData* glyph = new QZData(GlyphSize);
    lattice::Unpack(static_cast<unsigned char*>(glyph->GetPointer()), SlotOf(code));
    return glyph;
}

QZInt64 QZLattice::Load(unsigned char* buffer, unsigned short code)
{
    if (buffer == nullptr) return GlyphSize;
    EnsureInitialised();
    lattice::Unpack(buffer, SlotOf(code));
    return GlyphSize;
}

void QZLattice::Recycle(QZData** data) { QZDeleteAndClear(data); }

QZBool QZLattice::Check(const void* table, QZInt64 size)
{
    if (table == nullptr || size != lattice::kTableSize) return 0;
    const auto* slot = static_cast<const unsigned char*>(table);
    for (QZInt64 code = 0; code < lattice::kSlots; ++code, slot += lattice::kSlotSize)
    {
        const bool isEmpty = slot[0] == 0 || slot[1] == 0;
        if (!isEmpty && (slot[0] > lattice::kSideLimit || slot[1] > lattice::kSideLimit)) return 0;
    }
    return 1;
}

QZBool QZLattice::Check(const QZWChar* path)
{
    if (path == nullptr)
        QZRaise(QZExceptionCode::NullPointer, kClass, QZ_W("Check")).Argument(QZ_W("QZWChar*"), path).Throw();
    try
    {
        if (!QZFile::Exists(path))
            throw QZExceptionFactory::CreateIOException(QZIOExceptionCode::FileNotFound);
        QZOpenedFile file(QZFile::Open(path, QZFileOptions::Read | QZFileOptions::ShareRead));
        if (file->GetSize() != lattice::kTableSize) return 0;
        QZData table(lattice::kTableSize);
        auto* bytes = static_cast<unsigned char*>(table.GetPointer());
        return Check(bytes, QZReadWhole(file.Get(), 0, bytes, lattice::kTableSize));
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("Check")).Argument(QZ_W("QZWChar*"), path);
        throw;
    }
}

void QZLattice::Sync()
{
    EnsureInitialised();
    if (g_path == nullptr) return;
    try
    {
        const QZCriticalGuard lock(g_section);
        if (!QZFile::Exists(g_path)) QZFile::Create(g_path);
        WriteTable();
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("Sync"));
        throw;
    }
}
