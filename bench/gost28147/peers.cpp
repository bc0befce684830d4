#include "peers.hpp"

#include <array>
#include <memory>

#ifdef VRX_WITH_LIBGCRYPT
#include <gcrypt.h>
#endif
#ifdef VRX_WITH_BOTAN
#include <botan/block_cipher.h>
#endif
#ifdef VRX_WITH_CRYPTOPP
#include <cryptopp/gost.h>
#include <cryptopp/modes.h>
#endif
#ifdef VRX_WITH_GNUTLS
#include <gnutls/crypto.h>
#endif
#ifdef VRX_WITH_OPENSSL
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/engine.h>
#include <openssl/evp.h>
#endif

namespace peers {
namespace {

using Job = std::function<void()>;
using Rows = std::vector<Row>;

constexpr std::array<std::uint8_t, 32> key = {1, 2, 3, 4, 5, 6, 7, 8};
[[maybe_unused]] constexpr std::array<std::uint8_t, 8> iv = {1, 2, 3, 4, 5, 6, 7, 8};

void libgcrypt(Rows& rows) {
    const char* const package = "libgcrypt20-dev";
    const auto add = [&](const char* mode, auto open) { rows.push_back({mode, "libgcrypt", package, open}); };
#ifdef VRX_WITH_LIBGCRYPT
    gcry_check_version(nullptr);
    const auto cipher = [](int mode, bool decrypt) {
        return [=](const std::uint8_t* in, std::uint8_t* out, std::size_t size) -> Job {
            gcry_cipher_hd_t raw = nullptr;
            if (gcry_cipher_open(&raw, GCRY_CIPHER_GOST28147, mode, 0) != 0) return {};
            const std::shared_ptr<gcry_cipher_handle> handle(raw, gcry_cipher_close);
            gcry_cipher_ctl(raw, GCRYCTL_SET_SBOX, const_cast<char*>("1.2.643.2.2.31.1"), 0);
            gcry_cipher_setkey(raw, key.data(), key.size());
            gcry_cipher_setiv(raw, iv.data(), iv.size());
            gcry_cipher_setctr(raw, iv.data(), iv.size());
            if (decrypt) return [=] { gcry_cipher_decrypt(handle.get(), out, size, in, size); };
            return [=] { gcry_cipher_encrypt(handle.get(), out, size, in, size); };
        };
    };
    add("ecb_encrypt", cipher(GCRY_CIPHER_MODE_ECB, false));
    add("ecb_decrypt", cipher(GCRY_CIPHER_MODE_ECB, true));
    add("counter", cipher(GCRY_CIPHER_MODE_CTR, false));
    add("cbc_encrypt", cipher(GCRY_CIPHER_MODE_CBC, false));
    add("cbc_decrypt", cipher(GCRY_CIPHER_MODE_CBC, true));
    add("cfb_encrypt", cipher(GCRY_CIPHER_MODE_CFB, false));
    add("cfb_decrypt", cipher(GCRY_CIPHER_MODE_CFB, true));
    add("mac", [](const std::uint8_t* in, std::uint8_t*, std::size_t size) -> Job {
        gcry_mac_hd_t raw = nullptr;
        if (gcry_mac_open(&raw, GCRY_MAC_GOST28147_IMIT, 0, nullptr) != 0) return {};
        const std::shared_ptr<gcry_mac_handle> handle(raw, gcry_mac_close);
        gcry_mac_setkey(raw, key.data(), key.size());
        return [=] { gcry_mac_write(handle.get(), in, size); };
    });
#else
    for (const char* mode : {"ecb_encrypt", "counter", "cbc_encrypt", "cfb_encrypt", "mac"}) add(mode, nullptr);
#endif
}

void botan(Rows& rows) {
    const auto add = [&](const char* mode, auto open) { rows.push_back({mode, "botan", "libbotan-2-dev", open}); };
#ifdef VRX_WITH_BOTAN
    const auto cipher = [](bool decrypt) {
        return [=](const std::uint8_t* in, std::uint8_t* out, std::size_t size) -> Job {
            const std::shared_ptr<Botan::BlockCipher> c = Botan::BlockCipher::create("GOST-28147-89");
            if (!c) return {};
            c->set_key(key.data(), key.size());
            if (decrypt) return [=] { c->decrypt_n(in, out, size / 8); };
            return [=] { c->encrypt_n(in, out, size / 8); };
        };
    };
    add("ecb_encrypt", cipher(false));
    add("ecb_decrypt", cipher(true));
#else
    add("ecb_encrypt", nullptr);
#endif
}

void cryptopp(Rows& rows) {
    const auto add = [&](const char* mode, auto open) { rows.push_back({mode, "crypto++", "libcrypto++-dev", open}); };
#ifdef VRX_WITH_CRYPTOPP
    const auto with = []<typename Mode>(const Mode*) {
        return [](const std::uint8_t* in, std::uint8_t* out, std::size_t size) -> Job {
            const auto c = std::make_shared<Mode>();
            if constexpr (requires { c->SetKey(key.data(), key.size()); } &&
                          std::is_same_v<Mode, CryptoPP::ECB_Mode<CryptoPP::GOST>::Encryption>)
                c->SetKey(key.data(), key.size());
            else
                c->SetKeyWithIV(key.data(), key.size(), iv.data(), iv.size());
            return [=] { c->ProcessData(out, in, size); };
        };
    };
    using CryptoPP::GOST;
    add("ecb_encrypt", with(static_cast<const CryptoPP::ECB_Mode<GOST>::Encryption*>(nullptr)));
    add("counter", with(static_cast<const CryptoPP::CTR_Mode<GOST>::Encryption*>(nullptr)));
    add("cbc_encrypt", with(static_cast<const CryptoPP::CBC_Mode<GOST>::Encryption*>(nullptr)));
    add("cbc_decrypt", with(static_cast<const CryptoPP::CBC_Mode<GOST>::Decryption*>(nullptr)));
    add("cfb_encrypt", with(static_cast<const CryptoPP::CFB_Mode<GOST>::Encryption*>(nullptr)));
    add("cfb_decrypt", with(static_cast<const CryptoPP::CFB_Mode<GOST>::Decryption*>(nullptr)));
#else
    for (const char* mode : {"ecb_encrypt", "counter", "cbc_encrypt", "cfb_encrypt"}) add(mode, nullptr);
#endif
}

void gnutls(Rows& rows) {
    const auto add = [&](const char* mode, auto open) { rows.push_back({mode, "gnutls", "libgnutls28-dev", open}); };
#ifdef VRX_WITH_GNUTLS
    const auto cipher = [](gnutls_cipher_algorithm_t algorithm, bool decrypt) {
        return [=](const std::uint8_t* in, std::uint8_t* out, std::size_t size) -> Job {
            gnutls_datum_t k{const_cast<unsigned char*>(key.data()), key.size()};
            gnutls_datum_t v{const_cast<unsigned char*>(iv.data()), iv.size()};
            gnutls_cipher_hd_t raw = nullptr;
            if (gnutls_cipher_init(&raw, algorithm, &k, &v) != 0) return {};
            const std::shared_ptr<void> handle(
                raw, [](void* h) { gnutls_cipher_deinit(static_cast<gnutls_cipher_hd_t>(h)); });
            const auto function = decrypt ? gnutls_cipher_decrypt2 : gnutls_cipher_encrypt2;
            return [=] {
                function(static_cast<gnutls_cipher_hd_t>(handle.get()), const_cast<std::uint8_t*>(in), size, out, size);
            };
        };
    };
    add("cfb_encrypt", cipher(GNUTLS_CIPHER_GOST28147_CPA_CFB, false));
    add("cfb_decrypt", cipher(GNUTLS_CIPHER_GOST28147_CPA_CFB, true));
    add("counter", cipher(GNUTLS_CIPHER_GOST28147_TC26Z_CNT, false));
    add("mac", [](const std::uint8_t* in, std::uint8_t*, std::size_t size) -> Job {
        gnutls_hmac_hd_t raw = nullptr;
        if (gnutls_hmac_init(&raw, GNUTLS_MAC_GOST28147_TC26Z_IMIT, key.data(), key.size()) != 0) return {};
        const std::shared_ptr<void> handle(
            raw, [](void* h) { gnutls_hmac_deinit(static_cast<gnutls_hmac_hd_t>(h), nullptr); });
        return [=] { gnutls_hmac(static_cast<gnutls_hmac_hd_t>(handle.get()), in, size); };
    });
#else
    for (const char* mode : {"cfb_encrypt", "cfb_decrypt", "counter", "mac"}) add(mode, nullptr);
#endif
}

void openssl(Rows& rows) {
    const auto add = [&](const char* mode, auto open) {
        rows.push_back({mode, "openssl-gost", "libssl-dev or libengine-gost-openssl", open});
    };
#ifdef VRX_WITH_OPENSSL
    static ENGINE* const gost = [] {
        OPENSSL_init_crypto(OPENSSL_INIT_ENGINE_DYNAMIC, nullptr);
        ENGINE* const e = ENGINE_by_id("gost");
        return e != nullptr && ENGINE_init(e) != 0 ? e : nullptr;
    }();
    if (gost != nullptr) {
        const auto cipher = [](int id, bool decrypt) {
            return [=](const std::uint8_t* in, std::uint8_t* out, std::size_t size) -> Job {
                const EVP_CIPHER* const algorithm = ENGINE_get_cipher(gost, id);
                if (algorithm == nullptr) return {};
                const std::shared_ptr<EVP_CIPHER_CTX> ctx(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
                if (EVP_CipherInit_ex(ctx.get(), algorithm, gost, key.data(), iv.data(), decrypt ? 0 : 1) != 1)
                    return {};
                return [=] {
                    int written = 0;
                    EVP_CipherUpdate(ctx.get(), out, &written, in, static_cast<int>(size));
                };
            };
        };
        add("cfb_encrypt", cipher(NID_id_Gost28147_89, false));
        add("cfb_decrypt", cipher(NID_id_Gost28147_89, true));
        add("counter", cipher(NID_gost89_cnt, false));
        add("cbc_encrypt", cipher(NID_gost89_cbc, false));
        add("cbc_decrypt", cipher(NID_gost89_cbc, true));
        add("mac", [](const std::uint8_t* in, std::uint8_t*, std::size_t size) -> Job {
            EVP_PKEY* const raw = EVP_PKEY_new_mac_key(NID_id_Gost28147_89_MAC, gost, key.data(), key.size());
            const std::shared_ptr<EVP_PKEY> mac_key(raw, EVP_PKEY_free);
            const std::shared_ptr<EVP_MD_CTX> ctx(EVP_MD_CTX_new(), EVP_MD_CTX_free);
            const EVP_MD* const digest = ENGINE_get_digest(gost, NID_id_Gost28147_89_MAC);
            if (raw == nullptr || digest == nullptr ||
                EVP_DigestSignInit(ctx.get(), nullptr, digest, gost, mac_key.get()) != 1)
                return {};
            return [=] {
                static_cast<void>(mac_key);
                EVP_DigestSignUpdate(ctx.get(), in, size);
            };
        });
        return;
    }
#endif
    for (const char* mode : {"cfb_encrypt", "cfb_decrypt", "counter", "cbc_encrypt", "cbc_decrypt", "mac"})
        add(mode, nullptr);
}

/** Adds empty rows, because released versions of nettle have only the hash. */
void nettle(Rows& rows) { rows.push_back({"ecb_encrypt", "nettle", "a nettle with GOST 28147-89", nullptr}); }

}  // namespace

const std::vector<Row>& rows() {
    static const Rows all = [] {
        Rows r;
        libgcrypt(r);
        botan(r);
        cryptopp(r);
        gnutls(r);
        openssl(r);
        nettle(r);
        return r;
    }();
    return all;
}

}  // namespace peers
