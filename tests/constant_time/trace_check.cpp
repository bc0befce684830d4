// The same operations, instruction by instruction: a parent single-steps a child and takes note of every address at
// which it executes something. The list has to be the same for every secret. This covers what the memory checker cannot
// run, the vector engine. Usage: trace_check ENGINE | control
#include <sys/ptrace.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "ecc/field/engines.hpp"
#include "vrx.h"

namespace {

constexpr int cannot_trace = 77;

/** Stops for the parent, which takes single steps from here. */
void trace_begins() { asm volatile("int3" : : : "memory"); }
[[gnu::noinline]] void trace_ends() { asm volatile("" : : : "memory"); }

struct Number {
    std::uint32_t d[VRX_ECC_DIGITS];
};
constexpr Number secrets[] = {
    {{1}},  // the first run of an operation settles what is settled once
    {{0x89abcdef, 0x01234567, 0xdeadbeef, 0x0badcafe, 0x13579bdf, 0x2468ace0, 0x11111111, 0x22222222}},
    {{0x0000fffe, 0, 0xffffffff, 0xffffffff, 0, 0, 0, 0x7fffffff}},
};
Number nonce;
int draw(void* buffer, std::uint32_t length) {
    std::memcpy(buffer, &nonce, length);
    return 0;
}

EcPoint peer_of(const EcParamSet& set) {
    EcPoint peer;
    const Number three = {{3}};
    ecGeneratePublicKey(&set, three.d, &peer);
    return peer;
}

void sign(const EcParamSet& set, const Number& secret) {
    constexpr std::uint32_t digest[VRX_ECC_DIGEST_WORDS] = {1, 2, 3, 4, 5, 6, 7, 8};
    nonce = secret;
    EcSignature sig;
    trace_begins();
    ecSign(&set, digest, draw, secret.d, &sig);
    trace_ends();
}

void make_key(const EcParamSet& set, const Number& secret) {
    nonce = secret;
    Number d;
    EcPoint key;
    trace_begins();
    ecGenerateKeyPair(&set, draw, d.d, &key);
    trace_ends();
}

void agree(const EcParamSet& set, const Number& secret) {
    const vrx_data oid{VRX_PAR_OID_SIZE, const_cast<std::uint8_t*>(VRX_PAR_HASH_1_OID)};
    constexpr std::uint8_t ukm[VRX_UKM_SIZE] = {1};
    const EcPoint peer = peer_of(set);
    std::uint8_t kek[VRX_KEK_SIZE];
    trace_begins();
    ecMakeKEK(&set, &oid, ukm, secret.d, &peer, kek);
    trace_ends();
}

/** Works by the bits of the secret, and has to be seen doing so. */
void leak(const EcParamSet&, const Number& secret) {
    volatile unsigned ones = 0;
    trace_begins();
    for (unsigned i = 0; i < 64; ++i)
        if ((secret.d[i / 32] >> i % 32 & 1) != 0) ones = ones + 1;
    trace_ends();
}

using Operation = void (*)(const EcParamSet&, const Number&);

struct Trace {
    std::uint64_t instructions = 0;
    std::uint64_t hash = 0xcbf29ce484222325;
    void add(std::uint64_t address) {
        ++instructions;
        hash = (hash ^ address) * 0x100000001b3;
    }
    bool operator==(const Trace&) const = default;
};

[[noreturn]] void run_child(Operation operation, const EcParamSet& set) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(cannot_trace);
    std::raise(SIGSTOP);
    for (const Number& secret : secrets) operation(set, secret);
    _exit(0);
}

/** What the child executes from one mark to the other, for each secret but the first. */
std::vector<Trace> traces_of(Operation operation, const EcParamSet& set) {
    std::vector<Trace> traces;
    const pid_t child = fork();
    if (child == 0) run_child(operation, set);
    int status = 0;
    waitpid(child, &status, 0);
    bool settled = false;
    for (auto step = PTRACE_CONT; WIFSTOPPED(status);) {
        const auto at = static_cast<std::uint64_t>(
            ptrace(PTRACE_PEEKUSER, child, offsetof(user, regs) + offsetof(user_regs_struct, rip), nullptr));
        if (step == PTRACE_CONT && WSTOPSIG(status) == SIGTRAP) {
            if (settled) {
                step = PTRACE_SINGLESTEP;
                traces.emplace_back();
            }
            settled = true;
        }
        if (at == reinterpret_cast<std::uint64_t>(&trace_ends)) step = PTRACE_CONT;
        if (step == PTRACE_SINGLESTEP) traces.back().add(at);
        if (ptrace(step, child, nullptr, nullptr) != 0) break;
        waitpid(child, &status, 0);
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == cannot_trace) std::exit(cannot_trace);
    return traces;
}

/** Whether all of them are the same. */
bool is_constant(const char* what, Operation operation, std::uint32_t index) {
    const auto traces = traces_of(operation, *get_GOSTR3410_par(index));
    bool same = traces.size() == std::size(secrets) - 1;
    for (const Trace& trace : traces) same &= trace == traces.front();
    std::printf("%s on set %u: %llu instructions, %s\n", what, index,
                traces.empty() ? 0ull : static_cast<unsigned long long>(traces.front().instructions),
                same ? "the same" : "they differ");
    return same;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string name = argc == 2 ? argv[1] : "";
    if (name == "control") return is_constant("leak", leak, 1) ? 1 : 0;
    const auto* engine = vrx::test::engine_named(name);
    if (engine == nullptr) {
        std::fprintf(stderr, "%s does not run here\n", name.c_str());
        return cannot_trace;
    }
    const vrx::test::ForcedEngine forced(*engine);
    bool constant = true;
    for (const std::uint32_t set : {1u, 3u}) constant &= is_constant("signing", sign, set);
    constant &= is_constant("making a key", make_key, 1);
    constant &= is_constant("agreement", agree, 1);
    return constant ? 0 : 1;
}
