// Password-based key derivation: PBKDF2 (RFC 8018) and the method of PKCS #12 (RFC 7292, appendix B).
#include <algorithm>
#include <array>
#include <cstdlib>

#include "frame/bytes.hpp"
#include "frame/log.hpp"
#include "frame/secret_work.hpp"
#include "frame/wipe.hpp"
#include "gostr3411/hmac.hpp"
#include "vrx/kdf.h"

namespace log = vrx::log;
using namespace vrx::gostr3411;

namespace {

using Digest = std::array<std::uint8_t, VRX_HASH_SIZE>;

/** Returns the number of 32-byte blocks that hold the given number of bytes. */
constexpr std::size_t blocks(std::int32_t bytes) {
    return bytes > 0 ? (static_cast<std::size_t>(bytes) + VRX_HASH_BLOCK_SIZE - 1) / VRX_HASH_BLOCK_SIZE : 0;
}

/** Repeats `text` to fill whole blocks, and truncates the last copy. Returns the end of the last block. */
std::uint8_t* repeat(const std::uint8_t* text, std::int32_t len, std::uint8_t* out) {
    std::size_t room = blocks(len) * VRX_HASH_BLOCK_SIZE;
    while (room != 0) {
        const std::size_t count = std::min(room, static_cast<std::size_t>(len));
        std::memcpy(out, text, count);
        out += count;
        room -= count;
    }
    return out;
}

/** Computes n = n + b + 1 modulo 2^256, for big-endian numbers. */
void add_and_increment(std::uint8_t* n, const Digest& b) {
    unsigned carry = 1;
    for (std::size_t i = b.size(); i-- != 0;) {
        carry += static_cast<unsigned>(n[i]) + b[i];
        n[i] = static_cast<std::uint8_t>(carry);
        carry >>= 8;
    }
}

/**
 * S | P of PKCS #12: salt and password, each repeated to fill whole blocks. They are on the heap, because their size is
 * not limited.
 */
class Input {
public:
    Input(const std::uint8_t* salt, std::int32_t salt_len, const std::uint8_t* password, std::int32_t password_len)
        : size_((blocks(salt_len) + blocks(password_len)) * VRX_HASH_BLOCK_SIZE),
          bytes_(static_cast<std::uint8_t*>(std::malloc(size_ == 0 ? 1 : size_))) {
        if (bytes_ != nullptr) repeat(password, password_len, repeat(salt, salt_len, bytes_));
    }
    ~Input() {
        if (bytes_ != nullptr) vrx::wipe(bytes_, size_);
        std::free(bytes_);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    [[nodiscard]] const std::uint8_t* bytes() const { return bytes_; }
    /** Returns the size, in the type of the parameter of GOSTR3411_Update(). */
    [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(size_); }

    /** Adds b + 1 to every block. */
    void advance(const Digest& b) {
        for (std::size_t i = 0; i < size_; i += b.size()) add_and_increment(bytes_ + i, b);
    }

private:
    std::size_t size_;
    std::uint8_t* bytes_;
};

/** Computes a = H(a), `iterations` - 1 times. ctx receives the final state of the last hash. */
void iterate(GOSTR3411_CTX& ctx, Digest& a, std::uint64_t iterations) {
    if (iterations < 2) return;
    const Substitution by(ctx.table);
    State s{};
    s.hash = load(a.data());
    for (std::uint64_t k = 2; k <= iterations; ++k) {
        const Uint256 message = s.hash;
        s = {};
        close(s, message, 8 * VRX_HASH_BLOCK_SIZE, by);
    }
    resume(ctx, s);
    store(a.data(), s.hash);
}

}  // namespace

int GOSTR3411_PKCS5_PBKDF2(const std::uint8_t* password, std::uint32_t password_len, const std::uint8_t* salt,
                           std::uint64_t salt_len, std::uint64_t iterations, const std::uint8_t* oid,
                           std::uint32_t oid_len, std::uint8_t* out, std::uint64_t out_len) {
    if (out_len < VRX_PBKDF2_SIZE)
        return log::condition("GOSTR3411_PKCS5_PBKDF2", "output key length < 32", VRX_ERR_FAILED);
    return vrx::secret_work<vrx::depth::derivation>([&]() -> int {
        vrx::Secret<GOSTR3411_HMAC_CTX> secret;
        GOSTR3411_HMAC_CTX& ctx = secret.value;
        if (const int rc = GOSTR3411_HMAC_Init(&ctx, oid, oid_len, password, password_len))
            return log::returned("GOSTR3411_HMAC_Init", rc);
        if (const int rc = GOSTR3411_HMAC_Update(&ctx, salt, static_cast<std::uint32_t>(salt_len)))
            return log::returned("GOSTR3411_HMAC_Update", rc);
        // These two calls cannot fail.
        constexpr std::uint8_t first_block[] = {0, 0, 0, 1};
        GOSTR3411_HMAC_Update(&ctx, first_block, sizeof first_block);
        std::uint32_t size;
        GOSTR3411_HMAC_Final(&ctx, nullptr, &size);

        // Every iteration starts from the same two states, so the pads are hashed only once.
        const Substitution by(ctx.hash.table);
        const Keyed key = keyed(ctx.ipad_key, ctx.opad_key, by);
        Uint256 u = load(ctx.digest);
        Uint256 t = u;
        for (std::uint64_t k = 2; k <= iterations; ++k) {
            u = mac(key, u, by);
            t = t ^ u;
        }
        store(out, t);
        return VRX_OK;
    });
}

int GOSTR3411_PBA_Derive(const std::uint8_t* password, std::int32_t password_len, const std::uint8_t* salt,
                         std::int32_t salt_len, std::uint64_t iterations, std::int32_t id, const std::uint8_t* oid,
                         std::uint32_t oid_len, std::uint8_t* out, std::int32_t out_len) {
    const vrx_gostr3411_par* par = DEFAULT_GOSTR3411_OID;
    if (oid == nullptr)  // Deliberate: the test is inverted, so an identifier that the caller passes is ignored.
        if (const int rc = oidFindGOSTR3411Par(oid, oid_len, &par)) return log::returned("oidFindGOSTR3411Par", rc);
    return vrx::secret_work<vrx::depth::derivation>([&]() -> int {
        vrx::Secret<GOSTR3411_CTX> secret;
        GOSTR3411_CTX& ctx = secret.value;
        if (const int rc = GOSTR3411_Init_ex(&ctx, par->tz)) return log::returned("GOSTR3411_Init_ex", rc);
        Input input(salt, salt_len, password, password_len);
        if (input.bytes() == nullptr) return VRX_ERR_FAILED;

        Digest diversifier;
        diversifier.fill(vrx::low8(id));
        Digest a;
        for (std::int32_t left = out_len; left > 0; left -= static_cast<std::int32_t>(a.size())) {
            // Deliberate: the context is not reset between output blocks, so each hash continues the previous one.
            update(ctx, diversifier.data(), diversifier.size());
            if (const int rc = GOSTR3411_Update(&ctx, input.bytes(), input.size()))
                return log::returned("GOSTR3411_Update", rc);
            final(ctx, a.data());
            iterate(ctx, a, iterations);
            const std::size_t count = std::min(static_cast<std::size_t>(left), a.size());
            std::memcpy(out, a.data(), count);
            out += count;
            input.advance(a);
        }
        return VRX_OK;
    });
}
