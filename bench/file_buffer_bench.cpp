/// The file buffer beside pread and pwrite, and beside mmap: eight bytes at a time, in order and at random,
/// in a file that fits into the buffer's memory (16 MB of 20) and one that does not (128 MB).

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "fw/fw_string.h"
#include "os/os_file_buffer.h"

namespace
{
constexpr QZInt64 kMegabyte = 1048576;
constexpr QZInt64 kLimit = 20 * kMegabyte;

/// A file of so many megabytes. It is written once, so its pages are in the system's cache.
const std::string& FileOf(QZInt64 megabytes)
{
    static std::map<QZInt64, std::string> files;
    std::string& name = files[megabytes];
    if (!name.empty()) return name;
    name = qzbench::FreshName("file");
    const int file = open(name.c_str(), O_RDWR | O_CREAT, 0600);
    const std::vector<char> piece(kMegabyte, 'x');
    for (QZInt64 i = 0; i < megabytes; ++i)
        if (write(file, piece.data(), piece.size()) != kMegabyte) std::abort();
    close(file);
    return name;
}

struct InOrder
{
    explicit InOrder(QZInt64 size) : end(size) {}
    QZInt64 Next()
    {
        at += 8;
        if (at >= end) at = 0;
        return at;
    }
    QZInt64 at = -8;
    QZInt64 end;
};

/// Random places from a table: every way of access gets the same ones, and none spends time on random
/// numbers.
struct AtRandom
{
    explicit AtRandom(QZInt64 size) : places(1 << 14)
    {
        std::mt19937_64 random(11);
        for (QZInt64& place : places)
            place = static_cast<QZInt64>(random() % static_cast<QZUInt64>(size / 8)) * 8;
    }
    QZInt64 Next() { return places[at++ & (places.size() - 1)]; }
    std::vector<QZInt64> places;
    std::size_t at = 0;
};

class Buffered
{
public:
    explicit Buffered(QZInt64 megabytes)
    {
        QZString path(FileOf(megabytes).c_str());
        m_buffer = QZFileBuffer::Open(&path, kLimit, QZBuffer::BlockSize2M);
    }
    ~Buffered() { QZFileBuffer::Close(&m_buffer); }
    Buffered(const Buffered&) = delete;
    Buffered& operator=(const Buffered&) = delete;
    void Read(QZInt64 at, QZInt64* value) { m_buffer->Read(at, value, 8); }
    void Write(QZInt64 at, QZInt64 value) { m_buffer->Write(at, &value, 8); }

private:
    QZFileBuffer* m_buffer;
};

class Called
{
public:
    explicit Called(QZInt64 megabytes) : m_file(open(FileOf(megabytes).c_str(), O_RDWR)) {}
    ~Called() { close(m_file); }
    Called(const Called&) = delete;
    Called& operator=(const Called&) = delete;
    void Read(QZInt64 at, QZInt64* value)
    {
        if (pread(m_file, value, 8, at) != 8) std::abort();
    }
    void Write(QZInt64 at, QZInt64 value)
    {
        if (pwrite(m_file, &value, 8, at) != 8) std::abort();
    }

private:
    int m_file;
};

class Mapped
{
public:
    explicit Mapped(QZInt64 megabytes)
        : m_file(open(FileOf(megabytes).c_str(), O_RDWR)),
          m_size(static_cast<std::size_t>(megabytes * kMegabyte))
    {
        void* bytes = mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_SHARED, m_file, 0);
        if (bytes == MAP_FAILED) std::abort();
        m_bytes = static_cast<char*>(bytes);
    }
    ~Mapped()
    {
        munmap(m_bytes, m_size);
        close(m_file);
    }
    Mapped(const Mapped&) = delete;
    Mapped& operator=(const Mapped&) = delete;
    void Read(QZInt64 at, QZInt64* value) { std::memcpy(value, m_bytes + at, 8); }
    void Write(QZInt64 at, QZInt64 value) { std::memcpy(m_bytes + at, &value, 8); }

private:
    int m_file;
    std::size_t m_size;
    char* m_bytes;
};

template <typename File, typename Places>
void Read(benchmark::State& state)
{
    File file(state.range(0));
    Places places(state.range(0) * kMegabyte);
    QZInt64 value = 0;
    for (auto _ : state)
    {
        file.Read(places.Next(), &value);
        benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations());
}

template <typename File, typename Places>
void Write(benchmark::State& state)
{
    File file(state.range(0));
    Places places(state.range(0) * kMegabyte);
    QZInt64 value = 0;
    for (auto _ : state)
    {
        file.Write(places.Next(), ++value);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}

using Run = void (*)(benchmark::State&);

void Three(const std::string& what, const std::string& name, Run ours, Run called, Run mapped)
{
    for (const QZInt64 size : {16, 128})
    {
        benchmark::RegisterBenchmark((name + "Buffer").c_str(), ours)->Arg(size);
        benchmark::RegisterBenchmark((name + "Call").c_str(), called)->Arg(size);
        benchmark::RegisterBenchmark((name + "Map").c_str(), mapped)->Arg(size);
        const std::string at = "/" + std::to_string(size);
        const std::string row = what + ", " + std::to_string(size) + " MB / ";
        qzbench::Compare(row + (name.find("Read") == 0 ? "pread" : "pwrite"), name + "Buffer" + at,
                         name + "Call" + at);
        qzbench::Compare(row + "mmap", name + "Buffer" + at, name + "Map" + at);
    }
}
}  // namespace

int main(int argc, char** argv)
{
    Three("read 8 bytes in order", "ReadInOrder", Read<Buffered, InOrder>, Read<Called, InOrder>,
          Read<Mapped, InOrder>);
    Three("read 8 bytes at random", "ReadAtRandom", Read<Buffered, AtRandom>, Read<Called, AtRandom>,
          Read<Mapped, AtRandom>);
    Three("write 8 bytes in order", "WriteInOrder", Write<Buffered, InOrder>, Write<Called, InOrder>,
          Write<Mapped, InOrder>);
    Three("write 8 bytes at random", "WriteAtRandom", Write<Buffered, AtRandom>, Write<Called, AtRandom>,
          Write<Mapped, AtRandom>);
    return qzbench::Main(argc, argv);
}
