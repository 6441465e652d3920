#ifndef QZLIB_APPS_QZMON_SETTINGS_H
#define QZLIB_APPS_QZMON_SETTINGS_H

#include <mutex>
#include <string>
#include <vector>

#include "text.h"

namespace qzmon
{

/// One line of the settings.
struct Setting
{
    const char* name;
    const char* initial;
    /// The range of a number; both are 0 for a text.
    QZInt64 least;
    QZInt64 most;
    /// The page may change it while the monitor runs.
    bool live;
    const char* comment;
};

/// The settings file: a line for each setting, with a comment after the value. A change leaves everything
/// else in the file as it is. Any thread may call.
class Settings : public QZSettingsAdapter
{
public:
    /// Loads the file. A missing one is made, with all settings and their comments.
    explicit Settings(const std::string& path);

    static const std::vector<Setting>& All();

    std::string Get(const char* name);
    /// The number of a setting; the initial one when the file has no number in the setting's range.
    QZInt64 Number(const char* name);
    /// In words each number of the file that is none or outside its range, and what is used instead.
    std::vector<std::string> Complaints();

    /// Writes the setting to the file. Throws Failure 400 for an unknown name, a bad value, and a setting
    /// that the page may not change.
    void Change(const std::string& name, const std::string& value);
    /// Writes a setting without these checks.
    void Put(const char* name, const std::string& value);

private:
    static const Setting& Find(const std::string& name);

    std::recursive_mutex m_lock;
};

}  // namespace qzmon

#endif
