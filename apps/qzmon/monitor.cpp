#include "monitor.h"

#include <algorithm>
#include <utility>

#include "common/owned.h"

namespace qzmon
{

namespace
{

/// Samples that are kept in memory for the chart.
constexpr std::size_t kRecent = 20000;
constexpr QZInt64 kSyncInterval = 1000;
constexpr QZInt64 kMinute = 60000;
/// Milliseconds between two attempts to find the device.
constexpr QZUInt64 kRetry = 1000;
constexpr QZInt64 kMegabyte = 1 << 20;

std::string LogName(QZInt64 timestamp)
{
    QZDateTime now(timestamp);
    const qzapp::OwnedString day(QZConvert::DateTimeToStringYMD(&now));
    return "Log/" + Utf8(day.get()) + "/qzmon.txt";
}

}  // namespace

/// A step of the monitor that a scheduler calls. Each step handles its own failures.
class Monitor::Task : public QZTask
{
public:
    Task(Monitor* monitor, void (Monitor::*step)()) : m_monitor(monitor), m_step(step) {}

    void Execute() override
    {
        try
        {
            (m_monitor->*m_step)();
        }
        catch (const Failure& failure)
        {
            m_monitor->Log(failure.text);
        }
    }

    void Begin(QZInt64 interval, bool wait)
    {
        SetInterval(interval);
        SetExecTime(QZEnvironment::GetCurrentTimestamp() + (wait ? interval : 0));
    }

private:
    Monitor* m_monitor;
    void (Monitor::*m_step)();
};

void LogReport::Report(QZException* exception)
{
    m_monitor->Log(std::string(m_source) + ": error " +
                   std::to_string(static_cast<long long>(exception->GetCode())) + ", " +
                   Utf8(exception->GetMsg()));
}

Monitor::Monitor(Settings* settings, Session session)
    : m_settings(settings),
      m_session(std::move(session)),
      m_report(std::make_unique<LogReport>(this, "Task")),
      m_log(QZLog::Open(QZ_W("qzmon"))),
      m_store("qzmon.qzd"),
      m_device(static_cast<int>(settings->Number("channels")))
{}

Monitor::~Monitor()
{
    Stop();
    try
    {
        QZLog::Close(&m_log);
    }
    catch (QZException* e)
    {
        // The disk may be full.
        QZExceptionFactory::Recycle(&e);
    }
}

std::string Monitor::Start()
{
    const std::string found = m_store.Open(static_cast<int>(m_settings->Number("channels")));
    Log("Started. " + found);
    const qzapp::OwnedString aside(QZFileBuffer::TakePutAside());
    if (aside != nullptr) Log("Put aside, because it does not belong to the database: " + Utf8(aside.get()));
    if (m_session.line.empty()) m_simulator = std::make_unique<Simulator>(m_store.Corrections());
    m_status.simulated = m_simulator != nullptr;
    FillRecent();

    m_sampling = std::make_unique<QZTaskScheduler>(m_report.get());
    m_house = std::make_unique<QZTaskScheduler>(m_report.get());
    m_sampleTask = std::make_unique<Task>(this, &Monitor::SampleStep);
    m_syncTask = std::make_unique<Task>(this, &Monitor::SyncStep);
    m_snapshotTask = std::make_unique<Task>(this, &Monitor::SnapshotStep);
    m_sampleTask->Begin(m_settings->Number("sample-ms"), false);
    m_syncTask->Begin(kSyncInterval, true);
    m_snapshotTask->Begin(m_settings->Number("snapshot-minutes") * kMinute, true);
    m_sampling->AddTask(m_sampleTask.get());
    m_house->AddTask(m_syncTask.get());
    m_house->AddTask(m_snapshotTask.get());
    m_sampling->Start();
    m_house->Start();
    return found;
}

void Monitor::Stop()
{
    if (!m_sampling) return;
    // A task has to leave its scheduler's list before it is deleted.
    m_sampling->Reset();
    m_sampling->RemoveTask(m_sampleTask.get());
    m_sampling.reset();
    m_house->Reset();
    m_house->RemoveTask(m_syncTask.get());
    m_house->RemoveTask(m_snapshotTask.get());
    m_house.reset();
    m_device.Disconnect();
    m_simulator.reset();
    std::string trouble;
    try
    {
        m_store.Sync();
        trouble = m_store.GetState().trouble;
        m_store.Close();
    }
    catch (QZException* e)
    {
        const std::string why = TakeMessage(e);
        if (trouble.empty()) trouble = why;
    }
    const StoreState state = m_store.GetState();
    const QZInt64 missing = state.atRisk + state.lost;
    m_end.complete = missing == 0;
    m_end.line = "Stopped, " + std::to_string(state.stored) + " samples are in the file";
    if (missing > 0)
        m_end.line += ", " + std::to_string(missing) + " could not be written" +
                      (trouble.empty() ? std::string() : ": " + trouble);
    m_end.line += ".";
    Log(m_end.line);
}

void Monitor::FillRecent()
{
    const QZInt64 seconds = m_settings->Number("chart-seconds");
    const QZInt64 count = std::min<QZInt64>(seconds * 1000 / m_settings->Number("sample-ms") + 2, 2000);
    std::vector<Sample> last = m_store.Last(static_cast<std::size_t>(count));
    const std::lock_guard<std::mutex> guard(m_lock);
    m_recent.assign(last.begin(), last.end());
}

void Monitor::Connect()
{
    const QZUInt64 now = QZEnvironment::GetTickCount();
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (now < m_nextTry) return;
        m_nextTry = now + kRetry;
    }
    const std::string port = m_simulator ? m_simulator->PortName() : m_session.line;
    if (port.empty())
    {
        Lost(m_simulator && m_simulator->IsPlugged()
                 ? "this system has no line for the simulator: name a real one with --port"
                 : "the device is unplugged");
        return;
    }
    m_device.Connect(port, m_session.baud);
    bool send = false;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        send = std::exchange(m_sendCorrections, false);
    }
    if (send)
    {
        const std::vector<Correction> kept = m_store.Corrections();
        for (std::size_t i = 0; i < kept.size(); ++i) m_device.Write(static_cast<int>(i), kept[i]);
    }
    const std::vector<std::string> names = m_device.Names();
    const std::vector<Correction> corrections = m_device.ReadCorrections();
    m_store.SetCorrections(names, corrections);
    const std::string title = m_device.Title();
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_status.connected = true;
        m_status.device = title;
        m_status.trouble.clear();
        m_status.channels.clear();
        for (std::size_t i = 0; i < names.size(); ++i)
            m_status.channels.push_back({names[i], corrections[i]});
    }
    Log("Device connected: " + title);
}

void Monitor::Lost(const std::string& why)
{
    bool news = false;
    bool had = false;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        had = m_status.connected;
        news = had || m_status.trouble.empty();
        m_status.connected = false;
        if (had) ++m_status.lostCount;
        if (news) m_status.trouble = why;
        m_nextTry = QZEnvironment::GetTickCount() + kRetry;
    }
    // Every failed attempt gives the same reason, so each loss is logged once.
    if (news) Log((had ? "Device lost: " : "No device: ") + why);
}

void Monitor::SampleStep()
{
    try
    {
        if (!m_device.IsConnected()) Connect();
        if (!m_device.IsConnected()) return;
        Sample sample;
        sample.time = QZEnvironment::GetCurrentTimestamp();
        sample.values = m_device.Read();
        m_store.Append(sample);
        const std::lock_guard<std::mutex> guard(m_lock);
        ++m_status.samples;
        m_recent.push_back(sample);
        while (m_recent.size() > kRecent) m_recent.pop_front();
    }
    catch (QZException* e)
    {
        Lost("the line does not answer (" + TakeMessage(e) + ")");
    }
    catch (const Failure& failure)
    {
        Lost(failure.text);
    }
}

void Monitor::SyncStep()
{
    std::string trouble;
    try
    {
        m_store.Sync();
        trouble = m_store.GetState().trouble;
        if (trouble.empty() && m_store.Rotate(m_settings->Number("file-limit-mb") * kMegabyte))
            Log("The database was full: put aside, and a new one begun.");
    }
    catch (QZException* e)
    {
        trouble = TakeMessage(e);
    }
    catch (const Failure& failure)
    {
        trouble = failure.text;
    }
    // The same trouble comes back every second and is logged once.
    if (trouble == m_storeTrouble) return;
    if (trouble.empty())
        Log("Samples are stored again.");
    else
        Log("Cannot write the database: " + trouble);
    m_storeTrouble = trouble;
}

void Monitor::SnapshotStep() { TakeSnapshot("by itself " + TimeText(QZEnvironment::GetCurrentTimestamp())); }

Status Monitor::GetStatus()
{
    const bool plugged = !m_simulator || m_simulator->IsPlugged();
    const std::lock_guard<std::mutex> guard(m_lock);
    Status status = m_status;
    status.plugged = plugged;
    return status;
}

std::vector<Sample> Monitor::Recent(QZInt64 seconds)
{
    const QZInt64 begin = QZEnvironment::GetCurrentTimestamp() - seconds * 1000;
    const std::lock_guard<std::mutex> guard(m_lock);
    auto first = m_recent.end();
    while (first != m_recent.begin() && std::prev(first)->time >= begin) --first;
    // The sample before the first one is included, so that the line begins at the left edge.
    if (first != m_recent.begin()) --first;
    return std::vector<Sample>(first, m_recent.end());
}

Sample Monitor::Latest()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_recent.empty() ? Sample() : m_recent.back();
}

Channel Monitor::SetCorrection(QZInt64 channel, const Correction& correction)
{
    Status status = GetStatus();
    if (channel < 0 || static_cast<std::size_t>(channel) >= status.channels.size())
        throw Failure{404, "There is no channel " + std::to_string(channel) + "."};
    const std::size_t index = static_cast<std::size_t>(channel);
    Channel changed = status.channels[index];
    try
    {
        changed.correction = m_device.Write(static_cast<int>(channel), correction);
    }
    catch (QZException* e)
    {
        const std::string why = TakeMessage(e);
        Lost(why);
        throw Failure{503, "The device did not take it: " + why};
    }
    std::vector<std::string> names;
    std::vector<Correction> corrections;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (index < m_status.channels.size()) m_status.channels[index].correction = changed.correction;
        for (const Channel& each : m_status.channels)
        {
            names.push_back(each.name);
            corrections.push_back(each.correction);
        }
    }
    m_store.SetCorrections(names, corrections);
    Log("Parameters of " + SetMessage(changed.name, correction, changed.correction));
    return changed;
}

Snapshot Monitor::TakeSnapshot(const std::string& label)
{
    const Snapshot snapshot = m_store.TakeSnapshot(label);
    Log("Snapshot taken" + (label.empty() ? std::string() : ": " + label));
    return snapshot;
}

std::string Monitor::Restore(QZInt64 id)
{
    m_store.Restore(id);
    FillRecent();
    const std::vector<Correction> kept = m_store.Corrections();
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_sendCorrections = true;
        for (std::size_t i = 0; i < kept.size() && i < m_status.channels.size(); ++i)
            m_status.channels[i].correction = kept[i];
    }
    Log("Restored a snapshot.");
    if (!m_device.IsConnected()) return "The device gets its parameters when it is connected again.";
    try
    {
        return SendCorrections(kept);
    }
    catch (QZException* e)
    {
        // They are sent when the device is connected again.
        const std::string why = TakeMessage(e);
        Lost(why);
        return "The device did not take its parameters: " + why;
    }
    catch (const Failure& failure)
    {
        return failure.text;
    }
}

std::string Monitor::SendCorrections(const std::vector<Correction>& kept)
{
    std::string note;
    for (std::size_t i = 0; i < kept.size(); ++i)
    {
        const Correction got = m_device.Write(static_cast<int>(i), kept[i]);
        const std::lock_guard<std::mutex> guard(m_lock);
        if (i >= m_status.channels.size()) continue;
        m_status.channels[i].correction = got;
        if (got != kept[i])
            note += (note.empty() ? "" : " ") + SetMessage(m_status.channels[i].name, kept[i], got);
    }
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_sendCorrections = false;
    }
    if (!note.empty()) Log(note);
    return note;
}

void Monitor::Plug(bool plugged)
{
    if (!m_simulator) throw Failure{409, "The device is a real one: pull its plug by hand."};
    m_simulator->Plug(plugged);
    Log(plugged ? "The simulator was plugged in." : "The simulator was unplugged.");
}

void Monitor::ChangeSetting(const std::string& name, const std::string& value)
{
    m_settings->Change(name, value);
    if (name == "sample-ms") m_sampleTask->Begin(m_settings->Number("sample-ms"), false);
    if (name == "snapshot-minutes")
        m_snapshotTask->Begin(m_settings->Number("snapshot-minutes") * kMinute, true);
    Log("Setting " + name + " is " + m_settings->Get(name.c_str()));
}

void Monitor::Log(const std::string& text)
{
    // An entry is one line, whatever a label or a device has in its text.
    QZString entry = Text(Visible(text));
    try
    {
        m_log->Write(&entry);
    }
    catch (QZException* e)
    {
        // The monitor goes on without the entry: the disk may be full.
        QZExceptionFactory::Recycle(&e);
    }
}

std::vector<std::pair<std::string, std::string>> Monitor::LogEntries(std::size_t count)
{
    constexpr QZInt64 kTail = 65536;
    QZString path = Text(LogName(QZEnvironment::GetCurrentTimestamp()));
    std::vector<std::pair<std::string, std::string>> entries;
    if (!QZFile::Exists(&path)) return entries;
    qzapp::OwnedFile file(QZFile::Open(&path));
    const QZInt64 size = file->GetSize();
    std::string text(static_cast<std::size_t>(std::min(size, kTail)), '\0');
    text.resize(static_cast<std::size_t>(file->Read(size - static_cast<QZInt64>(text.size()), text.data(),
                                                    static_cast<QZInt64>(text.size()))));
    file.reset();

    // The lines around an entry begin with these. A line feed before them keeps what an entry itself holds
    // apart.
    text.insert(0, 1, '\n');
    const std::string begin = "\n------------------------------- BEGIN ";
    for (std::size_t at = text.find(begin); at != std::string::npos; at = text.find(begin, at))
    {
        at += begin.size();
        const std::size_t line = text.find('\n', at);
        const std::size_t end = text.find("\n-------------------------------  END", at);
        if (line == std::string::npos || end == std::string::npos) break;
        const std::string written = text.substr(at, text.find(" ---", at) - at);
        QZInt64 time = 0;
        std::string body = text.substr(line + 1, end > line ? end - line - 1 : 0);
        while (!body.empty() && (body.back() == '\n' || body.back() == '\r')) body.pop_back();
        entries.insert(entries.begin(), {qzapp::ParseTime(written, &time) ? TimeText(time) : written, body});
    }
    if (entries.size() > count) entries.resize(count);
    return entries;
}

}  // namespace qzmon
