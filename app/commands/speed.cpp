// vrx speed
#include <cpuid.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <functional>
#include <string_view>
#include <vector>

#include "chart.hpp"
#include "commands/commands.hpp"
#include "frame/engines.hpp"
#include "io/files.hpp"
#include "io/text.hpp"
#include "keys/keys.hpp"
#include "keys/parameters.hpp"
#include "keys/random.hpp"

namespace vrx::app {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr std::uint32_t data_size = 64 * 1024;
constexpr std::uint32_t iterations = 100;  // iterations of PBKDF2 in each call
constexpr int slices = 5;

/** A call to measure, and the amount that it processes, in the unit of its group. */
struct Measured {
    std::string name;
    double amount;
    std::function<void()> call;
};

struct MeasuredGroup {
    const char* title;
    const char* unit;
    std::vector<Measured> rows;
};

/** Inputs and outputs of the measured calls, except signatures. */
struct Work {
    Key key;
    std::array<std::uint8_t, VRX_BLOCK_SIZE> iv;
    vrx_crpt_ctx context;
    std::array<std::uint8_t, data_size> data;
    std::array<std::uint8_t, data_size> result;
    std::array<std::uint8_t, VRX_HASH_SIZE> digest;
    vrx_tz table;
    std::array<std::uint8_t, VRX_NUM_TZ_SIZE> numeric;
};

/** The key pair, digest and signature for measurements on one curve. */
struct Pair {
    const EcParamSet* set;
    std::uint32_t d[VRX_ECC_DIGITS];
    EcPoint point;
    std::uint32_t digest[VRX_ECC_DIGEST_WORDS];
    EcSignature signature;
};

/**
 * Measures the rate per second in several time slices, and returns the rate of the fastest slice. In the other slices,
 * other processes slowed the calls down.
 */
double rate_of(const Measured& row, Seconds time) {
    const Seconds slice = time / slices;
    double best = 0;
    std::uint64_t burst = 1;  // calls per reading of the clock, because a reading takes as long as a short call
    for (int i = 0; i < slices; ++i) {
        double calls = 0;
        Seconds passed{};
        while (passed < slice) {
            const Clock::time_point begin = Clock::now();
            for (std::uint64_t n = 0; n < burst; ++n) row.call();
            const Seconds last = Clock::now() - begin;
            passed += last;
            calls += static_cast<double>(burst);
            if (last < slice / 16) burst *= 2;
        }
        best = std::max(best, calls * row.amount / passed.count());
    }
    return best;
}

MeasuredGroup throughput(Work& work) {
    constexpr double amount = data_size / 1e6;
    const vrx_tz* table = get_GOST28147_default_par()->tz;
    const auto crypt = [&work, table](const char* name, std::uint32_t mode, int direction, std::uint32_t meshing) {
        return Measured{name, amount, [&work, table, mode, direction, meshing] {
                            vrx_data in{data_size, work.data.data()};
                            vrx_data out{data_size, work.result.data()};
                            check("the cipher", vrx_crpt_init_context(&work.context, direction, table, mode, 0, meshing,
                                                                      0, work.iv.data(), work.key.data()));
                            check("the cipher",
                                  vrx_crpt_update(&work.context, &in, mode == VRX_MODE_IMITO ? nullptr : &out));
                            check("the cipher", vrx_crpt_final(&work.context));
                        }};
    };
    const auto hash = [&work](const char* name, const vrx_gostr3411_par& set) {
        return Measured{name, amount, [&work, &set] {
                            check("the hash",
                                  GOSTR3411_Transform_ex(set.tz, work.data.data(), data_size, work.digest.data()));
                        }};
    };
    const auto hmac = [&work] {
        const vrx_gostr3411_par& set = *get_GOSTR3411_default_par();
        std::uint32_t size = 0;
        check("the HMAC", GOSTR3411_HMAC(set.oid, set.oid_length, work.data.data(), data_size,
                                         reinterpret_cast<const std::uint8_t*>(work.key.data()), VRX_KEY_SIZE,
                                         work.digest.data(), &size));
    };
    const auto sha1 = [&work] {
        sha_context context;
        shaInit(&context);
        shaUpdate(&context, work.data.data(), data_size);
        shaFinal(&context, work.digest.data());
    };
    return {"Cipher and hashes",
            "million bytes a second",
            {crypt("ss, encrypt", VRX_MODE_SS, 1, 0),
             crypt("ss, decrypt", VRX_MODE_SS, 0, 0),
             crypt("gamm, both ways", VRX_MODE_GAMM, 1, 0),
             crypt("gamm, key meshing", VRX_MODE_GAMM, 1, 1),
             crypt("gfb, encrypt", VRX_MODE_GFB, 1, 0),
             crypt("gfb, decrypt", VRX_MODE_GFB, 0, 0),
             crypt("gfb, encrypt, key meshing", VRX_MODE_GFB, 1, 1),
             crypt("gfb, decrypt, key meshing", VRX_MODE_GFB, 0, 1),
             crypt("cbc, encrypt", VRX_MODE_CBC, 1, 0),
             crypt("cbc, decrypt", VRX_MODE_CBC, 0, 0),
             crypt("MAC", VRX_MODE_IMITO, 1, 0),
             hash("GOST R 34.11-94", *get_GOSTR3411_default_par()),
             {"HMAC GOST R 34.11-94", amount, hmac},
             {"SHA-1", amount, sha1}}};
}

MeasuredGroup signatures(std::vector<Secret<Pair>>& pairs) {
    MeasuredGroup group{"Signatures and keys", "a second", {}};
    for (Secret<Pair>& secret : pairs) {
        Pair& pair = *secret;
        const std::string curve = std::string(", curve ") + curve_name(*pair.set);
        group.rows.push_back({"sign" + curve, 1, [&pair] {
                                  check("the signature",
                                        ecSign(pair.set, pair.digest, vrx_system_random, pair.d, &pair.signature));
                              }});
        group.rows.push_back(
            {"verify" + curve, 1,
             [&pair] { check("the verification", ecVerify(pair.set, pair.digest, &pair.point, &pair.signature)); }});
    }
    Pair& pair = *pairs.front();
    const std::string curve = std::string(", curve ") + curve_name(*pair.set);
    group.rows.push_back({"new key pair" + curve, 1, [&pair] {
                              Pair other;
                              check("the key generator",
                                    ecGenerateKeyPair(pair.set, vrx_system_random, other.d, &other.point));
                          }});
    group.rows.push_back({"key agreement" + curve, 1, [&pair] {
                              const vrx_gostr3411_par& hash = *get_GOSTR3411_default_par();
                              const vrx_data oid{hash.oid_length, const_cast<std::uint8_t*>(hash.oid)};
                              constexpr std::uint8_t ukm[VRX_UKM_SIZE] = {1};
                              std::uint8_t kek[VRX_KEK_SIZE];
                              check("the key agreement", ecMakeKEK(pair.set, &oid, ukm, pair.d, &pair.point, kek));
                          }});
    return group;
}

MeasuredGroup small_work(Work& work) {
    const auto pbkdf2 = [&work] {
        check("PBKDF2", GOSTR3411_PKCS5_PBKDF2(work.data.data(), 16, work.data.data(), 8, iterations, nullptr, 0,
                                               work.digest.data(), work.digest.size()));
    };
    const auto diversify = [&work] {
        constexpr std::uint8_t ukm[VRX_UKM_SIZE] = {1};
        check("the diversification", ecDiversifyKEK(get_GOST28147_default_par()->tz, work.digest.data(), ukm));
    };
    const auto deploy = [&work] { check("the table", vrx_crpt_deploy_TZ(work.numeric.data(), &work.table)); };
    return {"Small work",
            "thousand a second",
            {{"PBKDF2, iterations", iterations / 1e3, pbkdf2},
             {"key diversification", 1e-3, diversify},
             {"S-boxes expanded into a table", 1e-3, deploy}}};
}

/** A key pair and a signature on each curve. Curves with the numbers of an earlier curve are left out. */
std::vector<Secret<Pair>> pairs() {
    std::vector<Secret<Pair>> result(4);
    for (std::size_t i = 0; i < result.size(); ++i) {
        Pair& pair = *result[i];
        pair.set = &curve_by_name(std::array{"A", "B", "C", "Test"}[i]);
        check("the key generator", ecGenerateKeyPair(pair.set, vrx_system_random, pair.d, &pair.point));
        fill_random({reinterpret_cast<std::uint8_t*>(pair.digest), sizeof pair.digest});
        check("the signature", ecSign(pair.set, pair.digest, vrx_system_random, pair.d, &pair.signature));
    }
    return result;
}

/** The CPU model name, from CPUID. */
std::string processor() {
    std::array<unsigned, 12> words{};
    for (unsigned i = 0; i < 3; ++i) {
        unsigned* w = words.data() + 4UL * i;
        if (__get_cpuid(0x80000002U + i, w, w + 1, w + 2, w + 3) == 0) return "unknown";
    }
    std::array<char, sizeof words + 1> text{};
    std::memcpy(text.data(), words.data(), sizeof words);
    std::string name = text.data();
    name.erase(0, name.find_first_not_of(' '));
    name.erase(name.find_last_not_of(' ') + 1);
    return name.empty() ? "unknown" : name;
}

/** Returns the engines that the library selects on this CPU: "cipher vbmi, hash baseline, ...". */
std::string engines_here() {
    const std::uint32_t features = cpu::features();
    std::string text;
    for (const cpu::EngineFamily& family : cpu::engine_families)
        text.append(text.empty() ? "" : ", ")
            .append(family.name)
            .append(" ")
            .append(cpu::best_of(family.engines, features).name);
    return text;
}

/** The same engines, with the CPU features that each needs. */
std::string explained_engines() {
    const std::uint32_t features = cpu::features();
    std::string text;
    for (const cpu::EngineFamily& family : cpu::engine_families) {
        const cpu::EngineInfo& engine = cpu::best_of(family.engines, features);
        std::string name = family.name;
        name.resize(9, ' ');
        text.append(text.empty() ? "Engines:   " : "           ").append(name).append(engine.name);
        text.append(" (").append(engine.words).append(")\n");
    }
    return text;
}

/** If standard error is a terminal, shows there what is being measured. */
class Status {
public:
    explicit Status(std::size_t total) : total_(total) {}
    Status(const Status&) = delete;
    Status& operator=(const Status&) = delete;
    ~Status() { show(""); }
    void next(const std::string& name) {
        show("measuring " + std::to_string(++done_) + " of " + std::to_string(total_) + ": " + name);
    }

private:
    void show(const std::string& text) const {
        if (!terminal_) return;
        const std::string line = "\r\033[K" + text;
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
    }
    bool terminal_ = isatty(STDERR_FILENO) == 1;
    std::size_t total_;
    std::size_t done_ = 0;
};

std::vector<FigureGroup> measure(const std::vector<MeasuredGroup>& groups, Seconds time) {
    std::size_t rows = 0;
    for (const MeasuredGroup& group : groups) rows += group.rows.size();
    Status status(rows);
    std::vector<FigureGroup> result;
    for (const MeasuredGroup& group : groups) {
        result.push_back({group.title, group.unit, {}});
        for (const Measured& row : group.rows) {
            status.next(row.name);
            result.back().figures.push_back({row.name, rate_of(row, time / static_cast<double>(rows))});
        }
    }
    return result;
}

/** The value of --seconds. */
Seconds seconds_of(const Command& self, const std::string& text) {
    const std::size_t point = text.find('.');
    const std::string_view whole = std::string_view(text).substr(0, point);
    const std::string_view part = point == std::string::npos ? "0" : std::string_view(text).substr(point + 1);
    const auto units = to_number(whole);
    const auto tenths = to_number(part);
    if (!units || !tenths || part.size() != 1 || *units > 3600 || (*units == 0 && *tenths == 0))
        throw WrongUse(
            self, "--seconds takes a number from 0.1 to 3600, with at most one decimal place, not " + in_quotes(text));
    return Seconds(static_cast<double>(*units) + static_cast<double>(*tenths) / 10);
}

int run(const Command& self, int argc, char** argv) {
    std::string seconds = "15";
    std::optional<std::string> plot;
    const auto operands =
        parse(self,
              {text_option("seconds", 's', "NUMBER", "total time in seconds; default: 15", seconds),
               output_option("plot", 'p', "FILE", "also draw a chart, as an SVG picture in FILE", plot)},
              0, argc, argv);
    if (!operands) return exit_done;
    const Seconds time = seconds_of(self, seconds);
    std::optional<Output> picture;
    if (plot) picture.emplace(*plot);
    Output output("-");

    Secret<Work> work;
    fill_random({reinterpret_cast<std::uint8_t*>(work->key.data()), VRX_KEY_SIZE});
    fill_random(work->numeric);
    std::vector<Secret<Pair>> keys = pairs();
    const std::string here = processor();
    const std::vector<FigureGroup> groups = measure({throughput(*work), signatures(keys), small_work(*work)}, time);
    output.write("Processor: " + here + ", one thread\n" + explained_engines() + table_of(groups));
    output.commit();
    if (picture) {
        picture->write(svg_of("vrx speed", {here + ", one thread", "Engines: " + engines_here()}, groups));
        picture->commit();
    }
    return exit_done;
}

}  // namespace

const Command speed_command{
    "speed",
    "",
    "measure every algorithm on this machine",
    R"(Measure the cipher in all its modes, the hashes, signatures, key agreement and key derivation, with one thread
and 64 KiB of data per call. Prints which engines the library uses on this CPU. Takes about 15 seconds.)",
    R"(vrx speed --seconds 2 --plot speed.svg)",
    run};

}  // namespace vrx::app
