#include "keys/keys.hpp"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <span>
#include <string_view>

#include "io/failure.hpp"
#include "io/place.hpp"
#include "io/text.hpp"

namespace vrx::app {
namespace {

constexpr std::size_t longest_secret = 16 * 1024 * 1024;

/** Print one warning if the limit for locked memory is too low. */
void warn_of_swap() {
    static bool said = false;
    if (!said)
        say("warning: the memory of secrets cannot be locked and may be swapped out; raise the limit with ulimit -l");
    said = true;
}

}  // namespace

SecretPages::SecretPages(std::size_t size)
    : guard_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
      size_((size + guard_ - 1) / guard_ * guard_),
      pages_(nullptr),
      protection_(Protection::none) {
    // Keep secrets out of core dumps, and deny access to other processes of the same user.
    prctl(PR_SET_DUMPABLE, 0);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    void* const all = mmap(nullptr, size_ + 2 * guard_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (all == MAP_FAILED) throw SystemFailure("cannot get memory for a key", errno);
    pages_ = static_cast<char*>(all) + guard_;
    if (hide()) {
        protection_ = Protection::hidden;
    } else if (mmap(pages_, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) ==
               MAP_FAILED) {
        const int error = errno;
        munmap(all, size_ + 2 * guard_);
        throw SystemFailure("cannot get memory for a key", error);
    } else if (lock()) {
        protection_ = Protection::locked;
    } else {
        warn_of_swap();
    }
    madvise(pages_, size_, MADV_DONTDUMP);
}

/** Replace the pages with secret memory of the kernel, which is never swapped out. After a failure, the pages may be
 * unmapped.
 */
bool SecretPages::hide() const {
    const Descriptor memory(static_cast<int>(syscall(SYS_memfd_secret, O_CLOEXEC)));
    if (!memory.is_open() || ftruncate(memory.get(), static_cast<off_t>(size_)) != 0) return false;
    if (mmap(pages_, size_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, memory.get(), 0) == MAP_FAILED)
        return false;
    madvise(pages_, size_, MADV_DONTFORK);
    return true;
}

bool SecretPages::lock() const {
    madvise(pages_, size_, MADV_WIPEONFORK);
    return mlock(pages_, size_) == 0;
}

SecretPages::~SecretPages() {
    explicit_bzero(pages_, size_);
    munmap(static_cast<char*>(pages_) - guard_, size_ + 2 * guard_);
}

void SecretBytes::make_room() {
    auto larger = std::make_unique<SecretPages>(2 * capacity_);
    std::memcpy(larger->get(), begin(), size_);
    pages_ = std::move(larger);
    capacity_ *= 2;
}

void SecretBytes::push_back(std::uint8_t byte) {
    if (size_ == capacity_) make_room();
    begin()[size_++] = byte;
}

bool SecretBytes::append_from(Input& file) {
    if (size_ == capacity_) make_room();
    const std::size_t got = file.read({begin() + size_, capacity_ - size_});
    size_ += got;
    return got > 0;
}

void read_secret(Input& file, SecretBytes& secret) {
    while (secret.append_from(file))
        if (secret.bytes().size() > longest_secret)
            throw Failure(file.shown() +
                          " holds more than 16 MiB, which is too long for a secret; name the right file");
}

bool equal_in_constant_time(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) {
    if (a.size() != b.size()) return false;
    volatile std::uint8_t difference = 0;
    for (std::size_t i = 0; i < a.size(); ++i) difference = difference | (a[i] ^ b[i]);
    return difference == 0;
}

void decode_hex(SecretBytes& secret, const std::string& what) {
    const std::string_view digits = without_line_end(secret.text());
    if (!from_hex(digits, secret.bytes().first(digits.size() / 2)))
        throw Failure(what +
                      " is not an even number of hexadecimal digits; check that nothing is missing, and no other "
                      "character among them");
    secret.truncate(digits.size() / 2);
}

void warn_if_others_can_read(const Input& file, const char* what) {
    if (!S_ISREG(file.mode()) || (file.mode() & 077) == 0) return;
    say(std::string("warning: others than its owner have access to the ") + what + " file " + file.shown() +
        "; take that away with chmod 600");
}

}  // namespace vrx::app
