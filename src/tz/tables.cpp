// The built-in tables, deployed at compile time from the published S-boxes.
#include "tz/published.hpp"
#include "tz/sboxes.hpp"

namespace vrx::tz {
namespace {

constexpr vrx_tz deployed(const Published& published) {
    vrx_tz table{};
    deploy(numeric(published), table);
    return table;
}

}  // namespace
}  // namespace vrx::tz

constinit const vrx_tz TZ_28147_89[VRX_TZ_28147_89_COUNT] = {
    vrx::tz::deployed(vrx::tz::cipher_test), vrx::tz::deployed(vrx::tz::cipher_a), vrx::tz::deployed(vrx::tz::cipher_b),
    vrx::tz::deployed(vrx::tz::cipher_c), vrx::tz::deployed(vrx::tz::cipher_d)};

constinit const vrx_tz TZ_3411_94[VRX_TZ_3411_94_COUNT] = {vrx::tz::deployed(vrx::tz::hash_test),
                                                           vrx::tz::deployed(vrx::tz::hash_cryptopro)};

namespace vrx::tz {
namespace {

constexpr SBoxes cipher_sboxes[VRX_TZ_28147_89_COUNT] = {sboxes(numeric(cipher_test)), sboxes(numeric(cipher_a)),
                                                         sboxes(numeric(cipher_b)), sboxes(numeric(cipher_c)),
                                                         sboxes(numeric(cipher_d))};
constexpr SBoxes hash_sboxes[VRX_TZ_3411_94_COUNT] = {sboxes(numeric(hash_test)), sboxes(numeric(hash_cryptopro))};

template <std::size_t count>
const SBoxes* found(const vrx_tz& table, const vrx_tz (&set)[count], const SBoxes (&of_set)[count]) {
    const auto offset = reinterpret_cast<std::uintptr_t>(&table) - reinterpret_cast<std::uintptr_t>(set);
    return offset < sizeof set && offset % sizeof table == 0 ? &of_set[offset / sizeof table] : nullptr;
}

}  // namespace

const SBoxes* built_in_sboxes(const vrx_tz& table) noexcept {
    const SBoxes* const sboxes = found(table, TZ_28147_89, cipher_sboxes);
    return sboxes != nullptr ? sboxes : found(table, TZ_3411_94, hash_sboxes);
}

}  // namespace vrx::tz
