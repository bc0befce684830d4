// vrx inspect
#include <algorithm>
#include <array>
#include <limits>

#include "commands/commands.hpp"
#include "documents/chain.hpp"
#include "documents/message.hpp"
#include "documents/name.hpp"
#include "io/text.hpp"
#include "keys/der.hpp"
#include "keys/encrypted_key.hpp"
#include "keys/key_files.hpp"
#include "keys/parameters.hpp"
#include "message_report.hpp"
#include "report.hpp"

namespace vrx::app {
namespace {

std::string identified(const char* short_name, const char* name, const char* oid) {
    return std::string(short_name) + " (" + name + ", " + oid + ")";
}

std::string hash_name(const vrx_gostr3411_par& set) {
    const auto index = static_cast<std::size_t>(&set - get_GOSTR3411_par(0));
    return identified(hash_sets[index].short_name, set.name, set.str_oid);
}

std::string cipher_name(const vrx_gost28147_par& set) {
    const auto index = static_cast<std::size_t>(&set - get_GOST28147_par(0));
    return identified(short_names[index], set.name, set.str_oid);
}

/** Add the curve and the other parameter sets of a key. */
void add_parameters(Report& report, const Algorithm& algorithm) {
    if (algorithm.curve != nullptr)
        report.fact("curve", identified(curve_name(*algorithm.curve), full_curve_name(*algorithm.curve),
                                        algorithm.curve->str_oid));
    if (algorithm.hash != nullptr) report.fact("hash", hash_name(*algorithm.hash));
    if (algorithm.cipher != nullptr) report.fact("cipher", cipher_name(*algorithm.cipher));
}

using Digest = std::array<std::uint8_t, VRX_HASH_SIZE>;

/** Hash with GOST R 34.11-94 and the parameter set CryptoPro. */
Digest digest_of(std::span<const std::uint8_t> octets) {
    Digest digest;
    GOSTR3411_CTX context;
    check("the hash", GOSTR3411_Init_ex(&context, get_GOSTR3411_default_par()->tz));
    check("the hash", GOSTR3411_Update(&context, octets.data(), static_cast<std::uint32_t>(octets.size())));
    check("the hash", GOSTR3411_Final(&context, digest.data()));
    return digest;
}

/**
 * Add the digest of the public key in DER, as 'vrx pubkey --format der' writes it. It is the same for a private key,
 * its public key and its certificate.
 */
void add_fingerprint(Report& report, const PublicKey& key) {
    KeyForm form;
    form.format = "der";
    SecretBytes info;
    append_public_key(info, form, key);
    report.fact("fingerprint", to_hex(digest_of(info.bytes())) + " (of the public key)");
}

/** Add who can read a file that holds a secret. */
void add_access(Report& report, const Input& file) {
    if (!S_ISREG(file.mode())) return;
    report.fact("access",
                (file.mode() & 077) == 0 ? "its owner alone" : "not only its owner; to fix that, run chmod 600");
}

std::string written_as(const std::string& label, const char* structure) {
    return std::string(label.empty() ? "DER, " : "PEM, ") + structure;
}

/** Add the facts about a private key in any format; false if its number is invalid. */
bool add_private_key(Report& report, const Input& file, const EcParamSet& curve, const PrivateOctets& octets) {
    Secret<PrivateKey> key;
    if (!make_private_key(curve, octets, *key)) {
        report.fault("the number is no private key on this curve");
        return false;
    }
    add_fingerprint(report, public_key_of(*key));
    add_access(report, file);
    return true;
}

bool add_public_key(Report& report, const EcParamSet& curve, const PublicOctets& octets) {
    PublicKey key;
    if (!make_public_key(curve, octets, key)) {
        report.fault("the point is not on this curve");
        return false;
    }
    add_fingerprint(report, key);
    return true;
}

/** Returns the curve that the file names; if it names none, the curve of --curve; without that option, nullptr. */
const EcParamSet* curve_of(const Algorithm& algorithm, const std::optional<std::string>& option) {
    if (algorithm.curve != nullptr || !option) return algorithm.curve;
    return &curve_by_name(*option);
}

/** Describe a file whose structure is valid but whose algorithm or parameters are unknown. */
std::string foreign(const char* what, const Algorithm& algorithm) {
    const bool parameters = algorithm.oid == gost_key_oid;
    return what + (parameters ? " of GOST R 34.10-2001 with unknown parameters"
                              : " of " + algorithm_name(algorithm.oid) + ", which this program does not use");
}

constexpr const char* request_label = "CERTIFICATE REQUEST";
constexpr const char* numbers_of_private = "the number is 32 octets, least significant octet first";
constexpr const char* numbers_of_public = "x and y are 32 octets each, least significant octet first";

void inspect_private_key(Report& report, const Input& file, const std::string& label,
                         std::span<const std::uint8_t> octets, const std::optional<std::string>& option) {
    Algorithm algorithm;
    Secret<PrivateOctets> value;
    const Content found = read_private_key(octets, algorithm, *value);
    if (found == Content::other) return;
    report.is(found == Content::foreign ? foreign("a private key", algorithm) : "a private key of GOST R 34.10-2001");
    report.fact("form", written_as(label, "PKCS #8, not encrypted"));
    if (found == Content::foreign) return add_access(report, file);
    add_parameters(report, algorithm);
    report.fact("byte order", numbers_of_private);
    if (const EcParamSet* curve = curve_of(algorithm, option)) add_private_key(report, file, *curve, *value);
}

void inspect_encrypted_key(Report& report, const Input& file, const std::string& label,
                           std::span<const std::uint8_t> octets) {
    EncryptedKey key;
    const Content found = read_encrypted_key(octets, key);
    if (found == Content::other && label.empty() && resembles_encrypted_key(octets)) {
        report.is("an encrypted key in DER, but damaged");
        report.fault("its structure is malformed");
    }
    if (found == Content::other) return;
    report.is("a private key or key of the cipher, encrypted with a password");
    report.fact("form", written_as(label, "PKCS #8, encrypted"));
    if (found == Content::foreign) {
        report.fact("encryption", "not supported");
    } else {
        report.fact("encryption", "PBES2 with PBKDF2, HMAC GOST R 34.11-94 and GOST 28147-89 in CFB mode");
        report.fact("cipher", cipher_name(*key.cipher));
        report.fact("iterations", iterations_of(key));
    }
    add_access(report, file);
}

void inspect_public_key(Report& report, const std::string& label, std::span<const std::uint8_t> octets,
                        const std::optional<std::string>& option) {
    Algorithm algorithm;
    PublicOctets value;
    const Content found = read_public_key(octets, algorithm, value);
    if (found == Content::other) return;
    report.is(found == Content::foreign ? foreign("a public key", algorithm) : "a public key of GOST R 34.10-2001");
    report.fact("form", written_as(label, "SubjectPublicKeyInfo"));
    if (found == Content::foreign) return;
    add_parameters(report, algorithm);
    report.fact("byte order", numbers_of_public);
    if (const EcParamSet* curve = curve_of(algorithm, option)) add_public_key(report, *curve, value);
}

void inspect_certificate(Report& report, const std::string& label, std::span<const std::uint8_t> octets,
                         const std::optional<std::string>& option) {
    documents::Certificate certificate;
    const Content found = documents::read_certificate(octets, certificate);
    if (found == Content::other) return;
    const Algorithm& algorithm = certificate.algorithm;
    report.is(found == Content::foreign ? foreign("a certificate for a key", algorithm)
                                        : "a certificate for a key of GOST R 34.10-2001");
    report.fact("form", written_as(label, "X.509, version ") + std::to_string(certificate.version));
    report.fact("subject", certificate.subject);
    report.fact("issuer", certificate.self_issued ? "the same" : certificate.issuer);
    report.fact("serial", to_hex(certificate.serial));
    const std::string today = documents::now();
    report.fact("valid", certificate.not_before + " to " + certificate.not_after + " UTC" +
                             (today < certificate.not_before  ? ", not yet"
                              : today > certificate.not_after ? ", which is over"
                                                              : ""));
    if (const auto usage = certificate.extensions.key_usage)
        report.fact("key usage", documents::key_usage_text(*usage));
    if (certificate.extensions.is_authority) report.fact("authority", "may issue certificates");
    if (!certificate.extensions.unsupported.empty())
        report.fault("critical extension " + certificate.extensions.unsupported + ", which is not supported");
    std::string checked = certificate.self_issued ? ", not checked" : ", not checked: the issuer's key is not known";
    if (found == Content::known) {
        add_parameters(report, algorithm);
        report.fact("byte order", numbers_of_public);
        const EcParamSet* curve = curve_of(algorithm, option);
        PublicKey key;
        if (curve == nullptr)
            report.fact("curve", "not named, so it is that of the issuer's key; give it with --curve NAME");
        else if (add_public_key(report, *curve, certificate.key) && make_public_key(*curve, certificate.key, key) &&
                 certificate.self_issued)
            checked = documents::is_signed_by(certificate, {key.set, key.point}) ? ", self-signed, valid"
                                                                                 : ", self-signed, NOT valid";
    }
    report.fact("signature", algorithm_name(certificate.signature_oid) + checked);
}

/** Describe a certification request (RFC 2986). */
void inspect_request(Report& report, const std::string& label, std::span<const std::uint8_t> octets) {
    documents::Signed request;
    documents::Part algorithm;
    if (!documents::read_signed(octets, request, algorithm)) return;
    der::Reader outer(request.signed_part);
    der::Reader fields(outer.next(der::sequence).value_or(documents::Part{}));
    const auto version = fields.next(der::integer);
    const auto subject = fields.next(der::sequence);
    const auto name = subject ? documents::read_name(*subject) : std::nullopt;
    const auto key = fields.next(der::sequence);
    if (!version || der::small_number(*version) != 0U || !name || !key || !fields.next(der::context_0) ||
        !fields.at_end())
        return;
    Algorithm of_key;
    PublicOctets value;
    const Content found = documents::read_key_fields(der::Reader(*key), of_key, value);
    if (found == Content::other) return;
    report.is(found == Content::foreign ? foreign("a request for a certificate for a key", of_key)
                                        : "a request for a certificate for a key of GOST R 34.10-2001");
    report.fact("form", written_as(label, "PKCS #10"));
    report.fact("subject", *name);
    std::string checked = ", not checked";
    PublicKey point;
    if (found == Content::known) {
        add_parameters(report, of_key);
        if (of_key.curve != nullptr && add_public_key(report, *of_key.curve, value) &&
            make_public_key(*of_key.curve, value, point))
            checked = documents::is_signed_by(request, {point.set, point.point}) ? ", valid" : ", NOT valid";
    }
    report.fact("signature", algorithm_name(request.signature_oid) + checked);
    report.fact("next", "openssl x509 -req -engine gost issues the certificate");
}

/** Describe a certificate revocation list. */
void inspect_revocation_list(Report& report, const std::string& label, std::span<const std::uint8_t> octets) {
    documents::RevocationList list;
    if (!documents::read_revocation_list(octets, list)) return;
    report.is("a revocation list, for --crl");
    report.fact("form", written_as(label, "X.509 CRL"));
    report.fact("issuer", list.issuer);
    report.fact("valid", list.this_update + " to " + list.next_update.value_or("an open end") + " UTC");
    report.fact("revoked", std::to_string(list.revoked.size()) + " certificates");
    report.fact("signature", algorithm_name(list.signature_oid) + ", not checked: the issuer's key is not known");
    report.fact("next", "vrx verify --cert CERT --ca CA --crl LIST --signature SIGNATURE FILE");
}

/** Describe a key store (PKCS #12, RFC 7292), without reading what it holds. */
void inspect_key_store(Report& report, const Input& file, std::span<const std::uint8_t> octets) {
    der::Reader outer(octets);
    der::Reader fields(outer.next(der::sequence).value_or(documents::Part{}));
    const auto version = fields.next(der::integer);
    const auto safe = fields.next(der::sequence);
    if (!version || der::small_number(*version) != 3U || !safe) return;
    der::Reader content(*safe);
    const auto type = content.next(der::object_identifier);
    if (!type || der::dotted(*type) != documents::data_oid) return;
    report.is("a key store: private keys and certificates, protected with a password");
    report.fact("form", "DER, PKCS #12");
    if (const auto mac = fields.next(der::sequence)) {
        der::Reader parts(*mac);
        der::Reader digest(parts.next(der::sequence).value_or(documents::Part{}));
        Algorithm algorithm;
        const auto salt = documents::read_algorithm(digest, algorithm) ? parts.next(der::octet_string) : std::nullopt;
        const auto iterations = parts.next(der::integer);
        if (salt)
            report.fact("mac", algorithm_name(algorithm.oid) + ", iterated " +
                                   std::to_string(iterations ? der::small_number(*iterations).value_or(0) : 1) +
                                   " times");
    } else {
        report.fact("mac", "none");
    }
    add_access(report, file);
    report.fact("next", "openssl pkcs12 -engine gost -nodes writes a PEM file");
}

/** Describe a file of 'openssl enc', which holds no more than a salt and the ciphertext. */
void inspect_salted(Report& report, std::span<const std::uint8_t> content) {
    constexpr std::string_view mark = "Salted__";
    constexpr std::size_t head = 16;
    if (content.size() < head || !std::ranges::equal(content.first(mark.size()), mark)) return;
    report.is("a file that 'openssl enc' encrypted with a password");
    report.fact("form", "Salted__, a salt of 8 bytes, then " + std::to_string(content.size() - head) +
                            " bytes of ciphertext; the file names no cipher");
    report.fact("salt", to_hex(content.subspan(mark.size(), head - mark.size())));
    report.fact("next", "openssl enc -d -engine gost -gost89 asks for the password");
}

/** Octets in memory as a source. */
class Memory : public documents::Source {
public:
    explicit Memory(std::span<const std::uint8_t> octets) : rest_(octets) {}
    std::size_t read(std::span<std::uint8_t> buffer) override {
        const std::size_t size = std::min(buffer.size(), rest_.size());
        std::copy_n(rest_.begin(), size, buffer.begin());
        rest_ = rest_.subspan(size);
        return size;
    }

private:
    std::span<const std::uint8_t> rest_;
};

/** True if octets begin like ContentInfo of RFC 5652: a SEQUENCE, and an identifier of a type of content. */
bool begins_like_message(std::span<const std::uint8_t> octets) {
    constexpr std::array<std::uint8_t, 9> types{0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01};
    if (octets.size() < 2 || octets[0] != der::sequence) return false;
    const std::size_t head = 2 + (octets[1] > 0x80 ? octets[1] & 0x7FU : 0U);
    return octets.size() > head + types.size() && std::ranges::equal(octets.subspan(head, types.size()), types);
}

/** True if a file looks like a message. Other files may hold secrets, which must not leave their pages. */
bool looks_like_message(SecretBytes& content) {
    const std::string_view text = content.text();
    for (const char* label :
         {"-----BEGIN CMS-----", "-----BEGIN PKCS7-----", "application/pkcs7-", "application/x-pkcs7-"})
        if (text.find(label) != std::string_view::npos) return true;
    if (begins_like_message(content.bytes())) return true;
    constexpr std::size_t enough = 32;  // characters of base64
    if (text.size() < enough) return false;
    SecretBytes head;
    for (const char c : text.substr(0, enough)) head.push_back(static_cast<std::uint8_t>(c));
    return der::decode_base64(head) && begins_like_message(head.bytes());
}

void inspect_message(Report& report, SecretBytes& content, const std::string& path) {
    if (!looks_like_message(content)) return;
    Memory source(content.bytes());
    try {
        describe_message(report, source, path == "-" ? "FILE" : in_quotes(path));
    } catch (const documents::Malformed& error) {
        report.is("a message, but damaged");
        report.fault(error.what());
    }
}

/** Inspect a file that is one PEM block or one DER element. */
void inspect_structure(Report& report, const Input& file, const std::string& label,
                       std::span<const std::uint8_t> octets, const std::optional<std::string>& option) {
    const auto may_be = [&](const char* wanted) { return label.empty() || label == wanted; };
    if (may_be(private_label)) inspect_private_key(report, file, label, octets, option);
    if (may_be(encrypted_label)) inspect_encrypted_key(report, file, label, octets);
    if (may_be(public_label)) inspect_public_key(report, label, octets, option);
    if (may_be(certificate_label)) inspect_certificate(report, label, octets, option);
    if (may_be(revocation_label)) inspect_revocation_list(report, label, octets);
    if (may_be(request_label)) inspect_request(report, label, octets);
    if (label.empty()) inspect_key_store(report, file, octets);
    if (report.knows() || label.empty()) return;
    const auto is_label = [&](const char* known) { return label == known; };
    if (std::ranges::any_of(std::array{private_label, encrypted_label, public_label, certificate_label,
                                       revocation_label, request_label},
                            is_label)) {
        report.is("a PEM file with the label " + in_quotes(label) + ", but damaged");
        report.fault("the data between its BEGIN and END lines is malformed");
    } else {
        report.is("a PEM file with the label " + in_quotes(label) + ", which this program does not read");
    }
}

/**
 * How a file encodes its bytes, for example as hexadecimal digits. In a file of bytes, the bytes of S-boxes have the
 * low nibble first; in a file of digits, the high nibble first.
 */
struct Form {
    const char* name;
    bool low_half_first;
};

constexpr Form as_bytes{"bytes", true};
constexpr Form as_digits{"hexadecimal digits", false};
constexpr Form as_base64{"base64", true};

/** Find the built-in curves that a point lies on. */
std::vector<const EcParamSet*> curves_with(const PublicOctets& octets) {
    std::vector<const EcParamSet*> found;
    PublicKey key;
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i)
        if (make_public_key(*get_GOSTR3410_par(i), octets, key)) found.push_back(key.set);
    return found;
}

void inspect_raw_public_key(Report& report, const Form& form, const PublicOctets& octets,
                            const std::optional<std::string>& option) {
    std::vector<const EcParamSet*> curves = curves_with(octets);
    if (option) std::erase_if(curves, [&](const EcParamSet* set) { return set != &curve_by_name(*option); });
    if (curves.empty()) return;
    report.is("a public key of GOST R 34.10-2001");
    report.fact("form", std::string(form.name) + ", raw: x, then y");
    std::string names;
    for (const EcParamSet* set : curves) names += (names.empty() ? "" : " or ") + std::string(curve_name(*set));
    if (curves.size() > 1) names += ", which have the same numbers; choose one with --curve NAME to get a fingerprint";
    report.fact("curve", names);
    report.fact("byte order", numbers_of_public);
    if (curves.size() == 1) add_public_key(report, *curves.front(), octets);
}

/** The S-boxes as text if each of the eight is a permutation, otherwise an empty string. */
std::string sboxes_of(const Form& form, std::span<const std::uint8_t> octets) {
    std::string text;
    std::array<std::uint32_t, 8> seen{};
    for (std::size_t i = 0; i < 2 * octets.size(); ++i) {
        const bool low = (i % 2 == 0) == form.low_half_first;
        const unsigned value = low ? octets[i / 2] & 15U : octets[i / 2] >> 4U;
        seen[i % seen.size()] |= 1U << value;
        text += "0123456789ABCDEF"[value];
    }
    return std::ranges::all_of(seen, [](std::uint32_t s) { return s == 0xFFFF; }) ? text : "";
}

void inspect_sboxes(Report& report, const Form& form, const std::string& text) {
    if (text.empty()) return;
    report.is("S-boxes of the cipher, for --table");
    report.fact("form", form.name);
    const auto built_in = [&](std::span<const char* const> names, const vrx_tz* (*find)(const char*)) {
        for (const char* name : names)
            if (table_text(*find(name)) == text) report.fact("name", std::string(name) + ", built in");
    };
    built_in(cipher_tables, TZ_by_name);
    built_in(hash_tables, hash_TZ_by_name);
}

/**
 * Inspect 64 bytes, which can only be a signature, because nothing else fits. In a signature, r and s are below the
 * order of a curve.
 */
void inspect_signature(Report& report, const Form& form, const PublicOctets& octets) {
    EcSignature signature;
    check("the signature", ecLoadSignValue(octets.data(), &signature));
    const auto fits = [&](const EcParamSet& set) {
        return std::ranges::all_of(std::array{signature.r, signature.s}, [&](const std::uint32_t* number) {
            return mpIsZero(number, VRX_ECC_DIGITS) == 0 && mpCompare(number, set.q, VRX_ECC_DIGITS) < 0;
        });
    };
    std::string curves;
    for (std::uint32_t i = 0; i < VRX_ECC_SET_COUNT; ++i)
        if (fits(*get_GOSTR3410_par(i))) curves += (curves.empty() ? "" : ", ") + std::string(curve_names[i]);
    if (curves.empty()) return;
    const std::span<const std::uint8_t, VRX_SIGNATURE_SIZE> all(octets);
    report.is("a signature of GOST R 34.10-2001, or other data of that length");
    report.fact("form", form.name);
    report.fact("s", to_hex(all.first<VRX_SIGNATURE_SIZE / 2>()));
    report.fact("r", to_hex(all.last<VRX_SIGNATURE_SIZE / 2>()));
    report.fact("byte order", "s, then r, each most significant octet first");
    report.fact("curve", "s and r are in range for " + curves);
}

void inspect_64(Report& report, const Form& form, std::span<const std::uint8_t> bytes,
                const std::optional<std::string>& option) {
    PublicOctets octets;
    std::ranges::copy(bytes, octets.begin());
    inspect_raw_public_key(report, form, octets, option);
    if (!report.knows()) inspect_sboxes(report, form, sboxes_of(form, octets));
    if (!report.knows()) inspect_signature(report, form, octets);
}

void inspect_32(Report& report, const Input& file, const Form& form, std::span<const std::uint8_t> bytes,
                const std::optional<std::string>& option) {
    if (!option) {
        report.is("32 bytes: a key of the cipher, or a raw private key of GOST R 34.10-2001, or a digest");
        report.fact("form", form.name);
        report.fact("curve",
                    "not named; if it is a private key, give its curve with --curve NAME to get the fingerprint");
        return add_access(report, file);
    }
    Secret<PrivateOctets> octets;
    std::ranges::copy(bytes, octets->begin());
    const EcParamSet& curve = curve_by_name(*option);
    report.is("a private key of GOST R 34.10-2001, if --curve is correct");
    report.fact("form", std::string(form.name) + ", raw");
    report.fact("curve", curve_name(curve));
    report.fact("byte order", numbers_of_private);
    add_private_key(report, file, curve, *octets);
}

/** Inspect bytes without a structure. Their number tells what they may be. */
void inspect_bytes(Report& report, const Input& file, const Form& form, std::span<const std::uint8_t> bytes,
                   const std::optional<std::string>& option) {
    if (bytes.size() == VRX_KEY_SIZE) inspect_32(report, file, form, bytes, option);
    if (bytes.size() == VRX_SIGNATURE_SIZE) inspect_64(report, form, bytes, option);
}

/** Find out what a file is. The content is decoded in place. */
Report inspect(const Input& file, SecretBytes& content, const std::string& path,
               const std::optional<std::string>& option) {
    Report report;
    inspect_salted(report, content.bytes());
    if (!report.knows()) inspect_message(report, content, path);
    if (report.knows()) return report;
    if (content.text().find("-----BEGIN ") != std::string_view::npos) {
        if (const auto label = der::decode_pem(content)) {
            inspect_structure(report, file, *label, content.bytes(), option);
        } else {
            report.is("a PEM file that is truncated or damaged, or has several blocks");
            report.fault("this program reads PEM files with exactly one block");
        }
        return report;
    }
    if (der::is_one_element(content.bytes(), der::sequence))
        inspect_structure(report, file, "", content.bytes(), option);
    if (report.knows()) return report;
    const std::string_view digits = without_line_end(content.text());
    if (digits.size() % 2 == 0 && is_hex(digits)) {
        decode_hex(content, file.shown());
        inspect_bytes(report, file, as_digits, content.bytes(), option);
        return report;
    }
    inspect_bytes(report, file, as_bytes, content.bytes(), option);
    if (!report.knows() && der::decode_base64(content)) inspect_bytes(report, file, as_base64, content.bytes(), option);
    return report;
}

/** @return true if the file was recognized and has no fault. */
bool inspect_file(const std::string& path, const std::optional<std::string>& option, Output& output) {
    Input file(path);
    SecretBytes content;
    read_secret(file, content);
    const std::size_t size = content.bytes().size();
    const Report report = inspect(file, content, path, option);
    if (!report.knows()) {
        say(file.shown() + ", " + std::to_string(size) +
            " bytes, is not a key, certificate, signature or message in a known format; 'vrx help formats' lists the "
            "formats");
        return false;
    }
    output.write(report.text(file.shown()));
    return !report.faulty();
}

int run(const Command& self, int argc, char** argv) {
    std::optional<std::string> curve;
    const auto operands = parse(
        self, {text_option("curve", 'c', "CURVE", "the curve of a raw key, or of a certificate without one", curve)},
        std::numeric_limits<std::size_t>::max(), argc, argv);
    if (!operands) return exit_done;
    if (curve) curve_by_name(*curve);  // reject an unknown name before reading any file
    Output output("-");
    int code = exit_done;
    for (const std::string& path : operands->empty() ? std::vector<std::string>{"-"} : *operands) {
        try {
            if (!inspect_file(path, curve, output) && code == exit_done) code = exit_check_failed;
        } catch (const SystemFailure& failure) {
            say(failure.what());
            code = exit_trouble;
        }
    }
    output.commit();
    return code;
}

}  // namespace

const Command inspect_command{
    "inspect",
    "[FILE]...",
    "identify a key, certificate, signature or message",
    R"(Identify each FILE, or standard input: a private or public key, an X.509 certificate, a request for one, a
revocation list, a signed or encrypted message, a key store (PKCS #12), a signature, a key of the cipher, S-boxes, or
a file of 'openssl enc'. Prints its format, parameter sets, byte order and fingerprint, and which command comes next,
but never a secret.

The fingerprint is the GOST R 34.11-94 digest (CryptoPro) of the public key as 'vrx pubkey --format der' writes it. A
private key, its public key and their certificate have the same fingerprint. The exit code is 1 if a file is damaged
or of an unknown kind, and 2 if a file cannot be read.)",
    R"(vrx keypair --curve A --out my.pem
vrx inspect my.pem)",
    run};

}  // namespace vrx::app
