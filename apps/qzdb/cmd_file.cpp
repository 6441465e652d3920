#include "scan.h"
#include "text.h"

namespace qzdb
{

namespace
{

struct CreateOptions
{
    std::string path;
    QZInt64 addressMode = QZDatabaseInfo::ADDR_MODE_64;
    QZInt64 rollback = 1;
};

CreateOptions ParseCreate(const Arguments& arguments)
{
    CreateOptions options;
    for (std::size_t i = 0; i < arguments.size(); ++i)
    {
        const std::string& word = arguments[i];
        if (word == "--no-rollback")
        {
            options.rollback = 0;
        }
        else if (word == "--addresses")
        {
            const std::string width = ++i < arguments.size() ? arguments[i] : std::string();
            if (width != "32" && width != "64")
                throw Failure{kExitUsage, "create: --addresses takes 32 or 64"};
            options.addressMode = width == "32" ? QZDatabaseInfo::ADDR_MODE_32 : QZDatabaseInfo::ADDR_MODE_64;
        }
        else if (word.compare(0, 2, "--") == 0)
        {
            throw Failure{kExitUsage, "create: unknown option " + Visible(word)};
        }
        else if (options.path.empty())
        {
            options.path = word;
        }
        else
        {
            throw Failure{kExitUsage, "create: more than one file named"};
        }
    }
    if (options.path.empty()) throw Failure{kExitUsage, "create: no file named"};
    return options;
}

void PrintScan(const Scan& scan, std::FILE* out)
{
    std::fprintf(out, "records         %lld\n", scan.Total());
    std::fprintf(out, "  HD %lld, LD %lld, PD %lld, AD %lld, CD %lld, RD %lld\n", scan.hd, scan.ld, scan.pd,
                 scan.ad, scan.cd, scan.rd);
    if (!scan.gaps.empty())
        std::fprintf(out, "  %zu stretches without a record, the first at %lld\n", scan.gaps.size(),
                     scan.gaps.front());
}

}  // namespace

int CreateCommand(const Arguments& arguments, const Console& console)
{
    const CreateOptions options = ParseCreate(arguments);
    bool made = false;
    try
    {
        if (QZFile::Exists(options.path.c_str()))
            throw Failure{kExitAccess, options.path + ": the file exists already"};
        made = QZChannel::Create(options.path.c_str(), QZDatabaseInfo::DBV_CODE_V5, options.addressMode,
                                 options.rollback) != 0;
    }
    catch (QZException* e)
    {
        throw Failure{kExitAccess, options.path + ": cannot create: " + TakeMessage(e)};
    }
    if (!made) throw Failure{kExitAccess, options.path + ": cannot create"};
    std::fprintf(console.out, "%s: created, %d-bit addresses, rollback %s\n", options.path.c_str(),
                 options.addressMode == QZDatabaseInfo::ADDR_MODE_64 ? 64 : 32,
                 options.rollback ? "on" : "off");
    return kExitGood;
}

int InfoCommand(const Arguments& arguments, const Console& console)
{
    Database database(arguments[0]);
    const Header& header = database.GetHeader();
    const bool cut = header.length >= header.fileSize;
    const Scan scan = ScanRecords(database);
    QZChannel* channel = database.Channel();

    std::fprintf(console.out, "file            %s\n", database.Path().c_str());
    std::fprintf(console.out, "file size       %lld bytes\n", header.fileSize);
    std::fprintf(console.out, "length field    %lld%s\n", header.length,
                 cut ? " (beyond the end of the file)" : "");
    std::fprintf(console.out, "version         %d\n", header.version);
    std::fprintf(console.out, "address mode    %d (addresses of %lld bytes)\n", header.addressMode,
                 header.addressLength);
    std::fprintf(console.out, "file mode       %d\n", header.fileMode);
    std::fprintf(console.out, "write protect   %s\n", channel->G_WS() == 0 ? "off" : "on");
    std::fprintf(console.out, "rollback        %s\n", database.RollbackOn() ? "on" : "off");
    PrintScan(scan, console.out);
    std::fprintf(console.out, "last error      %s\n", CodeName(database.OpenError()).c_str());
    // Everything that can be read is printed. What is wrong with the file comes last, with the exit code.
    database.RequireSound();
    return kExitGood;
}

}  // namespace qzdb
