// Runs a few lines of assembly on unknown bits. It knows the instructions that rounds with look-ups need.
#ifndef VRX_TESTS_PROVE_ASSEMBLY_HPP
#define VRX_TESTS_PROVE_ASSEMBLY_HPP

#include <cstdlib>
#include <map>
#include <sstream>
#include <string>

#include "prove/bits.hpp"

namespace vrx::prove {

/**
 * A template of assembly with named operands. An operand is a register of 64 bits, which is set and read as a word of
 * 32 bits; a word in memory; or the address of a table of words. The template has AT&T syntax. The class throws an
 * exception for a line that it does not know.
 */
template <typename Table>
class Assembly {
public:
    Assembly& in(const std::string& name, const U<32>& value) {
        registers_[name] = value;
        return *this;
    }
    Assembly& memory(const std::string& name, const U<32>& value) {
        memory_[name] = value;
        return *this;
    }
    Assembly& address(const std::string& name, const Table& table) {
        address_ = name;
        table_ = &table;
        return *this;
    }
    /** The register holds any value, so the lines must write it before they read it. */
    Assembly& clobbered(const std::string& name) {
        registers_[name] = U<64>::unknown();
        return *this;
    }
    Assembly& run(const std::string& lines) {
        std::istringstream all(lines);
        for (std::string line; std::getline(all, line);) step(line);
        return *this;
    }
    [[nodiscard]] U<32> out(const std::string& name) const { return registers_.at(name); }

private:
    struct Operand {
        std::string name;
        char part = 0;  // k: the lower half, b: byte 0, h: byte 1
    };

    /** %k[name], %b[name], %h[name], %[name] */
    static Operand operand(const std::string& text) {
        const std::size_t open = text.find('['), close = text.find(']');
        if (text[0] != '%' || open == std::string::npos || close + 1 != text.size() || open > 2)
            throw "an operand that is not a register";
        return {text.substr(open + 1, close - open - 1), open == 2 ? text[1] : '\0'};
    }
    [[nodiscard]] U<32> word(const std::string& text) const {
        if (text[0] == '$') return std::strtoul(text.c_str() + 1, nullptr, 0);
        if (const std::size_t open = text.find('('); open != std::string::npos) return entry(text, open);
        const Operand from = operand(text);
        if (const auto found = memory_.find(from.name); found != memory_.end()) return found->second;
        const U<64> all = registers_.at(from.name);
        switch (from.part) {
            case 'b':
                return U<32>(all & 255U);
            case 'h':
                return U<32>(all >> 8 & 255U);
            default:
                return U<32>(all);
        }
    }
    /** displacement(%[table],%[index],4) */
    [[nodiscard]] U<32> entry(const std::string& text, std::size_t open) const {
        const std::size_t comma = text.find(',');
        const std::string base = text.substr(open + 1, comma - open - 1);
        const std::size_t second = text.find(',', comma + 1);
        if (text.substr(second) != ",4)" || operand(base).name != address_) throw "an address of no table";
        const U<64> index = registers_.at(operand(text.substr(comma + 1, second - comma - 1)).name);
        const unsigned long displacement = std::strtoul(text.c_str(), nullptr, 0);
        if (displacement % 1024 != 0) throw "an address between tables";
        return (*table_)[displacement / 1024][index];
    }
    void step(const std::string& line) {
        std::istringstream words(line);
        std::string mnemonic, from, to;
        words >> mnemonic >> from >> to;
        from.pop_back();  // skips the comma
        const Operand target = operand(to);
        if (target.part == 'b' || target.part == 'h') throw "a result in a part of a register";
        const U<32> a = word(from), b = mnemonic[3] == 'l' || mnemonic == "shrl" ? word(to) : U<32>(0);
        U<32> r;
        if (mnemonic == "movl" || mnemonic == "movzbl")
            r = a;
        else if (mnemonic == "addl")
            r = b + a;
        else if (mnemonic == "xorl")
            r = b ^ a;
        else if (mnemonic == "shrl")
            r = b >> static_cast<unsigned>(a.constant());
        else
            throw "an instruction that is not known here";
        // A result of 32 bits sets the upper half of the register to 0.
        registers_[target.name] = r;
    }

    std::map<std::string, U<64>> registers_;
    std::map<std::string, U<32>> memory_;
    std::string address_;
    const Table* table_ = nullptr;
};

}  // namespace vrx::prove

#endif
