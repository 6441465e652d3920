// The commands that talk to a device.

#include <qzlib.h>

#include <algorithm>
#include <cstring>

#include "common/owned.h"
#include "controller_protocol.h"
#include "text.h"
#include "tool.h"

namespace qzdevice
{

namespace
{

using qzapp::OwnedFile;
using qzapp::OwnedString;

/// Bytes of memory between two steps of the progress bar.
constexpr QZInt64 kPiece = 1024;
constexpr QZInt64 kMemoryLimit = QZInt64{1} << 32;

/// A device that is connected while a command runs.
class Device
{
public:
    Device(const std::string& port, const Options& options)
    {
        m_device.SetTimeout(options.timeout);
        m_device.Checksum(options.checksum ? 1 : 0);
        QZString path(port.c_str());
        try
        {
            m_device.Connect(&path, options.baud);
        }
        catch (QZException* e)
        {
            const bool refused = e->GetType() == QZSerialException::Type;
            throw Failure{refused ? kExitRefused : kExitAccess, Visible(port) + ": " + TakeMessage(e)};
        }
    }

    QZSerialDevice* operator->() { return &m_device; }

private:
    QZSerialDevice m_device;
};

int ParseIndex(const std::string& text)
{
    return static_cast<int>(ParseInteger(text, INT32_MIN, INT32_MAX, "index"));
}

QZInt64 ParseAddress(const std::string& text) { return ParseInteger(text, 0, kMemoryLimit - 1, "address"); }

std::string TakeText(QZString* text) { return Utf8(OwnedString(text).get()); }

template <typename T>
std::string BytesOf(T value)
{
    std::string bytes(sizeof(value), '\0');
    std::memcpy(bytes.data(), &value, sizeof(value));
    return bytes;
}

std::string ArgumentBytes(const std::string& word)
{
    if (word.compare(0, 4, "i16:") == 0)
        return BytesOf(static_cast<QZInt16>(ParseInteger(word.substr(4), INT16_MIN, INT16_MAX, "i16")));
    if (word.compare(0, 4, "i32:") == 0)
        return BytesOf(static_cast<QZInt32>(ParseInteger(word.substr(4), INT32_MIN, INT32_MAX, "i32")));
    if (word.compare(0, 2, "f:") == 0) return BytesOf(ParseFloat(word.substr(2), "f"));
    std::string bytes;
    if (!ParseHex(word, &bytes))
        throw Failure{kExitUsage, "argument \"" + Visible(word) + "\" is not i16:, i32:, f: or hex"};
    return bytes;
}

/// Asks whether the memory may be erased. Throws Failure unless the answer is yes.
void AskForErase(const std::string& port, const Console& console)
{
    if (console.in == nullptr)
        throw Failure{kExitUsage,
                      "order erase: erases the memory of the device; without a terminal to ask at it "
                      "needs --yes"};
    std::fprintf(console.err, "Erase the memory of the device on %s? [y/N] ", Visible(port).c_str());
    std::fflush(console.err);
    char line[16] = {};
    const std::string answer = std::fgets(line, sizeof line, console.in) != nullptr ? line : "";
    if (answer != "y\n" && answer != "yes\n" && answer != "Y\n")
        throw Failure{kExitUsage, "order erase: not confirmed, nothing is erased"};
}

}  // namespace

int ListCommand(const Arguments&, const Options&, const Console& console)
{
    QZList<QZString>* ports = QZSerial::GetDeviceList();
    for (QZObject* at = ports->GetFirst(); at != nullptr; at = at->LinkNext())
        std::fprintf(console.out, "%s\n", Visible(PlainPort(Utf8(static_cast<QZString*>(at)))).c_str());
    QZSerial::Recycle(&ports);
    return kExitGood;
}

int ShowCommand(const Arguments& arguments, const Options& options, const Console& console)
{
    Device device(arguments[0], options);
    const bool initialised = device->IsDeviceInit() != 0;
    std::fprintf(console.out, "port           %s\n", Visible(PlainPort(Utf8(device->GetPath()))).c_str());
    std::fprintf(console.out, "model          %s\n", Visible(Utf8(device->GetModel())).c_str());
    std::fprintf(console.out, "series         %s\n",
                 Visible(TakeText(QZSerialDevice::GetSeries(device->GetModel()))).c_str());
    std::fprintf(console.out, "serial number  %s\n", Visible(Utf8(device->GetSN())).c_str());
    std::fprintf(console.out, "version        %s\n", Visible(Utf8(device->GetVersion())).c_str());
    std::fprintf(console.out, "initialised    %s\n", initialised ? "yes" : "no");
    return kExitGood;
}

int GetCommand(const Arguments& arguments, const Options& options, const Console& console)
{
    const std::string& what = arguments[1];
    const int index = ParseIndex(arguments[2]);
    if (what != "key" && what != "value" && what != "incremental" && what != "magnification")
        throw Failure{kExitUsage,
                      "get: \"" + Visible(what) + "\" is not incremental, magnification, key or value"};
    Device device(arguments[0], options);
    if (what == "key")
    {
        std::string key = TakeText(device->GetKey(index));
        while (!key.empty() && key.back() == '\0') key.pop_back();
        std::fprintf(console.out, "%s\n", Visible(key).c_str());
        return kExitGood;
    }
    const float value = what == "value"         ? device->GetValue(index)
                        : what == "incremental" ? device->GetIncremental(index)
                                                : device->GetMagnification(index);
    std::fprintf(console.out, "%s\n", qzapp::NumberText(qzapp::Widen(value)).c_str());
    return kExitGood;
}

int SetCommand(const Arguments& arguments, const Options& options, const Console&)
{
    const std::string& what = arguments[1];
    const bool serial = what == "serial";
    if (arguments.size() != (serial ? 3u : 4u)) throw qzapp::WrongCount("set", "qzdevice");
    if (serial)
    {
        QZString number(arguments[2].c_str());
        Device device(arguments[0], options);
        device->UpdateSN(&number);
        return kExitGood;
    }
    const int index = ParseIndex(arguments[2]);
    if (what == "key")
    {
        QZString key(arguments[3].c_str());
        Device device(arguments[0], options);
        device->SetKey(index, &key);
        return kExitGood;
    }
    if (what != "value" && what != "incremental" && what != "magnification")
        throw Failure{kExitUsage, "set: \"" + Visible(what) +
                                      "\" is not incremental, magnification, key, value or serial"};
    const float value = ParseFloat(arguments[3], what.c_str());
    Device device(arguments[0], options);
    if (what == "value")
        device->SetValue(index, value);
    else if (what == "incremental")
        device->SetIncremental(index, value);
    else
        device->SetMagnification(index, value);
    return kExitGood;
}

int CallCommand(const Arguments& arguments, const Options& options, const Console& console)
{
    const short function = static_cast<short>(ParseInteger(arguments[1], INT16_MIN, UINT16_MAX, "function"));
    std::string bytes;
    for (std::size_t i = 2; i < arguments.size(); ++i) bytes += ArgumentBytes(arguments[i]);
    if (bytes.size() > protocol::kArgumentsSize)
        throw Failure{kExitUsage, "call: a function takes at most 14 bytes"};
    Device device(arguments[0], options);
    QZSerialDeviceBuffer result{};
    device->FunExec(function, bytes.data(), static_cast<QZInt64>(bytes.size()), &result);
    const char* first = reinterpret_cast<const char*>(result.Bytes);
    std::fprintf(console.out, "bytes  %s\ni16    %d\ni32    %d\nfloat  %s\n",
                 HexText({first, protocol::kBufferSize}).c_str(), result.Int16, result.Int32,
                 qzapp::NumberText(qzapp::Widen(result.Float)).c_str());
    return kExitGood;
}

int ReadCommand(const Arguments& arguments, const Options& options, const Console& console)
{
    const QZInt64 address = ParseAddress(arguments[1]);
    const QZInt64 length = ParseInteger(arguments[2], 0, kMemoryLimit - address, "length");
    const std::string& path = arguments[3];
    if (!options.force && QZFile::Exists(path.c_str()))
        throw Failure{kExitAccess, Visible(path) + ": the file is there already; --force writes over it"};
    Device device(arguments[0], options);
    std::string bytes(static_cast<std::size_t>(length), '\0');
    {
        Progress progress(console.err, console.terminal, length);
        for (QZInt64 done = 0; done < length; done += kPiece)
        {
            const QZInt64 size = std::min(kPiece, length - done);
            device->ReadMemory(address + done, bytes.data() + done, size, options.verify ? 1 : 0);
            progress.Show(done + size);
        }
    }
    if (!QZFile::Exists(path.c_str())) QZFile::Create(path.c_str());
    const OwnedFile file(QZFile::Open(path.c_str(), QZFileOptions::ReadWrite | QZFileOptions::Write));
    file->NewSize(0);
    if (length > 0) file->Write(0, bytes.data(), length);
    std::fprintf(console.out, "%lld bytes read\n", length);
    return kExitGood;
}

int WriteCommand(const Arguments& arguments, const Options& options, const Console& console)
{
    const QZInt64 address = ParseAddress(arguments[1]);
    std::string bytes;
    {
        const OwnedFile file(QZFile::Open(arguments[2].c_str(), QZFileOptions::ReadWrite));
        bytes.resize(static_cast<std::size_t>(file->GetSize()));
        if (!bytes.empty()) file->Read(0, bytes.data(), static_cast<QZInt64>(bytes.size()));
    }
    const QZInt64 length = static_cast<QZInt64>(bytes.size());
    if (length > kMemoryLimit - address)
        throw Failure{kExitUsage, "write: the file is longer than any memory"};
    Device device(arguments[0], options);
    {
        Progress progress(console.err, console.terminal, length);
        for (QZInt64 done = 0; done < length; done += kPiece)
        {
            const QZInt64 size = std::min(kPiece, length - done);
            device->WriteMemory(address + done, bytes.data() + done, size, options.verify ? 1 : 0);
            progress.Show(done + size);
        }
    }
    std::fprintf(console.out, "%lld bytes written\n", length);
    return kExitGood;
}

int OrderCommand(const Arguments& arguments, const Options& options, const Console& console)
{
    const std::string& order = arguments[1];
    if (order != "init" && order != "sync" && order != "restart" && order != "erase")
        throw Failure{kExitUsage, "order: \"" + Visible(order) + "\" is not init, sync, restart or erase"};
    if (order == "erase" && !options.yes) AskForErase(arguments[0], console);
    Device device(arguments[0], options);
    if (order == "init")
        device->InitDevice();
    else if (order == "sync")
        device->Sync();
    else if (order == "restart")
        device->Restart();
    else
        device->Earse();
    return kExitGood;
}

}  // namespace qzdevice
