// A program compiled without exceptions and RTTI; it instantiates the templates of the C++ headers.
#include <vrx.hpp>

namespace {

vrx::Result<vrx::Signature> everything(vrx::Bytes message, vrx::MutableBytes out) {
    auto key = vrx::Key::random();
    auto iv = vrx::Iv::random();
    if (!key || !iv) return vrx::Error::random;
    vrx::Encryptor cipher(*key, *iv);
    vrx::Cipher moved = std::move(cipher);
    if (const auto done = moved.update(message, out); !done) return done.error();
    if (const auto end = moved.finish(); !end) return end.error();
    if (const auto tag = vrx::mac(*key, out); !tag) return tag.error();
    const auto own = vrx::PrivateKey::generate();
    if (!own) return own.error();
    const auto other = own->public_key();
    if (!other) return other.error();
    const auto shared = vrx::agree(*own, *other, vrx::Ukm({1}));
    if (!shared) return shared.error();
    const auto signature = vrx::sign(*own, vrx::hash(message));
    if (signature && !vrx::verify(*other, vrx::hash(message), *signature)) return vrx::Error::failed;
    if (!vrx::hmac(message, message) || !vrx::pbkdf2(message, message, 1)) return vrx::Error::failed;
    if (!(vrx::sha1(message) == vrx::Sha1().update(message).digest())) return vrx::Error::failed;
    std::uint32_t number[4];
    vrx::mp::from_decimal(number, "12345678901234567890");
    vrx::mp::modular_multiply(number, number, number, std::array<std::uint32_t, 4>{97, 0, 0, 0});
    std::fputs(vrx::mp::to_decimal(number).c_str(), stdout);
    return signature;
}

}  // namespace

extern int without_exceptions();
int without_exceptions() {
    std::uint8_t out[4];
    const auto result = everything(vrx::bytes_of("text"), out);
    if (!result) std::fputs(vrx::text(result.error()), stderr);
    return result.code();
}
