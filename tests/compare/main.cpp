// Prints what the library does in many seeded cases, a line for each: seed, hash and length of the
// transcript.
//
//     qz_compare --list [--short]          the subjects with their numbers of cases
//     qz_compare SUBJECT FIRST COUNT       the cases of these seeds
//     qz_compare --case SUBJECT SEED       the transcript of one case in full

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "compare.h"

namespace compare
{
namespace
{
Case* g_case = nullptr;

const Subject kSubjects[] = {
    {"bytes", RunBytes, 2000, 40000},       {"text", RunText, 3000, 60000},
    {"numbers", RunNumbers, 2000, 40000},   {"lists", RunLists, 4000, 60000},
    {"packages", RunPackages, 2000, 30000}, {"exceptions", RunExceptions, 2000, 30000},
    {"engine", RunEngine, 400, 5000},       {"nodes", RunNodes, 400, 4000},
    {"tables", RunTables, 300, 4000},       {"http", RunHttp, 3000, 40000},
    {"json", RunJson, 3000, 50000},         {"pixels", RunPixels, 1000, 20000},
    {"shapes", RunShapes, 800, 10000},      {"codec", RunCodec, 300, 6000},
    {"files", RunFiles, 400, 5000},
};

const Subject* Find(const char* name)
{
    for (const Subject& subject : kSubjects)
        if (std::strcmp(subject.name, name) == 0) return &subject;
    return nullptr;
}

std::string Run(const Subject& subject, QZUInt64 seed, bool full)
{
    Case c(Hash(subject.name, std::strlen(subject.name)) ^ seed * 0x9E3779B97F4A7C15, full);
    g_case = &c;
    // Every case begins with the caches empty, so that it is the same alone and after others.
    QZLibCollect(0);
    QZGraphicsFactory::Collect(0);
    QZLastError = 0;
    QZException::IsStackTrace = 1;
    subject.run(c);
    g_case = nullptr;
    return c.Transcript();
}

int RunMany(const Subject& subject, long long first, long long count)
{
    for (long long seed = first; seed < first + count; ++seed)
    {
        const std::string transcript = Run(subject, static_cast<QZUInt64>(seed), false);
        std::printf("%lld %016llX %zu\n", seed, Hash(transcript.data(), transcript.size()),
                    transcript.size());
        // Whoever reads this sees the last case before a crash.
        std::fflush(stdout);
    }
    return 0;
}

int Main(int count, char** arguments)
{
    if (count >= 2 && std::strcmp(arguments[1], "--list") == 0)
    {
        for (const Subject& subject : kSubjects)
            std::printf("%s %d\n", subject.name, count > 2 ? subject.shortCases : subject.longCases);
        return 0;
    }
    const bool one = count == 4 && std::strcmp(arguments[1], "--case") == 0;
    const Subject* subject = count == 4 ? Find(arguments[one ? 2 : 1]) : nullptr;
    if (subject == nullptr)
    {
        std::fprintf(stderr, "qz_compare: no such subject, or wrong arguments\n");
        return 2;
    }
    if (!one) return RunMany(*subject, std::atoll(arguments[2]), std::atoll(arguments[3]));
    const std::string transcript = Run(*subject, static_cast<QZUInt64>(std::atoll(arguments[3])), true);
    std::fwrite(transcript.data(), 1, transcript.size(), stdout);
    return 0;
}
}  // namespace

void NoteAssert(QZBool condition)
{
    if (condition == 0 && g_case != nullptr) ++g_case->m_asserts;
}
}  // namespace compare

int main(int count, char** arguments)
{
    if (!compare::HoldClock()) return 3;
    QZLibInit();
    QZLibSetFunctionAssert(compare::NoteAssert);
    if (QZEnvironment::GetCurrentTimestamp() != compare::kHeldTime)
    {
        std::fprintf(stderr, "qz_compare: the library's clock shows %lld and not the held time\n",
                     QZEnvironment::GetCurrentTimestamp());
        return 3;
    }
    const int result = compare::Main(count, arguments);
    QZLibDispose();
    return result;
}
