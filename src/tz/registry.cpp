// Parameter sets of RFC 4357, and the process-wide list of registered cipher sets.
#include <cstdlib>
#include <cstring>

#include "frame/bytes.hpp"
#include "frame/log.hpp"
#include "vrx/params.h"

namespace log = vrx::log;

constinit const std::uint8_t VRX_PAR_HASH_0_OID[VRX_PAR_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x1E, 0};
constinit const std::uint8_t VRX_PAR_HASH_1_OID[VRX_PAR_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x1E, 1};
constinit const std::uint8_t VRX_PAR_CIPHER_0_OID[VRX_PAR_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x1F, 0};
constinit const std::uint8_t VRX_PAR_CIPHER_A_OID[VRX_PAR_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x1F, 1};
constinit const std::uint8_t VRX_PAR_CIPHER_B_OID[VRX_PAR_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x1F, 2};
constinit const std::uint8_t VRX_PAR_CIPHER_C_OID[VRX_PAR_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x1F, 3};
constinit const std::uint8_t VRX_PAR_CIPHER_D_OID[VRX_PAR_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x1F, 4};
constinit const std::uint8_t VRX_PAR_CIPHER_0S_OID[VRX_PAR_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x1F, 5};
constinit const std::uint8_t VRX_PAR_CIPHER_SA_OID[VRX_PAR_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x1F, 6};
constinit const std::uint8_t VRX_PAR_CIPHER_SB_OID[VRX_PAR_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x1F, 7};
constinit const std::uint8_t VRX_PAR_CIPHER_SC_OID[VRX_PAR_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x1F, 8};
constinit const std::uint8_t VRX_PAR_CIPHER_SD_OID[VRX_PAR_OID_SIZE] = {6, 7, 0x2A, 0x85, 3, 2, 2, 0x1F, 9};

constinit vrx_gostr3411_par GOSTR3411_OIDS[VRX_GOSTR3411_PAR_COUNT] = {
    {VRX_PAR_OID_SIZE, VRX_PAR_HASH_0_OID, "1.2.643.2.2.30.0", "id-GostR3411-94-TestParamSet", &TZ_3411_94[0]},
    {VRX_PAR_OID_SIZE, VRX_PAR_HASH_1_OID, "1.2.643.2.2.30.1", "id-GostR3411-94-CryptoProParamSet", &TZ_3411_94[1]}};

// Deliberate: the last five sets have the tables of the first five sets, with key meshing off, despite their names.
constinit vrx_gost28147_par GOST28147_CRYPTO_PRO_OIDS[VRX_GOST28147_PAR_COUNT] = {
    {VRX_PAR_OID_SIZE, VRX_PAR_CIPHER_0_OID, "1.2.643.2.2.31.0", "id-Gost28147-89-TestParamSet", &TZ_28147_89[0], 2, 0,
     nullptr},
    {VRX_PAR_OID_SIZE, VRX_PAR_CIPHER_A_OID, "1.2.643.2.2.31.1", "id-Gost28147-89-CryptoPro-A-ParamSet",
     &TZ_28147_89[1], 3, 1, nullptr},
    {VRX_PAR_OID_SIZE, VRX_PAR_CIPHER_B_OID, "1.2.643.2.2.31.2", "id-Gost28147-89-CryptoPro-B-ParamSet",
     &TZ_28147_89[2], 3, 1, nullptr},
    {VRX_PAR_OID_SIZE, VRX_PAR_CIPHER_C_OID, "1.2.643.2.2.31.3", "id-Gost28147-89-CryptoPro-C-ParamSet",
     &TZ_28147_89[3], 3, 1, nullptr},
    {VRX_PAR_OID_SIZE, VRX_PAR_CIPHER_D_OID, "1.2.643.2.2.31.4", "id-Gost28147-89-CryptoPro-D-ParamSet",
     &TZ_28147_89[4], 3, 1, nullptr},
    {VRX_PAR_OID_SIZE, VRX_PAR_CIPHER_0S_OID, "1.2.643.2.2.31.5", "id-Gost28147-89-CryptoPro-Oscar-1-1-ParamSet",
     &TZ_28147_89[0], 2, 0, nullptr},
    {VRX_PAR_OID_SIZE, VRX_PAR_CIPHER_SA_OID, "1.2.643.2.2.31.6", "id-Gost28147-89-CryptoPro-Oscar-1-0-ParamSet",
     &TZ_28147_89[1], 3, 0, nullptr},
    {VRX_PAR_OID_SIZE, VRX_PAR_CIPHER_SB_OID, "1.2.643.2.2.31.7", "id-Gost28147-89-CryptoPro-RIC-1-ParamSet",
     &TZ_28147_89[2], 3, 0, nullptr},
    {VRX_PAR_OID_SIZE, VRX_PAR_CIPHER_SC_OID, "1.2.643.2.2.31.8", "id-Gost28147-89-CryptoPro-Simple-C-ParamSet",
     &TZ_28147_89[3], 3, 0, nullptr},
    {VRX_PAR_OID_SIZE, VRX_PAR_CIPHER_SD_OID, "1.2.643.2.2.31.9", "id-Gost28147-89-CryptoPro-Simple-D-ParamSet",
     &TZ_28147_89[4], 3, 0, nullptr}};

constinit const vrx_gostr3411_par* DEFAULT_GOSTR3411_OID = &GOSTR3411_OIDS[1];
constinit vrx_gost28147_par* DEFAULT_GOST28147_OID = &GOST28147_CRYPTO_PRO_OIDS[1];
constinit vrx_gost28147_par* GOST28147_OIDS = nullptr;

namespace {

template <typename Record>
bool matches(const Record& record, const std::uint8_t* oid, std::uint32_t length) {
    return record.oid_length == length && (length == 0 || std::memcmp(record.oid, oid, length) == 0);
}

/**
 * Returns the address of the link to the first registered record with an identifier, or of the NULL link at the end of
 * the list.
 */
vrx_gost28147_par** find_link(const std::uint8_t* oid, std::uint32_t length) {
    vrx_gost28147_par** link = &GOST28147_OIDS;
    while (*link != nullptr && !matches(**link, oid, length)) link = &(*link)->next;
    return link;
}

}  // namespace

const vrx_gostr3411_par* get_GOSTR3411_par(std::uint32_t index) {
    return index < VRX_GOSTR3411_PAR_COUNT ? &GOSTR3411_OIDS[index] : nullptr;
}

const vrx_gostr3411_par* get_GOSTR3411_default_par(void) { return DEFAULT_GOSTR3411_OID; }

vrx_gost28147_par* get_GOST28147_par(std::uint32_t index) {
    return index < VRX_GOST28147_PAR_COUNT ? &GOST28147_CRYPTO_PRO_OIDS[index] : nullptr;
}

vrx_gost28147_par* get_GOST28147_default_par(void) { return DEFAULT_GOST28147_OID; }

int oidSetModeGOST28147Par(vrx_gost28147_par* record, int mode) {
    record->mode = vrx::low8(mode);
    return VRX_OK;
}

int oidSetKeyMeshingGOST28147Par(vrx_gost28147_par* record, int key_meshing) {
    record->key_meshing = vrx::low8(key_meshing);
    return VRX_OK;
}

int oidSetOIDGOST28147Par(vrx_gost28147_par* record, const std::uint8_t* oid, std::uint32_t oid_length,
                          const char* str_oid, const char* name) {
    record->oid = oid;
    record->oid_length = oid_length;
    record->str_oid = str_oid;
    record->name = name;
    return VRX_OK;
}

int oidCopyGOST28147Par(const vrx_gost28147_par* source, vrx_gost28147_par** copy) {
    *copy = static_cast<vrx_gost28147_par*>(std::malloc(sizeof **copy));
    if (*copy == nullptr) return VRX_ERR_FAILED;
    **copy = *source;
    (*copy)->next = nullptr;
    return VRX_OK;
}

int oidRegisterGOST28147Par(vrx_gost28147_par* record) {
    vrx_gost28147_par** link = &GOST28147_OIDS;
    while (*link != nullptr) link = &(*link)->next;
    *link = record;
    record->next = nullptr;  // Deliberate: a record that is already in the list becomes the end of the list.
    return VRX_OK;
}

int oidRegisterGOST28147CryptoProPar(void) {
    for (vrx_gost28147_par& record : GOST28147_CRYPTO_PRO_OIDS) oidRegisterGOST28147Par(&record);
    return VRX_OK;
}

int oidFindGOST28147Par(const std::uint8_t* oid, std::uint32_t length, vrx_gost28147_par** record) {
    if (GOST28147_OIDS == nullptr) oidRegisterGOST28147CryptoProPar();
    *record = *find_link(oid, length);
    if (*record == nullptr) return log::condition("oidFindGOST28147Par", "unsupported OID", VRX_ERR_FAILED);
    return VRX_OK;
}

int oidUnregisterGOST28147Par(const std::uint8_t* oid, std::uint32_t length) {
    if (GOST28147_OIDS == nullptr)
        return log::condition("oidUnregisterGOST28147Par", "no registered params", VRX_ERR_FAILED);
    vrx_gost28147_par** link = find_link(oid, length);
    vrx_gost28147_par* record = *link;
    if (record == nullptr)
        return log::condition("oidUnregisterGOST28147Par", "no params found for OID", VRX_ERR_BAD_PARAMS);
    // Deliberate: the first record is kept, and all other records are dropped instead.
    if (link != &GOST28147_OIDS) *link = record->next;
    record->next = nullptr;
    return VRX_OK;
}

int oidFindGOSTR3411Par(const std::uint8_t* oid, std::uint32_t length, const vrx_gostr3411_par** record) {
    for (const vrx_gostr3411_par& known : GOSTR3411_OIDS)
        if (matches(known, oid, length)) {
            *record = &known;
            return VRX_OK;
        }
    *record = nullptr;
    return log::condition("oidFindGOSTR3411Par", "unsupported OID", VRX_ERR_FAILED);
}
