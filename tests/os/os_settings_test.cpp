#include "os/os_settings.h"

#include "fw/fw_encoding.h"
#include "fw/fw_string_factory.h"
#include "support/qz_test.h"

namespace
{
using qztest::TempDir;

/// Exposes the protected operations, as a settings class of a host does.
class Settings : public QZSettingsAdapter
{
public:
    using QZSettingsAdapter::GetLength;
    using QZSettingsAdapter::IsKeyExists;
    using QZSettingsAdapter::m_encoding;
    using QZSettingsAdapter::m_saveOnChange;
    using QZSettingsAdapter::QZSettingsAdapter;

    void Put(const char* key, const char* value)
    {
        QZString k(key);
        QZString v(value);
        SetValue(&k, &v);
    }
    std::string Get(const char* key)
    {
        QZString k(key);
        QZString* value = GetValue(&k);
        std::string text = qztest::Utf8(value);
        Recycle(&value);
        return text;
    }
    bool Has(const char* key)
    {
        QZString k(key);
        return IsKeyExists(&k) != 0;
    }
    QZInt64 Length(const char* key)
    {
        QZString k(key);
        return GetLength(&k);
    }
    std::string All()
    {
        std::string text(static_cast<std::size_t>(GetSettingsSize()), '\0');
        EXPECT_EQ(CopySettingsToBuf(text.data()), GetSettingsSize());
        return text;
    }
};

Settings FromText(const std::string& text)
{
    return Settings(text.data(), static_cast<QZInt64>(text.size()));
}

TEST(Settings, ValueEndsAtCrSemicolonOrTheEnd)
{
    Settings settings = FromText("a=1\r\nb=two;comment\r\nc=last");
    EXPECT_EQ(settings.GetType(), 0x81FFB00);
    EXPECT_EQ(settings.Get("a="), "1");
    EXPECT_EQ(settings.Get("b="), "two");
    EXPECT_EQ(settings.Get("c="), "last");
    EXPECT_EQ(settings.Length("b="), 3);
    EXPECT_TRUE(settings.Has("b="));
}

TEST(Settings, MissingKeyHasAnEmptyValue)
{
    Settings settings = FromText("a=1");
    EXPECT_EQ(settings.Get("z="), "");
    EXPECT_EQ(settings.Length("z="), 0);
    EXPECT_FALSE(settings.Has("z="));
    Settings none;
    EXPECT_EQ(none.Get("a="), "");
    EXPECT_EQ(none.GetSettingsSize(), 0);
}

TEST(Settings, KeyIsFoundAtItsFirstOccurrence)
{
    // The key is searched as plain text, so "rate=" is found inside "baudrate=".
    Settings settings = FromText("baudrate=9600\r\nrate=5\r\n");
    EXPECT_EQ(settings.Get("rate="), "9600");
}

TEST(Settings, ChangingAValueKeepsTheComment)
{
    Settings settings = FromText("# head\r\na=1;the comment\r\nb=2\r\n");
    settings.Put("a=", "12345");
    EXPECT_EQ(settings.All(), "# head\r\na=12345;the comment\r\nb=2\r\n");
    settings.Put("a=", "");
    EXPECT_EQ(settings.All(), "# head\r\na=;the comment\r\nb=2\r\n");
    settings.Put("b=", "long enough to move the rest");
    EXPECT_EQ(settings.All(), "# head\r\na=;the comment\r\nb=long enough to move the rest\r\n");
}

TEST(Settings, NewKeyBecomesALineAtTheEnd)
{
    Settings settings = FromText("a=1\r\n");
    settings.Put("b=", "2");
    EXPECT_EQ(settings.All(), "a=1\r\nb=2\r\n");
    Settings open = FromText("a=1");
    open.Put("b=", "2");
    EXPECT_EQ(open.All(), "a=1\r\nb=2\r\n");
    Settings none;
    none.Put("a=", "1");
    EXPECT_EQ(none.All(), "a=1\r\n");
}

TEST(Settings, ValuesAreInTheTextsEncoding)
{
    Settings settings = FromText(
        "name=Gr\xC3\xB6\xC3\x9F"
        "e\r\n");
    EXPECT_EQ(settings.Get("name="),
              "Gr\xC3\xB6\xC3\x9F"
              "e");
    QZString key(QZ_W("name="));
    EXPECT_EQ(settings.GetLength(&key), 7);
    Settings wide;
    wide.m_encoding = QZEncodingType::UTF16LE;
    wide.Put("k=", "v");
    EXPECT_EQ(qztest::Hex(wide.All()), qztest::Hex(std::string("k\0=\0v\0\r\0\n\0", 10)));
    EXPECT_EQ(wide.Get("k="), "v");
}

TEST(Settings, FileIsSavedOnEveryChangeAndTruncated)
{
    TempDir dir;
    dir.Write("s.txt", "a=a long value;keep\r\n");
    Settings settings(dir.Name("s.txt").c_str());
    EXPECT_EQ(settings.Get("a="), "a long value");
    settings.Put("a=", "x");
    EXPECT_EQ(dir.Read("s.txt"), "a=x;keep\r\n");
    settings.m_saveOnChange = 0;
    settings.Put("a=", "y");
    EXPECT_EQ(dir.Read("s.txt"), "a=x;keep\r\n");
    settings.Save();
    EXPECT_EQ(dir.Read("s.txt"), "a=y;keep\r\n");
}

TEST(Settings, EveryFormOfPathLoads)
{
    TempDir dir;
    dir.Write("s.txt", "a=1\r\n");
    const std::string narrow = dir.NarrowName("s.txt");
    const qztest::Text wide = dir.Name("s.txt");
    QZString text(wide.c_str());
    EXPECT_EQ(Settings(narrow.c_str()).Get("a="), "1");
    EXPECT_EQ(Settings(wide.c_str()).Get("a="), "1");
    EXPECT_EQ(Settings(&text).Get("a="), "1");
    EXPECT_EQ(Settings(static_cast<const void*>(narrow.c_str())).Get("a="), "1");
    Settings loaded;
    loaded.Load(narrow.c_str());
    loaded.Load(wide.c_str());
    loaded.Load(&text);
    loaded.Load(static_cast<const void*>(narrow.c_str()));
    EXPECT_EQ(loaded.All(), "a=1\r\n");
}

TEST(Settings, SaveOfATextInMemoryDoesNothing)
{
    Settings settings = FromText("a=1");
    EXPECT_QZ_NO_THROW(settings.Save());
    settings.Put("a=", "2");
    EXPECT_EQ(settings.All(), "a=2");
}

TEST(Settings, BadPathsAndTextsAreRefused)
{
    TempDir dir;
    const std::string longPath(255, 'x');
    EXPECT_QZ_THROW(Settings(longPath.c_str()), 4864);
    EXPECT_QZ_THROW(Settings(dir.Name("missing.txt").c_str()), 5888);
    EXPECT_QZ_THROW(Settings("a", QZInt64{-1}), 256);
    EXPECT_QZ_THROW(Settings(static_cast<const void*>(nullptr), QZInt64{5}), 256);
}

TEST(Settings, FailedLoadKeepsTheOldText)
{
    TempDir dir;
    Settings settings = FromText("a=1");
    EXPECT_QZ_THROW(settings.Load(dir.Name("missing.txt").c_str()), 5888);
    EXPECT_EQ(settings.Get("a="), "1");
}

TEST(Settings, CopyHasItsOwnText)
{
    Settings settings = FromText("a=1");
    Settings copy(settings);
    copy.Put("a=", "2");
    EXPECT_EQ(settings.Get("a="), "1");
    EXPECT_EQ(copy.Get("a="), "2");
}
}  // namespace
