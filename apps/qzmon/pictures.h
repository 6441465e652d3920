#ifndef QZLIB_APPS_QZMON_PICTURES_H
#define QZLIB_APPS_QZMON_PICTURES_H

#include <string>
#include <vector>

#include "store.h"

// Pictures for the page, drawn by the graphics toolkit, as bytes of bitmap files.

namespace qzmon
{

struct ChartRequest
{
    int width = 900;
    int height = 480;
    /// Size of the text: the side of the square of pixels that draws one dot of the font.
    int dot = 1;
    /// The time at the right edge, and the length of the time axis in seconds.
    QZInt64 now = 0;
    QZInt64 seconds = 120;
    /// Samples that are further apart than this, in milliseconds, are not joined by a line.
    QZInt64 gap = 3000;
    std::vector<std::string> names;
};

/// Draws the chart: a band for each channel above one time axis.
std::string DrawChart(const ChartRequest& request, const std::vector<Sample>& samples);

/// Draws the address ruler of the database file with its snapshots, and a cursor at column `cursor` unless
/// that is negative.
std::string DrawRuler(int width, QZInt64 fileBytes, const std::vector<Snapshot>& snapshots, int cursor);

/// Draws the icon of the page: a small chart in the colour of the first channel.
std::string DrawIcon();

/// The colour of a channel in the chart, as #RRGGBB.
std::string ChannelColor(int channel);

}  // namespace qzmon

#endif
