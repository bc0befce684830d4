// Tests of the figures that vrx speed prints, as a table and as a picture.
#include "chart.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using namespace vrx::app;

const std::vector<FigureGroup> groups = {
    {"Cipher", "million bytes a second", {{"ss, <encrypt>", 1234.5}, {"gamm & \"more\"", 98.76}}},
    {"Nothing", "thousand a second", {{"none", 0}}}};

TEST(chart, figures_have_three_digits) {
    const std::vector<std::pair<double, std::string>> expected = {
        {0, "0.000"},     {0.0456, "0.046"},   {0.12345, "0.123"}, {0.995, "0.995"}, {1, "1.00"},
        {1.2345, "1.23"}, {9.87, "9.87"},      {10, "10.0"},       {12.345, "12.3"}, {99.4, "99.4"},
        {100, "100"},     {123.45, "123"},     {1234.5, "1230"},   {1235, "1240"},   {12345, "12300"},
        {0.5, "0.500"},   {1234567, "1230000"}};
    for (const auto& [value, text] : expected) EXPECT_EQ(three_digits(value), text);
}

TEST(chart, table_has_aligned_columns) {
    EXPECT_EQ(table_of(groups),
              "\nCipher, million bytes a second\n"
              "  ss, <encrypt>                           1230\n"
              "  gamm & \"more\"                           98.8\n"
              "\nNothing, thousand a second\n"
              "  none                                   0.000\n");
}

TEST(chart, long_names_and_figures_are_not_cut_off) {
    const std::string name(35, 'n');
    EXPECT_EQ(table_of({{"T", "u", {{name, 1.23e11}}}}), "\nT, u\n  " + name + "123000000000\n");
}

TEST(chart, bars_of_small_figures_are_scaled_to_the_largest) {
    const std::string picture = svg_of("", {}, {{"T", "u", {{"half", 0.5}, {"quarter", 0.25}}}});
    EXPECT_NE(picture.find(R"(width="480.0" height="14" rx="2"/>)"), picture.npos);
    EXPECT_NE(picture.find(R"(width="240.0" height="14" rx="2"/>)"), picture.npos);
}

TEST(chart, picture_is_drawn_from_top_to_bottom) {
    EXPECT_EQ(svg_of("A\x1f chart ", {"Processor: x", "Engines: y"}, groups),
              R"(<svg xmlns="http://www.w3.org/2000/svg" width="860" height="260" viewBox="0 0 860 260" role="img">
<title>A chart </title>
<style>
text { font: 13px sans-serif; fill: #222 }
.title { font-size: 18px; font-weight: bold }
.group { font-weight: bold }
.note, .value { fill: #666 }
.name { text-anchor: end }
.ground { fill: #fff }
rect { fill: #4477aa }
</style>
<rect class="ground" width="100%" height="100%"/>
<text x="24" y="38" class="title">A chart </text>
<text x="24" y="60" class="note">Processor: x</text>
<text x="24" y="82" class="note">Engines: y</text>
<text x="24" y="126" class="group">Cipher, million bytes a second</text>
<text x="240" y="148" class="name">ss, &lt;encrypt&gt;</text>
<rect x="250" y="137" width="480.0" height="14" rx="2"/>
<text x="738" y="148" class="value">1230</text>
<text x="240" y="170" class="name">gamm &amp; "more"</text>
<rect x="250" y="159" width="38.4" height="14" rx="2"/>
<text x="296" y="170" class="value">98.8</text>
<text x="24" y="214" class="group">Nothing, thousand a second</text>
<text x="240" y="236" class="name">none</text>
<rect x="250" y="225" width="1.0" height="14" rx="2"/>
<text x="258" y="236" class="value">0.000</text>
</svg>
)");
}

}  // namespace
