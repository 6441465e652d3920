#include "store.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "common/owned.h"
#include "store_read.h"

namespace qzmon
{

namespace
{

const char* const kSamples = "samples";
const char* const kParameters = "parameters";

bool Exists(const std::string& path)
{
    QZString text = Text(path);
    return QZFile::Exists(&text) != 0;
}

void Remove(const std::string& path)
{
    QZString text = Text(path);
    if (QZFile::Exists(&text)) QZFile::Delete(&text);
}

/// The size of a file that this process has open for itself.
QZInt64 FileSize(const std::string& path)
{
    std::error_code failure;
    const auto size = std::filesystem::file_size(std::u8string(path.begin(), path.end()), failure);
    if (failure) throw Failure{500, path + ": " + failure.message()};
    return static_cast<QZInt64>(size);
}

void CopyFile(const std::string& from, const std::string& to)
{
    Remove(to);
    QZString source = Text(from);
    QZString target = Text(to);
    QZFileBuffer::CopyInUse(&source, &target);
}

/// The path with a word and the time before its extension.
std::string Aside(const std::string& path, const char* word)
{
    std::string stamp;
    for (const char c : TimeText(QZEnvironment::GetCurrentTimestamp()))
    {
        if (c >= '0' && c <= '9') stamp.push_back(c);
    }
    const std::size_t dot = path.rfind('.');
    return path.substr(0, dot) + "-" + word + stamp + path.substr(dot);
}

void Rename(const std::string& from, const std::string& to)
{
    QZString source = Text(from);
    QZString target = Text(to);
    QZFile::Rename(&source, &target);
}

void SetDouble(QZDbTable* table, QZInt64 row, QZInt64 field, double value)
{
    const QZData data(&value, sizeof value);
    table->DataSetValue(row, field, const_cast<QZData*>(&data));
}

void AddField(QZDbTable* table, const std::string& name, QZInt64 type)
{
    QZString text = Text(name);
    table->FieldAdd(&text, type);
}

}  // namespace

Store::Store(std::string path) : m_path(std::move(path)), m_thread([this] { Serve(); }) {}

Store::~Store()
{
    try
    {
        Close();
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
    }
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_end = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

void Store::Serve()
{
    std::unique_lock<std::mutex> guard(m_lock);
    for (;;)
    {
        m_wake.wait(guard, [this] { return m_end || !m_jobs.empty(); });
        if (m_jobs.empty()) return;
        const std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        guard.unlock();
        job();
        guard.lock();
    }
}

void Store::Post(std::function<void()> job)
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_jobs.push_back(std::move(job));
    }
    m_wake.notify_all();
}

template <typename Work>
auto Store::Do(Work work)
{
    using Result = decltype(work());
    std::packaged_task<Result()> task(std::move(work));
    std::future<Result> result = task.get_future();
    Post([&task] { task(); });
    return result.get();
}

std::string Store::Open(int channels)
{
    return Do([=, this] {
        m_channels = channels;
        return OpenFile();
    });
}

std::string Store::OpenFile()
{
    const std::string name = m_path.substr(m_path.find_last_of("/\\") + 1);
    std::string aside;
    if (Exists(m_path))
    {
        const std::string fault = OpenExisting();
        if (fault.empty()) return name + ": " + CheckRows();
        CloseQuietly();
        const std::string damaged = Aside(m_path, "damaged-");
        Rename(m_path, damaged);
        aside = "the old one is damaged (" + fault + ") and was put aside as " +
                damaged.substr(damaged.find_last_of("/\\") + 1) + "; ";
    }
    MakeFile();
    return name + ": " + aside + "a new database";
}

/// Opens the file. Returns why it is no sound database; empty when it is one. A file that the system does not
/// let us open or read is no damage: what it throws goes to the caller.
std::string Store::OpenExisting()
{
    try
    {
        QZString path = Text(m_path);
        m_channel = QZChannel::Open(QZChannel::MODE_FILE, &path);
        if (m_channel->G_EN() != 0) return "error " + std::to_string(m_channel->G_LE());
        for (QZInt64 tree = 1; tree <= QZDatabaseInfo::TREEBSN; ++tree)
        {
            const QZInt64 root = m_channel->G_TA(tree);
            if (root <= 0 ||
                m_channel->G_T(QZDatabaseInfo::ADDRESS_MARK_THIS, root) != QZDatabaseInfo::TABLE_HD)
                return "tree " + std::to_string(tree) + " is missing";
        }
        OpenTables();
        ReadSnapshots(m_channel);
        return {};
    }
    catch (const Failure& failure)
    {
        return failure.text;
    }
    catch (QZException* e)
    {
        if (e->GetType() != QZIOException::Type) return TakeMessage(e);
        CloseQuietly();
        throw;
    }
}

/// Makes the file with empty tables, or leaves none.
void Store::MakeFile()
{
    try
    {
        QZString path = Text(m_path);
        if (!QZChannel::Create(&path)) throw Failure{500, m_path + ": cannot be made"};
        m_channel = QZChannel::Open(QZChannel::MODE_FILE, &path);
        MakeTables();
        m_channel->SYNC();
    }
    catch (QZException*)
    {
        CloseQuietly();
        Remove(m_path);
        throw;
    }
}

/// Closes tables and file. What a failing close throws is dropped: the caller has a failure to tell already.
void Store::CloseQuietly()
{
    try
    {
        CloseTables();
        if (m_channel != nullptr) QZChannel::Close(&m_channel);
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
    }
}

void Store::MakeTables()
{
    QZString samples = Text(kSamples);
    QZString parameters = Text(kParameters);
    QZDbTable::Create(m_channel, &samples);
    QZDbTable::Create(m_channel, &parameters);
    m_samples = QZDbTable::Open(m_channel, &samples);
    m_parameters = QZDbTable::Open(m_channel, &parameters);
    AddField(m_samples, "time", QZDataType::TIMESTAMP);
    for (int i = 1; i <= m_channels; ++i)
        AddField(m_samples, "channel " + std::to_string(i), QZDataType::DOUBLE);
    AddField(m_parameters, "channel", QZDataType::TEXTUTF8);
    AddField(m_parameters, "offset", QZDataType::DOUBLE);
    AddField(m_parameters, "gain", QZDataType::DOUBLE);
    m_rows.clear();
}

void Store::OpenTables()
{
    QZString samples = Text(kSamples);
    QZString parameters = Text(kParameters);
    m_samples = QZDbTable::Open(m_channel, &samples);
    m_parameters = QZDbTable::Open(m_channel, &parameters);
    // Channels that the settings have added get new fields.
    for (QZInt64 i = m_samples->FieldCount(); i <= m_channels; ++i)
        AddField(m_samples, "channel " + std::to_string(i), QZDataType::DOUBLE);
    m_rows = RowsOf(m_samples);
}

void Store::CloseTables()
{
    if (m_samples != nullptr) QZDbTable::Close(&m_samples);
    if (m_parameters != nullptr) QZDbTable::Close(&m_parameters);
    m_rows.clear();
    m_halfRows.clear();
}

/// Runs a part of storing. Returns whether it succeeded; the state keeps why it did not.
template <typename Work>
bool Store::Attempt(Work work)
{
    try
    {
        work();
        return true;
    }
    catch (QZException* e)
    {
        Fail(WhyOf(e));
    }
    catch (const Failure& failure)
    {
        Fail(failure.text);
    }
    return false;
}

void Store::Ensure()
{
    if (m_samples != nullptr && m_parameters != nullptr) return;
    const bool open = Attempt([this] {
        CloseTables();
        if (m_channel == nullptr)
            OpenFile();
        else
            OpenTables();
    });
    if (open) return;
    throw Failure{503, "The database is not open: " + GetState().trouble};
}

bool Store::IsSound(QZInt64 row)
{
    QZInt64 time = 0;
    return m_channel->CK(QZDatabaseInfo::ADDRESS_MARK_THIS, row) == QZDatabaseInfo::NORMAL &&
           ReadTime(m_samples, row, &time);
}

std::string Store::CheckRows()
{
    std::vector<QZInt64> bad;
    for (const QZInt64 row : m_rows)
    {
        if (!IsSound(row)) bad.push_back(row);
    }
    for (const QZInt64 row : bad)
    {
        m_samples->DataRemove(row);
        m_rows.erase(std::find(m_rows.begin(), m_rows.end(), row));
    }
    std::string line =
        bad.empty() ? "checks clean" : std::to_string(bad.size()) + " incomplete samples were taken out";
    line += ", " + std::to_string(m_rows.size()) + " samples";
    QZInt64 last = 0;
    if (!m_rows.empty() && ReadTime(m_samples, m_rows.back(), &last))
        line += ", the last of " + TimeText(last);
    return line + ", " + std::to_string(ReadSnapshots(m_channel).size()) + " snapshots";
}

void Store::Close()
{
    Do([this] {
        if (m_channel == nullptr) return;
        const QZInt64 rows = static_cast<QZInt64>(m_rows.size());
        CloseTables();
        QZChannel::Close(&m_channel);
        const std::lock_guard<std::mutex> guard(m_stateLock);
        m_state.stored = rows;
        m_state.atRisk = static_cast<QZInt64>(m_held.size());
    });
}

void Store::Refused(const char* what)
{
    throw Failure{500, std::string(what) + " was refused by the database, error " +
                           std::to_string(m_channel->G_LE()) + "."};
}

void Store::AppendRow(const Sample& sample)
{
    const QZInt64 row = m_samples->DataAdd();
    if (row <= 0) Refused("A sample");
    m_halfRows.push_back(row);
    const QZData time(&sample.time, sizeof sample.time);
    m_samples->DataSetValue(row, 1, const_cast<QZData*>(&time));
    for (std::size_t i = 0; i < sample.values.size(); ++i)
        SetDouble(m_samples, row, static_cast<QZInt64>(i) + 2, sample.values[i]);
    m_halfRows.pop_back();
    m_rows.push_back(row);
}

void Store::Append(const Sample& sample)
{
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_jobs.size() >= kHeldMax)
        {
            const std::lock_guard<std::mutex> state(m_stateLock);
            ++m_state.lost;
            return;
        }
    }
    Post([this, sample] {
        m_held.push_back(sample);
        if (GetState().trouble.empty()) Attempt([this] { StoreHeld(); });
        CountHeld();
    });
}

void Store::StoreHeld()
{
    Ensure();
    while (!m_halfRows.empty())
    {
        m_samples->DataRemove(m_halfRows.back());
        m_halfRows.pop_back();
    }
    while (!m_held.empty())
    {
        AppendRow(m_held.front());
        m_held.pop_front();
    }
}

void Store::Fail(const std::string& why)
{
    const std::lock_guard<std::mutex> guard(m_stateLock);
    m_state.trouble = why.empty() ? "the database refused a write" : why;
}

void Store::SetNotice(const std::string& notice)
{
    const std::lock_guard<std::mutex> guard(m_stateLock);
    m_state.notice = notice;
}

void Store::Succeed()
{
    const std::lock_guard<std::mutex> guard(m_stateLock);
    m_state.trouble.clear();
    m_state.stored = static_cast<QZInt64>(m_rows.size());
}

/// Drops what memory cannot hold, and counts what only this process holds.
void Store::CountHeld()
{
    const std::lock_guard<std::mutex> guard(m_stateLock);
    for (; m_held.size() > kHeldMax; m_held.pop_front()) ++m_state.lost;
    const QZInt64 rows = static_cast<QZInt64>(m_rows.size());
    m_state.atRisk = std::max<QZInt64>(rows - m_state.stored, 0) + static_cast<QZInt64>(m_held.size());
}

StoreState Store::GetState()
{
    const std::lock_guard<std::mutex> guard(m_stateLock);
    return m_state;
}

void Store::SyncFile()
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    m_channel->SYNC();
    m_figures.syncMs = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    ++m_figures.syncs;
    m_figures.fileBytes = FileSize(m_path);
}

/// For an operation that is done in memory: what cannot be written now is written by a later sync.
void Store::SyncOrFail()
{
    Attempt([this] {
        SyncFile();
        Succeed();
    });
    CountHeld();
}

void Store::Sync()
{
    Do([this] {
        Attempt([this] {
            Ensure();
            // What the last failure left unwritten goes first, so that the samples that wait find room for
            // it.
            if (!m_held.empty()) SyncFile();
            StoreHeld();
            SyncFile();
            Succeed();
        });
        CountHeld();
    });
}

std::vector<Sample> Store::Last(std::size_t count)
{
    return Do([=, this] {
        Ensure();
        std::vector<Sample> samples;
        const std::size_t first = m_rows.size() > count ? m_rows.size() - count : 0;
        for (std::size_t i = first; i < m_rows.size(); ++i)
        {
            Sample sample;
            if (!ReadTime(m_samples, m_rows[i], &sample.time)) continue;
            sample.values.resize(static_cast<std::size_t>(m_channels));
            for (std::size_t j = 0; j < sample.values.size(); ++j)
                ReadDouble(m_samples, m_rows[i], static_cast<QZInt64>(j) + 2, &sample.values[j]);
            samples.push_back(sample);
        }
        return samples;
    });
}

TablePage Store::Rows(const std::string& table, QZInt64 page, QZInt64 size)
{
    return Do([=, this] {
        Ensure();
        if (table == kSamples) return ReadPage(m_samples, m_rows, page, size);
        if (table == kParameters) return ReadPage(m_parameters, RowsOf(m_parameters), page, size);
        throw Failure{404, "There is no table \"" + table + "\"."};
    });
}

std::vector<Correction> Store::Corrections()
{
    return Do([this] {
        Ensure();
        return ReadCorrections(m_parameters);
    });
}

void Store::WriteCorrections(const std::vector<std::string>& names,
                             const std::vector<Correction>& corrections)
{
    std::vector<QZInt64> rows = RowsOf(m_parameters);
    for (std::size_t i = 0; i < corrections.size(); ++i)
    {
        if (i == rows.size()) rows.push_back(m_parameters->DataAdd());
        const QZInt64 row = rows[i];
        if (row <= 0) Refused("A parameter");
        Correction old;
        const bool same = ReadDouble(m_parameters, row, 2, &old.offset) &&
                          ReadDouble(m_parameters, row, 3, &old.gain) &&
                          old.offset == corrections[i].offset && old.gain == corrections[i].gain &&
                          ReadText(m_parameters, row, 1) == names[i];
        if (same) continue;
        const QZData name(names[i].data(), static_cast<QZInt64>(names[i].size()));
        m_parameters->DataSetValue(row, 1, const_cast<QZData*>(&name));
        SetDouble(m_parameters, row, 2, corrections[i].offset);
        SetDouble(m_parameters, row, 3, corrections[i].gain);
    }
}

void Store::SetCorrections(const std::vector<std::string>& names, const std::vector<Correction>& corrections)
{
    Do([&, this] {
        Ensure();
        WriteCorrections(names, corrections);
    });
}

std::vector<Snapshot> Store::Snapshots()
{
    return Do([this] {
        Ensure();
        return ReadSnapshots(m_channel);
    });
}

Snapshot Store::NewMark(const std::string& label)
{
    Snapshot snapshot;
    snapshot.id = m_channel->AD_TS();
    if (snapshot.id <= 0) Refused("A snapshot");
    snapshot.point = m_channel->G_A(snapshot.id, QZDatabaseInfo::RD_P);
    snapshot.label = label;
    snapshot.time = QZEnvironment::GetCurrentTimestamp();
    // Going back to the mark must not remove its own fields, so they are written with the log off.
    m_channel->RB_OFF();
    WriteMark(m_channel, snapshot);
    m_channel->RB_ON();
    SyncOrFail();
    return snapshot;
}

Snapshot Store::TakeSnapshot(const std::string& label)
{
    return Do([&, this] {
        Ensure();
        if (!label.empty() && HasLabel(label))
            throw Failure{409,
                          "There is a snapshot \"" + Visible(label) + "\" already; choose another label."};
        return NewMark(label);
    });
}

bool Store::HasLabel(const std::string& label)
{
    const std::vector<Snapshot> all = ReadSnapshots(m_channel);
    return std::any_of(all.begin(), all.end(),
                       [&label](const Snapshot& snapshot) { return snapshot.label == label; });
}

Snapshot Store::Find(QZInt64 id)
{
    for (const Snapshot& snapshot : ReadSnapshots(m_channel))
    {
        if (snapshot.id == id) return snapshot;
    }
    throw Failure{404, "There is no such snapshot."};
}

void Store::Restore(QZInt64 id)
{
    Do([=, this] {
        Ensure();
        const Snapshot snapshot = Find(id);
        const std::string label = "before the restore of " + TimeText(snapshot.time).substr(0, 19);
        std::string free = label;
        for (int n = 2; HasLabel(free); ++n) free = label + " (" + std::to_string(n) + ")";
        NewMark(free);
        CloseTables();
        const bool restored = m_channel->AB_CB(snapshot.point) != 0;
        OpenTables();
        SyncOrFail();
        if (!restored) Refused("The restore");
    });
}

Preview Store::Look(QZInt64 id, QZInt64 rows)
{
    const std::lock_guard<std::mutex> guard(m_previewLock);
    const std::string copy = m_path + ".preview";
    Preview preview;
    preview.snapshot = Do([&, this] {
        Ensure();
        const Snapshot snapshot = Find(id);
        m_channel->SYNC();
        CopyFile(m_path, copy);
        return snapshot;
    });
    QZString path = Text(copy);
    QZChannel* channel = nullptr;
    QZDbTable* samples = nullptr;
    QZDbTable* parameters = nullptr;
    const auto release = [&] {
        if (samples != nullptr) QZDbTable::Close(&samples);
        if (parameters != nullptr) QZDbTable::Close(&parameters);
        if (channel != nullptr) QZChannel::Close(&channel);
        Remove(copy);
        Remove(copy + ".sync");
    };
    try
    {
        channel = QZChannel::Open(QZChannel::MODE_FILE, &path);
        if (!channel->AB_CB(preview.snapshot.point)) throw Failure{500, "The snapshot cannot be reached."};
        samples = QZDbTable::Open(channel, kSamples);
        parameters = QZDbTable::Open(channel, kParameters);
        preview.samples = ReadPage(samples, RowsOf(samples), 0, rows);
        preview.parameters = ReadPage(parameters, RowsOf(parameters), 0, rows);
    }
    catch (...)
    {
        release();
        throw;
    }
    release();
    return preview;
}

StoreFigures Store::Figures()
{
    std::size_t waiting = 0;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        waiting = m_jobs.size();
    }
    return Do([=, this] {
        m_figures.waiting = static_cast<QZInt64>(waiting);
        m_figures.samples = static_cast<QZInt64>(m_rows.size());
        if (m_channel != nullptr) m_figures.snapshots = static_cast<QZInt64>(ReadSnapshots(m_channel).size());
        return m_figures;
    });
}

bool Store::Rotate(QZInt64 limit)
{
    return Do([=, this] {
        const QZUInt64 now = QZEnvironment::GetTickCount();
        if (m_figures.fileBytes <= limit || !GetState().trouble.empty() || now < m_nextRotation) return false;
        Ensure();
        std::vector<std::string> names;
        for (const QZInt64 row : RowsOf(m_parameters)) names.push_back(ReadText(m_parameters, row, 1));
        const std::vector<Correction> corrections = ReadCorrections(m_parameters);
        CloseTables();
        QZChannel::Close(&m_channel);
        std::string why;
        try
        {
            Rename(m_path, Aside(m_path, ""));
        }
        catch (QZException* e)
        {
            why = WhyOf(e);
        }
        Ensure();
        if (!why.empty())
        {
            constexpr QZUInt64 kPause = 60000;
            m_nextRotation = now + kPause;
            SetNotice("The full database cannot be put aside: " + why);
            throw Failure{500, GetState().notice};
        }
        SetNotice({});
        WriteCorrections(names, corrections);
        SyncFile();
        Succeed();
        return true;
    });
}

}  // namespace qzmon
