#pragma once
// Cards drawn in the test source: one string per picture line, top line first. '.' is background;
// any other character is a foreground pixel whose hue is the character's code.

#include "core/records.h"

#include <string>
#include <vector>

namespace velmara::test {

// The pixel list exactly as decoding lays it out: element 0, the bottom line first, left to right
// inside a line, then the closing element.
inline std::vector<CardPixel> PixelsOf(const std::vector<std::string> &lines)
{
    std::vector<CardPixel> px(1);
    const int height = static_cast<int>(lines.size());
    int width = 0;
    for (const auto &l : lines)
        width = std::max(width, static_cast<int>(l.size()));
    for (int row = height; row >= 1; --row) {
        const std::string &l = lines[row - 1];
        for (int c = 1; c <= static_cast<int>(l.size()); ++c)
            if (l[c - 1] != '.')
                px.push_back({static_cast<Byte>(l[c - 1]), 1, static_cast<Integer>(row),
                              static_cast<Integer>(c)});
    }
    CardPixel closing;
    closing.Column = static_cast<Integer>(width);
    closing.Row = px.size() > 1 ? px.back().Row : Integer(0);
    px.push_back(closing);
    return px;
}

} // namespace velmara::test
