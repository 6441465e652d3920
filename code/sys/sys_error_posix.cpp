#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "sys/internal/sys_error.h"
#include "sys/internal/sys_posix.h"

namespace os
{

namespace
{

struct SocketNumber
{
    QZUInt32 reported;
    int native;
};

// Socket failures are reported by their Windows numbers with the texts of this system.
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

}  // namespace

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

QZUInt32 ErrorInUse() { return EBUSY; }

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

}  // namespace os
