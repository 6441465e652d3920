#include "settings.h"

#include "common/owned.h"
#include "common/private_files.h"

namespace qzmon
{

namespace
{

// The value ends at the semicolon before the comment.
std::string Line(const Setting& setting)
{
    return std::string(setting.name) + "=" + setting.initial + "; " + setting.comment + "\r\n";
}

bool ReadNumber(const Setting& setting, const std::string& text, QZInt64* value)
{
    QZInt64 number = 0;
    if (!ParseInteger(text, &number) || number < setting.least || number > setting.most) return false;
    *value = number;
    return true;
}

std::string Range(const Setting& setting)
{
    return "\"" + std::string(setting.name) + "\" takes a whole number from " +
           std::to_string(setting.least) + " to " + std::to_string(setting.most);
}

}  // namespace

const std::vector<Setting>& Settings::All()
{
    static const std::vector<Setting> kAll = {
        {"sample-ms", "1000", 20, 3600000, true, "milliseconds between two samples"},
        {"snapshot-minutes", "60", 1, 10080, true, "minutes between two snapshots taken by itself"},
        {"chart-seconds", "120", 10, 86400, true, "what the live chart shows"},
        {"rows-per-page", "20", 5, 200, true, "rows of a page of a table"},
        {"file-limit-mb", "1024", 8, 1048576, true, "a larger database is put aside and a new one begun"},
        {"channels", "4", 1, 8, false, "channels that are read, from slot 0 of the controller on"},
        {"serial-line", "", 0, 0, false, "the controller's serial line, empty for the simulator"},
        {"baud", "115200", 2400, 2000000, false, "its speed"},
        {"http-port", "8650", 0, 65535, false, "where the page is served, 0 for any free port"},
        {"http-bind", "127.0.0.1", 0, 0, false,
         "the address to listen on; others than loopback ask for the token"},
        {"http-token", "", 0, 0, false, "made at the first start that needs one"},
    };
    return kAll;
}

const Setting& Settings::Find(const std::string& name)
{
    for (const Setting& setting : All())
    {
        if (name == setting.name) return setting;
    }
    throw Failure{400, "There is no setting \"" + name + "\"."};
}

Settings::Settings(const std::string& path)
{
    m_encoding = QZEncodingType::UTF8;
    QZString file = Text(path);
    if (!QZFile::Exists(&file))
    {
        std::string text = "; Settings of qzmon. What stands behind a semicolon is a comment.\r\n";
        for (const Setting& setting : All()) text += Line(setting);
        QZFile::Create(&file);
        const qzapp::OwnedFile target(QZFile::Open(&file));
        target->Append(text.data(), static_cast<QZInt64>(text.size()));
    }
    // The file may hold the token.
    qzapp::MakePrivate(path);
    Load(&file);
}

std::string Settings::Get(const char* name)
{
    const std::lock_guard<std::recursive_mutex> guard(m_lock);
    QZString key = Text(std::string(name) + "=");
    if (!IsKeyExists(&key)) return Find(name).initial;
    std::string text = Utf8(qzapp::OwnedString(GetValue(&key)).get());
    const std::size_t line = text.find('\n');
    if (line != std::string::npos) text.resize(line);
    const std::size_t first = text.find_first_not_of(" \t");
    return first == std::string::npos ? std::string()
                                      : text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

QZInt64 Settings::Number(const char* name)
{
    const Setting& setting = Find(name);
    QZInt64 value = 0;
    if (!ReadNumber(setting, Get(name), &value)) ParseInteger(setting.initial, &value);
    return value;
}

std::vector<std::string> Settings::Complaints()
{
    std::vector<std::string> all;
    for (const Setting& setting : All())
    {
        QZInt64 value = 0;
        const std::string text = Get(setting.name);
        if (setting.most == 0 || ReadNumber(setting, text, &value)) continue;
        all.push_back("qzmon.ini: " + Range(setting) + ", not \"" + Visible(text) + "\"; " + setting.initial +
                      " is used");
    }
    return all;
}

void Settings::Change(const std::string& name, const std::string& value)
{
    const Setting& setting = Find(name);
    if (!setting.live)
        throw Failure{400, "\"" + name + "\" is changed in the settings file, for the next start."};
    QZInt64 number = 0;
    if (!ReadNumber(setting, value, &number))
        throw Failure{400, Range(setting) + ", not \"" + Visible(value) + "\"."};
    Put(setting.name, std::to_string(number));
}

void Settings::Put(const char* name, const std::string& value)
{
    const std::lock_guard<std::recursive_mutex> guard(m_lock);
    QZString key = Text(std::string(name) + "=");
    QZString text = Text(value);
    SetValue(&key, &text);
}

}  // namespace qzmon
