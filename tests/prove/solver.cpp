#include "prove/solver.hpp"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>

namespace vrx::prove {
namespace {

/** Returns the first of these programs that is installed. */
std::string solver() {
    if (const char* named = std::getenv("VRX_SOLVER")) return named;
    std::istringstream folders(std::getenv("PATH") == nullptr ? "" : std::getenv("PATH"));
    std::string path;
    for (const char* program : {"z3", "cvc5"}) {
        folders.clear();
        folders.seekg(0);
        while (std::getline(folders, path, ':'))
            if (access((path + "/" + program).c_str(), X_OK) == 0) return path + "/" + program;
    }
    return {};
}

std::string command(const std::string& file) {
    const std::string program = solver();
    const bool is_cvc5 = program.find("cvc5") != std::string::npos;
    const char* const limit = std::getenv("VRX_SOLVER_SECONDS");
    const std::string seconds = limit == nullptr ? "100" : limit;
    // The limit is in CPU time, because other programs may use the CPU, too.
    return "ulimit -t " + seconds + "; exec " + program + (is_cvc5 ? " --lang=smt2 " : " -smt2 ") + file + " 2>&1";
}

/** The processor time of all child processes that have ended, in seconds. */
double time_of_children() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/** An answer, with the processor time of the solver. */
struct Timed {
    Answer answer;
    double seconds;
    std::string said;
};

Timed run(const std::string& text) {
    const char* const folder = std::getenv("TMPDIR");
    std::string file = std::string(folder == nullptr ? "/tmp" : folder) + "/vrx-prove-XXXXXX";
    const int descriptor = mkstemp(file.data());
    if (descriptor < 0) return {Answer::unknown, 0, "no temporary file"};
    close(descriptor);
    std::ofstream(file) << text << "(check-sat)\n";
    const double before = time_of_children();
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command(file).c_str(), "r"), pclose);
    std::string said;
    std::array<char, 256> line{};
    while (pipe && std::fgets(line.data(), line.size(), pipe.get()) != nullptr) said += line.data();
    pipe.reset();
    const double seconds = time_of_children() - before;
    if (const char* kept = std::getenv("VRX_PROVE_KEEP"); kept == nullptr)
        unlink(file.c_str());
    else
        std::printf("             %s\n", file.c_str());
    const Answer answer = said == "unsat\n" ? Answer::unsat : said == "sat\n" ? Answer::sat : Answer::unknown;
    return {answer, seconds, said};
}

void expect(const std::string& text, const std::string& what, Answer expected, const char* kind) {
    const Timed t = run(text);
    std::printf("[ %-8s ] %6.2f s  %s\n", kind, t.seconds, what.c_str());
    EXPECT_TRUE(t.answer == expected) << what << ": the solver says " << t.said;
}

}  // namespace

Answer ask(const std::string& text) { return run(text).answer; }

bool has_solver() { return !solver().empty(); }

bool all_proofs() { return std::getenv("VRX_PROVE_ALL") != nullptr; }

void expect_proved(const std::string& text, const std::string& what) { expect(text, what, Answer::unsat, "proved"); }

void expect_refuted(const std::string& text, const std::string& what) { expect(text, what, Answer::sat, "control"); }

}  // namespace vrx::prove
