#include "os/os_path.h"
#include "os/os_file_directory.h"

#include "fw/fw_exception_code.h"
#include "fw/fw_keyed.h"
#include "fw/fw_string_factory.h"
#include "support/qz_hooks.h"
#include "support/qz_test.h"
#include "sys/internal/sys_file.h"
#include "sys/internal/sys_hooks.h"

namespace
{

using qztest::Hooks;
using qztest::TempDir;
using qztest::Text;

/// Runs an operation on a path and returns the new string as UTF-8.
template <typename Operation>
std::string On(std::string_view path, Operation operation)
{
    QZString* text = QZStringFactory::CreateString(qztest::Wide(path).c_str());
    QZString* result = operation(text);
    std::string shown = qztest::Utf8(result);
    QZPath::Recycle(&result);
    EXPECT_EQ(result, nullptr);
    QZStringFactory::Recycle(&text);
    return shown;
}

std::string Drive(std::string_view path)
{
    return On(path, [](QZString* p) { return QZPath::GetDrive(p); });
}
std::string Directory(std::string_view path)
{
    return On(path, [](QZString* p) { return QZPath::GetDirectory(p); });
}
std::string Directory(std::string_view path, QZInt64 level)
{
    return On(path, [level](QZString* p) { return QZPath::GetDirectory(p, level); });
}
std::string Name(std::string_view path)
{
    return On(path, [](QZString* p) { return QZPath::GetName(p); });
}
std::string BareName(std::string_view path)
{
    return On(path, [](QZString* p) { return QZPath::GetNameNoExtension(p); });
}
std::string Extension(std::string_view path)
{
    return On(path, [](QZString* p) { return QZPath::GetExtension(p); });
}
std::string Combined(std::string_view first, std::string_view second)
{
    QZString* tail = QZStringFactory::CreateString(qztest::Wide(second).c_str());
    std::string shown = On(first, [tail](QZString* p) { return QZPath::Combine(p, tail); });
    QZStringFactory::Recycle(&tail);
    return shown;
}

TEST(Path, DriveIsALetterWithAColon)
{
    EXPECT_EQ(Drive("C:\\a\\b"), "C:");
    EXPECT_EQ(Drive("z:"), "z:");
    EXPECT_EQ(Drive("/a/b"), "");
    EXPECT_EQ(Drive("a"), "");
    EXPECT_EQ(Drive(""), "");
    EXPECT_EQ(Drive("1:\\a"), "");
}

TEST(Path, BothSeparatorsSeparate)
{
    EXPECT_EQ(Directory("C:\\dir\\sub\\file.txt"), "C:\\dir\\sub");
    EXPECT_EQ(Directory("a/b/c"), "a/b");
    EXPECT_EQ(Directory("a/b\\c"), "a/b");
    EXPECT_EQ(Name("a/b\\c"), "c");
    EXPECT_EQ(Name("a\\b/c.d"), "c.d");
}

TEST(Path, DirectoryIsThePartBeforeTheLastSeparator)
{
    EXPECT_EQ(Directory("a"), "");
    EXPECT_EQ(Directory(""), "");
    EXPECT_EQ(Directory("a/"), "a");
    EXPECT_EQ(Directory("/a"), "");
}

TEST(Path, LevelsGoUpUntilEmpty)
{
    EXPECT_EQ(Directory("a/b/c/d", 0), "a/b/c");
    EXPECT_EQ(Directory("a/b/c/d", 1), "a/b");
    EXPECT_EQ(Directory("a/b/c/d", 2), "a");
    EXPECT_EQ(Directory("a/b/c/d", 3), "");
    EXPECT_EQ(Directory("a/b/c/d", 1000000000000LL), "");
    EXPECT_EQ(Directory("a/b/c/d", -1), "a/b/c");
    EXPECT_EQ(Directory("C:\\a\\b", 1), "C:");
    EXPECT_EQ(Directory("C:\\a\\b", 2), "");
}

TEST(Path, NameAndExtension)
{
    EXPECT_EQ(Name("file.tar.gz"), "file.tar.gz");
    EXPECT_EQ(BareName("a/file.tar.gz"), "file.tar");
    EXPECT_EQ(Extension("a/file.tar.gz"), "gz");
    EXPECT_EQ(Name("a/"), "");
    EXPECT_EQ(BareName("a/"), "");
    EXPECT_EQ(BareName("a.b/c"), "c");
    EXPECT_EQ(Extension("a.b/c"), "");
    EXPECT_EQ(Extension("c."), "");
    EXPECT_EQ(BareName("c."), "c");
    EXPECT_EQ(Extension(".hidden"), "hidden");
    EXPECT_EQ(BareName(".hidden"), "");
}

TEST(Path, CombineWritesOneSeparator)
{
    std::string s(1, static_cast<char>(os::PathSeparator()));
    EXPECT_EQ(Combined("a", "b"), "a" + s + "b");
    EXPECT_EQ(Combined("a/", "b"), "a" + s + "b");
    EXPECT_EQ(Combined("a", "\\b"), "a" + s + "b");
    EXPECT_EQ(Combined("a\\", "/b"), "a" + s + "b");
    EXPECT_EQ(Combined("/", "b"), s + "b");
    EXPECT_EQ(Combined("", "b"), "b");
    EXPECT_EQ(Combined("a", ""), "a");
    EXPECT_EQ(Combined("a/b", "c/d"), "a/b" + s + "c/d");
}

TEST(Path, NullIsEmpty)
{
    QZString* result = QZPath::GetName(nullptr);
    EXPECT_QZ_TEXT(result, "");
    QZPath::Recycle(&result);
    result = QZPath::Combine(nullptr, nullptr);
    EXPECT_QZ_TEXT(result, "");
    QZPath::Recycle(&result);
}

// ---- Directories

TEST(FileDirectory, CreateMakesTheMissingParents)
{
    TempDir dir;
    QZFileDirectory::Create(dir.NarrowName("a/b/c").c_str());
    EXPECT_TRUE(std::filesystem::is_directory(dir.Path("a/b/c")));
    QZFileDirectory::Create(dir.Name("a/d/").c_str());
    EXPECT_TRUE(std::filesystem::is_directory(dir.Path("a/d")));
    QZString* path = QZStringFactory::CreateString(dir.Name("e\\f").c_str());
    for (QZInt64 i = 0; i < path->GetLength(); ++i)
        if (path->GetPointer()[i] == '\\') path->GetPointer()[i] = os::PathSeparator();
    QZFileDirectory::Create(path);
    EXPECT_TRUE(std::filesystem::is_directory(dir.Path("e/f")));
    QZPath::Create(path);
    QZStringFactory::Recycle(&path);
}

TEST(FileDirectory, CreateOfAnExistingDirectorySucceeds)
{
    TempDir dir;
    EXPECT_QZ_NO_THROW(QZFileDirectory::Create(dir.Name("").c_str()));
}

TEST(FileDirectory, CreateUnderAFileFails)
{
    TempDir dir;
    dir.Write("a", "x");
    EXPECT_QZ_THROW(QZFileDirectory::Create(dir.Name("a/b").c_str()), 5888);
    EXPECT_QZ_THROW(QZFileDirectory::Create(dir.Name("a").c_str()), 5888);
    EXPECT_QZ_THROW(QZFileDirectory::Create(""), 5888);
    QZString* path = QZStringFactory::CreateString(dir.Name("a/b").c_str());
    auto thrown = QZ_TEST_CATCH(QZPath::Create(path));
    EXPECT_EQ(thrown.code, 5888);
    EXPECT_EQ(thrown.stackTrace, "QZFileDirectory::Create(QZString*)\r\nQZPath::Create(QZString*)");
    QZStringFactory::Recycle(&path);
}

TEST(FileDirectory, FailedCreateKeepsTheParentsCreated)
{
    TempDir dir;
    Hooks hooks;
    hooks.Fail(os::Op::FileName, 5, 2);
    auto thrown = QZ_TEST_CATCH(QZFileDirectory::Create(dir.Name("a/b/c").c_str()));
    EXPECT_EQ(thrown.code, 5888);
    EXPECT_EQ(thrown.stackTrace, "QZFileDirectory::Create(QZWChar*)");
    EXPECT_TRUE(dir.Exists("a"));
    EXPECT_FALSE(dir.Exists("a/b"));
}

TEST(FileDirectory, DeleteRemovesAnEmptyDirectory)
{
    TempDir dir;
    QZFileDirectory::Create(dir.Name("a/b").c_str());
    EXPECT_QZ_THROW(QZFileDirectory::Delete(dir.Name("a").c_str()), 5888);
    QZFileDirectory::Delete(dir.NarrowName("a/b").c_str());
    QZString* path = QZStringFactory::CreateString(dir.Name("a").c_str());
    QZFileDirectory::Delete(path);
    QZStringFactory::Recycle(&path);
    EXPECT_FALSE(dir.Exists("a"));
    EXPECT_QZ_THROW(QZFileDirectory::Delete(dir.Name("a").c_str()), 5888);
}

TEST(FileDirectory, ExistsIsTrueForDirectoriesOnly)
{
    TempDir dir;
    dir.Write("a", "x");
    EXPECT_EQ(QZFileDirectory::Exists(dir.Name("").c_str()), 1);
    EXPECT_EQ(QZFileDirectory::Exists(dir.NarrowName("").c_str()), 1);
    EXPECT_EQ(QZFileDirectory::Exists(dir.Name("a").c_str()), 0);
    QZString* path = QZStringFactory::CreateString(dir.Name("b").c_str());
    EXPECT_EQ(QZFileDirectory::Exists(path), 0);
    QZStringFactory::Recycle(&path);
}

TEST(FileDirectory, PathsOf256CharactersAreTooLong)
{
    Text path(256, QZWChar('a'));
    QZString* text = QZStringFactory::CreateString(path.c_str());
    EXPECT_QZ_THROW(QZFileDirectory::Create(path.c_str()), 4864);
    EXPECT_QZ_THROW(QZFileDirectory::Delete(path.c_str()), 4864);
    EXPECT_QZ_THROW(QZFileDirectory::Exists(text), 4864);
    EXPECT_QZ_THROW(QZFileDirectory::GetFiles(text, 0, 0), 4864);
    QZStringFactory::Recycle(&text);
    path.pop_back();
    EXPECT_EQ(QZFileDirectory::Exists(path.c_str()), 0);
}

std::string Listed(QZStringCollection* names)
{
    std::string all;
    for (QZInt64 i = 0; i < names->Count(); ++i) all += qztest::Utf8(names->GetElement(i)) + "|";
    QZFileDirectory::Recycle(&names);
    EXPECT_EQ(names, nullptr);
    return all;
}

class DirectoryList : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QZFileDirectory::Create(dir.Name("m/deep").c_str());
        dir.Write("b", "");
        dir.Write("a.txt", "");
        dir.Write("z", "");
        dir.Write("m/x", "");
        dir.Write("m/deep/y", "");
        path = QZStringFactory::CreateString(dir.Name("").c_str());
    }
    void TearDown() override { QZStringFactory::Recycle(&path); }

    std::string Under(std::string_view name)
    {
        std::string s(1, static_cast<char>(os::PathSeparator()));
        std::string all = qztest::Utf8(path) + s;
        for (char c : name) all += c == '/' ? s : std::string(1, c);
        return all + "|";
    }

    TempDir dir;
    QZString* path = nullptr;
};

TEST_F(DirectoryList, FilesOfOneDirectory)
{
    EXPECT_EQ(Listed(QZFileDirectory::GetFiles(path, 0, 0)), "a.txt|b|z|");
    EXPECT_EQ(Listed(QZFileDirectory::GetFiles(path, 0, 1)), Under("a.txt") + Under("b") + Under("z"));
}

TEST_F(DirectoryList, FilesOfATree)
{
    EXPECT_EQ(Listed(QZFileDirectory::GetFiles(path, 1, 0)), "a.txt|b|y|x|z|");
    EXPECT_EQ(Listed(QZFileDirectory::GetFiles(path, 1, 1)),
              Under("a.txt") + Under("b") + Under("m/deep/y") + Under("m/x") + Under("z"));
}

TEST_F(DirectoryList, DirectoriesAreListedToo)
{
    EXPECT_EQ(Listed(QZFileDirectory::GetFilesAll(path, 0, 0)), "a.txt|b|m|z|");
    EXPECT_EQ(Listed(QZFileDirectory::GetFilesAll(path, 1, 0)), "a.txt|b|m|deep|y|x|z|");
}

TEST_F(DirectoryList, MissingDirectoryFails)
{
    path->Append("-none");
    auto thrown = QZ_TEST_CATCH(QZFileDirectory::GetFilesAll(path, 1, 0));
    EXPECT_EQ(thrown.code, 5888);
    EXPECT_EQ(thrown.stackTrace, "QZFileDirectory::GetFilesAll(QZString*, QZBool, QZBool)");
}

TEST_F(DirectoryList, UnreadableSubdirectoryFails)
{
    Hooks hooks;
    hooks.Fail(os::Op::FileName, 5, 2);
    EXPECT_QZ_THROW(QZFileDirectory::GetFiles(path, 1, 0), 5888);
}

TEST(FileDirectory, EmptyDirectoryHasAnEmptyCollection)
{
    TempDir dir;
    QZString* path = QZStringFactory::CreateString(dir.Name("").c_str());
    EXPECT_EQ(Listed(QZFileDirectory::GetFiles(path, 1, 1)), "");
    QZStringFactory::Recycle(&path);
    QZFileDirectory object;
    EXPECT_EQ(object.GetType(), 0x81FF400);
    EXPECT_EQ(QZPath::Type, 0x81FF900);
}

}  // namespace
