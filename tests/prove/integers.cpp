#include "prove/integers.hpp"

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace vrx::prove {

Form& Form::operator+=(const Form& b) {
    for (const auto& [atom, c] : b.terms) {
        mpz_class& mine = terms[atom];
        mine += c;
        if (mine == 0) terms.erase(atom);
    }
    constant += b.constant;
    return *this;
}
Form& Form::operator*=(const mpz_class& c) {
    if (c == 0) terms.clear();
    for (auto& [atom, mine] : terms) mine *= c;
    constant *= c;
    return *this;
}

namespace {

std::string text_of(const mpz_class& n) { return n < 0 ? "(- " + mpz_class(-n).get_str() + ")" : n.get_str(); }

}  // namespace

std::string Form::text() const {
    if (terms.empty()) return text_of(constant);
    std::string sum = "(+ " + text_of(constant);
    for (const auto& [atom, c] : terms)
        sum += c == 1 ? " v" + std::to_string(atom) : " (* " + text_of(c) + " v" + std::to_string(atom) + ")";
    return sum + ")";
}

namespace integer {
Form rest_of(unsigned atom);
}

Claim operator<(const Form& a, const Form& b) { return {"(< " + (a - b).text() + " 0)"}; }
Claim operator<=(const Form& a, const Form& b) { return {"(<= " + (a - b).text() + " 0)"}; }
Claim equal(const Form& a, const Form& b) { return {"(= " + expanded(a - b).text() + " 0)"}; }
Claim implies(const Claim& a, const Claim& b) { return {"(=> " + a.text + " " + b.text + ")"}; }

Claim divides(const mpz_class& m, const Form& a, int range) {
    const auto nearest = [&m](const mpz_class& c) -> mpz_class {
        mpz_class r;
        mpz_fdiv_r(r.get_mpz_t(), c.get_mpz_t(), m.get_mpz_t());
        if (2 * r > m) r -= m;
        return r;
    };
    Form left;
    const Form all = expanded(a);
    left.constant = nearest(all.constant);
    for (const auto& [atom, c] : all.terms)
        if (mpz_class r = nearest(c); r != 0) left.terms[atom] = r;
    Claim any = equal(left, 0);
    for (int k = 1; k <= range; ++k) any = any || equal(left, mpz_class(k * m)) || equal(left, mpz_class(-k * m));
    return any;
}

mpz_class power(unsigned n) { return mpz_class(1) << n; }
mpz_class to_mpz(std::uint64_t n) {
    static_assert(sizeof(unsigned long) == sizeof n);
    return {static_cast<unsigned long>(n)};
}

namespace integer {
namespace {

struct Interval {
    mpz_class least, most;
};

enum class Kind { plain, mask, gated, minus, nonzero };

/** The kinds of nodes. mask: all ones times the bit a. gated: a b, for a bit a. minus: -a. nonzero: a | -a. */
struct Number {
    Kind kind = Kind::plain;
    std::optional<Form> form;
    Interval range;
    Id a = 0, b = 0;
};

struct State {
    std::vector<Number> numbers;
    std::vector<Interval> atoms;
    /** How an unknown follows from earlier ones; empty for a given unknown. */
    std::vector<std::function<mpz_class()>> definitions;
    std::vector<mpz_class> values;   // see example()
    std::map<unsigned, Form> rests;  // remainders of divisions, as forms over other unknowns
    std::vector<std::string> assumed;
    std::map<std::string, Id> known;  // quotients, products
    unsigned operations = 0, fault = 0;
    // The outcomes of the branches on the current path, and the number of branches that the run has reached.
    std::vector<bool> path;
    std::size_t taken = 0;
};
State state;

mpz_class floor_quotient(const mpz_class& a, unsigned n) {
    mpz_class r;
    mpz_fdiv_q_2exp(r.get_mpz_t(), a.get_mpz_t(), n);
    return r;
}
bool is_divisible(const mpz_class& a, unsigned n) { return mpz_divisible_2exp_p(a.get_mpz_t(), n) != 0; }

Interval range_of(const Form& f) {
    Interval r{f.constant, f.constant};
    for (const auto& [atom, c] : f.terms) {
        const Interval& a = state.atoms[atom];
        r.least += c * (c > 0 ? a.least : a.most);
        r.most += c * (c > 0 ? a.most : a.least);
    }
    return r;
}

Id add(Number n) {
    if (state.numbers.empty()) state.numbers.emplace_back();
    if (n.form) {
        const Interval by_form = range_of(*n.form);
        n.range.least = std::max(n.range.least, by_form.least);
        n.range.most = std::min(n.range.most, by_form.most);
    }
    state.numbers.push_back(std::move(n));
    return static_cast<Id>(state.numbers.size() - 1);
}
Id add(const Form& f) { return add({Kind::plain, f, range_of(f)}); }
Id add(const Form& f, const Interval& range) { return add({Kind::plain, f, range}); }

/** The value of a form in the current example. */
mpz_class value_of(const Form& f) {
    mpz_class r = f.constant;
    for (const auto& [atom, c] : f.terms) r += c * state.values[atom];
    return r;
}

Form new_atom(const Interval& range, std::function<mpz_class()> definition = {}) {
    const auto atom = static_cast<unsigned>(state.atoms.size());
    state.atoms.push_back(range);
    state.definitions.push_back(std::move(definition));
    Form f;
    f.terms[atom] = 1;
    assume(Form(range.least) <= f);
    assume(f <= Form(range.most));
    return f;
}

/** Returns an operand, which is a constant or a node. */
Id id_of(const Wide& w) {
    if (w.id != 0) return w.id;
    mpz_class n = to_mpz(static_cast<std::uint64_t>(w.value >> 64));
    n = (n << 64) + to_mpz(static_cast<std::uint64_t>(w.value));
    return add(Form(n));
}
std::string key_of(const Form& f) { return f.text(); }

const Form& form_of(Id id);

/** Returns a value that is the first number if the bit is 1, and otherwise the second. */
Form choice(const Form& bit, const Form& first, const Form& second) {
    const std::string key = "ite " + key_of(bit) + key_of(first) + key_of(second);
    if (const auto found = state.known.find(key); found != state.known.end()) return form_of(found->second);
    const Interval a = range_of(first), b = range_of(second);
    const Form v = new_atom({std::min(a.least, b.least), std::max(a.most, b.most)},
                            [bit, first, second] { return value_of(value_of(bit) == 1 ? first : second); });
    assume({"(= " + v.text() + " (ite (= " + bit.text() + " 1) " + first.text() + " " + second.text() + "))"});
    state.known[key] = add(v);
    return v;
}

const Form& form_of(Id id) {
    if (!state.numbers[id].form) {
        const Number n = state.numbers[id];
        if (n.kind != Kind::gated) throw std::logic_error("no meaning as an integer");
        const Form bit = form_of(n.a);
        const Form word = form_of(n.b);
        state.numbers[id].form = word.terms.empty() ? bit * word.constant : choice(bit, word, 0);
    }
    return *state.numbers[id].form;
}
Interval range(Id id) { return state.numbers[id].range; }
bool is_constant(Id id) { return state.numbers[id].form && state.numbers[id].form->terms.empty(); }
bool is_bit(Id id) { return range(id).least >= 0 && range(id).most <= 1; }

/** Splits f = 2^n first + second. The second takes all terms that 2^n does not divide. */
std::pair<Form, Form> apart(const Form& f, unsigned n) {
    Form multiples, others;
    for (const auto& [atom, c] : f.terms)
        if (is_divisible(c, n))
            multiples.terms[atom] = floor_quotient(c, n);
        else
            others.terms[atom] = c;
    if (is_divisible(f.constant, n))
        multiples.constant = floor_quotient(f.constant, n);
    else
        others.constant = f.constant;
    return {multiples, others};
}

/** x = 2^n quotient + rest with 0 <= rest < 2^n */
struct Split {
    Id quotient, rest;
};
Split split(Id x, unsigned n) {
    const Form f = form_of(x);
    const Interval whole = range(x);
    if (whole.least >= 0 && whole.most < power(n)) return {add(Form(0)), x};
    // Multiples of 2^n become part of the quotient unchanged.
    const auto [multiples, others] = apart(f, n);
    if (others.terms.empty() && others.constant == 0)
        return {add(multiples, {floor_quotient(whole.least, n), floor_quotient(whole.most, n)}), add(Form(0))};
    if (const auto [all, none] = apart(expanded(f), n); none.terms.empty() && none.constant == 0)
        return {add(all, {floor_quotient(whole.least, n), floor_quotient(whole.most, n)}), add(Form(0))};
    Interval part = range_of(others);
    if (multiples == Form(0)) part = whole;
    const mpz_class least = floor_quotient(part.least, n), most = floor_quotient(part.most, n);
    const std::string key = "split " + std::to_string(n) + key_of(others);
    auto found = state.known.find(key);
    if (found == state.known.end()) {
        const Form quotient = least == most ? Form(least) : new_atom({least, most}, [others = others, n] {
            return floor_quotient(value_of(others), n);
        });
        const Form rest = new_atom({0, power(n) - 1}, [others = others, quotient, n] {
            return mpz_class(value_of(others) - value_of(quotient) * power(n));
        });
        state.rests[rest.terms.begin()->first] = others - quotient * power(n);
        assume({"(= " + (others - quotient * power(n) - rest).text() + " 0)"});
        found = state.known.emplace(key, add(quotient)).first;
        add(rest);  // the remainder is the node after the quotient
    }
    return {add(multiples + form_of(found->second), {floor_quotient(whole.least, n), floor_quotient(whole.most, n)}),
            add(form_of(found->second + 1), {0, power(n) - 1})};
}

Id mask_of(Id bit) {
    const Form f = form_of(bit) * (power(64) - 1);
    return add({Kind::mask, f, {0, power(64) - 1}, bit});
}
/** Returns true for a word that is 0 or all ones by construction. */
bool is_mask(Id id) { return state.numbers[id].kind == Kind::mask; }

Id gated(Id bit, Id word) { return add({Kind::gated, std::nullopt, {0, range(word).most}, bit, word}); }

Id and_of_bits(Id a, Id b) {
    const Form x = form_of(a), y = form_of(b);
    if (x.terms.empty() || y.terms.empty()) return add(x.terms.empty() ? y * x.constant : x * y.constant);
    if (x == y) return a;
    const Form v = new_atom({0, 1}, [x, y] { return mpz_class(value_of(x) * value_of(y)); });
    assume(v <= x);
    assume(v <= y);
    assume(x + y - 1 <= v);
    return add(v);
}
Id or_of_bits(Id a, Id b) { return add(form_of(a) + form_of(b) - form_of(and_of_bits(a, b)), {0, 1}); }
Id xor_of_bits(Id a, Id b) { return add(form_of(a) + form_of(b) - form_of(and_of_bits(a, b)) * 2, {0, 1}); }

Id lowest_bit(Id a) { return split(a, 1).rest; }

/** Returns the position of the only bit of a word that may be set, or -1 if several bits may be set. */
int lone_bit(Id a) {
    const Form& f = form_of(a);
    if (f.terms.empty()) {
        const mpz_class& c = f.constant;
        return c > 0 && mpz_popcount(c.get_mpz_t()) == 1 ? static_cast<int>(mpz_scan1(c.get_mpz_t(), 0)) : -1;
    }
    for (unsigned n = 1; n < 64; ++n) {
        if (range(a).most > power(n)) continue;
        bool all = is_divisible(f.constant, n);
        for (const auto& [atom, c] : f.terms) all = all && is_divisible(c, n);
        return all ? static_cast<int>(n) : -1;
    }
    return -1;
}

/** Combines bit n of x with a word whose only possible bit is n. */
Id with_bit(Id x, Id lone, unsigned n, Id (*combined)(Id, Id)) {
    const auto [above, below] = split(x, n);
    const auto [rest, bit] = split(above, 1);
    const Id other = split(lone, n).quotient;
    return add(form_of(below) + form_of(combined(bit, other)) * power(n) + form_of(rest) * power(n + 1),
               {0, power(64) - 1});
}

/** Returns true if a uses only the bits from n on, and b uses only bits below n. */
bool is_disjoint(Id a, Id b) {
    const Form f = expanded(form_of(a));
    for (unsigned n = 1; n < 64; ++n) {
        if (range(b).most >= power(n)) continue;
        bool all = is_divisible(f.constant, n);
        for (const auto& [atom, c] : f.terms) all = all && is_divisible(c, n);
        return all;
    }
    return false;
}

}  // namespace

Form rest_of(unsigned atom) {
    const auto found = state.rests.find(atom);
    return found == state.rests.end() ? Form() : found->second;
}

void reset(unsigned fault) {
    const std::vector<bool> path = state.path;
    state = {};
    state.path = path;
    state.fault = fault;
}
unsigned operations() { return state.operations; }
void assume(const Claim& claim) { state.assumed.push_back(claim.text); }

Form unknown_form(const mpz_class& least, const mpz_class& most) { return new_atom({least, most}); }
Word unknown(const mpz_class& most, const mpz_class& least) {
    Word w;
    w.id = add(new_atom({least, most}));
    return w;
}
Word word(const Form& f, const mpz_class& least, const mpz_class& most) { return as_word(add(f, {least, most})); }
mpz_class least(const Wide& w) { return range(id_of(w)).least; }
mpz_class most(const Wide& w) { return range(id_of(w)).most; }
Form form(const Wide& w) { return form_of(id_of(w)); }
Form form(const Word& w) { return form(Wide{w}); }

std::string negated(const Claim& claim) {
    std::string text = "(set-logic QF_UFLIA)\n";
    for (std::size_t i = 0; i < state.atoms.size(); ++i) text += "(declare-const v" + std::to_string(i) + " Int)\n";
    for (const std::string& a : state.assumed) text += "(assert " + a + ")\n";
    return text + "(assert (not " + claim.text + "))\n";
}

std::string example(unsigned long seed) {
    gmp_randclass random(gmp_randinit_default);
    random.seed(seed);
    state.values.clear();
    std::string text;
    for (std::size_t i = 0; i < state.atoms.size(); ++i) {
        const Interval& range = state.atoms[i];
        state.values.push_back(
            state.definitions[i]
                ? state.definitions[i]()
                : mpz_class(range.least + random.get_z_range(mpz_class(range.most - range.least + 1))));
        text += "(assert (= v" + std::to_string(i) + " " + text_of(state.values[i]) + "))\n";
    }
    return text;
}

Word as_word(Id id) {
    Word w;
    if (is_constant(id))
        w.value = form_of(id).constant.get_ui();
    else
        w.id = id;
    return w;
}
Wide as_wide(Id id) {
    Wide w;
    if (is_constant(id) && form_of(id).constant >= 0) {
        const mpz_class& c = form_of(id).constant;
        w.value = Wide::Builtin{floor_quotient(c, 64).get_ui()} << 64 | mpz_class(c & (power(64) - 1)).get_ui();
    } else {
        w.id = id;
    }
    return w;
}

Id sum(const Wide& a, const Wide& b, bool minus, unsigned bits) {
    const Id x = id_of(a), y = id_of(b);
    // A fault in a sum with zero would have no effect, so such a sum is not counted.
    const bool is_zero = is_constant(y) && form_of(y) == Form(0);
    const bool is_faulty = !is_zero && ++state.operations == state.fault;
    if (bits == 64 && minus && is_constant(x) && form_of(x) == Form(0)) {
        if (is_bit(y)) return mask_of(is_faulty ? add(Form(1) - form_of(y)) : y);
        return add({Kind::minus, std::nullopt, {0, power(64) - 1}, y});
    }
    Form f = minus ? form_of(x) - form_of(y) : form_of(x) + form_of(y);
    Interval r = range(y);
    if (minus) r = {-r.most, -r.least};
    r = {range(x).least + r.least, range(x).most + r.most};
    if (is_faulty) {
        f = form_of(x);
        r = range(x);
    }
    const Id id = add(f, r);
    // Sums of 128 bits or more are not supported. For negative sums, the quotients are negative, and extracting a word
    // finds them.
    if (bits != 128) return low(as_wide(id), bits);
    if (range(id).most >= power(128)) throw std::logic_error("more than 128 bits");
    return id;
}

Id product(const Wide& a, const Wide& b, unsigned bits) {
    const Id x = id_of(a), y = id_of(b);
    const Form f = form_of(x), g = form_of(y);
    if (f.terms.empty() || g.terms.empty()) {
        const Id other = f.terms.empty() ? y : x;
        const mpz_class& c = f.terms.empty() ? f.constant : g.constant;
        if (c < 0) throw std::logic_error("a product of signed numbers");
        const Id r = add(form_of(other) * c, {range(other).least * c, range(other).most * c});
        return bits == 128 ? r : low(as_wide(r), bits);
    }
    std::string keys[2] = {key_of(f), key_of(g)};
    std::sort(std::begin(keys), std::end(keys));
    const std::string key = "product " + keys[0] + keys[1];
    if (const auto found = state.known.find(key); found != state.known.end()) return found->second;
    if (range(x).least < 0 || range(y).least < 0 || bits != 128) throw std::logic_error("a product of signed numbers");
    return state.known[key] = add(new_atom({range(x).least * range(y).least, range(x).most * range(y).most},
                                           [f, g] { return mpz_class(value_of(f) * value_of(g)); }));
}

Id low(const Wide& a, unsigned bits) {
    const Id x = id_of(a);
    const Interval r = range(x);
    if (r.least >= 0 && r.most < power(bits)) return x;
    if (bits == 64 && r.least == -1 && r.most == 0) return mask_of(add(form_of(x) * -1));
    return split(x, bits).rest;
}

Id shifted_right(const Wide& a, unsigned by) {
    const Id x = id_of(a);
    if (state.numbers[x].kind == Kind::nonzero && by == 63) {
        const Form k = form_of(state.numbers[x].a);
        const Form v = new_atom({0, 1}, [k] { return mpz_class(value_of(k) == 0 ? 0 : 1); });
        assume({"(= " + v.text() + " (ite (= " + k.text() + " 0) 0 1))"});
        return add(v);
    }
    return split(x, by).quotient;
}

Id shifted_left(const Word& a, unsigned by) {
    const Id x = id_of(a);
    return low(as_wide(add(form_of(x) * power(by))), 64);
}

Id both(const Word& a, const Word& b) {
    const Id x = id_of(a), y = id_of(b);
    if (is_constant(y) || is_constant(x)) {
        const Id other = is_constant(y) ? x : y;
        const mpz_class c = form_of(is_constant(y) ? y : x).constant;
        if (c == 0) return add(Form(0));
        if (is_mask(other)) return add(form_of(state.numbers[other].a) * c);
        if (mpz_popcount(mpz_class(c + 1).get_mpz_t()) == 1)
            return split(other, static_cast<unsigned>(mpz_sizeinbase(c.get_mpz_t(), 2))).rest;
        throw std::logic_error("not a mask");
    }
    if (is_mask(x) && is_mask(y)) return mask_of(and_of_bits(state.numbers[x].a, state.numbers[y].a));
    if (is_mask(x)) return gated(state.numbers[x].a, y);
    if (is_mask(y)) return gated(state.numbers[y].a, x);
    if (is_bit(x)) return and_of_bits(x, lowest_bit(y));
    if (is_bit(y)) return and_of_bits(lowest_bit(x), y);
    throw std::logic_error("a conjunction of two words");
}

Id either(const Word& a, const Word& b) {
    const Id x = id_of(a), y = id_of(b);
    const Number p = state.numbers[x], q = state.numbers[y];
    for (const auto& [one, other] : {std::pair{x, y}, std::pair{y, x}})
        if (is_constant(one) && form_of(one) == Form(0)) return other;
    if (p.kind == Kind::gated && q.kind == Kind::gated && form_of(p.a) + form_of(q.a) == Form(1)) {
        const Form f = choice(form_of(p.a), form_of(p.b), form_of(q.b));
        return add(f, {0, std::max(p.range.most, q.range.most)});
    }
    if (q.kind == Kind::minus && form_of(q.a) == form_of(x))
        return add({Kind::nonzero, std::nullopt, {0, power(64) - 1}, x});
    if (is_mask(y) && form_of(q.a) == form_of(x)) return y;  // a bit that is ORed with its own mask
    if (is_bit(x) && is_bit(y)) return or_of_bits(x, y);
    if (is_disjoint(x, y) || is_disjoint(y, x)) return add(form_of(x) + form_of(y), {0, power(64) - 1});
    if (const int n = lone_bit(y); n >= 0) return with_bit(x, y, static_cast<unsigned>(n), or_of_bits);
    if (const int n = lone_bit(x); n >= 0) return with_bit(y, x, static_cast<unsigned>(n), or_of_bits);
    throw std::logic_error("a disjunction of two words");
}

Id differing(const Word& a, const Word& b) {
    const Id x = id_of(a), y = id_of(b);
    if (is_bit(x) && is_bit(y)) return xor_of_bits(x, y);
    for (const auto& [one, other] : {std::pair{x, y}, std::pair{y, x}}) {
        if (is_constant(one) && form_of(one) == Form(1))
            return add(form_of(other) + 1 - form_of(lowest_bit(other)) * 2, {0, power(64) - 1});
        if (is_mask(one)) {
            const Form f = form_of(other);
            return add(choice(form_of(state.numbers[one].a), Form(power(64) - 1) - f, f), {0, power(64) - 1});
        }
    }
    if (const int n = lone_bit(y); n >= 0) return with_bit(x, y, static_cast<unsigned>(n), xor_of_bits);
    throw std::logic_error("a sum modulo 2 of two words");
}

Id complement(const Word& a) {
    const Id x = id_of(a);
    if (is_mask(x)) return mask_of(add(Form(1) - form_of(state.numbers[x].a)));
    return add(Form(power(64) - 1) - form_of(x), {power(64) - 1 - range(x).most, power(64) - 1 - range(x).least});
}

Claim is_less(const Word& a, const Word& b) { return form(a) < form(b); }
Claim is_equal(const Word& a, const Word& b) { return equal(form(a), form(b)); }

bool decide(const Claim& claim) {
    if (state.taken == state.path.size()) state.path.push_back(true);
    const bool way = state.path[state.taken++];
    assume(way ? claim : !claim);
    return way;
}

void each_path(const std::function<Claim()>& run, const std::function<void(const std::string& negated)>& check) {
    const unsigned fault = state.fault;
    state.path.clear();
    do {
        reset(fault);
        check(negated(run()));
        while (!state.path.empty() && !state.path.back()) state.path.pop_back();
        if (!state.path.empty()) state.path.back() = false;
    } while (!state.path.empty());
}

}  // namespace integer

Form expanded(const Form& f) {
    Form r(f.constant);
    for (const auto& [atom, c] : f.terms) {
        const Form of_rest = integer::rest_of(atom);
        if (of_rest == Form()) {
            Form same;
            same.terms[atom] = c;
            r += same;
        } else {
            r += expanded(of_rest) * c;
        }
    }
    return r;
}

}  // namespace vrx::prove
