#ifndef QZLIB_TESTS_APPS_QZDB_TOOL_H
#define QZLIB_TESTS_APPS_QZDB_TOOL_H

/// The database tool as its tests run it.

#include <algorithm>
#include <cstdlib>

#include "qzdb/tool.h"
#include "support/qz_test.h"

namespace qzdbtest
{
using qztest::TempDir;

struct Result
{
    int code = -1;
    std::string out;
    std::string err;
};

/// A folder with database files, and the tool to work on them.
class Tool
{
public:
    /// Runs a command; words that begin with '@' are files of the folder, unless digits alone
    /// follow.
    Result Run(std::vector<std::string> words, const std::string& input = {}) const
    {
        for (std::string& word : words)
        {
            if (!word.empty() && word[0] == '@' &&
                word.find_first_not_of("0123456789", 1) != std::string::npos)
                word = m_dir.NarrowName(word.substr(1));
        }
        m_dir.Write("stdin", input);
        qzdb::Console console{std::fopen(m_dir.NarrowName("stdin").c_str(), "rb"),
                              std::fopen(m_dir.NarrowName("stdout").c_str(), "wb"),
                              std::fopen(m_dir.NarrowName("stderr").c_str(), "wb"), false};
        Result result;
        // Boxes go to the standard output itself, through the library's console.
        testing::internal::CaptureStdout();
        result.code = qzdb::RunTool(words, console);
        std::string boxes = testing::internal::GetCapturedStdout();
        std::erase(boxes, '\r');
        std::fclose(console.in);
        std::fclose(console.out);
        std::fclose(console.err);
        result.out = boxes + m_dir.Read("stdout");
        result.err = m_dir.Read("stderr");
        return result;
    }

    /// The same with the program itself, in a process of its own.
    Result Spawn(const std::string& words, const std::string& input = {}) const
    {
        std::filesystem::path program(QZ_TEST_QZDB);
        std::string line = program.make_preferred().string();
        std::string word;
        for (const char c : words + " ")
        {
            if (c != ' ')
            {
                word.push_back(c);
                continue;
            }
            line += " " + (word[0] == '@' ? m_dir.NarrowName(word.substr(1)) : word);
            word.clear();
        }
        m_dir.Write("stdin", input);
        line += " <" + m_dir.NarrowName("stdin") + " >" + m_dir.NarrowName("stdout") + " 2>" +
                m_dir.NarrowName("stderr");
        Result result;
        const int status = std::system(line.c_str());
        // Where the status holds more than the exit code, that stands in its second byte.
        result.code = status >= 256 ? status / 256 : status;
        result.out = m_dir.Read("stdout");
        result.err = m_dir.Read("stderr");
        return result;
    }

    void Make(const std::string& name, const std::string& list = {}, const std::string& text = {}) const
    {
        ASSERT_EQ(Run({"create", "@" + name}).code, 0);
        if (!list.empty()) Import(name, list, text);
    }

    void Import(const std::string& name, const std::string& list, const std::string& text) const
    {
        const Result result = Run({"import", "@" + name, list}, text);
        ASSERT_EQ(result.code, 0) << result.err;
    }

    std::string Export(const std::string& name, const std::string& list) const
    {
        const Result result = Run({"export", "@" + name, list});
        EXPECT_EQ(result.code, 0) << result.err;
        return result.out;
    }

    std::string Path(const std::string& name) const { return m_dir.NarrowName(name); }
    const TempDir& Dir() const { return m_dir; }

    void Patch(const std::string& name, std::size_t at, const std::string& bytes) const
    {
        std::string file = m_dir.Read(name);
        ASSERT_LE(at + bytes.size(), file.size());
        m_dir.Write(name, file.replace(at, bytes.size(), bytes));
    }

private:
    TempDir m_dir;
};

/// The result of a command that failed: the code, nothing but one line that names the tool.
inline void ExpectFailure(const Result& result, int code, const std::string& about)
{
    EXPECT_EQ(result.code, code) << result.err;
    EXPECT_EQ(result.err.compare(0, 6, "qzdb: "), 0) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_NE(result.err.find(about), std::string::npos) << result.err;
}

/// A command on a damaged file ends with one of the four codes, and says something unless it is 0.
inline void ExpectSane(const Result& result)
{
    EXPECT_GE(result.code, 0);
    EXPECT_LE(result.code, 3);
    EXPECT_EQ(result.code == 0, result.err.empty()) << result.code << result.err;
    EXPECT_LE(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
}
}  // namespace qzdbtest

#endif
