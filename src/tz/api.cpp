// The functions of vrx/tz.h, which deploy S-boxes and find built-in tables.
#include <array>
#include <cctype>
#include <cstring>
#include <span>

#include "frame/bytes.hpp"
#include "frame/log.hpp"
#include "tz/deployments.hpp"

namespace {

namespace log = vrx::log;

/**
 * Returns the value of one character of a TZ string. Deliberate: every character except a decimal digit is read as a
 * capital letter.
 */
unsigned nibble(char c) {
    const int code = static_cast<unsigned char>(c);
    return static_cast<unsigned>(std::isdigit(code) != 0 ? c - '0' : c - 55);
}

/** Finds a built-in set by number. */
const vrx_tz* by_id(std::span<const vrx_tz> set, std::uint32_t id, log::Name self) {
    const std::uint8_t index = vrx::low8(id);
    if (index < set.size()) return &set[index];
    log::condition(self, "index out of range");
    return nullptr;
}

/** Finds a built-in table by name; names[i] is the name of set[i]. */
const vrx_tz* by_name(std::span<const vrx_tz> set, std::span<const char* const> names, const char* name,
                      log::Name self) {
    if (name == nullptr) {
        log::condition(self, "NULL name");
        return nullptr;
    }
    for (std::size_t i = 0; i < names.size(); ++i)
        if (std::strcmp(name, names[i]) == 0) return &set[i];
    log::condition(self, "unsupported name", name);
    return nullptr;
}

constexpr std::array cipher_names = {"tz_test", "tz_a", "tz_b", "tz_c", "tz_d"};
constexpr std::array hash_names = {"tz_0", "tz_1"};

}  // namespace

int vrx_crpt_deploy_TZ(const std::uint8_t* num_tz, vrx_tz* out) {
    if (num_tz == nullptr || out == nullptr) return log::null_data("vrx_crpt_deploy_TZ");
    vrx::tz::deploy_fast(vrx::tz::Numeric(num_tz, VRX_NUM_TZ_SIZE), *out);
    return VRX_OK;
}

int vrx_crpt_init_num_TZ(const std::uint8_t* num_tz, vrx_tz* out) {
    if (const int rc = vrx_crpt_deploy_TZ(num_tz, out)) return log::returned("vrx_crpt_deploy_TZ", rc);
    return VRX_OK;
}

int vrx_crpt_TZ_str_to_num(const char* str, std::uint8_t* num_tz) {
    if (std::strlen(str) != VRX_TZ_STRING_SIZE) return log::bad_params("vrx_crpt_TZ_str_to_num", VRX_ERR_UNKNOWN_TZ);
    for (std::size_t k = 0; k < VRX_NUM_TZ_SIZE; ++k)
        num_tz[k] = vrx::low8(nibble(str[2 * k + 1]) << 4 | nibble(str[2 * k]));
    return VRX_OK;
}

int vrx_crpt_init_new_TZ(const char* str, vrx_tz* out) {
    std::uint8_t num_tz[VRX_NUM_TZ_SIZE];
    if (const int rc = vrx_crpt_TZ_str_to_num(str, num_tz)) return log::returned("vrx_crpt_TZ_str_to_num", rc);
    return vrx_crpt_init_num_TZ(num_tz, out);
}

int vrx_crpt_swap_num_TZ(std::uint8_t* num_tz) {
    for (std::size_t i = 0; i < VRX_NUM_TZ_SIZE; ++i) num_tz[i] = std::rotl(num_tz[i], 4);
    return VRX_OK;
}

const vrx_tz* TZ_by_id(std::uint32_t id) { return by_id(TZ_28147_89, id, "TZ_by_id"); }

const vrx_tz* hash_TZ_by_id(std::uint32_t id) { return by_id(TZ_3411_94, id, "hash_TZ_by_id"); }

const vrx_tz* TZ_by_name(const char* name) { return by_name(TZ_28147_89, cipher_names, name, "TZ_by_name"); }

const vrx_tz* hash_TZ_by_name(const char* name) { return by_name(TZ_3411_94, hash_names, name, "hash_TZ_by_name"); }
