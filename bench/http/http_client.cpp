// Requests from the client pool, and from cpp-httplib's client, one connection for each thread.
//
//     http_bench_client ours|peer PORT THREADS SECONDS
//
// Prints the requests per second and the 99th percentile of their times in microseconds.

#include <qzlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#ifdef QZ_HAVE_HTTPLIB
#include <httplib.h>
#endif

namespace
{

using Clock = std::chrono::steady_clock;

/// The pool that every thread takes a client from.
QZHttpClientPool* g_pool = nullptr;

QZHttpRequest* MakeRequest(int port)
{
    QZHttpRequest* request = QZHttpFactory::CreateRequest();
    QZString head(QZ_W("Host: 127.0.0.1:"));
    head.Append(static_cast<QZInt64>(port));
    QZHttpHeaderCollection* headers = QZHttpFactory::CreateHeaderCollection(&head);
    request->SetHeader(headers);
    QZHttpFactory::Recycle(&headers);
    QZString path(QZ_W("/small"));
    request->SetUrl(&path);
    return request;
}

bool AskPool(QZHttpRequest* request)
{
    try
    {
        QZHttpResponse* response = g_pool->SendRequest(request);
        const bool good = response->GetContent()->GetSize() > 0;
        QZHttpFactory::Recycle(&response);
        return good;
    }
    catch (QZException* e)
    {
        QZExceptionFactory::Recycle(&e);
        return false;
    }
}

/// Sends requests until the time is over. Returns the time of each request, or nothing after a failure.
std::vector<double> Measure(Clock::time_point end, const std::function<bool()>& ask)
{
    std::vector<double> times;
    for (Clock::time_point begin = Clock::now(); begin < end;)
    {
        if (!ask()) return {};
        const Clock::time_point now = Clock::now();
        times.push_back(std::chrono::duration<double, std::micro>(now - begin).count());
        begin = now;
    }
    return times;
}

std::vector<double> MeasureOurs(int port, Clock::time_point end)
{
    QZHttpRequest* request = MakeRequest(port);
    std::vector<double> times = Measure(end, [&] { return AskPool(request); });
    QZHttpFactory::Recycle(&request);
    return times;
}

std::vector<double> MeasurePeer([[maybe_unused]] int port, [[maybe_unused]] Clock::time_point end)
{
#ifdef QZ_HAVE_HTTPLIB
    httplib::Client client("127.0.0.1", port);
    client.set_keep_alive(true);
    client.set_tcp_nodelay(true);
    return Measure(end, [&] {
        const auto result = client.Get("/small");
        return result && !result->body.empty();
    });
#else
    return {};
#endif
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 5)
        return std::fprintf(stderr, "usage: http_bench_client ours|peer PORT THREADS SECONDS\n"), 2;
    const bool ours = std::string(argv[1]) == "ours";
    const int port = std::atoi(argv[2]);
    const int seconds = std::atoi(argv[4]);
    QZLibInit();
    std::vector<std::vector<double>> results(static_cast<std::size_t>(std::atoi(argv[3])));
    {
        QZHttpClientPool pool;
        g_pool = &pool;
        const Clock::time_point end = Clock::now() + std::chrono::seconds(seconds);
        std::vector<std::thread> threads;
        for (std::vector<double>& result : results)
            threads.emplace_back(
                [&, end] { result = ours ? MeasureOurs(port, end) : MeasurePeer(port, end); });
        for (std::thread& thread : threads) thread.join();
    }
    QZLibDispose();
    std::vector<double> times;
    for (const std::vector<double>& result : results)
    {
        if (result.empty()) return std::fprintf(stderr, "http_bench_client: a request failed\n"), 1;
        times.insert(times.end(), result.begin(), result.end());
    }
    std::sort(times.begin(), times.end());
    std::printf("%.0f %.0f\n", static_cast<double>(times.size()) / seconds, times[times.size() * 99 / 100]);
}
