// vrx cms show
#include "commands/commands.hpp"
#include "io/text.hpp"
#include "message_report.hpp"
#include "messages.hpp"

namespace vrx::app {
namespace {

int run(const Command& self, int argc, char** argv) {
    const auto operands = parse(self, {}, 1, argc, argv);
    if (!operands) return exit_done;
    const std::string in = operands->empty() ? "-" : operands->front();
    Input input(in);
    Report report;
    read_document(input, "a message", [&] {
        InputSource source(input);
        describe_message(report, source, in == "-" ? "FILE" : in_quotes(in));
    });
    Output output("-");
    output.write(report.text(input.shown()));
    output.commit();
    return report.faulty() ? exit_check_failed : exit_done;
}

}  // namespace

const Command cms_show_command{
    "cms show",
    "[FILE]",
    "describe a signed message",
    R"(Describe the signed message in FILE, or in standard input: its form, its signers, what they signed and when, its
certificates, and the command that comes next. The message may be in DER, BER, PEM or base64, or an S/MIME mail.

The command checks no signature, so anyone may have written what it prints. The exit code is 1 if the signed
attributes of a signer are malformed, and 2 if the message is malformed.)",
    R"(vrx cms show letter.p7m)",
    run};

}  // namespace vrx::app
