#include "key_files.hpp"

#include <algorithm>
#include <array>
#include <cstring>

#include "der.hpp"
#include "parameters.hpp"
#include "text.hpp"

namespace vrx::app {
namespace {

constexpr const char* private_label = "PRIVATE KEY";
constexpr const char* public_label = "PUBLIC KEY";
constexpr const char* encrypted_label = "ENCRYPTED PRIVATE KEY";

// id-GostR3410-2001, 1.2.643.2.2.19 (RFC 4491, section 2.3.2)
constexpr std::uint8_t algorithm_oid[] = {0x06, 0x06, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x13};
constexpr std::uint8_t version_zero[] = {0x02, 0x01, 0x00};

bool is_raw(const KeyForm& form) {
    if (form.format != "pem" && form.format != "raw")
        throw Failure("there is no key format " + in_quotes(form.format) + "; use pem or raw");
    return form.format == "raw";
}

bool is_zero(const std::uint32_t* number) {
    return std::all_of(number, number + VRX_ECC_DIGITS, [](std::uint32_t digit) { return digit == 0; });
}

bool is_below(const std::uint32_t* a, const std::uint32_t* b) { return mpCompare(a, b, VRX_ECC_DIGITS) < 0; }

/** The curve that --curve names. */
const EcParamSet& named_curve(const KeyForm& form, const std::string& shown) {
    if (!form.curve) throw Failure(shown + " does not name its curve; say which it is, --curve NAME");
    return curve_by_name(*form.curve);
}

/** Whether an identifier is that of one of the built-in parameter sets. */
template <auto get, std::uint32_t count>
bool is_known(std::span<const std::uint8_t> oid) {
    for (std::uint32_t i = 0; i < count; ++i)
        if (std::ranges::equal(oid, std::span(get(i)->oid, get(i)->oid_length))) return true;
    return false;
}

/** Reads an AlgorithmIdentifier; nothing when it is of another algorithm or curve, or not well formed. */
const EcParamSet* read_algorithm(der::Reader& reader) {
    const auto contents = reader.next(der::sequence);
    if (!contents) return nullptr;
    der::Reader fields(*contents);
    const auto algorithm = fields.next_whole(der::object_identifier);
    if (!algorithm || !std::ranges::equal(*algorithm, algorithm_oid)) return nullptr;
    const auto parameters = fields.next(der::sequence);
    if (!parameters || !fields.at_end()) return nullptr;
    der::Reader sets(*parameters);
    const auto curve = sets.next_whole(der::object_identifier);
    EcParamSet* found = nullptr;
    if (!curve || epFindParByOid(curve->data(), static_cast<std::uint32_t>(curve->size()), &found) != VRX_OK)
        return nullptr;
    // How the key is meant to be used: the set of the hash, then that of the cipher. The user may choose others.
    const auto hash = sets.next_whole(der::object_identifier);
    if (hash && !is_known<get_GOSTR3411_par, VRX_GOSTR3411_PAR_COUNT>(*hash)) return nullptr;
    const auto cipher = sets.next_whole(der::object_identifier);
    if (cipher && !is_known<get_GOST28147_par, VRX_GOST28147_PAR_COUNT>(*cipher)) return nullptr;
    return sets.at_end() ? found : nullptr;
}

void append_algorithm(SecretBytes& out, const EcParamSet& set) {
    SecretBytes parameters;
    der::append(parameters, der::sequence, {{set.oid, set.oid_len}, VRX_PAR_HASH_1_OID});
    der::append(out, der::sequence, {algorithm_oid, parameters.bytes()});
}

/**
 * The octets of d, least significant first, from what a PKCS #8 file holds: the octets themselves, or an OCTET STRING
 * of them, or an INTEGER. Programs differ.
 */
bool read_private_value(std::span<const std::uint8_t> value, std::span<std::uint8_t, VRX_PRIVATE_KEY_SIZE> octets) {
    der::Reader reader(value);
    if (value.size() == octets.size()) {
        std::ranges::copy(value, octets.begin());
        return true;
    }
    if (reader.tag() == der::octet_string) {
        const auto inner = reader.next(der::octet_string);
        if (!inner || inner->size() != octets.size() || !reader.at_end()) return false;
        std::ranges::copy(*inner, octets.begin());
        return true;
    }
    auto number = reader.next(der::integer);
    if (!number || number->empty() || !reader.at_end()) return false;
    const bool zero_first = number->front() == 0;
    if (zero_first) number = number->subspan(1);
    // A zero in front keeps a number from being negative, and stands nowhere else.
    if (number->empty() || number->size() > octets.size() || zero_first != (number->front() >= 0x80)) return false;
    std::ranges::fill(octets, std::uint8_t{0});
    std::reverse_copy(number->begin(), number->end(), octets.begin());
    return true;
}

/** PKCS #8, PrivateKeyInfo. */
bool read_private(std::span<const std::uint8_t> octets, const EcParamSet*& set,
                  std::span<std::uint8_t, VRX_PRIVATE_KEY_SIZE> value) {
    der::Reader outer(octets);
    const auto contents = outer.next(der::sequence);
    if (!contents || !outer.at_end()) return false;
    der::Reader fields(*contents);
    const auto version = fields.next_whole(der::integer);
    if (!version || !std::ranges::equal(*version, version_zero)) return false;
    set = read_algorithm(fields);
    const auto key = fields.next(der::octet_string);
    const bool ends = fields.at_end() || (fields.next(der::attributes) && fields.at_end());
    return set != nullptr && key && ends && read_private_value(*key, value);
}

/** SubjectPublicKeyInfo. */
bool read_public(std::span<const std::uint8_t> octets, const EcParamSet*& set,
                 std::span<std::uint8_t, VRX_PUBLIC_KEY_SIZE> value) {
    der::Reader outer(octets);
    const auto contents = outer.next(der::sequence);
    if (!contents || !outer.at_end()) return false;
    der::Reader fields(*contents);
    set = read_algorithm(fields);
    const auto bits = fields.next(der::bit_string);
    if (set == nullptr || !bits || !fields.at_end() || bits->empty() || bits->front() != 0) return false;
    der::Reader inner(bits->subspan(1));
    const auto point = inner.next(der::octet_string);
    if (!point || !inner.at_end() || point->size() != value.size()) return false;
    std::ranges::copy(*point, value.begin());
    return true;
}

template <std::size_t size>
using Read = bool (*)(std::span<const std::uint8_t>, const EcParamSet*&, std::span<std::uint8_t, size>);

/** What a key of one kind is called, and how it is read. */
template <std::size_t size>
struct Kind {
    const char* name;
    const char* other_name;
    const char* label;
    const char* other_label;
    Read<size> read;
};

constexpr Kind<VRX_PRIVATE_KEY_SIZE> private_kind{"private", "public", private_label, public_label, read_private};
constexpr Kind<VRX_PUBLIC_KEY_SIZE> public_kind{"public", "private", public_label, private_label, read_public};

/** The curve and the octets of a key in a file of either form. */
template <std::size_t size>
const EcParamSet& read_key(const Kind<size>& kind, Input& file, const KeyForm& form,
                           std::span<std::uint8_t, size> octets) {
    SecretBytes content;
    read_secret(file, content);
    const std::string& shown = file.shown();
    if (is_raw(form)) {
        if (content.bytes().size() != size)
            throw Failure(shown + " holds " + std::to_string(content.bytes().size()) + " bytes; a raw " + kind.name +
                          " key is " + std::to_string(size));
        std::ranges::copy(content.bytes(), octets.begin());
        return named_curve(form, shown);
    }
    const auto label = der::decode_pem(content);
    if (!label) throw Failure(shown + " is not a whole key file in PEM form; for one of raw octets use --format raw");
    if (*label == kind.other_label)
        throw Failure(shown + " holds a " + kind.other_name + " key where a " + kind.name + " one is needed");
    if (*label == encrypted_label)
        throw Failure(shown + " is encrypted with a password; write the key to a file without one first");
    const EcParamSet* set = nullptr;
    if (*label != kind.label || !kind.read(content.bytes(), set, octets))
        throw Failure(shown + " is not a " + kind.name + " key of GOST R 34.10-2001 on a curve that is known here");
    if (form.curve && &curve_by_name(*form.curve) != set)
        throw Failure(shown + " is a key on the curve " + curve_name(*set) + ", not on " + in_quotes(*form.curve));
    return *set;
}

}  // namespace

std::vector<Option> key_form_options(KeyForm& form, const char* curve_help) {
    return {text_option("format", 'f', "FORMAT", "how keys are written, pem or raw; without it pem", form.format),
            text_option("curve", 'c', "CURVE", curve_help, form.curve)};
}

FileId load_private_key(const std::string& path, const KeyForm& form, PrivateKey& key) {
    Input file(path);
    Secret<std::array<std::uint8_t, VRX_PRIVATE_KEY_SIZE>> octets;
    key.set = &read_key<VRX_PRIVATE_KEY_SIZE>(private_kind, file, form, *octets);
    check("the key", ecLoadPrivateKeyValue(octets->data(), key.d));
    if (is_zero(key.d) || !is_below(key.d, key.set->q))
        throw Failure(file.shown() + " holds a number that is no private key on the curve " + curve_name(*key.set));
    warn_if_others_can_read(file, "key");
    return file.id();
}

FileId load_public_key(const std::string& path, const KeyForm& form, PublicKey& key) {
    Input file(path);
    std::array<std::uint8_t, VRX_PUBLIC_KEY_SIZE> octets;
    key.set = &read_key<VRX_PUBLIC_KEY_SIZE>(public_kind, file, form, octets);
    check("the key", ecLoadPublicKeyValue(octets.data(), &key.point));
    if (!is_below(key.point.x, key.set->p) || !is_below(key.point.y, key.set->p) ||
        ecCheckPublicKey(key.set, &key.point) != VRX_OK)
        throw Failure(file.shown() + " holds a point that is not on the curve " + curve_name(*key.set));
    return file.id();
}

void append_private_key(SecretBytes& out, const KeyForm& form, const PrivateKey& key) {
    Secret<std::array<std::uint8_t, VRX_PRIVATE_KEY_SIZE>> octets;
    check("the key", ecUnloadPrivateKeyValue(key.d, octets->data()));
    if (is_raw(form)) {
        for (const std::uint8_t octet : *octets) out.push_back(octet);
        return;
    }
    SecretBytes algorithm;
    append_algorithm(algorithm, *key.set);
    SecretBytes value;
    der::append(value, der::octet_string, {*octets});
    SecretBytes info;
    der::append(info, der::sequence, {version_zero, algorithm.bytes(), value.bytes()});
    der::append_pem(out, private_label, info.bytes());
}

void append_public_key(SecretBytes& out, const KeyForm& form, const PublicKey& key) {
    std::array<std::uint8_t, VRX_PUBLIC_KEY_SIZE> octets;
    check("the key", ecUnloadPublicKeyValue(&key.point, octets.data()));
    if (is_raw(form)) {
        for (const std::uint8_t octet : octets) out.push_back(octet);
        return;
    }
    constexpr std::uint8_t no_unused_bits[] = {0};
    SecretBytes algorithm;
    append_algorithm(algorithm, *key.set);
    SecretBytes point;
    der::append(point, der::octet_string, {octets});
    SecretBytes bits;
    der::append(bits, der::bit_string, {no_unused_bits, point.bytes()});
    SecretBytes info;
    der::append(info, der::sequence, {algorithm.bytes(), bits.bytes()});
    der::append_pem(out, public_label, info.bytes());
}

}  // namespace vrx::app
