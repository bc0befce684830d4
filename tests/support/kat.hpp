// Reads known answers: blocks of `key = value` lines, separated by blank lines. Lines that begin with # are comments.
#ifndef VRX_TESTS_SUPPORT_KAT_HPP
#define VRX_TESTS_SUPPORT_KAT_HPP

#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/hex.hpp"

namespace vrx::test {

/** One block of a file. A test must read every line. unread() lists the lines that it has not read. */
class KatBlock {
public:
    KatBlock(std::string source, int line) : source_(std::move(source)), line_(line) {}
    void add(const std::string& key, const std::string& value) { values_[key] = value; }

    [[nodiscard]] bool has(const std::string& key) const { return values_.contains(key); }
    /** Returns the value in the line `key = value`. Throws if the block has no such line. */
    [[nodiscard]] std::string text(const std::string& key) const;
    [[nodiscard]] Bytes octets(const std::string& key) const { return unhex(text(key)); }
    [[nodiscard]] unsigned long number(const std::string& key) const { return std::stoul(text(key)); }
    /** Returns the value in the line `key = value`, or `otherwise` if the block has no such line. */
    [[nodiscard]] std::string text_or(const std::string& key, const std::string& otherwise) const;

    [[nodiscard]] std::vector<std::string> unread() const;
    /** Source and position of the block, for messages. */
    [[nodiscard]] std::string where() const { return source_ + " (line " + std::to_string(line_) + ")"; }

private:
    std::string source_;
    int line_;
    std::map<std::string, std::string> values_;
    mutable std::set<std::string> read_;
};

/** All blocks of a file; throws if it is missing, empty or malformed. */
std::vector<KatBlock> read_kat(const std::string& path);

/**
 * Run a check on every block of a file; failures name the block. A block without a source is a failure, and so is a
 * line that the check did not read.
 */
template <typename Check>
void for_each_block(const std::string& path, Check check);

}  // namespace vrx::test

#include <gtest/gtest.h>

template <typename Check>
void vrx::test::for_each_block(const std::string& path, Check check) {
    for (const KatBlock& block : read_kat(path)) {
        SCOPED_TRACE(block.where());
        check(block);
        for (const std::string& key : block.unread()) ADD_FAILURE() << "nothing read the line of " << key;
    }
}

#endif
