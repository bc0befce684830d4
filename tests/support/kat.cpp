#include "support/kat.hpp"

#include <fstream>
#include <optional>
#include <stdexcept>

namespace vrx::test {

std::string KatBlock::text(const std::string& key) const {
    const auto found = values_.find(key);
    if (found == values_.end()) throw std::runtime_error(where() + " has no " + key);
    read_.insert(key);
    return found->second;
}

std::string KatBlock::text_or(const std::string& key, const std::string& otherwise) const {
    return has(key) ? text(key) : otherwise;
}

std::vector<std::string> KatBlock::unread() const {
    std::vector<std::string> keys;
    for (const auto& [key, value] : values_)
        if (!read_.contains(key)) keys.push_back(key);
    return keys;
}

std::vector<KatBlock> read_kat(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error("cannot open " + path);
    std::vector<KatBlock> blocks;
    std::optional<KatBlock> open;
    std::string source;
    std::string line;
    int number = 0;
    const auto close = [&] {
        if (open) blocks.push_back(*open);
        open.reset();
    };
    while (std::getline(file, line)) {
        ++number;
        if (line.starts_with("# source:")) source = line.substr(2);
        if (line.empty()) {
            close();
            if (!blocks.empty()) source.clear();
        }
        if (line.empty() || line.starts_with('#')) continue;
        const auto equals = line.find('=');
        if (equals == std::string::npos || equals == 0)
            throw std::runtime_error(path + ":" + std::to_string(number) + ": not a `key = value` line");
        std::string key = line.substr(0, equals);
        std::string value = line.substr(equals + 1);
        key.erase(key.find_last_not_of(' ') + 1);
        value.erase(0, value.find_first_not_of(' ') == std::string::npos ? value.size() : value.find_first_not_of(' '));
        if (!open) {
            if (source.empty())
                throw std::runtime_error(path + ":" + std::to_string(number) + ": a block without a source");
            open.emplace(source, number);
        }
        if (open->has(key)) throw std::runtime_error(path + ":" + std::to_string(number) + ": a key given twice");
        open->add(key, value);
    }
    close();
    if (blocks.empty()) throw std::runtime_error(path + " holds no block");
    return blocks;
}

}  // namespace vrx::test
