#ifndef QZLIB_APPS_QZMON_SIMULATOR_H
#define QZLIB_APPS_QZMON_SIMULATOR_H

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "qzdevice/controller.h"
#include "qzdevice/line.h"

namespace qzmon
{

/// A correction that the controller applies to a channel: value = raw * gain + offset.
struct Correction
{
    double offset = 0;
    double gain = 1;
};

/// The simulated controller with four instruments on it, on a pseudo-terminal that can be unplugged: a room's
/// temperature, a pump's pressure and flow, and a supply voltage. It has a thread of its own.
class Simulator
{
public:
    static constexpr int kChannels = 4;

    /// @param kept  the corrections that it kept from an earlier run; fewer are filled up
    explicit Simulator(const std::vector<Correction>& kept);
    ~Simulator();
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    /// The host's end of the line; empty while it is unplugged, and where the system has no such lines.
    std::string PortName();
    void Plug(bool plugged);
    bool IsPlugged();

    /// The raw value of a channel so many seconds after the start, noise included.
    static double Raw(int channel, double seconds, double noise);

private:
    void Serve();
    void Measure(double seconds);

    qzdevice::Controller m_controller;
    std::mutex m_lock;
    std::unique_ptr<qzdevice::Line> m_line;
    bool m_plugged = true;
    unsigned m_noise = 1;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

}  // namespace qzmon

#endif
