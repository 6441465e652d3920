#include "device.h"

#include "common/owned.h"

namespace qzmon
{

namespace
{

/// How long to wait for an answer byte, in milliseconds.
constexpr int kTimeout = 1000;

using qzapp::Widen;

std::string InWords(const Correction& correction)
{
    return "offset " + NumberText(correction.offset) + ", gain " + NumberText(correction.gain);
}

}  // namespace

std::string SetMessage(const std::string& name, const Correction& asked, const Correction& got)
{
    if (asked == got) return name + ": " + InWords(got) + ", read back from the device.";
    return name + ": asked for " + InWords(asked) + ", but the device has " + InWords(got) + ".";
}

void Device::Connect(const std::string& port, QZInt64 baud)
{
    const std::lock_guard<std::recursive_mutex> guard(m_lock);
    Disconnect();
    m_device = new QZSerialDevice();
    try
    {
        QZString path = Text(port);
        m_device->SetTimeout(kTimeout);
        m_device->Connect(&path, baud);
        m_names.clear();
        for (int i = 0; i < m_channels; ++i)
        {
            std::string name = Utf8(qzapp::OwnedString(m_device->GetKey(i)).get());
            name = name.substr(0, name.find('\0'));
            m_names.push_back(name.empty() ? "CH" + std::to_string(i + 1) : name);
        }
        m_title = Utf8(m_device->GetModel()) + ", serial " + Utf8(m_device->GetSN()) + ", version " +
                  Utf8(m_device->GetVersion()) + ", on " + port;
    }
    catch (QZException*)
    {
        Disconnect();
        throw;
    }
}

void Device::Disconnect()
{
    const std::lock_guard<std::recursive_mutex> guard(m_lock);
    if (m_device == nullptr) return;
    QZSerialDevice* device = m_device;
    m_device = nullptr;
    try
    {
        device->Close();
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
    }
    delete device;
}

bool Device::IsConnected()
{
    const std::lock_guard<std::recursive_mutex> guard(m_lock);
    return m_device != nullptr;
}

std::vector<std::string> Device::Names()
{
    const std::lock_guard<std::recursive_mutex> guard(m_lock);
    return m_names;
}

std::string Device::Title()
{
    const std::lock_guard<std::recursive_mutex> guard(m_lock);
    return m_title;
}

template <typename Work>
auto Device::Use(Work work)
{
    const std::lock_guard<std::recursive_mutex> guard(m_lock);
    if (m_device == nullptr) throw Failure{503, "The device is not connected."};
    try
    {
        return work();
    }
    catch (QZException*)
    {
        Disconnect();
        throw;
    }
}

std::vector<double> Device::Read()
{
    return Use([this] {
        std::vector<double> values;
        values.reserve(static_cast<std::size_t>(m_channels));
        for (int i = 0; i < m_channels; ++i) values.push_back(Widen(m_device->GetValue(i)));
        return values;
    });
}

std::vector<Correction> Device::ReadCorrections()
{
    return Use([this] {
        std::vector<Correction> all;
        all.reserve(static_cast<std::size_t>(m_channels));
        for (int i = 0; i < m_channels; ++i) all.push_back(ReadCorrection(i));
        return all;
    });
}

Correction Device::ReadCorrection(int channel)
{
    return {Widen(m_device->GetIncremental(channel)), Widen(m_device->GetMagnification(channel))};
}

Correction Device::Write(int channel, const Correction& correction)
{
    return Use([&] {
        m_device->SetIncremental(channel, static_cast<float>(correction.offset));
        m_device->SetMagnification(channel, static_cast<float>(correction.gain));
        m_device->Sync();
        return ReadCorrection(channel);
    });
}

}  // namespace qzmon
