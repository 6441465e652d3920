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
    /// Size of the text: dots of the font are squares of so many pixels.
    int dot = 1;
    /// The time at the right edge and the seconds that are shown.
    QZInt64 now = 0;
    QZInt64 seconds = 120;
    /// Neighbours that are further apart, in milliseconds, are not joined.
    QZInt64 gap = 3000;
    std::vector<std::string> names;
};

/// A band for each channel over one time axis.
std::string DrawChart(const ChartRequest& request, const std::vector<Sample>& samples);

/// The address ruler over the database file, with its snapshots, and a cursor at column `cursor` unless it is
/// negative.
std::string DrawRuler(int width, QZInt64 fileBytes, const std::vector<Snapshot>& snapshots, int cursor);

/// The icon of the page: a small chart in the colour of the first channel.
std::string DrawIcon();

/// The colour of a channel in the chart, as #RRGGBB.
std::string ChannelColor(int channel);

}  // namespace qzmon

#endif
