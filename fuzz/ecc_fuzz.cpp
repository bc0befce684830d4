// Fuzz target: points, multiples, signatures, keys and octets on built-in sets, toy curves and arbitrary records,
// compared with a slow implementation on GMP integers.
#include "choices.hpp"
#include "ecc/any_record.hpp"
#include "ecc/model.hpp"

namespace {

using namespace vrx::test;
using model::Curve;
using model::Z;
using vrx::fuzz::require;

EcPoint record(const model::Point& p) { return point(model::digits(p.x), model::digits(p.y)); }

/** y^2 = x^3 + a x + b over the field of p elements, with a prime number of points. */
EcParamSet toy_set(std::uint32_t p, std::uint32_t a, std::uint32_t b, std::uint32_t order) {
    EcParamSet set{};
    set.a[0] = a;
    set.b[0] = b;
    set.p[0] = p;
    set.q[0] = order;
    set.has_precomp = a == p - 3 ? 1 : 0;
    const Curve curve(set);
    model::Point g;
    for (Z x = 0; x < p; ++x)
        for (Z y = 1; y < p; ++y)
            if (curve.contains({x, y})) g = {x, y};
    set.G = record(g);
    for (EcPoint& entry : set.pp) {
        if (set.has_precomp == 1) entry = record(g);
        g = curve.group_multiple(16, g);
    }
    return set;
}

const std::vector<EcParamSet>& toy_sets() {
    static const std::vector<EcParamSet> sets{toy_set(11, 8, 1, 17),  toy_set(11, 8, 10, 7),  toy_set(11, 2, 4, 17),
                                              toy_set(31, 28, 7, 37), toy_set(31, 1, 23, 29), toy_set(193, 190, 6, 181),
                                              toy_set(199, 1, 3, 197)};
    return sets;
}

class Trial {
public:
    explicit Trial(const Random& source) : any_(source) {
        const std::uint32_t kind = random().below(8);
        proper_ = kind < 6;
        if (kind < 3)
            set_ = *get_GOSTR3410_par(random().below(VRX_ECC_SET_COUNT));
        else if (proper_)
            set_ = toy_sets().at(random().below(static_cast<std::uint32_t>(toy_sets().size())));
        else
            set_ = any_.any_set();
        curve_.emplace(set_);
    }

    Random& random() { return any_.random; }
    bool goes_on() { return random().has_decisions(); }

    void step() {
        switch (random().below(10)) {
            case 0:
                return sums();
            case 1:
                return octets();
            case 2:
                return decimals();
            case 3:
                return check_key();
            case 4:
                return multiples();
            case 5:
                return signature();
            case 6:
                if (proper_) return key_pair();
                return sums();
            case 7:
                if (proper_) return agreement();
                return jacobian_sums();
            default:
                return jacobian_sums();
        }
    }

private:
    EcPoint any_point() {
        if (proper_ && random().below(3) != 0) return record(curve_->group_multiple(scalar(), curve_->g));
        return any_.any_point(set_);
    }
    EcPointJ any_point_j() {
        const EcPoint p = any_point();
        EcPointJ j;
        epA2J(&j, &p);
        const Digits z = random().below(3) == 0 ? Digits(1) : any_.coordinate(set_);
        z.copy_to(j.z);
        return j;
    }
    /** A number from 1 to q - 1, or close to that range. q is above 1. */
    Z scalar() { return model::mod(model::of(edgy(random())), curve_->q - 1) + 1; }
    std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS> digest() {
        std::array<std::uint32_t, VRX_ECC_DIGEST_WORDS> words{};
        std::memcpy(words.data(), edgy(random()).data(), sizeof words);
        if (random().below(8) == 0) std::memcpy(words.data(), set_.q, sizeof words);
        return words;
    }

    void sums() {
        const EcPoint p = any_point();
        EcPoint q = random().below(6) == 0 ? p : any_point(), r;
        if (random().below(6) == 0) std::memcpy(q.x, p.x, sizeof q.x);
        if (random().below(6) == 0) {
            std::memcpy(q.x, p.x, sizeof q.x);
            model::digits(model::mod(-model::of(p.y), curve_->p)).copy_to(q.y);
        }
        require(epAdd(&r, &p, &q, &set_) == 0, "epAdd's value");
        require(coordinates(r) == model::coordinates(curve_->sum(model::of(p), model::of(q))), "epAdd");
        require(epIsEqual(&p, &q) == (coordinates(p) == coordinates(q) ? 1 : 0), "epIsEqual");
        require(epIsZero(&p) == (coordinates(p) == point_at_infinity ? 1 : 0), "epIsZero");
        require(epSetEqual(&r, &p) == 0 && coordinates(r) == coordinates(p), "epSetEqual");
    }

    void jacobian_sums() {
        const EcPointJ p = any_point_j();
        const EcPointJ q = random().below(6) == 0 ? p : any_point_j();
        const EcPoint affine = any_point();
        EcPointJ r;
        EcPoint a;
        require(epDublJ(&r, &p, &set_) == 0, "epDublJ's value");
        require(coordinates(r) == model::coordinates(curve_->twice(model::of(p))), "epDublJ");
        require(epAddJA(&r, &p, &affine, &set_) == 0, "epAddJA's value");
        require(coordinates(r) == model::coordinates(curve_->sum(model::of(p), model::of(affine))), "epAddJA");
        require(epAddJChud(&r, &p, &q, &set_) == 0, "epAddJChud's value");
        require(coordinates(r) == model::coordinates(curve_->sum(model::of(p), model::of(q))), "epAddJChud");
        require(epJ2A(&a, &p, &set_) == 0, "epJ2A's value");
        require(coordinates(a) == model::coordinates(curve_->to_affine(model::of(p))), "epJ2A");
    }

    void multiples() {
        Digits k = random().below(3) == 0 ? Digits(random().below(300)) : edgy(random());
        if (random().below(3) == 0) k = model::digits(curve_->q + static_cast<int>(random().below(5)) - 2);
        const Z number = model::of(k);
        const EcPoint p = any_point();
        auto r = filled<EcPoint>();
        switch (random().below(3)) {
            case 0:
                require(epMultPP(&r, k.data(), &set_) == 0, "epMultPP's value");
                require(coordinates(r) == model::coordinates(curve_->table_multiple(number)), "epMultPP");
                break;
            case 1:
                require(epMultJ(&r, &p, k.data(), &set_) == (number == 0 ? -1 : 0), "epMultJ's value");
                if (number == 0) break;
                require(coordinates(r) == model::coordinates(curve_->jacobian_multiple(number, model::of(p))),
                        "epMultJ");
                break;
            default:
                require(epMult(&r, &p, k.data(), &set_) == 0, "epMult's value");
                require(coordinates(r) == model::coordinates(curve_->affine_multiple(number, model::of(p))), "epMult");
                break;
        }
    }

    void signature() {
        // The numbers of a signature have at most 256 bits, and q must be large enough for a nonce.
        if (curve_->q < 2 || set_.q[8] != 0 || set_.p[8] != 0) return;
        const auto e = digest();
        const Z k = scalar();
        const Digits d = random().coin() ? edgy(random()) : model::digits(scalar());
        EcSignature sig;
        {
            ScriptedSource source{ScriptedSource::yields(model::digits(k))};
            require(ecSign(&set_, e.data(), ScriptedSource::draw, d.data(), &sig) == VRX_OK, "ecSign's value");
        }
        const auto [r, s] = curve_->sign(e.data(), k, model::of(d));
        require(halves(sig) == std::array{model::digits(r), model::digits(s)}, "ecSign");
        const EcPoint q = random().coin() ? record(curve_->base_multiple(model::of(d))) : any_point();
        switch (random().below(4)) {
            case 0:
                edgy(random(), 8).copy_to(sig.s);
                break;
            case 1:
                edgy(random(), 8).copy_to(sig.r);
                break;
            default:
                break;
        }
        const bool right = curve_->verify(e.data(), model::of(q), model::of(sig.r), model::of(sig.s));
        require(ecVerify(&set_, e.data(), &q, &sig) == (right ? VRX_OK : VRX_ERR_FAILED), "ecVerify");
    }

    /** On toy curves, the formulas reach exceptional points, so the result need not be on the curve. */
    [[nodiscard]] int code_of_key(const Z& d) const {
        return curve_->contains(curve_->base_multiple(d)) ? VRX_OK : VRX_ERR_FAILED;
    }

    void key_pair() {
        const Z number = scalar();
        const int code = code_of_key(number);
        Digits d;
        EcPoint q;
        {
            ScriptedSource source{ScriptedSource::yields(model::digits(number))};
            require(ecGenerateKeyPair(&set_, ScriptedSource::draw, d.data(), &q) == code, "a key pair is made");
        }
        require(d == model::digits(number), "the private key");
        require(coordinates(q) == model::coordinates(curve_->base_multiple(number)), "the public key");
        EcPoint again;
        require(ecGeneratePublicKey(&set_, d.data(), &again) == code && same_bytes(q, again), "the public key again");
    }

    void agreement() {
        const vrx_data oid{VRX_PAR_OID_SIZE, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)};
        const Digits mine = model::digits(scalar()), theirs = model::digits(scalar());
        EcPoint my_point, their_point;
        require(ecGeneratePublicKey(&set_, mine.data(), &my_point) == code_of_key(model::of(mine)) &&
                    ecGeneratePublicKey(&set_, theirs.data(), &their_point) == code_of_key(model::of(theirs)),
                "public keys are made");
        Bytes ukm = random().bytes(VRX_UKM_SIZE);
        ukm.front() |= 1;
        Bytes here(VRX_KEK_SIZE), there(VRX_KEK_SIZE), expected(VRX_KEK_SIZE), octets(VRX_PUBLIC_KEY_SIZE);
        require(ecMakeKEK(&set_, &oid, ukm.data(), mine.data(), &their_point, here.data()) == VRX_OK &&
                    ecMakeKEK(&set_, &oid, ukm.data(), theirs.data(), &my_point, there.data()) == VRX_OK,
                "a key is agreed");
        Z u;
        mpz_import(u.get_mpz_t(), ukm.size(), -1, 1, 0, 0, ukm.data());
        const EcPoint shared =
            record(curve_->point_multiple(model::mod(u * model::of(mine), curve_->q), model::of(their_point)));
        require(ecUnloadPublicKeyValue(&shared, octets.data()) == VRX_OK &&
                    GOSTR3411_Transform(oid.data, oid.length, octets.data(), VRX_PUBLIC_KEY_SIZE, expected.data()) ==
                        VRX_OK,
                "a point is hashed");
        require(here == expected, "the agreed key");
        require(set_.p[7] == 0 || here == there, "both sides derive the same key");  // p[7] is 0 on toy curves
    }

    void check_key() {
        EcPoint q = any_point();
        if (random().below(3) == 0) q.x[random().below(VRX_ECC_DIGITS)] ^= 1U << random().below(32);
        require(ecCheckPublicKey(&set_, &q) == (curve_->contains(model::of(q)) ? VRX_OK : VRX_ERR_FAILED),
                "ecCheckPublicKey");
    }

    void octets() {
        const Bytes given = random().bytes(64);
        const auto number = [&](std::size_t first, bool most_significant_first) {
            Z n;
            mpz_import(n.get_mpz_t(), 32, most_significant_first ? 1 : -1, 1, 0, 0, &given.at(first));
            return model::digits(n);
        };
        Bytes back(64);
        Digits d;
        require(ecLoadPrivateKeyValue(given.data(), d.data()) == VRX_OK && d == number(0, false),
                "a private key is read");
        d.d[8] = random().word();  // not written
        require(ecUnloadPrivateKeyValue(d.data(), back.data()) == VRX_OK &&
                    std::equal(back.begin(), back.begin() + 32, given.begin()),
                "a private key is written");
        auto q = filled<EcPoint>();
        require(ecLoadPublicKeyValue(given.data(), &q) == VRX_OK &&
                    coordinates(q) == std::array{number(0, false), number(32, false)},
                "a public key is read");
        require(ecUnloadPublicKeyValue(&q, back.data()) == VRX_OK && back == given, "a public key is written");
        auto sig = filled<EcSignature>();
        require(ecLoadSignValue(given.data(), &sig) == VRX_OK &&
                    halves(sig) == std::array{number(32, true), number(0, true)},
                "a signature is read");
        require(ecUnloadSignValue(&sig, back.data()) == VRX_OK && back == given, "a signature is written");
    }

    void decimals() {
        const EcPoint p = point(edgy(random()), edgy(random()));
        std::array<char, 100> x, y;
        require(epConvToDecimal(&p, x.data(), y.data(), x.size()) == 0 && model::of(p.x).get_str() == x.data() &&
                    model::of(p.y).get_str() == y.data(),
                "epConvToDecimal");
        EcPoint back;
        require(epConvFromDecimal(&back, x.data(), y.data()) == 0 && coordinates(back) == coordinates(p),
                "epConvFromDecimal");
    }

    AnyRecord any_;
    bool proper_ = false;
    EcParamSet set_{};
    std::optional<Curve> curve_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Trial trial(vrx::fuzz::choices(data, size));
    for (int steps = 0; steps < 6 && (steps == 0 || trial.goes_on()); ++steps) trial.step();
    return 0;
}
