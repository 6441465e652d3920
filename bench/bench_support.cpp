#include "bench_support.h"

#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <map>
#include <vector>

#include "qzlib.h"

// ---- Counted allocations. The linker takes the program's own definitions instead of the C library's, for
// every library in the process.

#ifdef __GLIBC__
namespace
{
std::atomic<std::uint64_t> g_allocations{0};

void CountOne()
{
    // The counter is read after the work of one thread. A lost update does no harm, and an atomic increment
    // would slow down every allocation.
    g_allocations.store(g_allocations.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}
}  // namespace

extern "C"
{
    void* __libc_malloc(size_t size);
    void* __libc_calloc(size_t count, size_t size);
    void* __libc_realloc(void* block, size_t size);

    void* malloc(size_t size) noexcept
    {
        CountOne();
        return __libc_malloc(size);
    }

    void* calloc(size_t count, size_t size) noexcept
    {
        CountOne();
        return __libc_calloc(count, size);
    }

    void* realloc(void* block, size_t size) noexcept
    {
        CountOne();
        return __libc_realloc(block, size);
    }
}
#else
namespace
{
std::atomic<std::uint64_t> g_allocations{0};
}
#endif

namespace qzbench
{
namespace
{
struct Row
{
    enum class Kind
    {
        Comparison,
        Figure,
        Growth,
        Rate
    };
    Kind kind;
    std::string name;
    std::string ours;
    std::string other;
    double goal;
    std::string counter = {};
};

std::vector<Row>& Rows()
{
    static std::vector<Row> rows;
    return rows;
}

double Median(std::vector<double> values)
{
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

/// Keeps the figures of every repetition. Also prints them as Google Benchmark does, except with --table.
class Reporter : public benchmark::ConsoleReporter
{
public:
    explicit Reporter(bool quiet) : ConsoleReporter(OO_None), m_quiet(quiet) {}

    bool ReportContext(const Context& context) override
    {
        return m_quiet || ConsoleReporter::ReportContext(context);
    }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
        {
            if (run.run_type != Run::RT_Iteration) continue;
            if (run.error_occurred)
            {
                m_failed = true;
                continue;
            }
            Figures& figures = m_figures[Plain(run.run_name.function_name, run.run_name.args)];
            for (const auto& [name, counter] : run.counters) figures[name].push_back(counter.value);
        }
        if (!m_quiet) ConsoleReporter::ReportRuns(runs);
    }

    bool Has(const std::string& benchmark) const { return m_figures.count(benchmark) != 0; }
    bool Failed() const { return m_failed; }

    double Nanoseconds(const std::string& benchmark) const
    {
        const double rate = Figure(benchmark, "items_per_second");
        return rate > 0 ? 1e9 / rate : 0;
    }

    double Figure(const std::string& benchmark, const std::string& counter) const
    {
        const auto found = m_figures.find(benchmark);
        if (found == m_figures.end()) return 0;
        const auto values = found->second.find(counter);
        return values == found->second.end() ? 0 : Median(values->second);
    }

private:
    using Figures = std::map<std::string, std::vector<double>>;

    static std::string Plain(const std::string& function, const std::string& args)
    {
        return args.empty() ? function : function + "/" + args;
    }

    bool m_quiet;
    bool m_failed = false;
    std::map<std::string, Figures> m_figures;
};

std::string Number(double value)
{
    char text[64];
    const char* unit = "";
    if (value >= 1e6)
    {
        value /= 1e6;
        unit = "M";
    }
    else if (value >= 1e4)
    {
        value /= 1e3;
        unit = "k";
    }
    std::snprintf(text, sizeof(text),
                  value >= 100  ? "%.0f%s"
                  : value >= 10 ? "%.1f%s"
                                : "%.2f%s",
                  value, unit);
    return text;
}

void PrintRow(const std::string& name, const std::string& ours, const std::string& peer,
              const std::string& ratio, const std::string& goal, const char* met)
{
    std::printf("%-58s %10s %10s %8s %8s  %s\n", name.c_str(), ours.c_str(), peer.c_str(), ratio.c_str(),
                goal.c_str(), met);
}

void PrintRow(const Reporter& reporter, const Row& row)
{
    if (!reporter.Has(row.ours)) return;
    switch (row.kind)
    {
        case Row::Kind::Comparison:
        {
            const double ours = reporter.Nanoseconds(row.ours);
            const double peer = reporter.Nanoseconds(row.other);
            if (peer <= 0)
            {
                PrintRow(row.name, Number(ours), "-", "-", "-", "");
                return;
            }
            const double ratio = peer / ours;
            PrintRow(row.name, Number(ours), Number(peer), Number(ratio),
                     row.goal > 0 ? ">= " + Number(row.goal) : "-",
                     row.goal <= 0       ? ""
                     : ratio >= row.goal ? "yes"
                                         : "NO");
            return;
        }
        case Row::Kind::Figure:
        {
            const double value =
                row.other.empty() ? reporter.Nanoseconds(row.ours) : reporter.Figure(row.ours, row.other);
            PrintRow(row.name, Number(value), "-", "-", row.goal > 0 ? "<= " + Number(row.goal) : "-",
                     row.goal <= 0       ? ""
                     : value <= row.goal ? "yes"
                                         : "NO");
            return;
        }
        case Row::Kind::Rate:
        {
            const double ours = reporter.Figure(row.ours, row.counter);
            const double peer = reporter.Figure(row.other, row.counter);
            const double ratio = peer > 0 ? ours / peer : 0;
            PrintRow(row.name, Number(ours), peer > 0 ? Number(peer) : "-", peer > 0 ? Number(ratio) : "-",
                     row.goal > 0 && peer > 0 ? ">= " + Number(row.goal) : "-",
                     row.goal <= 0 || peer <= 0 ? ""
                     : ratio >= row.goal        ? "yes"
                                                : "NO");
            return;
        }
        case Row::Kind::Growth:
        {
            if (!reporter.Has(row.other)) return;
            const double small = reporter.Nanoseconds(row.ours);
            const double large = reporter.Nanoseconds(row.other);
            const double growth = small > 0 ? large / small : 0;
            PrintRow(row.name, Number(large), "-", Number(growth),
                     row.goal > 0 ? "<= " + Number(row.goal) : "-",
                     row.goal <= 0        ? ""
                     : growth <= row.goal ? "yes"
                                          : "NO");
            return;
        }
    }
}

std::filesystem::path& Folder()
{
    static std::filesystem::path folder;
    if (folder.empty())
    {
        std::string name = (std::filesystem::temp_directory_path() / "qzbench.XXXXXX").string();
        if (!mkdtemp(name.data())) std::abort();
        folder = name;
    }
    return folder;
}
}  // namespace

void Compare(const std::string& name, const std::string& ours, const std::string& peer, double goal)
{
    Rows().push_back({Row::Kind::Comparison, name, ours, peer, goal});
}

void Limit(const std::string& name, const std::string& benchmark, const std::string& counter, double limit)
{
    Rows().push_back({Row::Kind::Figure, name, benchmark, counter, limit});
}

void Growth(const std::string& name, const std::string& small, const std::string& large, double limit)
{
    Rows().push_back({Row::Kind::Growth, name, small, large, limit});
}

void Rate(const std::string& name, const std::string& counter, const std::string& ours,
          const std::string& peer, double goal)
{
    Rows().push_back({Row::Kind::Rate, name, ours, peer, goal, counter});
}

std::uint64_t Allocations() { return g_allocations.load(std::memory_order_relaxed); }

std::string FreshName(const char* stem)
{
    static int number = 0;
    return (Folder() / (std::string(stem) + std::to_string(++number))).string();
}

std::uint64_t FileSize(const std::string& path)
{
    std::error_code error;
    if (!std::filesystem::is_directory(path)) return std::filesystem::file_size(path, error);
    std::uint64_t sum = 0;
    for (const auto& entry : std::filesystem::directory_iterator(path)) sum += entry.file_size(error);
    return sum;
}

double Now()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

int Main(int argc, char** argv)
{
    std::vector<std::string> arguments{argv[0], "--benchmark_repetitions=5", "--benchmark_min_time=0.05",
                                       "--benchmark_enable_random_interleaving=true"};
    bool quiet = false;
    for (int i = 1; i < argc; ++i)
    {
        if (std::string(argv[i]) == "--table")
            quiet = true;
        else
            arguments.emplace_back(argv[i]);
    }
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    int count = static_cast<int>(pointers.size());
    pointers.push_back(nullptr);
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) return 1;

    QZLibInit();
    Reporter reporter(quiet);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    QZLibDispose();

    PrintRow("name (time: nanoseconds for one operation)", "ours", "peer", "ratio", "goal", "met");
    for (const Row& row : Rows()) PrintRow(reporter, row);
    std::error_code error;
    std::filesystem::remove_all(Folder(), error);
    return reporter.Failed() ? 1 : 0;
}
}  // namespace qzbench
