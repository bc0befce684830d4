#include "prove/bits.hpp"

#include <algorithm>
#include <map>
#include <random>

namespace vrx::prove {
namespace {

enum class Gate : std::uint8_t { constant, unknown, sum, both, majority, choice, looked_up };

struct Node {
    Gate gate;
    std::vector<std::uint32_t>
        of;  // for a sum, nodes; for a look-up, the number of a table and then bits; otherwise, bits
    bool operator<(const Node& b) const { return gate != b.gate ? gate < b.gate : of < b.of; }
};

struct State {
    std::vector<Node> nodes{{Gate::constant, {}}};
    std::map<Node, std::uint32_t> known;
    std::vector<std::array<Bit, 8>> bytes;
    std::map<std::array<Bit, 8>, Byte> known_bytes;
    std::vector<Bits> tables;  // the tables of look-ups that are gates
    std::map<Bits, std::uint32_t> known_tables;
    std::vector<Bit> assumed;
    Byte undefined = 0;
    bool closed_tables = false;
    unsigned operations = 0, fault = 0;
    std::vector<bool> path;
    std::size_t taken = 0;

    State() {
        for (unsigned value = 0; value < 256; ++value) {
            std::array<Bit, 8> bits{};
            for (unsigned i = 0; i < 8; ++i) bits[i] = value >> i & 1;
            known_bytes[bits] = static_cast<Byte>(bytes.size());
            bytes.push_back(bits);
        }
    }
};
State state;

/** Returns the output bit of a gate. */
Bit made(Gate gate, std::vector<std::uint32_t> of) {
    Node node{gate, std::move(of)};
    const auto [found, is_new] = state.known.emplace(node, static_cast<std::uint32_t>(state.nodes.size()));
    if (is_new) state.nodes.push_back(std::move(node));
    return found->second * 2;
}

}  // namespace

Bit unknown_bit() {
    state.nodes.push_back({Gate::unknown, {}});
    return static_cast<Bit>(state.nodes.size() - 1) * 2;
}

Bit exclusive_or(Bit a, Bit b) {
    const Bit parity = (a ^ b) & 1;
    const auto terms = [](Bit bit) {
        const Node& node = state.nodes[bit / 2];
        if (node.gate == Gate::sum) return node.of;
        return bit / 2 == 0 ? std::vector<std::uint32_t>{} : std::vector<std::uint32_t>{bit / 2};
    };
    const auto x = terms(a), y = terms(b);
    std::vector<std::uint32_t> sum;
    std::set_symmetric_difference(x.begin(), x.end(), y.begin(), y.end(), std::back_inserter(sum));
    if (sum.empty()) return parity;
    if (sum.size() == 1) return sum[0] * 2 ^ parity;
    return made(Gate::sum, std::move(sum)) ^ parity;
}

Bit conjunction(Bit a, Bit b) {
    if (a > b) std::swap(a, b);
    if (a == zero) return zero;
    if (a == one || a == b) return b;
    if (a == (b ^ 1)) return zero;
    return made(Gate::both, {a, b});
}

Bit majority(Bit a, Bit b, Bit c) {
    if (a > b) std::swap(a, b);
    if (b > c) std::swap(b, c);
    if (a > b) std::swap(a, b);
    if (a == zero) return conjunction(b, c);
    if (a == one) return disjunction(b, c);
    if (a == b || b == c) return b;
    if (a == (b ^ 1)) return c;
    if (b == (c ^ 1)) return a;
    return made(Gate::majority, {a, b, c});
}

Bit choice(Bit condition, Bit a, Bit b) {
    if (condition == one || a == b) return a;
    if (condition == zero) return b;
    if ((condition & 1) != 0) return choice(condition ^ 1, b, a);
    if (a == (b ^ 1)) return exclusive_or(condition, b);
    if (a == zero) return conjunction(condition ^ 1, b);
    if (a == one) return disjunction(condition, b);
    if (b == zero) return conjunction(condition, a);
    if (b == one) return disjunction(condition ^ 1, a);
    if ((a & 1) != 0) return choice(condition, a ^ 1, b ^ 1) ^ 1;
    return made(Gate::choice, {condition, a, b});
}

Byte byte_of(const Bit* bits) {
    std::array<Bit, 8> key{};
    std::copy_n(bits, 8, key.begin());
    const auto [found, is_new] = state.known_bytes.emplace(key, static_cast<Byte>(state.bytes.size()));
    if (is_new) state.bytes.push_back(key);
    return found->second;
}
const std::array<Bit, 8>& bits_of(Byte byte) {
    if (byte >= state.bytes.size()) throw "memory that holds no byte";
    return state.bytes[byte];
}

namespace circuit {

void reset(unsigned fault) {
    std::vector<bool> path = state.path;
    state = State();
    state.path = path;
    state.fault = fault;
}
unsigned operations() { return state.operations; }
bool is_faulty() { return ++state.operations == state.fault; }
void assume(Bit condition) { state.assumed.push_back(condition); }

Byte undefined() {
    if (state.undefined == 0) state.undefined = U<8>::unknown().byte[0];
    return state.undefined;
}

bool decide(Bit condition) {
    if (condition <= one) return condition == one;
    if (state.taken == state.path.size()) state.path.push_back(true);
    const bool way = state.path[state.taken++];
    assume(way ? condition : condition ^ 1);
    return way;
}

void each_path(unsigned fault, const std::function<Bit()>& run, const std::function<void(const std::string&)>& check) {
    state.path.clear();
    do {
        reset(fault);
        check(negated(run()));
        while (!state.path.empty() && !state.path.back()) state.path.pop_back();
        if (!state.path.empty()) state.path.back() = false;
    } while (!state.path.empty());
}

namespace {

const std::vector<std::uint32_t>& operands(const Node& node) {
    static const std::vector<std::uint32_t> none;
    return node.gate == Gate::looked_up ? none : node.of;
}

}  // namespace

void keep_tables_closed() { state.closed_tables = true; }
bool keeps_tables_closed() { return state.closed_tables; }

bool has_counterexample(Bit claim) {
    std::mt19937_64 random(1);
    std::vector<std::uint64_t> values(state.nodes.size());
    const auto value = [&](Bit bit) { return (bit & 1) != 0 ? ~values[bit / 2] : values[bit / 2]; };
    for (std::size_t i = 1; i < state.nodes.size(); ++i) {
        const Node& node = state.nodes[i];
        std::uint64_t& v = values[i];
        switch (node.gate) {
            case Gate::sum:
                for (const std::uint32_t of : node.of) v ^= values[of];
                break;
            case Gate::both:
                v = value(node.of[0]) & value(node.of[1]);
                break;
            case Gate::majority: {
                const std::uint64_t a = value(node.of[0]), b = value(node.of[1]), c = value(node.of[2]);
                v = (a & b) | (a & c) | (b & c);
                break;
            }
            case Gate::choice:
                v = (value(node.of[0]) & value(node.of[1])) | (~value(node.of[0]) & value(node.of[2]));
                break;
            case Gate::looked_up:
                for (unsigned place = 0; place < 64; ++place) {
                    std::size_t index = 0;
                    for (std::size_t k = 1; k < node.of.size(); ++k)
                        index |= (value(node.of[k]) >> place & 1) << (k - 1);
                    v |= (value(state.tables[node.of[0]][index]) >> place & 1) << place;
                }
                break;
            default:
                v = random();
        }
    }
    std::uint64_t good = ~value(claim);
    for (const Bit a : state.assumed) good &= value(a);
    return good != 0;
}

std::string negated(Bit claim) {
    std::vector<Bit> roots = state.assumed;
    roots.push_back(claim);
    std::vector<bool> wanted(state.nodes.size());
    for (const Bit root : roots) wanted[root / 2] = true;
    for (std::size_t i = state.nodes.size(); i-- != 0;)
        if (wanted[i])
            for (const std::uint32_t of : operands(state.nodes[i]))
                wanted[state.nodes[i].gate == Gate::sum ? of : of / 2] = true;
    const auto name = [](std::uint32_t node) { return node == 0 ? std::string("false") : "n" + std::to_string(node); };
    const auto literal = [&](Bit bit) { return (bit & 1) != 0 ? "(not " + name(bit / 2) + ")" : name(bit / 2); };
    std::string text = "(set-logic QF_UF)\n";
    for (std::uint32_t i = 1; i < state.nodes.size(); ++i) {
        if (!wanted[i]) continue;
        const Node& node = state.nodes[i];
        const auto all = [&](const char* op) {
            std::string r = std::string("(") + op;
            for (const std::uint32_t of : node.of) r += " " + (node.gate == Gate::sum ? name(of) : literal(of));
            return r + ")";
        };
        if (node.gate == Gate::unknown || node.gate == Gate::looked_up) {
            text += "(declare-const " + name(i) + " Bool)\n";
            continue;
        }
        std::string value;
        switch (node.gate) {
            case Gate::sum:
                value = all("xor");
                break;
            case Gate::both:
                value = all("and");
                break;
            case Gate::majority: {
                const std::string a = literal(node.of[0]), b = literal(node.of[1]), c = literal(node.of[2]);
                value = "(or (and " + a + " " + b + ") (and " + a + " " + c + ") (and " + b + " " + c + "))";
                break;
            }
            default:
                value = all("ite");
        }
        text += "(declare-const " + name(i) + " Bool)\n(assert (= " + name(i) + " " + value + "))\n";
    }
    for (const Bit a : state.assumed) text += "(assert " + literal(a) + ")\n";
    return text + "(assert (not " + literal(claim) + "))\n";
}

Bits sum(const Bits& a, const Bits& b, Bit carry) {
    Bits r(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        r[i] = exclusive_or(exclusive_or(a[i], b[i]), carry);
        carry = majority(a[i], b[i], carry);
    }
    return r;
}
Bits inverted(Bits a) {
    for (Bit& bit : a) bit ^= 1;
    return a;
}
Bits difference(const Bits& a, const Bits& b) { return sum(a, inverted(b), one); }
Bits product(const Bits& a, const Bits& b) {
    Bits r(a.size(), zero);
    for (std::size_t i = 0; i < b.size(); ++i) {
        if (b[i] == zero) continue;
        Bits row = shifted(a, static_cast<int>(i));
        for (Bit& bit : row) bit = conjunction(bit, b[i]);
        r = sum(r, row, zero);
    }
    return r;
}
Bits both(Bits a, const Bits& b) {
    for (std::size_t i = 0; i < a.size(); ++i) a[i] = conjunction(a[i], b[i]);
    return a;
}
Bits either(Bits a, const Bits& b) {
    for (std::size_t i = 0; i < a.size(); ++i) a[i] = disjunction(a[i], b[i]);
    return a;
}
Bits differing(Bits a, const Bits& b) {
    for (std::size_t i = 0; i < a.size(); ++i) a[i] = exclusive_or(a[i], b[i]);
    return a;
}
Bits shifted(const Bits& a, int left) {
    Bits r(a.size(), zero);
    for (int i = 0; i < static_cast<int>(a.size()); ++i)
        if (const int from = i - left; from >= 0 && from < static_cast<int>(a.size()))
            r[static_cast<std::size_t>(i)] = a[static_cast<std::size_t>(from)];
    return r;
}
Bits rotated(const Bits& a, int left) {
    Bits r(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) r[(i + static_cast<std::size_t>(left)) % a.size()] = a[i];
    return r;
}
namespace {

/** Returns a gate for the look-up, which is identified by the table and the index. */
Bit looked_up(Bits table, const Bits& index) {
    if (std::all_of(table.begin(), table.end(), [&](Bit bit) { return bit == table[0]; })) return table[0];
    const auto [found, is_new] = state.known_tables.emplace(table, static_cast<std::uint32_t>(state.tables.size()));
    if (is_new) state.tables.push_back(std::move(table));
    std::vector<std::uint32_t> of{found->second};
    of.insert(of.end(), index.begin(), index.end());
    return made(Gate::looked_up, std::move(of));
}

/** Returns the result of the look-up, composed of choices. */
Bit chosen(Bits table, const Bits& index) {
    for (const Bit bit : index) {
        Bits half;
        for (std::size_t i = 0; i < table.size(); i += 2) half.push_back(prove::choice(bit, table[i + 1], table[i]));
        table = std::move(half);
    }
    return table[0];
}

}  // namespace

Bits choice(Bit condition, const Bits& a, const Bits& b) {
    Bits r(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) r[i] = prove::choice(condition, a[i], b[i]);
    return r;
}
Bits entry(const std::vector<Bits>& table, const Bits& index) {
    std::vector<Bits> left = table;
    if (!state.closed_tables) {
        for (const Bit bit : index) {
            if (left.size() == 1) break;
            std::vector<Bits> next;
            for (std::size_t i = 0; i < left.size(); i += 2) next.push_back(choice(bit, left[i + 1], left[i]));
            left = std::move(next);
        }
        return left[0];
    }
    Bits unknown;
    for (std::size_t width = 1; const Bit bit : index) {
        if (left.size() == width) break;
        // If the two halves are equal, or if the bit is known, only one half of the table remains.
        const bool is_needed = bit > one && [&] {
            for (std::size_t i = 0; i < left.size(); ++i)
                if ((i & width) == 0 && left[i] != left[i + width]) return true;
            return false;
        }();
        if (is_needed) {
            unknown.push_back(bit);
            width *= 2;
            continue;
        }
        std::vector<Bits> half;
        for (std::size_t i = 0; i < left.size(); ++i)
            if ((i & width) == (bit == one ? width : 0)) half.push_back(left[i]);
        left = std::move(half);
    }
    if (unknown.empty()) return left[0];
    Bits r;
    for (std::size_t i = 0; i < left[0].size(); ++i) {
        Bits column;
        for (const Bits& each : left) column.push_back(each[i]);
        const bool is_known = std::all_of(column.begin(), column.end(), [](Bit bit) { return bit <= one; });
        r.push_back(is_known ? chosen(std::move(column), unknown) : looked_up(std::move(column), unknown));
    }
    return r;
}
Bit less(const Bits& a, const Bits& b) {
    Bit carry = one;
    for (std::size_t i = 0; i < a.size(); ++i) carry = majority(a[i], b[i] ^ 1, carry);
    return carry ^ 1;
}
Bit equal(const Bits& a, const Bits& b) {
    Bit all = one;
    for (std::size_t i = 0; i < a.size(); ++i) all = conjunction(all, exclusive_or(a[i], b[i]) ^ 1);
    return all;
}
Bits bits(const Byte* bytes, std::size_t count) {
    Bits r;
    r.reserve(8 * count);
    for (std::size_t i = 0; i < count; ++i) r.insert(r.end(), bits_of(bytes[i]).begin(), bits_of(bytes[i]).end());
    return r;
}
void store(Byte* bytes, const Bits& bits) {
    for (std::size_t i = 0; i < bits.size() / 8; ++i) bytes[i] = byte_of(&bits[8 * i]);
}

}  // namespace circuit
}  // namespace vrx::prove
