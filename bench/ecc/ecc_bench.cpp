// Signatures, key pairs and key agreement: every engine and the general methods, compared with other libraries on the
// same curves and with OpenSSL on P-256. A table at the end shows the speed-ups and their goals.
//
// Every figure is the median CPU time over several repetitions. Repetitions of all rows run in random order, so that a
// change of the machine's load affects all rows alike.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>

#include "ecc/field/engine.hpp"
#include "rows.hpp"

using namespace vrx::field;

namespace bench {

void fill(void* buffer, std::size_t length) {
    static std::mt19937_64 generator(1);
    auto* bytes = static_cast<std::uint8_t*>(buffer);
    for (std::size_t i = 0; i < length; i += 8) {
        const std::uint64_t word = generator();
        std::memcpy(bytes + i, &word, std::min<std::size_t>(8, length - i));
    }
}

void check(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "%s failed\n", what);
    std::abort();
}

namespace {

int draw(void* buffer, std::uint32_t length) {
    fill(buffer, length);
    return 0;
}

const vrx_data hash_oid{VRX_PAR_OID_SIZE, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)};

/** An engine that accepts no input, so that the general methods do all the work. */
constexpr Engine engine_none = {
    {"none"},
    [](CurveId, const Words&, AffinePoint&) { return false; },
    [](CurveId, const Words&, const AffinePoint&, AffinePoint&) { return false; },
    [](CurveId, const Words&, const Words&, const AffinePoint&, const Words&) { return Answer::not_covered; }};

std::string version(const Engine& engine) { return std::string("vrx-") + engine.name; }

/** Registers a row that runs one engine of the library. */
template <typename Operation>
void engine_row(const char* operation_name, const Engine& engine, const char* curve, Operation operation) {
    const std::string name = operation_name + ("/" + version(engine)) + "/" + curve;
    if (!vrx::cpu::offers(engine.needs)) return missing_row(name, "this CPU does not support it");
    benchmark::RegisterBenchmark(name.c_str(), [operation, &engine](benchmark::State& state) {
        choice.use(engine);
        measure(state, operation);
        choice.forget();
    })->Unit(benchmark::kMicrosecond);
}

void add_engine(const Engine& engine) {
    for (const auto& [curve, index] : named_curves) {
        const EcParamSet* set = get_GOSTR3410_par(index);
        const auto parties = parties_on(*set);
        engine_row("sign", engine, curve, [=](std::size_t i) {
            EcSignature signature;
            check(ecSign(set, (*parties)[i].digest, draw, (*parties)[i].d, &signature) == VRX_OK, "signing");
        });
        engine_row("verify", engine, curve, [=](std::size_t i) {
            const Party& party = (*parties)[i];
            check(ecVerify(set, party.digest, &party.key, &party.signature) == VRX_OK, "verifying");
        });
        engine_row("key_pair", engine, curve, [=](std::size_t) {
            Party party;
            check(ecGenerateKeyPair(set, draw, party.d, &party.key) == VRX_OK, "generating a key pair");
        });
        engine_row("public_key", engine, curve, [=](std::size_t i) {
            EcPoint key;
            check(ecGeneratePublicKey(set, (*parties)[i].d, &key) == VRX_OK, "computing a public key");
        });
        engine_row("agree", engine, curve, [=](std::size_t i) {
            std::uint8_t kek[VRX_KEK_SIZE];
            const Party& mine = (*parties)[i];
            check(ecMakeKEK(set, &hash_oid, mine.ukm, mine.d, &(*parties)[(i + 1) % count].key, kek) == VRX_OK,
                  "key agreement");
        });
    }
    row("hash/" + version(engine), [](std::size_t i) {
        std::uint8_t octets[VRX_PUBLIC_KEY_SIZE] = {static_cast<std::uint8_t>(i)};
        std::uint8_t kek[VRX_KEK_SIZE];
        check(GOSTR3411_Transform(hash_oid.data, hash_oid.length, octets, sizeof octets, kek) == VRX_OK, "hashing");
    });
}

/**
 * Rows with a custom parameter set. It is a built-in set with a change in one table entry, which is not used for
 * scalars below 2^256.
 */
void add_own_set() {
    static const EcParamSet set = [] {
        EcParamSet own = *get_GOSTR3410_par(1);
        own.pp[VRX_ECC_PP_COUNT - 1].x[0] ^= 1;
        return own;
    }();
    const auto parties = parties_on(*get_GOSTR3410_par(1));
    row("epMultPP/own_set/A", [=](std::size_t i) {
        EcPoint r;
        epMultPP(&r, (*parties)[i].d, &set);
        check(std::memcmp(&r, &(*parties)[i].key, sizeof r) == 0, "computing a public key");
    });
    row("epMultJ/own_set/A", [=](std::size_t i) {
        EcPoint r;
        check(epMultJ(&r, &(*parties)[(i + 1) % count].key, (*parties)[i].d, &set) == VRX_OK, "a multiplication");
    });
}

/** Maps the name of a row to microseconds. */
using Times = std::map<std::string, double>;

/** A reporter that prints only medians, and stores them. */
class Medians : public benchmark::ConsoleReporter {
public:
    Medians() : ConsoleReporter(OO_None) {}
    void ReportRuns(const std::vector<Run>& runs) override {
        std::vector<Run> shown;
        for (const Run& run : runs) {
            const bool is_median = run.aggregate_name == "median" || (run.repetitions < 2 && !run.error_occurred);
            if (is_median) times[run.run_name.function_name] = run.GetAdjustedCPUTime();
            if (is_median || (run.error_occurred && run.repetition_index < 1)) shown.push_back(run);
        }
        if (!shown.empty()) ConsoleReporter::ReportRuns(shown);
    }

    Times times;
};

/** Returns the time of an operation, without the hash of the shared point; 0 if the operation was not measured. */
double time_of(const Times& times, const std::string& operation, const std::string& by, const std::string& curve) {
    const auto found = times.find(operation + "/" + by + "/" + curve);
    if (found == times.end()) return 0;
    const auto hash = times.find("hash/" + by);
    return found->second - (operation == "agree" && hash != times.end() ? hash->second : 0);
}

struct Peer {
    std::string name;
    double time = 0;
};

Peer best_peer(const Times& times, const std::string& operation, const std::string& curve) {
    Peer best;
    for (const char* name : {"libgcrypt", "nettle", "openssl-gost", "botan"})
        if (const double t = time_of(times, operation, name, curve); t != 0 && (best.time == 0 || t < best.time))
            best = {name, t};
    return best;
}

struct Goals {
    const char* operation;
    double ifma[2], adx[2];  // speed-up over P-256: on curve C, and on the other curves
    double peer[2];          // speed-up over the fastest peer: on curve C, and on the other curves
};
// Public keys are compared with the key pairs of the peers, because the peers have no operation for a public key alone,
// except on P-256.
constexpr Goals all_goals[] = {{"sign", {3.7, 4.5}, {1.6, 2.5}, {10, 6}},
                               {"key_pair", {3.7, 4.5}, {1.6, 2.5}, {10, 6}},
                               {"public_key", {3.7, 4.5}, {1.6, 2.5}, {10, 6}},
                               {"verify", {1.3, 1.9}, {0.95, 1.5}, {4.5, 3.5}},
                               {"agree", {1.05, 1.6}, {0.75, 1.2}, {5, 2.8}}};

std::string ratio(double time, double to, double goal) {
    if (to == 0) return "-";
    char text[64];
    const int length = std::snprintf(text, sizeof text, "%.2f", to / time);
    if (goal != 0)
        std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length), " of %.4g%s", goal,
                      to / time < goal ? " MISSED" : "");
    return text;
}

/**
 * Prints the ratios next to their goals. Keys are also compared with signing on P-256, because each operation is one
 * point multiplication.
 */
void print_table(const Times& times) {
    std::printf("\n%-11s %-5s %-12s %9s   %-22s %-22s %s\n", "operation", "curve", "version", "us", "x P-256, goal",
                "x best peer, goal", "best peer");
    for (const Goals& goals : all_goals)
        for (const auto& [curve, index] : named_curves)
            for (const Engine* engine : {&engine_ifma, &engine_adx, &engine_words, &engine_none}) {
                const std::string operation = goals.operation;
                const double time = time_of(times, operation, version(*engine), curve);
                if (time <= 0) continue;
                const bool is_key = operation == "key_pair" || operation == "public_key";
                const double p256 = time_of(times, is_key ? "sign" : operation, "openssl", "P-256");
                const Peer peer = best_peer(times, operation == "public_key" ? "key_pair" : operation, curve);
                const unsigned other = *curve != 'C';
                const double goal = engine == &engine_ifma  ? goals.ifma[other]
                                    : engine == &engine_adx ? goals.adx[other]
                                                            : 0;
                const bool against_peer = engine == &engine_ifma && (*curve == 'A' || *curve == 'C');
                std::printf("%-11s %-5s %-12s %9.2f   %-22s %-22s %s\n", goals.operation, curve,
                            version(*engine).c_str(), time, ratio(time, p256, goal).c_str(),
                            ratio(time, peer.time, against_peer ? goals.peer[other] : 0).c_str(), peer.name.c_str());
            }
    for (const auto& [name, most] : {std::pair{"epMultPP", 130.0}, {"epMultJ", 550.0}})
        if (const double time = time_of(times, name, "own_set", "A"); time != 0)
            std::printf("%-11s %-5s %-12s %9.2f   at most %.0f us%s\n", name, "A", "own set", time, most,
                        time > most ? " MISSED" : "");
}

}  // namespace

std::shared_ptr<Parties> parties_on(const EcParamSet& set) {
    auto parties = std::make_shared<Parties>(count);
    for (Party& party : *parties) {
        check(ecGenerateKeyPair(&set, draw, party.d, &party.key) == VRX_OK, "generating a key pair");
        fill(party.digest, sizeof party.digest);
        fill(party.ukm, sizeof party.ukm);
        check(ecSign(&set, party.digest, draw, party.d, &party.signature) == VRX_OK, "signing");
        check(ecVerify(&set, party.digest, &party.key, &party.signature) == VRX_OK, "verifying");
    }
    return parties;
}

}  // namespace bench

int main(int argc, char** argv) {
    using namespace bench;
    // Options from the command line come after these and take precedence.
    std::vector<char*> arguments(argv, argv + argc);
    std::string defaults[] = {"--benchmark_repetitions=11", "--benchmark_min_time=0.02",
                              "--benchmark_enable_random_interleaving=true"};
    for (std::string& option : defaults) arguments.insert(arguments.begin() + 1, option.data());
    int number = static_cast<int>(arguments.size());
    benchmark::Initialize(&number, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(number, arguments.data())) return 1;

    for (const Engine* engine : {&engine_ifma, &engine_adx, &engine_words, &engine_none}) add_engine(*engine);
    add_own_set();
    add_peers();
    Medians medians;
    benchmark::RunSpecifiedBenchmarks(&medians);
    print_table(medians.times);
    benchmark::ClearRegisteredBenchmarks();  // because the rows hold objects of libraries that are unloaded later
    return 0;
}
