// Slow reference implementation of GOST 28147-89 for tests and fuzzers.
//
// It has only the record types in common with the library. Rounds substitute nibble by nibble with the published
// S-boxes. Every function takes the arguments of the library function with the same name (keys as 32 bytes). It checks
// them, reads and writes memory in the same order, and returns the same code. It appends the lines that the library
// must log to a string.
#ifndef VRX_TESTS_GOST28147_MODEL_HPP
#define VRX_TESTS_GOST28147_MODEL_HPP

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>

#include "vrx/context.h"

namespace vrx::test::model {

/** Eight S-boxes. Box r substitutes bits 4r to 4r + 3; the standards call it K(r + 1). */
using SBoxes = std::array<std::array<std::uint8_t, 16>, 8>;

/** The sets of RFC 4357, sections 11.1 and 11.2, by name. */
const std::map<std::string, SBoxes>& published_s_boxes();

/**
 * S-boxes from the 64 octets of RFC 4357, section 11.1. The high nibble of octet 4i + j is the output of K(2j + 1) for
 * the input i.
 */
SBoxes s_boxes_of_octets(std::span<const std::uint8_t> octets);

/** The numeric TZ of the library: the octets of RFC 4357 with swapped nibbles. */
std::array<std::uint8_t, VRX_NUM_TZ_SIZE> numeric_form(const SBoxes& boxes);

/** The round function on the sum of a half and a key word: substitution, then rotation left by 11 bits. */
class Substitution {
public:
    explicit Substitution(const SBoxes& boxes) : boxes_(boxes) {}
    /** The same round function, with look-up tables of any content. */
    explicit Substitution(const vrx_tz& tables) : tables_(tables) {}
    std::uint32_t operator()(std::uint32_t value) const;

private:
    SBoxes boxes_{};
    std::optional<vrx_tz> tables_;
};

/** A table argument: how it substitutes, and its flag. */
struct Table {
    const Substitution* substitution;
    std::uint8_t initialised;
};

using Log = std::string;

// --- One block -------------------------------------------------------------------------------------------------------

void encr_64(const std::uint8_t* in, std::uint8_t* out, const std::uint8_t* key, const Substitution& f);
void decr_64(const std::uint8_t* in, std::uint8_t* out, const std::uint8_t* key, const Substitution& f);
void imito_64(const std::uint8_t* data, std::uint8_t* state, const std::uint8_t* key, const Substitution& f);
void gamm_64(const std::uint8_t* in, std::uint8_t* out, std::uint8_t* counter, const std::uint8_t* key,
             const Substitution& f);
void gfb_64(const std::uint8_t* in, std::uint8_t* out, std::uint8_t* feedback, const std::uint8_t* key,
            const Substitution& f, int encrypt);
void cbc_64(const std::uint8_t* in, std::uint8_t* out, std::uint8_t* chain, const std::uint8_t* key,
            const Substitution& f, int encrypt);

// --- A whole buffer --------------------------------------------------------------------------------------------------

int make_last_block(const std::uint8_t* data, std::uint32_t length, std::uint8_t* last, std::uint32_t* tail_length,
                    std::uint32_t* full_blocks, int flags);
int ss(Log& log, const Table* table, const vrx_data* in, vrx_data* out, const std::uint8_t* key, int direction);
int cbc(Log& log, const Table* table, const vrx_data* in, vrx_data* out, std::uint8_t* iv, const std::uint8_t* key,
        int direction);
int gamm(Log& log, const Table* table, const vrx_data* in, vrx_data* out, std::uint8_t* iv, const std::uint8_t* key,
         int flags);
int gfb(Log& log, const Table* table, const vrx_data* in, vrx_data* out, std::uint8_t* iv, const std::uint8_t* key,
        int direction, int flags);
int imito(Log& log, const Table* table, const vrx_data* in, vrx_data* mac, const std::uint8_t* key, int flags);
int cipher_low(Log& log, const Table* table, int mode, const vrx_data* in, vrx_data* out, std::uint8_t* iv,
               const std::uint8_t* key, int direction, int flags);

// --- Contexts --------------------------------------------------------------------------------------------------------

/** A context: the record as the library must leave it, and the substitution of its table. */
struct Context {
    vrx_crpt_ctx record;
    const Substitution* substitution;

    [[nodiscard]] Table table() const { return {substitution, record.table.initialised}; }
    [[nodiscard]] std::uint8_t* key() { return static_cast<std::uint8_t*>(static_cast<void*>(record.key)); }
};

int init_context(Context* ctx, int direction, const vrx_tz* table, const Substitution& substitution, std::uint32_t mode,
                 std::uint32_t aux1, std::uint32_t key_meshing, std::uint32_t aux2, const std::uint8_t* iv,
                 const std::uint8_t* key);
int old_init_context(Context* ctx, int direction, const old_crpt_params* p, const Substitution& substitution);
int reset(Log& log, Context* ctx);
int update(Log& log, Context* ctx, const vrx_data* in, vrx_data* out);
int final(Log& log, Context* ctx);
int crypto_engine(Log& log, std::uint32_t mode, const Table* table, const vrx_data* in, vrx_data* out, std::uint8_t* iv,
                  const std::uint8_t* key, std::uint8_t direction, std::uint8_t flags);
int context_engine(Log& log, Context* ctx, const vrx_data* in, vrx_data* out);
int cnt_ctx(Log& log, Context* ctx, const vrx_data* in, vrx_data* out);
int cfb_ctx(Log& log, Context* ctx, const vrx_data* in, vrx_data* out);
int imito_ctx(Log& log, Context* ctx, const vrx_data* in);

// --- Key meshing -----------------------------------------------------------------------------------------------------

/** The constant of RFC 4357, section 2.3.2. */
extern const std::array<std::uint8_t, VRX_KEY_SIZE> meshing_constant;

int key_meshing_engine(Log& log, const Table* table, std::uint8_t* iv, std::uint8_t* key);
int make_key_meshing(Log& log, Context* ctx);
int crypto_pro_key_meshing(Log& log, old_crpt_params* p, const Substitution& substitution);

}  // namespace vrx::test::model

#endif
