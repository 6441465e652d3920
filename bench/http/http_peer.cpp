// The same pages as http_bench_host, served with cpp-httplib.
//
//     http_bench_peer FILE THREADS
//
// cpp-httplib keeps a thread for each open connection, so THREADS is the number of expected connections.

#include <httplib.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <thread>

int main(int argc, char** argv)
{
    if (argc != 3) return std::fprintf(stderr, "usage: http_bench_peer FILE THREADS\n"), 2;
    const auto threads = static_cast<std::size_t>(std::atoi(argv[2]));
    const std::string file = argv[1];
    httplib::Server server;
    server.new_task_queue = [threads] { return new httplib::ThreadPool(threads); };
    server.set_keep_alive_max_count(std::numeric_limits<std::size_t>::max());
    server.set_tcp_nodelay(true);
    server.Get("/small", [](const httplib::Request&, httplib::Response& response) {
        response.set_content(
            "<!DOCTYPE html><html><head><title>small</title></head><body><p>A small page.</p></body></html>",
            "text/html; charset=utf-8");
    });
    server.Get("/file", [&](const httplib::Request&, httplib::Response& response) {
        std::ifstream in(file, std::ios::binary);
        response.set_content(std::string(std::istreambuf_iterator<char>(in), {}), "text/plain");
    });
    std::printf("%d\n", server.bind_to_any_port("127.0.0.1"));
    std::fflush(stdout);
    std::thread serving([&] { server.listen_after_bind(); });
    while (std::getchar() != EOF)
    {}
    server.stop();
    serving.join();
}
