#include "simulator.h"

#include <chrono>
#include <cmath>

namespace qzmon
{

namespace
{

constexpr double kTurn = 6.283185307179586;
/// Seconds between two measurements.
constexpr double kPace = 0.01;

/// How much of its power a pump gives, 0 to 1. It runs for 25 of every 40 seconds, and starts and stops
/// gradually.
double Pump(double seconds)
{
    // The offset makes the pump run when the monitor starts.
    const double phase = std::fmod(seconds + 48, 40.0);
    if (phase < 25) return 1 - std::exp(-phase / 1.5);
    return std::exp(-(phase - 25) / 2.5);
}

}  // namespace

double Simulator::Raw(int channel, double seconds, double noise)
{
    switch (channel)
    {
        case 0: return 21.5 + 1.8 * std::sin(kTurn * seconds / 300) + 0.4 * Pump(seconds - 6) + 0.03 * noise;
        case 1:
            return 1.0 + 2.4 * Pump(seconds) + 0.05 * std::sin(kTurn * seconds * 1.3) * Pump(seconds) +
                   0.012 * noise;
        case 2: return 12.5 * Pump(seconds - 0.5) + 0.12 * noise;
        default: return 24.0 - 0.35 * Pump(seconds) + 0.05 * std::sin(kTurn * seconds / 17) + 0.015 * noise;
    }
}

Simulator::Simulator(const std::vector<Correction>& kept) : m_line(qzdevice::MakeTerminal())
{
    m_controller.model = "SIM4 monitor";
    m_controller.settings.initialised = true;
    const char* const names[kChannels] = {"TEMP", "PRES", "FLOW", "VOLT"};
    for (int i = 0; i < qzdevice::Controller::kSlots; ++i)
    {
        const Correction correction =
            static_cast<std::size_t>(i) < kept.size() ? kept[static_cast<std::size_t>(i)] : Correction();
        m_controller.settings.keys[i] =
            i < kChannels ? names[i] : std::string(qzdevice::protocol::kKeySize, '\0');
        m_controller.settings.incremental[i] = static_cast<float>(correction.offset);
        m_controller.settings.magnification[i] = static_cast<float>(correction.gain);
    }
    m_thread = std::thread([this] { Serve(); });
}

Simulator::~Simulator()
{
    m_stop = true;
    m_thread.join();
}

std::string Simulator::PortName()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_line ? m_line->Name() : std::string();
}

void Simulator::Plug(bool plugged)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_plugged = plugged;
    if (plugged && !m_line) m_line = qzdevice::MakeTerminal();
    if (!plugged) m_line.reset();
}

bool Simulator::IsPlugged()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_plugged;
}

void Simulator::Measure(double seconds)
{
    for (int i = 0; i < kChannels; ++i)
    {
        // The sum of two uniform distributions, so that small deviations are more frequent than large ones.
        double noise = -1;
        for (int n = 0; n < 2; ++n)
        {
            m_noise = m_noise * 1664525u + 1013904223u;
            noise += (m_noise >> 8) / 16777216.0;
        }
        qzdevice::Controller::Settings& settings = m_controller.settings;
        settings.values[i] =
            static_cast<float>(Raw(i, seconds, noise) * static_cast<double>(settings.magnification[i]) +
                               static_cast<double>(settings.incremental[i]));
    }
}

void Simulator::Serve()
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    double next = 0;
    while (!m_stop)
    {
        const double now = std::chrono::duration<double>(Clock::now() - start).count();
        if (now >= next)
        {
            Measure(now);
            next = now + kPace;
        }
        std::unique_lock<std::mutex> guard(m_lock);
        if (m_line)
        {
            for (const char byte : m_line->Take())
                m_line->Put(m_controller.Take(static_cast<unsigned char>(byte)));
        }
        const bool plugged = m_line != nullptr;
        guard.unlock();
        // Without this, a thread that waits for the lock might never get it.
        std::this_thread::yield();
        if (!plugged) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

}  // namespace qzmon
