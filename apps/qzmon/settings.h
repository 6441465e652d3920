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
    /// Numbers between these; a text when both are 0.
    QZInt64 least;
    QZInt64 most;
    /// May be changed while the monitor runs.
    bool live;
    const char* comment;
};

/// The settings text: a line for each setting with a comment behind it. Changing one leaves everything else
/// in the file as it stands. Any thread.
class Settings : public QZSettingsAdapter
{
public:
    /// Loads the file; one that is missing is made with all settings and their comments.
    explicit Settings(const std::string& path);

    static const std::vector<Setting>& All();

    std::string Get(const char* name);
    /// The number, or the initial one where the text holds none in the setting's range.
    QZInt64 Number(const char* name);

    /// Writes the setting to the file. Failure 400 for an unknown name, a bad value, and a setting that the
    /// page may not change.
    void Change(const std::string& name, const std::string& value);
    /// The same without asking whether the page may.
    void Put(const char* name, const std::string& value);

private:
    static const Setting& Find(const std::string& name);

    std::recursive_mutex m_lock;
};

}  // namespace qzmon

#endif
