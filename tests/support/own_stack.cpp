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
    const std::size_t size = std::min<std::size_t>(8, secret.size());
    for (std::size_t at = 0; at + size <= secret.size(); ++at)
        if (std::ranges::search(memory, secret.subspan(at, size)).begin() != memory.end()) return true;
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
