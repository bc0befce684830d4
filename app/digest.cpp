#include "digest.hpp"

#include <cstring>
#include <utility>

#include "io/pieces.hpp"
#include "keys/parameters.hpp"

namespace vrx::app {

std::vector<Option> digest_options(std::string& set, ListOptions& lists, const char* check_help) {
    std::vector<Option> options{
        text_option("set", 's', "SET", "parameter set of the hash: cryptopro or test; default: cryptopro", set)};
    for (Option& option : form_options(lists)) options.push_back(std::move(option));
    for (Option& option : list_options(lists, check_help)) options.push_back(std::move(option));
    return options;
}

Octets gost_digest(const vrx_gostr3411_par& set, Input& input, Piece& piece) {
    GOSTR3411_CTX context;
    check("the hash", GOSTR3411_Init_ex(&context, set.tz));
    for_each_piece(input, piece, [&](std::span<const std::uint8_t> data) {
        check("the hash", GOSTR3411_Update(&context, data.data(), static_cast<std::uint32_t>(data.size())));
    });
    Octets digest(VRX_HASH_SIZE);
    check("the hash", GOSTR3411_Final(&context, digest.data()));
    return digest;
}

SignedDigest signed_digest(const std::string& set, Input& input) {
    Piece piece(piece_size);
    const Octets octets = gost_digest(*get_GOSTR3411_par(hash_set_index(set)), input, piece);
    SignedDigest digest;
    static_assert(sizeof digest == VRX_HASH_SIZE);
    std::memcpy(digest.data(), octets.data(), sizeof digest);
    return digest;
}

std::vector<CheckValue> kinds_by_set(const std::string& set, const char* name, const std::string& tag_prefix,
                                     const std::function<Octets(const vrx_gostr3411_par&, Input&)>& of) {
    std::vector<CheckValue> kinds;
    for (std::uint32_t i = 0; i < hash_sets.size(); ++i)
        kinds.push_back({name, tag_prefix + hash_sets[i].tag, VRX_HASH_SIZE,
                         [of, i](Input& input) { return of(*get_GOSTR3411_par(i), input); }});
    std::swap(kinds.front(), kinds[hash_set_index(set)]);
    return kinds;
}

}  // namespace vrx::app
