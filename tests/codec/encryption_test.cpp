#include "codec/cod_encryption.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <string>
#include <vector>

namespace
{

using Map = std::array<unsigned char, 256>;

Map Identity()
{
    Map map;
    for (int i = 0; i < 256; ++i) map[static_cast<std::size_t>(i)] = static_cast<unsigned char>(i);
    return map;
}

Map EncryptionMap(const std::string& key)
{
    Map map{};
    QZEncryption::CreateEncryptionMapByChar(map.data(), key.data(), static_cast<QZInt64>(key.size()));
    return map;
}

/// The same permutation, computed with erase and insert on a list.
Map Reference(const std::string& key)
{
    std::vector<unsigned char> list(256);
    std::iota(list.begin(), list.end(), static_cast<unsigned char>(0));
    for (const char c : key)
    {
        for (int p = static_cast<unsigned char>(c); p >= 1; --p)
        {
            if (p % 2 == 1) std::rotate(list.begin(), list.begin() + p, list.end());
            const float s = static_cast<float>(256 - p) / static_cast<float>(p);
            for (int j = p; j >= 1; --j)
            {
                const unsigned char last = list.back();
                list.pop_back();
                list.insert(list.begin() + static_cast<int>(s * static_cast<float>(j)), last);
            }
        }
    }
    Map map;
    std::copy(list.begin(), list.end(), map.begin());
    return map;
}

}  // namespace

TEST(Encryption, EmptyKeyGivesIdentity) { EXPECT_EQ(EncryptionMap(""), Identity()); }

TEST(Encryption, KeyOfZeroBytesGivesIdentity) { EXPECT_EQ(EncryptionMap(std::string(7, '\0')), Identity()); }

TEST(Encryption, KeyOneRotatesByOne)
{
    Map expected;
    for (std::size_t i = 0; i < 256; ++i) expected[i] = static_cast<unsigned char>((i + 1) % 256);
    EXPECT_EQ(EncryptionMap("\x01"), expected);
}

TEST(Encryption, KeyTwoInsertsAt254And127ThenRotates)
{
    // 255 moves to index 254, then 254 to index 127; parameter 1 rotates by one.
    Map expected;
    for (std::size_t i = 0; i < 126; ++i) expected[i] = static_cast<unsigned char>(i + 1);
    expected[126] = 254;
    for (std::size_t i = 127; i < 254; ++i) expected[i] = static_cast<unsigned char>(i);
    expected[254] = 255;
    expected[255] = 0;
    EXPECT_EQ(EncryptionMap("\x02"), expected);
}

TEST(Encryption, KeyThreeRotatesByThree)
{
    // Rotated by three: 3 to 255, then 0, 1, 2. Then 2 moves to index 253, 1 to index 168 and 0 to index 84.
    std::vector<int> list;
    for (int i = 3; i < 256; ++i) list.push_back(i);
    list.insert(list.begin() + 168, 1);
    list.insert(list.begin() + 84, 0);
    list.push_back(2);
    ASSERT_EQ(list.size(), 256u);
    // Parameter 2 moves the second to last entry to index 127; parameter 1 rotates by one.
    const int beforeLast = list[254];
    list.erase(list.begin() + 254);
    list.insert(list.begin() + 127, beforeLast);
    list.push_back(list.front());
    list.erase(list.begin());
    const Map map = EncryptionMap("\x03");
    for (std::size_t i = 0; i < 256; ++i) EXPECT_EQ(map[i], list[i]) << i;
}

TEST(Encryption, EveryKeyByteGivesTheReferencePermutation)
{
    for (int k = 0; k < 256; ++k)
    {
        const std::string key(1, static_cast<char>(k));
        EXPECT_EQ(EncryptionMap(key), Reference(key)) << k;
    }
    EXPECT_EQ(EncryptionMap("a longer key \x80\xFF"), Reference("a longer key \x80\xFF"));
}

TEST(Encryption, DecryptionMapIsTheInverseAndClearsItsScratch)
{
    const std::string key = "secret";
    const Map encryption = EncryptionMap(key);
    unsigned char map[512];
    std::fill(std::begin(map), std::end(map), static_cast<unsigned char>(0xAA));
    QZEncryption::CreateDecryptionMapByChar(map, key.data(), 6);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(map[encryption[static_cast<std::size_t>(i)]], i);
    EXPECT_TRUE(std::all_of(map + 256, map + 512, [](unsigned char byte) { return byte == 0; }));
}

TEST(Encryption, EncryptionReplacesEachByteByItsMapEntry)
{
    unsigned char data[] = {0, 1, 254, 255, 77};
    QZEncryption::Encryption(EncryptionMap("\x01").data(), data, 4);
    EXPECT_EQ(data[0], 1);
    EXPECT_EQ(data[1], 2);
    EXPECT_EQ(data[2], 255);
    EXPECT_EQ(data[3], 0);
    EXPECT_EQ(data[4], 77) << "after the size";
    QZEncryption::Encryption(EncryptionMap("\x01").data(), data, 0);
    EXPECT_EQ(data[0], 1);
}

TEST(Encryption, DecryptionWithTheMatchingMapRestoresTheData)
{
    const std::string key = "key 17";
    unsigned char map[512];
    QZEncryption::CreateDecryptionMapByChar(map, key.data(), static_cast<QZInt64>(key.size()));
    std::string text = "Some text, and \x01\x80\xFF bytes";
    const std::string before = text;
    QZEncryption::Encryption(EncryptionMap(key).data(), text.data(), static_cast<QZInt64>(text.size()));
    EXPECT_NE(text, before);
    QZEncryption::Decryption(map, text.data(), static_cast<QZInt64>(text.size()));
    EXPECT_EQ(text, before);
}
