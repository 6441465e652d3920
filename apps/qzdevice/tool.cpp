#include "tool.h"

#include <qzlib.h>

#include "text.h"

namespace qzdevice
{

namespace
{

const char kHelpText[] =
    "qzdevice - talks to an instrument controller on a serial port\n"
    "\n"
    "  qzdevice list                        the serial ports of this machine\n"
    "  qzdevice show PORT                   model, serial number, version, state\n"
    "  qzdevice get PORT WHAT INDEX         WHAT: incremental, magnification, key, value\n"
    "  qzdevice set PORT WHAT INDEX VALUE\n"
    "  qzdevice set PORT serial TEXT        writes a new serial number\n"
    "  qzdevice call PORT FUNCTION [ARG]... runs a function and shows its result;\n"
    "                                       ARG: i16:N, i32:N, f:X or bytes in hex\n"
    "  qzdevice read PORT ADDRESS LENGTH FILE\n"
    "  qzdevice write PORT ADDRESS FILE     memory to and from a file\n"
    "  qzdevice order PORT ORDER            ORDER: init, sync, restart, erase\n"
    "  qzdevice simulate [...]              a controller on a line of its own\n"
    "  qzdevice --help                      this text\n"
    "\n"
    "Options, behind the command:\n"
    "  --baud N         2400 to 2000000, 115200 if not given\n"
    "  --timeout MS     how long to wait for the device, 2000 if not given\n"
    "  --no-checksum    leaves the checksums of calls and results out\n"
    "  --no-verify      read and write: leaves the checksums of blocks out\n"
    "  --force          read: writes over a file that is there\n"
    "  --yes            order erase: does not ask first; needed without a terminal\n"
    "\n"
    "Options of simulate:\n"
    "  --port PORT      serves a port of this machine; without it a pseudo-terminal\n"
    "                   is made and its name printed (not on Windows)\n"
    "  --baud N, --model TEXT, --serial TEXT, --version TEXT\n"
    "  --block N        bytes of a memory block, 128 if not given\n"
    "  --memory N       bytes of memory, 65536 if not given\n"
    "  --for SECONDS    ends then; without it when it is interrupted\n"
    "  --log            prints every byte and its answer\n"
    "  --fault WHERE[:N][+]=WHAT\n"
    "                   goes wrong at the N-th (1) command WHERE, + from there on;\n"
    "                   WHERE: a command byte in hex, or data; WHAT: a status byte in\n"
    "                   hex, flip (the answer is wrong), mute (there is none)\n"
    "\n"
    "Exit codes: 0 good, 1 the device refused, 2 usage (also: not confirmed), 3 a\n"
    "port, the line or a file failed (also: the file of read is there already).\n";

struct Command
{
    const char* name;
    std::size_t least;
    std::size_t most;
    int (*run)(const Arguments&, const Options&, const Console&);
};

const Command kCommands[] = {
    {"list", 0, 0, ListCommand},   {"show", 1, 1, ShowCommand},   {"get", 3, 3, GetCommand},
    {"set", 3, 4, SetCommand},     {"call", 2, 16, CallCommand},  {"read", 4, 4, ReadCommand},
    {"write", 3, 3, WriteCommand}, {"order", 2, 2, OrderCommand},
};

/// Takes the options out of the words.
Options TakeOptions(Arguments* words)
{
    Options options;
    Arguments rest;
    for (std::size_t i = 0; i < words->size(); ++i)
    {
        const std::string& word = (*words)[i];
        const bool takesValue = word == "--baud" || word == "--timeout";
        if (takesValue && i + 1 == words->size()) throw Failure{kExitUsage, word + " wants a number"};
        if (word == "--baud")
            options.baud = ParseBaud((*words)[++i]);
        else if (word == "--timeout")
            options.timeout = static_cast<int>(ParseInteger((*words)[++i], 0, 3600000, "--timeout"));
        else if (word == "--no-checksum")
            options.checksum = false;
        else if (word == "--no-verify")
            options.verify = false;
        else if (word == "--yes")
            options.yes = true;
        else if (word == "--force")
            options.force = true;
        else if (word.compare(0, 2, "--") == 0)
            throw Failure{kExitUsage, "unknown option \"" + Visible(word) + "\"; see qzdevice --help"};
        else
            rest.push_back(word);
    }
    *words = rest;
    return options;
}

int RunCommand(const Command& command, Arguments words, const Console& console)
{
    const Options options = TakeOptions(&words);
    qzapp::CheckCount(command, words, "qzdevice");
    return command.run(words, options, console);
}

int Run(const Arguments& arguments, const Console& console)
{
    if (arguments.empty()) throw Failure{kExitUsage, "no command given; see qzdevice --help"};
    const std::string& name = arguments[0];
    const Arguments words(arguments.begin() + 1, arguments.end());
    if (qzapp::IsHelp(name))
    {
        std::fputs(kHelpText, console.out);
        return kExitGood;
    }
    try
    {
        return name == "simulate"
                   ? SimulateCommand(words, console)
                   : RunCommand(qzapp::FindCommand(kCommands, name, "qzdevice"), words, console);
    }
    catch (QZException* e)
    {
        const bool refused = e->GetType() == QZSerialException::Type || e->GetCode() == 0;
        throw Failure{refused ? kExitRefused : kExitAccess, TakeMessage(e)};
    }
}

}  // namespace

long long ParseInteger(const std::string& text, long long least, long long most, const char* what)
{
    const bool negative = text.compare(0, 3, "-0x") == 0;
    QZInt64 value = 0;
    if (!qzapp::ParseAddress(negative ? text.substr(1) : text, &value))
        throw Failure{kExitUsage,
                      std::string(what) + ": \"" + Visible(text) + "\" is no whole number, decimal or 0x"};
    if (negative) value = -value;
    if (value < least || value > most)
        throw Failure{kExitUsage, std::string(what) + ": " + Visible(text) + " is not from " +
                                      std::to_string(least) + " to " + std::to_string(most)};
    return value;
}

long long ParseBaud(const std::string& text)
{
    const long long baud = ParseInteger(text, 0, 1LL << 40, "--baud");
    std::string speeds;
    for (const int speed : {2400, 4800, 9600, 19200, 115200, 230400, 460800, 921600, 2000000})
    {
        if (speed == baud) return baud;
        speeds += " " + std::to_string(speed);
    }
    throw Failure{kExitUsage, "--baud: " + std::to_string(baud) + " is none of" + speeds};
}

float ParseFloat(const std::string& text, const char* what)
{
    float value = 0;
    double wide = 0;
    if (qzapp::ParseFinite(text, &value)) return value;
    throw Failure{kExitUsage,
                  std::string(what) + ": \"" + Visible(text) +
                      (qzapp::ParseFinite(text, &wide) ? "\" is too large for the device, which has "
                                                         "numbers up to 3.4e38"
                                                       : "\" is no number")};
}

double ParseSeconds(const std::string& text, const char* what)
{
    double value = 0;
    if (!qzapp::ParseFinite(text, &value) || value < 0)
        throw Failure{kExitUsage,
                      std::string(what) + ": \"" + Visible(text) + "\" is no number of seconds from 0 on"};
    return value;
}

int RunTool(const Arguments& arguments, const Console& console)
{
    return qzapp::ReportFailure("qzdevice", console.err, [&] {
        const int code = Run(arguments, console);
        qzapp::Flush(console.out);
        return code;
    });
}

}  // namespace qzdevice
