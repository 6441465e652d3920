#ifndef QZLIB_APPS_QZMON_WEB_FILES_H
#define QZLIB_APPS_QZMON_WEB_FILES_H

#include <string_view>

// The files in web/. The build embeds them (cmake/QzEmbed.cmake).

namespace qzmon
{

extern const std::string_view kMonitorHtml;
extern const std::string_view kMonitorCss;
extern const std::string_view kMonitorJs;

}  // namespace qzmon

#endif
