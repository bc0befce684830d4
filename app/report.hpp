// A report about a file: what it is, and facts about it.
#ifndef VRX_APP_REPORT_HPP
#define VRX_APP_REPORT_HPP

#include <string>

namespace vrx::app {

/** The report on a file: one sentence, and then lines with facts. It never contains secrets. */
class Report {
public:
    /** Set the sentence that says what the file is; later calls have no effect. */
    void is(const std::string& what) {
        if (what_.empty()) what_ = what;
    }
    void fact(const std::string& name, const std::string& value) {
        std::string column = name + ":";
        column.resize(13, ' ');
        facts_ += "  " + column + value + "\n";
    }
    void fault(const std::string& what) {
        fact("fault", what);
        faulty_ = true;
    }
    [[nodiscard]] bool knows() const { return !what_.empty(); }
    [[nodiscard]] bool faulty() const { return faulty_; }
    [[nodiscard]] std::string text(const std::string& shown) const { return shown + ": " + what_ + "\n" + facts_; }

private:
    std::string what_;
    std::string facts_;
    bool faulty_ = false;
};

}  // namespace vrx::app

#endif
