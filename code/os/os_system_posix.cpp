#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "os/os_system_posix.h"

namespace os
{

namespace
{

struct SocketNumber
{
    QZUInt32 reported;
    int native;
};

// Socket failures are reported by the numbers that hosts know; their texts are the system's own.
constexpr SocketNumber kSocketNumbers[] = {
    {10004, EINTR},         {10009, EBADF},        {10013, EACCES},          {10014, EFAULT},
    {10022, EINVAL},        {10024, EMFILE},       {10035, EWOULDBLOCK},     {10036, EINPROGRESS},
    {10037, EALREADY},      {10038, ENOTSOCK},     {10039, EDESTADDRREQ},    {10040, EMSGSIZE},
    {10041, EPROTOTYPE},    {10042, ENOPROTOOPT},  {10043, EPROTONOSUPPORT}, {10044, ESOCKTNOSUPPORT},
    {10045, EOPNOTSUPP},    {10046, EPFNOSUPPORT}, {10047, EAFNOSUPPORT},    {10048, EADDRINUSE},
    {10049, EADDRNOTAVAIL}, {10050, ENETDOWN},     {10051, ENETUNREACH},     {10052, ENETRESET},
    {10053, ECONNABORTED},  {10054, ECONNRESET},   {10055, ENOBUFS},         {10056, EISCONN},
    {10057, ENOTCONN},      {10058, ESHUTDOWN},    {10060, ETIMEDOUT},       {10061, ECONNREFUSED},
    {10064, EHOSTDOWN},     {10065, EHOSTUNREACH}, {11002, EAGAIN},
};

int NativeNumber(QZUInt32 error)
{
    for (const SocketNumber& number : kSocketNumbers)
        if (number.reported == error) return number.native;
    return static_cast<int>(error);
}

// One code point from UTF-8; false for a byte that starts no whole, shortest, legal form.
bool DecodeUtf8(std::string_view bytes, size_t* position, char32_t* code)
{
    auto at = [&](size_t index) { return static_cast<unsigned char>(bytes[index]); };
    unsigned char first = at(*position);
    if (first < 0x80)
    {
        *code = first;
        ++*position;
        return true;
    }
    size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || *position + length > bytes.size()) return false;
    char32_t value = first & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i)
    {
        if ((at(*position + i) & 0xC0) != 0x80) return false;
        value = value << 6 | (at(*position + i) & 0x3Fu);
    }
    bool legal = length == 2 || (length == 3 && value >= 0x800 && (value < 0xD800 || value > 0xDFFF)) ||
                 (length == 4 && value >= 0x10000 && value <= 0x10FFFF);
    if (!legal) return false;
    *code = value;
    *position += length;
    return true;
}

// One code point from UTF-16; lone surrogates come through as they are.
char32_t DecodeUtf16(const QZWChar* text, QZInt64 units, QZInt64* position)
{
    char32_t unit = text[(*position)++];
    if (unit < 0xD800 || unit > 0xDBFF || *position >= units) return unit;
    char32_t low = text[*position];
    if (low < 0xDC00 || low > 0xDFFF) return unit;
    ++*position;
    return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
}

int EncodeUtf8(char32_t code, char* out)
{
    auto byte = [](char32_t value) { return static_cast<char>(static_cast<unsigned char>(value)); };
    if (code < 0x80)
    {
        out[0] = byte(code);
        return 1;
    }
    if (code < 0x800)
    {
        out[0] = byte(0xC0 | code >> 6);
        out[1] = byte(0x80 | (code & 0x3F));
        return 2;
    }
    if (code < 0x10000)
    {
        out[0] = byte(0xE0 | code >> 12);
        out[1] = byte(0x80 | (code >> 6 & 0x3F));
        out[2] = byte(0x80 | (code & 0x3F));
        return 3;
    }
    out[0] = byte(0xF0 | code >> 18);
    out[1] = byte(0x80 | (code >> 12 & 0x3F));
    out[2] = byte(0x80 | (code >> 6 & 0x3F));
    out[3] = byte(0x80 | (code & 0x3F));
    return 4;
}

int EncodeUtf16(char32_t code, QZWChar* out)
{
    if (code < 0x10000)
    {
        out[0] = static_cast<QZWChar>(code);
        return 1;
    }
    out[0] = static_cast<QZWChar>(0xD800 + ((code - 0x10000) >> 10));
    out[1] = static_cast<QZWChar>(0xDC00 + ((code - 0x10000) & 0x3FF));
    return 2;
}

bool IsSurrogate(char32_t code) { return code >= 0xD800 && code <= 0xDFFF; }

}  // namespace

// ---- Errors

QZUInt32 LastError() { return static_cast<QZUInt32>(errno); }

void SetLastError(QZUInt32 error) { errno = static_cast<int>(error); }

QZUInt32 ErrorFileExists() { return EEXIST; }

QZUInt32 ErrorNoMemory() { return ENOMEM; }

bool ErrorText(QZUInt32 error, QZWChar** text)
{
    *text = nullptr;
    TerminationHold hold;
    const char* found = strerrordesc_np(NativeNumber(error));
    if (found == nullptr)
    {
        errno = EINVAL;
        return false;
    }
    size_t length = std::strlen(found);
    QZWChar* copy = static_cast<QZWChar*>(std::malloc((length + 1) * sizeof(QZWChar)));
    if (copy == nullptr) return false;
    for (size_t i = 0; i <= length; ++i) copy[i] = static_cast<unsigned char>(found[i]);
    *text = copy;
    return true;
}

void ErrorTextFree(QZWChar* text)
{
    TerminationHold hold;
    std::free(text);
}

void AssertReport(const char* expression, const char* file, int line)
{
    std::fprintf(stderr, "%s:%d: Assertion `%s' failed.\n", file, line, expression);
    std::fflush(stderr);
    std::abort();
}

QZUInt32 ErrorDirectoryExists() { return EEXIST; }

QZUInt32 ErrorBadAddress() { return EFAULT; }

QZUInt32 ErrorNameTooLong() { return ENAMETOOLONG; }

QZUInt32 ErrorNotFound() { return ENOENT; }

QZUInt32 SocketNumberOf(int native)
{
    switch (native)
    {
        case EAGAIN: return kSocketTryAgain;
        case EBADF: return kSocketNotASocket;
        case ENOMEM: return kSocketNoBuffers;
        case EPIPE: return 10058;
        case EPERM: return 10013;
        case ENFILE: return 10024;
        default: break;
    }
    for (const SocketNumber& number : kSocketNumbers)
        if (number.native == native) return number.reported;
    return static_cast<QZUInt32>(native);
}

// ---- Narrow text

QZInt64 NarrowToWide(const char* text, QZInt64 bytes, QZWChar* out, QZInt64 capacity)
{
    if (text == nullptr || bytes <= 0) return 0;
    std::string_view view(text, static_cast<size_t>(bytes));
    QZInt64 written = 0;
    for (size_t position = 0; position < view.size();)
    {
        // Most of any narrow text is ASCII, one byte for one unit.
        if (static_cast<signed char>(view[position]) >= 0)
        {
            if (out != nullptr)
            {
                if (written >= capacity) break;
                out[written] = static_cast<QZWChar>(view[position]);
            }
            ++written;
            ++position;
            continue;
        }
        char32_t code;
        if (!DecodeUtf8(view, &position, &code))
        {
            code = 0xFFFD;
            ++position;
        }
        QZWChar units[2];
        int count = EncodeUtf16(code, units);
        if (out != nullptr)
        {
            if (written + count > capacity) break;
            out[written] = units[0];
            if (count == 2) out[written + 1] = units[1];
        }
        written += count;
    }
    return written;
}

QZInt64 WideToNarrow(const QZWChar* text, QZInt64 units, char* out, QZInt64 capacity)
{
    if (text == nullptr || units <= 0) return 0;
    QZInt64 written = 0;
    for (QZInt64 position = 0; position < units;)
    {
        if (text[position] < 0x80)
        {
            if (out != nullptr)
            {
                if (written >= capacity) break;
                out[written] = static_cast<char>(text[position]);
            }
            ++written;
            ++position;
            continue;
        }
        char32_t code = DecodeUtf16(text, units, &position);
        char bytes[4];
        int count = EncodeUtf8(IsSurrogate(code) ? 0xFFFD : code, bytes);
        if (out != nullptr)
        {
            if (written + count > capacity) break;
            for (int i = 0; i < count; ++i) out[written + i] = bytes[i];
        }
        written += count;
    }
    return written;
}

std::string ToBytes(const QZWChar* text, QZInt64 units)
{
    std::string result;
    for (QZInt64 position = 0; position < units;)
    {
        char32_t code = DecodeUtf16(text, units, &position);
        if (code >= 0xDC80 && code <= 0xDCFF)
        {
            result.push_back(static_cast<char>(static_cast<unsigned char>(code - 0xDC00)));
            continue;
        }
        char bytes[4];
        result.append(bytes, static_cast<size_t>(EncodeUtf8(code, bytes)));
    }
    return result;
}

std::string ToBytes(const QZWChar* text)
{
    return ToBytes(text, static_cast<QZInt64>(std::char_traits<QZWChar>::length(text)));
}

std::u16string ToText(std::string_view bytes)
{
    std::u16string result;
    for (size_t position = 0; position < bytes.size();)
    {
        char32_t code;
        if (!DecodeUtf8(bytes, &position, &code))
            code = 0xDC00u + static_cast<unsigned char>(bytes[position++]);
        QZWChar units[2];
        result.append(units, static_cast<size_t>(EncodeUtf16(code, units)));
    }
    return result;
}

// ---- Memory

void* HeapAllocate(QZInt64 size)
{
    if (!Gate(Op::Allocate)) return nullptr;
    TerminationHold hold;
    return std::malloc(size > 0 ? static_cast<size_t>(size) : 1);
}

void* HeapResize(void* block, QZInt64 size)
{
    if (!Gate(Op::Allocate)) return nullptr;
    TerminationHold hold;
    return std::realloc(block, size > 0 ? static_cast<size_t>(size) : 1);
}

void HeapFree(void* block)
{
    TerminationHold hold;
    std::free(block);
}

namespace
{

constexpr QZUInt64 kReserveUnit = 0x10000;

QZUInt64 PageSize()
{
    static const QZUInt64 size = static_cast<QZUInt64>(sysconf(_SC_PAGESIZE));
    return size;
}

QZUInt64 WholeUnits(QZInt64 size)
{
    return (static_cast<QZUInt64>(size) + kReserveUnit - 1) & ~(kReserveUnit - 1);
}

bool ProtectPages(void* position, QZInt64 size, int protection)
{
    QZUInt64 begin = reinterpret_cast<QZUInt64>(position);
    QZUInt64 end = begin + static_cast<QZUInt64>(size);
    begin &= ~(PageSize() - 1);
    end = (end + PageSize() - 1) & ~(PageSize() - 1);
    return mprotect(reinterpret_cast<void*>(begin), end - begin, protection) == 0;
}

}  // namespace

void* MemoryReserve(QZInt64 size)
{
    if (!Gate(Op::Reserve)) return nullptr;
    if (size <= 0)
    {
        errno = EINVAL;
        return nullptr;
    }
    // One unit more than asked, so that a range that begins on a unit can be cut out.
    QZUInt64 whole = WholeUnits(size);
    void* region =
        mmap(nullptr, whole + kReserveUnit, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (region == MAP_FAILED) return nullptr;
    QZUInt64 begin = reinterpret_cast<QZUInt64>(region);
    QZUInt64 aligned = (begin + kReserveUnit - 1) & ~(kReserveUnit - 1);
    if (aligned != begin) munmap(region, aligned - begin);
    if (begin + kReserveUnit != aligned)
        munmap(reinterpret_cast<void*>(aligned + whole), begin + kReserveUnit - aligned);
    return reinterpret_cast<void*>(aligned);
}

bool MemoryCommit(void* position, QZInt64 size)
{
    if (!Gate(Op::Reserve)) return false;
    return ProtectPages(position, size, PROT_READ | PROT_WRITE);
}

bool MemoryProtect(void* position, QZInt64 size, Protection protection)
{
    switch (protection)
    {
        case Protection::ReadWrite: return ProtectPages(position, size, PROT_READ | PROT_WRITE);
        case Protection::ReadOnly: return ProtectPages(position, size, PROT_READ);
        case Protection::NoAccess: return ProtectPages(position, size, PROT_NONE);
    }
    return false;
}

void MemoryRelease(void* position, QZInt64 size)
{
    if (position != nullptr) munmap(position, WholeUnits(size));
}

QZInt64 MemoryPageSize() { return static_cast<QZInt64>(PageSize()); }

bool ProcessWorkingSet(QZUInt64* bytes)
{
    if (!Gate(Op::System)) return false;
    TerminationHold hold;
    std::FILE* file = std::fopen("/proc/self/statm", "re");
    if (file == nullptr) return false;
    unsigned long long total = 0;
    unsigned long long resident = 0;
    bool read = std::fscanf(file, "%llu %llu", &total, &resident) == 2;
    std::fclose(file);
    if (read) *bytes = resident * PageSize();
    return read;
}

// ---- Time

namespace
{

/// The last second that the calling thread asked for, and what the zone was then: to take a second apart
/// costs many times what reading the clock does, and servers stamp each request several times.
struct TakenApart
{
    time_t second{-1};
    long zone{0};
    int summer{0};
    DateTime time{};
};

__attribute__((tls_model("initial-exec"))) thread_local constinit TakenApart t_now{};

}  // namespace

void LocalTime(DateTime* time)
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (now.tv_sec != t_now.second || t_now.zone != ::timezone || t_now.summer != ::daylight)
    {
        tm parts;
        localtime_r(&now.tv_sec, &parts);
        t_now.time.Year = parts.tm_year + 1900;
        t_now.time.Month = parts.tm_mon + 1;
        t_now.time.Day = parts.tm_mday;
        t_now.time.Hour = parts.tm_hour;
        t_now.time.Minute = parts.tm_min;
        // A leap second counts as the second before it.
        t_now.time.Second = parts.tm_sec > 59 ? 59 : parts.tm_sec;
        t_now.zone = ::timezone;
        t_now.summer = ::daylight;
        t_now.second = now.tv_sec;
    }
    *time = t_now.time;
    time->Millisecond = static_cast<int>(now.tv_nsec / 1000000);
}

bool SetLocalTime(const DateTime& time)
{
    if (!Gate(Op::System)) return false;
    bool done;
    if (TestSetTime(time, &done)) return done;
    tm parts = {};
    parts.tm_year = time.Year - 1900;
    parts.tm_mon = time.Month - 1;
    parts.tm_mday = time.Day;
    parts.tm_hour = time.Hour;
    parts.tm_min = time.Minute;
    parts.tm_sec = time.Second;
    parts.tm_isdst = -1;
    timespec now = {};
    errno = 0;
    now.tv_sec = mktime(&parts);
    if (now.tv_sec == -1 && errno != 0) return false;
    now.tv_nsec = time.Millisecond * 1000000L;
    return clock_settime(CLOCK_REALTIME, &now) == 0;
}

QZInt64 MonotonicMicros()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<QZInt64>(now.tv_sec) * 1000000 + now.tv_nsec / 1000;
}

QZUInt32 TickCount()
{
    timespec now;
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<QZUInt32>(static_cast<QZUInt64>(now.tv_sec) * 1000 +
                                 static_cast<QZUInt64>(now.tv_nsec) / 1000000);
}

}  // namespace os
