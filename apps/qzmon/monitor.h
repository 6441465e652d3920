#ifndef QZLIB_APPS_QZMON_MONITOR_H
#define QZLIB_APPS_QZMON_MONITOR_H

#include <deque>
#include <memory>
#include <mutex>
#include <string>

#include "device.h"
#include "settings.h"
#include "store.h"

namespace qzmon
{

struct Channel
{
    std::string name;
    Correction correction;
};

/// Where the controller is; the simulator for an empty line.
struct Session
{
    std::string line;
    QZInt64 baud = 115200;
};

/// What the page shows at the top.
struct Status
{
    bool connected = false;
    bool simulated = false;
    bool plugged = true;
    std::string device;
    /// Why there is no device; empty while there is one.
    std::string trouble;
    QZInt64 lostCount = 0;
    QZInt64 samples = 0;
    std::vector<Channel> channels;
};

/// How a monitor ended.
struct MonitorEnd
{
    /// Whether every sample is in the file.
    bool complete = true;
    /// What the program says about it.
    std::string line;
};

class Monitor;

/// Writes failures to the log for which no caller waits.
class LogReport : public QZErrorReport
{
public:
    LogReport(Monitor* monitor, const char* source) : m_monitor(monitor), m_source(source) {}

    using QZErrorReport::Report;
    void Report(QZException* exception) override;

private:
    Monitor* m_monitor;
    const char* m_source;
};

/// The monitor: one scheduler reads the controller, another syncs the database and takes snapshots, and the
/// operations here serve the page. It works in the current folder: qzmon.qzd, Log, LastRecord. Any thread may
/// call.
class Monitor
{
public:
    Monitor(Settings* settings, Session session);
    ~Monitor();
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    /// Opens the database and starts. @return in one line what the database holds
    std::string Start();
    /// Stops and writes everything, as far as that succeeds.
    void Stop();
    /// How Stop ended.
    const MonitorEnd& GetEnd() const { return m_end; }

    Status GetStatus();
    /// The samples of the last `seconds` seconds, and the one before them.
    std::vector<Sample> Recent(QZInt64 seconds);
    /// The latest sample; its time is 0 without one.
    Sample Latest();

    /// Sets the correction of a channel. Returns the channel with what the device has then, which may be
    /// another correction than the one that was asked for: a device has floats.
    Channel SetCorrection(QZInt64 channel, const Correction& correction);
    /// Throws Failure 409 when a snapshot has that label; any number of them may have none.
    Snapshot TakeSnapshot(const std::string& label);
    /// Goes back to a snapshot and sends its corrections to the device. Returns in words where the device has
    /// others then; empty where it has not.
    std::string Restore(QZInt64 id);
    void Plug(bool plugged);
    void ChangeSetting(const std::string& name, const std::string& value);

    Settings& GetSettings() { return *m_settings; }
    Store& GetStore() { return m_store; }

    /// Writes to the day's log.
    void Log(const std::string& text);
    /// The last entries of the day's log, the latest first: time and text.
    std::vector<std::pair<std::string, std::string>> LogEntries(std::size_t count);

private:
    class Task;

    void SampleStep();
    void SyncStep();
    void SnapshotStep();
    void Connect();
    void Lost(const std::string& why);
    void FillRecent();
    std::string SendCorrections(const std::vector<Correction>& kept);

    Settings* m_settings;
    const Session m_session;
    std::unique_ptr<LogReport> m_report;
    QZLog* m_log = nullptr;
    Store m_store;
    std::unique_ptr<Simulator> m_simulator;
    Device m_device;

    std::mutex m_lock;
    Status m_status;
    std::deque<Sample> m_recent;
    bool m_sendCorrections = false;
    QZUInt64 m_nextTry = 0;
    /// Why samples cannot be stored, as it was logged; empty while they can.
    std::string m_storeTrouble;
    MonitorEnd m_end;

    std::unique_ptr<Task> m_sampleTask;
    std::unique_ptr<Task> m_syncTask;
    std::unique_ptr<Task> m_snapshotTask;
    std::unique_ptr<QZTaskScheduler> m_sampling;
    std::unique_ptr<QZTaskScheduler> m_house;
};

}  // namespace qzmon

#endif
