// Tests that calls leave no secrets on the stack and in registers. Usage: residue [--small-stack] [--figures]
// [--depths] FAMILY..., or residue --list, which prints the names of the called functions. With --depths, nothing is
// erased, so the output shows how deep the library must erase the stack. With --small-stack, the calls run on a stack
// of 64 KiB.
#include <cstdio>
#include <cstring>
#include <set>
#include <string>

#include "ecc/field/engine.hpp"
#include "frame/secret_work.hpp"
#include "gost28147/engine/list.hpp"
#include "gostr3411/engine.hpp"
#include "probes.hpp"
#include "sha1/compress.hpp"
#include "support/offered.hpp"

namespace {

using namespace vrx::test;

constexpr int cannot_probe = 77;

struct Figures {
    std::size_t calls = 0;
    std::size_t stack = 0;
    std::size_t registers = 0;
    std::size_t words = 0;  // the call that leaves the most on the stack
    std::size_t deepest = 0;
    std::size_t used = 0;

    void add(const Residue& r) {
        ++calls;
        stack += r.stack != 0;
        registers += r.in_registers();
        words = std::max(words, r.stack);
        deepest = std::max(deepest, r.deepest);
        used = std::max(used, r.used);
    }
};

bool silent = false;

void print(const char* what, const Figures& f) {
    std::printf(
        "%-20s %6zu calls: %5zu leave words on the stack (at most %zu, %zu bytes deep of %zu), %5zu in registers\n",
        what, f.calls, f.stack, f.words, f.deepest, f.used, f.registers);
}

Figures probe_all(const char* family, const char* engine) {
    Figures figures;
    for (const Probe& p : probes_of(family)) {
        const Residue r = probe(p);
        figures.add(r);
        if (!r.clean() && !silent)
            std::printf(
                "%s %s %s: %zu words on the stack, %zu bytes deep; %zu words in vector registers, %zu general "
                "registers, %zu words in the frame of a signal%s\n",
                family, engine, p.name.c_str(), r.stack, r.deepest, r.vectors, r.general, r.signal,
                r.x87 ? ", x87" : "");
    }
    print((std::string(family) + "/" + engine).c_str(), figures);
    return figures;
}

template <auto& choice>
bool each_engine(const char* family, const auto& engines) {
    bool clean = true;
    for (const auto* engine : offered_of(engines)) {
        const WithEngine<choice> with(*engine);
        const Figures f = probe_all(family, engine->name);
        clean = clean && f.stack == 0 && f.registers == 0;
    }
    return clean;
}

bool without_engines(const char* family) {
    const Figures f = probe_all(family, "any");
    return f.stack == 0 && f.registers == 0;
}

/** The functions that the probes call. */
void list() {
    std::set<std::string> names;
    for (const char* family : {"cipher", "hash", "sha1", "curves", "numbers"})
        for (const Probe& p : probes_of(family)) names.insert(p.name.substr(0, p.name.find('/')));
    for (const std::string& name : names) std::puts(name.c_str());
}

/** The controls: the test must find residue in every call. */
bool control() {
    bool found = true;
    for (const Probe& p : probes_of("control")) {
        const Residue r = probe(p);
        const bool seen = p.name == "stack"    ? r.stack >= 8
                          : p.name == "vector" ? r.vectors == 4 && r.signal >= 4
                                               : r.general == 1 && r.signal >= 2;
        if (!seen) std::printf("control %s was not found\n", p.name.c_str());
        found = found && seen;
    }
    return found;
}

}  // namespace

int main(int argc, char** argv) {
    if (!can_probe()) return cannot_probe;
    bool clean = true;
    for (int i = 1; i < argc; ++i) {
        const std::string family = argv[i];
        if (family == "--figures") {
            silent = true;
        } else if (family == "--small-stack") {
            use_stack_of(1 << 16);
        } else if (family == "--depths") {
            static constexpr vrx::Eraser none = {{"none"}, [](std::size_t) noexcept {}, [](std::size_t) noexcept {}};
            vrx::eraser.use(none);
        } else if (family == "--list") {
            list();
        } else if (family == "numbers") {
            clean = without_engines("numbers") && clean;
        } else if (family == "control") {
            clean = control() && clean;
        } else if (family == "cipher") {
            clean = each_engine<vrx::gost28147::choice>("cipher", vrx::gost28147::engines) && clean;
        } else if (family == "hash") {
            clean = each_engine<vrx::gostr3411::choice>("hash", vrx::gostr3411::engines) && clean;
        } else if (family == "sha1") {
            clean = each_engine<vrx::sha1::choice>("sha1", vrx::sha1::engines) && clean;
        } else if (family == "curves") {
            clean = each_engine<vrx::field::choice>("curves", vrx::field::engines) && clean;
        } else {
            std::fputs(
                "usage: residue --list | [--small-stack] [--figures] [--depths] control | cipher | hash | sha1 | "
                "curves | numbers ...\n",
                stderr);
            return 2;
        }
    }
    return clean ? 0 : 1;
}
