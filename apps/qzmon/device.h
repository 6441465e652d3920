#ifndef QZLIB_APPS_QZMON_DEVICE_H
#define QZLIB_APPS_QZMON_DEVICE_H

#include <mutex>
#include <string>
#include <vector>

#include "simulator.h"
#include "text.h"

namespace qzmon
{

/// What the device has after a set, and what was asked for where that is another.
std::string SetMessage(const std::string& name, const Correction& asked, const Correction& got);

/// The controller at the end of a serial line. Any thread may call; operations run one at a time. They throw
/// what QZSerialDevice throws, and close the line before that.
class Device
{
public:
    explicit Device(int channels) : m_channels(channels) {}
    ~Device() { Disconnect(); }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    void Connect(const std::string& port, QZInt64 baud);
    void Disconnect();
    bool IsConnected();

    /// The names of the channels, which are read at connection.
    std::vector<std::string> Names();
    /// "SIM4 monitor, serial SN000001, version 2.41 on /dev/pts/3"
    std::string Title();

    std::vector<double> Read();
    std::vector<Correction> ReadCorrections();
    /// Sets the correction of a channel. Returns what the device answers when it is asked for it then. Throws
    /// Failure 503 without a connection.
    Correction Write(int channel, const Correction& correction);

private:
    template <typename Work>
    auto Use(Work work);
    Correction ReadCorrection(int channel);

    const int m_channels;
    std::recursive_mutex m_lock;
    QZSerialDevice* m_device = nullptr;
    std::vector<std::string> m_names;
    std::string m_title;
};

}  // namespace qzmon

#endif
