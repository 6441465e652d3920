#ifndef QZLIB_TESTS_POWER_POWER_LOSS_H
#define QZLIB_TESTS_POWER_POWER_LOSS_H

/// A disk that loses power. The recorder takes down every change that the library makes to files. The disk
/// replays them up to any moment and keeps apart what was flushed and what was not: of the latter, each
/// change is dropped, kept, or torn at sectors, in any order.

#include <algorithm>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "sys/internal/sys_hooks.h"

namespace qztest
{

/// One recorded change. Files are counted from 1, in the order in which they were made.
struct DiskChange
{
    enum class Kind
    {
        Write,
        Resize,
        Flush,
        Make,
        Delete,
        Rename,
        FlushFolder,
        Mark  ///< set by the test
    };

    Kind kind;
    int file = 0;
    long long offset = 0;
    long long size = 0;
    std::string bytes = {};
    std::string name = {};
    std::string to = {};
};

/// Records the changes of all files of one folder while it exists. `present` names the files that are there.
class Recorder
{
public:
    Recorder(const std::filesystem::path& folder, const std::vector<std::string>& present)
        : m_folder(folder), m_table{this, nullptr, nullptr, nullptr}
    {
        for (const std::string& name : present) m_names[name] = ++m_files;
        m_table.Changed = &Recorder::OnChanged;
        os::SetTestHooks(&m_table);
    }
    ~Recorder() { os::SetTestHooks(nullptr); }
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    void Mark(long long value) { m_changes.push_back({.kind = DiskChange::Kind::Mark, .size = value}); }

    const std::vector<DiskChange>& Changes() const { return m_changes; }

private:
    static std::string NameOf(const std::filesystem::path& path) { return path.filename().string(); }

    template <typename Text>
    bool IsHere(const Text* path) const
    {
        return std::filesystem::path(path).parent_path() == m_folder;
    }

    static void OnChanged(void* context, const os::FileEvent& event)
    {
        static_cast<Recorder*>(context)->Note(event);
    }

    void Note(const os::FileEvent& event)
    {
        using Event = os::FileEvent::Kind;
        using Kind = DiskChange::Kind;
        if (event.path != nullptr && !IsHere(event.path)) return;
        const std::string name = event.path != nullptr ? NameOf(event.path) : std::string();
        switch (event.kind)
        {
            case Event::Opened: m_handles[event.file] = m_names.at(name); return;
            case Event::Created:
                m_names[name] = ++m_files;
                m_handles[event.file] = m_files;
                m_changes.push_back({.kind = Kind::Make, .file = m_files, .name = name});
                return;
            case Event::Closed: m_handles.erase(event.file); return;
            case Event::Deleted:
                m_names.erase(name);
                m_changes.push_back({.kind = Kind::Delete, .name = name});
                return;
            case Event::Renamed:
                m_names[NameOf(event.to)] = m_names.at(NameOf(event.from));
                m_names.erase(NameOf(event.from));
                m_changes.push_back(
                    {.kind = Kind::Rename, .name = NameOf(event.from), .to = NameOf(event.to)});
                return;
            case Event::FolderFlushed: m_changes.push_back({.kind = Kind::FlushFolder}); return;
            default: break;
        }
        const auto found = m_handles.find(event.file);
        if (found == m_handles.end()) return;
        DiskChange change{
            .kind = Kind::Flush, .file = found->second, .offset = event.offset, .size = event.size};
        if (event.kind == Event::Written)
        {
            change.kind = Kind::Write;
            change.bytes.assign(static_cast<const char*>(event.bytes), static_cast<std::size_t>(event.size));
        }
        if (event.kind == Event::Resized) change.kind = Kind::Resize;
        m_changes.push_back(std::move(change));
    }

    std::filesystem::path m_folder;
    os::TestHooks m_table;
    int m_files = 0;
    std::map<std::string, int> m_names;
    std::map<QZInt64, int> m_handles;
    std::vector<DiskChange> m_changes;
};

/// Files by name.
using DiskFiles = std::map<std::string, std::string>;

class Disk
{
public:
    /// Starts with flushed files, counted in the order of `names`.
    Disk(const std::vector<std::string>& names, const DiskFiles& files)
    {
        for (const std::string& name : names)
        {
            m_names[name] = ++m_count;
            m_flushed[m_count] = files.at(name);
        }
    }

    /// Makes one change.
    void Replay(const DiskChange& change)
    {
        using Kind = DiskChange::Kind;
        switch (change.kind)
        {
            case Kind::Write:
            case Kind::Resize: m_pending[change.file].push_back(&change); return;
            case Kind::Flush:
                for (const DiskChange* one : m_pending[change.file]) Apply(*one, &m_flushed[change.file]);
                m_pending[change.file].clear();
                return;
            case Kind::Make:
            case Kind::Delete:
            case Kind::Rename: m_pendingNames.push_back(&change); return;
            case Kind::FlushFolder:
                for (const DiskChange* one : m_pendingNames) ApplyName(*one, &m_names);
                m_pendingNames.clear();
                return;
            case Kind::Mark: return;
        }
    }

    /// What is on the disk after a loss of power now, as the dice have it.
    DiskFiles Lose(std::mt19937_64* dice) const
    {
        std::map<std::string, int> names = m_names;
        // Sometimes all names, or none, are there; else each change by itself.
        const unsigned way = (*dice)() % 4;
        for (const DiskChange* one : m_pendingNames)
            if (way == 0 || (way > 1 && (*dice)() % 2 == 0)) ApplyName(*one, &names);
        DiskFiles files;
        for (const auto& [name, file] : names) files[name] = LoseOf(file, dice);
        return files;
    }

private:
    static constexpr std::size_t kSector = 512;

    static void Apply(const DiskChange& change, std::string* bytes)
    {
        if (change.kind == DiskChange::Kind::Resize)
            return bytes->resize(static_cast<std::size_t>(change.size));
        const auto at = static_cast<std::size_t>(change.offset);
        if (bytes->size() < at + change.bytes.size()) bytes->resize(at + change.bytes.size());
        bytes->replace(at, change.bytes.size(), change.bytes);
    }

    static void ApplyName(const DiskChange& change, std::map<std::string, int>* names)
    {
        if (change.kind == DiskChange::Kind::Make)
        {
            (*names)[change.name] = change.file;
        }
        else if (change.kind == DiskChange::Kind::Delete)
        {
            names->erase(change.name);
        }
        else if (names->contains(change.name))
        {
            (*names)[change.to] = names->at(change.name);
            names->erase(change.name);
        }
    }

    std::string LoseOf(int file, std::mt19937_64* dice) const
    {
        std::string bytes = m_flushed.contains(file) ? m_flushed.at(file) : std::string();
        const auto found = m_pending.find(file);
        if (found == m_pending.end()) return bytes;
        std::vector<std::pair<const DiskChange*, bool>> changes;
        std::size_t size = bytes.size();
        for (const DiskChange* one : found->second)
        {
            // In another order, a change that made the file longer must not make it shorter.
            const bool cuts =
                one->kind == DiskChange::Kind::Resize && static_cast<std::size_t>(one->size) < size;
            changes.emplace_back(one, cuts);
            if (one->kind == DiskChange::Kind::Resize)
                size = static_cast<std::size_t>(one->size);
            else
                size = std::max(size, static_cast<std::size_t>(one->offset) + one->bytes.size());
        }
        const unsigned way = (*dice)() % 8;
        if (way != 0) std::shuffle(changes.begin(), changes.end(), *dice);
        for (const auto& [change, cuts] : changes)
        {
            const unsigned fate = way == 1 ? 0 : (*dice)() % 4;
            if (fate == 1) continue;
            if (change->kind == DiskChange::Kind::Resize)
            {
                if (cuts || static_cast<std::size_t>(change->size) > bytes.size()) Apply(*change, &bytes);
            }
            else if (fate == 2)
            {
                Tear(*change, &bytes, dice);
            }
            else if (fate == 3 && (*dice)() % 4 == 0)
            {
                // The file has its new length, and the bytes did not come.
                bytes.resize(
                    std::max(bytes.size(), static_cast<std::size_t>(change->offset) + change->bytes.size()));
            }
            else
            {
                Apply(*change, &bytes);
            }
        }
        return bytes;
    }

    /// Writes some of the sectors of a change.
    static void Tear(const DiskChange& change, std::string* bytes, std::mt19937_64* dice)
    {
        const auto end = static_cast<std::size_t>(change.offset) + change.bytes.size();
        for (auto from = static_cast<std::size_t>(change.offset); from < end;)
        {
            const std::size_t to = std::min((from / kSector + 1) * kSector, end);
            if ((*dice)() % 2 == 0)
            {
                if (bytes->size() < to) bytes->resize(to);
                bytes->replace(from, to - from, change.bytes, from - static_cast<std::size_t>(change.offset),
                               to - from);
            }
            from = to;
        }
    }

    int m_count = 0;
    std::map<std::string, int> m_names;
    std::map<int, std::string> m_flushed;
    std::map<int, std::vector<const DiskChange*>> m_pending;
    std::vector<const DiskChange*> m_pendingNames;
};

}  // namespace qztest

#endif
