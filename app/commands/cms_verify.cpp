// vrx cms verify
#include <algorithm>
#include <deque>
#include <optional>
#include <utility>
#include <vector>

#include "commands/commands.hpp"
#include "documents/signed_data.hpp"
#include "documents/transport.hpp"
#include "io/pieces.hpp"
#include "io/text.hpp"
#include "keys/key_files.hpp"
#include "messages.hpp"
#include "trust.hpp"

namespace vrx::app {
namespace {

/** A certificate, and the octets to which it refers. */
struct Certified {
    Octets octets;
    documents::Certificate certificate;
    Content found = Content::other;
};

/** The verdict on a signature of a message. */
struct Verdict {
    const documents::SignerInfo* signer;
    const Certified* certified = nullptr;  // nullptr if there is no certificate
    documents::Fault signature{};
    Trusted trusted{{}, "unchecked", ""};

    [[nodiscard]] const documents::Fault& fault() const { return signature.none() ? trusted.fault : signature; }
};

/** The user's options. */
struct VerifyOptions {
    TrustOptions trust;
    std::vector<std::string> certificates;
    std::optional<std::string> content;
    bool status = false;
};

/** A message that was read, and the digest of its content. */
struct Message {
    documents::SignedData data;
    documents::Digest digest{};
};

/** Read a message. If it contains its content, pass the content to `content`. */
Message read_message(Input& input, const VerifyOptions& options, HeldContent& content) {
    Message message;
    documents::Hash hash;
    const documents::Sink sink = [&](documents::Part octets) {
        hash.update(octets);
        content.write(octets);
    };
    bool has_content = false;
    read_document(input, "a signed message", [&] {
        InputSource source(input);
        documents::Transport transport(source);
        has_content = transport.form() == documents::Transport::Form::multipart;
        if (has_content) transport.read_content(sink);
        documents::ber::Reader reader(transport);
        const std::string type = documents::read_content_type(reader);
        if (type != documents::signed_data_oid)
            throw documents::Malformed("it holds " + documents::content_type_name(type));
        message.data = documents::read_signed_data(reader, sink);
        if (has_content && message.data.has_content) throw documents::Malformed("it has two contents");
    });
    has_content = has_content || message.data.has_content;
    if (has_content && options.content) throw Failure(input.shown() + " contains what was signed; leave out --content");
    if (!has_content && !options.content)
        throw Failure(input.shown() + " does not contain what was signed; name that file with --content FILE");
    if (!has_content) {
        if (content.path()) throw Failure(input.shown() + " has no content to write; leave out --out");
        Input detached(*options.content);
        Piece piece(piece_size);
        for_each_piece(detached, piece, [&](std::span<const std::uint8_t> data) { hash.update(data); });
    }
    message.digest = hash.final();
    return message;
}

void read_certificates(const std::vector<Octets>& contents, std::deque<Certified>& certificates) {
    for (const Octets& octets : contents) {
        Certified& next = certificates.emplace_back();
        next.octets = octets;
        next.found = documents::read_certificate(next.octets, next.certificate);
        if (next.found == Content::other) certificates.pop_back();
    }
}

/** Check one signature of a message. */
Verdict check_signer(const Message& message, const documents::SignerInfo& signer,
                     const std::deque<Certified>& certificates, const TrustStore& store,
                     const std::optional<documents::Time>& time) {
    Verdict verdict{&signer};
    const auto found = std::ranges::find_if(
        certificates, [&](const Certified& candidate) { return signer.id.names(candidate.certificate); });
    if (found == certificates.end()) {
        verdict.signature = {"no-certificate", "the certificate of the signer is not there: " + signer.id.text() +
                                                   "; name it with --cert"};
        return verdict;
    }
    verdict.certified = &*found;
    verdict.trusted = check_certificate(found->certificate, store, time);
    const auto key = documents::working_key(found->certificate, nullptr);
    if (found->found == Content::foreign || !key) {
        verdict.signature = {
            "key", "the certificate of " + found->certificate.subject + " has a key that is invalid or not supported"};
        return verdict;
    }
    verdict.signature = documents::check_signature(message.data, signer, message.digest, *key);
    return verdict;
}

/** The facts about a signature, as pairs of name and value. */
std::vector<std::pair<std::string, std::string>> lines_of(const Verdict& verdict) {
    std::vector<std::pair<std::string, std::string>> lines;
    if (verdict.certified != nullptr)
        lines = certificate_lines(verdict.certified->certificate, verdict.certified->octets);
    if (verdict.signer->signing_time && verdict.signature.none())
        lines.emplace_back("signed", *verdict.signer->signing_time + " UTC, as the signer states");
    if (!verdict.trusted.root.empty()) lines.emplace_back("trusted", "through " + verdict.trusted.root);
    return lines;
}

const char* validity(const Verdict& verdict) { return verdict.fault().none() ? "valid" : "NOT valid"; }

std::string plain_text(const std::string& shown, const std::vector<Verdict>& verdicts) {
    if (verdicts.empty()) return shown + ": NOT valid: the message has no signature\n";
    if (verdicts.size() == 1) {
        const Verdict& only = verdicts.front();
        std::string text = shown + ": the signature is " + validity(only);
        if (!only.fault().none()) text += ": " + only.fault().sentence;
        return text + "\n" + lines_text(lines_of(only));
    }
    const auto valid = static_cast<std::size_t>(
        std::ranges::count_if(verdicts, [](const Verdict& verdict) { return verdict.fault().none(); }));
    const std::string count = std::to_string(verdicts.size());
    std::string text = shown + ": " +
                       (valid == verdicts.size()
                            ? "all " + count + " signatures are valid"
                            : "NOT valid: only " + std::to_string(valid) + " of " + count + " signatures are valid") +
                       "\n";
    for (std::size_t i = 0; i < verdicts.size(); ++i) {
        const documents::Fault& fault = verdicts[i].fault();
        text += "signature " + std::to_string(i + 1) + " is " + validity(verdicts[i]) +
                (fault.none() ? "" : ": " + fault.sentence) + "\n" + lines_text(lines_of(verdicts[i]));
    }
    return text;
}

/** Format the machine-readable status: in each line a keyword, a blank and a value. */
std::string status_text(const std::vector<Verdict>& verdicts, bool valid, const std::optional<documents::Time>& time) {
    const auto word = [](bool is_valid) { return is_valid ? "valid" : "not-valid"; };
    std::string text = std::string("message ") + word(valid) + "\ntime " + time.value_or("any") + "\n";
    for (const Verdict& verdict : verdicts) {
        text += std::string("signature ") + word(verdict.signature.none()) + "\n";
        if (!verdict.fault().none()) text += "reason " + verdict.fault().word + "\n";
        if (verdict.certified == nullptr) {
            text += "certificate none\n";
            continue;
        }
        text += std::string("certificate ") + word(verdict.trusted.fault.none()) + "\nchain " + verdict.trusted.chain +
                "\n";
        for (const auto& [name, value] : certificate_lines(verdict.certified->certificate, verdict.certified->octets))
            text.append(name).append(" ").append(value).append("\n");
        if (verdict.signer->signing_time && verdict.signature.none())
            text += "signing-time " + *verdict.signer->signing_time + "\n";
    }
    return text;
}

/** Write lines to standard error. Each line begins with the program's name. */
void say_lines(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        say(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
}

int run(const Command& self, int argc, char** argv) {
    VerifyOptions given;
    HeldContent content;
    std::vector<Option> options =
        trust_options(given.trust,
                      "time at which the certificates must be valid, in UTC, like 2026-02-28 or\n"
                      "'2026-02-28 23:59:59'; default: now. With 'any', dates are not checked");
    options.push_back(input_option("cert", 'C',
                                   "certificates of signers, PEM or DER; only these are then accepted as\n"
                                   "signers. May be repeated",
                                   given.certificates));
    options.push_back(input_option("content", 0, "the signed file, if the message does not contain it", given.content));
    options.push_back(
        content.option("output file for the content, written if all signatures are valid; with -,\n"
                       "the content goes to standard output and the report to standard error"));
    options.push_back(flag_option("status", 0, "for programs: print a keyword and a value in each line", given.status));
    const auto operands = parse(self, options, 1, argc, argv);
    if (!operands) return exit_done;
    const std::string in = operands->empty() ? "-" : operands->front();
    if (in == "-" && given.content == "-")
        throw WrongUse(self, "standard input cannot be both the message and its content");
    if (given.trust.authorities.empty() && !given.trust.lists.empty()) throw WrongUse(self, "--crl belongs to --ca");
    const std::optional<documents::Time> time = time_of(self, given.trust);

    TrustStore store(given.trust);
    std::vector<Octets> named;
    for (const std::string& path : given.certificates) load_certificates(path, named);
    Input input(in);
    content.open({input.id()});
    const Message message = read_message(input, given, content);

    std::deque<Certified> enclosed;
    std::deque<Certified> signers;
    read_certificates(message.data.certificates, enclosed);
    read_certificates(named, signers);
    for (const Certified& certified : enclosed)
        if (certified.found == Content::known) store.add_intermediate(certified.certificate);
    std::vector<Verdict> verdicts;
    for (const documents::SignerInfo& signer : message.data.signers)
        verdicts.push_back(check_signer(message, signer, named.empty() ? enclosed : signers, store, time));
    const bool valid = !verdicts.empty() &&
                       std::ranges::all_of(verdicts, [](const Verdict& verdict) { return verdict.fault().none(); });

    if (store.is_empty() && !verdicts.empty()) warn_of_missing_authority();
    const std::string report = given.status ? status_text(verdicts, valid, time) : plain_text(input.shown(), verdicts);
    if (content.path() == "-") {
        say_lines(report);
    } else {
        Output output("-");
        output.write(report);
        output.commit();
    }
    if (!valid) return exit_check_failed;
    content.release();  // last, so that no failure leaves the file behind
    return exit_done;
}

}  // namespace

const Command cms_verify_command{
    "cms verify",
    "[FILE]",
    "verify a signed message",
    R"(Verify the signatures of a signed message (SignedData, RFC 5652 and RFC 4490) in FILE, or in standard input. The
message may be in DER, BER, PEM or base64, or an S/MIME mail. Prints who signed, and when according to the signer. The
exit code is 0 if the message has signatures and all are valid, and 1 if not.

The certificates of the signers come from the message, or from --cert. They must be valid now, or at the time of
--time, must allow signatures, and must not have an unsupported critical extension. With --ca, the command also checks
their chains (RFC 5280), for which it also uses the other certificates of the message. With --crl, it also checks that
no certificate of a chain was revoked. WARNING: without --ca, anyone may have made the certificates.

With --out, the command writes the content of the message, but only if all signatures are valid.)",
    R"(vrx cms verify --ca root.pem -o letter.txt letter.p7m
vrx cms verify --ca root.pem --content letter.txt letter.p7s)",
    run};

}  // namespace vrx::app
