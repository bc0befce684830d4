#include "chart.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace vrx::app {
namespace {

constexpr int width = 860;
constexpr int margin = 24;
constexpr int bars_at = 250;  // where the bars begin; the names are to the left
constexpr int longest_bar = 480;
constexpr int row_height = 22;
constexpr int bar_height = 14;

std::string for_xml(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '&')
            escaped += "&amp;";
        else if (c == '<')
            escaped += "&lt;";
        else if (c == '>')
            escaped += "&gt;";
        else if (static_cast<unsigned char>(c) >= 0x20)
            escaped += c;
    }
    return escaped;
}

double largest(const FigureGroup& group) {
    double value = 0;
    for (const Figure& figure : group.figures) value = std::max(value, figure.value);
    return value;
}

/** Builds an SVG picture from top to bottom. */
class Picture {
public:
    void text(int x, std::string_view kind, std::string_view content) {
        body_ += "<text x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(y_) + "\" class=\"" + std::string(kind) +
                 "\">" + for_xml(content) + "</text>\n";
    }
    void bar(double part) {
        std::array<char, 32> size{};
        std::snprintf(size.data(), size.size(), "%.1f", std::max(part * longest_bar, 1.0));
        body_ += "<rect x=\"" + std::to_string(bars_at) + "\" y=\"" + std::to_string(y_ - bar_height + 3) +
                 "\" width=\"" + size.data() + "\" height=\"" + std::to_string(bar_height) + "\" rx=\"2\"/>\n";
    }
    void down(int pixels) { y_ += pixels; }
    [[nodiscard]] std::string str(const std::string& title) const {
        const std::string height = std::to_string(y_ + margin);
        const std::string size = std::to_string(width);
        return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + size + "\" height=\"" + height +
               "\" viewBox=\"0 0 " + size + " " + height + "\" role=\"img\">\n<title>" + for_xml(title) +
               "</title>\n"
               "<style>\n"
               "text { font: 13px sans-serif; fill: #222 }\n"
               ".title { font-size: 18px; font-weight: bold }\n"
               ".group { font-weight: bold }\n"
               ".note, .value { fill: #666 }\n"
               ".name { text-anchor: end }\n"
               ".ground { fill: #fff }\n"
               "rect { fill: #4477aa }\n"
               "</style>\n<rect class=\"ground\" width=\"100%\" height=\"100%\"/>\n" +
               body_ + "</svg>\n";
    }

private:
    int y_ = margin + 14;
    std::string body_;
};

}  // namespace

std::string three_digits(double value) {
    const int digits = value >= 100 ? 0 : value >= 10 ? 1 : value >= 1 ? 2 : 3;
    // Round to three significant digits first: 12345 becomes 12300.
    const double unit = value > 0 ? std::pow(10.0, std::floor(std::log10(value)) - 2) : 1;
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", digits, std::round(value / unit) * unit);
    return text.data();
}

std::string table_of(const std::vector<FigureGroup>& groups) {
    constexpr std::size_t name_width = 34;
    constexpr std::size_t value_width = 10;
    std::string text;
    for (const FigureGroup& group : groups) {
        text.append("\n").append(group.title).append(", ").append(group.unit).append("\n");
        for (const Figure& figure : group.figures) {
            std::string name = figure.name;
            name.resize(std::max(name.size(), name_width), ' ');
            const std::string value = three_digits(figure.value);
            text.append("  ").append(name);
            text.append(value_width - std::min(value_width, value.size()), ' ').append(value).append("\n");
        }
    }
    return text;
}

std::string svg_of(const std::string& title, const std::vector<std::string>& notes,
                   const std::vector<FigureGroup>& groups) {
    Picture picture;
    picture.text(margin, "title", title);
    for (const std::string& note : notes) {
        picture.down(row_height);
        picture.text(margin, "note", note);
    }
    for (const FigureGroup& group : groups) {
        picture.down(2 * row_height);
        picture.text(margin, "group", group.title + ", " + group.unit);
        const double full = largest(group);
        for (const Figure& figure : group.figures) {
            picture.down(row_height);
            const double part = full > 0 ? figure.value / full : 0;
            picture.text(bars_at - 10, "name", figure.name);
            picture.bar(part);
            picture.text(bars_at + static_cast<int>(part * longest_bar) + 8, "value", three_digits(figure.value));
        }
    }
    return picture.str(title);
}

}  // namespace vrx::app
