#include "derived_key.hpp"

#include "io/files.hpp"
#include "io/text.hpp"

namespace vrx::app {

Ukm ukm_of(const Command& self, const std::optional<std::string>& text) {
    if (!text) throw WrongUse(self, "the user keying material is needed, --ukm HEX");
    Ukm ukm;
    if (!from_hex(*text, ukm)) throw WrongUse(self, "--ukm takes 16 hexadecimal digits, not " + in_quotes(*text));
    return ukm;
}

Option ukm_option(std::optional<std::string>& ukm) {
    return text_option("ukm", 'u', "HEX", "the user keying material, 16 digits", ukm);
}

Option derived_key_option(std::string& out) {
    return output_option("out", 'o', "FILE",
                         "a new file, readable by its owner only, for the 32 bytes; default:\n"
                         "hexadecimal digits to standard output",
                         out);
}

void write_derived_key(const std::string& out, DerivedKey& key) {
    if (out != "-") {
        Output output(out, NewPrivateFile{});
        output.write(key.octets);
        return output.commit();
    }
    to_hex(key.octets, key.line);
    key.line.back() = '\n';
    Output output(out);
    output.write({key.line.data(), key.line.size()});
    output.commit();
}

}  // namespace vrx::app
