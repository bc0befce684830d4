// Compiles against the older include paths: each still declares the same names.
#include <vrx/cipher.hpp>
#include <vrx/curves.hpp>
#include <vrx/hash.hpp>
#include <vrx/numbers.hpp>
#include <vrx/result.hpp>
#include <vrx/tables.hpp>
#include <vrx/types.hpp>

#include <type_traits>

static_assert(std::is_same_v<decltype(vrx::encrypt_block(vrx::Block(), vrx::Key(), vrx_tz())), vrx::Block>);
static_assert(std::is_base_of_v<vrx::Cipher, vrx::Encryptor> && vrx::Mode::cbc == vrx::Mode{VRX_MODE_CBC});
static_assert(
    std::is_same_v<decltype(vrx::verify(std::declval<vrx::PublicKey>(), vrx::Digest(), vrx::Signature())), bool>);
static_assert(std::is_same_v<decltype(vrx::hash(vrx::Bytes())), vrx::Digest> && sizeof(vrx::Hmac) != 0);
static_assert(std::is_same_v<decltype(vrx::sha1(vrx::Bytes())), vrx::Sha1Digest>);
static_assert(vrx::mp::digits<std::uint32_t[4]> == 4 && vrx::oid::cipher_a.size() == VRX_PAR_OID_SIZE);
static_assert(std::is_same_v<decltype(vrx::deploy(std::string_view())), vrx::Result<vrx_tz>>);
static_assert(vrx::Error::failed == vrx::Error{VRX_ERR_FAILED});
