#include "net/net_http.h"

#include <cstdint>
#include <memory>

#include "fw/fw_data.h"
#include "fw/fw_data_factory.h"
#include "fw/fw_encoding.h"
#include "fw/fw_library.h"
#include "fw/fw_string.h"
#include "fw/internal/fw_trace.h"
#include "net/net_http_client.h"
#include "net/net_http_factory.h"
#include "net/net_http_request.h"
#include "net/net_http_response.h"
#include "net/net_url.h"
#include "os/os_ip_address.h"
#include "os/os_socket.h"
#include "sys/internal/sys_error.h"
#include "sys/internal/sys_socket.h"

const QZInt64 QZHttp::Type;

namespace
{
constexpr const QZWChar* kClass = QZ_W("QZHttp");
// The longest name of a host, in bytes of wide text.
constexpr QZInt64 kNameLimit = 4096;
// Milliseconds of one send or receive in the short form of Request.
constexpr int kTimeout = 60000;

QZHttpException* NotResolved()
{
    return QZExceptionFactory::CreateHttpException(QZHttpExceptionCode::NameNotResolved);
}

QZInt64 NumberOf(const void* pointer)
{
    return static_cast<QZInt64>(reinterpret_cast<std::uintptr_t>(pointer));
}

/// Calls transfer(); an exception gets a trace with the arguments of Send and Recv.
template <typename Call>
QZInt64 Transfer(const QZWChar* method, QZInt64 handle, const void* data, QZInt64 size, Call transfer)
{
    try
    {
        return transfer();
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, method)
            .Argument(QZ_W("QZInt64"), handle)
            .Argument(QZ_W("QZPVoid"), NumberOf(data))
            .Argument(QZ_W("QZInt64"), size);
        throw;
    }
}

/// The address of a name other than "localhost".
QZIPAddress* Resolve(QZString* name)
{
    QZData* bytes = QZEncoding::GetData(QZEncodingType::UTF8, name);
    bytes->NewSize(bytes->GetSize() + 1, static_cast<QZByte>(0));
    QZUInt32 value = 0;
    QZWChar* failure = nullptr;
    const bool found = os::HostAddress(static_cast<const char*>(bytes->GetPointer()), &value, &failure);
    QZDataFactory::Recycle(&bytes);
    if (found) return new QZIPAddress(value);
    if (failure == nullptr) throw NotResolved();
    QZHttpException* e =
        QZExceptionFactory::CreateHttpException(failure, QZHttpExceptionCode::NameNotResolved);
    os::ErrorTextFree(failure);
    throw e;
}
}  // namespace

QZInt64 QZHttp::GetType() { return Type; }

long long QZHttp::Send(long long handle, const void* data, long long size)
{
    return Transfer(QZ_W("Send"), handle, data, size, [=] { return QZSocket::Send(handle, data, size); });
}

long long QZHttp::Recv(long long handle, void* data, long long size)
{
    return Transfer(QZ_W("Recv"), handle, data, size, [=] { return QZSocket::Recv(handle, data, size); });
}

QZHttpResponse* QZHttp::Request(QZHttpRequest* request, int timeout)
{
    try
    {
        std::unique_ptr<QZIPAddress> address;
        {
            QZUrl url(request->GetUrl()->GetUrl());
            address.reset(GetHostByName(url.GetHost()));
        }
        if (address == nullptr) throw NotResolved();
        QZHttpClient client;
        client.Connect(address.get(), request->GetUrl()->GetPort());
        client.SetTimeout(timeout);
        return client.Request(request);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("Request"))
            .Argument(QZ_W("QZHttpRequest*"), static_cast<QZInt64>(request->GetObjectID()))
            .Argument(QZ_W("QZInt32"), timeout);
        throw;
    }
}

QZHttpResponse* QZHttp::Request(QZHttpRequest* request) { return Request(request, kTimeout); }

QZIPAddress* QZHttp::GetHostByName(QZString* name)
{
    try
    {
        if (name == nullptr || name->GetSize() > kNameLimit) throw NotResolved();
        if (name->Equals(QZ_W("localhost"), 1)) return new QZIPAddress(127, 0, 0, 1);
        return Resolve(name);
    }
    catch (QZException* e)
    {
        QZTrace(e, kClass, QZ_W("GetHostByName")).Argument(QZ_W("QZString*"), name);
        throw;
    }
}

void QZHttp::Recycle(QZIPAddress** address)
{
    if (*address == nullptr) QZLibAssert(0);
    delete *address;
    *address = nullptr;
}
