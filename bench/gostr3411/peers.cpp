#include "peers.hpp"

#include <cstring>
#include <memory>

#ifdef VRX_WITH_LIBGCRYPT
#include <gcrypt.h>
#endif
#ifdef VRX_WITH_NETTLE
#include <nettle/gosthash94.h>
#include <nettle/hmac.h>
#include <nettle/pbkdf2.h>
#endif
#ifdef VRX_WITH_GNUTLS
#include <gnutls/crypto.h>
#endif
#ifdef VRX_WITH_BOTAN
#include <botan/hash.h>
#include <botan/mac.h>
#include <botan/pwdhash.h>
#endif
#ifdef VRX_WITH_OPENSSL
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/engine.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#endif

namespace peers {
namespace {

/** The functions of a library for the three tasks. */
struct Functions {
    Function hash, hmac, pbkdf2;
};

Functions libgcrypt() {
#ifdef VRX_WITH_LIBGCRYPT
    gcry_check_version(nullptr);
    return {[](const std::uint8_t* data, std::size_t size) {
                Digest out;
                gcry_md_hash_buffer(GCRY_MD_GOSTR3411_CP, out.data(), data, size);
                return out;
            },
            [](const std::uint8_t* data, std::size_t size) {
                gcry_md_hd_t handle;
                gcry_md_open(&handle, GCRY_MD_GOSTR3411_CP, GCRY_MD_FLAG_HMAC);
                gcry_md_setkey(handle, password.data(), password.size());
                gcry_md_write(handle, data, size);
                Digest out;
                std::memcpy(out.data(), gcry_md_read(handle, 0), out.size());
                gcry_md_close(handle);
                return out;
            },
            [](const std::uint8_t*, std::size_t iterations) {
                Digest out;
                gcry_kdf_derive(password.data(), password.size(), GCRY_KDF_PBKDF2, GCRY_MD_GOSTR3411_CP, salt.data(),
                                salt.size(), iterations, out.size(), out.data());
                return out;
            }};
#else
    return {};
#endif
}

Functions nettle() {
#ifdef VRX_WITH_NETTLE
    return {[](const std::uint8_t* data, std::size_t size) {
                gosthash94cp_ctx ctx;
                gosthash94cp_init(&ctx);
                gosthash94cp_update(&ctx, size, data);
                Digest out;
                gosthash94cp_digest(&ctx, out.size(), out.data());
                return out;
            },
            [](const std::uint8_t* data, std::size_t size) {
                hmac_gosthash94cp_ctx ctx;
                hmac_gosthash94cp_set_key(&ctx, password.size(), password.data());
                hmac_gosthash94cp_update(&ctx, size, data);
                Digest out;
                hmac_gosthash94cp_digest(&ctx, out.size(), out.data());
                return out;
            },
            [](const std::uint8_t*, std::size_t iterations) {
                Digest out;
                pbkdf2_hmac_gosthash94cp(password.size(), password.data(), static_cast<unsigned>(iterations),
                                         salt.size(), salt.data(), out.size(), out.data());
                return out;
            }};
#else
    return {};
#endif
}

Functions gnutls() {
#ifdef VRX_WITH_GNUTLS
    return {[](const std::uint8_t* data, std::size_t size) {
                Digest out{};
                gnutls_hash_fast(GNUTLS_DIG_GOSTR_94, data, size, out.data());
                return out;
            },
            [](const std::uint8_t* data, std::size_t size) {
                Digest out{};
                gnutls_hmac_fast(GNUTLS_MAC_GOSTR_94, password.data(), password.size(), data, size, out.data());
                return out;
            },
            [](const std::uint8_t*, std::size_t iterations) {
                const gnutls_datum_t key{const_cast<unsigned char*>(password.data()), password.size()};
                const gnutls_datum_t s{const_cast<unsigned char*>(salt.data()), salt.size()};
                Digest out{};
                gnutls_pbkdf2(GNUTLS_MAC_GOSTR_94, &key, &s, static_cast<unsigned>(iterations), out.data(), out.size());
                return out;
            }};
#else
    return {};
#endif
}

Functions botan() {
#ifdef VRX_WITH_BOTAN
    const std::shared_ptr<Botan::HashFunction> hash = Botan::HashFunction::create("GOST-34.11");
    const std::shared_ptr<Botan::MessageAuthenticationCode> mac =
        Botan::MessageAuthenticationCode::create("HMAC(GOST-34.11)");
    const std::shared_ptr<Botan::PasswordHashFamily> derivation =
        Botan::PasswordHashFamily::create("PBKDF2(HMAC(GOST-34.11))");
    Functions f;
    if (hash)
        f.hash = [=](const std::uint8_t* data, std::size_t size) {
            hash->update(data, size);
            Digest out;
            hash->final(out.data());
            return out;
        };
    if (mac)
        f.hmac = [=](const std::uint8_t* data, std::size_t size) {
            mac->set_key(password.data(), password.size());
            mac->update(data, size);
            Digest out;
            mac->final(out.data());
            return out;
        };
    if (derivation)
        f.pbkdf2 = [=](const std::uint8_t*, std::size_t iterations) {
            Digest out;
            derivation->from_params(iterations)
                ->derive_key(out.data(), out.size(), reinterpret_cast<const char*>(password.data()), password.size(),
                             salt.data(), salt.size());
            return out;
        };
    return f;
#else
    return {};
#endif
}

Functions openssl() {
#ifdef VRX_WITH_OPENSSL
    static ENGINE* const gost = [] {
        OPENSSL_init_crypto(OPENSSL_INIT_ENGINE_DYNAMIC, nullptr);
        ENGINE* const e = ENGINE_by_id("gost");
        return e != nullptr && ENGINE_init(e) != 0 ? e : nullptr;
    }();
    const EVP_MD* const md = gost == nullptr ? nullptr : ENGINE_get_digest(gost, NID_id_GostR3411_94);
    if (md == nullptr) return {};
    return {[md](const std::uint8_t* data, std::size_t size) {
                Digest out{};
                EVP_Digest(data, size, out.data(), nullptr, md, gost);
                return out;
            },
            [md](const std::uint8_t* data, std::size_t size) {
                Digest out{};
                HMAC(md, password.data(), static_cast<int>(password.size()), data, size, out.data(), nullptr);
                return out;
            },
            [md](const std::uint8_t*, std::size_t iterations) {
                Digest out{};
                PKCS5_PBKDF2_HMAC(reinterpret_cast<const char*>(password.data()), static_cast<int>(password.size()),
                                  salt.data(), static_cast<int>(salt.size()), static_cast<int>(iterations), md,
                                  static_cast<int>(out.size()), out.data());
                return out;
            }};
#else
    return {};
#endif
}

}  // namespace

const std::vector<Row>& rows() {
    static const std::vector<Row> all = [] {
        std::vector<Row> r;
        const auto add = [&](const char* name, const char* package, const Functions& f) {
            r.push_back({"hash", name, package, f.hash});
            r.push_back({"hmac", name, package, f.hmac});
            r.push_back({"pbkdf2", name, package, f.pbkdf2});
        };
        add("libgcrypt", "libgcrypt20-dev", libgcrypt());
        add("nettle", "nettle-dev", nettle());
        add("gnutls", "libgnutls28-dev", gnutls());
        add("botan", "libbotan-2-dev", botan());
        add("openssl-gost", "libssl-dev or libengine-gost-openssl", openssl());
        add("crypto++", "a Crypto++ with GOST R 34.11-94", {});
        return r;
    }();
    return all;
}

}  // namespace peers
