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

    bool operator==(const Correction& other) const = default;
};

/// The simulated controller with four instruments on it, on a pseudo-terminal that can be unplugged: a room's
/// temperature, a pump's pressure and flow, and a supply voltage. Its own thread serves the line.
class Simulator
{
public:
    static constexpr int kChannels = 4;

    /// @param kept  the corrections that it keeps from an earlier run; channels without one have offset 0 and
    /// gain 1
    explicit Simulator(const std::vector<Correction>& kept);
    ~Simulator();
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    /// The name of the host's end of the line. Empty while the line is unplugged, and on a system without
    /// pseudo-terminals.
    std::string PortName();
    void Plug(bool plugged);
    bool IsPlugged();

    /// The raw value of a channel at a time after the start, with noise.
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
