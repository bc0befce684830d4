// Single-stepping with ptrace(), and the memory operands of instructions.
#include "trace.hpp"

#include <capstone/capstone.h>
#include <sched.h>
#include <sys/ptrace.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>

namespace vrx::test {
namespace {

/** The general-purpose registers. The index is the number of the register in encoded instructions. */
constexpr unsigned long long user_regs_struct::*registers_by_number[] = {
    &user_regs_struct::rax, &user_regs_struct::rcx, &user_regs_struct::rdx, &user_regs_struct::rbx,
    &user_regs_struct::rsp, &user_regs_struct::rbp, &user_regs_struct::rsi, &user_regs_struct::rdi,
    &user_regs_struct::r8,  &user_regs_struct::r9,  &user_regs_struct::r10, &user_regs_struct::r11,
    &user_regs_struct::r12, &user_regs_struct::r13, &user_regs_struct::r14, &user_regs_struct::r15};
constexpr x86_reg names_by_number[] = {X86_REG_RAX, X86_REG_RCX, X86_REG_RDX, X86_REG_RBX, X86_REG_RSP, X86_REG_RBP,
                                       X86_REG_RSI, X86_REG_RDI, X86_REG_R8,  X86_REG_R9,  X86_REG_R10, X86_REG_R11,
                                       X86_REG_R12, X86_REG_R13, X86_REG_R14, X86_REG_R15};

/** The registers of a memory operand. The other parts of its address are constant. */
struct Operand {
    std::optional<std::size_t> base;
    std::optional<std::size_t> index;
    unsigned scale = 1;
};

std::uint64_t address(const Operand& operand, const user_regs_struct& registers) {
    const auto value = [&](const std::optional<std::size_t>& number) {
        return number ? registers.*registers_by_number[*number] : 0;
    };
    return value(operand.base) + operand.scale * value(operand.index);
}

std::string hex(const std::uint8_t* bytes, std::size_t count) {
    std::string text;
    char digits[4];
    for (std::size_t i = 0; i < count; ++i) {
        std::snprintf(digits, sizeof digits, "%02x ", unsigned{bytes[i]});
        text += digits;
    }
    return text;
}

/** Instructions with VEX and EVEX prefixes. The disassembler does not know all of them, but all of them encode operands
 * in the same way.
 */
class VectorInstruction {
public:
    explicit VectorInstruction(const std::uint8_t* code) {
        // The position of the opcode, and the prefix byte that extends register numbers, if there is one.
        const std::size_t opcode_at = *code == two_bytes ? 2 : *code == three_bytes ? 3 : 4;
        const std::uint8_t extensions = *code == two_bytes ? 0xe1 : code[1];
        map_ = *code == two_bytes ? 1 : extensions & (*code == evex ? 7U : 31U);
        opcode_ = code[opcode_at];
        modrm_ = code[opcode_at + 1];
        sib_ = code[opcode_at + 2];
        extend_index_ = (extensions & 0x40U) == 0;
        extend_base_ = (extensions & 0x20U) == 0;
    }

    static bool begins_with(std::uint8_t byte) { return byte == two_bytes || byte == three_bytes || byte == evex; }

    [[nodiscard]] std::optional<Operand> memory() const {
        if (map_ == 1 && opcode_ == 0x77) return std::nullopt;  // vzeroupper has no operands
        if (map_ == 2 && ((opcode_ >= 0x90 && opcode_ <= 0x93) || (opcode_ >= 0xa0 && opcode_ <= 0xa3)))
            throw std::runtime_error("a gather: its addresses are in a vector register");
        const unsigned mod = modrm_ >> 6;
        const unsigned rm = modrm_ & 7U;
        // The operand is a register, or its address is relative to the instruction pointer.
        if (mod == 3 || (mod == 0 && rm == 5)) return std::nullopt;
        Operand operand;
        const unsigned base = rm == 4 ? sib_ & 7U : rm;
        if (rm != 4 || mod != 0 || base != 5) operand.base = base + (extend_base_ ? 8U : 0U);
        if (rm == 4) {
            const unsigned index = (sib_ >> 3 & 7U) + (extend_index_ ? 8U : 0U);
            if (index != 4) operand.index = index;
            operand.scale = 1U << (sib_ >> 6);
        }
        return operand;
    }

private:
    static constexpr std::uint8_t two_bytes = 0xc5, three_bytes = 0xc4, evex = 0x62;
    unsigned map_;
    std::uint8_t opcode_, modrm_, sib_;
    bool extend_index_, extend_base_;
};

/** The memory operands of the instructions of this program, which the child shares. */
class Decoder {
public:
    Decoder() {
        if (cs_open(CS_ARCH_X86, CS_MODE_64, &handle_) != CS_ERR_OK) throw std::runtime_error("no disassembler");
        cs_option(handle_, CS_OPT_DETAIL, CS_OPT_ON);
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    ~Decoder() { cs_close(&handle_); }

    const std::vector<Operand>& operands(std::uint64_t at) {
        const auto [place, is_new] = known_.try_emplace(at);
        if (is_new) place->second = decode(at);
        return place->second;
    }

private:
    std::vector<Operand> decode(std::uint64_t at) {
        constexpr std::size_t longest = 15;
        const auto* code = reinterpret_cast<const std::uint8_t*>(at);
        std::vector<Operand> operands;
        if (VectorInstruction::begins_with(*code)) {
            if (const auto operand = VectorInstruction(code).memory()) operands.push_back(*operand);
            return operands;
        }
        cs_insn* instruction = nullptr;
        if (cs_disasm(handle_, code, longest, at, 1, &instruction) != 1)
            throw std::runtime_error("an instruction unknown to the disassembler: " + hex(code, longest));
        const cs_x86& x86 = instruction->detail->x86;
        const bool only_computes = instruction->id == X86_INS_LEA || instruction->id == X86_INS_NOP;
        for (unsigned i = 0; i < x86.op_count; ++i)
            if (!only_computes && x86.operands[i].type == X86_OP_MEM)
                operands.push_back(operand_of(x86.operands[i].mem));
        cs_free(instruction, 1);
        return operands;
    }

    static Operand operand_of(const x86_op_mem& memory) {
        return {number(memory.base), number(memory.index), static_cast<unsigned>(memory.scale)};
    }
    static std::optional<std::size_t> number(x86_reg reg) {
        if (reg == X86_REG_INVALID || reg == X86_REG_RIP || reg == X86_REG_RIZ) return std::nullopt;
        const auto* place = std::ranges::find(names_by_number, reg);
        if (place == std::end(names_by_number)) throw std::runtime_error("an address in an unexpected register");
        return static_cast<std::size_t>(place - names_by_number);
    }

    csh handle_{};
    std::unordered_map<std::uint64_t, std::vector<Operand>> known_;
};

void add(std::uint64_t& hash, std::uint64_t address) { hash = (hash ^ address) * 0x100000001b3 + (hash >> 32); }

void add(Trace& trace, const user_regs_struct& registers, Decoder& decoder) {
    ++trace.instructions;
    add(trace.hash_of_code, registers.rip);
    for (const Operand& operand : decoder.operands(registers.rip)) add(trace.hash_of_data, address(operand, registers));
}

[[noreturn]] void run_child(const std::function<void()>& all) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(cannot_trace);
    std::raise(SIGSTOP);
    all();
    _exit(0);
}

/**
 * While this object exists, the process and its children run on one CPU. They run alternately, and waking another CPU
 * would be slow.
 */
class OneProcessor {
public:
    OneProcessor() {
        sched_getaffinity(0, sizeof before_, &before_);
        cpu_set_t here;
        CPU_ZERO(&here);
        CPU_SET(static_cast<unsigned>(sched_getcpu()), &here);
        sched_setaffinity(0, sizeof here, &here);
    }
    ~OneProcessor() { sched_setaffinity(0, sizeof before_, &before_); }
    OneProcessor(const OneProcessor&) = delete;
    OneProcessor& operator=(const OneProcessor&) = delete;

private:
    cpu_set_t before_{};
};

}  // namespace

void trace_begins() { asm volatile("int3" : : : "memory"); }
[[gnu::noinline]] void trace_ends() { asm volatile("" : : : "memory"); }

std::vector<Trace> traces_of(const std::function<void()>& all) {
    const OneProcessor one_processor;
    Decoder decoder;
    std::vector<Trace> traces;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) run_child(all);
    int status = 0;
    waitpid(child, &status, 0);
    bool settled = false;
    for (auto step = PTRACE_CONT; WIFSTOPPED(status);) {
        user_regs_struct registers{};
        ptrace(PTRACE_GETREGS, child, nullptr, &registers);
        if (step == PTRACE_CONT && WSTOPSIG(status) == SIGTRAP) {
            if (settled) {
                step = PTRACE_SINGLESTEP;
                traces.emplace_back();
            }
            settled = true;
        }
        if (registers.rip == reinterpret_cast<std::uint64_t>(&trace_ends)) step = PTRACE_CONT;
        if (step == PTRACE_SINGLESTEP) add(traces.back(), registers, decoder);
        if (ptrace(step, child, nullptr, nullptr) != 0) break;
        waitpid(child, &status, 0);
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == cannot_trace) std::exit(cannot_trace);
    return traces;
}

bool are_the_same(const char* what, const std::vector<Trace>& traces, std::size_t count) {
    const Trace first = traces.empty() ? Trace{} : traces.front();
    const bool same_code = std::ranges::all_of(traces, [&](const Trace& t) {
        return t.instructions == first.instructions && t.hash_of_code == first.hash_of_code;
    });
    const bool same_data =
        std::ranges::all_of(traces, [&](const Trace& t) { return t.hash_of_data == first.hash_of_data; });
    std::printf("%s: %llu instructions, %s code, %s data\n", what, static_cast<unsigned long long>(first.instructions),
                same_code ? "equal" : "different", same_data ? "equal" : "different");
    return traces.size() == count && first.instructions != 0 && same_code && same_data;
}

}  // namespace vrx::test
