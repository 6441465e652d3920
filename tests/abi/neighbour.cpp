// Classes of a host, in the global namespace, with the names of components of the database engine, and with
// operations of the same names and parameters. A host may have such classes: none of these names is in
// <qzlib.h>. So this file includes no header of the library.

#include "abi/neighbour.h"

class OBJECTS;

namespace
{
int g_calls = 0;

long long Called()
{
    ++g_calls;
    return 0;
}
}  // namespace

class DATA
{
public:
    virtual ~DATA();
    long long NewHD(long long owner);
    long long NewHDForPD(long long pd);
    long long NewAD(long long hd, long long value);
    long long NewPD(long long hd, long long ld, const void* buffer, long long size);
    long long NewCD(long long hd, const void* buffer, long long size);
    long long NewLD(long long hd);
    long long NewRD(long long hd, long long position, long long oldValue, long long newValue);
    long long PutField(long long address, long long selector, long long value);
    long long PutText(long long slot, long long owner, const void* buffer, long long size);
    long long NewPlace();
};

DATA::~DATA() { Called(); }
long long DATA::NewHD(long long) { return Called(); }
long long DATA::NewHDForPD(long long) { return Called(); }
long long DATA::NewAD(long long, long long) { return Called(); }
long long DATA::NewPD(long long, long long, const void*, long long) { return Called(); }
long long DATA::NewCD(long long, const void*, long long) { return Called(); }
long long DATA::NewLD(long long) { return Called(); }
long long DATA::NewRD(long long, long long, long long, long long) { return Called(); }
long long DATA::PutField(long long, long long, long long) { return Called(); }
long long DATA::PutText(long long, long long, const void*, long long) { return Called(); }
long long DATA::NewPlace() { return Called(); }

class READ
{
public:
    virtual ~READ();
    long long ReadHD(long long side, long long address, long long selector);
    long long ReadPD(long long side, long long address, long long selector);
    long long HeadOf(long long record);
    long long Count(long long hd);
    long long Position(long long record);
    long long Nth(long long hd, long long n, long long selector);
    long long TreeRoot(long long address, long long n);
    long long Next(long long record);
    bool FindEnds(long long side, long long address, long long* start, long long* end);
    long long NthRecord(long long hd, long long n);
};

READ::~READ() { Called(); }
long long READ::ReadHD(long long, long long, long long) { return Called(); }
long long READ::ReadPD(long long, long long, long long) { return Called(); }
long long READ::HeadOf(long long) { return Called(); }
long long READ::Count(long long) { return Called(); }
long long READ::Position(long long) { return Called(); }
long long READ::Nth(long long, long long, long long) { return Called(); }
long long READ::TreeRoot(long long, long long) { return Called(); }
long long READ::Next(long long) { return Called(); }
bool READ::FindEnds(long long, long long, long long*, long long*) { return Called() != 0; }
long long READ::NthRecord(long long, long long) { return Called(); }

class LINK
{
public:
    virtual ~LINK();
    void Join(long long left, long long right);
    void ResetHD(long long hd);
    void Unlink(long long record);
    void RemovePD(long long pd);
    void RemoveLD(long long ld);
    long long MoveToHD(long long record, long long hd);
    void EndList(long long left);
};

LINK::~LINK() { Called(); }
void LINK::Join(long long, long long) { Called(); }
void LINK::ResetHD(long long) { Called(); }
void LINK::Unlink(long long) { Called(); }
void LINK::RemovePD(long long) { Called(); }
void LINK::RemoveLD(long long) { Called(); }
long long LINK::MoveToHD(long long, long long) { return Called(); }
void LINK::EndList(long long) { Called(); }

class CONSOLE
{
public:
    explicit CONSOLE(OBJECTS* objects);
    virtual ~CONSOLE();
    void CloseFile();
    bool Verify();
    void Format(long long version, long long addressMode);
    void SetLength(long long address);
    long long GetLength() const;
    long long GetSysInfo(long long key) const;
    bool CheckHeader();
    void FormatV5(bool sync);
};

CONSOLE::CONSOLE(OBJECTS*) { Called(); }
CONSOLE::~CONSOLE() { Called(); }
void CONSOLE::CloseFile() { Called(); }
bool CONSOLE::Verify() { return Called() != 0; }
void CONSOLE::Format(long long, long long) { Called(); }
void CONSOLE::SetLength(long long) { Called(); }
long long CONSOLE::GetLength() const { return Called(); }
long long CONSOLE::GetSysInfo(long long) const { return Called(); }
bool CONSOLE::CheckHeader() { return Called() != 0; }
void CONSOLE::FormatV5(bool) { Called(); }

class OBJECTS
{
public:
    OBJECTS();
    virtual ~OBJECTS();
    void Initialise(long long addressMode);
};

OBJECTS::OBJECTS() { Called(); }
OBJECTS::~OBJECTS() { Called(); }
void OBJECTS::Initialise(long long) { Called(); }

int NeighbourCalls() { return g_calls; }

void UseNeighbour()
{
    OBJECTS objects;
    CONSOLE console(&objects);
    DATA data;
    READ read;
    LINK link;
    objects.Initialise(4);
    console.Format(5, 4);
    data.NewHD(0);
    read.Count(0);
    link.EndList(0);
}
