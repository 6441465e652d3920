// Runs the gallery and compares each of its pictures with the one that was looked at.
//
// After a change that is meant to be seen: run the program, look at the pictures that differ, and put the sum
// that the failure prints into the table.

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

#include "support/qz_test.h"

namespace
{

struct Picture
{
    const char* name;
    int width;
    int height;
    const char* sum;
};

const Picture kPictures[] = {
    {"figures", 600, 310, "48707CB9B3106B3F"},           {"text", 400, 150, "ECAEC0EE011276C1"},
    {"algebra", 420, 105, "EE6D502D3DCCD16B"},           {"blend", 400, 190, "E5D62880B3804EC9"},
    {"filters", 590, 370, "D5D148B369A712F0"},           {"rotations", 740, 400, "E15CC99CC5DDD410"},
    {"conversions", 590, 250, "0580AF0C1B9B936F"},       {"histogram", 360, 300, "EEF3F39B0C1FF8E2"},
    {"histogram-colors", 360, 300, "58433BB151EB0A60"},  {"scale", 300, 200, "B08BCC667EC60D9A"},
    {"palettes", 420, 150, "E660207B60299C4A"},          {"ruler", 640, 200, "5902E35B5523646F"},
    {"compositor-before", 300, 220, "40D034F8014AE28F"}, {"compositor-after", 300, 220, "BBC94DFF9F9A7351"},
    {"compositor-areas", 300, 220, "3E836F27B4E72E9D"},
};

/// FNV-1a of 64 bits, in hexadecimal digits.
std::string SumOf(const std::string& bytes)
{
    unsigned long long sum = 0xCBF29CE484222325ULL;
    for (const char byte : bytes)
    {
        sum ^= static_cast<unsigned char>(byte);
        sum *= 0x100000001B3ULL;
    }
    char text[17];
    std::snprintf(text, sizeof(text), "%016llX", sum);
    return text;
}

int WordAt(const std::string& bytes, size_t at)
{
    unsigned int word = 0;
    for (size_t i = 0; i < 4; ++i) word |= static_cast<unsigned char>(bytes[at + i]) << (8 * i);
    return static_cast<int>(word);
}

/// The folder into which one run of the program wrote.
class Gallery : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        s_folder = new qztest::TempDir();
        s_output = new qztest::TempDir();
        s_status = Run(s_folder->NarrowName());
    }

    static void TearDownTestSuite()
    {
        delete s_folder;
        delete s_output;
    }

    static int Run(const std::string& folder)
    {
        std::filesystem::path program(QZ_TEST_GALLERY);
        const std::string line = program.make_preferred().string() + " " + folder + " >" +
                                 s_output->NarrowName("stdout") + " 2>" + s_output->NarrowName("stderr");
        const int status = std::system(line.c_str());
        return status >= 256 ? status / 256 : status;
    }

    static qztest::TempDir* s_folder;
    /// What the last run printed.
    static qztest::TempDir* s_output;
    static int s_status;
};

qztest::TempDir* Gallery::s_folder = nullptr;
qztest::TempDir* Gallery::s_output = nullptr;
int Gallery::s_status = -1;

TEST_F(Gallery, EveryPictureIsTheOneThatWasLookedAt)
{
    ASSERT_EQ(s_status, 0);
    for (const Picture& picture : kPictures)
    {
        const std::string file = std::string(picture.name) + ".bmp";
        ASSERT_TRUE(s_folder->Exists(file)) << file;
        EXPECT_EQ(SumOf(s_folder->Read(file)), picture.sum) << file;
    }
}

TEST_F(Gallery, EveryFileIsAPlain32BitBitmap)
{
    for (const Picture& picture : kPictures)
    {
        const std::string bytes = s_folder->Read(std::string(picture.name) + ".bmp");
        ASSERT_EQ(bytes.size(), static_cast<size_t>(54 + 4 * picture.width * picture.height)) << picture.name;
        EXPECT_EQ(bytes.substr(0, 2), "BM");
        EXPECT_EQ(WordAt(bytes, 2), static_cast<int>(bytes.size()));
        EXPECT_EQ(WordAt(bytes, 10), 54);
        EXPECT_EQ(WordAt(bytes, 14), 40);
        EXPECT_EQ(WordAt(bytes, 18), picture.width);
        EXPECT_EQ(WordAt(bytes, 22), picture.height);
        EXPECT_EQ(WordAt(bytes, 26), 32 << 16 | 1);
        EXPECT_EQ(WordAt(bytes, 30), 0);
        for (size_t at = 57; at < bytes.size(); at += 4)
            ASSERT_EQ(static_cast<unsigned char>(bytes[at]), 255) << picture.name << " at " << at;
    }
}

TEST_F(Gallery, NoPictureIsLeftOut)
{
    std::set<std::string> expected;
    for (const Picture& picture : kPictures) expected.insert(std::string(picture.name) + ".bmp");
    std::set<std::string> written;
    for (const auto& entry : std::filesystem::directory_iterator(s_folder->Path()))
        written.insert(entry.path().filename().string());
    EXPECT_EQ(written, expected);
}

TEST_F(Gallery, ASecondRunReplacesTheFiles)
{
    const std::string before = s_folder->Read("figures.bmp");
    s_folder->Write("figures.bmp", "not a picture");
    EXPECT_EQ(Run(s_folder->NarrowName()), 0);
    EXPECT_EQ(s_folder->Read("figures.bmp"), before);
    EXPECT_EQ(s_output->Read("stdout").find("figures.bmp  600 x 310  744054 bytes"), 0u);
}

TEST_F(Gallery, AMissingFolderIsAFailure)
{
    EXPECT_EQ(Run(s_folder->NarrowName("nowhere")), 1);
    const std::string file = s_folder->NarrowName("nowhere") + "/figures.bmp";
    const std::string words = s_output->Read("stderr");
    EXPECT_EQ(words.find("gallery: cannot write " + file + ": Operation Failed "), 0u) << words;
    EXPECT_GT(words.size(), file.size() + 45) << words;
    EXPECT_EQ(Run(""), 2);
    EXPECT_NE(s_output->Read("stderr").find("usage"), std::string::npos);
}

}  // namespace
