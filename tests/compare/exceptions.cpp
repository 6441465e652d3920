// The exception family: codes, messages, traces on and off, the factory, and what objects raise about their
// locks.

#include "compare.h"

namespace compare
{
namespace
{
const QZInt64 kCodes[] = {0,      0x10,   0x100,  0x200,  0x210,  0x220,     0x221,  0x222,  0x223,  0x224,
                          0x300,  0x310,  0x320,  0x400,  0x500,  0x510,     0x600,  0x610,  0x620,  0x630,
                          0x700,  0x800,  0x900,  0x1000, 0x1100, 0x1200,    0x1300, 0x1400, 0x1500, 0x1600,
                          0x1700, 0x1800, 0x1900, 0x2000, 0x2100, 0x3030000, 77,     -1};
const QZInt64 kSystem[] = {0, 0, 2, 5, 13, 32};

template <typename T>
void Throw(Case& c, const char* name, T* exception)
{
    c.Do(name, [&] { throw static_cast<QZException*>(exception); });
}

template <typename T>
void Set(Case& c, const char* name, T* exception)
{
    Random& r = c.random;
    const Wide message = r.Text(8);
    c.Do("Set", [&] {
        exception->Set(r.Chance(20) ? nullptr : message.c_str(), static_cast<QZUInt64>(r.Pick(kCodes)),
                       r.Pick(kSystem));
    });
    if (r.Chance(20)) exception->Clear();
    Throw(c, name, exception);
}

void Make(Case& c)
{
    using F = QZExceptionFactory;
    Random& r = c.random;
    const QZInt64 code = r.Pick(kCodes);
    const QZInt64 system = r.Pick(kSystem);
    const Wide words = r.Text(10);
    const std::string narrow = Utf8(words);
    QZString text(words.c_str());
    switch (r.Below(22))
    {
        case 0: Throw(c, "plain", F::CreateException()); break;
        case 1:
            Throw(c, "message", InAnyForm(c, words, [](auto* t) { return F::CreateException(t); }));
            break;
        case 2:
            Throw(c, "message, code",
                  InAnyForm(c, words, [&](auto* t) { return F::CreateException(t, code); }));
            break;
        case 3: Throw(c, "code", F::CreateException(code)); break;
        case 4: Throw(c, "code, system", F::CreateException(code, system)); break;
        case 5: Throw(c, "io", F::CreateIOException(code)); break;
        case 6: Throw(c, "io, system", F::CreateIOException(code, system)); break;
        case 7: Throw(c, "io, message", F::CreateIOException(words.c_str(), code)); break;
        case 8: Throw(c, "io, message, system", F::CreateIOException(words.c_str(), code, system)); break;
        case 9: Throw(c, "task", F::CreateTaskException(code)); break;
        case 10: Throw(c, "database", F::CreateDatabaseException()); break;
        case 11: Throw(c, "database, code", F::CreateDatabaseException(code)); break;
        case 12: Throw(c, "socket", F::CreateSocketException(code)); break;
        case 13: Throw(c, "socket, system", F::CreateSocketException(code, system)); break;
        case 14: Throw(c, "http", F::CreateHttpException(code)); break;
        case 15: Throw(c, "http, message", F::CreateHttpException(words.c_str(), code)); break;
        case 16: Throw(c, "http, narrow", F::CreateHttpException(narrow.c_str(), code)); break;
        case 17: Throw(c, "http, text", F::CreateHttpException(&text)); break;
        case 18: Throw(c, "http, system", F::CreateHttpException(code, system)); break;
        case 19: Throw(c, "json", F::CreateJsonException()); break;
        case 20: Throw(c, "json, code", F::CreateJsonException(code)); break;
        default: Throw(c, "serial", new QZSerialException(static_cast<QZByte>(r.Next()))); break;
    }
}

void SetAny(Case& c)
{
    using F = QZExceptionFactory;
    switch (c.random.Below(7))
    {
        case 0: Set(c, "set plain", F::CreateException()); break;
        case 1: Set(c, "set io", F::CreateIOException(c.random.Pick(kCodes))); break;
        case 2: Set(c, "set task", F::CreateTaskException(0x100)); break;
        case 3: Set(c, "set database", F::CreateDatabaseException()); break;
        case 4: Set(c, "set socket", F::CreateSocketException(0x100)); break;
        case 5: Set(c, "set http", F::CreateHttpException(QZInt64{0x100})); break;
        default: Set(c, "set json", F::CreateJsonException()); break;
    }
}

void Trace(Case& c)
{
    Random& r = c.random;
    QZException* exception = QZExceptionFactory::CreateException(r.Pick(kCodes));
    for (QZInt64 frames = r.Range(1, 3); frames > 0; --frames)
    {
        const Wide name = r.Name(6);
        const Wide method = r.Name(6);
        exception->StackTraceBegin(name.c_str(), method.c_str());
        for (QZInt64 i = r.Below(4); i > 0; --i)
        {
            exception->StackTraceParameter(name.c_str());
            const Wide text = r.Text(6);
            const std::string bytes = r.Bytes(r.Below(9));
            QZString object(text.c_str());
            switch (r.Below(7))
            {
                case 0: exception->ArgumentTraceAppend(r.Number()); break;
                case 1: exception->ArgumentTraceAppend(static_cast<int>(r.Number())); break;
                case 2: exception->ArgumentTraceAppend(r.Real()); break;
                case 3:
                    exception->ArgumentTraceAppend(r.Chance(20) ? nullptr : bytes.data(),
                                                   static_cast<QZInt64>(bytes.size()));
                    break;
                case 4:
                    exception->ArgumentTraceAppend(static_cast<const void*>(object.GetStructPointer()));
                    break;
                default: InAnyFormOrNull(c, text, [&](auto* t) { exception->ArgumentTraceAppend(t); }); break;
            }
        }
        if (r.Chance(20)) c.Value("trace", exception->GetArgumentTrace());
    }
    Throw(c, "traced", exception);
}

/// Operations that fail in layers, so that frames are added on the way.
void Layers(Case& c)
{
    Random& r = c.random;
    QZString text(r.Text(5).c_str());
    QZObject object;
    const auto key = static_cast<QZUInt64>(r.Range(1, 3));
    switch (r.Below(7))
    {
        case 0: c.Do("SubString", [&] { return Own(text.SubString(r.Range(-2, 9), r.Range(-2, 9))); }); break;
        case 1:
            c.Do("DeserializeObject", [&] {
                QZJsonValue* v = QZJsonFactory::DeserializeObject(&text);
                QZJsonFactory::Recycle(&v);
            });
            break;
        case 2: c.Do("StringToDateTime", [&] { return Own(QZConvert::StringToDateTime(&text)); }); break;
        case 3:
            c.Do("Open", [&] {
                QZFile* file = QZFile::Open("missing/file.bin");
                QZFile::Close(&file);
            });
            break;
        case 4:
            c.Do("QZIPAddress", [&] {
                QZIPAddress address(&text);
                return address.GetValue();
            });
            break;
        case 5: c.Do("Decode", [&] { return Own(QZBase64::DeCode(&text)); }); break;
        default:
            c.Do("lock", [&] { return object.SetDisposable(key, 0); });
            c.Do("lock again", [&] { return object.SetDisposable(key, 0); });
            c.Do("unlock", [&] { return object.SetDisposable(static_cast<QZUInt64>(r.Range(1, 3)), 1); });
            c.Do("unlock", [&] { return object.SetDisposable(key, 1); });
            c.Value("free", object.IsDisposable());
            break;
    }
}

}  // namespace

void RunExceptions(Case& c)
{
    QZException::IsStackTrace = static_cast<QZBool>(c.random.Chance(60));
    for (int i = 0; i < 10; ++i)
    {
        switch (c.random.Below(5))
        {
            case 0: SetAny(c); break;
            case 1: Trace(c); break;
            case 2: Layers(c); break;
            default: Make(c); break;
        }
    }
    const QZInt64 code = c.random.Pick(kCodes);
    c.Value("text", QZException::ErrorCodeToMessage(code));
    c.Value("task text", QZTaskException::ErrorCodeToMessage(code));
    c.Value("database text", QZDatabaseException::ErrorCodeToMessage(code));
    c.Value("socket text", QZSocketException::ErrorCodeToMessage(code));
    c.Value("json text", QZJsonException::ErrorCodeToMessage(code));
}

}  // namespace compare
