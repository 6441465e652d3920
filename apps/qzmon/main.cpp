// qzmon: reads an instrument controller, stores what it measures, and shows it in a browser.

#include <algorithm>
#include <atomic>
#include <cstdio>

#include "common/private_files.h"
#include "monitor.h"
#include "platform.h"
#include "server.h"

namespace
{

using qzmon::Failure;

std::atomic<bool> g_stop{false};

/// Samples are missing in the file.
constexpr int kExitUnwritten = 3;

const char kHelp[] =
    "usage: qzmon [OPTION...]\n"
    "Reads an instrument controller, stores what it measures, and shows it in a browser.\n"
    "\n"
    "  --data FOLDER    where database, settings and log are kept (your folder for data)\n"
    "  --port LINE      the controller's serial line (a simulator, which starts by itself)\n"
    "  --baud N         its speed (115200)\n"
    "  --http PORT      where the page is served, 0 for any free port (8650)\n"
    "  --bind ADDRESS   the address to listen on (127.0.0.1); others than loopback ask for a token\n"
    "  --for SECONDS    stop after that time\n"
    "  --help           this text\n"
    "\n"
    "Ctrl+C and SIGTERM stop it with everything written. The settings are in qzmon.ini in the folder.\n"
    "Exit code 0: every sample is in the file; 1: it did not start; 2: an option is wrong; 3: samples could\n"
    "not be written.\n";

struct Options
{
    std::string data = qzmon::UserDataFolder();
    std::string port;
    std::string baud;
    std::string http;
    std::string bind;
    double seconds = 0;
    bool help = false;
};

Options ParseOptions(int argc, char** argv)
{
    Options options;
    const std::pair<const char*, std::string*> texts[] = {{"--data", &options.data},
                                                          {"--port", &options.port},
                                                          {"--baud", &options.baud},
                                                          {"--http", &options.http},
                                                          {"--bind", &options.bind}};
    for (int i = 1; i < argc; ++i)
    {
        const std::string option = argv[i];
        if (option == "--help")
        {
            options.help = true;
            continue;
        }
        if (i + 1 == argc) throw Failure{2, option + " is no option, or wants a value; see qzmon --help"};
        const std::string value = argv[++i];
        bool known = false;
        for (const auto& [name, target] : texts)
        {
            if (option != name) continue;
            *target = value;
            known = true;
        }
        if (option == "--for")
        {
            known = true;
            if (!qzmon::ParseFinite(value, &options.seconds) || options.seconds <= 0)
                throw Failure{2, "--for: \"" + value + "\" is no number of seconds above 0"};
        }
        if (!known) throw Failure{2, option + " is no option; see qzmon --help"};
    }
    return options;
}

/// The number of an option, or of the setting when the option is empty.
QZInt64 Choose(const char* option, const std::string& text, qzmon::Settings* settings, const char* name,
               QZInt64 most)
{
    if (text.empty()) return settings->Number(name);
    QZInt64 value = 0;
    if (!qzmon::ParseInteger(text, &value) || value < 0 || value > most)
        throw Failure{2, std::string(option) + ": \"" + text + "\" is no whole number from 0 to " +
                             std::to_string(most)};
    return value;
}

/// Throws Failure unless the text is four numbers of a byte each with points between them.
void CheckAddress(const std::string& text)
{
    std::size_t numbers = 0;
    std::size_t at = 0;
    while (at <= text.size())
    {
        const std::size_t end = std::min(text.find('.', at), text.size());
        QZInt64 number = 0;
        const std::string digits = text.substr(at, end - at);
        if (digits.find_first_not_of("0123456789") != std::string::npos ||
            !qzmon::ParseInteger(digits, &number) || number > 255)
            break;
        ++numbers;
        at = end + 1;
    }
    if (numbers != 4 || at != text.size() + 1)
        throw Failure{2, "--bind: \"" + text + "\" is no address such as 127.0.0.1"};
}

/// 32 hexadecimal digits that nobody can guess.
std::string RandomToken()
{
    unsigned char bytes[16];
    if (!qzmon::FillRandom(bytes, sizeof bytes))
        throw Failure{1, "the system has no random numbers for a token"};
    std::string text;
    for (const unsigned char byte : bytes)
    {
        text.push_back("0123456789abcdef"[byte >> 4]);
        text.push_back("0123456789abcdef"[byte & 15]);
    }
    return text;
}

/// The token of the settings; a new one is made and stored where there is none.
std::string MakeToken(qzmon::Settings* settings)
{
    constexpr const char* kAllowed = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz-";
    std::string token = settings->Get("http-token");
    // It goes into an address and into a cookie.
    if (token.find_first_not_of(kAllowed) != std::string::npos)
        throw Failure{1, "qzmon.ini: \"http-token\" takes letters, digits, - and _ alone"};
    if (token.size() >= 16) return token;
    token = RandomToken();
    settings->Put("http-token", token);
    return token;
}

void EnterFolder(const std::string& folder)
{
    QZString path = qzmon::Text(folder);
    QZFileDirectory::Create(&path);
    QZEnvironment::SetCurrentWorkingDirectory(&path);
    if (!qzmon::TakeLock("qzmon.lock"))
        throw Failure{1, folder + " is in use by another qzmon; name another one with --data"};
}

void Say(const std::string& line)
{
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

/// Returns the exit code.
int Serve(const Options& options)
{
    EnterFolder(options.data);
    // Nobody else writes the file, and it has either all changes of a sync or none, however this process
    // ends.
    QZFileBuffer::Exclusive = 1;
    // A failed operation is told and leaves the database usable for all threads.
    QZDatabase::UnlockOnRaise = 1;
    QZTaskScheduler::LongestPause = 100;
    qzmon::Settings settings("qzmon.ini");
    qzmon::Session session;
    session.line = options.port.empty() ? settings.Get("serial-line") : options.port;
    session.baud = Choose("--baud", options.baud, &settings, "baud", 10000000);
    const QZInt64 port = Choose("--http", options.http, &settings, "http-port", 65535);
    const std::string bind = options.bind.empty() ? settings.Get("http-bind") : options.bind;
    CheckAddress(bind);
    const bool loopback = bind.rfind("127.", 0) == 0;
    const std::string token = loopback ? std::string() : MakeToken(&settings);

    qzmon::Monitor monitor(&settings, session);
    Say(monitor.Start());
    for (const std::string& complaint : settings.Complaints())
    {
        Say(complaint);
        monitor.Log(complaint);
    }
    {
        qzmon::LogReport report(&monitor, "HTTP server");
        qzmon::Server server(&monitor, &report, bind, static_cast<QZUInt16>(port), token, RandomToken());
        server.Start();
        const std::string address = "http://" + (bind == "0.0.0.0" ? std::string("127.0.0.1") : bind) + ":" +
                                    std::to_string(server.GetPort()) + "/" +
                                    (token.empty() ? std::string() : "?token=" + token);
        Say("Open " + address);
        monitor.Log("The page is served at " + bind + ":" + std::to_string(server.GetPort()) +
                    (token.empty() ? "" : ", with the token"));
        const QZUInt64 start = QZEnvironment::GetTickCount();
        constexpr int kLook = 50;
        while (!g_stop)
        {
            QZThread::Sleep(kLook);
            if (options.seconds > 0 &&
                static_cast<double>(QZEnvironment::GetTickCount() - start) >= options.seconds * 1000)
                break;
        }
    }
    monitor.Stop();
    Say(monitor.GetEnd().line);
    return monitor.GetEnd().complete ? 0 : kExitUnwritten;
}

int Run(int argc, char** argv)
{
    try
    {
        const Options options = ParseOptions(argc, argv);
        if (!options.help) return Serve(options);
        std::fputs(kHelp, stdout);
        return 0;
    }
    catch (const Failure& failure)
    {
        std::fprintf(stderr, "qzmon: %s\n", qzmon::Visible(failure.text).c_str());
        return failure.status == 2 ? 2 : 1;
    }
    catch (QZException* e)
    {
        std::fprintf(stderr, "qzmon: %s\n", qzmon::Visible(qzmon::TakeMessage(e)).c_str());
        return 1;
    }
}

}  // namespace

int main(int argc, char** argv)
{
    qzapp::KeepFilesPrivate();
    qzmon::CatchSignals(&g_stop);
    QZLibInit();
    const int code = Run(argc, argv);
    QZLibDispose();
    return code;
}
