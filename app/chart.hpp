// Formats groups of figures as a text table and as an SVG bar chart.
#ifndef VRX_APP_CHART_HPP
#define VRX_APP_CHART_HPP

#include <string>
#include <vector>

namespace vrx::app {

struct Figure {
    std::string name;
    double value;
};

/** Figures in the same unit, drawn to the same scale. */
struct FigureGroup {
    std::string title;
    std::string unit;
    std::vector<Figure> figures;
};

/** Format a number with three significant digits, at most three of them decimals: "1230", "98.7", "0.046". */
std::string three_digits(double value);

/** Format the groups as a plain-text table. */
std::string table_of(const std::vector<FigureGroup>& groups);

/** Draw the groups as an SVG bar chart. The bars of a group are scaled from 0 to its largest figure. */
std::string svg_of(const std::string& title, const std::vector<std::string>& notes,
                   const std::vector<FigureGroup>& groups);

}  // namespace vrx::app

#endif
