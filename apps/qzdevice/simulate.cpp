// The simulated controller on a line.

#include <qzlib.h>

#include <chrono>

#include "controller.h"
#include "line.h"
#include "text.h"
#include "tool.h"

namespace qzdevice
{

namespace
{

/// The bits that the fault "flip" flips in an answer.
constexpr unsigned char kEveryBit = 0xFF;

/// A port of this machine, with a host at the other end of its line.
class Port : public Line
{
public:
    Port(const std::string& name, long long baud)
    {
        m_port.Connect(name.c_str(), baud);
        m_port.SetTimeout(20);
    }

    std::string Name() const override { return {}; }

    std::string Take() override
    {
        char byte;
        try
        {
            return m_port.Read(&byte, 1) == 1 ? std::string(1, byte) : std::string();
        }
        catch (QZException* e)
        {
            const bool silent =
                e->GetType() == QZIOException::Type && e->GetCode() == QZIOExceptionCode::OperationTimeout;
            if (!silent) throw;
            QZExceptionFactory::Recycle(&e);
            return {};
        }
    }

    void Put(const std::string& bytes) override
    {
        if (!bytes.empty()) m_port.TryWrite(bytes.data(), static_cast<int>(bytes.size()));
    }

private:
    QZSerial m_port;
};

struct Simulation
{
    Controller controller;
    std::string port;
    long long baud = 115200;
    double seconds = 0;
    bool log = false;
};

/// Reads a fault: WHERE[:N][+]=WHAT
Fault ParseFault(const std::string& text)
{
    const Failure bad{kExitUsage,
                      "--fault: \"" + Visible(text) + "\" is not WHERE[:N][+]=WHAT; see qzdevice --help"};
    const std::size_t equal = text.find('=');
    if (equal == std::string::npos) throw bad;
    std::string where = text.substr(0, equal);
    const std::string what = text.substr(equal + 1);
    Fault fault{0, 1, Fault::Kind::Status, 0, false};
    if (!where.empty() && where.back() == '+')
    {
        fault.ever = true;
        where.pop_back();
    }
    const std::size_t colon = where.find(':');
    if (colon != std::string::npos)
    {
        fault.occurrence = static_cast<int>(ParseInteger(where.substr(colon + 1), 1, 1000000000, "--fault"));
        where.resize(colon);
    }
    std::string byte;
    if (where == "data")
        fault.command = Controller::kDataByte;
    else if (ParseHex(where, &byte) && byte.size() == 1)
        fault.command = static_cast<unsigned char>(byte[0]);
    else
        throw bad;
    byte.clear();
    if (what == "mute")
        fault.kind = Fault::Kind::Mute;
    else if (what == "flip")
    {
        fault.kind = Fault::Kind::Flip;
        fault.value = kEveryBit;
    }
    else if (ParseHex(what, &byte) && byte.size() == 1)
        fault.value = static_cast<unsigned char>(byte[0]);
    else
        throw bad;
    return fault;
}

std::string ShortText(const std::string& option, const std::string& text)
{
    if (text.size() > protocol::kBufferSize) throw Failure{kExitUsage, option + ": at most 16 characters"};
    return text;
}

void TakeOption(const std::string& option, const std::string& value, Simulation* simulation)
{
    Controller& controller = simulation->controller;
    if (option == "--port")
        simulation->port = value;
    else if (option == "--baud")
        simulation->baud = ParseBaud(value);
    else if (option == "--model")
        controller.model = ShortText(option, value);
    else if (option == "--serial")
        controller.settings.serial = ShortText(option, value);
    else if (option == "--version")
        controller.version = ShortText(option, value);
    else if (option == "--block")
        controller.blockSize = static_cast<int>(ParseInteger(value, INT32_MIN, INT32_MAX, "--block"));
    else if (option == "--memory")
        controller.memory.assign(static_cast<std::size_t>(ParseInteger(value, 0, 1 << 28, "--memory")),
                                 protocol::kErased);
    else if (option == "--for")
        simulation->seconds = ParseSeconds(value, "--for");
    else if (option == "--fault")
        controller.Inject(ParseFault(value));
    else
        throw Failure{kExitUsage,
                      "simulate: unknown option \"" + Visible(option) + "\"; see qzdevice --help"};
}

void Serve(Simulation* simulation, Line* line, const Console& console)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    while (!console.stop->load())
    {
        if (simulation->seconds > 0 &&
            Clock::now() - start > std::chrono::duration<double>(simulation->seconds))
            return;
        for (const char byte : line->Take())
        {
            const std::string back = simulation->controller.Take(static_cast<unsigned char>(byte));
            if (simulation->log)
            {
                std::fprintf(console.out, "%s > %s\n", HexText({&byte, 1}).c_str(), HexText(back).c_str());
                std::fflush(console.out);
            }
            line->Put(back);
        }
    }
}

}  // namespace

int SimulateCommand(const Arguments& arguments, const Console& console)
{
    Simulation simulation;
    for (std::size_t i = 0; i < arguments.size(); ++i)
    {
        if (arguments[i] == "--log")
        {
            simulation.log = true;
            continue;
        }
        if (i + 1 == arguments.size())
            throw Failure{kExitUsage, "simulate: " + Visible(arguments[i]) + " wants a value"};
        TakeOption(arguments[i], arguments[i + 1], &simulation);
        ++i;
    }
    const std::unique_ptr<Line> line =
        simulation.port.empty() ? MakeTerminal() : std::make_unique<Port>(simulation.port, simulation.baud);
    if (!line)
        throw Failure{kExitAccess,
                      "simulate: this system makes no pseudo-terminals; name a port with --port"};
    if (!line->Name().empty())
    {
        std::fprintf(console.out, "%s\n", line->Name().c_str());
        std::fflush(console.out);
    }
    Serve(&simulation, line.get(), console);
    return kExitGood;
}

}  // namespace qzdevice
