// Timing test: does the time of a function depend on its secret? Each function is timed with one fixed secret and with
// random secrets, in random order, and the two classes are compared.
//
// Usage: timing [SECONDS [NAME]] tests each function whose name contains NAME. The exit code is 1 if the test finds a
// leak in a function that is documented as constant-time, or if it misses a deliberate leak.
#include <x86intrin.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <random>
#include <span>
#include <string>
#include <string_view>

#include "ecc/field/engine.hpp"
#include "gost28147/engine/list.hpp"
#include "gostr3411/engine.hpp"
#include "vrx.h"
#include "welch.hpp"

namespace {

/** If |t| is above this limit, the difference is real. Noise alone gives values below 5. */
constexpr double bound = 10;
constexpr std::size_t batch = 2000;
constexpr std::size_t largest_secret = 1024;

/** The class of a function in docs/side_channels.md, or a deliberate leak. */
enum class Documented { independent, dependent, leak };

using Bytes = std::span<const std::uint8_t>;

struct Function {
    std::string name;
    std::string engine;
    Documented documented;
    std::size_t secret_size;
    /** First byte of the fixed secret; the other bytes are zero. */
    std::uint8_t fixed;
    std::function<void()> choose_engine;
    std::function<void(Bytes)> run;
};

/** Keeps the compiler from removing the computation of a result. */
template <typename T>
void keep(const T& value) {
    asm volatile("" : : "r"(&value) : "memory");
}

// --- measuring -------------------------------------------------------------------------------------------------------

class Secrets {
public:
    explicit Secrets(const Function& f) : function_(f) {}

    /** Draws a batch: a class and a secret for each measurement. */
    void draw() {
        for (std::size_t i = 0; i < batch; ++i) {
            std::uint8_t* secret = secrets_.data() + i * largest_secret;
            classes_[i] = static_cast<unsigned>(random_() >> 63);
            // Both classes draw and write the same number of bytes.
            for (std::size_t at = 0; at < function_.secret_size; at += 8) {
                const std::uint64_t word = classes_[i] == 0 ? random_() & 0 : random_();
                std::memcpy(secret + at, &word, 8);
            }
            if (classes_[i] == 0) secret[0] = function_.fixed;
        }
    }
    [[nodiscard]] unsigned which(std::size_t i) const { return classes_[i]; }
    /** Times one call in cycles. All secrets are used at the same address. */
    double time(std::size_t i) {
        alignas(64) static std::uint8_t secret[largest_secret];
        std::memcpy(secret, secrets_.data() + i * largest_secret, largest_secret);
        unsigned processor;
        _mm_lfence();
        const std::uint64_t start = __rdtsc();
        function_.run({secret, function_.secret_size});
        const std::uint64_t end = __rdtscp(&processor);
        _mm_lfence();
        return static_cast<double>(end - start);
    }

private:
    const Function& function_;
    std::mt19937_64 random_{std::random_device{}()};
    std::vector<std::uint8_t> secrets_ = std::vector<std::uint8_t>(batch * largest_secret);
    std::vector<unsigned> classes_ = std::vector<unsigned>(batch);
};

double now() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

struct Result {
    std::uint64_t measurements;
    double median;  // cycles
    double t;
};

Result measured(const Function& f, double seconds) {
    f.choose_engine();
    Secrets secrets(f);
    std::vector<double> first;
    for (int warming = 0; warming < 2; ++warming) {
        secrets.draw();
        first.clear();
        for (std::size_t i = 0; i < batch; ++i) first.push_back(secrets.time(i));
    }
    timing::CroppedWelch test(first);
    std::uint64_t measurements = 0;
    for (const double end = now() + seconds; now() < end; measurements += batch) {
        secrets.draw();
        for (std::size_t i = 0; i < batch; ++i) test.add(secrets.which(i), secrets.time(i));
    }
    std::nth_element(first.begin(), first.begin() + batch / 2, first.end());
    return {measurements, first[batch / 2], test.largest_t()};
}

// --- functions under test --------------------------------------------------------------------------------------------

struct Number {
    std::uint32_t digits[VRX_ECC_DIGITS];
};

/** Returns a scalar of 255 bits, which is valid for every set. */
Number scalar(Bytes secret) {
    Number n{};
    std::memcpy(n.digits, secret.data(), VRX_PRIVATE_KEY_SIZE);
    n.digits[7] &= 0x7FFFFFFF;
    return n;
}

Number nonce = {{5, 4, 3, 2, 1, 2, 3, 4}};
int draw_nonce(void* buffer, std::uint32_t length) {
    std::memcpy(buffer, &nonce, length);
    return 0;
}

constexpr Number some_number = {{0x89abcdef, 0x01234567, 0xdeadbeef, 0x0badcafe, 0x13579bdf, 0x2468ace0, 1, 2}};
constexpr std::uint32_t digest[VRX_ECC_DIGEST_WORDS] = {1, 2, 3, 4, 5, 6, 7, 8};

void sign(const EcParamSet& set, const Number& d) {
    EcSignature signature;
    ecSign(&set, digest, draw_nonce, d.digits, &signature);
    keep(signature);
}
void sign_with_key(const EcParamSet& set, Bytes secret) { sign(set, scalar(secret)); }
void sign_with_nonce(const EcParamSet& set, Bytes secret) {
    nonce = scalar(secret);
    sign(set, some_number);
}

void make_public(const EcParamSet& set, Bytes secret) {
    EcPoint q;
    ecGeneratePublicKey(&set, scalar(secret).digits, &q);
    keep(q);
}

/** Returns a point other than the base point. */
EcPoint peer_on(const EcParamSet& set) {
    EcPoint q;
    ecGeneratePublicKey(&set, some_number.digits, &q);
    return q;
}

void multiply(const EcParamSet& set, const EcPoint& point, Bytes secret) {
    EcPoint q;
    epMult(&q, &point, scalar(secret).digits, &set);
    keep(q);
}

void agree(const EcParamSet& set, const EcPoint& point, Bytes secret) {
    const vrx_data oid{VRX_PAR_OID_SIZE, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)};
    constexpr std::uint8_t ukm[VRX_UKM_SIZE] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::uint8_t kek[VRX_KEK_SIZE];
    ecMakeKEK(&set, &oid, ukm, scalar(secret).digits, &point, kek);
    keep(kek);
}

constexpr std::size_t run_of_blocks = 64 * VRX_BLOCK_SIZE;
constexpr std::size_t cipher_secret = VRX_KEY_SIZE + VRX_BLOCK_SIZE + run_of_blocks;

/** Derives key, register and plaintext from the secret. */
void encrypt(int mode, int direction, bool in_place, Bytes secret) {
    std::uint32_t key[VRX_KEY_WORDS];
    std::uint8_t iv[VRX_BLOCK_SIZE];
    std::uint8_t text[run_of_blocks];
    std::uint8_t result[run_of_blocks];
    std::memcpy(key, secret.data(), sizeof key);
    std::memcpy(iv, secret.data() + sizeof key, sizeof iv);
    std::memcpy(text, secret.data() + sizeof key + sizeof iv, sizeof text);
    const vrx_data in{sizeof text, text};
    vrx_data out{sizeof result, in_place ? text : result};
    do_cipher_low(&TZ_28147_89[1], mode, &in, &out, iv, key, direction, 0);
    keep(text);
    keep(result);
}

void mac(Bytes secret) {
    std::uint32_t key[VRX_KEY_WORDS];
    std::uint8_t text[run_of_blocks];
    std::uint8_t result[VRX_BLOCK_SIZE];
    std::memcpy(key, secret.data(), sizeof key);
    std::memcpy(text, secret.data() + sizeof key, sizeof text);
    const vrx_data in{sizeof text, text};
    vrx_data out{sizeof result, result};
    VRX_Gost_Imito_m(&TZ_28147_89[1], &in, &out, key, VRX_FLAG_FIRST);
    keep(result);
}

void hash(Bytes secret) {
    std::uint8_t out[VRX_HASH_SIZE];
    GOSTR3411_Transform_ex(&TZ_3411_94[1], secret.data(), static_cast<std::uint32_t>(secret.size()), out);
    keep(out);
}

constexpr std::uint8_t message[64] = {1, 2, 3};

void hmac(Bytes secret) {
    std::uint8_t out[VRX_HMAC_SIZE];
    std::uint32_t size;
    GOSTR3411_HMAC(nullptr, 0, message, sizeof message, secret.data(), static_cast<std::uint32_t>(secret.size()), out,
                   &size);
    keep(out);
}

void derive(Bytes secret) {
    std::uint8_t out[VRX_PBKDF2_SIZE];
    GOSTR3411_PKCS5_PBKDF2(secret.data(), static_cast<std::uint32_t>(secret.size()), message, 8, 20, nullptr, 0, out,
                           sizeof out);
    keep(out);
}

void derive_as_pkcs12(Bytes secret) {
    std::uint8_t out[VRX_KEY_SIZE];
    GOSTR3411_PBA_Derive(secret.data(), static_cast<std::int32_t>(secret.size()), message, 8, 20, 1, VRX_PAR_HASH_1_OID,
                         VRX_PAR_OID_SIZE, out, sizeof out);
    keep(out);
}

void sha1(Bytes secret) {
    sha_context ctx;
    std::uint8_t out[VRX_SHA1_SIZE];
    shaInit(&ctx);
    shaUpdate(&ctx, secret.data(), secret.size());
    shaFinal(&ctx, out);
    keep(out);
}

/** Compares with zero and stops at the first difference. A comparison of MACs must never do this. */
void compare(Bytes secret) {
    unsigned equal = 0;
    for (const std::uint8_t byte : secret) {
        if (byte != 0) break;
        ++equal;
        keep(equal);
    }
}

const EcParamSet& set_a = *get_GOSTR3410_par(1);
const EcParamSet& set_c = *get_GOSTR3410_par(3);

/** CryptoPro-A without its table is not a built-in set, so the library uses the general methods. */
const EcParamSet& own_set() {
    static const EcParamSet set = [] {
        EcParamSet copy = set_a;
        copy.has_precomp = 0;
        return copy;
    }();
    return set;
}

std::vector<Function> curve_functions() {
    constexpr std::size_t size = VRX_PRIVATE_KEY_SIZE;
    std::vector<Function> all;
    static const EcPoint peer_a = peer_on(set_a);
    static const EcPoint peer_c = peer_on(set_c);
    for (const auto* engine : vrx::field::engines) {
        if (!vrx::cpu::offers(engine->needs)) continue;
        const auto choose = [engine] { vrx::field::choice.use(*engine); };
        for (const EcParamSet* set : {&set_a, &set_c}) {
            const EcPoint* peer = set == &set_a ? &peer_a : &peer_c;
            const std::string on = set == &set_a ? " on A" : " on C";
            const auto add = [&](const char* name, const std::function<void(Bytes)>& run) {
                all.push_back({name + on, engine->name, Documented::independent, size, 1, choose, run});
            };
            add("ecSign, private key", [set](Bytes b) { sign_with_key(*set, b); });
            add("ecSign, nonce", [set](Bytes b) { sign_with_nonce(*set, b); });
            add("ecGeneratePublicKey", [set](Bytes b) { make_public(*set, b); });
            add("epMult, any point", [set, peer](Bytes b) { multiply(*set, *peer, b); });
        }
    }
    const auto general = [] { vrx::field::choice.forget(); };
    all.push_back({"ecSign, nonce, own set", "general", Documented::dependent, size, 1, general,
                   [](Bytes b) { sign_with_nonce(own_set(), b); }});
    all.push_back({"epMult, own set", "general", Documented::leak, size, 1, general,
                   [](Bytes b) { multiply(own_set(), peer_a, b); }});
    return all;
}

std::vector<Function> cipher_functions() {
    std::vector<Function> all;
    for (const auto& engine : vrx::gost28147::engines) {
        if (!vrx::cpu::offers(engine.needs)) continue;
        const bool look_ups = &engine == &vrx::gost28147::engines.back();
        const auto add = [&](const char* name, const std::function<void(Bytes)>& run, bool independent) {
            all.push_back({name, engine.name, independent ? Documented::independent : Documented::dependent,
                           cipher_secret, 0, [&engine] { vrx::gost28147::choice.use(engine); }, run});
        };
        add(
            "ECB, 64 blocks", [](Bytes b) { encrypt(VRX_MODE_SS, 1, true, b); }, !look_ups);
        add(
            "counter, 64 blocks", [](Bytes b) { encrypt(VRX_MODE_GAMM, 1, true, b); }, !look_ups);
        add(
            "CBC decryption, 64 blocks", [](Bytes b) { encrypt(VRX_MODE_CBC, 0, true, b); }, !look_ups);
        add(
            "CFB decryption, 64 blocks", [](Bytes b) { encrypt(VRX_MODE_GFB, 0, false, b); }, !look_ups);
        add(
            "CFB decryption in place", [](Bytes b) { encrypt(VRX_MODE_GFB, 0, true, b); }, false);
        add("MAC, 64 blocks", mac, false);
    }
    return all;
}

std::vector<Function> hash_functions() {
    std::vector<Function> all;
    static const EcPoint peer = peer_on(set_a);
    for (const auto& engine : vrx::gostr3411::engines) {
        if (!vrx::cpu::offers(engine.needs)) continue;
        const auto documented =
            &engine == &vrx::gostr3411::engines.front() ? Documented::independent : Documented::dependent;
        const auto add = [&](const char* name, std::size_t size, const std::function<void(Bytes)>& run) {
            const auto choose = [&engine] {
                vrx::gostr3411::choice.use(engine);
                vrx::field::choice.forget();
            };
            all.push_back({name, engine.name, documented, size, 1, choose, run});
        };
        add("hash, 1 KiB", 1024, hash);
        add("HMAC, key", VRX_KEY_SIZE, hmac);
        add("PBKDF2, password, 20 iterations", 24, derive);
        add("PKCS #12, password, 20 iterations", 24, derive_as_pkcs12);
        add("ecMakeKEK on A", VRX_PRIVATE_KEY_SIZE, [](Bytes b) { agree(set_a, peer, b); });
    }
    const auto any = [] {};
    all.push_back({"SHA-1, 1 KiB", "best", Documented::independent, 1024, 0, any, sha1});
    all.push_back({"comparison with an early end", "", Documented::leak, VRX_HMAC_SIZE, 0, any, compare});
    return all;
}

// --- the report ------------------------------------------------------------------------------------------------------

/** Prints a line. Returns whether the result agrees with the documentation. */
bool report(const Function& f, const Result& r) {
    const bool differs = r.t > bound;
    const char* verdict = differs ? "DEPENDS ON THE SECRET" : "no difference seen";
    if (f.documented == Documented::dependent)
        verdict = differs ? "depends, as documented" : "no difference seen; documented as dependent";
    if (f.documented == Documented::leak) verdict = differs ? "a leak: seen" : "A LEAK: NOT SEEN";
    std::printf("%-34s %-10s %12" PRIu64 " %10.0f %9.1f  %s\n", f.name.c_str(), f.engine.c_str(), r.measurements,
                r.median, r.t, verdict);
    std::fflush(stdout);
    return f.documented == Documented::dependent || differs == (f.documented == Documented::leak);
}

}  // namespace

int main(int argc, char** argv) {
    char* end = nullptr;
    const double seconds = argc > 1 ? std::strtod(argv[1], &end) : 10;
    if (argc > 3 || (argc > 1 && (*end != '\0' || !(seconds > 0)))) {
        std::fputs("usage: timing [SECONDS [NAME]]\n", stderr);
        return 2;
    }
    const std::string_view wanted = argc > 2 ? argv[2] : "";
    std::printf("Fixed and random secrets, %g seconds for each function. |t| above %g is a difference.\n\n", seconds,
                bound);
    std::printf("%-34s %-10s %12s %10s %9s\n", "function", "engine", "measurements", "cycles", "|t|");
    bool as_documented = true;
    unsigned functions = 0;
    for (const auto& family : {curve_functions(), cipher_functions(), hash_functions()})
        for (const Function& f : family)
            if (f.name.find(wanted) != std::string::npos) {
                as_documented &= report(f, measured(f, seconds));
                ++functions;
            }
    if (functions == 0) std::fputs("no function has a name like this\n", stderr);
    return functions == 0 ? 2 : as_documented ? 0 : 1;
}
