#include "support/own_stack.hpp"

#include <ucontext.h>

#include <algorithm>
#include <cstring>
#include <unordered_set>

namespace vrx::test {
namespace {

const std::function<void()>* running;
void run() { (*running)(); }

}  // namespace

Bytes stack_after(const std::function<void()>& body) {
    Bytes stack(256 * 1024);
    ucontext_t back;
    ucontext_t there;
    getcontext(&there);
    there.uc_stack.ss_sp = stack.data();
    there.uc_stack.ss_size = stack.size();
    there.uc_link = &back;
    running = &body;
    makecontext(&there, run, 0);
    swapcontext(&back, &there);
    return stack;
}

bool holds_part_of(const Bytes& memory, std::span<const std::uint8_t> secret) {
    if (secret.size() < sizeof(std::uint64_t)) return std::ranges::search(memory, secret).begin() != memory.end();
    const auto window = [](const std::uint8_t* bytes) {
        std::uint64_t value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    };
    std::unordered_set<std::uint64_t> wanted;
    for (std::size_t at = 0; at + sizeof(std::uint64_t) <= secret.size(); ++at) wanted.insert(window(&secret[at]));
    // Most of a stack is zero, so zeros have an answer that takes no search.
    const bool zeros = wanted.contains(0);
    for (std::size_t at = 0; at + sizeof(std::uint64_t) <= memory.size(); ++at) {
        const std::uint64_t value = window(&memory[at]);
        if (value == 0 ? zeros : wanted.contains(value)) return true;
    }
    return false;
}

bool holds_word_of(const Bytes& memory, std::span<const std::uint8_t> secret) {
    const auto words_of = [](std::span<const std::uint8_t> bytes) {
        std::unordered_set<std::uint32_t> words;
        for (std::size_t at = 0; at + 4 <= bytes.size(); at += 4) {
            std::uint32_t word;
            std::memcpy(&word, bytes.data() + at, sizeof word);
            if (word != 0) words.insert(word);
        }
        return words;
    };
    const auto left = words_of(memory);
    return std::ranges::any_of(words_of(secret), [&](std::uint32_t word) { return left.contains(word); });
}

}  // namespace vrx::test
