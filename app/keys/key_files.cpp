#include "keys/key_files.hpp"

#include <vrx/check.h>

#include <algorithm>

#include "io/failure.hpp"
#include "io/text.hpp"
#include "keys/der.hpp"
#include "keys/parameters.hpp"

namespace vrx::app {
namespace {

constexpr const char* here = " of GOST R 34.10-2001 on a curve that is known here";

bool is_raw(const KeyForm& form) {
    if (form.format != "pem" && form.format != "der" && form.format != "raw")
        throw Failure("there is no key format " + in_quotes(form.format) + "; use pem, der or raw");
    return form.format == "raw";
}

/** The curve that a file names, or else the curve of --curve. Throws a Failure if they differ. */
const EcParamSet& chosen_curve(const EcParamSet* named, const std::optional<std::string>& option,
                               const std::string& shown) {
    if (named == nullptr && !option) throw Failure(shown + " does not name its curve; give it with --curve NAME");
    if (named == nullptr) return curve_by_name(*option);
    if (option && &curve_by_name(*option) != named)
        throw Failure(shown + " is a key on the curve " + curve_name(*named) + ", not on " + in_quotes(*option) +
                      "; leave out --curve, or name the right file");
    return *named;
}

/** The names of a kind of key, and the function that reads it. */
template <typename Octets>
struct Kind {
    const char* name;
    const char* label;
    Content (*read)(std::span<const std::uint8_t>, Algorithm&, Octets&);
};

constexpr Kind<PrivateOctets> private_kind{"private", private_label, read_private_key};
constexpr Kind<PublicOctets> public_kind{"public", public_label, read_public_key};

/** Throw a Failure if the PEM label names another kind of file. */
template <typename Octets>
void check_label(const Kind<Octets>& kind, const std::string& label, const std::string& shown) {
    if (label.empty() || label == kind.label) return;
    std::string needed = " where a ";
    needed += kind.name;
    if (label == private_label)
        throw Failure(shown + " holds a private key" + needed + " one is needed; 'vrx pubkey' writes its public key");
    if (label == public_label)
        throw Failure(shown + " holds a public key" + needed +
                      " one is needed; name the file that 'vrx keypair' wrote");
    if (label == certificate_label)
        throw Failure(shown + " holds a certificate" + needed +
                      " key is needed; 'vrx verify --cert' takes certificates");
    if (label == encrypted_label)
        throw Failure(shown + " holds an encrypted private key" + needed +
                      " one is needed; 'vrx pubkey' computes its public key");
    throw Failure(shown + " is not a " + kind.name + " key" + here + "; 'vrx inspect' says what it is");
}

/** Read the curve and the octets of a key from a file in any format. */
template <typename Octets>
const EcParamSet& read_key(const Kind<Octets>& kind, Input& file, const KeyForm& form, const PasswordOptions* password,
                           Octets& octets) {
    const bool raw = is_raw(form);
    SecretBytes content;
    read_secret(file, content);
    const std::string& shown = file.shown();
    if (raw) {
        if (content.bytes().size() != octets.size())
            throw Failure(shown + " holds " + std::to_string(content.bytes().size()) + " bytes; a raw " + kind.name +
                          " key is " + std::to_string(octets.size()) + "; 'vrx inspect' says what it is");
        std::ranges::copy(content.bytes(), octets.begin());
        return chosen_curve(nullptr, form.curve, shown);
    }
    auto label = decode_key_file(content);
    if (!label)
        throw Failure(shown + " is not a complete key file in PEM or DER; if it holds raw octets, use --format raw");
    if (password != nullptr && unlock(content, *label, shown, *password)) label = private_label;
    check_label(kind, *label, shown);
    Algorithm algorithm;
    const Content found = kind.read(content.bytes(), algorithm, octets);
    if (found == Content::known) return chosen_curve(algorithm.curve, form.curve, shown);
    std::string why = "; 'vrx inspect' says what it is";
    if (found == Content::foreign && algorithm_name(algorithm.oid) != algorithm.oid && algorithm.oid != gost_key_oid)
        why = ", but of " + algorithm_name(algorithm.oid) + "; name another";
    throw Failure(shown + " is not a " + kind.name + " key" + here + why);
}

[[noreturn]] void refuse_point(const std::string& shown, const EcParamSet& curve) {
    throw Failure(shown + " holds a point that is not on the curve " + curve_name(curve) +
                  "; it is damaged, or belongs to another curve");
}

}  // namespace

bool make_private_key(const EcParamSet& curve, const PrivateOctets& octets, PrivateKey& key) {
    key.set = &curve;
    check("the key", ecLoadPrivateKeyValue(octets.data(), key.d));
    return vrx_check_private_key(&curve, key.d) == VRX_OK;
}

bool make_public_key(const EcParamSet& curve, const PublicOctets& octets, PublicKey& key) {
    key.set = &curve;
    check("the key", ecLoadPublicKeyValue(octets.data(), &key.point));
    return vrx_check_public_key(&curve, &key.point) == VRX_OK;
}

PublicKey public_key_of(const PrivateKey& key) {
    PublicKey result{key.set, {}};
    check("the key", ecGeneratePublicKey(key.set, key.d, &result.point));
    return result;
}

FileId load_private_key(const std::string& path, const KeyForm& form, const PasswordOptions& password,
                        PrivateKey& key) {
    Input file(path);
    Secret<PrivateOctets> octets;
    const EcParamSet& curve = read_key(private_kind, file, form, &password, *octets);
    if (!make_private_key(curve, *octets, key))
        throw Failure(file.shown() + " holds a number that is not a valid private key on the curve " +
                      curve_name(curve) + "; it is damaged, or belongs to another curve");
    warn_if_others_can_read(file, "key");
    return file.id();
}

FileId load_public_key(const std::string& path, const KeyForm& form, PublicKey& key) {
    Input file(path);
    PublicOctets octets;
    const EcParamSet& curve = read_key(public_kind, file, form, nullptr, octets);
    if (!make_public_key(curve, octets, key)) refuse_point(file.shown(), curve);
    return file.id();
}

void load_certified_key(const std::string& path, const std::optional<std::string>& curve, Octets& octets,
                        CertifiedKey& result) {
    Input file(path);
    SecretBytes content;
    read_secret(file, content);
    const std::string& shown = file.shown();
    const auto label = decode_key_file(content);
    documents::Certificate& certificate = result.certificate;
    Content found = Content::other;
    // A file that is no certificate may be a private key, so it stays in memory that is wiped.
    documents::Certificate unused;
    if (label && (label->empty() || *label == certificate_label))
        found = documents::read_certificate(content.bytes(), unused);
    if (found != Content::other) {
        octets.assign(content.bytes().begin(), content.bytes().end());
        documents::read_certificate(octets, certificate);
    }
    if (found == Content::other)
        throw Failure(shown + " is not a single X.509 certificate in PEM or DER form; 'vrx inspect' says what it is");
    const Algorithm& algorithm = certificate.algorithm;
    if (found == Content::foreign && algorithm.oid == gost_key_oid)
        throw Failure(shown + " is a certificate for a key with unknown parameters; this program cannot use it");
    if (found == Content::foreign)
        throw Failure(shown + " is a certificate for a key of " + algorithm_name(algorithm.oid) +
                      ", not of GOST R 34.10-2001; this program cannot use it");
    const EcParamSet& chosen = chosen_curve(algorithm.curve, curve, shown);
    if (!make_public_key(chosen, certificate.key, result.key)) refuse_point(shown, chosen);
    result.hash = algorithm.hash;
}

namespace {

/** Append the documents of one kind in a file: a single document in DER, or all PEM blocks with the label. */
void load_documents(const std::string& path, const char* label, const char* what, std::vector<Octets>& contents) {
    Input file(path);
    SecretBytes content;
    read_secret(file, content);
    if (der::is_one_element(content.bytes(), der::sequence)) {
        contents.emplace_back(content.bytes().begin(), content.bytes().end());
        return;
    }
    const std::string end = std::string("-----END ") + label + "-----";
    std::size_t found = 0;
    for (std::string_view rest = content.text(); rest.find(end) != std::string_view::npos; ++found) {
        const std::size_t size = rest.find(end) + end.size();
        SecretBytes block;
        for (const char c : rest.substr(0, size)) block.push_back(static_cast<std::uint8_t>(c));
        if (der::decode_pem(block) != label)
            throw Failure(file.shown() + " is not a file of " + what +
                          "s in PEM or DER form; 'vrx inspect' says what it is");
        contents.emplace_back(block.bytes().begin(), block.bytes().end());
        rest.remove_prefix(size);
    }
    if (found == 0)
        throw Failure(file.shown() + " holds no " + what + " in PEM or DER form; 'vrx inspect' says what it is");
}

}  // namespace

void load_certificates(const std::string& path, std::vector<Octets>& contents) {
    load_documents(path, certificate_label, "certificate", contents);
}

void load_revocation_lists(const std::string& path, std::vector<Octets>& contents) {
    load_documents(path, revocation_label, "revocation list", contents);
}

void append_private_key(SecretBytes& out, const KeyForm& form, const PrivateKey& key) {
    const bool raw = is_raw(form);
    Secret<PrivateOctets> octets;
    check("the key", ecUnloadPrivateKeyValue(key.d, octets->data()));
    if (raw) {
        for (const std::uint8_t octet : *octets) out.push_back(octet);
    } else if (form.format == "der") {
        append_private_key_info(out, *key.set, *octets);
    } else {
        SecretBytes info;
        append_private_key_info(info, *key.set, *octets);
        der::append_pem(out, private_label, info.bytes());
    }
}

void append_public_key(SecretBytes& out, const KeyForm& form, const PublicKey& key) {
    const bool raw = is_raw(form);
    PublicOctets octets;
    check("the key", ecUnloadPublicKeyValue(&key.point, octets.data()));
    if (raw) {
        for (const std::uint8_t octet : octets) out.push_back(octet);
    } else if (form.format == "der") {
        append_public_key_info(out, *key.set, octets);
    } else {
        SecretBytes info;
        append_public_key_info(info, *key.set, octets);
        der::append_pem(out, public_label, info.bytes());
    }
}

}  // namespace vrx::app
