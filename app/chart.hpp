// Figures in groups, as a table of text and as a chart in SVG.
#ifndef VRX_APP_CHART_HPP
#define VRX_APP_CHART_HPP

#include <string>
#include <vector>

namespace vrx::app {

struct Figure {
    std::string name;
    double value;
};

/** Figures that one scale fits. */
struct FigureGroup {
    std::string title;
    std::string unit;
    std::vector<Figure> figures;
};

/** A number with three digits that mean something: "1230", "98.7", "0.0456". */
std::string three_digits(double value);

/** A table for a terminal, in plain letters. */
std::string table_of(const std::vector<FigureGroup>& groups);

/** A picture of bars: each group with a scale of its own, from 0 to its largest figure. */
std::string svg_of(const std::string& title, const std::vector<std::string>& notes,
                   const std::vector<FigureGroup>& groups);

}  // namespace vrx::app

#endif
