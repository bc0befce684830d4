#include "documents/time.hpp"

#include <array>
#include <ctime>

namespace vrx::documents {
namespace {

/** Convert fourteen digits to a Time; std::nullopt if they are not a valid date and time. */
std::optional<Time> with_marks(std::string digits) {
    if (digits.size() != 14 || digits.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
    const auto number = [&](std::size_t at, std::size_t size) { return std::stoi(digits.substr(at, size)); };
    constexpr std::array days{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const int year = number(0, 4);
    const int month = number(4, 2);
    if (month < 1 || month > 12) return std::nullopt;
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    const int longest = days[static_cast<std::size_t>(month - 1)] + (month == 2 && leap ? 1 : 0);
    const int day = number(6, 2);
    if (day < 1 || day > longest || number(8, 2) > 23 || number(10, 2) > 59 || number(12, 2) > 59) return std::nullopt;
    struct Mark {
        std::size_t place;
        char mark;
    };
    for (const Mark& m : {Mark{4, '-'}, {7, '-'}, {10, ' '}, {13, ':'}, {16, ':'}}) digits.insert(m.place, 1, m.mark);
    return digits;
}

}  // namespace

std::optional<Time> read_time(der::Reader& reader) {
    const bool short_year = reader.tag() == der::utc_time;
    const auto contents = reader.next(short_year ? der::utc_time : der::generalized_time);
    if (!contents || contents->empty() || contents->back() != 'Z') return std::nullopt;
    std::string digits = !short_year ? "" : contents->front() < '5' ? "20" : "19";
    digits.append(contents->begin(), contents->end() - 1);
    return with_marks(digits);
}

std::optional<Time> time_of(std::string_view text) {
    if (text.ends_with('Z')) text.remove_suffix(1);
    constexpr std::string_view form = "dddd-dd-dd dd:dd:dd";
    if (text.size() != 10 && text.size() != form.size()) return std::nullopt;
    std::string digits;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool separates = i == 10 && (text[i] == 'T' || text[i] == ' ');
        if (form[i] == 'd')
            digits += text[i];
        else if (text[i] != form[i] && !separates)
            return std::nullopt;
    }
    if (text.size() == 10) digits += "000000";
    return with_marks(digits);
}

Time now() {
    const std::time_t seconds = std::time(nullptr);
    std::tm fields{};
    gmtime_r(&seconds, &fields);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &fields);
    return text.data();
}

}  // namespace vrx::documents
